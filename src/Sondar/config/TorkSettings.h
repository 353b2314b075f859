#pragma once
// The request for hardware handling of probes. Never a key, so it has equality and no ordering.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"

namespace Sondar {

#define SONDAR_TORK_SETTINGS_FIELDS(X) \
    X(bool, enabled, false, rw)        \
    X(U16, dstPort, 0, rw)

class TorkSettings {
    RIX_VALUE_TYPE(TorkSettings, "Sondar::TorkSettings", SONDAR_TORK_SETTINGS_FIELDS)
    TorkSettings() = default;
    TorkSettings(bool enabled, U16 dstPort) : enabled_(enabled), dstPort_(dstPort) {}
    friend bool operator==(const TorkSettings&, const TorkSettings&) = default;
};

}  // namespace Sondar
