#pragma once
// How a transmitter picks the source ports of its probes. Stored as an unsigned 32-bit number;
// unknown numbers are refused when converted or read, but still print ("SourcePortType(9)").
#include "Rix/EnumNames.h"

namespace Sondar {

enum class SourcePortType : U32 { random = 0, sequential = 1, list = 2 };

// Unknown numbers and names raise Rix::RangeException "SourcePortType".
RIX_ENUM_DECLARATIONS(SourcePortType)

}  // namespace Sondar
