#include "Wirex/NetTypes.h"

namespace Wirex {

std::ostream& operator<<(std::ostream& os, const Eth8021QTagControl& t) {
    return os << "pri " << unsigned{t.priority()} << " cfi " << (t.cfi() ? 1 : 0) << " vlan "
              << t.vlanId();
}

}  // namespace Wirex
