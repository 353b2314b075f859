#include "sondar/Generator.h"

#include <bit>

#include <algorithm>

#include "Rix/Exception.h"
#include "Rix/Format.h"
#include "Sondar/probe/ProbePacket.h"
#include "Wirex/Pkt.h"
#include "Wirex/PcapFile.h"

namespace SondarCli {

Rix::Ptr<Wirex::PcapWriter> pcapOutput(const std::string& path) {
    Rix::Ptr<Wirex::PcapWriter> writer(new Wirex::PcapWriter(path));
    writer->bufferedIs(true);
    return writer;
}
namespace {

const Wirex::EthAddr srcMac(0x00, 0x1c, 0x73, 0x00, 0x00, 0x01);
const Wirex::EthAddr dstMac(0x00, 0x1c, 0x73, 0x00, 0x00, 0x02);

// splitmix64: fast, and the same sequence on every platform for a given seed.
class Random {
  public:
    explicit Random(U64 seed) : state_(seed) {}
    U64 next() noexcept {
        U64 z = (state_ += 0x9e3779b97f4a7c15ull);
        z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ull;
        z = (z ^ (z >> 27)) * 0x94d049bb133111ebull;
        return z ^ (z >> 31);
    }
    // True with probability p, drawn from the top 53 bits.
    bool chance(double p) noexcept {
        return p > 0.0 && static_cast<double>(next() >> 11) * 0x1.0p-53 < p;
    }
    U32 below(U32 n) noexcept { return static_cast<U32>(next() % n); }

