// The per-probe paths of generate and analyze allocate nothing: every allocation happens per
// stream, per restart or per run, never per probe.
#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "ToolTestUtil.h"
#include "Wirex/FrameParser.h"
#include "Wirex/PcapFile.h"
#include "sondar/Analyzer.h"
#include "sondar/Generator.h"

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
    const unsigned long before = SondarTest::heapAllocations.load();
    {
        auto writer = SondarCli::pcapOutput(path);
        SondarCli::generate(options(count), writer, writer.ptr());
    }
    return SondarTest::heapAllocations.load() - before;
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
    const unsigned long before = SondarTest::heapAllocations.load();
    feed(warm, frames.size());
    analyzer.doCalcLoss();
    EXPECT_EQ(SondarTest::heapAllocations.load() - before, 0u);
    EXPECT_EQ(analyzer.totals().probes, frames.size());
}

}  // namespace
