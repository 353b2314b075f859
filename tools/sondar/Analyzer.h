#pragma once
// `sondar analyze`: reads frames, keeps the probes sent to the probe port whose checksums hold,
// classifies each into its IngressStream and counts it in that stream's Counter.
#include <array>
#include <deque>
#include <functional>
#include <unordered_map>
#include <vector>

#include "Sondar/stats/Counter.h"
#include "Sondar/stats/StreamKeys.h"
#include "Wirex/FrameSource.h"
#include "Wirex/IntfId.h"

namespace SondarCli {

struct AnalyzeOptions {
    U16 dstPort = 49152;
    Wirex::IntfId ingressIntf{"pcap0"};
    // Run doCalcLoss on every stream after this many frames; 0: only at the end.
    U64 calcEvery = 0;
};

struct StreamCount {
    Sondar::IngressStream key;
    Sondar::Counter counter;  // the analyzer, its owner, counts every probe into probesReceived
    U64 received() const noexcept { return counter.probesReceived(); }
};

// Frames by what became of them.
struct FrameTotals {
    U64 frames = 0;
    U64 probes = 0;     // counted in a stream
    U64 notProbes = 0;  // other traffic: not IPv4 UDP/TCP to the probe port, or not a probe
    U64 truncated = 0;  // captured shorter than on the wire, or shorter than their headers claim
    U64 malformed = 0;  // header fields that contradict each other
    U64 badIpChecksum = 0;
    U64 badTransportChecksum = 0;
    U64 badProbeChecksum = 0;
    U64 badEpoch = 0;             // an epoch with a microseconds field above 999999
    U64 firstTruncatedFrame = 0;  // 1-based; 0 when none

    U64 bad() const {
        return truncated + malformed + badIpChecksum + badTransportChecksum + badProbeChecksum +
               badEpoch;
    }
};

// The streams seen so far. Entries never move once made, so a cached entry stays valid; looking
// up a known stream allocates nothing.
class StreamTable {
  public:
    StreamCount& streamFor(const Sondar::IngressStream& key);
    std::size_t size() const noexcept { return entries_.size(); }
    void doCalcLoss();
    // The streams in IngressStream order.
    std::vector<const StreamCount*> sorted() const;

  private:
    std::deque<StreamCount> entries_;
    std::unordered_map<Sondar::IngressStream, StreamCount*> index_;
    static constexpr std::size_t cacheSize = 256;
    std::array<StreamCount*, cacheSize> cache_{};
};

class Analyzer {
  public:
    explicit Analyzer(const AnalyzeOptions& options) : options_(options) {}

    // Classifies and counts one frame.
    void frameIs(const U8* data, U32 length, U32 wireLength);
    // Reads the source to its end, in batches under one loop time. Errors of the source
    // (a truncated or corrupt file) propagate as its exceptions.
    void sourceIs(Wirex::FrameSource& source, const std::function<void(U64)>& progress = {});
    // Final doCalcLoss on every stream.
    void doCalcLoss() { streams_.doCalcLoss(); }

    const FrameTotals& totals() const noexcept { return totals_; }
    const StreamTable& streams() const noexcept { return streams_; }

  private:
    AnalyzeOptions options_;
    FrameTotals totals_;
    StreamTable streams_;
};

}  // namespace SondarCli
