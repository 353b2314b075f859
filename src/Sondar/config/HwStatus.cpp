#include "Sondar/config/HwStatus.h"

namespace Sondar {

const Rix::AttributeTable HwStatus::attributes{
    true,
    {Rix::settable<&HwStatus::torkSupported, &HwStatus::torkSupportedIs>(torkSupportedId,
                                                                         "torkSupported")}};

Rix::Ptr<HwStatus> hwStatusFactory(const Rix::Name& name) {
    return Rix::Ptr<HwStatus>(new HwStatus(name));
}

}  // namespace Sondar
