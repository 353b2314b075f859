#include "Wirex/FrameParser.h"

namespace Wirex {

const char* frameStatusName(FrameStatus s) noexcept {
    switch (s) {
        case FrameStatus::ok:
            return "ok";
        case FrameStatus::truncatedEthernet:
            return "truncated Ethernet header";
        case FrameStatus::truncatedVlanTag:
            return "truncated 802.1Q tag";
        case FrameStatus::notIpv4:
            return "not IPv4";
        case FrameStatus::truncatedIpHeader:
            return "truncated IPv4 header";
        case FrameStatus::badIpVersion:
            return "bad IP version";
        case FrameStatus::badIpHeaderLength:
            return "bad IPv4 header length";
        case FrameStatus::badIpTotalLength:
            return "bad IPv4 total length";
        case FrameStatus::truncatedIpPacket:
            return "frame shorter than its IPv4 total length";
        case FrameStatus::ipFragment:
            return "IPv4 fragment";
        case FrameStatus::notUdpOrTcp:
            return "neither UDP nor TCP";
        case FrameStatus::truncatedUdp:
            return "truncated UDP header";
        case FrameStatus::badUdpLength:
            return "bad UDP length";
        case FrameStatus::truncatedTcp:
            return "truncated TCP header";
        case FrameStatus::badTcpDataOffset:
            return "bad TCP data offset";
    }
    return "unknown frame status";
}

ParsedFrame parseFrame(const U8* data, U32 length) noexcept {
    ParsedFrame f;
    if (length < sizeof(EthHdr)) return f;
    f.eth = reinterpret_cast<const EthHdr*>(data);
    U32 at = sizeof(EthHdr);
    U16 type = f.eth->ethType();
    if (type == ethTypeVlan) {
        if (length < at + sizeof(Eth8021QHdr)) {
            f.status = FrameStatus::truncatedVlanTag;
            return f;
        }
        f.dot1Q = reinterpret_cast<const Eth8021QHdr*>(data + at);
        at += sizeof(Eth8021QHdr);
        type = f.dot1Q->ethType();
    }
    if (type != ethTypeIpv4) {
        f.status = FrameStatus::notIpv4;
        return f;
    }
    if (length < at + sizeof(IpHdr)) {
        f.status = FrameStatus::truncatedIpHeader;
        return f;
    }
    const auto* ip = reinterpret_cast<const IpHdr*>(data + at);
    if (ip->version() != 4) {
        f.status = FrameStatus::badIpVersion;
        return f;
    }
    if (ip->ihl() < 5) {
        f.status = FrameStatus::badIpHeaderLength;
        return f;
    }
    if (length < at + ip->headerLength()) {
        f.status = FrameStatus::truncatedIpHeader;
        return f;
    }
    f.ip = ip;
    f.ipOffset = at;
    if (ip->totalLength() < ip->headerLength()) {
        f.status = FrameStatus::badIpTotalLength;
        return f;
    }
    if (length - at < ip->totalLength()) {
        f.status = FrameStatus::truncatedIpPacket;
        return f;
    }
    if (ip->moreFragments() || ip->fragmentOffset() != 0) {
        f.status = FrameStatus::ipFragment;
        return f;
    }
    const U32 l4 = at + ip->headerLength();
    const U32 ipPayload = ip->payloadLength();
    f.transportOffset = l4;
    if (ip->protocol().value() == IpProto::udp) {
        if (ipPayload < sizeof(UdpHdr)) {
            f.status = FrameStatus::truncatedUdp;
            return f;
        }
        f.udp = reinterpret_cast<const UdpHdr*>(data + l4);
        if (f.udp->length() < sizeof(UdpHdr) || f.udp->length() > ipPayload) {
            f.status = FrameStatus::badUdpLength;
            return f;
        }
        f.payloadOffset = l4 + sizeof(UdpHdr);
        f.payloadLength = f.udp->length() - static_cast<U32>(sizeof(UdpHdr));
    } else if (ip->protocol().value() == IpProto::tcp) {
        if (ipPayload < sizeof(TcpHdr)) {
            f.status = FrameStatus::truncatedTcp;
            return f;
        }
        f.tcp = reinterpret_cast<const TcpHdr*>(data + l4);
        if (f.tcp->dataOffset() < 5) {
            f.status = FrameStatus::badTcpDataOffset;
            return f;
        }
        if (ipPayload < f.tcp->headerLength()) {
            f.status = FrameStatus::truncatedTcp;
            return f;
        }
        f.payloadOffset = l4 + f.tcp->headerLength();
        f.payloadLength = ipPayload - f.tcp->headerLength();
    } else {
        f.status = FrameStatus::notUdpOrTcp;
        return f;
    }
    f.status = FrameStatus::ok;
    return f;
}

}  // namespace Wirex
