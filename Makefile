# The front door. `make demo` and `make test` do all the set-up on a fresh machine: missing Debian
# packages are installed when run as root (named in one error otherwise), then everything builds.
BUILD      ?= build
SANBUILD   ?= build-sanitize
JOBS       ?= $(shell nproc 2>/dev/null || echo 2)
GENERATOR  := $(shell command -v ninja >/dev/null 2>&1 && echo Ninja || echo "Unix Makefiles")
PREFIX     ?= /usr/local

.PHONY: help all demo test sanitize bench install deps build clean

help:
	@echo "Sondar: the model library of a switch's probe-based path monitor, with its platform."
	@echo ""
	@echo "  make demo       build everything from nothing and run the demonstration"
	@echo "  make test       build (release) and run every test"
	@echo "  make bench      build and run the benchmarks; each goal is printed beside its figure"
	@echo "  make sanitize   build and run the tests under AddressSanitizer and UBSan ($(SANBUILD)/)"
	@echo "  make install    install libraries, headers, CMake package and sondar.pc under PREFIX"
	@echo "                  (now $(PREFIX))"
	@echo "  make deps       install the Debian packages the build and the tests need"
	@echo "  make clean      remove $(BUILD)/ and $(SANBUILD)/"
	@echo ""
	@echo "Variables: BUILD=$(BUILD) SANBUILD=$(SANBUILD) JOBS=$(JOBS) PREFIX=$(PREFIX)"

all: build

deps:
	@bash scripts/deps.sh

# The generator (Ninja or make) is only known after deps has run, so configure in a sub-make.
$(BUILD)/CMakeCache.txt: | deps
	@$(MAKE) --no-print-directory configure-release

.PHONY: configure-release
configure-release:
	cmake -S . -B $(BUILD) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=$(PREFIX)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest -j $(JOBS) --output-on-failure

sanitize: deps
	@$(MAKE) --no-print-directory configure-sanitize
	cmake --build $(SANBUILD) -j $(JOBS)
	cd $(SANBUILD) && ctest -j $(JOBS) --output-on-failure

.PHONY: configure-sanitize
configure-sanitize:
	cmake -S . -B $(SANBUILD) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Debug -DSONDAR_SANITIZE=ON -DSONDAR_BENCH=OFF

bench: build
	@bash scripts/bench.sh $(BUILD)

demo: build
	@bash scripts/demo.sh $(BUILD)

install: build
	cmake --install $(BUILD) --prefix $(PREFIX)

clean:
	rm -rf $(BUILD) $(SANBUILD)
