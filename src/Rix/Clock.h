#pragma once
// The framework clock. Rix::Seconds is a double count of wall-clock seconds; +infinity means "not
// scheduled". Both time sources can be replaced, so tests can set the time.
#include "Rix/Types.h"

namespace Rix {

using Seconds = double;

using NowSource = Seconds (*)();
struct WallClockTime {
    U64 seconds;
    U64 useconds;
};
using WallClockSource = WallClockTime (*)();

namespace detail {
extern NowSource nowSource;
extern WallClockSource wallClockSource;
}  // namespace detail

// Current wall-clock time in seconds.
inline Seconds now() { return detail::nowSource(); }
// The time of day as gettimeofday gives it: whole seconds and microseconds. A new epoch is taken
// from here.
inline WallClockTime wallClock() { return detail::wallClockSource(); }

Seconds systemNow();
WallClockTime systemWallClock();

// Replace a source; nullptr restores the system one. Returns the previous source.
NowSource nowSourceIs(NowSource source);
WallClockSource wallClockSourceIs(WallClockSource source);

}  // namespace Rix
