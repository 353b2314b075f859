#pragma once
// A whole number of probes per second: the capacity limits of the root configuration and the
// interval of an ingress reactor. Its text form is the bare number.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"

namespace Sondar {

class ProbesPerSecond {
  public:
    static constexpr std::string_view typeName = "Sondar::ProbesPerSecond";
    static constexpr bool bareText = true;
    static constexpr auto fields() {
        return std::tuple{Rix::field("value", &ProbesPerSecond::value_)};
    }

    constexpr ProbesPerSecond() = default;
    constexpr explicit ProbesPerSecond(U32 v) : value_(v) {}
    constexpr U32 value() const noexcept { return value_; }
    void valueIs(U32 v) noexcept { value_ = v; }

    RIX_VALUE(ProbesPerSecond)
    friend bool operator==(const ProbesPerSecond&, const ProbesPerSecond&) = default;
    friend auto operator<=>(const ProbesPerSecond&, const ProbesPerSecond&) = default;

  private:
    U32 value_ = 0;
};

}  // namespace Sondar
