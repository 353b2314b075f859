// Log handles: typed printf-like formatting, the rate limit on the framework clock, the sink.
#include <gtest/gtest.h>

#include <cstdio>
#include <limits>
#include <vector>

#include "Rix/Log.h"

namespace {

Rix::Seconds fakeNow = 1000.0;
Rix::Seconds fakeClock() { return fakeNow; }

class LogTest : public ::testing::Test {
  protected:
    void SetUp() override {
        fakeNow = 1000.0;
        oldClock_ = Rix::nowSourceIs(&fakeClock);
        oldSink_ = Rix::logSinkIs([this](const Rix::LogRecord& r) {
            lines_.push_back(std::string(r.handle.name()) + "|" +
                             std::to_string(r.handle.severity()) + "|" + r.text);
        });
    }
    void TearDown() override {
        Rix::logSinkIs(std::move(oldSink_));
        Rix::nowSourceIs(oldClock_);
    }
    std::vector<std::string> lines_;

  private:
    Rix::NowSource oldClock_ = nullptr;
    Rix::LogSink oldSink_;
};

// The oracle is snprintf with the length modifier that matches each argument's real type.
TEST_F(LogTest, FormattingTakesArgumentsByTheirOwnTypeAndGoesToTheSink) {
    const U64 big = std::numeric_limits<U64>::max();
    char expect[256];
    std::snprintf(expect, sizeof expect, "lost %llu of %lld on %s (%5.2f%%) [%-4s] %x %c",
                  static_cast<unsigned long long>(big), -3ll, "stream A", 12.345, "ab", 255u, 'z');
    Rix::LogHandle h("X", 4, "lost %d of %ld on %s (%5.2f%%) [%-4s] %x %c", "e", "a", 0, 1, 0);
    EXPECT_EQ(
        h.text(big, S8{-3}, Rix::String8("stream A"), 12.345, std::string("ab"), U16{255}, 'z'),
        expect);
    Rix::LogHandle plain("Y", 4, "100%% done, %u streams, %g s", "e", "a", 0, 1, 0);
    EXPECT_EQ(plain.text(2, 1.5f), "100% done, 2 streams, 1.5 s");
    EXPECT_EQ(Rix::logFormatArgCount("%d %% %s %5.1f"), 3u);
    // no truncation however long the argument
    const std::string longText(1000, 'q');
    EXPECT_EQ(Rix::LogHandle("Z", 4, "<%s>", "e", "a", 0, 1, 0).text(longText),
              "<" + longText + ">");
    Rix::LogHandle("SONDAR_PROBES_LOST", 4, "%d lost in %d s", "e", "a", 0.0, 1.0, 0)
        .log(U64{17}, 30);
    EXPECT_EQ(lines_, std::vector<std::string>{"SONDAR_PROBES_LOST|4|17 lost in 30 s"});
}

TEST_F(LogTest, MismatchedArgumentsAreProgrammingErrors) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    Rix::LogHandle h("X", 4, "%d probes on %s", "e", "a", 0, 1, 0);
    EXPECT_DEATH(h.text(1), "fewer arguments");
    EXPECT_DEATH(h.text(1, "s", 2), "more arguments");
    EXPECT_DEATH(h.text("s", "s"), "integer conversion takes an integer");
    EXPECT_DEATH(h.text(1, 2), "%s takes a string");
    EXPECT_DEATH(Rix::LogHandle("B", 4, "%*d", "e", "a", 0, 1, 0), "unsupported conversion");
    EXPECT_DEATH(Rix::LogHandle("B", 4, "ends in %", "e", "a", 0, 1, 0),
                 "ends inside a conversion");
}

TEST_F(LogTest, RateLimitAllowsBurstMessagesPerInterval) {
    Rix::LogHandle once("ONCE", 4, "m", "e", "a", 30.0, 1.0, 0);
    EXPECT_TRUE(once.okToLog());
    EXPECT_TRUE(once.okToLog()) << "asking alone does not use up the allowance";
    once.log();
    EXPECT_FALSE(once.okToLog());
    fakeNow += 29.999;
    EXPECT_FALSE(once.okToLog());
    fakeNow += 0.001;
    EXPECT_TRUE(once.okToLog());
    once.log();
    EXPECT_FALSE(once.okToLog());
    fakeNow -= 100.0;  // the clock stepped back: not silenced for a hundred seconds
    EXPECT_TRUE(once.okToLog());

    Rix::LogHandle three("THREE", 4, "m", "e", "a", 10.0, 3.0, 0);
    for (int i = 0; i < 3; ++i) {
        EXPECT_TRUE(three.okToLog()) << i;
        three.log();
    }
    EXPECT_FALSE(three.okToLog());
    fakeNow += 10.0;
    EXPECT_TRUE(three.okToLog());

    three.log();  // log() always emits; the limit is for okToLog() to tell
    Rix::LogHandle unlimited("FREE", 4, "m", "e", "a", 0.0, 1.0, 0);
    unlimited.log();
    EXPECT_TRUE(unlimited.okToLog());
    EXPECT_EQ(lines_.size(), 7u);
}

}  // namespace
