# The front door. `make demo` and `make test` do all the set-up on a fresh machine.
BUILD      ?= build
SANBUILD   ?= build-sanitize
JOBS       ?= $(shell nproc)
GENERATOR  := $(shell command -v ninja >/dev/null 2>&1 && echo Ninja || echo "Unix Makefiles")
PREFIX     ?= /usr/local

.PHONY: all demo test sanitize bench install deps build clean

all: build

deps:
	@bash scripts/deps.sh

$(BUILD)/CMakeCache.txt: | deps
	cmake -S . -B $(BUILD) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=$(PREFIX)

build: deps $(BUILD)/CMakeCache.txt
	cmake --build $(BUILD) -j $(JOBS)

test: build
	cd $(BUILD) && ctest -j $(JOBS) --output-on-failure

sanitize: deps
	cmake -S . -B $(SANBUILD) -G "$(GENERATOR)" -DCMAKE_BUILD_TYPE=Debug -DSONDAR_SANITIZE=ON -DSONDAR_BENCH=OFF
	cmake --build $(SANBUILD) -j $(JOBS)
	cd $(SANBUILD) && ctest -j $(JOBS) --output-on-failure

bench: build
	@bash scripts/bench.sh $(BUILD)

demo: build
	@bash scripts/demo.sh $(BUILD)

install: build
	cmake --install $(BUILD)

clean:
	rm -rf $(BUILD) $(SANBUILD)
