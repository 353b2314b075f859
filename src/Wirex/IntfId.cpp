#include "Wirex/IntfId.h"

#include "Rix/Format.h"

namespace Wirex {

IntfId::IntfId(std::string_view name) {
    if (name.size() > maxLength) {
        throw Rix::RangeException(Rix::format("interface name longer than %zu characters: '%s'",
                                              maxLength, std::string(name).c_str()));
    }
    if (name.find('\0') != std::string_view::npos) {
        throw Rix::RangeException("interface name holds a NUL character");
    }
    std::memcpy(name_, name.data(), name.size());
    length_ = static_cast<U8>(name.size());
}

IntfId::IntfId(Rix::NboAttrLog::In* in, Rix::StreamBogon) {
    const U8 n = in->nextU8();
    char buf[256];
    in->nextBytes(buf, n);
    *this = IntfId(std::string_view(buf, n));
}

std::ostream& operator<<(std::ostream& os, const IntfId& v) { return os << v.name(); }

Rix::String8 valueToStrep(const IntfId& v) { return Rix::String8(Rix::quoted(v.name())); }

// The quoted name, or a bare one: letters, digits and "_-./:@".
IntfId sequenceToValue(Rix::StrepPos& pos, const Rix::StrepPos& end, IntfId*) {
    Rix::skipSpace(pos, end);
    if (pos == end || *pos == '\'') {
        return IntfId(Rix::sequenceToValue<Rix::String8>(pos, end).view());
    }
    const Rix::StrepPos start = pos;
    auto nameChar = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("_-./:@").find(c) != std::string_view::npos;
    };
    while (pos != end && nameChar(*pos)) ++pos;
    if (pos == start) {
        throw Rix::RangeException(
            "expected an interface name at '" +
            std::string(start.raw(), std::min<std::ptrdiff_t>(end - start, 20)) + "'");
    }
    return IntfId(std::string_view(start.raw(), static_cast<std::size_t>(pos - start)));
}

void nboWrite(Rix::NboAttrLog::Out& out, const IntfId& v) {
    out.nextU8(static_cast<U8>(v.length()));
    out.bytesAppend(v.name().data(), v.length());
}

}  // namespace Wirex
