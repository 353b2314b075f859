#include "sondar/Analyzer.h"

#include <algorithm>

#include "Rix/Clock.h"
#include "Sondar/probe/TorkHdr.h"
#include "Wirex/Checksum.h"
#include "Wirex/FrameParser.h"

namespace SondarCli {

StreamCount& StreamTable::streamFor(const Sondar::IngressStream& key) {
    // A direct-mapped cache in front of the map: a cheap mix of the fields that tell streams apart
    // most often picks the slot, and a full comparison confirms it.
    const U32 mix = key.dstIpAddr().value() * 0x9e3779b1u + key.srcIpAddr().value() * 0x85ebca6bu +
                    (U32{key.srcPort()} << 8) + key.ttl() + key.egressIfIndex() * 0xc2b2ae35u;
    StreamCount*& slot = cache_[(mix ^ (mix >> 15)) % cacheSize];
    if (slot && slot->key == key) return *slot;
    auto it = index_.find(key);
    if (it == index_.end()) {
        StreamCount& entry = entries_.emplace_back();
        entry.key = key;
        it = index_.emplace(key, &entry).first;
    }
    slot = it->second;
    return *slot;
}

void StreamTable::doCalcLoss() {
    for (StreamCount& s : entries_) s.counter.doCalcLoss();
}

std::vector<const StreamCount*> StreamTable::sorted() const {
    std::vector<const StreamCount*> out;
    out.reserve(entries_.size());
    for (const StreamCount& s : entries_) out.push_back(&s);
    std::stable_sort(out.begin(), out.end(),
                     [](const StreamCount* a, const StreamCount* b) { return a->key < b->key; });
    return out;
}

namespace {

bool isTruncation(Wirex::FrameStatus s) {
    using S = Wirex::FrameStatus;
    return s == S::truncatedEthernet || s == S::truncatedVlanTag || s == S::truncatedIpHeader ||
           s == S::truncatedIpPacket || s == S::truncatedUdp || s == S::truncatedTcp;
}

bool isOtherTraffic(Wirex::FrameStatus s) {
    using S = Wirex::FrameStatus;
    return s == S::notIpv4 || s == S::notUdpOrTcp || s == S::ipFragment;
}

}  // namespace

void Analyzer::frameIs(const U8* data, U32 length, U32 wireLength) {
    FrameTotals& t = totals_;
    ++t.frames;
    const Wirex::ParsedFrame f = Wirex::parseFrame(data, length);
    if (length < wireLength || isTruncation(f.status)) [[unlikely]] {
        ++t.truncated;
        if (!t.firstTruncatedFrame) t.firstTruncatedFrame = t.frames;
        return;
    }
    if (!f.ok()) {
        if (isOtherTraffic(f.status)) {
            ++t.notProbes;
        } else {
            ++t.malformed;
        }
        return;
    }
    const U16 dstPort = f.udp ? f.udp->dstPort() : f.tcp->dstPort();
    if (dstPort != options_.dstPort || f.payloadLength < sizeof(Sondar::TorkProbeHdr)) {
        ++t.notProbes;
        return;
    }
    const auto* hdr = reinterpret_cast<const Sondar::TorkProbeHdr*>(data + f.payloadOffset);
    if (hdr->messageType() != Sondar::torkProbe) {
        ++t.notProbes;
        return;
    }

    if (!f.ip->checksumOk()) {
        ++t.badIpChecksum;
        return;
    }
    // The probe header is the transport payload: its sum is taken once and serves both the
    // probe checksum and, added to the transport header's, the UDP or TCP checksum.
    const U16 probeSum = Wirex::ipChecksumPartial(hdr, f.payloadLength);
    // A zero UDP checksum means the sender computed none.
    if (!(f.udp && f.udp->checksum().value() == 0)) {
        const U16 segment = static_cast<U16>(f.payloadOffset - f.transportOffset + f.payloadLength);
        // The pseudo-header's words, summed without laying it out.
        const U32 src = f.ip->src().value(), dst = f.ip->dst().value();
        const U32 pseudo = (src >> 16) + (src & 0xffff) + (dst >> 16) + (dst & 0xffff) +
                           f.ip->protocol().value() + segment;
        const U16 headerSum = Wirex::ipChecksumPartial(data + f.transportOffset,
                                                       f.payloadOffset - f.transportOffset, pseudo);
        if (Wirex::ipChecksumPartial(nullptr, 0, U32{headerSum} + probeSum) != 0xffff) {
            ++t.badTransportChecksum;
            return;
        }
    }
    if (probeSum != 0xffff) {
        ++t.badProbeChecksum;
        return;
    }
    const U32 useconds = hdr->epochUSecondsImpl().value();
    if (useconds > 999999) {
        ++t.badEpoch;
        return;
    }

    Sondar::IngressStream key;
    key.srcEthAddrIs(hdr->egressSrcMac());
    key.dstEthAddrIs(hdr->egressDestMac());
    key.tagIs(Bridging::VlanIdOrNone(hdr->egressTagControl().vlanId()));
    key.dstIpAddrIs(f.ip->dst());
    key.egressIntfIpIs(hdr->originIntfIp());
    key.srcIpAddrIs(f.ip->src());
    // The TTL the probe left with: the IP header's falls on every hop.
    key.ttlIs(hdr->ttlImpl().value());
    key.ipTypeIs(f.ip->protocol());
    key.srcPortIs(f.udp ? f.udp->srcPort() : f.tcp->srcPort());
    key.egressIfIndexIs(hdr->egressIfIndexImpl().value());
    key.ingressIntfIs(options_.ingressIntf);

    StreamCount& s = streams_.streamFor(key);
    const Sondar::Epoch epoch(hdr->epochSecondsImpl().value(), useconds);
    s.counter.epochIs(epoch);
    s.counter.setCurrentSequenceNumber(hdr->sequenceNumberImpl().value(), epoch);
    s.counter.probesReceivedIs(s.counter.probesReceived() + 1);
    ++t.probes;
    if (options_.calcEvery && t.frames % options_.calcEvery == 0) streams_.doCalcLoss();
}

void Analyzer::sourceIs(Wirex::FrameSource& source, const std::function<void(U64)>& progress) {
    constexpr unsigned batch = 256;
    Wirex::Frame frame;
    bool more = true;
    while (more) {
        // One clock read per batch: the counters' time stamps are the batch's time.
        Rix::LoopTime loopTime;
        for (unsigned i = 0; i < batch; ++i) {
            more = source.nextFrame(frame);
            if (!more) break;
            frameIs(frame.data, frame.length, frame.wireLength);
        }
        if (progress && (totals_.frames & 0xfffff) < batch) progress(totals_.frames);
    }
}

}  // namespace SondarCli
