#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "AllocationCounter.h"
#include "ProbeTestUtil.h"
#include "Rix/Clock.h"
#include "Rix/Trace.h"
#include "Sondar/SondarTrace.h"
#include "Sondar/probe/ProbePacket.h"
#include "Wirex/CapturePam.h"

namespace Sondar {
namespace {

using SondarTest::assertionRegex;

struct Shape {
    const char* name;
    U8 protocol;
    U16 vlan;
    U32 size;
    U16 ipLength;
    U16 udpLength;  // 0 for TCP
};

const Shape kShapes[] = {{"udp", 17, 0, 90, 76, 56},
                         {"udp-tagged", 17, 0x1005, 94, 76, 56},
                         {"tcp", 6, 0, 102, 88, 0},
                         {"tcp-tagged", 6, 100, 106, 88, 0}};

const Wirex::EthAddr kSrcMac(0x00, 0x1c, 0x73, 0x00, 0x00, 0x01);
const Wirex::EthAddr kDstMac(0x00, 0x1c, 0x73, 0x00, 0x00, 0x02);
const Wirex::IpAddr kSrcIp(10, 1, 0, 1);
const Wirex::IpAddr kDstIp(10, 2, 0, 2);

Rix::Ptr<ProbePacket> makeProbe(const Shape& s, U64 seq = 5) {
    return probePacketFactory(kSrcMac, kDstMac, s.vlan, Wirex::IpTtl(64), kSrcIp, kDstIp,
                              Wirex::IpProto(s.protocol), 5000, 7000, 1700000000, 123456, seq,
                              Wirex::IpAddr(10, 1, 0, 254), 7,
                              Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 1),
                              Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 2), 100, 250000);
}

std::vector<U8> bytesOf(const ProbePacket& p) {
    const U8* d = p.pkt()->frontData();
    return std::vector<U8>(d, d + p.pkt()->bytes());
}

// The field values and checksums are compared byte for byte with scapy's frames and checked by
// tshark in ProbePcapTest; here the sizes, the lengths and where each header lies.
TEST(ProbePacketTest, ShapesHaveTheirSizesAndLengths) {
    for (const Shape& s : kShapes) {
        SCOPED_TRACE(s.name);
        const auto p = makeProbe(s);
        const HeaderPtrs& h = *p->rawPtrs();
        const U8* front = p->pkt()->frontData();
        EXPECT_EQ(p->pkt()->bytes(), s.size);
        EXPECT_EQ(p->pktOffset(), s.size);
        EXPECT_EQ(h.dot1QHdr() != nullptr, s.vlan != 0);
        if (s.vlan) {
            EXPECT_EQ(h.dot1QHdr()->tagControl().value(), s.vlan & 0xfff);
        }
        EXPECT_EQ(h.ipHdr()->totalLength(), s.ipLength);
        EXPECT_EQ(h.tcpHdr() != nullptr, s.protocol == 6);
        EXPECT_EQ(h.udpHdr() ? h.udpHdr()->length() : 0, s.udpLength);
        EXPECT_EQ(reinterpret_cast<const U8*>(p->torkHdr()), front + s.size - 48);
        EXPECT_EQ(static_cast<const TorkPacket&>(*p).torkHdr(), p->torkHdr());
    }
    EXPECT_EQ(TorkPacket::maxSizeOfPacket(), 106u);
}

Rix::WallClockTime gClock;
Rix::WallClockTime fixedClock() { return gClock; }

