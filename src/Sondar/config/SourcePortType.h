#pragma once
// How a transmitter picks the source ports of its probes. Stored as an unsigned 32-bit number;
// unknown numbers are refused when converted or read, but still print ("SourcePortType(9)").
#include <ostream>

#include "Rix/String.h"
#include "Rix/Types.h"

namespace Sondar {

enum class SourcePortType : U32 { random = 0, sequential = 1, list = 2 };

Rix::String8 stringValue(SourcePortType t);
// Throw Rix::RangeException "SourcePortType" for an unknown number or name.
SourcePortType SourcePortTypeInstance(U32 v);
SourcePortType SourcePortTypeInstance(const Rix::String8& name);
inline SourcePortType rixEnumInstance(SourcePortType*, U32 v) { return SourcePortTypeInstance(v); }
inline SourcePortType rixEnumInstance(SourcePortType*, const Rix::String8& name) {
    return SourcePortTypeInstance(name);
}
std::ostream& operator<<(std::ostream& os, SourcePortType t);

}  // namespace Sondar
