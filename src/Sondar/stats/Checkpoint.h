#pragma once
// Periodic checkpoints of a stream: a counter is a snapshot of its counts at one instant, an
// interval what happened between two consecutive snapshots; ingress on the receive side, egress on
// the send side. CheckpointTimes records when one checkpoint cycle began and ended.
#include "Rix/Clock.h"
#include "Rix/Value.h"
#include "Sondar/stats/Epoch.h"

namespace Sondar {

#define SONDAR_CHECKPOINT_COUNTER_FIELDS(X) \
    X(Epoch, epoch, {}, rw)                 \
    X(U64, probesReceived, 0, rw)           \
    X(U64, probesLost, 0, rw)               \
    X(U64, probesMisordered, 0, rw)         \
    X(U64, probesDuplicated, 0, rw)

class CheckpointCounter {
    RIX_VALUE_TYPE(CheckpointCounter, "Sondar::CheckpointCounter", SONDAR_CHECKPOINT_COUNTER_FIELDS)
    CheckpointCounter() = default;
    friend bool operator==(const CheckpointCounter&, const CheckpointCounter&) = default;
    friend auto operator<=>(const CheckpointCounter&, const CheckpointCounter&) = default;
};

#define SONDAR_CHECKPOINT_INTERVAL_FIELDS(X)    \
    X(bool, epochChange, false, rw)             \
    X(Rix::Seconds, duration, 0.0, rw)          \
    X(U64, probesReceived, 0, rw)               \
    X(U64, probesLost, 0, rw)                   \
    X(U64, probesMisordered, 0, rw)             \
    X(U64, probesDuplicated, 0, rw)             \
    X(Rix::Seconds, lastNwDisfuncTime, 0.0, rw) \
    X(Rix::Seconds, lastDuplicateTime, 0.0, rw)

class CheckpointInterval {
    RIX_VALUE_TYPE(CheckpointInterval, "Sondar::CheckpointInterval", SONDAR_CHECKPOINT_INTERVAL_FIELDS)
    CheckpointInterval() = default;
    // The sender's spacing over the interval: lost probes count as sent. Zero when nothing was
    // received or lost.
    double averageInterval() const;
    friend bool operator==(const CheckpointInterval&, const CheckpointInterval&) = default;
    // Lexicographic; a NaN duration or time ends the comparison with "not less".
    friend auto operator<=>(const CheckpointInterval&, const CheckpointInterval&) = default;
};

#define SONDAR_EGRESS_CHECKPOINT_COUNTER_FIELDS(X) \
    X(Epoch, epoch, {}, rw)                        \
    X(U64, probesSent, 0, rw)

class EgressCheckpointCounter {
    RIX_VALUE_TYPE(EgressCheckpointCounter, "Sondar::EgressCheckpointCounter",
                   SONDAR_EGRESS_CHECKPOINT_COUNTER_FIELDS)
    EgressCheckpointCounter() = default;
    friend bool operator==(const EgressCheckpointCounter&, const EgressCheckpointCounter&) = default;
    friend auto operator<=>(const EgressCheckpointCounter&, const EgressCheckpointCounter&) = default;
};

#define SONDAR_EGRESS_CHECKPOINT_INTERVAL_FIELDS(X) \
    X(bool, epochChange, false, rw)                 \
    X(Rix::Seconds, duration, 0.0, rw)              \
    X(U64, probesSent, 0, rw)                       \
    X(Rix::Seconds, probeInterval, 0.0, rw)

class EgressCheckpointInterval {
    RIX_VALUE_TYPE(EgressCheckpointInterval, "Sondar::EgressCheckpointInterval",
                   SONDAR_EGRESS_CHECKPOINT_INTERVAL_FIELDS)
    EgressCheckpointInterval() = default;
    // duration / probesSent, zero when nothing was sent; probeInterval plays no part.
    double averageInterval() const;
    friend bool operator==(const EgressCheckpointInterval&, const EgressCheckpointInterval&) = default;
    friend auto operator<=>(const EgressCheckpointInterval&, const EgressCheckpointInterval&) = default;
};

#define SONDAR_CHECKPOINT_TIMES_KEY_FIELDS(X) X(U64, key, 0, rw)

// The key of a CheckpointTimes record; its text form is the bare number.
class CheckpointTimesKey {
    RIX_VALUE_TYPE(CheckpointTimesKey, "Sondar::CheckpointTimesKey", SONDAR_CHECKPOINT_TIMES_KEY_FIELDS)
    static constexpr bool bareText = true;
    CheckpointTimesKey() = default;
    explicit CheckpointTimesKey(U64 key) : key_(key) {}
    U32 hash() const noexcept { return static_cast<U32>(key_ ^ (key_ >> 32)); }
    friend bool operator==(const CheckpointTimesKey&, const CheckpointTimesKey&) = default;
    friend auto operator<=>(const CheckpointTimesKey&, const CheckpointTimesKey&) = default;
};

// End before start is the record's declared order, kept in both forms.
#define SONDAR_CHECKPOINT_TIMES_FIELDS(X)              \
    X(CheckpointTimesKey, key, {}, rw)                 \
    X(U64, versionInitial, 0, rw)                      \
    X(U64, versionFinal, 0, rw)                        \
    X(Rix::Seconds, endOfIngressCheckpoint, 0.0, rw)   \
    X(Rix::Seconds, startOfIngressCheckpoint, 0.0, rw) \
    X(Rix::Seconds, endOfEgressCheckpoint, 0.0, rw)    \
    X(Rix::Seconds, startOfEgressCheckpoint, 0.0, rw)

// Equality only: a record, never ordered.
class CheckpointTimes {
    RIX_VALUE_TYPE(CheckpointTimes, "Sondar::CheckpointTimes", SONDAR_CHECKPOINT_TIMES_FIELDS)
    CheckpointTimes() = default;
    friend bool operator==(const CheckpointTimes&, const CheckpointTimes&) = default;
};

}  // namespace Sondar

template <>
struct std::hash<Sondar::CheckpointTimesKey> {
    std::size_t operator()(const Sondar::CheckpointTimesKey& k) const noexcept { return k.hash(); }
};
