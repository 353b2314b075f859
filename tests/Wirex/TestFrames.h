#pragma once
// Builds complete frames the way the probe builder does: Ethernet, optional 802.1Q, IPv4, UDP or
// TCP and a payload, with every checksum computed through the overlays.
#include <new>
#include <random>

#include "Wirex/Headers.h"
#include "Wirex/Pkt.h"

namespace WirexTest {

struct FrameSpec {
    bool tcp = false;
    U16 vlan = 0;
    U16 payload = 48;
    U32 seed = 1;
    U16 srcPort = 5000;
    U16 dstPort = 6000;
};

inline Rix::Ptr<Wirex::Pkt> buildFrame(const FrameSpec& s) {
    using namespace Wirex;
    Rix::Ptr<Pkt> pkt = globalPktManager()->newPkt();
    const U16 l4 = s.tcp ? 20 : 8;
    const U32 size = 14 + (s.vlan ? 4 : 0) + 20 + l4 + s.payload;
    U8* p = pkt->newSharedHeadData(size);
    const EthAddr src(0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x01), dst(0x00, 0x1c, 0x73, 0xaa, 0xbb, 0x02);
    new (p) EthHdr(dst, src, s.vlan ? ethTypeVlan : ethTypeIpv4);
    U8* at = p + sizeof(EthHdr);
    if (s.vlan) {
        new (at) Eth8021QHdr(Eth8021QTagControl(0, false, s.vlan), ethTypeIpv4);
        at += sizeof(Eth8021QHdr);
    }
    auto* ip = new (at) IpHdr(static_cast<U16>(20 + l4 + s.payload), IpTtl(64),
                              IpProto(s.tcp ? IpProto::tcp : IpProto::udp), IpAddr(10, 0, 0, 1),
                              IpAddr(10, 0, 0, 2));
    at += sizeof(IpHdr);
    std::mt19937 rng(s.seed);
    U8* payload = at + l4;
    for (U16 i = 0; i < s.payload; ++i) payload[i] = static_cast<U8>(rng());
    if (s.tcp) {
        auto* tcp = new (at) TcpHdr(s.srcPort, s.dstPort);
        tcp->synFlagIs(true);
        tcp->checksumIs(
            tcp->computedChecksum(TcpPseudoHdr(ip->src(), ip->dst(), ip->payloadLength())));
    } else {
        auto* udp = new (at) UdpHdr(s.srcPort, s.dstPort, static_cast<U16>(8 + s.payload));
        udp->checksumIs(udp->computedChecksum(UdpPseudoHdr(ip->src(), ip->dst(), udp->length())));
    }
    ip->checksumIs(ip->computedChecksum());
    return pkt;
}

}  // namespace WirexTest
