// The configuration's value types: their round trip, their orderings and the enumerations.
#include <gtest/gtest.h>

#include <sstream>

#include "Sondar/config/DestSetConfig.h"
#include "Sondar/config/ProbeRate.h"
#include "Sondar/config/ProbesPerSecond.h"
#include "Sondar/config/RateEntry.h"
#include "Sondar/config/SourcePortConfig.h"
#include "Sondar/config/TorkSettings.h"
#include "ValueRoundTrip.h"

namespace Sondar {
namespace {

std::string rangeMessage(auto&& f) {
    try {
        f();
    } catch (const Rix::RangeException& e) {
        return e.what();
    }
    return "no exception";
}

EgressStream stream() {
    EgressStream s;
    s.srcEthAddrIs(Wirex::EthAddr(0, 0x1c, 0x73, 0xaa, 0xbb, 1));
    s.dstIpAddrIs(Wirex::IpAddr(10, 0, 0, 2));
    s.egressIntfIs(Wirex::IntfId("Ethernet1"));
    s.ttlIs(64);
    s.srcPortIs(5000);
    return s;
}

TEST(ConfigValueTest, RoundTripEveryType) {
    RoundTrip::all(ProbesPerSecond(4294967295u), ProbeRate(3, 7, ProbeRateUnit::minutes),
                   SourcePortConfig(SourcePortType::list, 4, 5000, 3), TorkSettings(true, 49152),
                   IpDestSetConfig(Wirex::IpAddrWithMask(Wirex::IpAddr(10, 1, 2, 3), 24), 300),
                   Ip6DestSetConfig(Wirex::Ip6AddrWithMask(Wirex::Ip6Addr("2001:db8::7"), 120), 9),
                   RateEntry(2.5, TransmitterStreamPair(Rix::Name("tx"), stream())));
}

TEST(ConfigValueTest, ExactTextAndBinaryForms) {
    EXPECT_EQ(Rix::valueStrep(ProbesPerSecond(1000)).str(), "1000");
    EXPECT_EQ(Rix::strepToValue<ProbesPerSecond>("  77"), ProbesPerSecond(77));
    EXPECT_EQ(Rix::valueStrep(ProbeRate(1, 60, ProbeRateUnit::seconds)).str(),
              "Value('Sondar::ProbeRate', ** {'numProbes': 1, 'timeInterval': 60, 'timeUnit': "
              "'seconds'})");
    EXPECT_EQ(Rix::valueStrep(SourcePortConfig(SourcePortType::sequential, 1, 2, 3)).str(),
              "Value('Sondar::SourcePortConfig', ** {'configType': 'sequential', 'num': 1, "
              "'optionalStart': 2, 'optionalStride': 3})");
    EXPECT_EQ(Rix::valueStrep(TorkSettings(true, 7)).str(),
              "Value('Sondar::TorkSettings', ** {'enabled': True, 'dstPort': 7})");

    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << TorkSettings(true, 0x1234) << ProbeRate(1, 2, ProbeRateUnit::minutes)
        << SourcePortConfig(SourcePortType::list, 3, 4, 5) << ProbesPerSecond(6);
    EXPECT_EQ(out->bytes(), (std::vector<U8>{1, 0x12, 0x34,                       //
                                             0, 1,    0,    2, 0, 0, 0, 1,        //
                                             0, 0,    0,    2, 0, 3, 0, 4, 0, 5,  //
                                             0, 0,    0,    6}));
}

TEST(ConfigValueTest, UnknownEnumeratorsPrintButDoNotRead) {
    EXPECT_EQ(stringValue(SourcePortType::sequential).str(), "sequential");
    EXPECT_EQ(stringValue(static_cast<SourcePortType>(3)).str(), "SourcePortType(3)");
    EXPECT_EQ(Rix::valueToStrep(static_cast<SourcePortType>(9)).str(), "'SourcePortType(9)'");
    EXPECT_EQ(stringValue(static_cast<ProbeRateUnit>(2)).str(), "ProbeRateUnit(2)");
    EXPECT_EQ(SourcePortTypeInstance(Rix::String8("list")), SourcePortType::list);
    EXPECT_EQ(ProbeRateUnitInstance(1u), ProbeRateUnit::minutes);
    std::ostringstream os;
    os << ProbeRateUnit::minutes << ' ' << SourcePortType::random;
    EXPECT_EQ(os.str(), "minutes random");

    EXPECT_EQ(rangeMessage([] { SourcePortTypeInstance(3u); }), "SourcePortType");
    EXPECT_EQ(rangeMessage([] { SourcePortTypeInstance(Rix::String8("List")); }), "SourcePortType");
    EXPECT_EQ(rangeMessage([] { ProbeRateUnitInstance(2u); }), "ProbeRateUnit");
    EXPECT_EQ(rangeMessage([] { ProbeRateUnitInstance(Rix::String8("hours")); }), "ProbeRateUnit");
    EXPECT_EQ(
        rangeMessage([] {
            Rix::strepToValue<ProbeRate>("Value('Sondar::ProbeRate', ** {'timeUnit': 'Seconds'})");
        }),
        "ProbeRateUnit");
    // a unit number of 2 in the attribute log
    const std::vector<U8> rate{0, 1, 0, 1, 0, 0, 0, 2};
    Rix::NboAttrLog::In in(rate);
    EXPECT_EQ(rangeMessage([&] { ProbeRate(&in, Rix::StreamBogon{}); }), "ProbeRateUnit");
    const std::vector<U8> port{0, 0, 0, 3, 0, 1, 0, 0, 0, 0};
    Rix::NboAttrLog::In portIn(port);
    EXPECT_EQ(rangeMessage([&] { SourcePortConfig(&portIn, Rix::StreamBogon{}); }),
              "SourcePortType");
}

TEST(ConfigValueTest, OrderingsAreFieldByField) {
    EXPECT_LT(ProbeRate(1, 1, ProbeRateUnit::seconds), ProbeRate(1, 1, ProbeRateUnit::minutes));
    EXPECT_GT(ProbeRate(2, 1, ProbeRateUnit::seconds), ProbeRate(1, 60, ProbeRateUnit::minutes));
    EXPECT_GT(ProbesPerSecond(4294967295u), ProbesPerSecond(0));
    const SourcePortConfig a(SourcePortType::sequential, 1, 1, 1),
        b(SourcePortType::sequential, 1, 1, 2);
    EXPECT_NE(a, b);
    EXPECT_LT(a, b);
    const Wirex::IpAddrWithMask s(Wirex::IpAddr(10, 0, 0, 1), 32);
    EXPECT_LT(IpDestSetConfig(s, 9), IpDestSetConfig(s, 10));
    EXPECT_LT(IpDestSetConfig(s, 10),
              IpDestSetConfig(Wirex::IpAddrWithMask(Wirex::IpAddr(10, 0, 0, 2), 0), 1));
    EXPECT_TRUE(!TorkSettings());
    EXPECT_FALSE(!TorkSettings(false, 1));
}

}  // namespace
}  // namespace Sondar
