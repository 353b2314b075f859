#include "Wirex/Headers.h"

namespace Wirex {

// The wire offsets of the overlays' fields, checked where the private members are visible.
struct HeaderLayout {
    static_assert(offsetof(EthHdr, dst_) == 0 && offsetof(EthHdr, src_) == 6 &&
                  offsetof(EthHdr, type_) == 12);
    static_assert(offsetof(Eth8021QHdr, tagControl_) == 0 && offsetof(Eth8021QHdr, type_) == 2);
    static_assert(offsetof(IpHdr, totalLength_) == 2 && offsetof(IpHdr, flagsFragment_) == 6 &&
                  offsetof(IpHdr, ttl_) == 8 && offsetof(IpHdr, protocol_) == 9 &&
                  offsetof(IpHdr, checksum_) == 10 && offsetof(IpHdr, src_) == 12 &&
                  offsetof(IpHdr, dst_) == 16);
    static_assert(offsetof(UdpPseudoHdr, protocol_) == 9 && offsetof(UdpPseudoHdr, length_) == 10);
    static_assert(offsetof(UdpHdr, length_) == 4 && offsetof(UdpHdr, checksum_) == 6);
    static_assert(offsetof(TcpHdr, seqNum_) == 4 && offsetof(TcpHdr, ackNum_) == 8 &&
                  offsetof(TcpHdr, offsetFlags_) == 12 && offsetof(TcpHdr, window_) == 14 &&
                  offsetof(TcpHdr, checksum_) == 16 && offsetof(TcpHdr, urgent_) == 18);
};

}  // namespace Wirex
