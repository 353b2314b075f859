// TransmitterConfig: its attribute table and constants, and the value-keyed destination blocks.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Sondar/config/TransmitterConfig.h"

namespace Sondar {
namespace {

struct TxLog : TransmitterConfig::NotifieeConst {
    std::string told;
    void onIpDestSet(const Wirex::IpAddrWithMask& k) override {
        told += "ipDestSet " + k.str() + " ";
    }
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
}

TEST(TransmitterConfigTest, DestinationBlocksAreKeyedByTheirStart) {
    Rix::Ptr<TransmitterConfig> t(new TransmitterConfig("t"));
    TxLog log;
    log.notifierIs(t);
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
              "ipDestSet 10.0.0.1/32 ipDestSet 10.0.0.1/32 ipDestSet 10.0.0.1/24 ipDestSet "
              "10.0.0.1/32 ");
    const Wirex::Ip6AddrWithMask six(Wirex::Ip6Addr("2001:db8::"), 64);
    t->ip6DestSetIs(Ip6DestSetConfig(six, 5));
    EXPECT_EQ(
        t->attributeText("ip6DestSet").str(),
        "{'2001:db8::/64': Value('Sondar::Ip6DestSetConfig', ** {'ipStartDest': '2001:db8::/64', "
        "'numIpAddrs': 5})}");
}

}  // namespace
}  // namespace Sondar
