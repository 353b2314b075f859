// generate's ground truth against analyze's counts, through the pcap file between them, and the
// heap allocations of both.
#include <gtest/gtest.h>

#include "AllocationCounter.h"
#include "ToolTestUtil.h"
#include "Wirex/FrameParser.h"
#include "Wirex/PcapFile.h"
#include "sondar/Analyzer.h"
#include "sondar/Generator.h"
#include "sondar/Report.h"

namespace {

using SondarCli::GenerateOptions;

struct Mix {
    const char* name;
    GenerateOptions options;
};

GenerateOptions mix(double loss, double dup, double reorder, U32 depth, U32 restarts, U64 seed) {
    return {.destinations = {Wirex::IpAddr(10, 0, 0, 2), Wirex::IpAddr(10, 9, 0, 2)},
            .ttls = {1, 64},
            .srcPorts = {5000, 6000},
            .count = 3000,
            .loss = loss,
            .duplication = dup,
            .reorder = reorder,
            .reorderDepth = depth,
            .restarts = restarts,
            .seed = seed};
}

// In every one of these mixes a duplicate trails its original by at most 2 * 31 + 1 probes of
// its stream, so it falls inside the receiver's 64-probe window and the counts must match exactly.
std::vector<Mix> exactMixes() {
    std::vector<Mix> m = {
        {"clean", mix(0, 0, 0, 4, 0, 1)},
        {"heavy loss", mix(0.4, 0, 0, 4, 0, 3)},
        {"adjacent duplicates", mix(0, 0.05, 0, 0, 0, 4)},
        {"reordering", mix(0, 0, 0.05, 8, 0, 5)},
        {"everything, deep", mix(0.02, 0.03, 0.05, 31, 0, 6)},
        {"restarts", mix(0.01, 0.01, 0.02, 8, 4, 7)},
        {"restart on every probe", mix(0.1, 0.1, 0, 4, 2999, 8)},
    };
    GenerateOptions tcp = mix(0.02, 0.02, 0.02, 8, 2, 9);
    tcp.protocol = Wirex::IpProto::tcp;
    tcp.vlan = 4094;
    m.push_back({"TCP, tagged", tcp});
    GenerateOptions high = mix(0.02, 0.02, 0.02, 8, 1, 10);
    high.firstSeq = (U64{1} << 40) + 5;  // the first epoch does not start at 1; restarts do
    high.dstPort = 7;
    m.push_back({"high first sequence, other port", high});
    return m;
}

struct Outcome {
    SondarCli::GenerateResult truth;
    SondarCli::Analyzer analyzer;
};

Outcome roundTrip(const GenerateOptions& o, const std::string& path) {
    SondarCli::GenerateResult truth;
    {
        auto writer = SondarCli::pcapOutput(path);
        truth = SondarCli::generate(o, writer, writer.ptr());
    }
    SondarCli::AnalyzeOptions a;
    a.dstPort = o.dstPort;
    Outcome out{truth, SondarCli::Analyzer(a)};
    Wirex::PcapReader reader(path);
    out.analyzer.sourceIs(reader);
    out.analyzer.doCalcLoss();
    return out;
}

TEST(SondarEndToEnd, AnalysisEqualsGroundTruthWhereDuplicatesStayInTheWindow) {
    ToolTest::ScratchDir dir;
    for (const Mix& m : exactMixes()) {
        SCOPED_TRACE(m.name);
        const Outcome r = roundTrip(m.options, dir.file("mix.pcap"));
        const auto mismatches = SondarCli::truthMismatches(r.truth, r.analyzer);
        for (const std::string& line : mismatches) ADD_FAILURE() << line;

        // The generator's own books must balance against the file, at the mix's rates.
        U64 received = 0;
        double sent = 0, dropped = 0, duplicated = 0, reordered = 0;
        for (const SondarCli::StreamTruth& s : r.truth.streams) {
            EXPECT_EQ(s.received, s.sent - s.dropped + s.duplicated);
            EXPECT_EQ(s.expectDuplicated, s.duplicated);
            EXPECT_EQ(s.epochs, m.options.restarts + 1);
            received += s.received;
            sent += s.sent, dropped += s.dropped, duplicated += s.duplicated;
            reordered += s.reordered;
        }
        EXPECT_EQ(sent, 8 * 3000);
        EXPECT_NEAR(dropped / sent, m.options.loss, 0.015);
        EXPECT_NEAR(duplicated / (sent - dropped), m.options.duplication, 0.01);
        EXPECT_NEAR(reordered / (sent - dropped), m.options.reorder, 0.02);
        const SondarCli::FrameTotals& t = r.analyzer.totals();
        EXPECT_EQ(t.frames, r.truth.framesWritten);
        EXPECT_EQ(t.probes, received);
        EXPECT_EQ(t.bad(), 0u);
        EXPECT_EQ(r.analyzer.streams().size(), 8u);
    }
}

// A reorder depth of 200 lets a late copy trail its original by more than the 64 probes the
// receiver remembers: such a copy is counted as received and misordered but not as a duplicate,
// and, since the loss is the range minus the received plus the duplicates found, it lowers the
// loss by one, down to zero at most. Received and misordered stay exact. One epoch, so that the
// floor at zero applies once per stream.
TEST(SondarEndToEnd, DuplicatesBeyondTheWindowLowerDuplicatesAndLossAlike) {
    ToolTest::ScratchDir dir;
    const Outcome r = roundTrip(mix(0.05, 0.03, 0.05, 200, 0, 12), dir.file("deep.pcap"));
    std::map<Sondar::IngressStream, const SondarCli::StreamCount*> byKey;
    for (const SondarCli::StreamCount* s : r.analyzer.streams().sorted()) byKey[s->key] = s;
    U64 missed = 0;
    for (const SondarCli::StreamTruth& t : r.truth.streams) {
        ASSERT_TRUE(byKey.count(t.key));
        const SondarCli::StreamCount& s = *byKey[t.key];
        EXPECT_EQ(s.received(), t.received);
        EXPECT_EQ(s.counter.probesMisordered(), t.misordered);
        ASSERT_LE(s.counter.probesDuplicated(), t.expectDuplicated);
        const U64 shortfall = t.expectDuplicated - s.counter.probesDuplicated();
        EXPECT_EQ(s.counter.probesLost(), t.lost > shortfall ? t.lost - shortfall : 0);
        missed += shortfall;
    }
    EXPECT_GT(missed, 0u) << "the mix never put a copy outside the window";
}

TEST(SondarEndToEnd, CorruptedProbesAreCountedAsBadAndNotCounted) {
    ToolTest::ScratchDir dir;
    const std::string path = dir.file("clean.pcap");
    roundTrip({.count = 10, .seed = 13}, path);
    std::string bytes = ToolTest::slurp(path);
    // Records are 24 + k * (16 + 90) bytes in; the frame starts 16 bytes into its record.
    auto frame = [](int k) { return 24 + k * (16 + 90) + 16; };
    bytes[frame(2) + 14 + 8] ^= 1;       // IPv4 TTL: the IP checksum fails
    bytes[frame(4) + 14 + 20 + 1] ^= 1;  // UDP source port: the UDP checksum fails
    // A probe byte flipped, with the UDP checksum set to "none", so only the probe checksum fails.
    bytes[frame(6) + 14 + 20 + 8 + 30] ^= 1;
    bytes[frame(6) + 14 + 20 + 6] = 0;
    bytes[frame(6) + 14 + 20 + 7] = 0;
    const std::string bad = dir.file("bad.pcap");
    std::ofstream(bad, std::ios::binary) << bytes;
    SondarCli::Analyzer a{SondarCli::AnalyzeOptions()};
    Wirex::PcapReader reader(bad);
    a.sourceIs(reader);
    a.doCalcLoss();
    EXPECT_EQ(a.totals().badIpChecksum, 1u);
    EXPECT_EQ(a.totals().badTransportChecksum, 1u);
    EXPECT_EQ(a.totals().badProbeChecksum, 1u);
    EXPECT_EQ(a.totals().probes, 7u);
    ASSERT_EQ(a.streams().size(), 1u);
    EXPECT_EQ(a.streams().sorted()[0]->counter.probesLost(), 3u);
}

// The program itself, through its JSON: Python's json module reads both documents and compares
// every stream's expected counts with the analyzed ones.
TEST(SondarEndToEnd, ProgramJsonOutputsAgree) {
    if (!SondarTest::commandSucceeds("test -x /usr/bin/python3"))
        GTEST_SKIP() << "no /usr/bin/python3";
    ToolTest::ScratchDir dir;
    const std::string pcap = dir.file("json.pcap");
    ToolTest::Outcome g = ToolTest::runSondar(
        "generate -o " + pcap +
            " --dst 10.1.0.1,10.1.0.2 --ttl 3,200 --src-port 1,65535 --proto tcp --vlan 12 --count "
            "2000"
            " --loss 0.03 --dup 0.02 --reorder 0.03 --reorder-depth 6 --restarts 2 --seed 99"
            " --intf eth7 --epoch 1234.5 --json",
        dir);
    ASSERT_EQ(g.status, 0) << g.err;
    std::ofstream(dir.file("truth.json")) << g.out;
    ToolTest::Outcome a = ToolTest::runSondar("analyze " + pcap + " --intf eth7 --json", dir);
    ASSERT_EQ(a.status, 0) << a.err;
    std::ofstream(dir.file("analysis.json")) << a.out;
    std::ofstream(dir.file("compare.py")) << R"(
import json, sys
truth, analysis = (json.load(open(f)) for f in sys.argv[1:3])
ident = ("ingressIntf", "srcIp", "srcPort", "dstIp", "ttl", "protocol", "vlan")
assert len(truth["streams"]) == len(analysis["streams"]) == 8
for s, a in zip(truth["streams"], analysis["streams"]):
    assert [s[k] for k in ident] == [a[k] for k in ident], (s, a)  # the same streams in order
    assert s["ingressIntf"] == "eth7" and s["protocol"] == 6 and s["vlan"] == 12
    for k in ("received", "lost", "misordered", "duplicated", "epoch"):
        assert s["expected"][k] == a[k], (k, s, a)
assert s["expected"]["epoch"]["seconds"] >= 1234
tot = analysis["totals"]
assert tot["received"] == sum(s["received"] for s in analysis["streams"])
assert analysis["frames"]["probes"] == tot["received"] == truth["framesWritten"]
print("ok")
)";
    ToolTest::Outcome c =
        ToolTest::runShell("/usr/bin/python3 " + dir.file("compare.py") + " " +
                               dir.file("truth.json") + " " + dir.file("analysis.json"),
                           dir);
    EXPECT_EQ(c.status, 0) << c.err;
}