// The wall clock reads t for the life of this object.
struct ClockOverride {
    explicit ClockOverride(Rix::WallClockTime t) { gClock = t; }
    ~ClockOverride() { Rix::wallClockSourceIs(previous); }
    Rix::WallClockSource previous = Rix::wallClockSourceIs(fixedClock);
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

// The oracle: a second packet whose fields are set from a model of the sequence and whose
// checksums are all computed afresh must equal, byte for byte, the packet advanced by the send
// path.
TEST(ProbePacketTest, SendPathEqualsFullRecomputation) {
    ClockOverride clock({1800000000, 999999});
    for (const Shape& s : kShapes) {
        SCOPED_TRACE(s.name);
        const auto fast = makeProbe(s, 5);
        const auto plain = makeProbe(s, 5);
        U64 seq = 5;
        U32 epochSeconds = 1700000000, epochUSeconds = 123456, interval = 250000;
        auto same = [&] {
            TorkProbeHdr* const ph = plain->torkHdr();
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
            if (wrapped) std::tie(epochSeconds, epochUSeconds) = std::pair(1800000000u, 999999u);
            return fast->doIncrementSequenceNumber() == wrapped && same();
        };
        auto updateInterval = [&](U32 v) {
            fast->doUpdateInterval(interval = v);
            return same();
        };
        // Enough consecutive numbers for the probe checksum to take every value.
        for (int i = 0; i < 70000; ++i) {
            ASSERT_TRUE(increment()) << "increment " << i;
            ASSERT_TRUE(i != 30000 || updateInterval(1000)) << "interval change";
        }
        for (const U64 start : {U64{0xfffffff0}, U64{0x0000fffffffffff0}, ~U64{0} - 20}) {
            fast->torkHdr()->sequenceNumberImplIs(Wirex::NetU64(seq = start));
            fast->doComputePktChecksums();
            for (int i = 0; i < 40; ++i) ASSERT_TRUE(increment()) << start << " + " << i;
        }
        EXPECT_EQ(fast->torkHdr()->sequenceNumberImpl().value(), 20u);
        EXPECT_EQ(fast->torkHdr()->epochSecondsImpl().value(), 1800000000u);
        ASSERT_TRUE(updateInterval(0xffffffff));
        for (int i = 0; i < 1000; ++i) ASSERT_TRUE(increment()) << "after interval " << i;
    }
}

// The send path allocates nothing: heap allocations are counted by replacing the global
// allocation functions of this test program, packet buffers through the packet manager.
TEST(ProbePacketTest, SendPathAllocatesNothingAfterTheFirstSend) {
    for (const Shape& s : {kShapes[1], kShapes[3]}) {
        const unsigned long heapAtStart = SondarTest::heapAllocations.load();
        const auto probe = makeProbe(s);
        const Rix::Ptr<Wirex::CapturePam> pam(new Wirex::CapturePam);
        EXPECT_GT(SondarTest::heapAllocations.load(), heapAtStart) << "the count sees nothing";
        pam->framesKeptMaxIs(0);
        Wirex::Pkt::Manager* const manager = Wirex::globalPktManager();

        ASSERT_TRUE(probe->doTxPkt(pam));
        probe->doIncrementSequenceNumber();
        const unsigned long heapBefore = SondarTest::heapAllocations.load();
        const U32 buffersBefore = manager->buffersCreated();
        const U32 inUseBefore = manager->pktsInUse();
        for (int i = 0; i < 100000; ++i) {
            probe->doIncrementSequenceNumber();
            if (!probe->doTxPkt(pam)) ADD_FAILURE() << "send " << i << " failed";
        }
        EXPECT_EQ(SondarTest::heapAllocations.load() - heapBefore, 0u);
        EXPECT_EQ(manager->buffersCreated(), buffersBefore);
        EXPECT_EQ(manager->pktsInUse(), inUseBefore);
        EXPECT_EQ(pam->framesSent(), 100001u);
        EXPECT_EQ(probe->torkHdr()->sequenceNumberImpl().value(), 100006u);
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
    for (int moved = 0; moved < 4; ++moved) {
        pam->moveFirst = moved & 1;
        pam->moveSecond = moved & 2;
        EXPECT_EQ(p->doTxPkt(pam), moved == 0) << moved;
    }
}

Rix::Ptr<TorkPacket> bareTorkPacket(U8 protocol) {
    Rix::Ptr<TorkPacket> p(new TorkPacket(kSrcMac, kDstMac, 0, Wirex::IpTtl(64), kSrcIp, kDstIp,
                                          Wirex::IpProto(protocol), 1, 2, 0, 0, 0));
    p->handleInitialized(kSrcMac, kDstMac, 0, Wirex::IpTtl(64), kSrcIp, kDstIp,
                         Wirex::IpProto(protocol), 1, 2);
    return p;
}

// Each operation writes its full signature at level 8 and at no other level. Blanks are removed:
// compilers differ in where they put them in a signature.
TEST(ProbePacketTest, TraceLinesOnlyAtLevelEight) {
    std::string text;
    const U16 levels = sondarTrace.levels();
    const Rix::TraceSink sink = Rix::traceSinkIs([&](const Rix::TraceRecord& r) {
        if (std::string(r.module) == "Sondar") text += std::to_string(r.level) + r.text + "\n";
    });
    auto lines = [&] { return std::count(text.begin(), text.end(), '\n'); };
    for (const U16 on : {U16(0x3ff & ~(1u << 8)), U16(1u << 8)}) {
        EXPECT_EQ(lines(), 0) << "a line at another level";
        sondarTrace.levelsIs(on);
        const auto p = makeProbe(kShapes[2]);
        const auto built = lines();
        p->doIncrementSequenceNumber();  // one line: the checksum update
        EXPECT_EQ(lines(), on == 1u << 8 ? built + 1 : 0);
        p->srcPort();
        p->dstPort();
        p->doUpdateInterval(3);
        Wirex::globalPktManager()->failNextAllocationsIs(1);
        const auto failed = bareTorkPacket(17);
        EXPECT_FALSE(failed->pkt());
        EXPECT_FALSE(failed->rawPtrs());
        EXPECT_EQ(failed->srcPort(), 0);
    }
    Rix::traceSinkIs(sink);
    sondarTrace.levelsIs(levels);
    std::erase(text, ' ');
    for (std::string op :
         {"8 void Sondar::TorkPacket::handleInitialized(const Wirex::EthAddr&, const "
          "Wirex::EthAddr&",
          "Sondar::TorkPacket::maxSizeOfPacket()",
          "8 void Sondar::ProbePacket::handleProbeInitialized(",
          "8 void Sondar::TorkPacket::doComputePktChecksums()",
          "Sondar::TorkPacket::srcPort() const", "Sondar::TorkPacket::dstPort() const",
          "void Sondar::ProbePacket::doUpdateInterval(",
          "8 Packet allocation failed for Tork Packet"}) {
        std::erase(op, ' ');
        EXPECT_NE(text.find(op), std::string::npos) << op;
    }
}

// rawPtrsIs keeps the same object when nothing changed.
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

// Builds a probe, spoils it, and recomputes its checksums.
void computeAfter(const Shape& s, void (*spoil)(ProbePacket&)) {
    const auto p = makeProbe(s);
    spoil(*p);
    p->doComputePktChecksums();
}

void dropTransport(ProbePacket& p) {
    const HeaderPtrs& h = *p.rawPtrs();
    p.rawPtrsIs(h.ethHdr(), nullptr, h.ipHdr(), nullptr, nullptr);
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
             computeAfter(kShapes[0],
                          [](ProbePacket& p) { p.rawPtrs()->ipHdr()->totalLengthIs(200); });
         }},
        {"rawPtrs()->udpHdr()", [] { computeAfter(kShapes[0], dropTransport); }},
        {"rawPtrs()->tcpHdr()", [] { computeAfter(kShapes[2], dropTransport); }},
        {"rawPtrs()->ipHdr()",
         [] {
             computeAfter(kShapes[0], [](ProbePacket& p) {
                 p.rawPtrsIs(p.rawPtrs()->ethHdr(), nullptr, nullptr, nullptr, nullptr);
             });
         }},
        {"0",
         [] {
             computeAfter(kShapes[0], [](ProbePacket& p) {
                 p.rawPtrs()->ipHdr()->protocolIs(Wirex::IpProto(1));
             });
         }},
    };
    for (const Case& c : cases) EXPECT_DEATH(c.run(), assertionRegex(c.text)) << c.text;
}

}  // namespace
}  // namespace Sondar
