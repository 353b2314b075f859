#include "Wirex/Addresses.h"

#include <cstdio>
#include <string>

#include "Rix/Format.h"

namespace Wirex {
namespace {

[[noreturn]] void bad(const char* what, std::string_view text) {
    throw Rix::RangeException(std::string("bad ") + what + ": '" + std::string(text) + "'");
}

bool isAddressChar(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F') || c == ':' ||
           c == '.' || c == '/';
}

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

std::string_view unquote(std::string_view t) {
    if (t.size() >= 2 && t.front() == '\'' && t.back() == '\'') return t.substr(1, t.size() - 2);
    return t;
}

// Four dotted decimal octets, each 0..255 without leading zeros. False on anything else.
bool parseIpv4(std::string_view t, U8 out[4]) {
    std::size_t i = 0;
    for (int octet = 0; octet < 4; ++octet) {
        if (octet > 0) {
            if (i >= t.size() || t[i] != '.') return false;
            ++i;
        }
        const std::size_t start = i;
        unsigned v = 0;
        while (i < t.size() && t[i] >= '0' && t[i] <= '9' && i - start < 3) {
            v = v * 10 + static_cast<unsigned>(t[i] - '0');
            ++i;
        }
        const std::size_t n = i - start;
        if (n == 0 || v > 255 || (n > 1 && t[start] == '0')) return false;
        out[octet] = static_cast<U8>(v);
    }
    return i == t.size();
}

bool parseIpv6(std::string_view t, U8 out[16]) {
    U16 groups[8] = {};
    int n = 0;
    int gap = -1;  // the group index at which "::" stands
    std::size_t i = 0;
    if (t.size() >= 2 && t[0] == ':' && t[1] == ':') {
        gap = 0;
        i = 2;
    } else if (!t.empty() && t[0] == ':') {
        return false;
    }
    while (i < t.size()) {
        // an embedded IPv4 address ends the text
        const std::size_t colon = t.find(':', i);
        const std::string_view piece =
            t.substr(i, colon == std::string_view::npos ? t.npos : colon - i);
        if (colon == std::string_view::npos && piece.find('.') != std::string_view::npos) {
            U8 v4[4];
            if (n > 6 || !parseIpv4(piece, v4)) return false;
            groups[n++] = static_cast<U16>((v4[0] << 8) | v4[1]);
            groups[n++] = static_cast<U16>((v4[2] << 8) | v4[3]);
            i = t.size();
            break;
        }
        if (piece.empty() || piece.size() > 4 || n >= 8) return false;
        unsigned v = 0;
        for (char c : piece) {
            const int d = hexDigit(c);
            if (d < 0) return false;
            v = v * 16 + static_cast<unsigned>(d);
        }
        groups[n++] = static_cast<U16>(v);
        i += piece.size();
        if (i == t.size()) break;
        ++i;  // the colon
        if (i < t.size() && t[i] == ':') {
            if (gap >= 0) return false;
            gap = n;
            ++i;
        } else if (i == t.size()) {
            return false;  // a single trailing colon
        }
    }
    if (gap < 0 && n != 8) return false;
    if (gap >= 0 && n > 7) return false;
    U16 full[8] = {};
    if (gap < 0) {
        std::copy(groups, groups + 8, full);
    } else {
        std::copy(groups, groups + gap, full);
        std::copy(groups + gap, groups + n, full + 8 - (n - gap));
    }
    for (int g = 0; g < 8; ++g) {
        out[2 * g] = static_cast<U8>(full[g] >> 8);
        out[2 * g + 1] = static_cast<U8>(full[g]);
    }
    return true;
}

// "/len" with len in 0..max, no leading zeros; the prefix is what stands before the slash.
bool splitPrefix(std::string_view t, unsigned max, std::string_view& addr, U8& len) {
    const std::size_t slash = t.find('/');
    if (slash == std::string_view::npos) return false;
    addr = t.substr(0, slash);
    const std::string_view l = t.substr(slash + 1);
    if (l.empty() || l.size() > 3 || (l.size() > 1 && l[0] == '0')) return false;
    unsigned v = 0;
    for (char c : l) {
        if (c < '0' || c > '9') return false;
        v = v * 10 + static_cast<unsigned>(c - '0');
    }
    if (v > max) return false;
    len = static_cast<U8>(v);
    return true;
}

template <class T>
T readAddress(Rix::StrepPos& pos, const Rix::StrepPos& end) {
    std::string storage;
    return T(addressToken(pos, end, storage));
}

}  // namespace

std::string_view addressToken(Rix::StrepPos& pos, const Rix::StrepPos& end, std::string& storage) {
    Rix::skipSpace(pos, end);
    if (pos != end && *pos == '\'') {
        storage = Rix::sequenceToValue<Rix::String8>(pos, end).str();
        return storage;
    }
    const Rix::StrepPos start = pos;
    while (pos != end && isAddressChar(*pos)) ++pos;
    if (pos == start) {
        throw Rix::RangeException(
            pos == end ? std::string("expected an address but the text ended")
                       : "expected an address at '" +
                             std::string(pos.raw(), std::min<std::ptrdiff_t>(end - pos, 20)) + "'");
    }
    return std::string_view(start.raw(), static_cast<std::size_t>(pos - start));
}

EthAddr::EthAddr(std::string_view text) {
    const std::string_view t = unquote(text);
    std::size_t i = 0;
    for (int b = 0; b < 6; ++b) {
        if (b > 0) {
            if (i >= t.size() || t[i] != ':') bad("Ethernet address", text);
            ++i;
        }
        const int hi = i < t.size() ? hexDigit(t[i]) : -1;
        const int lo = i + 1 < t.size() ? hexDigit(t[i + 1]) : -1;
        if (hi < 0 || lo < 0) bad("Ethernet address", text);
        bytes_[b] = static_cast<U8>(hi * 16 + lo);
        i += 2;
    }
    if (i != t.size()) bad("Ethernet address", text);
}

std::string EthAddr::str() const {
    return Rix::format("%02x:%02x:%02x:%02x:%02x:%02x", bytes_[0], bytes_[1], bytes_[2], bytes_[3],
                       bytes_[4], bytes_[5]);
}

IpAddr::IpAddr(std::string_view text) {
    if (!parseIpv4(unquote(text), bytes_)) bad("IPv4 address", text);
}

std::string IpAddr::str() const {
    return Rix::format("%u.%u.%u.%u", bytes_[0], bytes_[1], bytes_[2], bytes_[3]);
}

Ip6Addr::Ip6Addr(std::string_view text) {
    if (!parseIpv6(unquote(text), bytes_)) bad("IPv6 address", text);
}

std::string Ip6Addr::str() const {
    U16 g[8];
    for (int i = 0; i < 8; ++i) g[i] = static_cast<U16>((bytes_[2 * i] << 8) | bytes_[2 * i + 1]);
    // IPv4-mapped addresses keep the dotted form for their last 32 bits
    const bool mapped =
        g[0] == 0 && g[1] == 0 && g[2] == 0 && g[3] == 0 && g[4] == 0 && g[5] == 0xffff;
    const int groups = mapped ? 6 : 8;
    int bestStart = -1, bestLen = 0;
    for (int i = 0; i < groups;) {
        if (g[i] != 0) {
            ++i;
            continue;
        }
        int j = i;
        while (j < groups && g[j] == 0) ++j;
        if (j - i > bestLen) {
            bestStart = i;
            bestLen = j - i;
        }
        i = j;
    }
    if (bestLen < 2) bestStart = -1;
    std::string s;
    for (int i = 0; i < groups; ++i) {
        if (i == bestStart) {
            s += "::";
            i += bestLen - 1;
            continue;
        }
        if (!s.empty() && s.back() != ':') s += ':';
        s += Rix::format("%x", g[i]);
    }
    if (mapped) {
        if (s.back() != ':') s += ':';
        s += Rix::format("%u.%u.%u.%u", bytes_[12], bytes_[13], bytes_[14], bytes_[15]);
    }
    return s;
}

IpAddrWithMask::IpAddrWithMask(IpAddr addr, U8 maskLen) : addr_(addr), len_(maskLen) {
    if (maskLen > 32) throw Rix::RangeException(Rix::format("bad IPv4 prefix length: %u", maskLen));
}

IpAddrWithMask::IpAddrWithMask(std::string_view text) {
    std::string_view a;
    U8 b[4];
    if (!splitPrefix(unquote(text), 32, a, len_) || !parseIpv4(a, b)) bad("IPv4 prefix", text);
    addr_ = IpAddr(b[0], b[1], b[2], b[3]);
}

IpAddrWithMask::IpAddrWithMask(Rix::NboAttrLog::In* in, Rix::StreamBogon)
    : addr_(in, Rix::StreamBogon{}) {
    *this = IpAddrWithMask(addr_, in->nextU8());
}

std::string IpAddrWithMask::str() const { return addr_.str() + "/" + std::to_string(len_); }

Ip6AddrWithMask::Ip6AddrWithMask(Ip6Addr addr, U8 maskLen) : addr_(addr), len_(maskLen) {
    if (maskLen > 128)
        throw Rix::RangeException(Rix::format("bad IPv6 prefix length: %u", maskLen));
}

Ip6AddrWithMask::Ip6AddrWithMask(std::string_view text) {
    std::string_view a;
    U8 b[16];
    if (!splitPrefix(unquote(text), 128, a, len_) || !parseIpv6(a, b)) bad("IPv6 prefix", text);
    addr_ = Ip6Addr(b);
}

Ip6AddrWithMask::Ip6AddrWithMask(Rix::NboAttrLog::In* in, Rix::StreamBogon)
    : addr_(in, Rix::StreamBogon{}) {
    *this = Ip6AddrWithMask(addr_, in->nextU8());
}

std::string Ip6AddrWithMask::str() const { return addr_.str() + "/" + std::to_string(len_); }

#define WIREX_ADDRESS_FUNCTIONS(T)                                                       \
    std::ostream& operator<<(std::ostream& os, const T& v) { return os << v.str(); }     \
    Rix::String8 valueToStrep(const T& v) { return Rix::String8(Rix::quoted(v.str())); } \
    T sequenceToValue(Rix::StrepPos& pos, const Rix::StrepPos& end, T*) {                \
        return readAddress<T>(pos, end);                                                 \
    }
WIREX_ADDRESS_FUNCTIONS(EthAddr)
WIREX_ADDRESS_FUNCTIONS(IpAddr)
WIREX_ADDRESS_FUNCTIONS(Ip6Addr)
WIREX_ADDRESS_FUNCTIONS(IpAddrWithMask)
WIREX_ADDRESS_FUNCTIONS(Ip6AddrWithMask)
#undef WIREX_ADDRESS_FUNCTIONS

void nboWrite(Rix::NboAttrLog::Out& out, const EthAddr& v) { out.bytesAppend(v.bytes(), 6); }
void nboWrite(Rix::NboAttrLog::Out& out, const IpAddr& v) { out.bytesAppend(v.bytes(), 4); }
void nboWrite(Rix::NboAttrLog::Out& out, const Ip6Addr& v) { out.bytesAppend(v.bytes(), 16); }
void nboWrite(Rix::NboAttrLog::Out& out, const IpAddrWithMask& v) {
    nboWrite(out, v.address());
    out.nextU8(v.maskLen());
}
void nboWrite(Rix::NboAttrLog::Out& out, const Ip6AddrWithMask& v) {
    nboWrite(out, v.address());
    out.nextU8(v.maskLen());
}

}  // namespace Wirex
