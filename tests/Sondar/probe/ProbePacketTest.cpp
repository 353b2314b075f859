#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "ProbeTestUtil.h"
#include "Rix/Clock.h"
#include "Rix/Trace.h"
#include "Sondar/SondarTrace.h"
#include "Sondar/probe/ProbePacket.h"
#include "Wirex/CapturePam.h"

namespace Sondar {
namespace {

using SondarTest::assertionRegex;
using SondarTest::plainChecksum;

struct Shape {
    const char* name;
    U8 protocol;
    U16 vlan;
    U32 size;
    U16 ipLength;
    U16 udpLength;  // 0 for TCP
};

const Shape kShapes[] = {
    {"udp", 17, 0, 90, 76, 56},
    {"udp-tagged", 17, 0x1005, 94, 76, 56},
    {"tcp", 6, 0, 102, 88, 0},
    {"tcp-tagged", 6, 100, 106, 88, 0},
};

const Wirex::EthAddr kSrcMac(0x00, 0x1c, 0x73, 0x00, 0x00, 0x01);
const Wirex::EthAddr kDstMac(0x00, 0x1c, 0x73, 0x00, 0x00, 0x02);
const Wirex::EthAddr kEgressSrcMac(0x00, 0x1c, 0x73, 0x10, 0x00, 0x01);
const Wirex::EthAddr kEgressDstMac(0x00, 0x1c, 0x73, 0x10, 0x00, 0x02);
const Wirex::IpAddr kSrcIp(10, 1, 0, 1);
const Wirex::IpAddr kDstIp(10, 2, 0, 2);
const Wirex::IpAddr kOriginIp(10, 1, 0, 254);

Rix::Ptr<ProbePacket> makeProbe(const Shape& s, U64 seq = 5, U16 egressVlan = 100,
                                U32 interval = 250000) {
    return probePacketFactory(kSrcMac, kDstMac, s.vlan, Wirex::IpTtl(64), kSrcIp, kDstIp,
                              Wirex::IpProto(s.protocol), 5000, 7000, 1700000000, 123456, seq,
                              kOriginIp, 7, kEgressSrcMac, kEgressDstMac, egressVlan, interval);
}

std::vector<U8> bytesOf(const ProbePacket& p) {
    const U8* d = p.pkt()->frontData();
    return std::vector<U8>(d, d + p.pkt()->bytes());
}

// Verifies every checksum of a built probe with the plain reference sum.
void expectChecksumsGood(const ProbePacket& p) {
    const U8* d = p.pkt()->frontData();
    const U32 l3 = p.rawPtrs()->dot1QHdr() ? 18 : 14;
    const U32 size = p.pkt()->bytes();
    EXPECT_EQ(plainChecksum(d + l3, 20), 0) << "IPv4";
    const U32 l4Length = size - l3 - 20;
    U32 pseudo = ((U32{d[l3 + 12]} << 8) | d[l3 + 13]) + ((U32{d[l3 + 14]} << 8) | d[l3 + 15]) +
                 ((U32{d[l3 + 16]} << 8) | d[l3 + 17]) + ((U32{d[l3 + 18]} << 8) | d[l3 + 19]) +
                 d[l3 + 9] + l4Length;
    EXPECT_EQ(plainChecksum(d + l3 + 20, l4Length, pseudo), 0) << "transport";
    EXPECT_EQ(plainChecksum(d + size - 48, 48), 0) << "probe header";
}

TEST(ProbePacketTest, ShapesHaveTheirSizesLengthsAndHeaders) {
    for (const Shape& s : kShapes) {
        SCOPED_TRACE(s.name);
        const auto p = makeProbe(s);
        const bool tcp = s.protocol == 6;
        EXPECT_EQ(p->pkt()->bytes(), s.size);
        EXPECT_EQ(p->pktOffset(), s.size);
        const HeaderPtrs& h = *p->rawPtrs();
        const U8* front = p->pkt()->frontData();
        EXPECT_EQ(reinterpret_cast<U8*>(h.ethHdr()), front);
        EXPECT_EQ(h.ethHdr()->dst(), kDstMac);
        EXPECT_EQ(h.ethHdr()->src(), kSrcMac);
        if (s.vlan) {
            ASSERT_NE(h.dot1QHdr(), nullptr);
            EXPECT_EQ(h.ethHdr()->ethType(), 0x8100);
            EXPECT_EQ(h.dot1QHdr()->ethType(), 0x0800);
            EXPECT_EQ(h.dot1QHdr()->tagControl().value(), s.vlan & 0xfff);
        } else {
            EXPECT_EQ(h.dot1QHdr(), nullptr);
            EXPECT_EQ(h.ethHdr()->ethType(), 0x0800);
        }
        const Wirex::IpHdr& ip = *h.ipHdr();
        EXPECT_EQ(ip.version(), 4);
        EXPECT_EQ(ip.headerLength(), 20);
        EXPECT_EQ(ip.totalLength(), s.ipLength);
        EXPECT_EQ(ip.ttl().value(), 64);
        EXPECT_EQ(ip.protocol().value(), s.protocol);
        EXPECT_EQ(ip.src(), kSrcIp);
        EXPECT_EQ(ip.dst(), kDstIp);
        EXPECT_EQ(tcp, h.tcpHdr() != nullptr);
        EXPECT_EQ(tcp, h.udpHdr() == nullptr);
        if (tcp) {
            EXPECT_EQ(h.tcpHdr()->flags(), Wirex::TcpHdr::syn);
            EXPECT_EQ(h.tcpHdr()->headerLength(), 20);
            EXPECT_EQ(h.tcpHdr()->seqNum(), 0u);
            EXPECT_EQ(h.tcpHdr()->window(), 0);
        } else {
            EXPECT_EQ(h.udpHdr()->length(), s.udpLength);
        }
        EXPECT_EQ(p->srcPort(), 5000);
        EXPECT_EQ(p->dstPort(), 7000);

        // Every field of the probe header is compared byte for byte with scapy's frame in
        // ProbePcapTest; here only where it lies.
        EXPECT_EQ(reinterpret_cast<const U8*>(p->torkHdr()), front + s.size - 48);
        EXPECT_EQ(static_cast<const TorkPacket&>(*p).torkHdr(), p->torkHdr());
        expectChecksumsGood(*p);
    }
    EXPECT_EQ(makeProbe(kShapes[0], 5, 0)->torkHdr()->egressTagControl().value(), 0);
    EXPECT_EQ(TorkPacket::maxSizeOfPacket(), 106u);
}

Rix::WallClockTime gClock{1800000000, 654321};
Rix::WallClockTime fixedClock() { return gClock; }

class ClockOverride {
  public:
    explicit ClockOverride(Rix::WallClockTime t) : previous_(Rix::wallClockSourceIs(fixedClock)) {
        gClock = t;
    }
    ~ClockOverride() { Rix::wallClockSourceIs(previous_); }

