// Every statistics value type through both forms with every field non-default, and the text
// forms read by Python's ast with the attribute names in the expected order.
#include <gtest/gtest.h>

#include "Sondar/RoundTrip.h"
#include "Sondar/stats/Checkpoint.h"
#include "Sondar/stats/Counter.h"
#include "Sondar/stats/StreamRecords.h"

namespace Sondar {
namespace {

// Gives every field of a value type a distinct non-default value, recursively.
template <class T>
T sample(unsigned seed);

template <class T>
T sampleLeaf(unsigned seed) {
    if constexpr (std::is_same_v<T, bool>) return true;
    else if constexpr (std::is_floating_point_v<T>) return seed + 0.25;
    else if constexpr (std::is_integral_v<T>) return static_cast<T>(seed + 1);
    else if constexpr (std::is_same_v<T, Epoch>) return Epoch(seed + 1, seed + 2);
    else if constexpr (std::is_same_v<T, Rix::Name>) return Rix::Name("tx-" + std::to_string(seed));
    else if constexpr (std::is_same_v<T, Wirex::EthAddr>) {
        const U8 b[6] = {0, 0x1c, 0x73, 0, 0, static_cast<U8>(seed)};
        return Wirex::EthAddr(b);
    } else if constexpr (std::is_same_v<T, Wirex::IpAddr>) return Wirex::IpAddr(0x0a000000u + seed);
    else if constexpr (std::is_same_v<T, Wirex::IntfId>) return Wirex::IntfId("Ethernet" + std::to_string(seed));
    else if constexpr (std::is_same_v<T, Wirex::IpProto>) return Wirex::IpProto(static_cast<U8>(seed));
    else if constexpr (std::is_same_v<T, Bridging::VlanIdOrNone>) return Bridging::VlanIdOrNone(static_cast<U16>(seed));
    else return sample<T>(seed * 7 + 1);
}

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

template <class T>
class StatsValueForms : public ::testing::Test {};
using StatsTypes = ::testing::Types<Epoch, DuplicateProbeWindow, EpochSession, Counter, CheckpointCounter,
                                    CheckpointInterval, EgressCheckpointCounter, EgressCheckpointInterval,
                                    CheckpointTimesKey, CheckpointTimes, EgressHeader, EgressStream,
                                    IngressStream, EgressStreamTable, TransmitterStreamPair,
                                    IngressStreamStatisticsTableEntry, IngressCheckpointStatisticsTableEntry,
                                    EgressCheckpointStatisticsTableEntry>;
TYPED_TEST_SUITE(StatsValueForms, StatsTypes);

TYPED_TEST(StatsValueForms, RoundTripWithEveryFieldSet) {
    const TypeParam v = sample<TypeParam>(3);
    EXPECT_FALSE(!v);
    SondarTest::expectRoundTrip(v);
}

TEST(StatsValueFormsTest, PythonReadsTheNamesInOrder) {
    using S = std::vector<std::string>;
    SondarTest::expectPythonReads({
        {valueToStrep(sample<Epoch>(1)).str(), S{"seconds", "useconds"}},
        {valueToStrep(sample<DuplicateProbeWindow>(1)).str(),
         S{"windowStartSeq", "probesSeqWindow", "duplicateWinMask", "eventTime"}},
        {valueToStrep(sample<EpochSession>(1)).str(),
         S{"epoch", "maxSeqNumRecvd", "minSeqNumRecvd", "probesReceived", "lastSequenceNumber", "probesLost",
           "probesMisordered", "probesDuplicated", "probesSeqWindow", "windowStartSeq", "duplicateProbeWindow"}},
        {valueToStrep(sample<Counter>(1)).str(),
         S{"epoch", "probesReceived", "probesLost", "probesMisordered", "probesDuplicated", "lastSequenceNumber",
           "currentInterval", "lastLossTime", "lastMisorderedTime", "lastNwDisfuncTime", "lastDuplicateTime",
           "lastReceivedTime", "createdTime", "lastChangedEpochTime", "currentSequenceNumber", "lastProbesLost",
           "lastProbesMisordered", "lastProbesDuplicated", "probesMisorderedInc", "probesLostInc",
           "probesDuplicatedInc", "currentEpochSession", "prevEpochSession"}},
        {valueToStrep(sample<CheckpointCounter>(1)).str(),
         S{"epoch", "probesReceived", "probesLost", "probesMisordered", "probesDuplicated"}},
        {valueToStrep(sample<CheckpointInterval>(1)).str(),
         S{"epochChange", "duration", "probesReceived", "probesLost", "probesMisordered", "probesDuplicated",
           "lastNwDisfuncTime", "lastDuplicateTime"}},
        {valueToStrep(sample<EgressCheckpointCounter>(1)).str(), S{"epoch", "probesSent"}},
        {valueToStrep(sample<EgressCheckpointInterval>(1)).str(),
         S{"epochChange", "duration", "probesSent", "probeInterval"}},
        {valueToStrep(sample<CheckpointTimes>(1)).str(),
         S{"key", "versionInitial", "versionFinal", "endOfIngressCheckpoint", "startOfIngressCheckpoint",
           "endOfEgressCheckpoint", "startOfEgressCheckpoint"}},
        {valueToStrep(sample<IngressStream>(1)).str(),
         S{"srcEthAddr", "dstEthAddr", "tag", "dstIpAddr", "egressIntf", "egressIntfIp", "srcIpAddr", "ttl", "ipType",
           "srcPort", "egressIfIndex", "ingressIntf"}},
        {valueToStrep(sample<EgressHeader>(1)).str(),
         S{"srcEthAddr", "dstEthAddr", "tag", "dstIpAddr", "egressIntf", "egressIntfIp"}},
        {valueToStrep(sample<TransmitterStreamPair>(1)).str(), S{"transmitter", "stream"}},
        {valueToStrep(sample<EgressStreamTable>(1)).str(), S{"key", "numProbesTx", "numProbesNotTx", "probeInterval"}},
        {valueToStrep(sample<IngressStreamStatisticsTableEntry>(1)).str(), S{"key", "dormant", "counter"}},
        {valueToStrep(sample<EgressCheckpointStatisticsTableEntry>(1)).str(),
         S{"key", "lastWritten", "latestCheckpointCounter", "previousCheckpointCounter", "interval"}},
    });
}

TEST(StatsValueFormsTest, ExactFormsOfNestedValues) {
    const auto old = Rix::nowSourceIs([] { return 0.5; });
    EpochSession s;
    s.epochIs(Epoch(5, 0));
    EXPECT_EQ(valueToStrep(s).str(),
              "Value('Sondar::EpochSession', ** {'epoch': Value('Sondar::Epoch', ** {'seconds': 5, "
              "'useconds': 0}), 'maxSeqNumRecvd': 0, 'minSeqNumRecvd': 18446744073709551615, "
              "'probesReceived': 0, 'lastSequenceNumber': 0, 'probesLost': 0, 'probesMisordered': 0, "
              "'probesDuplicated': 0, 'probesSeqWindow': 0, 'windowStartSeq': 0, 'duplicateProbeWindow': "
              "Value('Sondar::DuplicateProbeWindow', ** {'windowStartSeq': 0, 'probesSeqWindow': 0, "
              "'duplicateWinMask': 0, 'eventTime': 0.0})})");
    // the binary form: epoch 8, nine U64 72, window 3 U64 + double 32
    Rix::Ptr<Rix::NboAttrLog::Out> out(new Rix::NboAttrLog::Out);
    out << Counter();
    EXPECT_EQ(out->bytes().size(), 8u + 5 * 8 + 8 * 8 + 7 * 8 + 2 * 112);
    Rix::nowSourceIs(old);
}

}  // namespace
}  // namespace Sondar
