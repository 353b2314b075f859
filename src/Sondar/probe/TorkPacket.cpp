#include "Sondar/probe/TorkPacket.h"

#include <new>

#include "Rix/Assert.h"
#include "Sondar/SondarTrace.h"

namespace Sondar {

TorkPacket::TorkPacket(const Wirex::EthAddr&, const Wirex::EthAddr&, Bridging::VlanIdOrNone,
                       Wirex::IpTtl, Wirex::IpAddr, Wirex::IpAddr, Wirex::IpProto, U16, U16, U32,
                       U32, const U64&) {}

TorkPacket::~TorkPacket() { rawPtrsDel(); }

TorkHdr* TorkPacket::torkHdr() const { return torkHdr_; }

TorkHdr* TorkPacket::torkHdr() { return torkHdr_; }

void TorkPacket::pktOffsetInc(U32 n) { pktOffset_ += n; }

void TorkPacket::pktIs(const Rix::Ptr<Wirex::Pkt>& pkt) {
    if (pkt_ == pkt) return;
    pkt_ = pkt;
}

void TorkPacket::pktOffsetIs(U32 offset) { pktOffset_ = offset; }

void TorkPacket::rawPtrsDel() { rawPtrs_ = nullptr; }

Rix::Ptr<HeaderPtrs> TorkPacket::rawPtrsIs(Wirex::EthHdr* ethHdr, Wirex::Eth8021QHdr* dot1QHdr,
                                           Wirex::IpHdr* ipHdr, Wirex::TcpHdr* tcpHdr,
                                           Wirex::UdpHdr* udpHdr) {
    if (!rawPtrs_ || !rawPtrs_->holds(ethHdr, dot1QHdr, ipHdr, tcpHdr, udpHdr)) {
        rawPtrs_ = newRawPtrs(ethHdr, dot1QHdr, ipHdr, tcpHdr, udpHdr);
    }
    return rawPtrs_;
}

void TorkPacket::torkHdrIs(TorkHdr* hdr) { torkHdr_ = hdr; }

U32 TorkPacket::maxSizeOfPacket() {
    RIX_TRACE_ENTRY(sondarTrace);
    return ethHdrSize + dot1QHdrSize + ipHdrSize + tcpHdrSize + probeHdrSize;
}

void TorkPacket::handleInitialized(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
                                   Bridging::VlanIdOrNone vlanTageOrNone, Wirex::IpTtl ttl,
                                   Wirex::IpAddr srcIp, Wirex::IpAddr dstIp,
                                   Wirex::IpProto ipProtocol, U16 srcPort, U16 dstPort) {
    RIX_TRACE_ENTRY(sondarTrace);
    pktIs(Wirex::globalPktManager()->newPkt());
    if (!pkt_) {
        RIX_TRACE(sondarTrace, 8, "Packet allocation failed for Tork Packet");
        return;
    }
    const bool tcp = ipProtocol.value() == Wirex::IpProto::tcp;
    const bool udp = ipProtocol.value() == Wirex::IpProto::udp;
    if (!tcp && !udp) {
        // Only a UDP or TCP probe can be built; anything else is a caller's mistake.
        RIX_ASSERT(false);
    }
    const U16 ipTotalLength = static_cast<U16>(ipHdrSize + (tcp ? tcpHdrSize : udpHdrSize));

    // Every header of the largest probe lies in this one contiguous, zero-filled region.
    U8* const front = pkt_->newSharedHeadData(maxSizeOfPacket());
    RIX_ASSERT(front);

    auto* eth = reinterpret_cast<Wirex::EthHdr*>(front + pktOffset_);
    pktOffsetInc(ethHdrSize);
    eth->dstIs(dstMac);
    eth->srcIs(srcMac);
    Wirex::Eth8021QHdr* dot1Q = nullptr;
    if (vlanTageOrNone.value() != 0) {
        eth->ethTypeIs(Wirex::ethTypeVlan);
        dot1Q = new (front + pktOffset_) Wirex::Eth8021QHdr(
            Wirex::Eth8021QTagControl(0, false, static_cast<U16>(vlanTageOrNone.value() & 0xfff)),
            Wirex::ethTypeIpv4);
        pktOffsetInc(dot1QHdrSize);
    } else {
        eth->ethTypeIs(Wirex::ethTypeIpv4);
    }

    auto* ip = new (front + pktOffset_) Wirex::IpHdr(ipTotalLength, ttl, ipProtocol, srcIp, dstIp);
    pktOffsetInc(ipHdrSize);

    Wirex::TcpHdr* tcpHdr = nullptr;
    Wirex::UdpHdr* udpHdr = nullptr;
    if (tcp) {
        // A lone SYN, deliberately: no options, and sequence, acknowledgement, window and urgent
        // pointer all zero as the header constructor leaves them; the probe header is its payload.
        tcpHdr = new (front + pktOffset_) Wirex::TcpHdr(srcPort, dstPort);
        pktOffsetInc(tcpHdrSize);
        tcpHdr->flagsIs(Wirex::TcpHdr::syn);
    } else {
        udpHdr = new (front + pktOffset_) Wirex::UdpHdr(srcPort, dstPort, udpHdrSize);
        pktOffsetInc(udpHdrSize);
    }
    rawPtrsIs(eth, dot1Q, ip, tcpHdr, udpHdr);
}

void TorkPacket::doComputePktChecksums() {
    RIX_TRACE_ENTRY(sondarTrace);
    RIX_ASSERT(rawPtrs()->ipHdr());
    Wirex::IpHdr* const ip = rawPtrs()->ipHdr();

    const U32 sizeOfPacket =
        ip->totalLength() + ethHdrSize + (rawPtrs()->dot1QHdr() ? dot1QHdrSize : 0);
    pkt()->bytesIs(sizeOfPacket);
    RIX_ASSERT(pkt()->bytes() == sizeOfPacket);

    const U8 protocol = ip->protocol().value();
    if (TorkHdr* const hdr = torkHdr()) {
        hdr->checksumImplIs(Wirex::IpChecksum(0));
        U16 length = 0;
        if (protocol == Wirex::IpProto::tcp) {
            length = static_cast<U16>(ip->payloadLength() - tcpHdrSize);
        } else if (protocol == Wirex::IpProto::udp) {
            RIX_ASSERT(rawPtrs()->udpHdr());
            length = static_cast<U16>(rawPtrs()->udpHdr()->length() - udpHdrSize);
        } else {
            RIX_ASSERT(0);
        }
        hdr->checksumImplIs(hdr->computedChecksum(length));
    }

    ip->checksumIs(Wirex::IpChecksum(0));
    ip->checksumIs(ip->computedChecksum());

    if (protocol == Wirex::IpProto::tcp) {
        RIX_ASSERT(rawPtrs()->tcpHdr());
        Wirex::TcpHdr* const tcpHdr = rawPtrs()->tcpHdr();
        tcpHdr->checksumIs(Wirex::IpChecksum(0));
        const Wirex::TcpPseudoHdr pseudo(ip->src(), ip->dst(), ip->payloadLength());
        tcpHdr->checksumIs(tcpHdr->computedChecksum(pseudo));
    } else if (protocol == Wirex::IpProto::udp) {
        RIX_ASSERT(rawPtrs()->udpHdr());
        Wirex::UdpHdr* const udpHdr = rawPtrs()->udpHdr();
        udpHdr->checksumIs(Wirex::IpChecksum(0));
        const Wirex::UdpPseudoHdr pseudo(ip->src(), ip->dst(), udpHdr->length());
        udpHdr->checksumIs(udpHdr->computedChecksum(pseudo));
    }
}

U16 TorkPacket::srcPort() const {
    RIX_TRACE_ENTRY(sondarTrace);
    if (!rawPtrs_ || !rawPtrs_->ipHdr()) return 0;
    switch (rawPtrs_->ipHdr()->protocol().value()) {
        case Wirex::IpProto::tcp:
            return rawPtrs_->tcpHdr() ? rawPtrs_->tcpHdr()->srcPort() : 0;
        case Wirex::IpProto::udp:
            return rawPtrs_->udpHdr() ? rawPtrs_->udpHdr()->srcPort() : 0;
        default:
            return 0;
    }
}

U16 TorkPacket::dstPort() const {
    RIX_TRACE_ENTRY(sondarTrace);
    if (!rawPtrs_ || !rawPtrs_->ipHdr()) return 0;
    switch (rawPtrs_->ipHdr()->protocol().value()) {
        case Wirex::IpProto::tcp:
            return rawPtrs_->tcpHdr() ? rawPtrs_->tcpHdr()->dstPort() : 0;
        case Wirex::IpProto::udp:
            return rawPtrs_->udpHdr() ? rawPtrs_->udpHdr()->dstPort() : 0;
        default:
            return 0;
    }
}

bool TorkPacket::doTxPkt(const Rix::Ptr<Wirex::Pam>& pam) {
    RIX_ASSERT(pam);
    RIX_ASSERT(pkt());
    // The first counter counts sends the backend could not perform, the second frames it refused
    // or lost; a send succeeded exactly when neither moved.
    const U64 sendErrors = pam->sendErrors();
    const U64 framesDropped = pam->framesDropped();
    pam->send(Rix::Ptr<Wirex::Pkt>(pkt_));
    if (pam->sendErrors() != sendErrors) return false;
    return pam->framesDropped() == framesDropped;
}

}  // namespace Sondar
