#pragma once
// Typed, non-owning pointers to the headers of one built probe packet. They point into the
// packet's buffer, are fixed when the headers are laid and live as long as that buffer.
#include "Rix/Ptr.h"
#include "Wirex/Headers.h"

namespace Sondar {

class HeaderPtrs : public Rix::PtrInterface {
  public:
    // dot1QHdr is null for an untagged packet; exactly one of tcpHdr and udpHdr is non-null.
    HeaderPtrs(Wirex::EthHdr* ethHdr, Wirex::Eth8021QHdr* dot1QHdr, Wirex::IpHdr* ipHdr,
               Wirex::TcpHdr* tcpHdr, Wirex::UdpHdr* udpHdr) noexcept
        : ethHdr_(ethHdr), dot1QHdr_(dot1QHdr), ipHdr_(ipHdr), tcpHdr_(tcpHdr), udpHdr_(udpHdr) {}

    Wirex::EthHdr* ethHdr() const noexcept { return ethHdr_; }
    Wirex::Eth8021QHdr* dot1QHdr() const noexcept { return dot1QHdr_; }
    Wirex::IpHdr* ipHdr() const noexcept { return ipHdr_; }
    Wirex::TcpHdr* tcpHdr() const noexcept { return tcpHdr_; }
    Wirex::UdpHdr* udpHdr() const noexcept { return udpHdr_; }

    bool holds(Wirex::EthHdr* eth, Wirex::Eth8021QHdr* dot1Q, Wirex::IpHdr* ip, Wirex::TcpHdr* tcp,
               Wirex::UdpHdr* udp) const noexcept {
        return eth == ethHdr_ && dot1Q == dot1QHdr_ && ip == ipHdr_ && tcp == tcpHdr_ &&
               udp == udpHdr_;
    }

  private:
    Wirex::EthHdr* const ethHdr_;
    Wirex::Eth8021QHdr* const dot1QHdr_;
    Wirex::IpHdr* const ipHdr_;
    Wirex::TcpHdr* const tcpHdr_;
    Wirex::UdpHdr* const udpHdr_;
};

inline Rix::Ptr<HeaderPtrs> newRawPtrs(Wirex::EthHdr* ethHdr, Wirex::Eth8021QHdr* dot1QHdr,
                                       Wirex::IpHdr* ipHdr, Wirex::TcpHdr* tcpHdr,
                                       Wirex::UdpHdr* udpHdr) {
    return Rix::Ptr<HeaderPtrs>(new HeaderPtrs(ethHdr, dot1QHdr, ipHdr, tcpHdr, udpHdr));
}

}  // namespace Sondar
