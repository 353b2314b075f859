#pragma once
// So many probes every so many seconds or minutes. Ordered field by field (numProbes first),
// which is not the order of actual speed.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"
#include "Sondar/config/ProbeRateUnit.h"

namespace Sondar {

#define SONDAR_PROBE_RATE_FIELDS(X) \
    X(U16, numProbes, 0, rw)        \
    X(U16, timeInterval, 0, rw)     \
    X(ProbeRateUnit, timeUnit, ProbeRateUnit::seconds, rw)

class ProbeRate {
    RIX_VALUE_TYPE(ProbeRate, "Sondar::ProbeRate", SONDAR_PROBE_RATE_FIELDS)
    ProbeRate() = default;
    ProbeRate(U16 numProbes, U16 timeInterval, ProbeRateUnit timeUnit)
        : numProbes_(numProbes), timeInterval_(timeInterval), timeUnit_(timeUnit) {}
    friend bool operator==(const ProbeRate&, const ProbeRate&) = default;
    friend auto operator<=>(const ProbeRate&, const ProbeRate&) = default;
};

}  // namespace Sondar
