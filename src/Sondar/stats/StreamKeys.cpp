#include "Sondar/stats/StreamKeys.h"

#include <cstdio>

namespace Sondar {

U32 EgressHeader::hash() const noexcept {
    return srcEthAddr_.hash() ^ dstEthAddr_.hash() ^ U32{tag_.value()} ^ dstIpAddr_.hash() ^
           egressIntf_.hash() ^ egressIntfIp_.hash();
}

U32 EgressStream::hash() const noexcept {
    return srcEthAddr_.hash() ^ dstEthAddr_.hash() ^ U32{tag_.value()} ^ dstIpAddr_.hash() ^
           egressIntf_.hash() ^ egressIntfIp_.hash() ^ srcIpAddr_.hash() ^ U32{ttl_} ^ ipType_.hash() ^
           U32{srcPort_};
}

U32 IngressStream::hash() const noexcept {
    return srcEthAddr_.hash() ^ dstEthAddr_.hash() ^ U32{tag_.value()} ^ dstIpAddr_.hash() ^
           egressIntf_.hash() ^ egressIntfIp_.hash() ^ srcIpAddr_.hash() ^ U32{ttl_} ^ ipType_.hash() ^
           U32{srcPort_} ^ egressIfIndex_ ^ ingressIntf_.hash();
}

std::string IngressStream::stringValue() const {
    char buf[400];
    std::snprintf(buf, sizeof buf,
                  "%s: %s; %s: %s; %s: %s; %s: %u; %s: %u; %s: %s; %s: %s; %s: %u; %s: %s;      %s: %u; %s: %u",
                  "ingress interface", ingressIntf_.str().c_str(), "src ip", srcIpAddr_.str().c_str(), "dst ip",
                  dstIpAddr_.str().c_str(), "source port", unsigned{srcPort_}, "ttl", unsigned{ttl_},
                  "egress src mac", srcEthAddr_.str().c_str(), "egress dst mac", dstEthAddr_.str().c_str(),
                  "egress vlan tag", unsigned{tag_.value()}, "egress intf ip", egressIntfIp_.str().c_str(),
                  "egress ifIndex", egressIfIndex_, "ip type", unsigned{ipType_.value()});
    return buf;
}

}  // namespace Sondar
