#pragma once
// A transmitter's source-port policy. No combination is checked: the transmitter decides what a
// count of 0 or a stride of 0 means.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"
#include "Sondar/config/SourcePortType.h"

namespace Sondar {

class SourcePortConfig {
  public:
    static constexpr std::string_view typeName = "Sondar::SourcePortConfig";
    static constexpr auto fields() {
        return std::tuple{Rix::field("configType", &SourcePortConfig::configType_),
                          Rix::field("num", &SourcePortConfig::num_),
                          Rix::field("optionalStart", &SourcePortConfig::optionalStart_),
                          Rix::field("optionalStride", &SourcePortConfig::optionalStride_)};
    }

    SourcePortConfig() = default;
    SourcePortConfig(SourcePortType configType, U16 num, U16 optionalStart, U16 optionalStride)
        : configType_(configType),
          num_(num),
          optionalStart_(optionalStart),
          optionalStride_(optionalStride) {}
    SourcePortType configType() const noexcept { return configType_; }
    void configTypeIs(SourcePortType v) noexcept { configType_ = v; }
    U16 num() const noexcept { return num_; }
    void numIs(U16 v) noexcept { num_ = v; }
    U16 optionalStart() const noexcept { return optionalStart_; }
    void optionalStartIs(U16 v) noexcept { optionalStart_ = v; }
    U16 optionalStride() const noexcept { return optionalStride_; }
    void optionalStrideIs(U16 v) noexcept { optionalStride_ = v; }

    RIX_VALUE(SourcePortConfig)
    friend bool operator==(const SourcePortConfig&, const SourcePortConfig&) = default;
    friend auto operator<=>(const SourcePortConfig&, const SourcePortConfig&) = default;

  private:
    SourcePortType configType_ = SourcePortType::random;
    U16 num_ = 0;
    U16 optionalStart_ = 0;
    U16 optionalStride_ = 0;
};

}  // namespace Sondar