  private:
    Rix::WallClockSource previous_;
};

TEST(ProbePacketTest, BadClockReadingLeavesThePacketAlone) {
    for (const U64 us : {U64{1000000}, U64{1} << 32}) {
        ClockOverride clock({1800000000, us});
        const auto p = makeProbe(kShapes[0], ~U64{0});
        const std::vector<U8> before = bytesOf(*p);
        try {
            p->doIncrementSequenceNumber();
            ADD_FAILURE() << "no exception for " << us;
        } catch (const Rix::RangeException& e) {
            EXPECT_STREQ(e.what(), "Epoch::useconds >= 1000000 not allowed");
        }
        EXPECT_EQ(bytesOf(*p), before);
        EXPECT_EQ(p->torkHdr()->sequenceNumberImpl().value(), ~U64{0});
    }
}

TEST(ProbePacketTest, IntervalChangeTouchesOnlyItsBytesAndChecksums) {
    for (const Shape& s : kShapes) {
        SCOPED_TRACE(s.name);
        const auto p = makeProbe(s);
        const std::vector<U8> before = bytesOf(*p);
        p->doUpdateInterval(0x0a0b0c0d);
        const std::vector<U8> after = bytesOf(*p);
        ASSERT_EQ(after.size(), before.size());
        const U32 probe = s.size - 48;
        const U32 l4Checksum = s.size - 48 - (s.protocol == 6 ? 4 : 2);
        std::set<U32> allowed = {probe + 2,  probe + 3,  probe + 44, probe + 45,
                                 probe + 46, probe + 47, l4Checksum, l4Checksum + 1};
        for (U32 i = 0; i < after.size(); ++i) {
            if (after[i] != before[i]) {
                EXPECT_TRUE(allowed.count(i)) << "byte " << i << " changed";
            }
        }
        EXPECT_EQ(p->torkHdr()->intervalImpl().value(), 0x0a0b0c0du);
        expectChecksumsGood(*p);
    }
}

// The oracle: a second packet whose fields are set from a model of the sequence and whose
// checksums are all computed afresh must equal, byte for byte, the packet advanced by the send
// path.
TEST(ProbePacketTest, SendPathEqualsFullRecomputation) {
    ClockOverride clock({1800000000, 999999});
    for (const Shape& s : kShapes) {
        SCOPED_TRACE(s.name);
        const auto fast = makeProbe(s, 5);
        const auto plain = makeProbe(s, 5);
        TorkProbeHdr* const ph = plain->torkHdr();
        U64 seq = 5;
        U32 epochSeconds = 1700000000, epochUSeconds = 123456, interval = 250000;
        U64 step = 0;
        auto compare = [&] {
            ph->sequenceNumberImplIs(Wirex::NetU64(seq));
            ph->epochSecondsImplIs(Wirex::NetU32(epochSeconds));
            ph->epochUSecondsImplIs(Wirex::NetU32(epochUSeconds));
            ph->intervalImplIs(Wirex::NetU32(interval));
            plain->doComputePktChecksums();
            return bytesOf(*fast) == bytesOf(*plain);
        };
        auto increment = [&] {
            const bool wrapped = seq == ~U64{0};
            seq = wrapped ? 1 : seq + 1;
            if (wrapped) {
                epochSeconds = 1800000000;
                epochUSeconds = 999999;
            }
            ++step;
            return fast->doIncrementSequenceNumber() == wrapped && compare();
        };
        auto updateInterval = [&](U32 v) {
            interval = v;
            fast->doUpdateInterval(v);
            return compare();
        };
        auto jumpTo = [&](U64 to) {
            seq = to;
            fast->torkHdr()->sequenceNumberImplIs(Wirex::NetU64(to));
            fast->doComputePktChecksums();
        };
        // Enough consecutive numbers for the probe checksum to take every value.
        for (int i = 0; i < 70000; ++i) {
            ASSERT_TRUE(increment()) << "step " << step;
            if (i == 30000) {
                ASSERT_TRUE(updateInterval(1000));
            }
        }
        for (const U64 start : {U64{0xfffffff0}, U64{0x0000fffffffffff0}, ~U64{0} - 20}) {
            jumpTo(start);
            for (int i = 0; i < 40; ++i) ASSERT_TRUE(increment()) << "step " << step;
        }
        EXPECT_EQ(fast->torkHdr()->sequenceNumberImpl().value(), 20u);
        EXPECT_EQ(fast->torkHdr()->epochSecondsImpl().value(), 1800000000u);
        ASSERT_TRUE(updateInterval(0xffffffff));
        for (int i = 0; i < 1000; ++i) ASSERT_TRUE(increment()) << "step " << step;
        expectChecksumsGood(*fast);
    }
}

// A transmitter whose sends move the failure counters as told.
class ScriptedPam : public Wirex::Pam {
  public:
    void send(const Rix::Ptr<Wirex::Pkt>&) noexcept override {
        if (moveFirst) sendErrorsInc();
        if (moveSecond) framesDroppedInc();
        if (!moveFirst && !moveSecond) framesSentInc();
    }
    bool moveFirst = false;
    bool moveSecond = false;
};

TEST(ProbePacketTest, TxResultFollowsBothFailureCounters) {
    const auto p = makeProbe(kShapes[1]);
    const Rix::Ptr<ScriptedPam> pam(new ScriptedPam);
    struct Case {
        bool first, second, result;
    };
    for (const Case& c : {Case{false, false, true}, Case{true, false, false},
                          Case{false, true, false}, Case{true, true, false}}) {
        pam->moveFirst = c.first;
        pam->moveSecond = c.second;
        EXPECT_EQ(p->doTxPkt(pam), c.result) << c.first << c.second;
    }

    const Rix::Ptr<Wirex::CapturePam> capture(new Wirex::CapturePam);
    EXPECT_TRUE(p->doTxPkt(capture));
    ASSERT_EQ(capture->frameCount(), 1u);
    EXPECT_EQ(capture->frames()[0], bytesOf(*p));
    capture->failNextSendsIs(1, Wirex::CapturePam::Failure::sendError);
    EXPECT_FALSE(p->doTxPkt(capture));
    capture->failNextSendsIs(1, Wirex::CapturePam::Failure::frameDropped);
    EXPECT_FALSE(p->doTxPkt(capture));
    EXPECT_TRUE(p->doTxPkt(capture));
}

class TraceCapture {
  public:
    TraceCapture() {
        previousLevels_ = sondarTrace.levels();
        previousSink_ = Rix::traceSinkIs([this](const Rix::TraceRecord& r) {
            if (std::string(r.module) == "Sondar")
                lines_.push_back(std::to_string(r.level) + " " + r.text);
        });
    }
    ~TraceCapture() {
        Rix::traceSinkIs(previousSink_);
        sondarTrace.levelsIs(previousLevels_);
    }
    const std::vector<std::string>& lines() const { return lines_; }
    // Blanks are ignored: compilers differ in where they put them in a signature.
    bool has(const std::string& part) const {
        auto squeezed = [](std::string t) {
            std::erase(t, ' ');
            return t;
        };
        for (const auto& l : lines_) {
            if (squeezed(l).find(squeezed(part)) != std::string::npos) return true;
        }
        return false;
    }

