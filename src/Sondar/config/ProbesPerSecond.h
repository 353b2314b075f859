#pragma once
// A whole number of probes per second: the capacity limits of the root configuration and the
// interval of an ingress reactor. Its text form is the bare number.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"

namespace Sondar {

#define SONDAR_PROBES_PER_SECOND_FIELDS(X) X(U32, value, 0, rw)

class ProbesPerSecond {
    RIX_VALUE_TYPE(ProbesPerSecond, "Sondar::ProbesPerSecond", SONDAR_PROBES_PER_SECOND_FIELDS)
    static constexpr bool bareText = true;
    constexpr ProbesPerSecond() = default;
    constexpr explicit ProbesPerSecond(U32 v) : value_(v) {}
    friend bool operator==(const ProbesPerSecond&, const ProbesPerSecond&) = default;
    friend auto operator<=>(const ProbesPerSecond&, const ProbesPerSecond&) = default;
};

}  // namespace Sondar
