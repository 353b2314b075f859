#include "Bridging/VlanIdOrNone.h"

#include "Rix/Format.h"

namespace Bridging {

void VlanIdOrNone::validate() const {
    if (value_ > maxVlanId) {
        throw Rix::RangeException(
            Rix::format("VLAN id %u out of range (at most %u)", value_, maxVlanId));
    }
}

}  // namespace Bridging
