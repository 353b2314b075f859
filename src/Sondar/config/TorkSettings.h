#pragma once
// The request for hardware handling of probes. Never a key, so it has equality and no ordering.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"

namespace Sondar {

class TorkSettings {
  public:
    static constexpr std::string_view typeName = "Sondar::TorkSettings";
    static constexpr auto fields() {
        return std::tuple{Rix::field("enabled", &TorkSettings::enabled_),
                          Rix::field("dstPort", &TorkSettings::dstPort_)};
    }

    TorkSettings() = default;
    TorkSettings(bool enabled, U16 dstPort) : enabled_(enabled), dstPort_(dstPort) {}
    bool enabled() const noexcept { return enabled_; }
    void enabledIs(bool v) noexcept { enabled_ = v; }
    U16 dstPort() const noexcept { return dstPort_; }
    void dstPortIs(U16 v) noexcept { dstPort_ = v; }

    RIX_VALUE(TorkSettings)
    friend bool operator==(const TorkSettings&, const TorkSettings&) = default;

  private:
    bool enabled_ = false;
    U16 dstPort_ = 0;
};

}  // namespace Sondar
