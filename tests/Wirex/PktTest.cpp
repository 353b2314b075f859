// Packet buffers and their pool, and the in-memory transmitter's counters.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "Wirex/CapturePam.h"
#include "Wirex/Pkt.h"

namespace {

using Wirex::Pkt;

TEST(Pkt, HeadDataIsContiguousInFrontAndTailCanBeCut) {
    Pkt::Manager m(4);
    Rix::Ptr<Pkt> p = m.newPkt();
    ASSERT_TRUE(p->tailDataAppend("xyz", 3));
    U8* head = p->newSharedHeadData(106);
    EXPECT_EQ(head, p->frontData());
    EXPECT_EQ(p->frontBytes(), 109u);
    EXPECT_EQ(std::vector<U8>(head, head + 106), std::vector<U8>(106, 0)) << "zero-filled";
    EXPECT_EQ(std::memcmp(head + 106, "xyz", 3), 0) << "earlier data stays behind the head data";
    p->bytesIs(90);
    p->bytesIs(100);
    EXPECT_EQ(p->bytes(), 90u) << "bytesIs only shortens";
    p->tailDataTrim(1000);
    EXPECT_EQ(p->bytes(), 0u);
    // headroom and capacity are limits, not overruns
    p = m.newPkt();
    ASSERT_TRUE(p->tailDataAppend("tail", 4));
    U8* big = p->newSharedHeadData(Pkt::capacity - 4);
    ASSERT_NE(big, nullptr) << "beyond the headroom the data slides back";
    EXPECT_EQ(std::memcmp(big + Pkt::capacity - 4, "tail", 4), 0);
    EXPECT_EQ(p->newSharedHeadData(1), nullptr);
    EXPECT_EQ(p->newTailData(1), nullptr);
    p = m.newPkt();
    EXPECT_EQ(p->newTailData(Pkt::maxBytes + 1), nullptr);
}

TEST(Pkt, PoolReusesBuffersAndFailsOnRequest) {
    Pkt::Manager m(8);
    {
        std::vector<Rix::Ptr<Pkt>> held;
        for (int i = 0; i < 20; ++i) held.push_back(m.newPkt());
        EXPECT_EQ(m.pktsInUse(), 20u);
    }
    const U32 created = m.buffersCreated();
    EXPECT_EQ(m.buffersFree(), created);
    for (int i = 0; i < 1000; ++i) {
        Rix::Ptr<Pkt> p = m.newPkt();
        ASSERT_EQ(p->bytes(), 0u) << "a recycled buffer comes back empty";
        p->newSharedHeadData(60);
    }
    EXPECT_EQ(m.buffersCreated(), created) << "steady state creates no buffers";

    m.failNextAllocationsIs(2);
    EXPECT_FALSE(m.newPkt());
    EXPECT_FALSE(m.newPkt());
    EXPECT_TRUE(m.newPkt());
    EXPECT_EQ(m.pktsInUse(), 0u);
}

TEST(CapturePam, KeepsCopiesAndMovesTheRightCounter) {
    Rix::Ptr<Wirex::CapturePam> pam(new Wirex::CapturePam);
    Rix::Ptr<Pkt> p = Wirex::globalPktManager()->newPkt();
    p->tailDataAppend("abcd", 4);
    pam->send(p);
    p->data()[0] = 'z';
    ASSERT_EQ(pam->frameCount(), 1u);
    EXPECT_EQ(pam->frames()[0], (std::vector<U8>{'a', 'b', 'c', 'd'})) << "a copy, not the buffer";

    pam->failNextSendsIs(1, Wirex::CapturePam::Failure::sendError);
    pam->send(p);
    EXPECT_EQ(pam->sendErrors(), 1u);
    EXPECT_EQ(pam->framesDropped(), 0u);
    pam->failNextSendsIs(1, Wirex::CapturePam::Failure::frameDropped);
    pam->send(p);
    EXPECT_EQ(pam->sendErrors(), 1u);
    EXPECT_EQ(pam->framesDropped(), 1u);
    EXPECT_EQ(pam->frameCount(), 1u) << "a failed send keeps no copy";
}

}  // namespace
