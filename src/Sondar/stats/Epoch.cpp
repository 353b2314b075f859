#include "Sondar/stats/Epoch.h"

namespace Sondar {

namespace {
[[noreturn]] void tooManyMicroseconds() {
    throw Rix::RangeException("Epoch::useconds >= 1000000 not allowed");
}
}  // namespace

Epoch::Epoch(U32 seconds, U32 useconds) : seconds_(seconds), useconds_(useconds) {
    if (useconds > 999999) tooManyMicroseconds();
}

void Epoch::usecondsIs(U32 us) {
    if (us > 999999) tooManyMicroseconds();
    useconds_ = us;
}

void Epoch::validate() const {
    if (useconds_ > 999999) tooManyMicroseconds();
}

}  // namespace Sondar
