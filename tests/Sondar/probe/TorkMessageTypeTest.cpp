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
    struct Case {
        U32 value;
        const char* name;
    };
    for (const Case& c :
         {Case{0, "torkUnknownType"}, Case{1, "torkProbe"}, Case{2, "torkLastProbe"}}) {
        const TorkMessageType t = TorkMessageTypeInstance(c.value);
        EXPECT_EQ(static_cast<U32>(t), c.value);
        EXPECT_EQ(stringValue(t).str(), c.name);
        EXPECT_EQ(TorkMessageTypeInstance(Rix::String8(c.name)), t);
        EXPECT_EQ(valueToStrep(t).str(), std::string("'") + c.name + "'");
        EXPECT_EQ(Rix::strepToValue<TorkMessageType>(valueToStrep(t)), t);
        std::ostringstream os;
        os << t;
        EXPECT_EQ(os.str(), c.name);
    }
    EXPECT_EQ(stringValue(static_cast<TorkMessageType>(7)).str(), "TorkMessageType(7)");
    EXPECT_EQ(valueToStrep(static_cast<TorkMessageType>(200)).str(), "'TorkMessageType(200)'");
}

TEST(TorkMessageTypeTest, AnythingElseIsARangeError) {
    EXPECT_EQ(rangeMessage([] { TorkMessageTypeInstance(3u); }), "TorkMessageType");
    EXPECT_EQ(rangeMessage([] { TorkMessageTypeInstance(0xffffffffu); }), "TorkMessageType");
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

TEST(TorkMessageTypeTest, ImplTypeIsTheRawByte) {
    EXPECT_EQ(valueToStrep(TorkImplMessageType(200)).str(), "200");
    EXPECT_EQ(Rix::strepToValue<TorkImplMessageType>("17"), TorkImplMessageType(17));
    EXPECT_NE(rangeMessage([] { Rix::strepToValue<TorkImplMessageType>("256"); }), "no exception");
    // Compared as unsigned bytes, not as signed characters.
    EXPECT_LT(TorkImplMessageType(1), TorkImplMessageType(200));
    EXPECT_GE(TorkImplMessageType(255), TorkImplMessageType(128));
    EXPECT_TRUE(!TorkImplMessageType());
    EXPECT_FALSE(!TorkImplMessageType(3));
}

}  // namespace
}  // namespace Sondar