TEST(SondarEndToEnd, DemoShowsAgreement) {
    ToolTest::ScratchDir dir;
    ToolTest::Outcome r =
        ToolTest::runSondar("demo --count 3000 --keep " + dir.file("demo.pcap"), dir);
    EXPECT_EQ(r.status, 0) << r.out << r.err;
    EXPECT_NE(r.out.find("the analysis equals the ground truth for all 4 streams"),
              std::string::npos)
        << r.out;
}

// The per-probe paths of generate and analyze allocate nothing: every allocation happens per
// stream, per restart or per run, never per probe.
unsigned long generateAllocations(U64 count, const std::string& path) {
    const unsigned long before = SondarTest::heapAllocations.load();
    {
        auto writer = SondarCli::pcapOutput(path);
        GenerateOptions o = mix(0.05, 0.05, 0.05, 4, 2, 1);
        o.count = count;
        SondarCli::generate(o, writer, writer.ptr());
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
    ASSERT_EQ(analyzer.streams().size(), 8u);
    const unsigned long before = SondarTest::heapAllocations.load();
    feed(warm, frames.size());
    analyzer.doCalcLoss();
    EXPECT_EQ(SondarTest::heapAllocations.load() - before, 0u);
    EXPECT_EQ(analyzer.totals().probes, frames.size());
}

}  // namespace
