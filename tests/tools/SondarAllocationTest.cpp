// The per-probe paths of generate and analyze allocate nothing: every allocation happens per
// stream, per restart or per run, never per probe.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>

#include "ToolTestUtil.h"
#include "Wirex/FrameParser.h"
#include "Wirex/PcapFile.h"
#include "sondar/Analyzer.h"
#include "sondar/Generator.h"

namespace {
std::atomic<unsigned long> allocations{0};
}  // namespace

// The replacements pair malloc with free; inlined into a new expression, GCC would take the free
// for a mismatch.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
namespace {
void* counted(std::size_t n) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(n ? n : 1);
}
void* countedOrThrow(std::size_t n) {
    if (void* p = counted(n)) return p;
    throw std::bad_alloc();
}
}  // namespace

// Every unaligned form, so that no allocation escapes the count and every one is freed by the
// matching function; the aligned forms are left to the library and are not counted.
void* operator new(std::size_t n) { return countedOrThrow(n); }
void* operator new[](std::size_t n) { return countedOrThrow(n); }
void* operator new(std::size_t n, const std::nothrow_t&) noexcept { return counted(n); }
void* operator new[](std::size_t n, const std::nothrow_t&) noexcept { return counted(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
void operator delete(void* p, const std::nothrow_t&) noexcept { std::free(p); }
void operator delete[](void* p, const std::nothrow_t&) noexcept { std::free(p); }

namespace {

SondarCli::GenerateOptions options(U64 count) {
    return {.destinations = {Wirex::IpAddr(10, 0, 0, 2), Wirex::IpAddr(10, 0, 0, 3)},
            .ttls = {64, 128},
            .count = count,
            .loss = 0.05,
            .duplication = 0.05,
            .reorder = 0.05,
            .reorderDepth = 4,
            .restarts = 2};
}

unsigned long generateAllocations(U64 count, const std::string& path) {
    const unsigned long before = allocations.load();
    {
        auto writer =
            SondarCli::pcapOutput(path);
        SondarCli::generate(options(count), writer, writer.ptr());
    }
    return allocations.load() - before;
}

TEST(SondarAllocation, GenerateAllocatesTheSameForFiftyTimesTheProbes) {
    ToolTest::ScratchDir dir;
    generateAllocations(100, dir.file("warm.pcap"));
    const unsigned long small = generateAllocations(1000, dir.file("small.pcap"));
    EXPECT_GT(small, 0u) << "the allocation count does not see the generator";
    EXPECT_EQ(small, generateAllocations(50000, dir.file("large.pcap")));
}

TEST(SondarAllocation, AnalyzingProbesOfKnownStreamsAllocatesNothing) {
    ToolTest::ScratchDir dir;
    const std::string path = dir.file("a.pcap");
    generateAllocations(5000, path);
    // The frames, read once into memory, so that only the analysis runs under the count.
    std::vector<std::vector<U8>> frames;
    Wirex::PcapReader reader(path);
    Wirex::Frame f;
    while (reader.nextFrame(f)) frames.emplace_back(f.data, f.data + f.length);

    SondarCli::Analyzer analyzer{SondarCli::AnalyzeOptions()};
    auto feed = [&](std::size_t from, std::size_t to) {
        for (std::size_t i = from; i < to; ++i) {
            const U32 n = static_cast<U32>(frames[i].size());
            analyzer.frameIs(frames[i].data(), n, n);
        }
    };
    const std::size_t warm = frames.size() / 10;
    feed(0, warm);
    ASSERT_EQ(analyzer.streams().size(), 4u);
    const unsigned long before = allocations.load();
    feed(warm, frames.size());
    analyzer.doCalcLoss();
    EXPECT_EQ(allocations.load() - before, 0u);
    EXPECT_EQ(analyzer.totals().probes, frames.size());
}

}  // namespace
