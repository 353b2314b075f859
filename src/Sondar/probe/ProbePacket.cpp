#include "Sondar/probe/ProbePacket.h"

#include "Rix/Assert.h"
#include "Rix/Clock.h"
#include "Sondar/SondarTrace.h"
#include "Sondar/stats/Epoch.h"

namespace Sondar {

namespace {

// Folds a sum of 16- and 32-bit pieces to the 16-bit ones'-complement sum. Since 2^16 and 2^32
// are both 1 modulo 0xffff, any positive total folds to the value in 1..0xffff that a word-by-word
// RFC 1071 sum of the same bytes gives.
inline U16 onesComplementFold(U64 sum) noexcept {
    sum = (sum & 0xffffffffu) + (sum >> 32);
    sum = (sum & 0xffffu) + (sum >> 16);
    sum = (sum & 0xffffu) + (sum >> 16);
    sum = (sum & 0xffffu) + (sum >> 16);
    return static_cast<U16>(sum);
}

}  // namespace

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

bool ProbePacket::doIncrementSequenceNumber() {
    TorkProbeHdr* const hdr = torkHdr_;
    const U64 seq = hdr->sequenceNumberImpl().value();
    if (seq == ~U64{0}) [[unlikely]] {
        const Rix::WallClockTime now = Rix::wallClock();
        // Checked before anything is written, so a bad reading leaves the packet as it was.
        const Epoch epoch(static_cast<U32>(now.seconds),
                          now.useconds > 999999 ? 1000000u : static_cast<U32>(now.useconds));
        hdr->epochSecondsImplIs(Wirex::NetU32(epoch.seconds()));
        hdr->epochUSecondsImplIs(Wirex::NetU32(epoch.useconds()));
        hdr->sequenceNumberImplIs(Wirex::NetU64(1));
        doComputePktChecksums();
        return true;
    }
    const U64 next = seq + 1;
    if (sondarTrace.enabled(8)) [[unlikely]] {
        // The full recomputation traces its signature; keep that visible when the level is on.
        hdr->sequenceNumberImplIs(Wirex::NetU64(next));
        doComputePktChecksums();
        return false;
    }
    // Only the sequence number and the probe-header checksum change. The probe-header checksum is
    // updated incrementally (RFC 1624: HC' = ~(~HC + ~m + m')); the sum stays positive, so the
    // result is the very value a full recomputation gives. The transport checksum covers the
    // probe header together with its checksum, whose ones'-complement sum is always 0xffff, so it
    // does not change; neither do the lengths or the IPv4 header.
    const U16 oldChecksum = hdr->checksumImpl().value();
    const U64 sum = U64{static_cast<U16>(~oldChecksum)} + U64{static_cast<U32>(~(seq >> 32))} +
                    U64{static_cast<U32>(~seq)} + (next >> 32) + U64{static_cast<U32>(next)};
    hdr->sequenceNumberImplIs(Wirex::NetU64(next));
    hdr->checksumImplIs(Wirex::IpChecksum(static_cast<U16>(~onesComplementFold(sum))));
    return false;
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
