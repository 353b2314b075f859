#include "Rix/Log.h"

#include <syslog.h>

#include <cstdio>
#include <limits>

#include "Rix/Assert.h"

namespace Rix {
namespace {

struct Conversion {
    std::string_view flags;  // flags, width and precision, without '%' and length modifiers
    char type;
};

// Reads the conversion starting just after '%'; pos ends behind it. Length modifiers are dropped:
// the argument's own type decides them.
Conversion nextConversion(std::string_view fmt, std::size_t& pos) {
    const std::size_t start = pos;
    while (pos < fmt.size() &&
           std::string_view("-+ #0123456789.").find(fmt[pos]) != std::string_view::npos) {
        ++pos;
    }
    const std::string_view flags = fmt.substr(start, pos - start);
    while (pos < fmt.size() && std::string_view("hlLqjzt").find(fmt[pos]) != std::string_view::npos)
        ++pos;
    RIX_ASSERT(pos < fmt.size() && "log format ends inside a conversion");
    const char type = fmt[pos++];
    RIX_ASSERT(std::string_view("diouxXcfFeEgGaAsp%").find(type) != std::string_view::npos &&
               "log format has an unsupported conversion");
    return Conversion{flags, type};
}

template <class T>
void append(std::string& out, std::string_view flags, const char* length, char type, T value) {
    std::string f = "%";
    f += flags;
    f += length;
    f += type;
    char small[128];
    const int n = std::snprintf(small, sizeof small, f.c_str(), value);
    if (n < 0) return;
    if (static_cast<std::size_t>(n) < sizeof small) {
        out.append(small, static_cast<std::size_t>(n));
        return;
    }
    std::string big(static_cast<std::size_t>(n) + 1, '\0');
    std::snprintf(big.data(), big.size(), f.c_str(), value);
    out.append(big.data(), static_cast<std::size_t>(n));
}

void appendInteger(std::string& out, const Conversion& c, const LogArg& a) {
    const bool isSigned = a.kind() == LogArg::Kind::signedInt;
    switch (c.type) {
        case 'd':
        case 'i':
            // an unsigned value above the signed range stays positive
            if (isSigned)
                append(out, c.flags, "ll", 'd', static_cast<long long>(a.signedValue()));
            else
                append(out, c.flags, "ll", 'u', static_cast<unsigned long long>(a.unsignedValue()));
            return;
        case 'c':
            append(
                out, c.flags, "", 'c',
                static_cast<int>(isSigned ? a.signedValue() : static_cast<S64>(a.unsignedValue())));
            return;
        default:
            append(out, c.flags, "ll", c.type,
                   isSigned ? static_cast<unsigned long long>(a.signedValue())
                            : static_cast<unsigned long long>(a.unsignedValue()));
    }
}

}  // namespace

std::size_t logFormatArgCount(std::string_view fmt) {
    std::size_t n = 0;
    for (std::size_t pos = 0; pos < fmt.size();) {
        if (fmt[pos++] != '%') continue;
        if (nextConversion(fmt, pos).type != '%') ++n;
    }
    return n;
}

std::string logFormat(std::string_view fmt, std::span<const LogArg> args) {
    std::string out;
    out.reserve(fmt.size() + 32);
    std::size_t next = 0;
    for (std::size_t pos = 0; pos < fmt.size();) {
        const char ch = fmt[pos++];
        if (ch != '%') {
            out += ch;
            continue;
        }
        const Conversion c = nextConversion(fmt, pos);
        if (c.type == '%') {
            out += '%';
            continue;
        }
        RIX_ASSERT(next < args.size() && "log message has fewer arguments than its format");
        const LogArg& a = args[next++];
        switch (c.type) {
            case 's':
                RIX_ASSERT(a.kind() == LogArg::Kind::text && "%s takes a string");
                {
                    const std::string text(a.textValue());
                    append(out, c.flags, "", 's', text.c_str());
                }
                break;
            case 'p':
                RIX_ASSERT(a.kind() == LogArg::Kind::pointer && "%p takes a pointer");
                append(out, c.flags, "", 'p', a.pointerValue());
                break;
            case 'd':
            case 'i':
            case 'o':
            case 'u':
            case 'x':
            case 'X':
            case 'c':
                RIX_ASSERT((a.kind() == LogArg::Kind::signedInt ||
                            a.kind() == LogArg::Kind::unsignedInt) &&
                           "an integer conversion takes an integer");
                appendInteger(out, c, a);
                break;
            default: {
                double v = 0;
                if (a.kind() == LogArg::Kind::real)
                    v = a.realValue();
                else if (a.kind() == LogArg::Kind::signedInt)
                    v = static_cast<double>(a.signedValue());
                else if (a.kind() == LogArg::Kind::unsignedInt)
                    v = static_cast<double>(a.unsignedValue());
                else
                    RIX_ASSERT(!"a floating-point conversion takes a number");
                append(out, c.flags, "", c.type, v);
            }
        }
    }
    RIX_ASSERT(next == args.size() && "log message has more arguments than its format");
    return out;
}

namespace {

struct SinkHolder {
    std::mutex mutex;
    LogSink sink;
};

SinkHolder& sinkHolder() {
    static SinkHolder h;
    return h;
}

void syslogSink(const LogRecord& r) {
    const int priority = r.handle.severity() < LOG_EMERG   ? LOG_EMERG
                         : r.handle.severity() > LOG_DEBUG ? LOG_DEBUG
                                                           : r.handle.severity();
    ::syslog(LOG_USER | priority, "%%%s: %s", r.handle.name(), r.text.c_str());
}

}  // namespace

LogSink logSinkIs(LogSink sink) {
    SinkHolder& h = sinkHolder();
    std::lock_guard<std::mutex> lock(h.mutex);
    LogSink old = std::move(h.sink);
    h.sink = std::move(sink);
    return old;
}

LogHandle::LogHandle(const char* name, int severity, const char* format, const char* explanation,
                     const char* recommendedAction, double minInterval, double burst, U8 flags)
    : name_(name),
      severity_(severity),
      format_(format),
      explanation_(explanation),
      recommendedAction_(recommendedAction),
      minInterval_(minInterval),
      burst_(burst),
      flags_(flags),
      windowStart_(-std::numeric_limits<double>::infinity()) {
    RIX_ASSERT(name && format && explanation && recommendedAction);
    // a bad format is found when the handle is built, not when it first logs
    logFormatArgCount(format);
}

bool LogHandle::okToLog() const {
    if (!(minInterval_ > 0)) return true;
    const Seconds t = now();
    std::lock_guard<std::mutex> lock(mutex_);
    // a clock that stepped back opens a new window rather than silencing the handle
    if (t < windowStart_ || t - windowStart_ >= minInterval_) return true;
    const double allowed = burst_ < 1 ? 1 : burst_;
    return static_cast<double>(inWindow_) < allowed;
}

void LogHandle::logArgs(std::span<const LogArg> args) {
    LogRecord record{*this, logFormat(format_, args)};
    if (minInterval_ > 0) {
        const Seconds t = now();
        std::lock_guard<std::mutex> lock(mutex_);
        if (t < windowStart_ || t - windowStart_ >= minInterval_) {
            windowStart_ = t;
            inWindow_ = 0;
        }
        ++inWindow_;
    }
    LogSink sink;
    {
        SinkHolder& h = sinkHolder();
        std::lock_guard<std::mutex> lock(h.mutex);
        sink = h.sink;
    }
    if (sink)
        sink(record);
    else
        syslogSink(record);
}

}  // namespace Rix
