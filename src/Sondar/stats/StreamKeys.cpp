#include "Sondar/stats/StreamKeys.h"

#include <cstdio>

namespace Sondar {

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
