#include "Sondar/config/TransmitterConfig.h"

namespace Sondar {

using T = TransmitterConfig;

const Rix::AttributeTable TransmitterConfig::attributes{
    true,
    {
        Rix::settable<&T::enabled, &T::enabledIs>(enabledId, "enabled"),
        Rix::collection<&T::hopsRate_>(hopsRateId, "hopsRate"),
        Rix::constant<&T::defaultProto>(defaultProtoId, "defaultProto"),
        Rix::settable<&T::proto, &T::protoIs>(protoId, "proto"),
        Rix::collection<&T::sourceInterface_>(sourceInterfaceId, "sourceInterface"),
        Rix::constant<&T::defaultSourcePortConfig>(defaultSourcePortConfigId,
                                                   "defaultSourcePortConfig"),
        Rix::settable<&T::sourcePortConfig, &T::sourcePortConfigIs>(sourcePortConfigId,
                                                                    "sourcePortConfig"),
        Rix::collection<&T::optionalSourcePortList_>(optionalSourcePortListId,
                                                     "optionalSourcePortList"),
        Rix::collection<&T::ipDest_>(ipDestId, "ipDest"),
        Rix::collection<&T::ip6Dest_>(ip6DestId, "ip6Dest"),
        Rix::collection<&T::ipDestSet_>(ipDestSetId, "ipDestSet"),
        Rix::collection<&T::ip6DestSet_>(ip6DestSetId, "ip6DestSet"),
        Rix::collection<&T::fullIpDest_>(fullIpDestId, "fullIpDest"),
        Rix::collection<&T::fullIp6Dest_>(fullIp6DestId, "fullIp6Dest"),
        Rix::constant<&T::defaultConfiguredLossRate>(defaultConfiguredLossRateId,
                                                     "defaultConfiguredLossRate"),
        Rix::settable<&T::configuredLossRate, &T::configuredLossRateIs>(configuredLossRateId,
                                                                        "configuredLossRate"),
        Rix::constant<&T::defaultStartLossFromTtl>(defaultStartLossFromTtlId,
                                                   "defaultStartLossFromTtl"),
        Rix::settable<&T::startLossFromTtl, &T::startLossFromTtlIs>(startLossFromTtlId,
                                                                    "startLossFromTtl"),
        Rix::settable<&T::genId, &T::genIdIs>(genIdId, "genId"),
    }};

IpDestSetConfig TransmitterConfig::ipDestSet(const Wirex::IpAddrWithMask& k) const {
    const auto* m = ipDestSet_.find(k);
    return m ? m->value() : IpDestSetConfig();
}

Ip6DestSetConfig TransmitterConfig::ip6DestSet(const Wirex::Ip6AddrWithMask& k) const {
    const auto* m = ip6DestSet_.find(k);
    return m ? m->value() : Ip6DestSetConfig();
}

}  // namespace Sondar
