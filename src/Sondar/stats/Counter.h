#pragma once
// The receive-side statistics of one ingress stream. It keeps a session for the newest epoch and
// one for the epoch before it, so that probes of a restarted transmitter's old epoch still in
// flight are counted where they belong.
#include "Rix/Clock.h"
#include "Rix/Value.h"
#include "Sondar/stats/EpochSession.h"

namespace Sondar {

#define SONDAR_COUNTER_FIELDS(X)                         \
    X(Epoch, epoch, {}, ro)                              \
    X(U64, probesReceived, 0, rw)                        \
    X(U64, probesLost, 0, rw)                            \
    X(U64, probesMisordered, 0, rw)                      \
    X(U64, probesDuplicated, 0, rw)                      \
    X(U64, lastSequenceNumber, 0, rw)                    \
    X(Rix::Seconds, currentInterval, 0.0, rw)            \
    X(Rix::Seconds, lastLossTime, 0.0, rw)               \
    X(Rix::Seconds, lastMisorderedTime, 0.0, rw)         \
    X(Rix::Seconds, lastNwDisfuncTime, 0.0, rw)          \
    X(Rix::Seconds, lastDuplicateTime, 0.0, rw)          \
    X(Rix::Seconds, lastReceivedTime, 0.0, rw)           \
    X(Rix::Seconds, createdTime, Rix::now(), rw)         \
    X(Rix::Seconds, lastChangedEpochTime, Rix::now(), rw) \
    X(U64, currentSequenceNumber, 0, rw)                 \
    X(U64, lastProbesLost, 0, rw)                        \
    X(U64, lastProbesMisordered, 0, rw)                  \
    X(U64, lastProbesDuplicated, 0, rw)                  \
    X(U64, probesMisorderedInc, 0, rw)                   \
    X(U64, probesLostInc, 0, rw)                         \
    X(U64, probesDuplicatedInc, 0, rw)                   \
    X(EpochSession, currentEpochSession, {}, rw)         \
    X(EpochSession, prevEpochSession, {}, rw)

class Counter {
    RIX_VALUE_TYPE(Counter, "Sondar::Counter", SONDAR_COUNTER_FIELDS)
    // A new counter's creation and epoch-change times are the moment it is made.
    Counter() = default;

    // Follows the stream's epoch: a new epoch opens a new current session, and the session before
    // it becomes the previous one (a third epoch folds the oldest into its successor).
    inline void epochIs(const Epoch& epoch);
    // Counts one received probe in the session of its epoch; a probe of any other epoch only
    // updates currentSequenceNumber.
    inline void setCurrentSequenceNumber(const U64& seqNo, const Epoch& epoch);
    // Totals over both sessions and the increments since the previous call. The increments wrap
    // and are not clamped: late probes lower a session's loss, so probesLostInc may be "negative".
    void doCalcLoss();

    friend bool operator==(const Counter&, const Counter&) = default;
    friend auto operator<=>(const Counter&, const Counter&) = default;

  private:
    // A session exists when it differs from the default one. A session whose epoch is a given
    // non-zero epoch cannot be the default, so the full comparison runs only for epoch zero.
    static bool holds(const EpochSession& s, const Epoch& e) {
        return s.epoch() == e && (e != Epoch() || exists(s));
    }
    static bool exists(const EpochSession& s) { return !(s == noSession); }
    static const EpochSession noSession;
    void newEpoch(const Epoch& e);
};

// Both run for every received probe, so they are inline; a new epoch is the rare path.
inline void Counter::epochIs(const Epoch& e) {
    epoch_ = e;
    lastChangedEpochTime_ = Rix::now();
    lastSequenceNumber_ = 0;
    if (holds(currentEpochSession_, e) || holds(prevEpochSession_, e)) return;
    newEpoch(e);
}

inline void Counter::setCurrentSequenceNumber(const U64& seqNo, const Epoch& e) {
    currentSequenceNumber_ = seqNo;
    if (holds(prevEpochSession_, e)) prevEpochSession_.setPacket(seqNo);
    if (holds(currentEpochSession_, e)) currentEpochSession_.setPacket(seqNo);
}

}  // namespace Sondar
