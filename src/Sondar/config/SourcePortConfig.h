#pragma once
// A transmitter's source-port policy. No combination is checked: the transmitter decides what a
// count of 0 or a stride of 0 means.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"
#include "Sondar/config/SourcePortType.h"

namespace Sondar {

#define SONDAR_SOURCE_PORT_CONFIG_FIELDS(X)                   \
    X(SourcePortType, configType, SourcePortType::random, rw) \
    X(U16, num, 0, rw)                                        \
    X(U16, optionalStart, 0, rw)                              \
    X(U16, optionalStride, 0, rw)

class SourcePortConfig {
    RIX_VALUE_TYPE(SourcePortConfig, "Sondar::SourcePortConfig", SONDAR_SOURCE_PORT_CONFIG_FIELDS)
    SourcePortConfig() = default;
    SourcePortConfig(SourcePortType configType, U16 num, U16 optionalStart, U16 optionalStride)
        : configType_(configType),
          num_(num),
          optionalStart_(optionalStart),
          optionalStride_(optionalStride) {}
    friend bool operator==(const SourcePortConfig&, const SourcePortConfig&) = default;
    friend auto operator<=>(const SourcePortConfig&, const SourcePortConfig&) = default;
};

}  // namespace Sondar
