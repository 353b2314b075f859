#pragma once
// The time at which a transmitter's probe sequence (re)started, as whole seconds and
// microseconds. Every way of making an Epoch enforces useconds <= 999999.
#include <bit>
#include <string_view>
#include <tuple>

#include "Rix/Value.h"

namespace Sondar {

class Epoch {
  public:
    static constexpr std::string_view typeName = "Sondar::Epoch";
    static constexpr auto fields() {
        return std::tuple{Rix::field("seconds", &Epoch::seconds_),
                          Rix::field("useconds", &Epoch::useconds_)};
    }

    Epoch() = default;
    // Throws Rix::RangeException "Epoch::useconds >= 1000000 not allowed".
    Epoch(U32 seconds, U32 useconds);

    U32 seconds() const noexcept { return seconds_; }
    U32 useconds() const noexcept { return useconds_; }
    void secondsIs(U32 s) noexcept { seconds_ = s; }
    void usecondsIs(U32 us);
    void validate() const;

    RIX_VALUE(Epoch)
    // Compared as one word: a stream's epoch is checked for every received probe.
    friend bool operator==(const Epoch& a, const Epoch& b) noexcept { return a.word() == b.word(); }
    friend auto operator<=>(const Epoch&, const Epoch&) = default;

  private:
    U64 word() const noexcept { return std::bit_cast<U64>(*this); }
    U32 seconds_ = 0;
    U32 useconds_ = 0;
};

}  // namespace Sondar
