#pragma once
// ProbePacket is the packet a transmitter keeps for one probe stream and sends again and again:
// a TorkPacket with the 48-byte probe header appended behind the transport header. Between
// sends only the sequence number, the epoch (on wrap-around) and the interval change, and every
// change leaves all checksums of the packet correct.
#include "Sondar/SondarTrace.h"
#include "Sondar/probe/TorkPacket.h"

namespace Sondar {

class ProbePacket : public TorkPacket {
  public:
    ProbePacket(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
                Bridging::VlanIdOrNone vlanTagOrNone, Wirex::IpTtl ttl, Wirex::IpAddr srcIp,
                Wirex::IpAddr dstIp, Wirex::IpProto ipProtocol, U16 srcPort, U16 dstPort,
                U32 epochSeconds, U32 epochUSeconds, const U64& sequenceNumber,
                Wirex::IpAddr originIntfIp, U32 egressIfIndex, const Wirex::EthAddr& egressSrcMac,
                const Wirex::EthAddr& egressDstMac, Bridging::VlanIdOrNone egressVlanTagOrNone,
                U32 interval);

    TorkProbeHdr* torkHdr() const override { return torkHdr_; }
    TorkProbeHdr* torkHdr() override { return torkHdr_; }
    using TorkPacket::torkHdrIs;
    virtual void torkHdrIs(TorkProbeHdr* hdr);

    // Appends the probe header behind the transport header, fills it, grows the IPv4 (and UDP)
    // length by its 48 bytes and computes every checksum.
    void handleProbeInitialized(U32 epochSeconds, U32 epochUSeconds, const U64& sequenceNumber,
                                Wirex::IpAddr originIntfIp, U32 egressIfIndex,
                                const Wirex::EthAddr& egressSrcMac,
                                const Wirex::EthAddr& egressDestMac,
                                Bridging::VlanIdOrNone egressVlanTag, U32 interval);
    // Advances the sequence number for the next send. From all ones it wraps to 1 under a new
    // epoch read from the wall clock and returns true. A clock reading with more than 999999
    // microseconds throws "Epoch::useconds >= 1000000 not allowed" and changes nothing.
    bool doIncrementSequenceNumber();
    void doUpdateInterval(U32 newInterval);

  private:
    // The wrap to a new epoch, and every increment while level 8 traces: the plain way, with all
    // checksums recomputed.
    bool incrementWithRecomputation(U64 seq);

    TorkProbeHdr* torkHdr_ = nullptr;
};

// Inline: it runs once per probe sent.
inline bool ProbePacket::doIncrementSequenceNumber() {
    TorkProbeHdr* const hdr = torkHdr_;
    const U64 seq = hdr->sequenceNumberImpl().value();
    if (seq == ~U64{0} || sondarTrace.enabled(8)) [[unlikely]] {
        return incrementWithRecomputation(seq);
    }
    // Only the sequence number and the probe-header checksum change. A 64-bit number is congruent
    // to the sum of its four 16-bit words modulo 0xffff (2^16 is 1 there), so adding one to it
    // adds one to the ones'-complement sum of the header: the complemented checksum goes down by
    // one, 0 going to 0xfffe since a sum of bytes that are not all zero never folds to 0. This is
    // RFC 1624's incremental update solved for m' = m + 1; it gives the very value a full
    // recomputation gives. The transport checksum covers the probe header together with its
    // checksum, whose ones'-complement sum is always 0xffff, so it does not change; neither do
    // the lengths and the IPv4 header.
    hdr->sequenceNumberImplIs(Wirex::NetU64(seq + 1));
    const U16 checksum = hdr->checksumImpl().value();
    hdr->checksumImplIs(Wirex::IpChecksum(checksum == 0 ? U16{0xfffe} : U16(checksum - 1)));
    return false;
}

Rix::Ptr<ProbePacket> probePacketFactory(const Wirex::EthAddr& srcMac, const Wirex::EthAddr& dstMac,
                                         Bridging::VlanIdOrNone vlanTagOrNone, Wirex::IpTtl ttl,
                                         Wirex::IpAddr srcIp, Wirex::IpAddr dstIp,
                                         Wirex::IpProto ipProtocol, U16 srcPort, U16 dstPort,
                                         U32 epochSeconds, U32 epochUSeconds,
                                         const U64& sequenceNumber, Wirex::IpAddr originIntfIp,
                                         U32 egressIfIndex, const Wirex::EthAddr& egressSrcMac,
                                         const Wirex::EthAddr& egressDstMac,
                                         Bridging::VlanIdOrNone egressVlanTagOrNone, U32 interval);

}  // namespace Sondar
