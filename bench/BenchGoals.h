#pragma once
// Runs a program's benchmarks with repetitions, keeps each benchmark's median time per
// iteration, and prints every goal beside what was measured. Every goal compares against a
// baseline measured in the same run, or states an absolute budget.
//
//   int main(int argc, char** argv) {
//       return Bench::run(argc, argv, [](Bench::Results& r) {
//           r.ratioAtLeast("checksum vs plain loop, 1500 B", "BM_Plain/1500", "BM_Fast/1500", 3.0);
//           r.timeAtMost("send path per probe", "BM_Send", 9.0);
//       });
//   }
#include <benchmark/benchmark.h>

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Bench {

class Results {
  public:
    // Median nanoseconds per iteration of a benchmark by its full name; negative when absent.
    double ns(const std::string& name) const {
        auto it = medians_.find(name);
        return it == medians_.end() ? -1.0 : it->second;
    }
    // baseline / subject must be at least `goal` (the subject is that many times faster).
    void ratioAtLeast(const std::string& what, const std::string& baseline, const std::string& subject,
                      double goal) {
        const double b = ns(baseline), s = ns(subject);
        if (b < 0 || s <= 0) return missing(what);
        line(what, b / s, goal, b / s >= goal, "x faster", ">=");
    }
    // subject / baseline must be at most `goal` (the subject costs at most that many baselines).
    void ratioAtMost(const std::string& what, const std::string& baseline, const std::string& subject,
                     double goal) {
        const double b = ns(baseline), s = ns(subject);
        if (b <= 0 || s < 0) return missing(what);
        line(what, s / b, goal, s / b <= goal, "x the baseline", "<=");
    }
    void timeAtMost(const std::string& what, const std::string& subject, double goalNs) {
        const double s = ns(subject);
        if (s < 0) return missing(what);
        line(what, s, goalNs, s <= goalNs, "ns", "<=");
    }
    // A figure derived by the caller (a rate, say), with its own comparison.
    void figure(const std::string& what, double value, double goal, bool met, const char* unit,
                const char* relation) {
        line(what, value, goal, met, unit, relation);
    }
    bool allMet() const { return allMet_; }
    std::map<std::string, double>& medians() { return medians_; }

  private:
    void missing(const std::string& what) {
        std::printf("GOAL %-60s not measured\n", what.c_str());
        allMet_ = false;
    }
    void line(const std::string& what, double value, double goal, bool met, const char* unit,
              const char* relation) {
        std::printf("GOAL %-60s %10.2f %-14s (goal %s %.2f)  %s\n", what.c_str(), value, unit, relation,
                    goal, met ? "met" : "NOT MET");
        allMet_ = allMet_ && met;
    }
    std::map<std::string, double> medians_;
    bool allMet_ = true;
};

class MedianReporter : public benchmark::ConsoleReporter {
  public:
    explicit MedianReporter(Results& r) : results_(r) {}
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate && run.aggregate_name == "median") {
                results_.medians()[run.run_name.str()] =
                    run.GetAdjustedRealTime() * nsPerUnit(run.time_unit);
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

  private:
    static double nsPerUnit(benchmark::TimeUnit u) {
        switch (u) {
            case benchmark::kNanosecond: return 1.0;
            case benchmark::kMicrosecond: return 1e3;
            case benchmark::kMillisecond: return 1e6;
            case benchmark::kSecond: return 1e9;
        }
        return 1.0;
    }
    Results& results_;
};

// Runs the benchmarks (5 repetitions unless the command line says otherwise, aggregates only)
// and then the goals. Exits 0 whatever the figures: the goals are reported, not enforced.
// Repetitions of all benchmarks run interleaved in random order: a machine whose speed drifts
// over seconds then slows a baseline and its subject alike, instead of whichever ran during
// a slow spell.
inline int run(int argc, char** argv, const std::function<void(Results&)>& goals) {
    std::vector<char*> args(argv, argv + argc);
    std::string reps = "--benchmark_repetitions=5";
    std::string aggr = "--benchmark_report_aggregates_only=true";
    std::string interleave = "--benchmark_enable_random_interleaving=true";
    // Flags given on the command line come after these, so they win.
    args.insert(args.begin() + 1, {reps.data(), aggr.data(), interleave.data()});
    int n = static_cast<int>(args.size());
    benchmark::Initialize(&n, args.data());
    Results results;
    MedianReporter reporter(results);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    std::printf("\n");
    goals(results);
    return 0;
}

}  // namespace Bench
