#pragma once
// Header overlays for Ethernet, 802.1Q, IPv4, UDP and TCP, and the UDP and TCP pseudo-headers.
// Each is the packet memory itself, reached through a pointer into a buffer: packed, alignment 1,
// every multi-byte field a network-order holder. Sub-byte fields use mask-and-shift accessors.
// The overlays do no bounds checking: a received frame is checked by FrameParser first.
#include <cstddef>
#include <type_traits>

#include "Wirex/Addresses.h"
#include "Wirex/Checksum.h"
#include "Wirex/IpProto.h"
#include "Wirex/NetTypes.h"

namespace Wirex {

struct HeaderLayout;

inline constexpr U16 ethTypeIpv4 = 0x0800;
inline constexpr U16 ethTypeVlan = 0x8100;
inline constexpr U16 ethTypeIpv6 = 0x86dd;
inline constexpr U16 ethTypeArp = 0x0806;

class __attribute__((packed)) EthHdr {
  public:
    EthHdr() = default;
    EthHdr(const EthAddr& dst, const EthAddr& src, U16 ethType)
        : dst_(dst), src_(src), type_(ethType) {}

    EthAddr dst() const noexcept { return dst_; }
    void dstIs(const EthAddr& a) noexcept { dst_ = a; }
    EthAddr src() const noexcept { return src_; }
    void srcIs(const EthAddr& a) noexcept { src_ = a; }
    U16 ethType() const noexcept { return type_.value(); }
    void ethTypeIs(U16 t) noexcept { type_.valueIs(t); }

  private:
    friend struct HeaderLayout;
    EthAddr dst_;
    EthAddr src_;
    NetU16 type_;
};

// The 4 bytes behind an Ethernet header whose type is 0x8100: the tag control and the inner
// EtherType.
class __attribute__((packed)) Eth8021QHdr {
  public:
    Eth8021QHdr() = default;
    Eth8021QHdr(Eth8021QTagControl tagControl, U16 innerEthType)
        : tagControl_(tagControl), type_(innerEthType) {}

    Eth8021QTagControl tagControl() const noexcept { return tagControl_; }
    void tagControlIs(Eth8021QTagControl t) noexcept { tagControl_ = t; }
    U16 ethType() const noexcept { return type_.value(); }
    void ethTypeIs(U16 t) noexcept { type_.valueIs(t); }

  private:
    friend struct HeaderLayout;
    Eth8021QTagControl tagControl_;
    NetU16 type_;
};

class __attribute__((packed)) IpHdr {
  public:
    static constexpr U8 minHeaderLength = 20;

    IpHdr() = default;
    // Version 4, header length 20, type of service, identification, flags, fragment offset and
    // checksum 0.
    IpHdr(U16 totalLength, IpTtl ttl, IpProto protocol, IpAddr src, IpAddr dst)
        : versionIhl_(0x45),
          totalLength_(totalLength),
          ttl_(ttl.value()),
          protocol_(protocol.value()),
          src_(src),
          dst_(dst) {}

    U8 version() const noexcept { return static_cast<U8>(versionIhl_.value() >> 4); }
    void versionIs(U8 v) noexcept {
        versionIhl_.valueIs(static_cast<U8>((versionIhl_.value() & 0x0f) | ((v & 0x0f) << 4)));
    }
    // The header length in 32-bit words (IHL) and in bytes.
    U8 ihl() const noexcept { return static_cast<U8>(versionIhl_.value() & 0x0f); }
    void ihlIs(U8 words) noexcept {
        versionIhl_.valueIs(static_cast<U8>((versionIhl_.value() & 0xf0) | (words & 0x0f)));
    }
    U8 headerLength() const noexcept { return static_cast<U8>(ihl() * 4); }
    U8 tos() const noexcept { return tos_.value(); }
    void tosIs(U8 v) noexcept { tos_.valueIs(v); }
    U16 totalLength() const noexcept { return totalLength_.value(); }
    void totalLengthIs(U16 v) noexcept { totalLength_.valueIs(v); }
    // The bytes behind the header that the total length claims (0 if it claims less than none).
    U16 payloadLength() const noexcept {
        return totalLength() > headerLength() ? static_cast<U16>(totalLength() - headerLength())
                                              : 0;
    }
    U16 identification() const noexcept { return identification_.value(); }
    void identificationIs(U16 v) noexcept { identification_.valueIs(v); }
    // The three flag bits (reserved, don't fragment, more fragments) and the 13-bit offset.
    U8 flags() const noexcept { return static_cast<U8>(flagsFragment_.value() >> 13); }
    void flagsIs(U8 f) noexcept {
        flagsFragment_.valueIs(
            static_cast<U16>((flagsFragment_.value() & 0x1fff) | ((f & 7u) << 13)));
    }
    bool dontFragment() const noexcept { return (flags() & 2) != 0; }
    bool moreFragments() const noexcept { return (flags() & 1) != 0; }
    U16 fragmentOffset() const noexcept {
        return static_cast<U16>(flagsFragment_.value() & 0x1fff);
    }
    void fragmentOffsetIs(U16 o) noexcept {
        flagsFragment_.valueIs(static_cast<U16>((flagsFragment_.value() & 0xe000) | (o & 0x1fff)));
    }
    IpTtl ttl() const noexcept { return IpTtl(ttl_.value()); }
    void ttlIs(IpTtl t) noexcept { ttl_.valueIs(t.value()); }
    IpProto protocol() const noexcept { return IpProto(protocol_.value()); }
    void protocolIs(IpProto p) noexcept { protocol_.valueIs(p.value()); }
    IpChecksum checksum() const noexcept { return checksum_; }
    void checksumIs(IpChecksum c) noexcept { checksum_ = c; }
    IpAddr src() const noexcept { return src_; }
    void srcIs(IpAddr a) noexcept { src_ = a; }
    IpAddr dst() const noexcept { return dst_; }
    void dstIs(IpAddr a) noexcept { dst_ = a; }

