#pragma once
// The model library's trace module: per-probe statistics diagnostics at level 6, operation
// signatures at level 8 (SONDAR_TRACE="Sondar=6,8").
#include "Rix/Trace.h"

namespace Sondar {
extern Rix::TraceModule trace;
}
