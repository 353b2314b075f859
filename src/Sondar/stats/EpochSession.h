#pragma once
// The receive bookkeeping of one epoch of one stream: the range of sequence numbers seen, the
// received, misordered, duplicated and lost counts, and a 64-probe bitmap for duplicate detection.
#include "Rix/Value.h"
#include "Sondar/stats/DuplicateProbeWindow.h"
#include "Sondar/stats/Epoch.h"

namespace Sondar {

#define SONDAR_EPOCH_SESSION_FIELDS(X)      \
    X(Epoch, epoch, {}, rw)                 \
    X(U64, maxSeqNumRecvd, 0, rw)           \
    X(U64, minSeqNumRecvd, ~U64{0}, rw)     \
    X(U64, probesReceived, 0, rw)           \
    X(U64, lastSequenceNumber, 0, rw)       \
    X(U64, probesLost, 0, rw)               \
    X(U64, probesMisordered, 0, rw)         \
    X(U64, probesDuplicated, 0, rw)         \
    X(U64, probesSeqWindow, 0, rw)          \
    X(U64, windowStartSeq, 0, rw)           \
    X(DuplicateProbeWindow, duplicateProbeWindow, {}, rw)

class EpochSession {
    RIX_VALUE_TYPE(EpochSession, "Sondar::EpochSession", SONDAR_EPOCH_SESSION_FIELDS)
    static constexpr unsigned windowSize = 64;

    EpochSession() = default;

    // Counts one received probe of this session's epoch.
    void setPacket(const U64& seqNo);

    friend bool operator==(const EpochSession&, const EpochSession&) = default;
    friend auto operator<=>(const EpochSession&, const EpochSession&) = default;
};

}  // namespace Sondar
