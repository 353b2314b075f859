#pragma once
// An enumeration whose values are 0, 1, 2, ... and whose names are a fixed table. Every such
// enumeration of the model has the same five operations: its name (or "Type(n)" for a number
// outside the table), the number or name back to the value (a range error naming the type for
// anything else), the hooks through which the text and attribute-log readers reach those, and
// stream output of the name. RIX_ENUM_DECLARATIONS(E) declares them beside the enumeration and
// RIX_ENUM_DEFINITIONS(E, table) defines them from its EnumNames table.
#include <array>
#include <cstddef>
#include <ostream>
#include <string_view>

#include "Rix/Exception.h"
#include "Rix/Format.h"
#include "Rix/String.h"
#include "Rix/Types.h"

namespace Rix {

template <class E, std::size_t N>
struct EnumNames {
    const char* type;  // the bare type name, also the range error's text
    std::array<std::string_view, N> names;

    String8 name(E e) const {
        const auto v = static_cast<U32>(e);
        if (v < N) return String8(names[v]);
        return String8(format("%s(%d)", type, static_cast<int>(v)));
    }
    E instance(U32 v) const {
        if (v >= N) throw RangeException(type);
        return static_cast<E>(v);
    }
    E instance(const String8& n) const {
        for (std::size_t i = 0; i < N; ++i) {
            if (n.view() == names[i]) return static_cast<E>(i);
        }
        throw RangeException(type);
    }
};

}  // namespace Rix

#define RIX_ENUM_DECLARATIONS(E)                                                           \
    ::Rix::String8 stringValue(E e);                                                       \
    E E##Instance(U32 v);                                                                  \
    E E##Instance(const ::Rix::String8& name);                                             \
    inline E rixEnumInstance(E*, U32 v) { return E##Instance(v); }                         \
    inline E rixEnumInstance(E*, const ::Rix::String8& name) { return E##Instance(name); } \
    std::ostream& operator<<(std::ostream& os, E e);

#define RIX_ENUM_DEFINITIONS(E, table)                                           \
    ::Rix::String8 stringValue(E e) { return (table).name(e); }                  \
    E E##Instance(U32 v) { return (table).instance(v); }                         \
    E E##Instance(const ::Rix::String8& name) { return (table).instance(name); } \
    std::ostream& operator<<(std::ostream& os, E e) { return os << stringValue(e); }
