#pragma once
// Log handles: named, operator-visible messages. Each handle is built once from its name, its
// severity (a syslog priority: 4 warning, 6 informational, ...), a printf-like format, an
// explanation, a recommended action, two numeric parameters and a flag byte.
//
// The numeric parameters are the handle's rate limit: at most `burst` messages (the second
// parameter, at least 1) in any window of `minInterval` seconds (the first parameter) on the
// framework clock Rix::now(). A minInterval of 0 means no limit. The flag byte is carried to the
// sink untouched.
//
//   if (probeLost.okToLog()) probeLost.log(count, streamText);
//
// okToLog() only asks; log() emits and is what counts against the limit, so a caller that logs
// without asking is never silenced. Arguments are taken by type, not by a va_list: any integer
// fits %d/%u/%x/%c (a U64 count is never truncated), any number fits %f/%g/%e, and const char*,
// std::string, String8 and Name fit %s. A count or type mismatch with the format is a programming
// error and fails a RIX_ASSERT.
#include <array>
#include <concepts>
#include <functional>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>

#include "Rix/Clock.h"
#include "Rix/String.h"
#include "Rix/Types.h"

namespace Rix {

// The recommended action of messages that need nobody's attention.
inline constexpr const char* NoActionRequired = "No action is required.";

// One argument of a log message, kept by kind so the format can be applied safely.
class LogArg {
  public:
    enum class Kind : U8 { signedInt, unsignedInt, real, text, pointer };

    template <std::integral T>
    LogArg(T v) noexcept {
        if constexpr (std::is_signed_v<T>) {
            kind_ = Kind::signedInt;
            s_ = v;
        } else {
            kind_ = Kind::unsignedInt;
            u_ = v;
        }
    }
    template <std::floating_point T>
    LogArg(T v) noexcept : kind_(Kind::real), d_(static_cast<double>(v)) {}
    LogArg(const char* s) noexcept : kind_(Kind::text), text_(s ? s : "(null)") {}
    LogArg(char* s) noexcept : LogArg(static_cast<const char*>(s)) {}
    LogArg(std::string_view s) noexcept : kind_(Kind::text), text_(s) {}
    LogArg(const std::string& s) noexcept : kind_(Kind::text), text_(s) {}
    template <class Tag>
    LogArg(const BasicString<Tag>& s) noexcept : kind_(Kind::text), text_(s.view()) {}
    LogArg(const void* p) noexcept : kind_(Kind::pointer), p_(p) {}

    Kind kind() const noexcept { return kind_; }
    S64 signedValue() const noexcept { return s_; }
    U64 unsignedValue() const noexcept { return u_; }
    double realValue() const noexcept { return d_; }
    std::string_view textValue() const noexcept { return text_; }
    const void* pointerValue() const noexcept { return p_; }

  private:
    Kind kind_;
    union {
        S64 s_ = 0;
        U64 u_;
        double d_;
        const void* p_;
    };
    std::string_view text_;
};

// Applies a printf-like format to typed arguments (see the header comment for what fits what).
std::string logFormat(std::string_view format, std::span<const LogArg> args);
// How many arguments the format's conversions take (a literal %% takes none).
std::size_t logFormatArgCount(std::string_view format);

class LogHandle;

struct LogRecord {
    const LogHandle& handle;
    std::string text;
};

using LogSink = std::function<void(const LogRecord&)>;
// Replace where messages go (syslog by default); an empty sink restores syslog. Returns the
// previous sink.
LogSink logSinkIs(LogSink sink);

class LogHandle {
  public:
    LogHandle(const char* name, int severity, const char* format, const char* explanation,
              const char* recommendedAction, double minInterval, double burst, U8 flags);
    LogHandle(const LogHandle&) = delete;
    LogHandle& operator=(const LogHandle&) = delete;

    const char* name() const noexcept { return name_; }
    int severity() const noexcept { return severity_; }
    const char* format() const noexcept { return format_; }
    const char* explanation() const noexcept { return explanation_; }
    const char* recommendedAction() const noexcept { return recommendedAction_; }
    double minInterval() const noexcept { return minInterval_; }
    double burst() const noexcept { return burst_; }
    U8 flags() const noexcept { return flags_; }

    // Whether a message may go out now without exceeding the rate limit.
    bool okToLog() const;

    // The message text for these arguments, without emitting it.
    template <class... A>
    std::string text(const A&... args) const {
        const std::array<LogArg, sizeof...(A)> a{LogArg(args)...};
        return logFormat(format_, a);
    }
    // Formats, counts against the rate limit and hands the message to the sink.
    template <class... A>
    void log(const A&... args) {
        const std::array<LogArg, sizeof...(A)> a{LogArg(args)...};
        logArgs(a);
    }
    void logArgs(std::span<const LogArg> args);

  private:
    const char* name_;
    int severity_;
    const char* format_;
    const char* explanation_;
    const char* recommendedAction_;
    double minInterval_;
    double burst_;
    U8 flags_;
    mutable std::mutex mutex_;
    Seconds windowStart_;
    U64 inWindow_ = 0;
};

}  // namespace Rix
