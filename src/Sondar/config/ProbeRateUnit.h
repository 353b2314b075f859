#pragma once
// The unit of a probe rate's period. Stored as an unsigned 32-bit number; numbers other than 0
// and 1 are refused when converted or read, but still print (as "ProbeRateUnit(7)").
#include <ostream>

#include "Rix/String.h"
#include "Rix/Types.h"

namespace Sondar {

enum class ProbeRateUnit : U32 { seconds = 0, minutes = 1 };

Rix::String8 stringValue(ProbeRateUnit u);
// Throw Rix::RangeException "ProbeRateUnit" for anything but 0, 1, "seconds" and "minutes".
ProbeRateUnit ProbeRateUnitInstance(U32 v);
ProbeRateUnit ProbeRateUnitInstance(const Rix::String8& name);
inline ProbeRateUnit rixEnumInstance(ProbeRateUnit*, U32 v) { return ProbeRateUnitInstance(v); }
inline ProbeRateUnit rixEnumInstance(ProbeRateUnit*, const Rix::String8& name) {
    return ProbeRateUnitInstance(name);
}
std::ostream& operator<<(std::ostream& os, ProbeRateUnit u);

}  // namespace Sondar
