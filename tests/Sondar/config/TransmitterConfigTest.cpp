// TransmitterConfig: its attribute table and constants, the value-keyed destination blocks and
// the keyed collections.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Sondar/config/TransmitterConfig.h"

namespace Sondar {
namespace {

struct TxLog : TransmitterConfig::NotifieeConst {
    std::string told;
    void onHopsRate(unsigned short h) override { told += "hopsRate " + std::to_string(h) + " "; }
    void onIpDestSet(const Wirex::IpAddrWithMask& k) override {
        told += "ipDestSet " + k.str() + " ";
    }
    void onIp6Dest(const Wirex::Ip6Addr& k) override { told += "ip6Dest " + k.str() + " "; }
    void onFullIp6Dest(const Wirex::Ip6Addr& k) override { told += "fullIp6Dest " + k.str() + " "; }
};

TEST(TransmitterConfigTest, AttributeTableAndConstants) {
    Rix::Ptr<TransmitterConfig> t(new TransmitterConfig("t"));
    std::string names;
    for (Rix::AttributeId id = 258; id <= 277; ++id)
        names += std::string(t->attributeString(id)) + " ";
    EXPECT_EQ(names,
              "enabled hopsRate defaultProto proto sourceInterface defaultSourcePortConfig "
              "sourcePortConfig optionalSourcePortList ipDest ip6Dest ipDestSet ip6DestSet "
              "fullIpDest fullIp6Dest defaultConfiguredLossRate configuredLossRate "
              "defaultStartLossFromTtl startLossFromTtl genId unknown ");
    EXPECT_EQ(t->attributeText("defaultSourcePortConfig").str(),
              "Value('Sondar::SourcePortConfig', ** {'configType': 'random', 'num': 1, "
              "'optionalStart': 0, 'optionalStride': 0})");
    for (const char* name : {"defaultProto", "defaultSourcePortConfig", "defaultStartLossFromTtl",
                             "defaultConfiguredLossRate"}) {
        EXPECT_THROW(t->attributeTextIs(name, "1"), Rix::UnsupportedOperationException) << name;
    }
    // no setter checks anything
    t->attributeTextIs("proto", "200");
    t->startLossFromTtlIs(0);
    EXPECT_EQ(t->proto(), Wirex::IpProto(200));
    EXPECT_EQ(t->startLossFromTtl(), 0);
}

TEST(TransmitterConfigTest, KeyedCollectionsAndDestinationBlocks) {
    Rix::Ptr<TransmitterConfig> t(new TransmitterConfig("t"));
    TxLog log;
    log.notifierIs(t);
    const ProbeRate r(1, 1, ProbeRateUnit::seconds), r2(1, 1, ProbeRateUnit::minutes);
    t->hopsRateIs(3, r);
    t->hopsRateIs(3, r);
    t->hopsRateIs(3, r2);
    EXPECT_EQ(t->hopsRate(3), r2);
    // the two IPv6 sets are independent
    const Wirex::Ip6Addr a("2001:db8::1");
    t->ip6DestIs(a, true);
    EXPECT_FALSE(t->fullIp6Dest(a));
    t->fullIp6DestIs(a, false);
    EXPECT_TRUE(t->ip6Dest(a));

    // the destination blocks are keyed by their start, prefix length included
    const Wirex::IpAddrWithMask start(Wirex::IpAddr(10, 0, 0, 1), 32);
    t->ipDestSetIs(IpDestSetConfig(start, 10));
    t->ipDestSetIs(IpDestSetConfig(start, 20));
    t->ipDestSetIs(IpDestSetConfig(start, 20));
    EXPECT_EQ(t->ipDestSetSize(), 1u);
    EXPECT_EQ(t->ipDestSet(start).numIpAddrs(), 20u);
    const Wirex::IpAddrWithMask other(Wirex::IpAddr(10, 0, 0, 1), 24);
    t->newIpDestSet(IpDestSetConfig(other, 1));
    EXPECT_EQ(t->ipDestSetSize(), 2u);
    EXPECT_EQ(t->ipDestSet(other).numIpAddrs(), 1u);
    t->ipDestSetDel(start);
    EXPECT_EQ(t->ipDestSet(start), IpDestSetConfig());
    EXPECT_EQ(log.told,
              "hopsRate 3 hopsRate 3 ip6Dest 2001:db8::1 fullIp6Dest 2001:db8::1 ipDestSet "
              "10.0.0.1/32 ipDestSet 10.0.0.1/32 ipDestSet 10.0.0.1/24 ipDestSet 10.0.0.1/32 ");
    const Wirex::Ip6AddrWithMask six(Wirex::Ip6Addr("2001:db8::"), 64);
    t->ip6DestSetIs(Ip6DestSetConfig(six, 5));
    EXPECT_EQ(
        t->attributeText("ip6DestSet").str(),
        "{'2001:db8::/64': Value('Sondar::Ip6DestSetConfig', ** {'ipStartDest': '2001:db8::/64', "
        "'numIpAddrs': 5})}");
}

}  // namespace
}  // namespace Sondar
