#include "Sondar/stats/Epoch.h"

#include <gtest/gtest.h>

namespace Sondar {
namespace {

const char* kTooMany = "Epoch::useconds >= 1000000 not allowed";

TEST(EpochTest, MicrosecondsAreCheckedByEveryMaker) {
    EXPECT_NO_THROW(Epoch(5, 999999));
    auto message = [](auto&& make) {
        try {
            make();
        } catch (const Rix::RangeException& e) {
            return std::string(e.what());
        }
        return std::string("no exception");
    };
    EXPECT_EQ(message([] { Epoch(1, 1000000); }), kTooMany);
    EXPECT_EQ(message([] { Epoch e; e.usecondsIs(1000000); }), kTooMany);
    EXPECT_EQ(message([] {
                  Rix::strepToValue<Epoch>("Value('Sondar::Epoch', ** {'seconds': 5, 'useconds': 1000000})");
              }),
              kTooMany);
    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << U32{5} << U32{1000000};
    Rix::NboAttrLog::In in(out->bytes());
    EXPECT_EQ(message([&] { Epoch(&in, Rix::StreamBogon{}); }), kTooMany);
}

TEST(EpochTest, OrdersBySecondsThenMicroseconds) {
    EXPECT_LT(Epoch(1, 999999), Epoch(2, 0));
    EXPECT_LT(Epoch(2, 0), Epoch(2, 1));
    EXPECT_FALSE(Epoch(2, 1) < Epoch(2, 1));
    EXPECT_TRUE(!Epoch());
    EXPECT_FALSE(!Epoch(0, 1));
}

TEST(EpochTest, Forms) {
    const Epoch e(5, 0);
    EXPECT_EQ(valueToStrep(e).str(), "Value('Sondar::Epoch', ** {'seconds': 5, 'useconds': 0})");
    EXPECT_EQ(Rix::strepToValue<Epoch>("Value('Sondar::Epoch', ** {'useconds': 0, 'seconds': 5})"), e);
    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << Epoch(0x01020304, 0x000a0b0c);
    EXPECT_EQ(out->bytes(), (std::vector<U8>{1, 2, 3, 4, 0, 0x0a, 0x0b, 0x0c}));
}

}  // namespace
}  // namespace Sondar

namespace Sondar {
namespace {

TEST(EpochTest, ParseErrorsNameWhatWasWrong) {
    auto message = [](const char* text) {
        try {
            Rix::strepToValue<Epoch>(text);
        } catch (const Rix::RangeException& e) {
            return std::string(e.what());
        }
        return std::string("no exception");
    };
    EXPECT_EQ(message("Value('Sondar::Epoch', ** {'seconds': 5, 'nanos': 1})"), "Epoch has no such attribute: nanos");
    EXPECT_EQ(message("Value('Sondar::Epoch', ** {"), "premature end of value type Epoch");
    const char* junk = "Value('Sondar::Epoch', ** {'seconds': 5, 'useconds': 0})x";
    EXPECT_EQ(message(junk), std::string("junk at column 56 deserializing ") + junk);
    EXPECT_EQ(message("Value('Sondar::Epoch', ** {'seconds': -1})").find("expected unsigned integer"), 0u);
}

}  // namespace
}  // namespace Sondar