  private:
    U64 state_;
};

// A copy of a probe waiting to be written behind later ones.
struct Held {
    Rix::Ptr<Wirex::Pkt> pkt;
    U64 seq = 0;
    U64 due = 0;  // the slot after whose own probe it is written
};

// One stream's transmitter and the receive counts its written frames imply.
struct Transmitter {
    Rix::Ptr<Sondar::ProbePacket> probe;
    std::vector<Held> held;
    std::size_t heldMax = 0;
    StreamTruth truth;
    U64 seq = 0;
    // The current epoch as the receiver sees it.
    bool epochAny = false;
    bool anyEarlier = false;
    U64 minSeq = 0, maxSeq = 0, highest = 0, distinct = 0;
    // Copies of a sequence number written so far, by number modulo the size. Both copies of a
    // probe are written within the reorder depth of its slot, so the ring never wraps onto one
    // still in flight.
    std::vector<U8> written;
};

}  // namespace

void generateOptionsCheck(const GenerateOptions& o) {
    auto bad = [](const std::string& what) { throw Rix::RangeException(what); };
    if (o.destinations.empty()) bad("at least one destination is needed");
    if (o.ttls.empty()) bad("at least one TTL is needed");
    if (o.srcPorts.empty()) bad("at least one source port is needed");
    for (U8 t : o.ttls) {
        if (t == 0) bad("a TTL of 0 cannot be sent");
    }
    if (o.protocol != Wirex::IpProto::udp && o.protocol != Wirex::IpProto::tcp) {
        bad(Rix::format("protocol %u is neither UDP (17) nor TCP (6)", unsigned{o.protocol}));
    }
    if (o.vlan > Bridging::VlanIdOrNone::maxVlanId) {
        bad(Rix::format("VLAN %u is above %u", unsigned{o.vlan},
                        unsigned{Bridging::VlanIdOrNone::maxVlanId}));
    }
    if (o.firstSeq == 0) bad("the first sequence number must be at least 1");
    if (o.interval == 0) bad("the interval must be at least 1 microsecond");
    if (o.count == 0) bad("the probe count must be at least 1");
    if (o.count > (U64{1} << 32)) bad("at most 4294967296 probes per stream");
    if (o.firstSeq > ~U64{0} - o.count) bad("the sequence numbers would wrap");
    for (double p : {o.loss, o.duplication, o.reorder}) {
        if (!(p >= 0.0 && p <= 1.0)) bad("impairment probabilities lie between 0 and 1");
    }
    if (o.reorderDepth > 1024) bad("the reorder depth is at most 1024");
    if (o.restarts >= o.count) bad("fewer restarts than probes per stream are needed");
    const double span =
        static_cast<double>(o.epoch.seconds()) + static_cast<double>(o.count) * o.interval * 1e-6;
    if (span >= 4294967296.0) bad("the run would end beyond the 32-bit epoch seconds");
}

GenerateResult generate(const GenerateOptions& o, const Rix::Ptr<Wirex::Pam>& pam,
                        Wirex::PcapWriter* writer, const std::function<void(U64, U64)>& progress) {
    generateOptionsCheck(o);
    Random random(o.seed);
    Wirex::Pkt::Manager pool;
    std::vector<Transmitter> txs;
    for (Wirex::IpAddr dst : o.destinations) {
        for (U8 ttl : o.ttls) {
            for (U16 port : o.srcPorts) {
                Transmitter& tx = txs.emplace_back();
                Sondar::IngressStream& k = tx.truth.key;
                k.srcEthAddrIs(srcMac);
                k.dstEthAddrIs(dstMac);
                k.tagIs(Bridging::VlanIdOrNone(o.vlan));
                k.dstIpAddrIs(dst);
                k.egressIntfIpIs(o.srcIp);
                k.srcIpAddrIs(o.srcIp);
                k.ttlIs(ttl);
                k.ipTypeIs(Wirex::IpProto(o.protocol));
                k.srcPortIs(port);
                k.egressIfIndexIs(o.egressIfIndex);
                k.ingressIntfIs(o.ingressIntf);
                tx.heldMax = 2 * (std::size_t{o.reorderDepth} + 1);
                tx.held.reserve(tx.heldMax);
                // a power of two, so that a sequence number finds its place with a mask
                tx.written.assign(std::bit_ceil(2 * (std::size_t{o.reorderDepth} + 2)), 0);
            }
        }
    }

    GenerateResult result;
    const U64 framesBefore = pam->framesSent();

    auto deliver = [&](Transmitter& tx, U64 seq) {
        StreamTruth& t = tx.truth;
        ++t.received;
        if (!tx.epochAny) {
            tx.epochAny = true;
            tx.minSeq = tx.maxSeq = seq;
        }
        tx.minSeq = std::min(tx.minSeq, seq);
        tx.maxSeq = std::max(tx.maxSeq, seq);
        // A probe below the highest one before it is misordered; an equal one is not.
        if (seq < tx.highest) {
            ++t.misordered;
        } else {
            tx.highest = seq;
        }
        // A probe is written at most twice: the second copy to arrive, whichever it is, is the
        // duplicate.
        if (tx.written[seq & (tx.written.size() - 1)]++) {
            ++t.expectDuplicated;
        } else {
            ++tx.distinct;
        }
    };
    auto release = [&](Transmitter& tx, U64 slot, bool all) {
        std::size_t kept = 0;
        for (std::size_t i = 0; i < tx.held.size(); ++i) {
            Held& h = tx.held[i];
            if (all || h.due <= slot) {
                pam->send(h.pkt);
                deliver(tx, h.seq);
                h.pkt = nullptr;
            } else {
                if (kept != i) tx.held[kept] = std::move(h);
                ++kept;
            }
        }
        tx.held.resize(kept);
    };
    auto hold = [&](Transmitter& tx, U64 seq, U64 due) {
        if (tx.held.size() >= tx.heldMax) return false;
        Rix::Ptr<Wirex::Pkt> copy = pool.newPkt();
        const Rix::Ptr<Wirex::Pkt>& live = tx.probe->pkt();
        if (!copy || !copy->tailDataAppend(live->data(), live->bytes())) return false;
        tx.held.push_back(Held{std::move(copy), seq, due});
        return true;
    };
    // The receiver's view of an epoch ends: its loss is the gaps in the range it saw. A stream's
    // first epoch starts at its first received probe, a later one at 1.
    auto epochEnd = [&](Transmitter& tx, const Sondar::Epoch& epoch) {
        if (!tx.epochAny) return;
        const U64 base = tx.anyEarlier ? 1 : tx.minSeq;
        tx.truth.lost += tx.maxSeq - base + 1 - tx.distinct;
        tx.truth.currentEpoch = epoch;
        tx.anyEarlier = true;
        tx.epochAny = false;
        tx.highest = 0;
        tx.distinct = 0;
    };

    const U64 startUs = U64{o.epoch.seconds()} * 1000000 + o.epoch.useconds();
    Sondar::Epoch epoch = o.epoch;
    U32 epochIndex = 0;
    U64 nextRestart = o.restarts ? o.count / (o.restarts + 1) : ~U64{0};
    for (U64 slot = 0; slot < o.count; ++slot) {
        const U64 nowUs = startUs + slot * o.interval;
        if (writer) writer->timeIs(nowUs / 1000000, static_cast<U32>(nowUs % 1000000));
        bool fresh = slot == 0;
        if (slot == nextRestart) {
            // The restarted transmitter reads its new epoch from the clock and numbers from 1.
            for (Transmitter& tx : txs) {
                release(tx, slot, true);
                epochEnd(tx, epoch);
            }
            epoch =
                Sondar::Epoch(static_cast<U32>(nowUs / 1000000), static_cast<U32>(nowUs % 1000000));
            ++epochIndex;
            nextRestart =
                epochIndex < o.restarts ? o.count * (epochIndex + 1) / (o.restarts + 1) : ~U64{0};
            fresh = true;
        }
        for (Transmitter& tx : txs) {
            if (fresh) {
                const Sondar::IngressStream& k = tx.truth.key;
                tx.seq = slot == 0 ? o.firstSeq : 1;
                tx.probe = nullptr;
                tx.probe = Sondar::probePacketFactory(
                    srcMac, dstMac, k.tag(), Wirex::IpTtl(k.ttl()), k.srcIpAddr(), k.dstIpAddr(),
                    k.ipType(), k.srcPort(), o.dstPort, epoch.seconds(), epoch.useconds(), tx.seq,
                    k.egressIntfIp(), k.egressIfIndex(), srcMac, dstMac, k.tag(), o.interval);
                if (!tx.probe || !tx.probe->pkt()) {
                    throw Rix::RuntimeException("no packet buffer for a probe");
                }
                ++tx.truth.epochs;
            } else {
                tx.probe->doIncrementSequenceNumber();
                ++tx.seq;
            }
            StreamTruth& t = tx.truth;
            ++t.sent;
            tx.written[tx.seq & (tx.written.size() - 1)] = 0;
            if (random.chance(o.loss)) {
                ++t.dropped;
            } else {
                bool heldBack = false;
                if (o.reorderDepth && random.chance(o.reorder)) {
                    heldBack = hold(tx, tx.seq, slot + 1 + random.below(o.reorderDepth));
                    if (heldBack) ++t.reordered;
                }
                if (!heldBack) {
                    tx.probe->doTxPkt(pam);
                    deliver(tx, tx.seq);
                }
                if (random.chance(o.duplication)) {
                    ++t.duplicated;
                    const U32 delay = o.reorderDepth ? random.below(o.reorderDepth + 1) : 0;
                    if (delay == 0 || !hold(tx, tx.seq, slot + delay)) {
                        tx.probe->doTxPkt(pam);
                        deliver(tx, tx.seq);
                    }
                }
            }
            if (!tx.held.empty()) release(tx, slot, false);
        }
        if (progress && (slot & 0xffff) == 0xffff) progress(slot + 1, o.count);
    }
    for (Transmitter& tx : txs) {
        release(tx, o.count, true);
        epochEnd(tx, epoch);
    }
    if (writer && !writer->flush()) {
        throw Rix::RuntimeException("cannot write pcap file '" + writer->path() + "'");
    }
    if (pam->sendErrors() || pam->framesDropped()) {
        throw Rix::RuntimeException(
            Rix::format("the transmitter failed: %llu send errors, %llu frames dropped",
                        static_cast<unsigned long long>(pam->sendErrors()),
                        static_cast<unsigned long long>(pam->framesDropped())));
    }
    result.framesWritten = pam->framesSent() - framesBefore;
    for (Transmitter& tx : txs) result.streams.push_back(tx.truth);
    std::stable_sort(result.streams.begin(), result.streams.end(),
                     [](const StreamTruth& a, const StreamTruth& b) { return a.key < b.key; });
    return result;
}

}  // namespace SondarCli
