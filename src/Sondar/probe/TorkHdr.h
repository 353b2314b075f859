#pragma once
// The probe header as it stands in a packet: the 20-byte common header TorkHdr and the 48-byte
// probe header TorkProbeHdr that extends it. Both are packed overlays of packet memory, reached
// through pointers into a packet buffer; every multi-byte field is big-endian and is read and
// written only through the packet library's network-order types.
#include <cstddef>
#include <ostream>
#include <string_view>

#include "Rix/Types.h"
#include "Sondar/probe/TorkMessageType.h"
#include "Wirex/Addresses.h"
#include "Wirex/NetTypes.h"

namespace Sondar {

struct __attribute__((packed)) TorkHdr {
    static constexpr std::string_view typeName = "Sondar::TorkHdr";

    // Every byte zero.
    TorkHdr() = default;

    TorkImplMessageType mType() const noexcept { return TorkImplMessageType(mType_.value()); }
    void mTypeIs(TorkImplMessageType t) noexcept { mType_.valueIs(t.value()); }
    // Codes other than 1 and 2 read as torkUnknownType, so a receiver never holds an enumerator
    // out of range.
    TorkMessageType messageType() const noexcept {
        const U8 code = mType_.value();
        return static_cast<U8>(code - 1) <= 1 ? static_cast<TorkMessageType>(code)
                                              : torkUnknownType;
    }
    void messageTypeIs(TorkMessageType t) noexcept { mType_.valueIs(t); }

    Wirex::NetU8 versionImpl() const noexcept { return versionImpl_; }
    void versionImplIs(Wirex::NetU8 v) noexcept { versionImpl_ = v; }
    Wirex::IpChecksum checksumImpl() const noexcept { return checksumImpl_; }
    void checksumImplIs(Wirex::IpChecksum c) noexcept { checksumImpl_ = c; }
    Wirex::NetU32 epochSecondsImpl() const noexcept { return epochSecondsImpl_; }
    void epochSecondsImplIs(Wirex::NetU32 v) noexcept { epochSecondsImpl_ = v; }
    Wirex::NetU32 epochUSecondsImpl() const noexcept { return epochUSecondsImpl_; }
    void epochUSecondsImplIs(Wirex::NetU32 v) noexcept { epochUSecondsImpl_ = v; }
    Wirex::NetU64 sequenceNumberImpl() const noexcept { return sequenceNumberImpl_; }
    void sequenceNumberImplIs(const Wirex::NetU64& v) noexcept { sequenceNumberImpl_ = v; }

    // The Internet checksum of `length` bytes from the first byte of this header, which may
    // run past the header into what follows it in the packet. The stored checksum is part of the
    // covered bytes: zero it before computing a checksum to store; an undamaged header with its
    // checksum in place sums to zero.
    Wirex::IpChecksum computedChecksum(U16 length) const noexcept;
    U16 computedChecksumU16(U16 length) const noexcept { return computedChecksum(length).value(); }

  private:
    friend struct TorkHdrLayout;
    Wirex::NetU8 mType_;  // the raw TorkImplMessageType code
    Wirex::NetU8 versionImpl_;
    Wirex::IpChecksum checksumImpl_;
    Wirex::NetU32 epochSecondsImpl_;
    Wirex::NetU32 epochUSecondsImpl_;
    Wirex::NetU64 sequenceNumberImpl_;
};

struct __attribute__((packed)) TorkProbeHdr : TorkHdr {
    static constexpr std::string_view typeName = "Sondar::TorkProbeHdr";

    TorkProbeHdr() = default;

    Wirex::IpAddr originIntfIp() const noexcept { return originIntfIp_; }
    void originIntfIpIs(Wirex::IpAddr a) noexcept { originIntfIp_ = a; }
    Wirex::NetU32 egressIfIndexImpl() const noexcept { return egressIfIndexImpl_; }
    void egressIfIndexImplIs(Wirex::NetU32 v) noexcept { egressIfIndexImpl_ = v; }
    Wirex::EthAddr egressSrcMac() const noexcept { return egressSrcMac_; }
    void egressSrcMacIs(const Wirex::EthAddr& a) noexcept { egressSrcMac_ = a; }
    Wirex::EthAddr egressDestMac() const noexcept { return egressDestMac_; }
    void egressDestMacIs(const Wirex::EthAddr& a) noexcept { egressDestMac_ = a; }
    Wirex::Eth8021QTagControl egressTagControl() const noexcept { return egressTagControl_; }
    void egressTagControlIs(Wirex::Eth8021QTagControl t) noexcept { egressTagControl_ = t; }
    Wirex::NetU8 ttlImpl() const noexcept { return ttlImpl_; }
    void ttlImplIs(Wirex::NetU8 v) noexcept { ttlImpl_ = v; }
    Wirex::NetU8 unused() const noexcept { return unused_; }
    void unusedIs(Wirex::NetU8 v) noexcept { unused_ = v; }
    Wirex::NetU32 intervalImpl() const noexcept { return intervalImpl_; }
    void intervalImplIs(Wirex::NetU32 v) noexcept { intervalImpl_ = v; }

  private:
    friend struct TorkHdrLayout;
    Wirex::IpAddr originIntfIp_;
    Wirex::NetU32 egressIfIndexImpl_;
    Wirex::EthAddr egressSrcMac_;
    Wirex::EthAddr egressDestMac_;
    Wirex::Eth8021QTagControl egressTagControl_;
    Wirex::NetU8 ttlImpl_;
    Wirex::NetU8 unused_;
    Wirex::NetU32 intervalImpl_;
};

// The wire layout is fixed; a change in any field type that moves a byte must fail here.
// offsetof on the derived overlay is well defined here: no virtual functions, no virtual bases.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
struct TorkHdrLayout {
    static_assert(sizeof(TorkHdr) == 20);
    static_assert(sizeof(TorkProbeHdr) == 48);
    static_assert(alignof(TorkProbeHdr) == 1);
    static_assert(offsetof(TorkHdr, mType_) == 0);
    static_assert(offsetof(TorkHdr, versionImpl_) == 1);
    static_assert(offsetof(TorkHdr, checksumImpl_) == 2);
    static_assert(offsetof(TorkHdr, epochSecondsImpl_) == 4);
    static_assert(offsetof(TorkHdr, epochUSecondsImpl_) == 8);
    static_assert(offsetof(TorkHdr, sequenceNumberImpl_) == 12);
    static_assert(offsetof(TorkProbeHdr, originIntfIp_) == 20);
    static_assert(offsetof(TorkProbeHdr, egressIfIndexImpl_) == 24);
    static_assert(offsetof(TorkProbeHdr, egressSrcMac_) == 28);
    static_assert(offsetof(TorkProbeHdr, egressDestMac_) == 34);
    static_assert(offsetof(TorkProbeHdr, egressTagControl_) == 40);
    static_assert(offsetof(TorkProbeHdr, ttlImpl_) == 42);
    static_assert(offsetof(TorkProbeHdr, unused_) == 43);
    static_assert(offsetof(TorkProbeHdr, intervalImpl_) == 44);
};
#pragma GCC diagnostic pop

// " type: torkProbe epoch seconds: 5 epoch u seconds: 0 sequence number: 1  ".
void torkHdrStr(std::ostream& os, TorkHdr* hdr);
// The common header, then the probe part; the TTL is written as one raw character (a TTL of 64
// prints as '@'), the established output that readers of these lines expect.
void torkProbeHdrStr(std::ostream& os, TorkProbeHdr* hdr);
std::ostream& operator<<(std::ostream& os, TorkHdr* hdr);

}  // namespace Sondar
