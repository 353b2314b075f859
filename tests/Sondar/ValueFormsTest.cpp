// Every value type of the model through both forms with every field non-default, the text forms
// read by Python's ast with the attribute names in order, and the exact forms and errors.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <sstream>

#include "Sondar/config/DestSetConfig.h"
#include "Sondar/config/ProbeRate.h"
#include "Sondar/config/ProbesPerSecond.h"
#include "Sondar/config/RateEntry.h"
#include "Sondar/config/SourcePortConfig.h"
#include "Sondar/config/TorkSettings.h"
#include "Sondar/probe/TorkMessageType.h"
#include "Sondar/stats/Checkpoint.h"
#include "Sondar/stats/Counter.h"
#include "Sondar/stats/StreamRecords.h"
#include "TestTools.h"

namespace Sondar {
namespace {

// Gives every field of a value type a distinct non-default value, recursively.
template <class T>
T sample(unsigned seed);

// clang-format off
template <class T>
T sampleLeaf(unsigned seed) {
    if constexpr (std::is_same_v<T, bool>) return true;
    else if constexpr (std::is_enum_v<T>) return static_cast<T>(1);
    else if constexpr (std::is_floating_point_v<T>) return seed + 0.25;
    else if constexpr (std::is_integral_v<T>) return static_cast<T>(seed + 1);
    else if constexpr (std::is_same_v<T, Rix::Name>) return Rix::Name("tx-" + std::to_string(seed));
    else if constexpr (std::is_same_v<T, Wirex::EthAddr>) {
        const U8 b[6] = {0, 0x1c, 0x73, 0, 0, static_cast<U8>(seed)};
        return Wirex::EthAddr(b);
    } else if constexpr (std::is_same_v<T, Wirex::IpAddr>) return Wirex::IpAddr(0x0a000000u + seed);
    else if constexpr (std::is_same_v<T, Wirex::IpAddrWithMask>)
        return Wirex::IpAddrWithMask(Wirex::IpAddr(0x0a000000u + (seed << 8)), 24);
    else if constexpr (std::is_same_v<T, Wirex::Ip6AddrWithMask>)
        return Wirex::Ip6AddrWithMask(Wirex::Ip6Addr("2001:db8::" + std::to_string(seed)), 120);
    else if constexpr (std::is_same_v<T, Wirex::IntfId>) return Wirex::IntfId("Ethernet" + std::to_string(seed));
    else if constexpr (std::is_same_v<T, Wirex::IpProto>) return Wirex::IpProto(static_cast<U8>(seed));
    else if constexpr (std::is_same_v<T, Bridging::VlanIdOrNone>) return Bridging::VlanIdOrNone(static_cast<U16>(seed));
    else return sample<T>(seed * 7 + 1);
}
// clang-format on

template <class T>
T sample(unsigned seed) {
    T v;
    unsigned i = 0;
    Rix::forEachField<T>([&](const auto& f) {
        using M = typename std::remove_cvref_t<decltype(f)>::Type;
        v.*(f.member) = sampleLeaf<M>(seed + ++i);
    });
    return v;
}

// Python's ast reads the text: each dictionary with ast.literal_eval, nested Value(...) calls level
// by level; it prints the outer attribute names in order, none for a bare literal.
const char* kAstNames = R"PY(
import ast, sys
def names(node):
    assert isinstance(node, ast.Call) and node.func.id == 'Value', ast.dump(node)
    assert len(node.args) == 1 and isinstance(node.args[0], ast.Constant)
    assert len(node.keywords) == 1 and node.keywords[0].arg is None
    d = node.keywords[0].value
    assert isinstance(d, ast.Dict)
    for v in d.values:
        names(v) if isinstance(v, ast.Call) else ast.literal_eval(v)
    return [ast.literal_eval(k) for k in d.keys]
body = ast.parse(sys.stdin.read(), mode='eval').body
print(','.join(names(body)) if isinstance(body, ast.Call) else (ast.literal_eval(body), '')[1])
)PY";

template <class T>
constexpr bool bareText() {
    if constexpr (requires { T::bareText; }) return T::bareText;
    return false;
}

template <class T>
class ValueForms : public ::testing::Test {};
using ValueTypes =
    ::testing::Types<Epoch, DuplicateProbeWindow, EpochSession, Counter, CheckpointCounter,
                     CheckpointInterval, EgressCheckpointCounter, EgressCheckpointInterval,
                     CheckpointTimesKey, CheckpointTimes, EgressHeader, EgressStream, IngressStream,
                     EgressStreamTable, TransmitterStreamPair, IngressStreamStatisticsTableEntry,
                     IngressCheckpointStatisticsTableEntry, EgressCheckpointStatisticsTableEntry,
                     ProbesPerSecond, ProbeRate, SourcePortConfig, TorkSettings, IpDestSetConfig,
                     Ip6DestSetConfig, RateEntry, TorkImplMessageType>;
TYPED_TEST_SUITE(ValueForms, ValueTypes);

TYPED_TEST(ValueForms, RoundTripWithEveryFieldSet) {
    using T = TypeParam;
    const T v = sample<T>(3), dflt{};
    std::string names;
    Rix::forEachField<T>([&](const auto& f) {
        EXPECT_FALSE(v.*(f.member) == dflt.*(f.member)) << f.name << " is default in the sample";
        names += std::string(names.empty() ? "" : ",") + f.name;
    });
    const Rix::String8 text = valueToStrep(v);
    const T fromText = Rix::strepToValue<T>(text);
    EXPECT_TRUE(fromText == v) << text;
    EXPECT_EQ(valueToStrep(fromText).str(), text.str());

    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out), again(new Rix::NboAttrLog::Out);
    out << v;
    Rix::NboAttrLog::In in(out->bytes());
    const T fromBinary(&in, Rix::StreamBogon{});
    EXPECT_TRUE(in.atEnd());
    EXPECT_TRUE(fromBinary == v);
    again << fromBinary;
    EXPECT_EQ(again->bytes(), out->bytes());
    // every strict prefix of the binary form is refused, never over-read
    for (std::size_t n = 0; n < out->bytes().size(); ++n) {
        Rix::NboAttrLog::In shortIn(out->bytes().data(), n);
        EXPECT_THROW(T(&shortIn, Rix::StreamBogon{}), Rix::RangeException) << n;
    }

