// Text forms of primitives, with Python's literal syntax as the reference where it applies.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "Rix/Strep.h"

namespace {

template <class T>
std::string errorOf(const char* text) {
    try {
        Rix::strepToValue<T>(text);
    } catch (const Rix::RangeException& e) {
        return e.what();
    }
    return "no exception";
}

TEST(StrepTest, IntegersAndBoolsAtTheirLimits) {
    EXPECT_EQ(Rix::strepToValue<U8>("255"), 255);
    EXPECT_EQ(Rix::strepToValue<S8>("-128"), -128);
    EXPECT_EQ(Rix::strepToValue<S64>("-9223372036854775808"), std::numeric_limits<S64>::min());
    EXPECT_EQ(Rix::strepToValue<U64>(" 18446744073709551615 "), std::numeric_limits<U64>::max());
    EXPECT_EQ(Rix::strepToValue<S32>("-0"), 0);
    EXPECT_EQ(Rix::valueToStrep(std::numeric_limits<S64>::min()).str(), "-9223372036854775808");
    EXPECT_EQ(Rix::valueToStrep(true).str() + Rix::valueToStrep(false).str(), "TrueFalse");
    EXPECT_TRUE(Rix::strepToValue<bool>(" True"));
    EXPECT_FALSE(Rix::strepToValue<bool>("False "));
}

// Every parser's refusal is a range error saying what was wrong.
TEST(StrepTest, BadTextIsARangeErrorNamingTheProblem) {
    EXPECT_EQ(errorOf<S8>("-129"), "integer out of range (-128 to 127): '-129'");
    auto says = [](const std::string& error, const char* what) {
        return error.find(what) != std::string::npos;
    };
    for (const char* t : {"256", "99999999999999999999999"})
        EXPECT_TRUE(says(errorOf<U8>(t), "out of range")) << t;
    EXPECT_TRUE(says(errorOf<S8>("128"), "out of range"));
    EXPECT_TRUE(says(errorOf<U64>("18446744073709551616"), "out of range"));
    EXPECT_TRUE(says(errorOf<double>("1e999"), "out of range"));
    for (const char* t : {"", "-", "x1", "-1", "+1"})
        EXPECT_TRUE(says(errorOf<U32>(t), "expected")) << t;
    EXPECT_TRUE(says(errorOf<S32>("- 1"), "expected"));
    for (const char* t : {"", "+", "-", "x", ".e"})
        EXPECT_TRUE(says(errorOf<double>(t), "expected")) << t;
    for (const char* t : {"true", "1", "Tru", "Fals", ""})
        EXPECT_TRUE(says(errorOf<bool>(t), "True or False")) << t;
    for (const char* t : {"'open", "'ends in backslash\\", "noquote", "\"double\""})
        EXPECT_THROW(Rix::strepToValue<Rix::String8>(t), Rix::RangeException) << t;
}

TEST(StrepTest, DoublesAreShortestAndAlwaysLookLikeFloats) {
    const struct {
        double v;
        const char* text;
    } cases[] = {{0.0, "0.0"},         {0.05, "0.05"},    {60.0, "60.0"},
                 {-0.0, "-0.0"},       {1e21, "1e+21"},   {0.1 + 0.2, "0.30000000000000004"},
                 {1.5e-7, "1.5e-07"},  {HUGE_VAL, "inf"}, {-HUGE_VAL, "-inf"},
                 {std::nan(""), "nan"}};
    for (const auto& c : cases) {
        EXPECT_EQ(Rix::valueToStrep(c.v).str(), c.text);
        const double back = Rix::strepToValue<double>(c.text);
        if (std::isnan(c.v))
            EXPECT_TRUE(std::isnan(back));
        else
            EXPECT_EQ(std::memcmp(&back, &c.v, sizeof back), 0) << c.text;
    }
    // every double reads back bit for bit from its text
    std::mt19937_64 rng(11);
    for (int i = 0; i < 2000; ++i) {
        U64 bits = rng();
        double v;
        std::memcpy(&v, &bits, sizeof v);
        if (std::isnan(v)) continue;
        const Rix::String8 text = Rix::valueToStrep(v);
        EXPECT_NE(text.str().find_first_of(".eni"), std::string::npos) << text;
        EXPECT_EQ(Rix::strepToValue<double>(text), v) << text;
    }
    EXPECT_EQ(Rix::strepToValue<double>("+2.5"), 2.5);
}

TEST(StrepTest, ReadersStopAtTheEndOfTheirRange) {
    // the range ends before the characters that would complete the value
    const Rix::String8 text("+5 'ab' 77");
    Rix::StrepPos pos = text.begin();
    EXPECT_THROW(Rix::sequenceToValue<double>(pos, text.begin()), Rix::RangeException);
    pos = text.begin() + 3;
    EXPECT_THROW(Rix::sequenceToValue<Rix::String8>(pos, text.begin() + 6), Rix::RangeException);
    pos = text.begin() + 8;
    EXPECT_EQ(Rix::sequenceToValue<U32>(pos, text.begin() + 9), 7u);
    EXPECT_EQ(pos, text.begin() + 9);
}

TEST(StrepTest, StringsAreQuotedWithEscapes) {
    const Rix::String8 tricky("it's a \\ back'slash");
    EXPECT_EQ(Rix::valueToStrep(tricky).str(), "'it\\'s a \\\\ back\\'slash'");
    EXPECT_EQ(Rix::strepToValue<Rix::String8>(Rix::valueToStrep(tricky)), tricky);
    EXPECT_EQ(Rix::strepToValue<Rix::Name>("  'Ethernet1'"), Rix::Name("Ethernet1"));
    EXPECT_EQ(Rix::strepToValue<Rix::String8>("''"), Rix::String8(""));
}

TEST(StrepTest, NeedStringBlankMatchesAnyWhiteSpaceIncludingNone) {
    for (const char* text : {"{'a':", "{ 'a' :", "{\n\t'a'   :"}) {
        const Rix::String8 s(text);
        Rix::StrepPos pos = s.begin();
        EXPECT_NO_THROW(Rix::needString(pos, s.end(), "{ 'a' :")) << text;
        EXPECT_EQ(pos, s.end());
    }
    const Rix::String8 s("{ 'b'");
    Rix::StrepPos pos = s.begin();
    EXPECT_THROW(Rix::needString(pos, s.end(), "{ 'a'"), Rix::RangeException);
    EXPECT_EQ(pos, s.begin()) << "a failed match consumes nothing";
    EXPECT_THROW(Rix::needString(pos, s.end(), "{ 'b' }"), Rix::RangeException);
}

TEST(StrepTest, JunkAfterAValueNamesItsColumn) {
    EXPECT_EQ(errorOf<U32>("12 x"), "junk at column 3 deserializing 12 x");
    EXPECT_EQ(errorOf<bool>("Truex"), "junk at column 4 deserializing Truex");
    EXPECT_EQ(Rix::strepToValue<U32>(" 12 \n"), 12u);
}

}  // namespace
