// Header overlays: field positions and sub-byte fields against hand-laid bytes, and the transport
// checksums that come out as zero (the checksums against scapy are in PcapFileTest).
#include <gtest/gtest.h>

#include "TestFrames.h"
#include "Wirex/Headers.h"

namespace {

using namespace Wirex;
using WirexTest::buildFrame;

TEST(Headers, IpConstructorAndSubByteFields) {
    U8 raw[20];
    std::memset(raw, 0xee, sizeof raw);
    auto* ip =
        new (raw) IpHdr(28, IpTtl(64), IpProto(17), IpAddr(10, 0, 0, 1), IpAddr(10, 0, 0, 2));
    const U8 expected[20] = {0x45, 0, 0, 28, 0, 0, 0, 0, 64, 17, 0, 0, 10, 0, 0, 1, 10, 0, 0, 2};
    EXPECT_EQ(std::memcmp(raw, expected, 20), 0);
    EXPECT_EQ(ip->payloadLength(), 8);
    ip->flagsIs(2);
    ip->fragmentOffsetIs(0x1fff);
    EXPECT_EQ(raw[6], 0x5f);
    EXPECT_EQ(raw[7], 0xff);
    EXPECT_TRUE(ip->dontFragment());
    ip->fragmentOffsetIs(0);
    EXPECT_EQ(raw[6], 0x40) << "the flags survive an offset change";
    ip->ihlIs(6);
    ip->versionIs(6);
    EXPECT_EQ(raw[0], 0x66);
}

TEST(Headers, TcpFlagsAndVlanTagBits) {
    U8 raw[20] = {};
    auto* tcp = new (raw) TcpHdr(0x1234, 0x5678);
    tcp->synFlagIs(true);
    EXPECT_EQ(raw[12], 0x50) << "data offset 5, reserved and NS clear";
    EXPECT_EQ(raw[13], 0x02) << "a lone SYN";
    tcp->flagIs(TcpHdr::ns, true);
    tcp->flagIs(TcpHdr::cwr, true);
    EXPECT_EQ(raw[12], 0x51);
    EXPECT_EQ(raw[13], 0x82);

    U8 tag[18] = {};
    new (tag) EthHdr(EthAddr(1, 2, 3, 4, 5, 6), EthAddr(7, 8, 9, 10, 11, 12), ethTypeVlan);
    new (tag + 14) Eth8021QHdr(Eth8021QTagControl(5, true, 0x1005), ethTypeIpv4);
    const U8 expected[18] = {1,  2,  3,  4,    5,    6,    7,    8,    9,
                             10, 11, 12, 0x81, 0x00, 0xb0, 0x05, 0x08, 0x00};
    EXPECT_EQ(std::memcmp(tag, expected, 18), 0);
    // each setter masks its own bits and leaves the others
    Eth8021QTagControl t(1, true, 5);
    t.priorityIs(9);
    t.vlanIdIs(100);
    EXPECT_EQ(t.value(), 0x3064);
    t.cfiIs(false);
    EXPECT_EQ(t.value(), 0x2064);
}

// A UDP sum that comes out as 0 must go on the wire as 0xffff; TCP sends 0 as it is.
TEST(Headers, ZeroTransportChecksums) {
    for (bool tcp : {false, true}) {
        Rix::Ptr<Pkt> pkt = buildFrame({.tcp = tcp, .payload = 10});
        U8* l4 = pkt->data() + 34;
        U8* last = pkt->data() + pkt->bytes() - 2;
        const auto* ip = reinterpret_cast<IpHdr*>(pkt->data() + 14);
        const U16 len = ip->payloadLength();
        // choose the last two payload bytes so that the covered sum is all ones
        last[0] = last[1] = 0;
        std::memset(l4 + (tcp ? 16 : 6), 0, 2);
        const U32 pseudo = tcp ? TcpPseudoHdr(ip->src(), ip->dst(), len).partialSum()
                               : UdpPseudoHdr(ip->src(), ip->dst(), len).partialSum();
        const U16 fill = static_cast<U16>(~ipChecksumPartial(l4, len, pseudo));
        last[0] = static_cast<U8>(fill >> 8);
        last[1] = static_cast<U8>(fill);
        const U16 got = tcp ? reinterpret_cast<TcpHdr*>(l4)
                                  ->computedChecksum(TcpPseudoHdr(ip->src(), ip->dst(), len))
                                  .value()
                            : reinterpret_cast<UdpHdr*>(l4)
                                  ->computedChecksum(UdpPseudoHdr(ip->src(), ip->dst(), len))
                                  .value();
        EXPECT_EQ(got, tcp ? 0 : 0xffff) << (tcp ? "TCP" : "UDP");
    }
}

}  // namespace
