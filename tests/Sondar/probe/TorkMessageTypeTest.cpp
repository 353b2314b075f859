#include <gtest/gtest.h>

#include <sstream>

#include "Sondar/probe/TorkMessageType.h"

namespace Sondar {
namespace {

std::string rangeMessage(auto&& make) {
    try {
        make();
    } catch (const Rix::RangeException& e) {
        return e.what();
    }
    return "no exception";
}

TEST(TorkMessageTypeTest, NamesNumbersAndTextForms) {
    const char* names[] = {"torkUnknownType", "torkProbe", "torkLastProbe"};
    for (U32 n = 0; n < 3; ++n) {
        const TorkMessageType t = TorkMessageTypeInstance(n);
        EXPECT_EQ(static_cast<U32>(t), n);
        EXPECT_EQ(TorkMessageTypeInstance(Rix::String8(names[n])), t);
        EXPECT_EQ(valueToStrep(t).str(), std::string("'") + names[n] + "'");
        EXPECT_EQ(Rix::strepToValue<TorkMessageType>(valueToStrep(t)), t);
        std::ostringstream os;
        os << t;
        EXPECT_EQ(os.str(), names[n]);
    }
    EXPECT_EQ(valueToStrep(static_cast<TorkMessageType>(200)).str(), "'TorkMessageType(200)'");
}

TEST(TorkMessageTypeTest, AnythingElseIsARangeError) {
    EXPECT_EQ(rangeMessage([] { TorkMessageTypeInstance(3u); }), "TorkMessageType");
    EXPECT_EQ(rangeMessage([] { TorkMessageTypeInstance(Rix::String8("torkprobe")); }),
              "TorkMessageType");
    EXPECT_EQ(rangeMessage([] { Rix::strepToValue<TorkMessageType>("'TorkMessageType(7)'"); }),
              "TorkMessageType");
    // The attribute log carries the number; an unknown one is refused on reading.
    Rix::NboAttrLog::Out out;
    nboWrite(out, static_cast<TorkMessageType>(9));
    Rix::NboAttrLog::In in(out.bytes());
    EXPECT_EQ(rangeMessage([&] { Rix::nboRead<TorkMessageType>(in); }), "TorkMessageType");
}

// The raw byte reads as a number and compares unsigned.
TEST(TorkMessageTypeTest, ImplTypeIsTheRawByte) {
    EXPECT_EQ(Rix::strepToValue<TorkImplMessageType>("200"), TorkImplMessageType(200));
    EXPECT_NE(rangeMessage([] { Rix::strepToValue<TorkImplMessageType>("256"); }), "no exception");
    EXPECT_LT(TorkImplMessageType(1), TorkImplMessageType(200));
}

}  // namespace
}  // namespace Sondar
