// The sondar command line's two bulk paths, run in-process through the functions the program
// calls: generate writing impaired probe streams to a pcap file, and analyze reading one back
// into per-stream counters. Rates are probes per second of the thread's CPU time: one core's
// throughput, whatever else the machine is running; the wall-clock rates are printed beside.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "BenchGoals.h"
#include "Wirex/PcapFile.h"
#include "sondar/Analyzer.h"
#include "Wirex/PcapFile.h"
#include "sondar/Generator.h"

namespace {

constexpr U64 probesPerStream = 500000;

double threadCpuNs() {
    timespec ts{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<double>(ts.tv_sec) * 1e9 + static_cast<double>(ts.tv_nsec);
}

// CPU nanoseconds of each repetition of a benchmark, for its median.
std::vector<double> generateCpu, analyzeCpu;

double median(std::vector<double> v) {
    if (v.empty()) return -1.0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

std::string benchPath(const char* name) {
    const char* tmp = std::getenv("TMPDIR");
    return std::string(tmp && *tmp ? tmp : "/tmp") + "/" + name;
}

SondarCli::GenerateOptions benchOptions() {
    SondarCli::GenerateOptions o;
    o.destinations = {Wirex::IpAddr(10, 0, 0, 2), Wirex::IpAddr(10, 0, 1, 2)};
    o.ttls = {64, 255};
    o.count = probesPerStream;
    o.loss = 0.001;
    o.duplication = 0.001;
    o.reorder = 0.001;
    o.restarts = 1;
    return o;
}

U64 framesWritten = 0;

SondarCli::GenerateResult generateInto(const std::string& path) {
    auto writer = SondarCli::pcapOutput(path);
    return SondarCli::generate(benchOptions(), writer, writer.ptr());
}

void BM_Generate(benchmark::State& state) {
    const std::string path = benchPath("sondar-cli-bench-generate.pcap");
    for (auto _ : state) {
        const double start = threadCpuNs();
        framesWritten = generateInto(path).framesWritten;
        generateCpu.push_back(threadCpuNs() - start);
    }
    std::remove(path.c_str());
    state.counters["probes"] = static_cast<double>(framesWritten);
}
BENCHMARK(BM_Generate)->Unit(benchmark::kMillisecond)->Iterations(1);

const std::string& analyzeInput() {
    static const std::string path = [] {
        const std::string p = benchPath("sondar-cli-bench-analyze.pcap");
        generateInto(p);
        return p;
    }();
    return path;
}

U64 probesAnalyzed = 0;

void BM_Analyze(benchmark::State& state) {
    const std::string& path = analyzeInput();
    for (auto _ : state) {
        const double start = threadCpuNs();
        SondarCli::Analyzer analyzer{SondarCli::AnalyzeOptions()};
        Wirex::PcapReader reader(path);
        analyzer.sourceIs(reader);
        analyzer.doCalcLoss();
        probesAnalyzed = analyzer.totals().probes;
        analyzeCpu.push_back(threadCpuNs() - start);
    }
    state.counters["probes"] = static_cast<double>(probesAnalyzed);
}
BENCHMARK(BM_Analyze)->Unit(benchmark::kMillisecond)->Iterations(1);

// The baseline: reading the same file's frames and nothing else.
void BM_ReadOnly(benchmark::State& state) {
    const std::string& path = analyzeInput();
    for (auto _ : state) {
        Wirex::PcapReader reader(path);
        Wirex::Frame frame;
        U64 bytes = 0;
        while (reader.nextFrame(frame)) bytes += frame.length;
        benchmark::DoNotOptimize(bytes);
    }
}
BENCHMARK(BM_ReadOnly)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
    const int status = Bench::run(argc, argv, [](Bench::Results& r) {
        auto rate = [](U64 probes, double ns) { return static_cast<double>(probes) / ns * 1e3; };
        const double generateNs = median(generateCpu), analyzeNs = median(analyzeCpu);
        if (generateNs > 0) {
            const double g = rate(framesWritten, generateNs);
            r.figure("sondar generate into a pcap file, one core", g, 10.0, g >= 10.0, "M probes/s",
                     ">=");
        }
        if (analyzeNs > 0) {
            const double a = rate(probesAnalyzed, analyzeNs);
            r.figure("sondar analyze from a pcap file, one core", a, 5.0, a >= 5.0, "M probes/s",
                     ">=");
        }
        std::printf("     wall clock: generate %.2f, analyze %.2f M probes/s\n",
                    rate(framesWritten, r.ns("BM_Generate/iterations:1")),
                    rate(probesAnalyzed, r.ns("BM_Analyze/iterations:1")));
        r.ratioAtMost("analyze vs reading the frames alone", "BM_ReadOnly/iterations:1",
                      "BM_Analyze/iterations:1", 4.0);
    });
    std::remove(analyzeInput().c_str());
    return status;
}
