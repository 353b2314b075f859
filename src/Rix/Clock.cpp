#include "Rix/Clock.h"

#include <sys/time.h>

#include <ctime>

namespace Rix {

// The coarse realtime clock has the kernel tick's resolution (1 to 4 ms), plenty for the time
// stamps of statistics, and costs a few nanoseconds where the precise one costs tens: the receive
// path reads it for every probe.
Seconds systemNow() {
    timespec ts;
    clock_gettime(CLOCK_REALTIME_COARSE, &ts);
    return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) * 1e-9;
}

WallClockTime systemWallClock() {
    timeval tv;
    gettimeofday(&tv, nullptr);
    return WallClockTime{static_cast<U64>(tv.tv_sec), static_cast<U64>(tv.tv_usec)};
}

namespace detail {
NowSource nowSource = &systemNow;
WallClockSource wallClockSource = &systemWallClock;
constinit thread_local Seconds loopTime = 0.0;
}  // namespace detail

NowSource nowSourceIs(NowSource source) {
    NowSource old = detail::nowSource;
    detail::nowSource = source ? source : &systemNow;
    return old;
}

WallClockSource wallClockSourceIs(WallClockSource source) {
    WallClockSource old = detail::wallClockSource;
    detail::wallClockSource = source ? source : &systemWallClock;
    return old;
}

}  // namespace Rix
