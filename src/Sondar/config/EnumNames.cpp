// Names of the configuration's enumerations, both ways.
#include <string_view>

#include "Rix/Exception.h"
#include "Rix/Format.h"
#include "Sondar/config/ProbeRateUnit.h"
#include "Sondar/config/SourcePortType.h"

namespace Sondar {

namespace {

template <std::size_t N>
Rix::String8 nameOf(U32 v, const std::string_view (&names)[N], const char* type) {
    if (v < N) return Rix::String8(names[v]);
    return Rix::String8(Rix::format("%s(%d)", type, static_cast<int>(v)));
}

template <std::size_t N>
U32 numberOf(const Rix::String8& name, const std::string_view (&names)[N], const char* type) {
    for (std::size_t i = 0; i < N; ++i) {
        if (name.view() == names[i]) return static_cast<U32>(i);
    }
    throw Rix::RangeException(type);
}

constexpr std::string_view probeRateUnitNames[] = {"seconds", "minutes"};
constexpr std::string_view sourcePortTypeNames[] = {"random", "sequential", "list"};

}  // namespace

Rix::String8 stringValue(ProbeRateUnit u) {
    return nameOf(static_cast<U32>(u), probeRateUnitNames, "ProbeRateUnit");
}
ProbeRateUnit ProbeRateUnitInstance(U32 v) {
    if (v > 1) throw Rix::RangeException("ProbeRateUnit");
    return static_cast<ProbeRateUnit>(v);
}
ProbeRateUnit ProbeRateUnitInstance(const Rix::String8& name) {
    return static_cast<ProbeRateUnit>(numberOf(name, probeRateUnitNames, "ProbeRateUnit"));
}
std::ostream& operator<<(std::ostream& os, ProbeRateUnit u) { return os << stringValue(u); }

Rix::String8 stringValue(SourcePortType t) {
    return nameOf(static_cast<U32>(t), sourcePortTypeNames, "SourcePortType");
}
SourcePortType SourcePortTypeInstance(U32 v) {
    if (v > 2) throw Rix::RangeException("SourcePortType");
    return static_cast<SourcePortType>(v);
}
SourcePortType SourcePortTypeInstance(const Rix::String8& name) {
    return static_cast<SourcePortType>(numberOf(name, sourcePortTypeNames, "SourcePortType"));
}
std::ostream& operator<<(std::ostream& os, SourcePortType t) { return os << stringValue(t); }

}  // namespace Sondar
