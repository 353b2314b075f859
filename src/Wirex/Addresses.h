#pragma once
// Addresses: Ethernet MAC, IPv4 and IPv6, and IPv4/IPv6 prefixes. All are held as their wire
// bytes (alignment 1), so they can sit inside packed header overlays and shared-memory keys.
//
// Text forms are quoted: '00:1c:73:aa:bb:01', '10.0.0.1', '2001:db8::1' (RFC 5952),
// '10.0.0.0/24'; the readers also take the bare form. Stream output is the bare form.
// Attribute-log forms: the wire bytes (6, 4 or 16), a prefix followed by its length as U8.
// Bad text raises Rix::RangeException naming the text.
#include <array>
#include <compare>
#include <cstring>
#include <functional>
#include <ostream>
#include <string_view>
#include <type_traits>

#include "Rix/NboAttrLog.h"
#include "Rix/Strep.h"
#include "Wirex/NetTypes.h"

namespace Wirex {

class __attribute__((packed)) EthAddr {
  public:
    constexpr EthAddr() noexcept = default;
    constexpr EthAddr(U8 a, U8 b, U8 c, U8 d, U8 e, U8 f) noexcept : bytes_{a, b, c, d, e, f} {}
    // From six bytes in wire order.
    explicit EthAddr(const U8* six) noexcept { std::memcpy(bytes_, six, 6); }
    // Parses "00:1c:73:aa:bb:01" (quotes optional).
    explicit EthAddr(std::string_view text);
    EthAddr(Rix::NboAttrLog::In* in, Rix::StreamBogon) { in->nextBytes(bytes_, 6); }

    const U8* bytes() const noexcept { return bytes_; }
    U8 byte(unsigned i) const noexcept { return bytes_[i]; }
    bool isBroadcast() const noexcept {
        return *this == EthAddr(0xff, 0xff, 0xff, 0xff, 0xff, 0xff);
    }
    bool isMulticast() const noexcept { return (bytes_[0] & 1) != 0; }
    U32 hash() const noexcept { return hashBytes(bytes_, 6); }
    // "00:1c:73:aa:bb:01"
    std::string str() const;

    friend bool operator==(const EthAddr& a, const EthAddr& b) noexcept {
        return std::memcmp(a.bytes_, b.bytes_, 6) == 0;
    }
    friend std::strong_ordering operator<=>(const EthAddr& a, const EthAddr& b) noexcept {
        return std::memcmp(a.bytes_, b.bytes_, 6) <=> 0;
    }
    friend bool operator!(const EthAddr& a) noexcept { return a == EthAddr(); }

  private:
    U8 bytes_[6] = {};
};

class __attribute__((packed)) IpAddr {
  public:
    constexpr IpAddr() noexcept = default;
    constexpr IpAddr(U8 a, U8 b, U8 c, U8 d) noexcept : bytes_{a, b, c, d} {}
    // From a host-order number: IpAddr(0x0a000001) is 10.0.0.1.
    explicit IpAddr(U32 hostOrder) noexcept { valueIs(hostOrder); }
    // Parses "10.0.0.1" (quotes optional): four decimal octets, no leading zeros.
    explicit IpAddr(std::string_view text);
    IpAddr(Rix::NboAttrLog::In* in, Rix::StreamBogon) { in->nextBytes(bytes_, 4); }
    static IpAddr fromNetworkOrder(U32 nbo) noexcept {
        IpAddr a;
        std::memcpy(a.bytes_, &nbo, 4);
        return a;
    }

    // Host order: 10.0.0.1 is 0x0a000001.
    U32 value() const noexcept {
        return (U32{bytes_[0]} << 24) | (U32{bytes_[1]} << 16) | (U32{bytes_[2]} << 8) | bytes_[3];
    }
    void valueIs(U32 hostOrder) noexcept {
        bytes_[0] = static_cast<U8>(hostOrder >> 24);
        bytes_[1] = static_cast<U8>(hostOrder >> 16);
        bytes_[2] = static_cast<U8>(hostOrder >> 8);
        bytes_[3] = static_cast<U8>(hostOrder);
    }
    // The number as it lies in memory, network order.
    U32 nboValue() const noexcept {
        U32 v;
        std::memcpy(&v, bytes_, 4);
        return v;
    }
    const U8* bytes() const noexcept { return bytes_; }
    U32 hash() const noexcept { return hashBytes(bytes_, 4); }
    std::string str() const;

    friend bool operator==(const IpAddr& a, const IpAddr& b) noexcept {
        return std::memcmp(a.bytes_, b.bytes_, 4) == 0;
    }
    // Numeric order, which is also the order of the wire bytes.
    friend std::strong_ordering operator<=>(const IpAddr& a, const IpAddr& b) noexcept {
        return a.value() <=> b.value();
    }
    friend bool operator!(const IpAddr& a) noexcept { return a.value() == 0; }

  private:
    U8 bytes_[4] = {};
};

class __attribute__((packed)) Ip6Addr {
  public:
    constexpr Ip6Addr() noexcept = default;
    // From sixteen bytes in wire order.
    explicit Ip6Addr(const U8* sixteen) noexcept { std::memcpy(bytes_, sixteen, 16); }
    // Parses any RFC 4291 text form ("2001:db8::1", "::ffff:10.0.0.1"; quotes optional).
    explicit Ip6Addr(std::string_view text);
    Ip6Addr(Rix::NboAttrLog::In* in, Rix::StreamBogon) { in->nextBytes(bytes_, 16); }

