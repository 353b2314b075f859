#include "Sondar/config/HwConfig.h"

namespace Sondar {

const Rix::AttributeTable HwConfig::attributes{
    true,
    {Rix::settable<&HwConfig::torkSettings, &HwConfig::torkSettingsIs>(torkSettingsId,
                                                                       "torkSettings")}};

Rix::Ptr<HwConfig> hwConfigFactory(const Rix::Name& name) {
    return Rix::Ptr<HwConfig>(new HwConfig(name));
}

}  // namespace Sondar
