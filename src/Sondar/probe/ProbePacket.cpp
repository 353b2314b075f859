#include "Sondar/probe/ProbePacket.h"

#include "Rix/Assert.h"
#include "Rix/Clock.h"
#include "Sondar/SondarTrace.h"
#include "Sondar/stats/Epoch.h"

namespace Sondar {

ProbePacket::ProbePacket(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
                         Bridging::VlanIdOrNone vlanTagOrNone, Wirex::IpTtl ttl,
                         Wirex::IpAddr srcIp, Wirex::IpAddr dstIp, Wirex::IpProto ipProtocol,
                         U16 srcPort, U16 dstPort, U32 epochSeconds, U32 epochUSeconds,
                         const U64& sequenceNumber, Wirex::IpAddr originIntfIp, U32 egressIfIndex,
                         const Wirex::EthAddr& egressSrcMac, const Wirex::EthAddr& egressDstMac,
                         Bridging::VlanIdOrNone egressVlanTagOrNone, U32 interval)
    : TorkPacket(srcMac, dstMac, vlanTagOrNone, ttl, srcIp, dstIp, ipProtocol, srcPort, dstPort,
                 epochSeconds, epochUSeconds, sequenceNumber) {
    handleInitialized(srcMac, dstMac, vlanTagOrNone, ttl, srcIp, dstIp, ipProtocol, srcPort,
                      dstPort);
    handleProbeInitialized(epochSeconds, epochUSeconds, sequenceNumber, originIntfIp, egressIfIndex,
                           egressSrcMac, egressDstMac, egressVlanTagOrNone, interval);
}

void ProbePacket::torkHdrIs(TorkProbeHdr* hdr) { torkHdr_ = hdr; }

void ProbePacket::handleProbeInitialized(U32 epochSeconds, U32 epochUSeconds,
                                         const U64& sequenceNumber, Wirex::IpAddr originIntfIp,
                                         U32 egressIfIndex, const Wirex::EthAddr& egressSrcMac,
                                         const Wirex::EthAddr& egressDestMac,
                                         Bridging::VlanIdOrNone egressVlanTag, U32 interval) {
    RIX_TRACE_ENTRY(sondarTrace);
    // Without a packet (its allocation failed) there is no header: the probe cannot exist.
    torkHdrIs(pkt() ? reinterpret_cast<TorkProbeHdr*>(pkt()->frontData() + pktOffset()) : nullptr);
    RIX_ASSERT(torkHdr());
    TorkProbeHdr* const hdr = torkHdr();
    hdr->epochSecondsImplIs(Wirex::NetU32(epochSeconds));
    hdr->epochUSecondsImplIs(Wirex::NetU32(epochUSeconds));
    hdr->sequenceNumberImplIs(Wirex::NetU64(sequenceNumber));

    RIX_ASSERT(pkt());
    pktOffsetInc(probeHdrSize);
    RIX_ASSERT(rawPtrs()->ipHdr());
    Wirex::IpHdr* const ip = rawPtrs()->ipHdr();
    ip->totalLengthIs(static_cast<U16>(ip->totalLength() + probeHdrSize));
    if (ip->protocol().value() == Wirex::IpProto::udp) {
        RIX_ASSERT(rawPtrs()->udpHdr());
        Wirex::UdpHdr* const udp = rawPtrs()->udpHdr();
        udp->lengthIs(static_cast<U16>(udp->length() + probeHdrSize));
    }

    hdr->messageTypeIs(torkProbe);
    hdr->versionImplIs(Wirex::NetU8(1));
    hdr->originIntfIpIs(originIntfIp);
    hdr->egressIfIndexImplIs(Wirex::NetU32(egressIfIndex));
    hdr->egressSrcMacIs(egressSrcMac);
    hdr->egressDestMacIs(egressDestMac);
    hdr->egressTagControlIs(
        egressVlanTag.value() == 0
            ? Wirex::Eth8021QTagControl()
            : Wirex::Eth8021QTagControl(0, false, static_cast<U16>(egressVlanTag.value() & 0xfff)));
    // The probe records the TTL with which it left.
    hdr->ttlImplIs(Wirex::NetU8(ip->ttl().value()));
    hdr->unusedIs(Wirex::NetU8(0));
    hdr->intervalImplIs(Wirex::NetU32(interval));
    doComputePktChecksums();
}

bool ProbePacket::incrementWithRecomputation(U64 seq) {
    TorkProbeHdr* const hdr = torkHdr_;
    bool wrapped = false;
    if (seq == ~U64{0}) {
        const Rix::WallClockTime now = Rix::wallClock();
        // Checked before anything is written, so a bad reading leaves the packet as it was.
        const Epoch epoch(static_cast<U32>(now.seconds),
                          now.useconds > 999999 ? 1000000u : static_cast<U32>(now.useconds));
        hdr->epochSecondsImplIs(Wirex::NetU32(epoch.seconds()));
        hdr->epochUSecondsImplIs(Wirex::NetU32(epoch.useconds()));
        hdr->sequenceNumberImplIs(Wirex::NetU64(1));
        wrapped = true;
    } else {
        hdr->sequenceNumberImplIs(Wirex::NetU64(seq + 1));
    }
    doComputePktChecksums();
    return wrapped;
}

void ProbePacket::doUpdateInterval(U32 newInterval) {
    RIX_TRACE_ENTRY(sondarTrace);
    torkHdr_->intervalImplIs(Wirex::NetU32(newInterval));
    doComputePktChecksums();
}

Rix::Ptr<ProbePacket> probePacketFactory(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
                                         Bridging::VlanIdOrNone vlanTagOrNone, Wirex::IpTtl ttl,
                                         Wirex::IpAddr srcIp, Wirex::IpAddr dstIp,
                                         Wirex::IpProto ipProtocol, U16 srcPort, U16 dstPort,
                                         U32 epochSeconds, U32 epochUSeconds,
                                         const U64& sequenceNumber, Wirex::IpAddr originIntfIp,
                                         U32 egressIfIndex, const Wirex::EthAddr& egressSrcMac,
                                         const Wirex::EthAddr& egressDstMac,
                                         Bridging::VlanIdOrNone egressVlanTagOrNone, U32 interval) {
    return Rix::Ptr<ProbePacket>(
        new ProbePacket(srcMac, dstMac, vlanTagOrNone, ttl, srcIp, dstIp, ipProtocol, srcPort,
                        dstPort, epochSeconds, epochUSeconds, sequenceNumber, originIntfIp,
                        egressIfIndex, egressSrcMac, egressDstMac, egressVlanTagOrNone, interval));
}

}  // namespace Sondar
