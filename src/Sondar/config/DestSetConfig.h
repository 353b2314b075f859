#pragma once
// A block of destinations: a first address with its prefix length, and a count, for IPv4
// (IpDestSetConfig) and IPv6 (Ip6DestSetConfig). The model stores the block; the transmitter
// decides how it expands into addresses.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"
#include "Wirex/Addresses.h"

namespace Sondar {

// ipStartDest is also the key under which a transmitter keeps the block.
#define SONDAR_DEST_SET_CONFIG_FIELDS(X) \
    X(AddrWithMask, ipStartDest, {}, rw) \
    X(U32, numIpAddrs, 0, rw)

template <class AddrWithMask, const std::string_view& Name>
class DestSetConfig {
    RIX_VALUE_TYPE(DestSetConfig, Name, SONDAR_DEST_SET_CONFIG_FIELDS)
    DestSetConfig() = default;
    DestSetConfig(const AddrWithMask& ipStartDest, U32 numIpAddrs)
        : ipStartDest_(ipStartDest), numIpAddrs_(numIpAddrs) {}
    friend bool operator==(const DestSetConfig&, const DestSetConfig&) = default;
    friend auto operator<=>(const DestSetConfig&, const DestSetConfig&) = default;
};

inline constexpr std::string_view ipDestSetConfigName = "Sondar::IpDestSetConfig";
inline constexpr std::string_view ip6DestSetConfigName = "Sondar::Ip6DestSetConfig";
using IpDestSetConfig = DestSetConfig<Wirex::IpAddrWithMask, ipDestSetConfigName>;
using Ip6DestSetConfig = DestSetConfig<Wirex::Ip6AddrWithMask, ip6DestSetConfigName>;

}  // namespace Sondar
