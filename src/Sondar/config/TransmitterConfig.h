#pragma once
// The configuration of one probe transmitter, a child of Config's `transmitter` collection keyed
// by its name. It stores what the configuration agents write and tells its observers; it checks
// nothing (any protocol, any rate, empty destination lists are all stored as given).
#include "Rix/Entity.h"
#include "Sondar/config/DestSetConfig.h"
#include "Sondar/config/ProbeRate.h"
#include "Sondar/config/SourcePortConfig.h"
#include "Wirex/Addresses.h"
#include "Wirex/IntfId.h"
#include "Wirex/IpProto.h"

namespace Sondar {

class TransmitterConfig : public Rix::Entity {
  public:
    enum : Rix::AttributeId {
        enabledId = 258,
        hopsRateId,
        defaultProtoId,
        protoId,
        sourceInterfaceId,
        defaultSourcePortConfigId,
        sourcePortConfigId,
        optionalSourcePortListId,
        ipDestId,
        ip6DestId,
        ipDestSetId,
        ip6DestSetId,
        fullIpDestId,
        fullIp6DestId,
        defaultConfiguredLossRateId,
        configuredLossRateId,
        defaultStartLossFromTtlId,
        startLossFromTtlId,
        genIdId,
    };

    class NotifieeConst : public Rix::TypedNotifieeConst<TransmitterConfig> {
      public:
        virtual void onEnabled() {}
        virtual void onProto() {}
        virtual void onSourcePortConfig() {}
        virtual void onConfiguredLossRate() {}
        virtual void onStartLossFromTtl() {}
        virtual void onGenId() {}
        RIX_COLLECTION_CALLBACKS(HopsRate, unsigned short)
        RIX_COLLECTION_CALLBACKS(SourceInterface, Wirex::IntfId)
        RIX_COLLECTION_CALLBACKS(OptionalSourcePortList, unsigned short)
        RIX_COLLECTION_CALLBACKS(IpDest, Wirex::IpAddr)
        RIX_COLLECTION_CALLBACKS(Ip6Dest, const Wirex::Ip6Addr&)
        RIX_COLLECTION_CALLBACKS(IpDestSet, const Wirex::IpAddrWithMask&)
        RIX_COLLECTION_CALLBACKS(Ip6DestSet, const Wirex::Ip6AddrWithMask&)
        RIX_COLLECTION_CALLBACKS(FullIpDest, Wirex::IpAddr)
        RIX_COLLECTION_CALLBACKS(FullIp6Dest, const Wirex::Ip6Addr&)
    };
    using Notifiee = Rix::TypedNotifiee<TransmitterConfig, NotifieeConst>;

    // The collections' elements: each holds its key and its value.
    using RixHopsRate = Rix::Member<U16, ProbeRate>;
    using RixSourceInterface = Rix::Member<Wirex::IntfId, bool>;
    using RixOptionalSourcePortList = Rix::Member<U16, bool>;
    using RixIpDest = Rix::Member<Wirex::IpAddr, bool>;
    using RixIp6Dest = Rix::Member<Wirex::Ip6Addr, bool>;
    using RixIpDestSet = Rix::Member<Wirex::IpAddrWithMask, IpDestSetConfig>;
    using RixIp6DestSet = Rix::Member<Wirex::Ip6AddrWithMask, Ip6DestSetConfig>;
    using RixFullIpDest = RixIpDest;
    using RixFullIp6Dest = RixIp6Dest;
    using HopsRateCollection = Rix::MemberCollection<U16, ProbeRate>;
    using SourceInterfaceCollection = Rix::MemberCollection<Wirex::IntfId, bool>;
    using PortCollection = Rix::MemberCollection<U16, bool>;
    using IpCollection = Rix::MemberCollection<Wirex::IpAddr, bool>;
    using Ip6Collection = Rix::MemberCollection<Wirex::Ip6Addr, bool>;
    using IpDestSetCollection = Rix::MemberCollection<Wirex::IpAddrWithMask, IpDestSetConfig>;
    using Ip6DestSetCollection = Rix::MemberCollection<Wirex::Ip6AddrWithMask, Ip6DestSetConfig>;

    explicit TransmitterConfig(const Rix::Name& name) : Entity(name, attributes) {}

