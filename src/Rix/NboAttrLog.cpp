#include "Rix/NboAttrLog.h"

#include <bit>

#include "Rix/Format.h"

namespace Rix {
namespace NboAttrLog {

void Out::nextU16(U16 v) {
    const U8 b[2] = {static_cast<U8>(v >> 8), static_cast<U8>(v)};
    bytesAppend(b, 2);
}
void Out::nextU32(U32 v) {
    const U8 b[4] = {static_cast<U8>(v >> 24), static_cast<U8>(v >> 16), static_cast<U8>(v >> 8),
                     static_cast<U8>(v)};
    bytesAppend(b, 4);
}
void Out::nextU64(U64 v) {
    nextU32(static_cast<U32>(v >> 32));
    nextU32(static_cast<U32>(v));
}
void Out::nextDouble(double v) { nextU64(std::bit_cast<U64>(v)); }
void Out::nextString(std::string_view s) {
    nextU32(static_cast<U32>(s.size()));
    bytesAppend(s.data(), s.size());
}

void In::need(std::size_t n) const {
    if (remaining() < n) {
        throw RangeException(format("attribute log too short: %zu bytes wanted, %zu left", n, remaining()));
    }
}
U8 In::nextU8() {
    need(1);
    return *p_++;
}
U16 In::nextU16() {
    need(2);
    const U16 v = static_cast<U16>((p_[0] << 8) | p_[1]);
    p_ += 2;
    return v;
}
U32 In::nextU32() {
    need(4);
    const U32 v = (U32{p_[0]} << 24) | (U32{p_[1]} << 16) | (U32{p_[2]} << 8) | U32{p_[3]};
    p_ += 4;
    return v;
}
U64 In::nextU64() {
    need(8);
    const U64 hi = nextU32();
    return (hi << 32) | nextU32();
}
bool In::nextbool() {
    need(1);
    const U8 b = *p_;
    if (b > 1) throw RangeException(format("attribute log: bad boolean byte %u", static_cast<unsigned>(b)));
    ++p_;
    return b == 1;
}
double In::nextDouble() { return std::bit_cast<double>(nextU64()); }
String8 In::nextString() {
    const U32 n = nextU32();
    if (n > maxStringLength) throw RangeException(format("attribute log: string of %u bytes is too long", n));
    need(n);
    String8 s(reinterpret_cast<const char*>(p_), n);
    p_ += n;
    return s;
}
void In::nextBytes(void* out, std::size_t n) {
    need(n);
    std::memcpy(out, p_, n);
    p_ += n;
}

}  // namespace NboAttrLog

void nboWrite(NboAttrLog::Out& o, bool v) { o.nextbool(v); }
void nboWrite(NboAttrLog::Out& o, double v) { o.nextDouble(v); }
void nboWrite(NboAttrLog::Out& o, const String8& v) { o.nextString(v.view()); }
void nboWrite(NboAttrLog::Out& o, const Name& v) { o.nextString(v.view()); }

}  // namespace Rix
