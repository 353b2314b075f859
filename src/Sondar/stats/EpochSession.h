#pragma once
// The receive bookkeeping of one epoch of one stream: the range of sequence numbers seen, the
// received, misordered, duplicated and lost counts, and a 64-probe bitmap for duplicate detection.
#include <algorithm>

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

    // Counts one received probe of this session's epoch. Runs for every probe: a probe in order
    // is counted inline, every other one by the full rules out of line.
    inline void setPacket(const U64& seqNo);

    friend bool operator==(const EpochSession&, const EpochSession&) = default;
    friend auto operator<=>(const EpochSession&, const EpochSession&) = default;

  private:
    // Every probe the inline path does not take: late, duplicated, far ahead, or the first ones.
    [[gnu::noinline]] void countProbe(U64 seq);
    inline void lostIs(U64 newMax, U64 newMin, U64 received);
};

namespace detail {
bool traceOn() noexcept;
[[gnu::cold]] void traceOutOfWindow(U64 seq);
[[gnu::cold]] void traceDuplicate(U64 seq, U64 nstart, U64 bit, U64 nwin);
[[gnu::cold]] U64 lostInDoubles(U64 expected, U64 received, U64 duplicated);

// Probes expected from the range of sequence numbers seen. It is formed in 32-bit signed
// arithmetic on the low halves, as receivers have always computed it: for every range narrower
// than 2^31 it equals max - min + 1.
inline U64 expectedProbes(U64 newMax, U64 newMin) {
    const U32 diff = static_cast<U32>(newMax) - static_cast<U32>(newMin);
    // the absolute value of -2^31 stays -2^31
    const U32 magnitude = static_cast<S32>(diff) < 0 ? 0u - diff : diff;
    const S32 expected = static_cast<S32>(magnitude + 1u);
    return static_cast<U64>(static_cast<S64>(expected));
}
}  // namespace detail

inline void EpochSession::setPacket(const U64& seqNo) {
    const U64 seq = seqNo;
    const U64 oldMax = maxSeqNumRecvd_;
    const U64 start = windowStartSeq_;
    // The commonest probe by far: a new maximum at most 63 past the previous one, on a full window
    // whose top bit is the previous maximum. The window slides by the distance, so the probe lands
    // on the top bit, which the slide has just cleared: never a duplicate, never misordered.
    const U64 ahead = seq - oldMax;
    const U64 low = minSeqNumRecvd_;
    if (!(ahead - 1 < windowSize - 1 && oldMax - start == windowSize - 1 && start != 0 &&
          seq >= lastSequenceNumber_ && low <= seq)) [[unlikely]] {
        countProbe(seq);
        return;
    }
    const U64 before = probesReceived_;
    probesReceived_ = before + 1;
    maxSeqNumRecvd_ = seq;
    lastSequenceNumber_ = seq;
    windowStartSeq_ = start + ahead;
    probesSeqWindow_ = probesSeqWindow_ >> ahead | U64{1} << (windowSize - 1);
    // The range seen is below 2^31 and covers every probe received, duplicates included: the
    // loss is plain integer arithmetic, exact in doubles too.
    const U64 range = seq - low;
    const U64 dups = probesDuplicated_;
    if ((range | before) < 0x7FFF'FFFF && before <= range && dups <= before) [[likely]] {
        probesLost_ = range - before + dups;
    } else {
        lostIs(seq, low, before + 1);
    }
}

inline void EpochSession::lostIs(U64 newMax, U64 newMin, U64 received) {
    // lost = range seen - received + duplicates, never below zero: a late probe that fills a gap
    // lowers the loss, a duplicate leaves it alone. The sum is taken in doubles; with every term
    // below 2^52 it is exact there, so integers give the same result faster.
    const U64 expected = detail::expectedProbes(newMax, newMin);
    const U64 dups = probesDuplicated_;
    constexpr U64 exact = U64{1} << 52;
    if (((expected | received | dups) < exact) && expected >= received) [[likely]] {
        probesLost_ = expected - received + dups;
    } else if ((expected | received | dups) < exact) {
        probesLost_ = dups >= received - expected ? dups - (received - expected) : 0;
    } else {
        probesLost_ = detail::lostInDoubles(expected, received, dups);
    }
}

}  // namespace Sondar
