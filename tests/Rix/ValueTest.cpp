// The value-type machinery on a test-only pair of types, one nested in the other.
#include <gtest/gtest.h>

#include "Rix/Value.h"

namespace Demo {

class Inner {
  public:
    static constexpr std::string_view typeName = "Demo::Inner";
    static constexpr auto fields() {
        return std::tuple{Rix::field("a", &Inner::a_), Rix::field("b", &Inner::b_)};
    }
    Inner() = default;
    Inner(U32 a, U32 b) : a_(a), b_(b) { validate(); }
    void validate() const {
        if (b_ > 999) throw Rix::RangeException("Inner::b > 999 not allowed");
    }
    RIX_VALUE(Inner)
    friend bool operator==(const Inner&, const Inner&) = default;

  private:
    U32 a_ = 0;
    U32 b_ = 0;
};

class Outer {
  public:
    static constexpr std::string_view typeName = "Demo::Outer";
    static constexpr auto fields() {
        return std::tuple{Rix::field("inner", &Outer::inner_), Rix::field("flag", &Outer::flag_),
                          Rix::field("time", &Outer::time_), Rix::field("name", &Outer::name_),
                          Rix::field("count", &Outer::count_)};
    }
    Outer() = default;
    Outer(Inner i, bool f, double t, Rix::Name n, U64 c)
        : inner_(i), flag_(f), time_(t), name_(n), count_(c) {}
    RIX_VALUE(Outer)
    friend bool operator==(const Outer&, const Outer&) = default;

  private:
    Inner inner_;
    bool flag_ = false;
    double time_ = 0.0;
    Rix::Name name_;
    U64 count_ = 0;
};

// A single-value wrapper written as its bare field.
class Bare {
  public:
    static constexpr std::string_view typeName = "Demo::Bare";
    static constexpr bool bareText = true;
    static constexpr auto fields() { return std::tuple{Rix::field("value", &Bare::value_)}; }
    Bare() = default;
    explicit Bare(U16 v) : value_(v) {}
    RIX_VALUE(Bare)
    friend bool operator==(const Bare&, const Bare&) = default;

  private:
    U16 value_ = 0;
};

}  // namespace Demo

namespace {

using Demo::Inner;
using Demo::Outer;

const Outer kOuter(Inner(7, 42), true, 0.05, Rix::Name("it's"), 18446744073709551615ull);
const char* kOuterText =
    "Value('Demo::Outer', ** {'inner': Value('Demo::Inner', ** {'a': 7, 'b': 42}), 'flag': True, "
    "'time': 0.05, 'name': 'it\\'s', 'count': 18446744073709551615})";

TEST(ValueTest, TextFormRoundTripsWithNesting) {
    EXPECT_EQ(Rix::valueStrep(kOuter).str(), kOuterText);
    EXPECT_EQ(Rix::strepToValue<Outer>(kOuterText), kOuter);
}

TEST(ValueTest, ParserTakesAnyOrderAndNamesWhatIsWrong) {
    auto message = [](const char* text) {
        try {
            Rix::strepToValue<Inner>(text);
        } catch (const Rix::RangeException& e) {
            return std::string(e.what());
        }
        return std::string("no exception");
    };
    // any order and spacing; the last of a repeated field wins; missing ones take the default
    EXPECT_EQ(Rix::strepToValue<Inner>("Value('Demo::Inner', ** {'b': 2, 'a': 1})"), Inner(1, 2));
    EXPECT_EQ(Rix::strepToValue<Inner>("Value('Demo::Inner', ** {'a': 1, 'a': 3})"), Inner(3, 0));
    EXPECT_EQ(Rix::strepToValue<Inner>(" Value ( 'Demo::Inner' , ** { 'a' : 1 } ) "), Inner(1, 0));
    EXPECT_EQ(message("Value('Demo::Inner', ** {"), "premature end of value type Inner");
    EXPECT_EQ(message("Value('Demo::Inner', ** {'a': 1, 'c': 2})"),
              "Inner has no such attribute: c");
    EXPECT_EQ(message("Value('Demo::Inner', ** {'b': 1000})"), "Inner::b > 999 not allowed");
    EXPECT_EQ(message("Value('Demo::Inner', ** {'a': 1})x"),
              "junk at column 33 deserializing Value('Demo::Inner', ** {'a': 1})x");
    EXPECT_NE(message("Value('Demo::Other', ** {})").find("expected"), std::string::npos);
}

TEST(ValueTest, BinaryFormRoundTripsAndRefusesShortStreams) {
    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << kOuter;
    const auto& bytes = out->bytes();
    // Inner 8 + bool 1 + double 8 + string 4+4 + U64 8
    ASSERT_EQ(bytes.size(), 33u);
    EXPECT_EQ(bytes[3], 7);
    EXPECT_EQ(bytes[7], 42);
    Rix::NboAttrLog::In in(bytes);
    EXPECT_EQ(Outer(&in, Rix::StreamBogon{}), kOuter);
    EXPECT_TRUE(in.atEnd());
    for (std::size_t n = 0; n < bytes.size(); ++n) {
        Rix::NboAttrLog::In shortIn(bytes.data(), n);
        EXPECT_THROW(Outer(&shortIn, Rix::StreamBogon{}), Rix::RangeException) << n;
    }
}

// The parser once held a reference into the temporary field list; the sanitizer build catches
// that use after scope.
TEST(ValueTest, BareTextRoundTrips) {
    EXPECT_EQ(Rix::valueStrep(Demo::Bare(4094)).str(), "4094");
    EXPECT_EQ(Rix::strepToValue<Demo::Bare>("4094"), Demo::Bare(4094));
    EXPECT_THROW(Rix::strepToValue<Demo::Bare>("65536"), Rix::RangeException);
}

}  // namespace
