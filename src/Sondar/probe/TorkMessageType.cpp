#include "Sondar/probe/TorkMessageType.h"

#include "Rix/Exception.h"
#include "Rix/Format.h"

namespace Sondar {

namespace {
constexpr std::string_view kNames[] = {"torkUnknownType", "torkProbe", "torkLastProbe"};
}  // namespace

Rix::String8 stringValue(TorkMessageType t) {
    const unsigned v = static_cast<unsigned>(t);
    if (v < std::size(kNames)) return Rix::String8(kNames[v]);
    return Rix::String8(Rix::format("TorkMessageType(%d)", static_cast<int>(v)));
}

TorkMessageType TorkMessageTypeInstance(U32 value) {
    if (value >= std::size(kNames)) throw Rix::RangeException("TorkMessageType");
    return static_cast<TorkMessageType>(value);
}

TorkMessageType TorkMessageTypeInstance(const Rix::String8& name) {
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        if (name.view() == kNames[i]) return static_cast<TorkMessageType>(i);
    }
    throw Rix::RangeException("TorkMessageType");
}

std::ostream& operator<<(std::ostream& os, TorkMessageType t) { return os << stringValue(t); }

}  // namespace Sondar
