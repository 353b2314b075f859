#pragma once
// The framework clock. Rix::Seconds is a double count of wall-clock seconds; +infinity means "not
// scheduled". Both time sources can be replaced, so tests can set the time.
#include <bit>

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
// The current thread's loop time, or 0 when none is set.
extern constinit thread_local Seconds loopTime __attribute__((tls_model("initial-exec")));
}  // namespace detail

// Current wall-clock time in seconds: the thread's loop time while a LoopTime is alive, the
// clock itself otherwise.
inline Seconds now() {
    // tested as bits: a loop time is never 0.0 or -0.0, and an integer test is cheaper
    const Seconds t = detail::loopTime;
    return std::bit_cast<U64>(t) << 1 != 0 ? t : detail::nowSource();
}

// An event loop's unit of work: a batch of received frames, say. While it lives, now() on this
// thread is the time the work began, read once, so that per-probe bookkeeping pays for no clock
// read; the previous loop time comes back when it ends.
class LoopTime {
  public:
    LoopTime() : previous_(detail::loopTime) { detail::loopTime = detail::nowSource(); }
    explicit LoopTime(Seconds t) : previous_(detail::loopTime) { detail::loopTime = t; }
    ~LoopTime() { detail::loopTime = previous_; }
    LoopTime(const LoopTime&) = delete;
    LoopTime& operator=(const LoopTime&) = delete;

  private:
    Seconds previous_;
};
// The time of day as gettimeofday gives it: whole seconds and microseconds. A new epoch is taken
// from here.
inline WallClockTime wallClock() { return detail::wallClockSource(); }

Seconds systemNow();
WallClockTime systemWallClock();

// Replace a source; nullptr restores the system one. Returns the previous source.
NowSource nowSourceIs(NowSource source);
WallClockSource wallClockSourceIs(WallClockSource source);

}  // namespace Rix
