#pragma once
// `sondar generate`: probe streams built by ProbePackets and written through a transmitter, with
// optional impairments. Every impairment is decided here from a seeded generator, so the receive
// counts a correct receiver must reach follow from what was actually written.
#include <functional>
#include <vector>

#include "Rix/Ptr.h"
#include "Sondar/stats/Epoch.h"
#include "Sondar/stats/StreamKeys.h"
#include "Wirex/Addresses.h"
#include "Wirex/IntfId.h"
#include "Wirex/Pam.h"

#include "Wirex/PcapFile.h"

namespace SondarCli {

struct GenerateOptions {
    std::vector<Wirex::IpAddr> destinations{Wirex::IpAddr(10, 0, 0, 2)};
    std::vector<U8> ttls{64};
    std::vector<U16> srcPorts{5000};
    U16 dstPort = 49152;
    U16 vlan = 0;  // 0: untagged
    U8 protocol = 17;
    Wirex::IpAddr srcIp{10, 0, 0, 1};
    U32 egressIfIndex = 1;
    Sondar::Epoch epoch{1700000000, 0};
    U64 firstSeq = 1;
    U32 interval = 1000;  // microseconds between two probes of a stream; also sent in the header
    U64 count = 1000;     // probes per stream, restarts included
    double loss = 0.0;    // probabilities per probe
    double duplication = 0.0;
    double reorder = 0.0;
    U32 reorderDepth = 4;  // a held probe or a late copy trails by 1 to this many later probes
    U32 restarts = 0;      // transmitter restarts, evenly spaced; each begins a new epoch
    U64 seed = 1;
    // The interface the receiver will name; it is part of the receive-side stream key.
    Wirex::IntfId ingressIntf{"pcap0"};
};

// What one stream's transmitter did, and what a receiver of the written frames must count.
struct StreamTruth {
    Sondar::IngressStream key;
    U64 sent = 0;        // probes built (one per sequence number)
    U64 dropped = 0;     // built but never written
    U64 duplicated = 0;  // extra copies written
    U64 reordered = 0;   // probes held back behind later ones
    U32 epochs = 0;
    U64 received = 0;  // frames a receiver gets
    U64 lost = 0;
    U64 misordered = 0;
    U64 expectDuplicated = 0;
    Sondar::Epoch currentEpoch;  // the epoch of the last written probe
};

struct GenerateResult {
    std::vector<StreamTruth> streams;  // in the receive-side key order
    U64 framesWritten = 0;
};

// A pcap file for generated probes: buffered, with the time stamps the generator gives.
Rix::Ptr<Wirex::PcapWriter> pcapOutput(const std::string& path);

// Throws Rix::RangeException for options that cannot describe a run.
void generateOptionsCheck(const GenerateOptions& options);

// Writes the streams through `pam`, probes of all streams interleaved slot by slot. `writer`, when
// given, receives each slot's time stamp. `progress` is called now and then with the slots done.
GenerateResult generate(const GenerateOptions& options, const Rix::Ptr<Wirex::Pam>& pam,
                        Wirex::PcapWriter* writer = nullptr,
                        const std::function<void(U64, U64)>& progress = {});

}  // namespace SondarCli
