#pragma once
// The statistics records stored per stream in the shared tables: the sender's per-stream counts,
// the receiver's running counter, and the latest two checkpoints of each side with the interval
// between them. The table entries are trivially copyable, as shared memory needs.
#include <type_traits>

#include "Rix/String.h"
#include "Sondar/stats/Checkpoint.h"
#include "Sondar/stats/Counter.h"
#include "Sondar/stats/StreamKeys.h"

namespace Sondar {

#define SONDAR_EGRESS_STREAM_TABLE_FIELDS(X) \
    X(EgressStream, key, {}, rw)             \
    X(U64, numProbesTx, 0, rw)               \
    X(U64, numProbesNotTx, 0, rw)            \
    X(Rix::Seconds, probeInterval, 0.0, rw)

class EgressStreamTable {
    RIX_VALUE_TYPE(EgressStreamTable, "Sondar::EgressStreamTable", SONDAR_EGRESS_STREAM_TABLE_FIELDS)
    EgressStreamTable() = default;
    friend bool operator==(const EgressStreamTable&, const EgressStreamTable&) = default;
};

#define SONDAR_TRANSMITTER_STREAM_PAIR_FIELDS(X) \
    X(Rix::Name, transmitter, {}, rw)            \
    X(EgressStream, stream, {}, rw)

// One stream that a configured transmitter sends.
class TransmitterStreamPair {
    RIX_VALUE_TYPE(TransmitterStreamPair, "Sondar::TransmitterStreamPair", SONDAR_TRANSMITTER_STREAM_PAIR_FIELDS)
    TransmitterStreamPair() = default;
    TransmitterStreamPair(Rix::Name transmitter, const EgressStream& stream)
        : transmitter_(std::move(transmitter)), stream_(stream) {}
    friend bool operator==(const TransmitterStreamPair&, const TransmitterStreamPair&) = default;
    // By transmitter name, then by the stream's own order.
    friend bool operator<(const TransmitterStreamPair& a, const TransmitterStreamPair& b) {
        if (a.transmitter_ != b.transmitter_) return a.transmitter_ < b.transmitter_;
        return a.stream_ < b.stream_;
    }
    friend bool operator>(const TransmitterStreamPair& a, const TransmitterStreamPair& b) { return b < a; }
    friend bool operator<=(const TransmitterStreamPair& a, const TransmitterStreamPair& b) { return !(b < a); }
    friend bool operator>=(const TransmitterStreamPair& a, const TransmitterStreamPair& b) { return !(a < b); }
};

#define SONDAR_INGRESS_STREAM_STATISTICS_TABLE_ENTRY_FIELDS(X) \
    X(IngressStream, key, {}, rw)                               \
    X(bool, dormant, false, rw)                                 \
    X(Counter, counter, {}, rw)

class IngressStreamStatisticsTableEntry {
    RIX_VALUE_TYPE(IngressStreamStatisticsTableEntry, "Sondar::IngressStreamStatisticsTableEntry",
                   SONDAR_INGRESS_STREAM_STATISTICS_TABLE_ENTRY_FIELDS)
    IngressStreamStatisticsTableEntry() = default;
    // The running counter, changed in place for every probe of the stream.
    Counter& counter() noexcept { return counter_; }
    friend bool operator==(const IngressStreamStatisticsTableEntry&, const IngressStreamStatisticsTableEntry&) =
        default;
};

#define SONDAR_INGRESS_CHECKPOINT_STATISTICS_TABLE_ENTRY_FIELDS(X) \
    X(IngressStream, key, {}, rw)                                   \
    X(Rix::Seconds, lastWritten, 0.0, rw)                           \
    X(CheckpointCounter, latestCheckpointCounter, {}, rw)           \
    X(CheckpointCounter, previousCheckpointCounter, {}, rw)         \
    X(CheckpointInterval, interval, {}, rw)

class IngressCheckpointStatisticsTableEntry {
    RIX_VALUE_TYPE(IngressCheckpointStatisticsTableEntry, "Sondar::IngressCheckpointStatisticsTableEntry",
                   SONDAR_INGRESS_CHECKPOINT_STATISTICS_TABLE_ENTRY_FIELDS)
    IngressCheckpointStatisticsTableEntry() = default;
    friend bool operator==(const IngressCheckpointStatisticsTableEntry&,
                           const IngressCheckpointStatisticsTableEntry&) = default;
};

#define SONDAR_EGRESS_CHECKPOINT_STATISTICS_TABLE_ENTRY_FIELDS(X) \
    X(EgressStream, key, {}, rw)                                   \
    X(Rix::Seconds, lastWritten, 0.0, rw)                          \
    X(EgressCheckpointCounter, latestCheckpointCounter, {}, rw)    \
    X(EgressCheckpointCounter, previousCheckpointCounter, {}, rw)  \
    X(EgressCheckpointInterval, interval, {}, rw)

class EgressCheckpointStatisticsTableEntry {
    RIX_VALUE_TYPE(EgressCheckpointStatisticsTableEntry, "Sondar::EgressCheckpointStatisticsTableEntry",
                   SONDAR_EGRESS_CHECKPOINT_STATISTICS_TABLE_ENTRY_FIELDS)
    EgressCheckpointStatisticsTableEntry() = default;
    friend bool operator==(const EgressCheckpointStatisticsTableEntry&,
                           const EgressCheckpointStatisticsTableEntry&) = default;
};

static_assert(std::is_trivially_copyable_v<EgressStreamTable> &&
              std::is_trivially_copyable_v<IngressStreamStatisticsTableEntry> &&
              std::is_trivially_copyable_v<IngressCheckpointStatisticsTableEntry> &&
              std::is_trivially_copyable_v<EgressCheckpointStatisticsTableEntry> &&
              std::is_trivially_copyable_v<CheckpointTimes>);

}  // namespace Sondar
