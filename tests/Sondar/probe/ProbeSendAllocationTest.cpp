// The send path allocates nothing: heap allocations are counted by replacing the global
// allocation functions of this test program, packet buffers through the packet manager.
#include <gtest/gtest.h>

// The replacements below pair every allocation with free() on purpose; g++ cannot see that once
// it inlines them, and warns.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

#include <atomic>
#include <cstdlib>
#include <new>
#include <vector>

#include "Sondar/probe/ProbePacket.h"
#include "Wirex/CapturePam.h"

namespace {
std::atomic<unsigned long> gHeapAllocations{0};

void* countedAlloc(std::size_t n, std::size_t align) {
    gHeapAllocations.fetch_add(1, std::memory_order_relaxed);
    void* p = align > alignof(std::max_align_t)
                  ? std::aligned_alloc(align, (n + align - 1) / align * align)
                  : std::malloc(n ? n : 1);
    if (!p) throw std::bad_alloc();
    return p;
}
}  // namespace

void* operator new(std::size_t n) { return countedAlloc(n, 0); }
void* operator new[](std::size_t n) { return countedAlloc(n, 0); }
void* operator new(std::size_t n, std::align_val_t a) {
    return countedAlloc(n, static_cast<std::size_t>(a));
}
void* operator new[](std::size_t n, std::align_val_t a) {
    return countedAlloc(n, static_cast<std::size_t>(a));
}
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::align_val_t) noexcept { std::free(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { std::free(p); }

namespace Sondar {
namespace {

TEST(ProbeSendAllocationTest, NoAllocationAfterTheFirstSend) {
    for (const U8 protocol : {U8{17}, U8{6}}) {
        const auto probe = probePacketFactory(
            Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0, 0, 2), 100,
            Wirex::IpTtl(64), Wirex::IpAddr(10, 1, 0, 1), Wirex::IpAddr(10, 2, 0, 2),
            Wirex::IpProto(protocol), 5000, 7000, 1700000000, 0, 1, Wirex::IpAddr(10, 1, 0, 254), 7,
            Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 1), Wirex::EthAddr(0, 0x1c, 0x73, 0x10, 0, 2),
            100, 1000);
        const Rix::Ptr<Wirex::CapturePam> pam(new Wirex::CapturePam);
        pam->framesKeptMaxIs(0);
        Wirex::Pkt::Manager* const manager = Wirex::globalPktManager();

        ASSERT_TRUE(probe->doTxPkt(pam));
        probe->doIncrementSequenceNumber();
        const unsigned long heapBefore = gHeapAllocations.load();
        const U32 buffersBefore = manager->buffersCreated();
        const U32 inUseBefore = manager->pktsInUse();
        for (int i = 0; i < 100000; ++i) {
            probe->doIncrementSequenceNumber();
            if (!probe->doTxPkt(pam)) ADD_FAILURE() << "send " << i << " failed";
        }
        EXPECT_EQ(gHeapAllocations.load() - heapBefore, 0u);
        EXPECT_EQ(manager->buffersCreated(), buffersBefore);
        EXPECT_EQ(manager->pktsInUse(), inUseBefore);
        EXPECT_EQ(pam->framesSent(), 100001u);
        EXPECT_EQ(probe->torkHdr()->sequenceNumberImpl().value(), 100002u);
    }
}

// The counting functions do count: a guard against a test that cannot fail.
TEST(ProbeSendAllocationTest, CounterSeesAllocations) {
    const unsigned long before = gHeapAllocations.load();
    auto* v = new std::vector<int>(100);
    delete v;
    EXPECT_GE(gHeapAllocations.load() - before, 2u);
}

}  // namespace
}  // namespace Sondar
