#pragma once
// The keys of every statistics table. A sender names a stream by an EgressStream, whose first six
// fields are the EgressHeader it writes for one destination; a receiver by an IngressStream, which
// adds the interface the probes arrive on. The keys live in shared memory, so they are trivially
// copyable.
#include <string>
#include <type_traits>

#include "Bridging/VlanIdOrNone.h"
#include "Rix/Hash.h"
#include "Rix/Value.h"
#include "Wirex/Addresses.h"
#include "Wirex/IntfId.h"
#include "Wirex/IpProto.h"

namespace Sondar {

#define SONDAR_EGRESS_HEADER_FIELDS(X)     \
    X(Wirex::EthAddr, srcEthAddr, {}, rw)  \
    X(Wirex::EthAddr, dstEthAddr, {}, rw)  \
    X(Bridging::VlanIdOrNone, tag, {}, rw) \
    X(Wirex::IpAddr, dstIpAddr, {}, rw)    \
    X(Wirex::IntfId, egressIntf, {}, rw)   \
    X(Wirex::IpAddr, egressIntfIp, {}, rw)

#define SONDAR_EGRESS_STREAM_FIELDS(X)  \
    SONDAR_EGRESS_HEADER_FIELDS(X)      \
    X(Wirex::IpAddr, srcIpAddr, {}, rw) \
    X(U8, ttl, 0, rw)                   \
    X(Wirex::IpProto, ipType, {}, rw)   \
    X(U16, srcPort, 0, rw)              \
    X(U32, egressIfIndex, 0, rw)

#define SONDAR_INGRESS_STREAM_FIELDS(X) \
    SONDAR_EGRESS_STREAM_FIELDS(X)      \
    X(Wirex::IntfId, ingressIntf, {}, rw)

// The layer-2/layer-3 header a transmitter writes towards one destination.
class EgressHeader {
    RIX_VALUE_TYPE(EgressHeader, "Sondar::EgressHeader", SONDAR_EGRESS_HEADER_FIELDS)
    EgressHeader() = default;
    U32 hash() const noexcept;
    friend bool operator==(const EgressHeader&, const EgressHeader&) = default;
    friend auto operator<=>(const EgressHeader&, const EgressHeader&) = default;
};

class EgressStream {
    RIX_VALUE_TYPE(EgressStream, "Sondar::EgressStream", SONDAR_EGRESS_STREAM_FIELDS)
    EgressStream() = default;
    // Ten fields: egressIfIndex is left out on purpose (equal keys still hash equally).
    U32 hash() const noexcept;
    friend bool operator==(const EgressStream&, const EgressStream&) = default;
    // By interface address, interface, destination, TTL, protocol, MACs, tag, source, ifIndex
    // and port.
    friend bool operator<(const EgressStream& a, const EgressStream& b) {
        using S = EgressStream;
        return Rix::lessByPriority(a, b, &S::egressIntfIp_, &S::egressIntf_, &S::dstIpAddr_,
                                   &S::ttl_, &S::ipType_, &S::dstEthAddr_, &S::srcEthAddr_,
                                   &S::tag_, &S::srcIpAddr_, &S::egressIfIndex_, &S::srcPort_);
    }
    friend bool operator>(const EgressStream& a, const EgressStream& b) { return b < a; }
    friend bool operator<=(const EgressStream& a, const EgressStream& b) { return !(b < a); }
    friend bool operator>=(const EgressStream& a, const EgressStream& b) { return !(a < b); }
};

class IngressStream {
    RIX_VALUE_TYPE(IngressStream, "Sondar::IngressStream", SONDAR_INGRESS_STREAM_FIELDS)
    IngressStream() = default;
    // All twelve fields.
    U32 hash() const noexcept;
    // A one-line description for logs and messages; egressIntf is not shown.
    std::string stringValue() const;
    friend bool operator==(const IngressStream&, const IngressStream&) = default;
    // Ingress interface first. egressIntf takes no part, so two keys that differ only there are
    // unequal yet neither is less: an ordered container treats them as one key.
    friend bool operator<(const IngressStream& a, const IngressStream& b) {
        using S = IngressStream;
        return Rix::lessByPriority(a, b, &S::ingressIntf_, &S::dstIpAddr_, &S::egressIntfIp_,
                                   &S::egressIfIndex_, &S::ttl_, &S::ipType_, &S::dstEthAddr_,
                                   &S::srcEthAddr_, &S::tag_, &S::srcIpAddr_, &S::srcPort_);
    }
    friend bool operator>(const IngressStream& a, const IngressStream& b) { return b < a; }
    friend bool operator<=(const IngressStream& a, const IngressStream& b) { return !(b < a); }
    friend bool operator>=(const IngressStream& a, const IngressStream& b) { return !(a < b); }
};

namespace detail {
// A stream key's hash: the XOR of its fields' parts, a number being its own part and any other
// field its hash(). Inline, as keys are hashed for every received probe.
template <class K>
U32 xorOfFieldHashes(const K& key) noexcept {
    U32 h = 0;
    Rix::forEachField<K>([&](const auto& field) {
        const auto& v = key.*(field.member);
        if constexpr (std::is_integral_v<std::remove_cvref_t<decltype(v)>>) {
            h ^= static_cast<U32>(v);
        } else {
            h ^= v.hash();
        }
    });
    return h;
}
}  // namespace detail

inline U32 EgressHeader::hash() const noexcept { return detail::xorOfFieldHashes(*this); }
// egressIfIndex is left out: its part, XOR-ed in a second time, takes itself out again.
inline U32 EgressStream::hash() const noexcept {
    return detail::xorOfFieldHashes(*this) ^ egressIfIndex_;
}
inline U32 IngressStream::hash() const noexcept { return detail::xorOfFieldHashes(*this); }

static_assert(std::is_trivially_copyable_v<EgressHeader> &&
              std::is_trivially_copyable_v<EgressStream> &&
              std::is_trivially_copyable_v<IngressStream>);

}  // namespace Sondar

template <>
struct std::hash<Sondar::EgressHeader> : Rix::DefaultHash<Sondar::EgressHeader> {};
template <>
struct std::hash<Sondar::EgressStream> : Rix::DefaultHash<Sondar::EgressStream> {};
template <>
struct std::hash<Sondar::IngressStream> : Rix::DefaultHash<Sondar::IngressStream> {};
