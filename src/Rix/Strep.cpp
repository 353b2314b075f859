#include "Rix/Strep.h"

#include <charconv>
#include <cmath>
#include <string>

#include "Rix/Format.h"

namespace Rix {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\f' || c == '\v'; }

std::string around(StrepPos pos, const StrepPos& end) {
    std::string s;
    for (int i = 0; i < 20 && pos != end; ++i, ++pos) s += *pos;
    return pos == end ? s : s + "...";
}

[[noreturn]] void expected(const char* what, StrepPos pos, const StrepPos& end) {
    if (pos == end) throw RangeException(std::string("expected ") + what + " but the text ended");
    throw RangeException(std::string("expected ") + what + " at '" + around(pos, end) + "'");
}

}  // namespace

void skipSpace(StrepPos& pos, const StrepPos& end) noexcept {
    while (pos != end && isSpace(*pos)) ++pos;
}

void needString(StrepPos& pos, const StrepPos& end, std::string_view token) {
    StrepPos p = pos;
    for (char c : token) {
        if (c == ' ') {
            skipSpace(p, end);
        } else if (p == end || *p != c) {
            throw RangeException("expected '" + std::string(token) + "' at '" + around(p, end) + "'");
        } else {
            ++p;
        }
    }
    pos = p;
}

std::string_view bareTypeName(std::string_view qualified) noexcept {
    const auto at = qualified.rfind("::");
    return at == std::string_view::npos ? qualified : qualified.substr(at + 2);
}

std::string quoted(std::string_view text) {
    std::string s;
    s.reserve(text.size() + 2);
    s += '\'';
    for (char c : text) {
        if (c == '\\' || c == '\'') s += '\\';
        s += c;
    }
    s += '\'';
    return s;
}

String8 valueToStrep(bool v) { return String8(v ? "True" : "False"); }

String8 valueToStrep(double v) {
    if (std::isnan(v)) return String8("nan");
    if (std::isinf(v)) return String8(v > 0 ? "inf" : "-inf");
    char buf[64];
    auto [end, ec] = std::to_chars(buf, buf + sizeof buf, v);
    std::string s(buf, end);
    // always look like a floating-point number
    if (s.find_first_of(".e") == std::string::npos) s += ".0";
    return String8(std::move(s));
}

String8 valueToStrep(const String8& v) { return String8(quoted(v.view())); }
String8 valueToStrep(const Name& v) { return String8(quoted(v.view())); }

bool sequenceToValue(StrepPos& pos, const StrepPos& end, bool*) {
    skipSpace(pos, end);
    const std::ptrdiff_t left = end - pos;
    if (left >= 4 && std::string_view(pos.raw(), 4) == "True") {
        pos += 4;
        return true;
    }
    if (left >= 5 && std::string_view(pos.raw(), 5) == "False") {
        pos += 5;
        return false;
    }
    expected("True or False", pos, end);
}

double sequenceToValue(StrepPos& pos, const StrepPos& end, double*) {
    skipSpace(pos, end);
    StrepPos p = pos;
    if (p != end && (*p == '-' || *p == '+')) ++p;
    const std::ptrdiff_t left = end - p;
    const bool negative = p != pos && *pos == '-';
    if (left >= 3 && (std::string_view(p.raw(), 3) == "inf" || std::string_view(p.raw(), 3) == "nan")) {
        const bool isInf = std::string_view(p.raw(), 3) == "inf";
        pos = p + 3;
        if (!isInf) return std::nan("");
        return negative ? -HUGE_VAL : HUGE_VAL;
    }
    const char* first = pos.raw();
    if (pos != end && *pos == '+') ++first;
    double v = 0;
    auto [stop, ec] = std::from_chars(first, end.raw(), v);
    if (ec == std::errc::invalid_argument || stop == first) expected("a number", pos, end);
    if (ec == std::errc::result_out_of_range) {
        throw RangeException("number out of range: '" + std::string(first, stop) + "'");
    }
    pos += stop - pos.raw();
    return v;
}

String8 sequenceToValue(StrepPos& pos, const StrepPos& end, String8*) {
    skipSpace(pos, end);
    if (pos == end || *pos != '\'') expected("a quoted string", pos, end);
    StrepPos p = pos;
    ++p;
    std::string s;
    while (true) {
        if (p == end) throw RangeException("unterminated string at '" + around(pos, end) + "'");
        char c = *p;
        ++p;
        if (c == '\'') break;
        if (c == '\\') {
            if (p == end) throw RangeException("unterminated string at '" + around(pos, end) + "'");
            c = *p;
            ++p;
        }
        s += c;
    }
    pos = p;
    return String8(std::move(s));
}

Name sequenceToValue(StrepPos& pos, const StrepPos& end, Name*) {
    return Name(sequenceToValue(pos, end, static_cast<String8*>(nullptr)));
}

U64 parseUnsigned(StrepPos& pos, const StrepPos& end, U64 max, const char* typeName) {
    skipSpace(pos, end);
    StrepPos p = pos;
    if (p == end || *p < '0' || *p > '9') expected(typeName, pos, end);
    U64 v = 0;
    bool overflow = false;
    while (p != end && *p >= '0' && *p <= '9') {
        const U64 d = static_cast<U64>(*p - '0');
        if (v > (max - d) / 10) overflow = true;
        else v = v * 10 + d;
        ++p;
    }
    if (overflow) {
        throw RangeException(format("%s out of range (at most %llu): '%s'", typeName,
                                    static_cast<unsigned long long>(max),
                                    std::string(pos.raw(), p.raw()).c_str()));
    }
    pos = p;
    return v;
}

S64 parseSigned(StrepPos& pos, const StrepPos& end, S64 min, S64 max, const char* typeName) {
    skipSpace(pos, end);
    StrepPos p = pos;
    const bool negative = p != end && *p == '-';
    if (negative) ++p;
    // the sign belongs to the digits: "- 1" is not a number
    if (p == end || *p < '0' || *p > '9') expected(typeName, pos, end);
    const U64 limit = negative ? static_cast<U64>(-(min + 1)) + 1 : static_cast<U64>(max);
    U64 magnitude = 0;
    StrepPos digits = p;
    try {
        magnitude = parseUnsigned(digits, end, limit, typeName);
    } catch (const RangeException&) {
        while (digits != end && *digits >= '0' && *digits <= '9') ++digits;
        throw RangeException(format("%s out of range (%lld to %lld): '%s'", typeName,
                                    static_cast<long long>(min), static_cast<long long>(max),
                                    std::string(pos.raw(), digits.raw()).c_str()));
    }
    pos = digits;
    if (negative) return magnitude == 0 ? 0 : -static_cast<S64>(magnitude - 1) - 1;
    return static_cast<S64>(magnitude);
}

void throwJunk(long long column, const String8& text) {
    throw RangeException(format("junk at column %lld deserializing %s", column, text.c_str()));
}

}  // namespace Rix
