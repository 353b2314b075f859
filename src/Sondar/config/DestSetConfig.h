#pragma once
// A block of destinations: a first address with its prefix length, and a count, for IPv4
// (IpDestSetConfig) and IPv6 (Ip6DestSetConfig). The model stores the block; the transmitter
// decides how it expands into addresses.
#include <string_view>
#include <tuple>

#include "Rix/Value.h"
#include "Wirex/Addresses.h"

namespace Sondar {

template <class AddrWithMask, const std::string_view& Name>
class DestSetConfig {
  public:
    static constexpr std::string_view typeName = Name;
    static constexpr auto fields() {
        return std::tuple{Rix::field("ipStartDest", &DestSetConfig::ipStartDest_),
                          Rix::field("numIpAddrs", &DestSetConfig::numIpAddrs_)};
    }

    DestSetConfig() = default;
    DestSetConfig(const AddrWithMask& ipStartDest, U32 numIpAddrs)
        : ipStartDest_(ipStartDest), numIpAddrs_(numIpAddrs) {}
    // The key under which a transmitter keeps the block.
    const AddrWithMask& ipStartDest() const noexcept { return ipStartDest_; }
    void ipStartDestIs(const AddrWithMask& v) noexcept { ipStartDest_ = v; }
    U32 numIpAddrs() const noexcept { return numIpAddrs_; }
    void numIpAddrsIs(U32 v) noexcept { numIpAddrs_ = v; }

    RIX_VALUE(DestSetConfig)
    friend bool operator==(const DestSetConfig&, const DestSetConfig&) = default;
    friend auto operator<=>(const DestSetConfig&, const DestSetConfig&) = default;

  private:
    AddrWithMask ipStartDest_;
    U32 numIpAddrs_ = 0;
};

inline constexpr std::string_view ipDestSetConfigName = "Sondar::IpDestSetConfig";
inline constexpr std::string_view ip6DestSetConfigName = "Sondar::Ip6DestSetConfig";
using IpDestSetConfig = DestSetConfig<Wirex::IpAddrWithMask, ipDestSetConfigName>;
using Ip6DestSetConfig = DestSetConfig<Wirex::Ip6AddrWithMask, ip6DestSetConfigName>;

}  // namespace Sondar