    bool enabled() const noexcept { return enabled_; }
    void enabledIs(bool v) { attributeIs(enabled_, v, enabledId, &NotifieeConst::onEnabled); }
    static Wirex::IpProto defaultProto() noexcept { return Wirex::IpProto(Wirex::IpProto::udp); }
    Wirex::IpProto proto() const noexcept { return proto_; }
    void protoIs(Wirex::IpProto v) { attributeIs(proto_, v, protoId, &NotifieeConst::onProto); }
    static SourcePortConfig defaultSourcePortConfig() noexcept {
        return SourcePortConfig(SourcePortType::random, 1, 0, 0);
    }
    const SourcePortConfig& sourcePortConfig() const noexcept { return sourcePortConfig_; }
    void sourcePortConfigIs(const SourcePortConfig& v) {
        attributeIs(sourcePortConfig_, v, sourcePortConfigId, &NotifieeConst::onSourcePortConfig);
    }
    static double defaultConfiguredLossRate() noexcept { return 0.0; }
    double configuredLossRate() const noexcept { return configuredLossRate_; }
    void configuredLossRateIs(const double& v) {
        attributeIs(configuredLossRate_, v, configuredLossRateId,
                    &NotifieeConst::onConfiguredLossRate);
    }
    static U16 defaultStartLossFromTtl() noexcept { return 1; }
    U16 startLossFromTtl() const noexcept { return startLossFromTtl_; }
    void startLossFromTtlIs(U16 v) {
        attributeIs(startLossFromTtl_, v, startLossFromTtlId, &NotifieeConst::onStartLossFromTtl);
    }
    double genId() const noexcept { return genId_; }
    void genIdIs(const double& v) { attributeIs(genId_, v, genIdId, &NotifieeConst::onGenId); }

    RIX_MEMBER_COLLECTION(hopsRate, HopsRate, HopsRateCollection, U16, const ProbeRate&)
    RIX_MEMBER_COLLECTION(sourceInterface, SourceInterface, SourceInterfaceCollection,
                          Wirex::IntfId, bool)
    RIX_MEMBER_COLLECTION(optionalSourcePortList, OptionalSourcePortList, PortCollection, U16, bool)
    RIX_MEMBER_COLLECTION(ipDest, IpDest, IpCollection, Wirex::IpAddr, bool)
    RIX_MEMBER_COLLECTION(ip6Dest, Ip6Dest, Ip6Collection, const Wirex::Ip6Addr&, bool)
    RIX_MEMBER_COLLECTION(fullIpDest, FullIpDest, IpCollection, Wirex::IpAddr, bool)
    RIX_MEMBER_COLLECTION(fullIp6Dest, FullIp6Dest, Ip6Collection, const Wirex::Ip6Addr&, bool)

    // The destination blocks are keyed by their own first address: a block whose start is
    // already present replaces the stored one.
    RIX_COLLECTION_ACCESS(ipDestSet, IpDestSet, IpDestSetCollection, const Wirex::IpAddrWithMask&)
    IpDestSetConfig ipDestSet(const Wirex::IpAddrWithMask& k) const;
    void ipDestSetIs(const IpDestSetConfig& v) {
        memberIs<NotifieeConst>(ipDestSet_, v.ipStartDest(), v, ipDestSetId, rixTellIpDestSet);
    }
    Rix::Ptr<RixIpDestSet> newIpDestSet(const IpDestSetConfig& v) {
        return memberNew<NotifieeConst>(ipDestSet_, v.ipStartDest(), v, ipDestSetId,
                                        rixTellIpDestSet);
    }
    RIX_COLLECTION_ACCESS(ip6DestSet, Ip6DestSet, Ip6DestSetCollection,
                          const Wirex::Ip6AddrWithMask&)
    Ip6DestSetConfig ip6DestSet(const Wirex::Ip6AddrWithMask& k) const;
    void ip6DestSetIs(const Ip6DestSetConfig& v) {
        memberIs<NotifieeConst>(ip6DestSet_, v.ipStartDest(), v, ip6DestSetId, rixTellIp6DestSet);
    }
    Rix::Ptr<RixIp6DestSet> newIp6DestSet(const Ip6DestSetConfig& v) {
        return memberNew<NotifieeConst>(ip6DestSet_, v.ipStartDest(), v, ip6DestSetId,
                                        rixTellIp6DestSet);
    }

    static const Rix::AttributeTable attributes;

  private:
    bool enabled_ = false;
    HopsRateCollection hopsRate_;
    Wirex::IpProto proto_ = defaultProto();
    SourceInterfaceCollection sourceInterface_;
    SourcePortConfig sourcePortConfig_ = defaultSourcePortConfig();
    PortCollection optionalSourcePortList_;
    IpCollection ipDest_;
    Ip6Collection ip6Dest_;
    IpDestSetCollection ipDestSet_;
    Ip6DestSetCollection ip6DestSet_;
    IpCollection fullIpDest_;
    Ip6Collection fullIp6Dest_;
    double configuredLossRate_ = defaultConfiguredLossRate();
    U16 startLossFromTtl_ = defaultStartLossFromTtl();
    double genId_ = 0.0;
};

}  // namespace Sondar
