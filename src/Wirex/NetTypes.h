#pragma once
// Network-order field holders. A wire field is stored as its bytes, big-endian, so a holder has
// alignment 1 and can sit anywhere inside a packed header overlay. value() gives the host-order
// number and valueIs(v) stores one; loads and stores go through memcpy and a byte swap, so host
// and network order cannot be mixed by accident.
#include <bit>
#include <compare>
#include <cstring>
#include <functional>
#include <ostream>
#include <type_traits>

#include "Rix/NboAttrLog.h"
#include "Rix/Strep.h"
#include "Rix/Types.h"

// std::hash for a Wirex type with a U32 hash() member; used at global scope.
#define WIREX_STD_HASH(T)                                                      \
    template <>                                                                \
    struct std::hash<T> {                                                      \
        std::size_t operator()(const T& v) const noexcept { return v.hash(); } \
    };

namespace Wirex {

template <class T>
constexpr T byteSwap(T v) noexcept {
    if constexpr (sizeof(T) == 1)
        return v;
    else if constexpr (sizeof(T) == 2)
        return static_cast<T>(__builtin_bswap16(v));
    else if constexpr (sizeof(T) == 4)
        return static_cast<T>(__builtin_bswap32(v));
    else
        return static_cast<T>(__builtin_bswap64(v));
}

// Host order to network order and back (the same operation).
template <class T>
constexpr T netOrder(T v) noexcept {
    if constexpr (std::endian::native == std::endian::little)
        return byteSwap(v);
    else
        return v;
}

// A 32-bit hash of a byte range, the building block of every type's hash(). Words are multiplied
// by distinct odd constants and summed, so the multiplies are independent of one another; the
// upper half of the sum, where every input bit has carried, is the hash. Callers hash fixed
// sizes, so everything unrolls into a handful of instructions per word.
inline U32 hashBytes(const void* data, std::size_t n) noexcept {
    constexpr U64 k[4] = {0x9E3779B97F4A7C15ull, 0xBF58476D1CE4E5B9ull, 0x94D049BB133111EBull,
                          0xD6E8FEB86659FD93ull};
    const auto* p = static_cast<const U8*>(data);
    U64 h = n * 0xA0761D6478BD642Full;
    std::size_t i = 0;
    for (; n >= 8; p += 8, n -= 8, ++i) {
        U64 w;
        std::memcpy(&w, p, 8);
        h += (w ^ k[(i + 1) % 4]) * k[i % 4];
    }
    if (n) {
        U64 w = 0;
        std::memcpy(&w, p, n);
        h += (w ^ k[(i + 1) % 4]) * k[i % 4];
    }
    return static_cast<U32>(h >> 32);
}

// An unsigned integer field of the width of T, held big-endian. Tag keeps distinct field kinds
// (a checksum, a tag control) distinct types.
template <class T, class Tag>
class __attribute__((packed)) NetInt {
  public:
    static_assert(std::is_unsigned_v<T>);
    using HostType = T;

    constexpr NetInt() noexcept = default;
    explicit NetInt(T hostValue) noexcept { valueIs(hostValue); }
    // Reading constructor of the attribute log: the number, big-endian, in its own width.
    NetInt(Rix::NboAttrLog::In* in, Rix::StreamBogon) { in->nextBytes(bytes_, sizeof bytes_); }

    T value() const noexcept {
        T v;
        std::memcpy(&v, bytes_, sizeof v);
        return netOrder(v);
    }
    void valueIs(T hostValue) noexcept {
        const T v = netOrder(hostValue);
        std::memcpy(bytes_, &v, sizeof v);
    }
    // The number as it lies in memory, network order.
    T rawValue() const noexcept {
        T v;
        std::memcpy(&v, bytes_, sizeof v);
        return v;
    }
    const U8* data() const noexcept { return bytes_; }

    U32 hash() const noexcept { return hashBytes(bytes_, sizeof bytes_); }

