#pragma once
// Text forms of primitive values ("strep"): writing with valueToStrep, reading one value from a
// character range with sequenceToValue(pos, end, T*), and reading a whole string with
// strepToValue<T>. Readers leave pos just behind what they consumed and raise RangeException, with
// a message naming what was wrong, on anything they cannot read. They never read past end.
#include <concepts>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>

#include "Rix/Exception.h"
#include "Rix/String.h"
#include "Rix/Types.h"

namespace Rix {

using StrepPos = String8::IteratorConst;

void skipSpace(StrepPos& pos, const StrepPos& end) noexcept;
// Require the token's characters at pos; a blank in the token matches any run of white space,
// including none.
void needString(StrepPos& pos, const StrepPos& end, std::string_view token);
// The type name without its namespace: "Sondar::Epoch" gives "Epoch".
std::string_view bareTypeName(std::string_view qualified) noexcept;
// Single-quoted with backslash and quote escaped.
std::string quoted(std::string_view text);

String8 valueToStrep(bool v);
String8 valueToStrep(double v);
String8 valueToStrep(const String8& v);
String8 valueToStrep(const Name& v);
template <std::integral T>
    requires(!std::same_as<T, bool>)
String8 valueToStrep(T v) {
    return String8(std::to_string(v));
}

bool sequenceToValue(StrepPos& pos, const StrepPos& end, bool*);
double sequenceToValue(StrepPos& pos, const StrepPos& end, double*);
String8 sequenceToValue(StrepPos& pos, const StrepPos& end, String8*);
Name sequenceToValue(StrepPos& pos, const StrepPos& end, Name*);
U64 parseUnsigned(StrepPos& pos, const StrepPos& end, U64 max, const char* typeName);
S64 parseSigned(StrepPos& pos, const StrepPos& end, S64 min, S64 max, const char* typeName);
template <std::integral T>
    requires(!std::same_as<T, bool>)
T sequenceToValue(StrepPos& pos, const StrepPos& end, T*) {
    if constexpr (std::is_unsigned_v<T>) {
        return static_cast<T>(parseUnsigned(pos, end, std::numeric_limits<T>::max(), "unsigned integer"));
    } else {
        return static_cast<T>(parseSigned(pos, end, std::numeric_limits<T>::min(),
                                          std::numeric_limits<T>::max(), "integer"));
    }
}

// Enumerations: the text form is the quoted name that stringValue(e) gives; reading maps the
// name back through the enumeration's rixEnumInstance(E*, const String8&) hook.
template <class E>
    requires std::is_enum_v<E>
String8 valueToStrep(E e) {
    return String8(quoted(std::string_view(stringValue(e))));
}
template <class E>
    requires std::is_enum_v<E>
E sequenceToValue(StrepPos& pos, const StrepPos& end, E*) {
    String8 name = sequenceToValue(pos, end, static_cast<String8*>(nullptr));
    return rixEnumInstance(static_cast<E*>(nullptr), name);
}

// Types with a parsing constructor T(pos, end).
template <class T>
    requires std::constructible_from<T, StrepPos&, const StrepPos&>
T sequenceToValue(StrepPos& pos, const StrepPos& end, T*) {
    return T(pos, end);
}

template <class T>
T sequenceToValue(StrepPos& pos, const StrepPos& end) {
    return sequenceToValue(pos, end, static_cast<T*>(nullptr));
}

[[noreturn]] void throwJunk(long long column, const String8& text);

// A whole string to a value: the text must be used up, trailing white space aside.
template <class T>
T strepToValue(const String8& text, T* = nullptr) {
    StrepPos pos = text.begin();
    const StrepPos end = text.end();
    T v = sequenceToValue<T>(pos, end);
    StrepPos rest = pos;
    skipSpace(rest, end);
    if (rest != end) throwJunk(static_cast<long long>(rest - text.begin()), text);
    return v;
}

}  // namespace Rix
