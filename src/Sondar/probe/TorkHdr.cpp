#include "Sondar/probe/TorkHdr.h"

#include "Wirex/Checksum.h"

namespace Sondar {

Wirex::IpChecksum TorkHdr::computedChecksum(U16 length) const noexcept {
    return Wirex::ipChecksumCalc(this, length, 0);
}

void torkHdrStr(std::ostream& os, TorkHdr* hdr) {
    os << " type: " << hdr->messageType() << " epoch seconds: " << hdr->epochSecondsImpl().value()
       << " epoch u seconds: " << hdr->epochUSecondsImpl().value()
       << " sequence number: " << hdr->sequenceNumberImpl().value() << "  ";
}

void torkProbeHdrStr(std::ostream& os, TorkProbeHdr* hdr) {
    torkHdrStr(os, hdr);
    os << " origin intf ip: " << hdr->originIntfIp()
       << " egress ifIndex: " << hdr->egressIfIndexImpl().value()
       << " egressSrcMac: " << hdr->egressSrcMac() << " egressDestMac: " << hdr->egressDestMac()
       << " egressTagControl: " << hdr->egressTagControl() << " ttl: ";
    os.put(static_cast<char>(hdr->ttlImpl().value()));
    os << "  ";
}

std::ostream& operator<<(std::ostream& os, TorkHdr* hdr) {
    torkHdrStr(os, hdr);
    return os;
}

}  // namespace Sondar
