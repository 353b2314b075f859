// Names of the configuration's enumerations, both ways.
#include "Rix/EnumNames.h"

#include "Sondar/config/ProbeRateUnit.h"
#include "Sondar/config/SourcePortType.h"

namespace Sondar {

namespace {
constexpr Rix::EnumNames<ProbeRateUnit, 2> probeRateUnitNames{"ProbeRateUnit",
                                                              {"seconds", "minutes"}};
constexpr Rix::EnumNames<SourcePortType, 3> sourcePortTypeNames{"SourcePortType",
                                                                {"random", "sequential", "list"}};
}  // namespace

RIX_ENUM_DEFINITIONS(ProbeRateUnit, probeRateUnitNames)
RIX_ENUM_DEFINITIONS(SourcePortType, sourcePortTypeNames)

}  // namespace Sondar
