#include "Sondar/stats/Counter.h"

namespace Sondar {

const EpochSession Counter::noSession;

void Counter::newEpoch(const Epoch& e) {
    const bool havePrev = exists(prevEpochSession_);
    const bool haveCurrent = exists(currentEpochSession_);

    if (havePrev && haveCurrent) {
        // the retiring previous session's counts live on in its successor
        currentEpochSession_.probesLostIs(currentEpochSession_.probesLost() + prevEpochSession_.probesLost());
        currentEpochSession_.probesMisorderedIs(currentEpochSession_.probesMisordered() +
                                                prevEpochSession_.probesMisordered());
        currentEpochSession_.probesDuplicatedIs(currentEpochSession_.probesDuplicated() +
                                                prevEpochSession_.probesDuplicated());
    }
    if (haveCurrent) prevEpochSession_ = currentEpochSession_;
    currentEpochSession_ = EpochSession();
    currentEpochSession_.epochIs(e);
    // A stream's first session starts at its first probe; a restarted transmitter numbers from 1,
    // so probes missing before the first one received count as lost.
    if (haveCurrent) currentEpochSession_.minSeqNumRecvdIs(1);
}

void Counter::doCalcLoss() {
    lastProbesDuplicated_ = probesDuplicated_;
    lastProbesLost_ = probesLost_;
    lastProbesMisordered_ = probesMisordered_;
    const bool havePrev = exists(prevEpochSession_);
    probesLost_ = currentEpochSession_.probesLost() + (havePrev ? prevEpochSession_.probesLost() : 0);
    probesMisordered_ =
        currentEpochSession_.probesMisordered() + (havePrev ? prevEpochSession_.probesMisordered() : 0);
    probesDuplicated_ =
        currentEpochSession_.probesDuplicated() + (havePrev ? prevEpochSession_.probesDuplicated() : 0);
    lastSequenceNumber_ = currentSequenceNumber_;
    probesLostInc_ = probesLost_ - lastProbesLost_;
    probesMisorderedInc_ = probesMisordered_ - lastProbesMisordered_;
    probesDuplicatedInc_ = probesDuplicated_ - lastProbesDuplicated_;
}

}  // namespace Sondar
