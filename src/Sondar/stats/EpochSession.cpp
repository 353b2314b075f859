#include "Sondar/stats/EpochSession.h"

#include <cmath>

#include "Sondar/SondarTrace.h"

namespace Sondar {

void DuplicateProbeWindow::setDuplicateWindow(const U64& seqWin, const U64& mask, const U64& startSeq) {
    probesSeqWindow_ = seqWin;
    duplicateWinMask_ = mask;
    windowStartSeq_ = startSeq;
    eventTime_ = Rix::now();
    RIX_TRACE(sondarTrace, 6, "Probes Duplicated Debug Information: start seq: " << startSeq << ", seqWin: "
                                                                           << seqWin << ", mask: " << mask);
}

void EpochSession::countProbe(U64 seq) {
    const U64 oldMax = maxSeqNumRecvd_;
    U64 nstart = windowStartSeq_;
    const U64 received = ++probesReceived_;
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
    if (nstart == 0) [[unlikely]] {
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
        } else if (detail::traceOn()) {
            detail::traceOutOfWindow(seq);
        }
    }

    if (static_cast<S64>(seq - nstart) >= 0) {
        const U64 bit = U64{1} << ((seq - nstart) % windowSize);
        if (nwin & bit) [[unlikely]] {
            if (detail::traceOn()) detail::traceDuplicate(seq, nstart, bit, nwin);
            duplicateProbeWindow_.setDuplicateWindow(nwin, bit, nstart);
            ++probesDuplicated_;
        } else {
            probesSeqWindow_ = nwin | bit;
        }
    }
    lostIs(newMax, newMin, received);
}

namespace detail {

bool traceOn() noexcept { return sondarTrace.enabled(6); }

void traceOutOfWindow(U64 seq) {
    RIX_TRACE(sondarTrace, 6, "Packet received (seqno - " << seq << ") out of the window size of "
                                                    << EpochSession::windowSize
                                                    << " - ignoring it in duplicate probe stats "
                                                       "calculation");
}

void traceDuplicate(U64 seq, U64 nstart, U64 bit, U64 nwin) {
    RIX_TRACE(sondarTrace, 6, "Probe duplicate, seq number : " << seq << ", window start seq: " << nstart
                                                         << ", mask: " << bit << ", seq window: " << nwin);
}

U64 lostInDoubles(U64 expected, U64 received, U64 duplicated) {
    const double diff = static_cast<double>(expected) - static_cast<double>(received);
    const double dup = static_cast<double>(duplicated);
    if (diff >= 0 || dup >= std::fabs(diff)) {
        const double lost = dup + diff;
        return lost >= 18446744073709551615.0 ? ~U64{0} : static_cast<U64>(lost);
    }
    return 0;
}

}  // namespace detail

}  // namespace Sondar
