#pragma once
// The model library's trace module, "Sondar". Operation signatures go out at level 8 on entry and
// per-probe statistics diagnostics at level 6; a line's text is built only when its level is on.
#include "Rix/Trace.h"

namespace Sondar {
extern Rix::TraceModule sondarTrace;
}  // namespace Sondar
