#include "Sondar/SondarTrace.h"

namespace Sondar {
Rix::TraceModule trace("Sondar");
}
