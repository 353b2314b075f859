#pragma once
// The attribute log: the binary, network-byte-order form in which values travel between
// processes. Out appends; In reads from a byte range and raises RangeException on a short or
// malformed stream without ever reading past its end.
#include <concepts>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "Rix/Clock.h"
#include "Rix/Exception.h"
#include "Rix/Ptr.h"
#include "Rix/String.h"
#include "Rix/Types.h"

namespace Rix {

// Selects the reading constructor T(NboAttrLog::In*, StreamBogon).
struct StreamBogon {};

namespace NboAttrLog {

// Strings longer than this are refused when read, whatever the stream claims.
inline constexpr U32 maxStringLength = 1u << 20;

class Out : public PtrInterface {
  public:
    void bytesAppend(const void* data, std::size_t n) {
        const auto* b = static_cast<const U8*>(data);
        buf_.insert(buf_.end(), b, b + n);
    }
    void nextU8(U8 v) { buf_.push_back(v); }
    void nextU16(U16 v);
    void nextU32(U32 v);
    void nextU64(U64 v);
    void nextS32(S32 v) { nextU32(static_cast<U32>(v)); }
    void nextbool(bool v) { buf_.push_back(v ? 1 : 0); }
    void nextDouble(double v);
    void nextSeconds(Seconds v) { nextDouble(v); }
    void nextString(std::string_view s);

    const std::vector<U8>& bytes() const noexcept { return buf_; }
    void clear() noexcept { buf_.clear(); }

  private:
    std::vector<U8> buf_;
};

class In {
  public:
    In(const void* data, std::size_t size) : p_(static_cast<const U8*>(data)), end_(p_ + size) {}
    explicit In(const std::vector<U8>& v) : In(v.data(), v.size()) {}

    U8 nextU8();
    U16 nextU16();
    U32 nextU32();
    U64 nextU64();
    S32 nextS32() { return static_cast<S32>(nextU32()); }
    bool nextbool();
    double nextDouble();
    Seconds nextSeconds() { return nextDouble(); }
    String8 nextString();
    void nextBytes(void* out, std::size_t n);

    std::size_t remaining() const noexcept { return static_cast<std::size_t>(end_ - p_); }
    bool atEnd() const noexcept { return p_ == end_; }

  private:
    void need(std::size_t n) const;
    const U8* p_;
    const U8* end_;
};

}  // namespace NboAttrLog

void nboWrite(NboAttrLog::Out& o, bool v);
void nboWrite(NboAttrLog::Out& o, double v);
void nboWrite(NboAttrLog::Out& o, const String8& v);
void nboWrite(NboAttrLog::Out& o, const Name& v);
template <std::integral T>
    requires(!std::same_as<T, bool>)
void nboWrite(NboAttrLog::Out& o, T v) {
    if constexpr (sizeof(T) == 1) o.nextU8(static_cast<U8>(v));
    else if constexpr (sizeof(T) == 2) o.nextU16(static_cast<U16>(v));
    else if constexpr (sizeof(T) == 4) o.nextU32(static_cast<U32>(v));
    else o.nextU64(static_cast<U64>(v));
}
// Enumerations travel as their number in a signed 32-bit word.
template <class E>
    requires std::is_enum_v<E>
void nboWrite(NboAttrLog::Out& o, E e) {
    o.nextS32(static_cast<S32>(e));
}

template <class T>
T nboRead(NboAttrLog::In& in) {
    if constexpr (std::same_as<T, bool>) {
        return in.nextbool();
    } else if constexpr (std::same_as<T, double>) {
        return in.nextDouble();
    } else if constexpr (std::same_as<T, String8>) {
        return in.nextString();
    } else if constexpr (std::same_as<T, Name>) {
        return Name(in.nextString());
    } else if constexpr (std::is_enum_v<T>) {
        // the enumeration's own check refuses an unknown number
        return rixEnumInstance(static_cast<T*>(nullptr), static_cast<U32>(in.nextS32()));
    } else if constexpr (std::integral<T>) {
        if constexpr (sizeof(T) == 1) return static_cast<T>(in.nextU8());
        else if constexpr (sizeof(T) == 2) return static_cast<T>(in.nextU16());
        else if constexpr (sizeof(T) == 4) return static_cast<T>(in.nextU32());
        else return static_cast<T>(in.nextU64());
    } else {
        return T(&in, StreamBogon{});
    }
}

template <class T>
concept NboWritable = requires(NboAttrLog::Out& o, const T& v) { nboWrite(o, v); };

template <NboWritable T>
const Ptr<NboAttrLog::Out>& operator<<(const Ptr<NboAttrLog::Out>& out, const T& v) {
    nboWrite(*out, v);
    return out;
}

}  // namespace Rix
