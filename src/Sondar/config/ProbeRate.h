#pragma once
// So many probes every so many seconds or minutes. Ordered field by field (numProbes first),
// which is not the order of actual speed.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"
#include "Sondar/config/ProbeRateUnit.h"

namespace Sondar {

class ProbeRate {
  public:
    static constexpr std::string_view typeName = "Sondar::ProbeRate";
    static constexpr auto fields() {
        return std::tuple{Rix::field("numProbes", &ProbeRate::numProbes_),
                          Rix::field("timeInterval", &ProbeRate::timeInterval_),
                          Rix::field("timeUnit", &ProbeRate::timeUnit_)};
    }

    ProbeRate() = default;
    ProbeRate(U16 numProbes, U16 timeInterval, ProbeRateUnit timeUnit)
        : numProbes_(numProbes), timeInterval_(timeInterval), timeUnit_(timeUnit) {}
    U16 numProbes() const noexcept { return numProbes_; }
    void numProbesIs(U16 v) noexcept { numProbes_ = v; }
    U16 timeInterval() const noexcept { return timeInterval_; }
    void timeIntervalIs(U16 v) noexcept { timeInterval_ = v; }
    ProbeRateUnit timeUnit() const noexcept { return timeUnit_; }
    void timeUnitIs(ProbeRateUnit v) noexcept { timeUnit_ = v; }

    RIX_VALUE(ProbeRate)
    friend bool operator==(const ProbeRate&, const ProbeRate&) = default;
    friend auto operator<=>(const ProbeRate&, const ProbeRate&) = default;

  private:
    U16 numProbes_ = 0;
    U16 timeInterval_ = 0;
    ProbeRateUnit timeUnit_ = ProbeRateUnit::seconds;
};

}  // namespace Sondar
