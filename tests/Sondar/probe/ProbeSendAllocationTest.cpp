// The send path allocates nothing: heap allocations are counted by replacing the global
// allocation functions of this test program, packet buffers through the packet manager.
#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "Sondar/probe/ProbePacket.h"
#include "Wirex/CapturePam.h"

namespace Sondar {
namespace {

TEST(ProbeSendAllocationTest, NoAllocationAfterTheFirstSend) {
    for (const U8 protocol : {U8{17}, U8{6}}) {
        const unsigned long heapAtStart = SondarTest::heapAllocations.load();
        const auto probe = probePacketFactory(
            Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 2), 100,
            Wirex::IpTtl(64), Wirex::IpAddr(10, 1, 0, 1), Wirex::IpAddr(10, 2, 0, 2),
            Wirex::IpProto(protocol), 5000, 7000, 1700000000, 0, 1, Wirex::IpAddr(10, 1, 0, 254), 7,
            Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 2),
            100, 1000);
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
        EXPECT_EQ(probe->torkHdr()->sequenceNumberImpl().value(), 100002u);
    }
}

}  // namespace
}  // namespace Sondar
