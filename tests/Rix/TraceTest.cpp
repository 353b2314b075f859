// Tracing: levels per module from the environment and the API, the capture sink, and that a
// trace line's text is not built when its level is off.
#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

#include "Rix/Exception.h"
#include "Rix/Trace.h"

namespace {

// Counts how often it is written to a stream: the proof that a trace text was built.
struct Costly {
    int* built;
};
std::ostream& operator<<(std::ostream& os, const Costly& c) {
    ++*c.built;
    return os << "costly";
}

class TraceTest : public ::testing::Test {
  protected:
    void SetUp() override {
        old_ = Rix::traceSinkIs([this](const Rix::TraceRecord& r) {
            lines_.push_back(std::string(r.module) + "/" + std::to_string(r.level) + " " + r.text);
        });
    }
    void TearDown() override { Rix::traceSinkIs(std::move(old_)); }
    std::vector<std::string> lines_;
    Rix::TraceSink old_;
};

TEST_F(TraceTest, TextIsBuiltOnlyWhenTheLevelIsOn) {
    Rix::TraceModule m("TraceTestA");
    int built = 0;
    RIX_TRACE(m, 6, "lost " << Costly{&built});
    EXPECT_EQ(built, 0);
    Rix::traceLevelsIs("TraceTestA", "6");
    RIX_TRACE(m, 5, Costly{&built});
    RIX_TRACE(m, 6, "lost " << 3 << ' ' << Costly{&built});
    EXPECT_EQ(built, 1);
    ASSERT_EQ(lines_.size(), 1u);
    EXPECT_EQ(lines_[0], "TraceTestA/6 lost 3 costly");
}

TEST_F(TraceTest, LevelSyntaxAndTheApi) {
    Rix::TraceModule m("TraceTestB");
    const struct {
        const char* levels;
        U16 mask;
    } good[] = {{"", 0}, {"0", 1}, {"9", 0x200}, {"6,8", 0x140}, {"0-9", 0x3ff}, {"2-4,9", 0x21c}};
    for (const auto& g : good) {
        Rix::traceLevelsIs("TraceTestB", g.levels);
        EXPECT_EQ(m.levels(), g.mask) << g.levels;
    }
    for (const char* bad : {"a", "10", "4-2", "1-", "1;2", "-3"}) {
        EXPECT_THROW(Rix::traceLevelsIs("TraceTestB", bad), Rix::RangeException) << bad;
    }
    EXPECT_THROW(Rix::traceLevelsIs("NoSuchModule", "1"), Rix::RangeException);
    Rix::traceConfigIs("TraceTestB=1 ; TraceTestB=3,5");
    EXPECT_EQ(m.levels(), 0x28);
    m.levelIs(3, false);
    m.levelIs(12, true);  // no such level: ignored
    EXPECT_EQ(m.levels(), 0x20);
    EXPECT_EQ(Rix::traceModule("TraceTestB"), &m);
    { Rix::TraceModule gone("TraceTestGone"); }  // leaves the registry when destroyed
    EXPECT_EQ(Rix::traceModule("TraceTestGone"), nullptr);
    Rix::traceLevelsIs("*", "1");  // touches every registered module
    EXPECT_EQ(m.levels(), 0x2);
    Rix::traceLevelsIs("*", "");
    EXPECT_EQ(m.levels(), 0);
}

TEST_F(TraceTest, EnvironmentSetsModulesAsTheyRegister) {
    ASSERT_EQ(setenv("SONDAR_TRACE", "TraceTestC=6,8; *=1 ;TraceTestD=0-2", 1), 0);
    Rix::TraceModule c("TraceTestC"), d("TraceTestD");
    unsetenv("SONDAR_TRACE");
    // later items win: "*" overrides C, D is set after it
    EXPECT_EQ(c.levels(), 0x2);
    EXPECT_EQ(d.levels(), 0x7);
}

}  // namespace