    if (access(SondarTest::python(), X_OK) != 0) GTEST_SKIP() << "no /usr/bin/python3";
    SondarTest::ScratchDir dir;
    std::ofstream(dir.file("names.py")) << kAstNames;
    std::ofstream(dir.file("text")) << text.str();
    int status = -1;
    const std::string got =
        SondarTest::runCommand(std::string(SondarTest::python()) + " " + dir.file("names.py") +
                                   " <" + dir.file("text") + " 2>&1",
                               &status);
    EXPECT_EQ(status, 0) << got;
    EXPECT_EQ(got, (bareText<T>() ? "" : names) + "\n") << text;
}

TEST(ValueFormsTest, ExactFormsOrderingsAndEnumerationNames) {
    const auto old = Rix::nowSourceIs([] { return 0.5; });
    EpochSession s;
    s.epochIs(Epoch(5, 0));
    EXPECT_EQ(
        valueToStrep(s).str(),
        "Value('Sondar::EpochSession', ** {'epoch': Value('Sondar::Epoch', ** {'seconds': 5, "
        "'useconds': 0}), 'maxSeqNumRecvd': 0, 'minSeqNumRecvd': 18446744073709551615, "
        "'probesReceived': 0, 'lastSequenceNumber': 0, 'probesLost': 0, 'probesMisordered': 0, "
        "'probesDuplicated': 0, 'probesSeqWindow': 0, 'windowStartSeq': 0, 'duplicateProbeWindow': "
        "Value('Sondar::DuplicateProbeWindow', ** {'windowStartSeq': 0, 'probesSeqWindow': 0, "
        "'duplicateWinMask': 0, 'eventTime': 0.0})})");
    EXPECT_EQ(Rix::strepToValue<Epoch>("Value('Sondar::Epoch', ** {'useconds': 0, 'seconds': 5})"),
              Epoch(5, 0));
    EXPECT_EQ(Rix::strepToValue<ProbesPerSecond>("  77"), ProbesPerSecond(77));
    EXPECT_EQ(valueToStrep(static_cast<TorkMessageType>(200)).str(), "'TorkMessageType(200)'");
    EXPECT_EQ(stringValue(static_cast<SourcePortType>(3)).str(), "SourcePortType(3)");

    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << Epoch(0x01020304, 0x000a0b0c) << TorkSettings(true, 0x1234)
        << ProbeRate(1, 2, ProbeRateUnit::minutes)
        << SourcePortConfig(SourcePortType::list, 3, 4, 5) << ProbesPerSecond(6);
    EXPECT_EQ(out->bytes(), (std::vector<U8>{1, 2,    3,    4, 0, 0x0a, 0x0b, 0x0c,        //
                                             1, 0x12, 0x34,                                //
                                             0, 1,    0,    2, 0, 0,    0,    1,           //
                                             0, 0,    0,    2, 0, 3,    0,    4,    0, 5,  //
                                             0, 0,    0,    6}));
    // epoch 8, five U64, eight times, seven U64, and two sessions of 112 bytes
    Rix::Ptr<Rix::NboAttrLog::Out> counter(new Rix::NboAttrLog::Out);
    counter << Counter();
    EXPECT_EQ(counter->bytes().size(), 8u + 5 * 8 + 8 * 8 + 7 * 8 + 2 * 112);
    Rix::nowSourceIs(old);

    // the raw message type compares unsigned; a rate orders field by field, not by speed
    EXPECT_LT(TorkImplMessageType(1), TorkImplMessageType(200));
    EXPECT_GT(ProbeRate(2, 1, ProbeRateUnit::seconds), ProbeRate(1, 60, ProbeRateUnit::minutes));
    EXPECT_LT(Epoch(1, 999999), Epoch(2, 0));

    const char* names[] = {"torkUnknownType", "torkProbe", "torkLastProbe"};
    for (U32 n = 0; n < 3; ++n) {
        const TorkMessageType t = TorkMessageTypeInstance(n);
        EXPECT_EQ(TorkMessageTypeInstance(Rix::String8(names[n])), t);
        EXPECT_EQ(valueToStrep(t).str(), std::string("'") + names[n] + "'");
        EXPECT_EQ(Rix::strepToValue<TorkMessageType>(valueToStrep(t)), t);
        std::ostringstream os;
        os << t;
        EXPECT_EQ(os.str(), names[n]);
    }
}

