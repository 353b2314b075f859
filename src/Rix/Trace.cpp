#include "Rix/Trace.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <vector>

#include "Rix/Exception.h"

namespace Rix {
namespace {

struct Registry {
    std::mutex mutex;
    std::vector<TraceModule*> modules;
    TraceSink sink;
};

Registry& registry() {
    static Registry r;
    return r;
}

U16 parseLevels(const std::string& text) {
    U16 mask = 0;
    std::size_t i = 0;
    auto bad = [&] { throw RangeException("bad trace levels: '" + text + "'"); };
    while (i < text.size()) {
        if (text[i] < '0' || text[i] > '9') bad();
        unsigned lo = static_cast<unsigned>(text[i++] - '0');
        unsigned hi = lo;
        if (i < text.size() && text[i] == '-') {
            ++i;
            if (i >= text.size() || text[i] < '0' || text[i] > '9') bad();
            hi = static_cast<unsigned>(text[i++] - '0');
            if (hi < lo) bad();
        }
        for (unsigned l = lo; l <= hi; ++l) mask = static_cast<U16>(mask | (1u << l));
        if (i < text.size()) {
            if (text[i] != ',') bad();
            ++i;
        }
    }
    return mask;
}

std::string trim(const std::string& s) {
    const auto b = s.find_first_not_of(" \t");
    if (b == std::string::npos) return std::string();
    const auto e = s.find_last_not_of(" \t");
    return s.substr(b, e - b + 1);
}

// Levels asked for in SONDAR_TRACE, applied to each module as it registers.
U16 environmentLevels(const char* module) {
    const char* env = std::getenv("SONDAR_TRACE");
    if (!env) return 0;
    U16 mask = 0;
    std::string setting(env);
    std::size_t start = 0;
    while (start <= setting.size()) {
        std::size_t stop = setting.find(';', start);
        if (stop == std::string::npos) stop = setting.size();
        const std::string item = trim(setting.substr(start, stop - start));
        const auto eq = item.find('=');
        if (eq != std::string::npos) {
            const std::string name = trim(item.substr(0, eq));
            if (name == "*" || name == module) {
                try {
                    mask = parseLevels(trim(item.substr(eq + 1)));
                } catch (const RangeException& e) {
                    std::fprintf(stderr, "SONDAR_TRACE: %s\n", e.what());
                }
            }
        }
        start = stop + 1;
    }
    return mask;
}

}  // namespace

TraceModule::TraceModule(const char* name) : name_(name) {
    mask_.store(environmentLevels(name), std::memory_order_relaxed);
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    r.modules.push_back(this);
}

// A module that goes away (a library unloaded, a test's local module) must not stay registered.
TraceModule::~TraceModule() {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    std::erase(r.modules, this);
}

void TraceModule::levelIs(unsigned level, bool on) noexcept {
    if (level > 9) return;
    U16 m = mask_.load(std::memory_order_relaxed);
    m = on ? static_cast<U16>(m | (1u << level)) : static_cast<U16>(m & ~(1u << level));
    mask_.store(m, std::memory_order_relaxed);
}

TraceSink traceSinkIs(TraceSink sink) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    TraceSink old = std::move(r.sink);
    r.sink = std::move(sink);
    return old;
}

TraceModule* traceModule(const std::string& name) {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    for (TraceModule* m : r.modules) {
        if (name == m->name()) return m;
    }
    return nullptr;
}

void traceLevelsIs(const std::string& module, const std::string& levels) {
    const U16 mask = parseLevels(trim(levels));
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    bool found = false;
    for (TraceModule* m : r.modules) {
        if (module == "*" || module == m->name()) {
            m->levelsIs(mask);
            found = true;
        }
    }
    if (!found) throw RangeException("no trace module named '" + module + "'");
}

void traceConfigIs(const std::string& setting) {
    std::size_t start = 0;
    while (start <= setting.size()) {
        std::size_t stop = setting.find(';', start);
        if (stop == std::string::npos) stop = setting.size();
        const std::string item = trim(setting.substr(start, stop - start));
        if (!item.empty()) {
            const auto eq = item.find('=');
            if (eq == std::string::npos) throw RangeException("bad trace setting: '" + item + "'");
            traceLevelsIs(trim(item.substr(0, eq)), item.substr(eq + 1));
        }
        start = stop + 1;
    }
}

void traceEmit(const TraceModule& module, unsigned level, const char* file, int line,
               const char* function, std::string text) {
    TraceRecord rec{module.name(), level, file, line, function, std::move(text)};
    TraceSink sink;
    {
        Registry& r = registry();
        std::lock_guard<std::mutex> lock(r.mutex);
        sink = r.sink;
    }
    if (sink) {
        sink(rec);
    } else {
        std::fprintf(stderr, "%s/%u %s:%d %s\n", rec.module, rec.level, rec.file, rec.line,
                     rec.text.c_str());
    }
}

}  // namespace Rix
