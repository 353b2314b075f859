#pragma once
// The unit of a probe rate's period. Stored as an unsigned 32-bit number; numbers other than 0
// and 1 are refused when converted or read, but still print (as "ProbeRateUnit(7)").
#include "Rix/EnumNames.h"

namespace Sondar {

enum class ProbeRateUnit : U32 { seconds = 0, minutes = 1 };

// Unknown numbers and names raise Rix::RangeException "ProbeRateUnit".
RIX_ENUM_DECLARATIONS(ProbeRateUnit)

}  // namespace Sondar