    friend bool operator==(const NetInt& a, const NetInt& b) noexcept {
        return std::memcmp(a.bytes_, b.bytes_, sizeof a.bytes_) == 0;
    }
    friend std::strong_ordering operator<=>(const NetInt& a, const NetInt& b) noexcept {
        return a.value() <=> b.value();
    }
    friend bool operator!(const NetInt& a) noexcept { return a.value() == 0; }
    friend std::ostream& operator<<(std::ostream& os, const NetInt& a) {
        return os << static_cast<U64>(a.value());
    }
    friend Rix::String8 valueToStrep(const NetInt& a) { return Rix::valueToStrep(a.value()); }
    friend NetInt sequenceToValue(Rix::StrepPos& pos, const Rix::StrepPos& end, NetInt*) {
        return NetInt(Rix::sequenceToValue<T>(pos, end));
    }
    friend void nboWrite(Rix::NboAttrLog::Out& out, const NetInt& a) {
        out.bytesAppend(a.bytes_, sizeof a.bytes_);
    }

  private:
    U8 bytes_[sizeof(T)] = {};
};

struct NetU8Tag {};
struct NetU16Tag {};
struct NetU32Tag {};
struct NetU64Tag {};
struct IpChecksumTag {};
struct TagControlTag {};

using NetU8 = NetInt<U8, NetU8Tag>;
using NetU16 = NetInt<U16, NetU16Tag>;
using NetU32 = NetInt<U32, NetU32Tag>;
using NetU64 = NetInt<U64, NetU64Tag>;
// An Internet checksum as it is stored in a header: the ones' complement, big-endian.
using IpChecksum = NetInt<U16, IpChecksumTag>;

// IEEE 802.1Q tag control information: priority in bits 15..13, CFI in bit 12, VLAN id in
// bits 11..0. Each setter keeps the other sub-fields and truncates its argument to its width.
class __attribute__((packed)) Eth8021QTagControl : public NetInt<U16, TagControlTag> {
  public:
    using NetInt::NetInt;
    constexpr Eth8021QTagControl() noexcept = default;
    Eth8021QTagControl(U8 priority, bool cfi, U16 vlanId) noexcept {
        valueIs(
            static_cast<U16>(((priority & 0x7u) << 13) | (cfi ? 0x1000u : 0u) | (vlanId & 0xfffu)));
    }
    Eth8021QTagControl(const NetInt& n) noexcept : NetInt(n) {}

    U8 priority() const noexcept { return static_cast<U8>(value() >> 13); }
    void priorityIs(U8 p) noexcept {
        valueIs(static_cast<U16>((value() & 0x1fffu) | (static_cast<unsigned>(p) << 13)));
    }
    bool cfi() const noexcept { return (value() & 0x1000u) != 0; }
    void cfiIs(bool c) noexcept {
        valueIs(static_cast<U16>((value() & ~0x1000u) | (c ? 0x1000u : 0u)));
    }
    U16 vlanId() const noexcept { return static_cast<U16>(value() & 0xfffu); }
    void vlanIdIs(U16 v) noexcept { valueIs(static_cast<U16>((value() & 0xf000u) | (v & 0xfffu))); }
};

// Printed as priority, CFI and VLAN id: "pri 0 cfi 0 vlan 100".
std::ostream& operator<<(std::ostream& os, const Eth8021QTagControl& t);

static_assert(sizeof(NetU8) == 1 && sizeof(NetU16) == 2 && sizeof(NetU32) == 4 &&
              sizeof(NetU64) == 8);
static_assert(sizeof(IpChecksum) == 2 && sizeof(Eth8021QTagControl) == 2);
static_assert(alignof(NetU64) == 1 && alignof(Eth8021QTagControl) == 1);
static_assert(std::is_trivially_copyable_v<NetU64> &&
              std::is_trivially_copyable_v<Eth8021QTagControl>);

}  // namespace Wirex

template <class T, class Tag>
struct std::hash<Wirex::NetInt<T, Tag>> {
    std::size_t operator()(const Wirex::NetInt<T, Tag>& v) const noexcept { return v.hash(); }
};
template <>
struct std::hash<Wirex::Eth8021QTagControl> {
    std::size_t operator()(const Wirex::Eth8021QTagControl& v) const noexcept { return v.hash(); }
};