  private:
    U16 previousLevels_;
    Rix::TraceSink previousSink_;
    std::vector<std::string> lines_;
};

Rix::Ptr<TorkPacket> bareTorkPacket(U8 protocol) {
    Rix::Ptr<TorkPacket> p(new TorkPacket(kSrcMac, kDstMac, 0, Wirex::IpTtl(64), kSrcIp, kDstIp,
                                          Wirex::IpProto(protocol), 1, 2, 0, 0, 0));
    p->handleInitialized(kSrcMac, kDstMac, 0, Wirex::IpTtl(64), kSrcIp, kDstIp,
                         Wirex::IpProto(protocol), 1, 2);
    return p;
}

TEST(ProbePacketTest, TraceLinesOnlyAtLevelEight) {
    {
        TraceCapture trace;
        sondarTrace.levelsIs(0x3ff & ~(1u << 8));
        const auto p = makeProbe(kShapes[2]);
        p->doIncrementSequenceNumber();
        p->doUpdateInterval(3);
        EXPECT_EQ(p->srcPort(), 5000);
        EXPECT_TRUE(trace.lines().empty());
    }
    TraceCapture trace;
    sondarTrace.levelsIs(1u << 8);
    const auto p = makeProbe(kShapes[2]);
    // Each line is the operation's full signature, level 8.
    for (const char* op : {"8 void Sondar::TorkPacket::handleInitialized(const Wirex::EthAddr&, "
                           "const Wirex::EthAddr&",
                           "Sondar::TorkPacket::maxSizeOfPacket()",
                           "8 void Sondar::ProbePacket::handleProbeInitialized(",
                           "8 void Sondar::TorkPacket::doComputePktChecksums()"}) {
        EXPECT_TRUE(trace.has(op)) << op;
    }
    const std::size_t built = trace.lines().size();
    p->doIncrementSequenceNumber();
    EXPECT_EQ(trace.lines().size(), built + 1);
    EXPECT_TRUE(trace.has("doComputePktChecksums"));
    p->srcPort();
    p->dstPort();
    p->doUpdateInterval(3);
    EXPECT_TRUE(trace.has("Sondar::TorkPacket::srcPort() const"));
    EXPECT_TRUE(trace.has("Sondar::TorkPacket::dstPort() const"));
    EXPECT_TRUE(trace.has("void Sondar::ProbePacket::doUpdateInterval("));
    EXPECT_FALSE(trace.has("Packet allocation failed"));

    Wirex::globalPktManager()->failNextAllocationsIs(1);
    const auto failed = bareTorkPacket(17);
    EXPECT_TRUE(trace.has("8 Packet allocation failed for Tork Packet"));
    EXPECT_FALSE(failed->pkt());
    EXPECT_FALSE(failed->rawPtrs());
    EXPECT_EQ(failed->srcPort(), 0);
}

TEST(ProbePacketTest, RawPtrsAreKeptWhenUnchanged) {
    const auto p = bareTorkPacket(17);
    const HeaderPtrs* first = p->rawPtrs().ptr();
    const HeaderPtrs& h = *p->rawPtrs();
    EXPECT_EQ(p->rawPtrsIs(h.ethHdr(), h.dot1QHdr(), h.ipHdr(), h.tcpHdr(), h.udpHdr()).ptr(),
              first);
    EXPECT_NE(p->rawPtrsIs(h.ethHdr(), nullptr, h.ipHdr(), nullptr, nullptr).ptr(), first);
    EXPECT_EQ(p->torkHdr(), nullptr);
    EXPECT_EQ(p->pktOffset(), 42u);
    EXPECT_EQ(bareTorkPacket(6)->pktOffset(), 54u);
}

TEST(ProbePacketDeathTest, ProgrammingErrorsStopWithTheirExpression) {
    struct Case {
        const char* text;
        void (*run)();
    };
    const Case cases[] = {
        {"false", [] { bareTorkPacket(1); }},
        {"pam", [] { makeProbe(kShapes[0])->doTxPkt(nullptr); }},
        {"pkt()",
         [] {
             Wirex::globalPktManager()->failNextAllocationsIs(1);
             bareTorkPacket(17)->doTxPkt(Rix::Ptr<Wirex::Pam>(new Wirex::CapturePam));
         }},
        {"torkHdr()",
         [] {
             Wirex::globalPktManager()->failNextAllocationsIs(1);
             makeProbe(kShapes[0]);
         }},
        {"pkt()->bytes() == sizeOfPacket",
         [] {
             const auto p = makeProbe(kShapes[0]);
             p->rawPtrs()->ipHdr()->totalLengthIs(200);
             p->doComputePktChecksums();
         }},
        {"rawPtrs()->udpHdr()",
         [] {
             const auto p = makeProbe(kShapes[0]);
             const HeaderPtrs& h = *p->rawPtrs();
             p->rawPtrsIs(h.ethHdr(), nullptr, h.ipHdr(), nullptr, nullptr);
             p->doComputePktChecksums();
         }},
        {"rawPtrs()->tcpHdr()",
         [] {
             const auto p = makeProbe(kShapes[2]);
             const HeaderPtrs& h = *p->rawPtrs();
             p->rawPtrsIs(h.ethHdr(), nullptr, h.ipHdr(), nullptr, nullptr);
             p->doComputePktChecksums();
         }},
        {"rawPtrs()->ipHdr()",
         [] {
             const auto p = makeProbe(kShapes[0]);
             p->rawPtrsIs(p->rawPtrs()->ethHdr(), nullptr, nullptr, nullptr, nullptr);
             p->doComputePktChecksums();
         }},
        {"0",
         [] {
             const auto p = makeProbe(kShapes[0]);
             p->rawPtrs()->ipHdr()->protocolIs(Wirex::IpProto(1));
             p->doComputePktChecksums();
         }},
    };
    for (const Case& c : cases) EXPECT_DEATH(c.run(), assertionRegex(c.text)) << c.text;
}

}  // namespace
}  // namespace Sondar