    // The header checksum over headerLength() bytes with the checksum field as it stands: zero
    // the field before computing one to store.
    IpChecksum computedChecksum() const noexcept { return ipChecksumCalc(this, headerLength()); }
    // True when the stored checksum is right.
    bool checksumOk() const noexcept { return ipChecksumPartial(this, headerLength()) == 0xffff; }

  private:
    friend struct HeaderLayout;
    NetU8 versionIhl_;
    NetU8 tos_;
    NetU16 totalLength_;
    NetU16 identification_;
    NetU16 flagsFragment_;
    NetU8 ttl_;
    NetU8 protocol_;
    IpChecksum checksum_;
    IpAddr src_;
    IpAddr dst_;
};

// The pseudo-header that the UDP and TCP checksums cover before the transport header: source and
// destination address, a zero byte, the protocol and the transport length (header and payload).
template <U8 Protocol>
class __attribute__((packed)) IpPseudoHdr {
  public:
    IpPseudoHdr() = default;
    IpPseudoHdr(IpAddr src, IpAddr dst, U16 length)
        : src_(src), dst_(dst), protocol_(Protocol), length_(length) {}

    IpAddr src() const noexcept { return src_; }
    IpAddr dst() const noexcept { return dst_; }
    IpProto protocol() const noexcept { return IpProto(protocol_.value()); }
    U16 length() const noexcept { return length_.value(); }
    // The ones'-complement sum of the pseudo-header, to start the transport checksum with.
    U16 partialSum() const noexcept { return ipChecksumPartial(this, sizeof *this); }

  private:
    friend struct HeaderLayout;
    IpAddr src_;
    IpAddr dst_;
    NetU8 zero_;
    NetU8 protocol_;
    NetU16 length_;
};
using UdpPseudoHdr = IpPseudoHdr<IpProto::udp>;
using TcpPseudoHdr = IpPseudoHdr<IpProto::tcp>;

class __attribute__((packed)) UdpHdr {
  public:
    UdpHdr() = default;
    UdpHdr(U16 srcPort, U16 dstPort, U16 length)
        : srcPort_(srcPort), dstPort_(dstPort), length_(length) {}

    U16 srcPort() const noexcept { return srcPort_.value(); }
    void srcPortIs(U16 p) noexcept { srcPort_.valueIs(p); }
    U16 dstPort() const noexcept { return dstPort_.value(); }
    void dstPortIs(U16 p) noexcept { dstPort_.valueIs(p); }
    // Header and payload, in bytes.
    U16 length() const noexcept { return length_.value(); }
    void lengthIs(U16 v) noexcept { length_.valueIs(v); }
    IpChecksum checksum() const noexcept { return checksum_; }
    void checksumIs(IpChecksum c) noexcept { checksum_ = c; }

    // The checksum over the pseudo-header and pseudoHeader.length() bytes from this header on,
    // with the checksum field as it stands (zero it first). A sum that comes out as 0 is given as
    // 0xffff: 0 on the wire means "no checksum".
    IpChecksum computedChecksum(const UdpPseudoHdr& pseudoHeader) const noexcept {
        const IpChecksum c = ipChecksumCalc(this, pseudoHeader.length(), pseudoHeader.partialSum());
        return c.value() == 0 ? IpChecksum(0xffff) : c;
    }

