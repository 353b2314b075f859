#pragma once
// Checks a received frame and finds its headers: Ethernet, an optional 802.1Q tag, IPv4, and UDP
// or TCP. Nothing is read beyond `length`: a frame shorter than a header it claims, or a header
// whose lengths contradict the frame, is reported through the status, with the headers found
// before the fault still set.
#include "Rix/Types.h"
#include "Wirex/Headers.h"

namespace Wirex {

enum class FrameStatus : U8 {
    ok,                 // Ethernet, IPv4 and UDP or TCP all present and consistent
    truncatedEthernet,  // shorter than an Ethernet header
    truncatedVlanTag,   // tagged, but shorter than the tag
    notIpv4,            // an EtherType other than IPv4 (eth and dot1Q are set)
    truncatedIpHeader,  // shorter than the IPv4 header or its options
    badIpVersion,       // the version field is not 4
    badIpHeaderLength,  // IHL below 5
    badIpTotalLength,   // total length below the header length
    truncatedIpPacket,  // the frame holds fewer bytes than the total length claims
    ipFragment,         // a fragment: the transport header may be elsewhere
    notUdpOrTcp,        // another IP protocol (ip is set)
    truncatedUdp,       // IP payload shorter than a UDP header
    badUdpLength,       // the UDP length is below 8 or beyond the IP payload
    truncatedTcp,       // IP payload shorter than a TCP header or its options
    badTcpDataOffset,   // TCP data offset below 5
};

const char* frameStatusName(FrameStatus s) noexcept;

struct ParsedFrame {
    FrameStatus status = FrameStatus::truncatedEthernet;
    const EthHdr* eth = nullptr;
    const Eth8021QHdr* dot1Q = nullptr;
    const IpHdr* ip = nullptr;
    const UdpHdr* udp = nullptr;
    const TcpHdr* tcp = nullptr;
    U32 ipOffset = 0;  // offsets from the frame's first byte
    U32 transportOffset = 0;
    U32 payloadOffset = 0;  // the transport payload: behind the UDP or TCP header,
    U32 payloadLength = 0;  // bounded by the IP and UDP lengths (Ethernet padding excluded)

    bool ok() const noexcept { return status == FrameStatus::ok; }
    // The VLAN id of the tag, 0 when untagged.
    U16 vlanId() const noexcept { return dot1Q ? dot1Q->tagControl().vlanId() : 0; }
};

ParsedFrame parseFrame(const U8* data, U32 length) noexcept;

}  // namespace Wirex