    const U8* bytes() const noexcept { return bytes_; }
    U32 hash() const noexcept { return hashBytes(bytes_, 16); }
    // The RFC 5952 form: lower case, longest run of two or more zero groups as "::".
    std::string str() const;

    friend bool operator==(const Ip6Addr& a, const Ip6Addr& b) noexcept {
        return std::memcmp(a.bytes_, b.bytes_, 16) == 0;
    }
    friend std::strong_ordering operator<=>(const Ip6Addr& a, const Ip6Addr& b) noexcept {
        return std::memcmp(a.bytes_, b.bytes_, 16) <=> 0;
    }
    friend bool operator!(const Ip6Addr& a) noexcept { return a == Ip6Addr(); }

  private:
    U8 bytes_[16] = {};
};

// An IPv4 address with a prefix length of 0 to 32. The address is kept as given (host bits are
// not cleared): a destination block names its first address this way.
class __attribute__((packed)) IpAddrWithMask {
  public:
    constexpr IpAddrWithMask() noexcept = default;
    // Throws Rix::RangeException for a length above 32.
    IpAddrWithMask(IpAddr addr, U8 maskLen);
    // Parses "10.0.0.0/24" (quotes optional).
    explicit IpAddrWithMask(std::string_view text);
    IpAddrWithMask(Rix::NboAttrLog::In* in, Rix::StreamBogon);

    IpAddr address() const noexcept { return addr_; }
    U8 maskLen() const noexcept { return len_; }
    // The netmask, host order: /24 is 0xffffff00.
    U32 mask() const noexcept { return len_ == 0 ? 0 : ~U32{0} << (32 - len_); }
    bool contains(IpAddr a) const noexcept { return ((a.value() ^ addr_.value()) & mask()) == 0; }
    U32 hash() const noexcept { return addr_.hash() * 31u + len_; }
    std::string str() const;

    friend bool operator==(const IpAddrWithMask&, const IpAddrWithMask&) noexcept = default;
    friend std::strong_ordering operator<=>(const IpAddrWithMask&,
                                            const IpAddrWithMask&) noexcept = default;
    friend bool operator!(const IpAddrWithMask& a) noexcept { return a == IpAddrWithMask(); }

  private:
    IpAddr addr_;
    U8 len_ = 0;
};

// An IPv6 address with a prefix length of 0 to 128, kept as given.
class __attribute__((packed)) Ip6AddrWithMask {
  public:
    constexpr Ip6AddrWithMask() noexcept = default;
    // Throws Rix::RangeException for a length above 128.
    Ip6AddrWithMask(Ip6Addr addr, U8 maskLen);
    // Parses "2001:db8::/32" (quotes optional).
    explicit Ip6AddrWithMask(std::string_view text);
    Ip6AddrWithMask(Rix::NboAttrLog::In* in, Rix::StreamBogon);

    Ip6Addr address() const noexcept { return addr_; }
    U8 maskLen() const noexcept { return len_; }
    U32 hash() const noexcept { return addr_.hash() * 31u + len_; }
    std::string str() const;

    friend bool operator==(const Ip6AddrWithMask&, const Ip6AddrWithMask&) noexcept = default;
    friend std::strong_ordering operator<=>(const Ip6AddrWithMask&,
                                            const Ip6AddrWithMask&) noexcept = default;
    friend bool operator!(const Ip6AddrWithMask& a) noexcept { return a == Ip6AddrWithMask(); }

  private:
    Ip6Addr addr_;
    U8 len_ = 0;
};

static_assert(sizeof(EthAddr) == 6 && sizeof(IpAddr) == 4 && sizeof(Ip6Addr) == 16);
static_assert(sizeof(IpAddrWithMask) == 5 && sizeof(Ip6AddrWithMask) == 17);
static_assert(alignof(EthAddr) == 1 && alignof(IpAddr) == 1);
static_assert(std::is_trivially_copyable_v<EthAddr> && std::is_trivially_copyable_v<IpAddr> &&
              std::is_trivially_copyable_v<Ip6Addr> &&
              std::is_trivially_copyable_v<IpAddrWithMask> &&
              std::is_trivially_copyable_v<Ip6AddrWithMask>);

#define WIREX_ADDRESS_FUNCTIONS(T)                                       \
    std::ostream& operator<<(std::ostream& os, const T& v);              \
    Rix::String8 valueToStrep(const T& v);                               \
    T sequenceToValue(Rix::StrepPos& pos, const Rix::StrepPos& end, T*); \
    void nboWrite(Rix::NboAttrLog::Out& out, const T& v);
WIREX_ADDRESS_FUNCTIONS(EthAddr)
WIREX_ADDRESS_FUNCTIONS(IpAddr)
WIREX_ADDRESS_FUNCTIONS(Ip6Addr)
WIREX_ADDRESS_FUNCTIONS(IpAddrWithMask)
WIREX_ADDRESS_FUNCTIONS(Ip6AddrWithMask)
#undef WIREX_ADDRESS_FUNCTIONS

// The token of an address's text form at pos: a quoted string, or else the run of characters
// that can make up an address (hex digits, ':', '.', '/'). Used by the address readers.
std::string_view addressToken(Rix::StrepPos& pos, const Rix::StrepPos& end, std::string& storage);

}  // namespace Wirex

WIREX_STD_HASH(Wirex::EthAddr)
WIREX_STD_HASH(Wirex::IpAddr)
WIREX_STD_HASH(Wirex::Ip6Addr)
WIREX_STD_HASH(Wirex::IpAddrWithMask)
WIREX_STD_HASH(Wirex::Ip6AddrWithMask)