// A reading of a text or binary form, for a table of errors.
template <class T>
std::function<void()> fromText(std::string text) {
    return [text] { Rix::strepToValue<T>(text); };
}
template <class T>
std::function<void()> fromBinary(std::vector<U8> bytes) {
    return [bytes] {
        Rix::NboAttrLog::In in(bytes);
        (void)Rix::nboRead<T>(in);
    };
}

TEST(ValueFormsTest, ParseAndRangeErrorsSayWhatWasWrong) {
    const std::string junk = "Value('Sondar::Epoch', ** {'seconds': 5, 'useconds': 0})x";
    const char* tooMany = "Epoch::useconds >= 1000000 not allowed";
    struct Case {
        std::function<void()> make;
        std::string message;
        bool whole = true;  // else only the start of the text
    };
    // clang-format off
    const Case cases[] = {
        {[] { Epoch(1, 1000000); }, tooMany},
        {[] { Epoch().usecondsIs(1000000); }, tooMany},
        {fromText<Epoch>("Value('Sondar::Epoch', ** {'seconds': 5, 'useconds': 1000000})"), tooMany},
        {fromBinary<Epoch>({0, 0, 0, 5, 0, 0x0f, 0x42, 0x40}), tooMany},
        {fromText<Epoch>("Value('Sondar::Epoch', ** {'seconds': 5, 'nanos': 1})"),
         "Epoch has no such attribute: nanos"},
        {fromText<Epoch>("Value('Sondar::Epoch', ** {"), "premature end of value type Epoch"},
        {fromText<Epoch>(junk), "junk at column 56 deserializing " + junk},
        {fromText<Epoch>("Value('Sondar::Epoch', ** {'seconds': -1})"), "expected unsigned integer",
         false},
        {[] { TorkMessageTypeInstance(3u); }, "TorkMessageType"},
        {[] { TorkMessageTypeInstance(Rix::String8("torkprobe")); }, "TorkMessageType"},
        {fromText<TorkMessageType>("'TorkMessageType(7)'"), "TorkMessageType"},  // printed, not read
        {fromBinary<TorkMessageType>({0, 0, 0, 9}), "TorkMessageType"},
        {[] { SourcePortTypeInstance(Rix::String8("List")); }, "SourcePortType"},
        {fromBinary<SourcePortConfig>({0, 0, 0, 3, 0, 1, 0, 0, 0, 0}), "SourcePortType"},
        {[] { ProbeRateUnitInstance(2u); }, "ProbeRateUnit"},
        {fromText<ProbeRate>("Value('Sondar::ProbeRate', ** {'timeUnit': 'Seconds'})"),
         "ProbeRateUnit"},
        {fromBinary<ProbeRate>({0, 1, 0, 1, 0, 0, 0, 2}), "ProbeRateUnit"},
        {fromText<TorkImplMessageType>("256"), "", false},  // a byte: any message
    };
    // clang-format on
    for (const Case& c : cases) {
        try {
            c.make();
            ADD_FAILURE() << "no exception for " << c.message;
        } catch (const Rix::RangeException& e) {
            const std::string what = e.what();
            EXPECT_EQ(c.whole ? what : what.substr(0, c.message.size()), c.message);
        }
    }
}

}  // namespace
}  // namespace Sondar
