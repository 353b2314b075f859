// Header overlays: field positions and sub-byte fields against hand-laid bytes, and the IPv4,
// UDP and TCP checksums against scapy computing them for the same frames.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "TestFrames.h"
#include "TestTools.h"
#include "Wirex/Headers.h"

namespace {

using namespace Wirex;
using WirexTest::buildFrame;
using WirexTest::FrameSpec;

TEST(Headers, IpConstructorAndFieldPositions) {
    U8 raw[20];
    std::memset(raw, 0xee, sizeof raw);
    auto* ip =
        new (raw) IpHdr(28, IpTtl(64), IpProto(17), IpAddr(10, 0, 0, 1), IpAddr(10, 0, 0, 2));
    const U8 expected[20] = {0x45, 0, 0, 28, 0, 0, 0, 0, 64, 17, 0, 0, 10, 0, 0, 1, 10, 0, 0, 2};
    EXPECT_EQ(std::memcmp(raw, expected, 20), 0);
    EXPECT_EQ(ip->version(), 4);
    EXPECT_EQ(ip->headerLength(), 20);
    EXPECT_EQ(ip->payloadLength(), 8);
    ip->flagsIs(2);
    ip->fragmentOffsetIs(0x1fff);
    EXPECT_EQ(raw[6], 0x5f);
    EXPECT_EQ(raw[7], 0xff);
    EXPECT_TRUE(ip->dontFragment());
    ip->fragmentOffsetIs(0);
    EXPECT_EQ(raw[6], 0x40) << "the flags survive an offset change";
    ip->ihlIs(6);
    EXPECT_EQ(raw[0], 0x46);
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
    EXPECT_EQ(tcp->dataOffset(), 5);
    EXPECT_EQ(raw[0], 0x12);
    EXPECT_EQ(raw[3], 0x78);

    U8 tag[18] = {};
    new (tag) EthHdr(EthAddr(1, 2, 3, 4, 5, 6), EthAddr(7, 8, 9, 10, 11, 12), ethTypeVlan);
    new (tag + 14) Eth8021QHdr(Eth8021QTagControl(5, true, 0x1005), ethTypeIpv4);
    const U8 expected[18] = {1,  2,  3,  4,    5,    6,    7,    8,    9,
                             10, 11, 12, 0x81, 0x00, 0xb0, 0x05, 0x08, 0x00};
    EXPECT_EQ(std::memcmp(tag, expected, 18), 0);
}

// A UDP sum that comes out as 0 must go on the wire as 0xffff; TCP sends 0 as it is.
TEST(Headers, ZeroTransportChecksums) {
    for (bool tcp : {false, true}) {
        Rix::Ptr<Pkt> pkt = buildFrame({.tcp = tcp, .payload = 10});
        U8* l4 = pkt->data() + 34;
        U8* last = pkt->data() + pkt->bytes() - 2;
        auto* ip = reinterpret_cast<IpHdr*>(pkt->data() + 14);
        // make the covered sum all ones by choosing the last two payload bytes
        last[0] = last[1] = 0;
        std::memset(l4 + (tcp ? 16 : 6), 0, 2);
        const U32 pseudo = UdpPseudoHdr(ip->src(), ip->dst(), ip->payloadLength()).partialSum();
        const U32 pseudoTcp = TcpPseudoHdr(ip->src(), ip->dst(), ip->payloadLength()).partialSum();
        const U16 sum = ipChecksumPartial(l4, ip->payloadLength(), tcp ? pseudoTcp : pseudo);
        const U16 fill = static_cast<U16>(~sum);
        last[0] = static_cast<U8>(fill >> 8);
        last[1] = static_cast<U8>(fill);
        if (tcp) {
            auto* h = reinterpret_cast<TcpHdr*>(l4);
            EXPECT_EQ(h->computedChecksum(TcpPseudoHdr(ip->src(), ip->dst(), ip->payloadLength()))
                          .value(),
                      0);
        } else {
            auto* h = reinterpret_cast<UdpHdr*>(l4);
            EXPECT_EQ(h->computedChecksum(UdpPseudoHdr(ip->src(), ip->dst(), h->length())).value(),
                      0xffff);
        }
    }
}

// scapy recomputes the checksums of the same frames from scratch; ours must agree, for UDP and
// TCP, tagged and untagged, even and odd payload lengths.
TEST(Headers, ChecksumsAgreeWithScapy) {
    if (!WirexTest::haveScapy()) GTEST_SKIP() << "scapy is not importable from /usr/bin/python3";
    WirexTest::ScratchDir dir;
    const std::string frames = dir.file("frames.hex"), script = dir.file("sums.py");
    std::vector<std::pair<U16, U16>> ours;
    {
        std::ofstream f(frames);
        U32 seed = 1;
        for (bool tcp : {false, true}) {
            for (U16 vlan : {U16(0), U16(100)}) {
                for (U16 payload : {0, 1, 47, 48, 49, 1000, 1401}) {
                    Rix::Ptr<Pkt> pkt =
                        buildFrame({.tcp = tcp, .vlan = vlan, .payload = payload, .seed = ++seed});
                    const U8* d = pkt->data();
                    const U32 ipAt = vlan ? 18 : 14;
                    const auto* ip = reinterpret_cast<const IpHdr*>(d + ipAt);
                    const U8* l4 = d + ipAt + 20;
                    const U16 l4sum = tcp ? reinterpret_cast<const TcpHdr*>(l4)->checksum().value()
                                          : reinterpret_cast<const UdpHdr*>(l4)->checksum().value();
                    ours.emplace_back(ip->checksum().value(), l4sum);
                    f << WirexTest::hex(d, pkt->bytes()) << "\n";
                }
            }
        }
    }
    std::ofstream(script) << "import sys\n"
                             "from scapy.all import Ether, IP, UDP, TCP, raw\n"
                             "for line in open(sys.argv[1]):\n"
                             "    p = Ether(bytes.fromhex(line.strip()))\n"
                             "    l4 = UDP if UDP in p else TCP\n"
                             "    del p[IP].chksum\n"
                             "    del p[l4].chksum\n"
                             "    q = Ether(raw(p))\n"
                             "    print(q[IP].chksum, q[l4].chksum)\n";
    int status = 0;
    const std::string out =
        WirexTest::runCommand("/usr/bin/python3 " + script + " " + frames + " 2>&1", &status);
    ASSERT_EQ(status, 0) << out;
    std::istringstream in(out);
    for (std::size_t i = 0; i < ours.size(); ++i) {
        unsigned ipSum = 0, l4Sum = 0;
        ASSERT_TRUE(in >> ipSum >> l4Sum) << out;
        EXPECT_EQ(ours[i].first, ipSum) << "frame " << i;
        EXPECT_EQ(ours[i].second, l4Sum) << "frame " << i;
    }
}

}  // namespace
