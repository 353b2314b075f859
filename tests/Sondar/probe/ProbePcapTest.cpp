// Probes of every shape, through sequence increments, an epoch wrap and an interval change, go
// through the pcap transmitter into a file that two independent decoders check: tshark, with
// IPv4, UDP and TCP checksum validation on, and scapy, which builds the same frames by itself.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "Rix/Clock.h"
#include "Sondar/probe/ProbePacket.h"
#include "TestTools.h"
#include "Wirex/PcapFile.h"

namespace Sondar {
namespace {

using SondarTest::python;
using SondarTest::runCommand;

Rix::WallClockTime newEpochClock() { return {1800000000, 4242}; }

struct Shape {
    U8 protocol;
    U16 vlan;
    U16 egressVlan;
};

// What one frame was built from: the model the decoders' output is compared against.
struct Built {
    Shape shape;
    U64 seq;
    U32 epochSeconds, epochUSeconds, interval;
};

std::string json(const Built& b) {
    std::ostringstream o;
    o << "{\"srcMac\": \"00:1c:73:00:00:01\", \"dstMac\": \"00:1c:73:00:00:02\", \"vlan\": "
      << b.shape.vlan << ", \"ttl\": 63, \"srcIp\": \"10.1.0.1\", \"dstIp\": \"10.2.0.2\", "
      << "\"protocol\": " << int{b.shape.protocol}
      << ", \"srcPort\": 40001, \"dstPort\": 7000, \"epochSeconds\": " << b.epochSeconds
      << ", \"epochUSeconds\": " << b.epochUSeconds << ", \"sequenceNumber\": " << b.seq
      << ", \"originIntfIp\": \"10.1.0.254\", \"egressIfIndex\": 1000007, "
      << "\"egressSrcMac\": \"00:1c:73:10:00:01\", \"egressDstMac\": \"00:1c:73:10:00:02\", "
      << "\"egressVlan\": " << b.shape.egressVlan << ", \"interval\": " << b.interval << "}";
    return o.str();
}

// The tshark fields of a frame as built; a checksum status of 1 is "good".
std::string tsharkLine(const Built& b) {
    const bool tcp = b.shape.protocol == 6;
    const U32 size = (tcp ? 102 : 90) + (b.shape.vlan ? 4 : 0);
    std::ostringstream o;
    o << size << "|00:1c:73:00:00:01|00:1c:73:00:00:02|";
    if (b.shape.vlan) o << (b.shape.vlan & 0xfff);
    o << "|10.1.0.1|10.2.0.2|63|" << (tcp ? 88 : 76) << "|" << int{b.shape.protocol} << "|1|";
    o << (tcp ? "||||40001|7000|0x0002|1" : "40001|7000|56|1||||");
    return o.str();
}

TEST(ProbePcapTest, TsharkAndScapyAgreeWithEveryProbe) {
    if (!SondarTest::haveTshark()) GTEST_SKIP() << "tshark is not installed";
    if (!SondarTest::haveScapy()) {
        GTEST_SKIP() << python() << " cannot import scapy";
    }
    const std::string pcap = std::string(SONDAR_BINARY_DIR) + "/ProbePcapTest.pcap";
    const std::string frames = std::string(SONDAR_BINARY_DIR) + "/ProbePcapTest.json";
    const Rix::WallClockSource previousClock = Rix::wallClockSourceIs(newEpochClock);

    std::vector<Built> built;
    {
        const Rix::Ptr<Wirex::PcapWriter> writer(new Wirex::PcapWriter(pcap));
        for (const Shape& s :
             {Shape{17, 0, 0}, Shape{17, 0x1005, 100}, Shape{6, 0, 4094}, Shape{6, 2000, 0}}) {
            Built b{s, ~U64{0} - 2, 1700000000, 999999, 250000};
            const auto p = probePacketFactory(
                Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 2),
                s.vlan, Wirex::IpTtl(63), Wirex::IpAddr(10, 1, 0, 1), Wirex::IpAddr(10, 2, 0, 2),
                Wirex::IpProto(s.protocol), 40001, 7000, b.epochSeconds, b.epochUSeconds, b.seq,
                Wirex::IpAddr(10, 1, 0, 254), 1000007, Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 1),
                Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 2), s.egressVlan, b.interval);
            auto send = [&] {
                ASSERT_TRUE(p->doTxPkt(writer));
                built.push_back(b);
            };
            send();
            for (int i = 0; i < 4; ++i) {  // through all ones to 1 under the new epoch
                const bool wrapped = p->doIncrementSequenceNumber();
                b.seq = b.seq == ~U64{0} ? 1 : b.seq + 1;
                EXPECT_EQ(wrapped, b.seq == 1);
                if (wrapped) {
                    b.epochSeconds = 1800000000;
                    b.epochUSeconds = 4242;
                }
                send();
            }
            p->doUpdateInterval(17);
            b.interval = 17;
            send();
            p->doIncrementSequenceNumber();
            ++b.seq;
            send();
        }
    }
    Rix::wallClockSourceIs(previousClock);

    {
        std::ofstream f(frames);
        for (std::size_t i = 0; i < built.size(); ++i) f << (i ? ",\n" : "[\n") << json(built[i]);
        f << "\n]\n";
    }

    int status = -1;
    const std::string decoded = runCommand(
        SondarTest::tsharkChecked(pcap) +
            " -T fields -E separator='|' -e frame.len -e eth.src -e eth.dst -e vlan.id -e ip.src"
            " -e ip.dst -e ip.ttl -e ip.len -e ip.proto -e ip.checksum.status -e udp.srcport"
            " -e udp.dstport -e udp.length -e udp.checksum.status -e tcp.srcport -e tcp.dstport"
            " -e tcp.flags -e tcp.checksum.status 2>/dev/null",
        &status);
    ASSERT_EQ(status, 0) << decoded;
    std::istringstream lines(decoded);
    std::string line;
    std::size_t i = 0;
    for (; std::getline(lines, line); ++i) {
        ASSERT_LT(i, built.size()) << "extra frame: " << line;
        EXPECT_EQ(line, tsharkLine(built[i])) << "frame " << i;
    }
    EXPECT_EQ(i, built.size());

    const std::string checked =
        runCommand(std::string(python()) + " " + SONDAR_SOURCE_DIR +
                       "/tests/Sondar/probe/probe_frames.py " + frames + " " + pcap + " 2>&1",
                   &status);
    EXPECT_EQ(status, 0) << checked;
    EXPECT_NE(checked.find("checked " + std::to_string(built.size()) + " frames"),
              std::string::npos)
        << checked;
}

}  // namespace
}  // namespace Sondar
