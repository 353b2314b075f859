#include "Sondar/stats/EpochSession.h"

#include <algorithm>
#include <cmath>

#include "Sondar/SondarTrace.h"

namespace Sondar {

void DuplicateProbeWindow::setDuplicateWindow(const U64& seqWin, const U64& mask, const U64& startSeq) {
    probesSeqWindow_ = seqWin;
    duplicateWinMask_ = mask;
    windowStartSeq_ = startSeq;
    eventTime_ = Rix::now();
    RIX_TRACE(trace, 6, "Probes Duplicated Debug Information: start seq: " << startSeq << ", seqWin: "
                                                                           << seqWin << ", mask: " << mask);
}

namespace {

// Probes expected from the range of sequence numbers seen. It is formed in 32-bit signed
// arithmetic on the low halves, as receivers have always computed it: for every range narrower
// than 2^31 it equals max - min + 1.
U64 expectedProbes(U64 newMax, U64 newMin) {
    const U32 diff = static_cast<U32>(newMax) - static_cast<U32>(newMin);
    // the absolute value of -2^31 stays -2^31
    const U32 magnitude = static_cast<S32>(diff) < 0 ? 0u - diff : diff;
    const S32 expected = static_cast<S32>(magnitude + 1u);
    return static_cast<U64>(static_cast<S64>(expected));
}

}  // namespace

void EpochSession::setPacket(const U64& seqNo) {
    const U64 seq = seqNo;
    ++probesReceived_;
    const U64 oldMax = maxSeqNumRecvd_;
    const U64 newMax = std::max(oldMax, seq);
    maxSeqNumRecvd_ = newMax;
    const U64 newMin = std::min(minSeqNumRecvd_, seq);
    minSeqNumRecvd_ = newMin;

    // A probe equal to the latest one is not misordered.
    if (seq < lastSequenceNumber_) {
        ++probesMisordered_;
    } else {
        lastSequenceNumber_ = seq;
    }

    U64 nwin = probesSeqWindow_;
    U64 nstart = windowStartSeq_;
    if (nstart == 0) {
        // zero means the window was never placed: it starts at this probe
        nstart = seq;
        windowStartSeq_ = seq;
    } else {
        const U64 start = nstart;
        const U64 span = newMax + 1 - std::min(start, seq);
        if (start <= seq) {
            if (span > windowSize && seq > oldMax) {
                // The window slides by the distance from the previous maximum, so the newest probe
                // keeps the bit position the previous maximum had.
                const U64 d = seq - oldMax;
                if (d < windowSize) {
                    nwin >>= d;
                    nstart = start + d;
                } else {
                    nwin = 0;
                    nstart = seq;
                }
                windowStartSeq_ = nstart;
            }
        } else if (span <= windowSize) {
            // a late probe that still fits: slide back so that it becomes bit 0
            const U64 back = start - seq;
            nwin = back < windowSize ? nwin << back : 0;
            nstart = seq;
            windowStartSeq_ = seq;
        } else {
            RIX_TRACE(trace, 6, "Packet received (seqno - " << seq << ") out of the window size of "
                                                            << windowSize
                                                            << " - ignoring it in duplicate probe stats "
                                                               "calculation");
        }
    }

    if (static_cast<S64>(seq - nstart) >= 0) {
        const U64 bit = U64{1} << ((seq - nstart) % windowSize);
        if (nwin & bit) {
            RIX_TRACE(trace, 6, "Probe duplicate, seq number : " << seq << ", window start seq: " << nstart
                                                                 << ", mask: " << bit
                                                                 << ", seq window: " << nwin);
            duplicateProbeWindow_.setDuplicateWindow(nwin, bit, nstart);
            ++probesDuplicated_;
        } else {
            probesSeqWindow_ = nwin | bit;
        }
    }

    // lost = range seen - received + duplicates, never below zero: a late probe that fills a gap
    // lowers the loss, a duplicate leaves it alone.
    const double diff =
        static_cast<double>(expectedProbes(newMax, newMin)) - static_cast<double>(probesReceived_);
    const double dup = static_cast<double>(probesDuplicated_);
    if (diff >= 0 || dup >= std::fabs(diff)) {
        const double lost = dup + diff;
        probesLost_ = lost >= 18446744073709551615.0 ? ~U64{0} : static_cast<U64>(lost);
    } else {
        probesLost_ = 0;
    }
}

}  // namespace Sondar
