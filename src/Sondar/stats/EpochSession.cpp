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
