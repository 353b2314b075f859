#include "Sondar/SondarTrace.h"

namespace Sondar {
Rix::TraceModule sondarTrace("Sondar");
}  // namespace Sondar