  private:
    friend struct HeaderLayout;
    NetU16 srcPort_;
    NetU16 dstPort_;
    NetU16 length_;
    IpChecksum checksum_;
};

class __attribute__((packed)) TcpHdr {
  public:
    enum Flag : U16 {
        fin = 0x001,
        syn = 0x002,
        rst = 0x004,
        psh = 0x008,
        ack = 0x010,
        urg = 0x020,
        ece = 0x040,
        cwr = 0x080,
        ns = 0x100,
    };

    TcpHdr() = default;
    // Data offset 5 (a 20-byte header); every other field 0.
    TcpHdr(U16 srcPort, U16 dstPort) : srcPort_(srcPort), dstPort_(dstPort), offsetFlags_(0x5000) {}

    U16 srcPort() const noexcept { return srcPort_.value(); }
    void srcPortIs(U16 p) noexcept { srcPort_.valueIs(p); }
    U16 dstPort() const noexcept { return dstPort_.value(); }
    void dstPortIs(U16 p) noexcept { dstPort_.valueIs(p); }
    U32 seqNum() const noexcept { return seqNum_.value(); }
    void seqNumIs(U32 v) noexcept { seqNum_.valueIs(v); }
    U32 ackNum() const noexcept { return ackNum_.value(); }
    void ackNumIs(U32 v) noexcept { ackNum_.valueIs(v); }
    // The header length in 32-bit words (data offset) and in bytes.
    U8 dataOffset() const noexcept { return static_cast<U8>(offsetFlags_.value() >> 12); }
    void dataOffsetIs(U8 words) noexcept {
        offsetFlags_.valueIs(
            static_cast<U16>((offsetFlags_.value() & 0x0fff) | ((words & 0xfu) << 12)));
    }
    U8 headerLength() const noexcept { return static_cast<U8>(dataOffset() * 4); }
    // The three reserved bits between the data offset and NS.
    U8 reserved() const noexcept { return static_cast<U8>((offsetFlags_.value() >> 9) & 7); }
    // The nine flag bits, NS highest (a mask of Flag values).
    U16 flags() const noexcept { return static_cast<U16>(offsetFlags_.value() & 0x1ff); }
    void flagsIs(U16 f) noexcept {
        offsetFlags_.valueIs(static_cast<U16>((offsetFlags_.value() & 0xfe00) | (f & 0x1ff)));
    }
    bool flag(Flag f) const noexcept { return (flags() & f) != 0; }
    void flagIs(Flag f, bool on) noexcept {
        flagsIs(static_cast<U16>(on ? (flags() | f) : (flags() & ~f)));
    }
    bool synFlag() const noexcept { return flag(syn); }
    void synFlagIs(bool on) noexcept { flagIs(syn, on); }
    U16 window() const noexcept { return window_.value(); }
    void windowIs(U16 v) noexcept { window_.valueIs(v); }
    IpChecksum checksum() const noexcept { return checksum_; }
    void checksumIs(IpChecksum c) noexcept { checksum_ = c; }
    U16 urgentPointer() const noexcept { return urgent_.value(); }
    void urgentPointerIs(U16 v) noexcept { urgent_.valueIs(v); }

    // The checksum over the pseudo-header and pseudoHeader.length() bytes from this header on,
    // with the checksum field as it stands (zero it first). 0 is sent as it is.
    IpChecksum computedChecksum(const TcpPseudoHdr& pseudoHeader) const noexcept {
        return ipChecksumCalc(this, pseudoHeader.length(), pseudoHeader.partialSum());
    }

  private:
    friend struct HeaderLayout;
    NetU16 srcPort_;
    NetU16 dstPort_;
    NetU32 seqNum_;
    NetU32 ackNum_;
    NetU16 offsetFlags_;  // data offset 4 bits, reserved 3, NS, CWR ECE URG ACK PSH RST SYN FIN
    NetU16 window_;
    IpChecksum checksum_;
    NetU16 urgent_;
};

static_assert(sizeof(EthHdr) == 14 && sizeof(Eth8021QHdr) == 4 && sizeof(IpHdr) == 20);
static_assert(sizeof(UdpHdr) == 8 && sizeof(TcpHdr) == 20);
static_assert(sizeof(UdpPseudoHdr) == 12 && sizeof(TcpPseudoHdr) == 12);
static_assert(alignof(EthHdr) == 1 && alignof(IpHdr) == 1 && alignof(TcpHdr) == 1 &&
              alignof(UdpHdr) == 1);
static_assert(std::is_trivially_copyable_v<IpHdr> && std::is_trivially_copyable_v<TcpHdr>);

}  // namespace Wirex
