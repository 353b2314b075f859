// Config: its defaults and attribute order, the checked setters, the derived maxima and the
// owned transmitters.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Sondar/config/Config.h"

namespace Sondar {
namespace {

struct ConfigLog : Config::NotifieeConst {
    std::string told;
    void onSupportedEgressStreams() override { told += "supportedEgressStreams "; }
    void onSupportedIngressStreams() override { told += "supportedIngressStreams "; }
    void onMaxEgressStreams() override { told += "maxEgressStreams "; }
    void onMaxIngressStreams() override { told += "maxIngressStreams "; }
    void onDestinationPort() override { told += "destinationPort "; }
    void onTransmitter(Rix::Name n) override { told += "transmitter " + n.str() + " "; }
    void onTransmitter() override { told += "transmitter* "; }
};

std::string rangeMessage(auto&& f) {
    try {
        f();
    } catch (const Rix::RangeException& e) {
        return e.what();
    }
    return "";
}

const std::string egress = "Config::maxEgressStreams > Config::supportedEgressStreams not allowed";
const std::string ingress =
    "Config::maxIngressStreams > Config::supportedIngressStreams not allowed";

TEST(ConfigTest, DefaultsInAttributeOrder) {
    const Rix::Ptr<Config> c = configFactory("config");
    const std::string want =
        "supportedEgressStreams=50000 supportedIngressStreams=50000 supportedEgressProbeRate=1000 "
        "supportedEgressProbeBurstRate=2000 minSupportedProbeInterval=0.05 rateRecomputeDefer=2.0 "
        "transmitter={} defaultMaxIngressStreams=50000 maxIngressStreams=50000 "
        "defaultMaxEgressStreams=50000 maxEgressStreams=50000 defaultDestinationPort=49152 "
        "destinationPort=49152 enabled=False defaultCheckpointInterval=60.0 "
        "checkpointInterval=60.0 "
        "logMessagePeriod=30.0 robustness=25 defaultIgnoreChecksum=False ignoreChecksum=False "
        "defaultPreserveStreams=False preserveStreams=False defaultAllowDestinationReuse=False "
        "allowDestinationReuse=False unknown=";
    std::string got;
    for (Rix::AttributeId id = 258; id <= 282; ++id) {
        got += std::string(got.empty() ? "" : " ") + c->attributeString(id) + "=" +
               (id < 282 ? c->attributeText(id).str() : "");
    }
    EXPECT_EQ(got, want);
}

TEST(ConfigTest, ConstantsAndDerivedCannotBeWritten) {
    Rix::Ptr<Config> c = configFactory("config");
    for (const char* name :
         {"defaultMaxIngressStreams", "defaultMaxEgressStreams", "defaultDestinationPort",
          "defaultCheckpointInterval", "logMessagePeriod", "defaultIgnoreChecksum",
          "defaultPreserveStreams", "defaultAllowDestinationReuse", "transmitter"}) {
        try {
            c->attributeTextIs(name, "1");
            ADD_FAILURE() << name << " was written";
        } catch (const Rix::UnsupportedOperationException& e) {
            EXPECT_EQ(e.attribute(), name);
        }
    }
}

// A setter that breaks max <= supported stores the value, throws, and tells nobody.
TEST(ConfigTest, CheckedSettersStoreThenThrowAndTellNobody) {
    struct Case {
        std::function<void(Config&)> act;
        std::string message, attribute, after, told;
    };
    // clang-format off
    const std::vector<Case> cases{
        {[](Config& c) { c.maxEgressStreamsIs(60000); }, egress, "maxEgressStreams", "60000", ""},
        {[](Config& c) { c.maxIngressStreamsIs(50001); }, ingress,
         "maxIngressStreams", "50001", ""},
        {[](Config& c) { c.supportedIngressStreamsIs(100); }, ingress,
         "supportedIngressStreams", "100", ""},
        {[](Config& c) { c.supportedEgressStreamsIs(49999); }, egress,
         "supportedEgressStreams", "49999", ""},
        {[](Config& c) { c.attributeTextIs("maxEgressStreams", "50001"); }, egress,
         "maxEgressStreams", "50001", ""},
        {[](Config& c) { c.maxIngressStreamsIs(50); c.supportedIngressStreamsIs(100); }, "",
         "supportedIngressStreams", "100", "maxIngressStreams supportedIngressStreams "},
        // the default maximum is the supported count modulo 65536
        {[](Config& c) { c.supportedEgressStreamsIs(70000); }, "",
         "defaultMaxEgressStreams", "4464", "supportedEgressStreams "},
        {[](Config& c) { c.supportedIngressStreamsIs(65536 + 7); }, "",
         "defaultMaxIngressStreams", "7", "supportedIngressStreams "},
        {[](Config& c) { c.destinationPortIs(49152); }, "", "destinationPort", "49152", ""},
    };
    // clang-format on
    for (std::size_t i = 0; i < cases.size(); ++i) {
        Rix::Ptr<Config> c = configFactory("config");
        ConfigLog log;
        log.notifierIs(c);
        EXPECT_EQ(rangeMessage([&] { cases[i].act(*c); }), cases[i].message) << i;
        EXPECT_EQ(c->attributeText(cases[i].attribute).str(), cases[i].after) << i;
        EXPECT_EQ(log.told, cases[i].told) << i;
    }
}

TEST(ConfigTest, OwnsItsTransmitters) {
    Rix::Ptr<Config> c = configFactory("config");
    ConfigLog log;
    log.notifierIs(c);
    Rix::Ptr<TransmitterConfig> a = c->transmitterIs("a");
    EXPECT_EQ(c->transmitterIs("a"), a);
    EXPECT_EQ(a->parent(), c.ptr());
    EXPECT_EQ(a->attributeInParent(), Config::transmitterId);
    EXPECT_EQ(c->transmitter("a"), a);
    EXPECT_FALSE(c->transmitter("b"));
    Rix::Ptr<TransmitterConfig> b = c->newTransmitter("b");
    EXPECT_EQ(c->transmitterSize(), 2u);
    c->transmitterDel("a");
    c->transmitterDel("a");
    EXPECT_EQ(a->parent(), nullptr);
    EXPECT_EQ(a->references(), 1);  // only ours is left
    EXPECT_EQ(c->attributeText("transmitter").str(), "{'b': 'b'}");
    c->transmitterDelAll();
    EXPECT_EQ(b->parent(), nullptr);
    EXPECT_EQ(log.told, "transmitter a transmitter b transmitter a transmitter b transmitter* ");
}

}  // namespace
}  // namespace Sondar
