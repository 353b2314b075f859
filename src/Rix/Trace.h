#pragma once
// Tracing: each module has ten numbered levels (0 to 9) that are switched on and off
// independently, from the environment variable SONDAR_TRACE or through traceLevelsIs(). A trace
// line's text is built only when its level is on; checking a level is one relaxed atomic load.
//
// SONDAR_TRACE syntax: "Module=levels[;Module=levels...]", where levels is a comma-separated
// list of digits and ranges ("6", "6,8", "0-9") and Module may be "*" for every module.
#include <atomic>
#include <functional>
#include <sstream>
#include <string>

#include "Rix/Types.h"

namespace Rix {

class TraceModule {
  public:
    // Modules are static objects; each registers itself and picks up SONDAR_TRACE.
    explicit TraceModule(const char* name);
    ~TraceModule();
    TraceModule(const TraceModule&) = delete;
    TraceModule& operator=(const TraceModule&) = delete;

    const char* name() const noexcept { return name_; }
    bool enabled(unsigned level) const noexcept {
        return (mask_.load(std::memory_order_relaxed) >> level) & 1u;
    }
    U16 levels() const noexcept { return mask_.load(std::memory_order_relaxed); }
    void levelsIs(U16 mask) noexcept { mask_.store(mask & 0x3ff, std::memory_order_relaxed); }
    void levelIs(unsigned level, bool on) noexcept;

  private:
    const char* name_;
    std::atomic<U16> mask_{0};
};

struct TraceRecord {
    const char* module;
    unsigned level;
    const char* file;
    int line;
    const char* function;
    std::string text;
};

using TraceSink = std::function<void(const TraceRecord&)>;

// Replace where trace lines go (stderr by default); an empty sink restores stderr.
// Returns the previous sink.
TraceSink traceSinkIs(TraceSink sink);
// Set the levels of a module by name from the SONDAR_TRACE level syntax ("6,8", "0-9", "" for
// none); "*" names every module. Throws RangeException on bad syntax.
void traceLevelsIs(const std::string& module, const std::string& levels);
// Apply a whole SONDAR_TRACE setting.
void traceConfigIs(const std::string& setting);
TraceModule* traceModule(const std::string& name);

void traceEmit(const TraceModule& module, unsigned level, const char* file, int line,
               const char* function, std::string text);

}  // namespace Rix

// RIX_TRACE(module, level, a << b << c): the stream expression is evaluated only when the level
// is on.
#define RIX_TRACE(module, level, expr)                                                       \
    do {                                                                                     \
        if ((module).enabled(level)) [[unlikely]] {                                          \
            std::ostringstream rixTraceOs_;                                                  \
            rixTraceOs_ << expr;                                                             \
            ::Rix::traceEmit((module), (level), __FILE__, __LINE__, __PRETTY_FUNCTION__,     \
                             rixTraceOs_.str());                                             \
        }                                                                                    \
    } while (0)

// An operation's full signature on entry, at level 8.
#define RIX_TRACE_ENTRY(module) RIX_TRACE(module, 8, __PRETTY_FUNCTION__)
