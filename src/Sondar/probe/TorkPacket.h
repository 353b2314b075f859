#pragma once
// TorkPacket owns one outgoing packet buffer per probe stream and lays the headers of a probe
// into it once: Ethernet, an optional 802.1Q tag, IPv4, and UDP or a lone TCP SYN. Between sends
// only a few fields and the checksums change, in place. ProbePacket appends the probe header.
#include "Bridging/VlanIdOrNone.h"
#include "Rix/Ptr.h"
#include "Rix/Types.h"
#include "Sondar/probe/HeaderPtrs.h"
#include "Sondar/probe/TorkHdr.h"
#include "Wirex/Addresses.h"
#include "Wirex/Headers.h"
#include "Wirex/NetTypes.h"
#include "Wirex/Pam.h"
#include "Wirex/Pkt.h"

namespace Sondar {

class TorkPacket : public Rix::PtrInterface {
  public:
    static constexpr U32 ethHdrSize = 14;
    static constexpr U32 dot1QHdrSize = 4;
    static constexpr U32 ipHdrSize = 20;
    static constexpr U32 tcpHdrSize = 20;
    static constexpr U32 udpHdrSize = 8;
    static constexpr U32 probeHdrSize = 48;

    // Lays nothing: the most derived constructor lays the headers with handleInitialized.
    // The epoch and sequence number are for the probe header that a derived packet appends.
    TorkPacket(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
               Bridging::VlanIdOrNone vlanTagOrNone, Wirex::IpTtl ttl, Wirex::IpAddr srcIp,
               Wirex::IpAddr dstIp, Wirex::IpProto ipProtocol, U16 srcPort, U16 dstPort,
               U32 epochSeconds, U32 epochUSeconds, const U64& sequenceNumber);
    ~TorkPacket() override;
    TorkPacket(const TorkPacket&) = delete;
    TorkPacket& operator=(const TorkPacket&) = delete;

    const Rix::Ptr<Wirex::Pkt>& pkt() const noexcept { return pkt_; }
    U32 pktOffset() const noexcept { return pktOffset_; }
    const Rix::Ptr<HeaderPtrs>& rawPtrs() const noexcept { return rawPtrs_; }

    virtual TorkHdr* torkHdr() const;
    virtual TorkHdr* torkHdr();
    virtual void pktOffsetInc(U32 n);
    // Setting the packet it already holds does nothing.
    virtual void pktIs(const Rix::Ptr<Wirex::Pkt>& pkt);
    virtual void pktOffsetIs(U32 offset);
    virtual void rawPtrsDel();
    // Keeps the current HeaderPtrs when it holds exactly these pointers, else replaces it.
    virtual Rix::Ptr<HeaderPtrs> rawPtrsIs(Wirex::EthHdr* ethHdr, Wirex::Eth8021QHdr* dot1QHdr,
                                           Wirex::IpHdr* ipHdr, Wirex::TcpHdr* tcpHdr,
                                           Wirex::UdpHdr* udpHdr);
    virtual void torkHdrIs(TorkHdr* hdr);

    // Takes a packet and lays the headers, all lengths covering the headers only. When no packet
    // can be had it traces the failure at level 8 and builds nothing: the packet stays null.
    void handleInitialized(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
                           Bridging::VlanIdOrNone vlanTageOrNone, Wirex::IpTtl ttl,
                           Wirex::IpAddr srcIp, Wirex::IpAddr dstIp, Wirex::IpProto ipProtocol,
                           U16 srcPort, U16 dstPort);
    // The largest probe: Ethernet, 802.1Q, IPv4, TCP and the probe header.
    static U32 maxSizeOfPacket();
    // Cuts the packet to the length its headers give, then recomputes the probe header's
    // checksum, the IPv4 header checksum and the transport checksum, in that order: the
    // transport checksum covers the final probe-header checksum.
    void doComputePktChecksums();
    // 0 when there is no such header.
    U16 srcPort() const;
    U16 dstPort() const;
    // Sends a new shared reference to the packet. True exactly when neither of the
    // transmitter's send-failure counters moved during the call.
    bool doTxPkt(const Rix::Ptr<Wirex::Pam>& pam);

  private:
    Rix::Ptr<Wirex::Pkt> pkt_;
    U32 pktOffset_ = 0;
    Rix::Ptr<HeaderPtrs> rawPtrs_;
    TorkHdr* torkHdr_ = nullptr;
};

}  // namespace Sondar
