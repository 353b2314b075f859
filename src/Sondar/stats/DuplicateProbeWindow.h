#pragma once
// A snapshot of a session's duplicate bitmap, taken when the session's latest duplicate arrived.
#include "Rix/Clock.h"
#include "Rix/Value.h"

namespace Sondar {

#define SONDAR_DUPLICATE_PROBE_WINDOW_FIELDS(X) \
    X(U64, windowStartSeq, 0, rw)               \
    X(U64, probesSeqWindow, 0, rw)              \
    X(U64, duplicateWinMask, 0, rw)             \
    X(Rix::Seconds, eventTime, 0.0, rw)

class DuplicateProbeWindow {
    RIX_VALUE_TYPE(DuplicateProbeWindow, "Sondar::DuplicateProbeWindow",
                   SONDAR_DUPLICATE_PROBE_WINDOW_FIELDS)
    DuplicateProbeWindow() = default;

    // Records the bitmap, the duplicate's bit and the window start, stamped with Rix::now().
    void setDuplicateWindow(const U64& seqWin, const U64& mask, const U64& startSeq);

    friend bool operator==(const DuplicateProbeWindow&, const DuplicateProbeWindow&) = default;
    friend auto operator<=>(const DuplicateProbeWindow&, const DuplicateProbeWindow&) = default;
};

}  // namespace Sondar
