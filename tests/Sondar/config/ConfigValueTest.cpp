// The configuration's value types: their round trip, exact forms, orderings and enumerations.
#include <gtest/gtest.h>

#include "Sondar/RoundTrip.h"
#include "Sondar/config/DestSetConfig.h"
#include "Sondar/config/ProbeRate.h"
#include "Sondar/config/ProbesPerSecond.h"
#include "Sondar/config/RateEntry.h"
#include "Sondar/config/SourcePortConfig.h"
#include "Sondar/config/TorkSettings.h"

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

TEST(ConfigValueTest, RoundTripEveryType) {
    EgressStream s;
    s.egressIntfIs(Wirex::IntfId("Ethernet1"));
    s.srcPortIs(5000);
    const ProbesPerSecond pps(4294967295u);
    const ProbeRate rate(3, 7, ProbeRateUnit::minutes);
    const SourcePortConfig port(SourcePortType::list, 4, 5000, 3);
    const TorkSettings tork(true, 49152);
    const IpDestSetConfig ip(Wirex::IpAddrWithMask(Wirex::IpAddr(10, 1, 2, 3), 24), 300);
    const Ip6DestSetConfig ip6(Wirex::Ip6AddrWithMask(Wirex::Ip6Addr("2001:db8::7"), 120), 9);
    const RateEntry entry(2.5, TransmitterStreamPair(Rix::Name("tx"), s));
    [](const auto&... v) { (SondarTest::expectRoundTrip(v), ...); }(pps, rate, port, tork, ip, ip6,
                                                                    entry);
    using SondarTest::fieldNames;
    SondarTest::expectPythonReads({{valueToStrep(pps).str(), {}},
                                   {valueToStrep(rate).str(), fieldNames<ProbeRate>()},
                                   {valueToStrep(port).str(), fieldNames<SourcePortConfig>()},
                                   {valueToStrep(tork).str(), fieldNames<TorkSettings>()},
                                   {valueToStrep(ip).str(), fieldNames<IpDestSetConfig>()},
                                   {valueToStrep(ip6).str(), fieldNames<Ip6DestSetConfig>()},
                                   {valueToStrep(entry).str(), fieldNames<RateEntry>()}});
}

TEST(ConfigValueTest, ExactTextAndBinaryForms) {
    EXPECT_EQ(Rix::strepToValue<ProbesPerSecond>("  77"), ProbesPerSecond(77));
    EXPECT_EQ(Rix::valueStrep(ProbeRate(1, 60, ProbeRateUnit::seconds)).str(),
              "Value('Sondar::ProbeRate', ** {'numProbes': 1, 'timeInterval': 60, 'timeUnit': "
              "'seconds'})");
    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << TorkSettings(true, 0x1234) << ProbeRate(1, 2, ProbeRateUnit::minutes)
        << SourcePortConfig(SourcePortType::list, 3, 4, 5) << ProbesPerSecond(6);
    EXPECT_EQ(out->bytes(), (std::vector<U8>{1, 0x12, 0x34,                       //
                                             0, 1,    0,    2, 0, 0, 0, 1,        //
                                             0, 0,    0,    2, 0, 3, 0, 4, 0, 5,  //
                                             0, 0,    0,    6}));
}

TEST(ConfigValueTest, UnknownEnumeratorsPrintButDoNotRead) {
    EXPECT_EQ(stringValue(static_cast<SourcePortType>(3)).str(), "SourcePortType(3)");
    EXPECT_EQ(Rix::valueToStrep(static_cast<SourcePortType>(9)).str(), "'SourcePortType(9)'");
    EXPECT_EQ(stringValue(static_cast<ProbeRateUnit>(2)).str(), "ProbeRateUnit(2)");
    EXPECT_EQ(rangeMessage([] { SourcePortTypeInstance(3u); }), "SourcePortType");
    EXPECT_EQ(rangeMessage([] { SourcePortTypeInstance(Rix::String8("List")); }), "SourcePortType");
    EXPECT_EQ(rangeMessage([] { ProbeRateUnitInstance(2u); }), "ProbeRateUnit");
    EXPECT_EQ(
        rangeMessage([] {
            Rix::strepToValue<ProbeRate>("Value('Sondar::ProbeRate', ** {'timeUnit': 'Seconds'})");
        }),
        "ProbeRateUnit");
    // unit number 2 and port type number 3 in the attribute log
    const std::vector<U8> rate{0, 1, 0, 1, 0, 0, 0, 2}, port{0, 0, 0, 3, 0, 1, 0, 0, 0, 0};
    Rix::NboAttrLog::In in(rate), portIn(port);
    EXPECT_EQ(rangeMessage([&] { ProbeRate(&in, Rix::StreamBogon{}); }), "ProbeRateUnit");
    EXPECT_EQ(rangeMessage([&] { SourcePortConfig(&portIn, Rix::StreamBogon{}); }),
              "SourcePortType");
}

TEST(ConfigValueTest, OrderingsAreFieldByField) {
    EXPECT_LT(ProbeRate(1, 1, ProbeRateUnit::seconds), ProbeRate(1, 1, ProbeRateUnit::minutes));
    EXPECT_GT(ProbeRate(2, 1, ProbeRateUnit::seconds), ProbeRate(1, 60, ProbeRateUnit::minutes));
    EXPECT_LT(SourcePortConfig(SourcePortType::sequential, 1, 1, 1),
              SourcePortConfig(SourcePortType::sequential, 1, 1, 2));
    const Wirex::IpAddrWithMask s(Wirex::IpAddr(10, 0, 0, 1), 32);
    EXPECT_LT(IpDestSetConfig(s, 9), IpDestSetConfig(s, 10));
    EXPECT_LT(IpDestSetConfig(s, 10),
              IpDestSetConfig(Wirex::IpAddrWithMask(Wirex::IpAddr(10, 0, 0, 2), 0), 1));
}

}  // namespace
}  // namespace Sondar
