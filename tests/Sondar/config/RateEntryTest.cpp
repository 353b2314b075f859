// RateEntry's NaN-aware ordering and the collection that keeps entries from slowest to fastest.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "Sondar/config/RateEntry.h"

namespace Sondar {
namespace {

TransmitterStreamPair pair(const char* name, U16 port) {
    EgressStream s;
    s.srcPortIs(port);
    return TransmitterStreamPair(Rix::Name(name), s);
}

const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

// A plain restatement of the ordering rules, as the oracle.
bool referenceLess(const RateEntry& a, const RateEntry& b) {
    const double x = a.probesPerSecond(), y = b.probesPerSecond();
    if (std::isnan(x) || std::isnan(y)) return false;
    if (x != y) return x < y;
    return a.transmitterStream() < b.transmitterStream();
}

TEST(RateEntryTest, OrderingAgainstAReference) {
    const std::vector<RateEntry> entries{
        RateEntry(5.0, pair("a", 1)), RateEntry(5.0, pair("a", 2)),  RateEntry(5.0, pair("b", 0)),
        RateEntry(7.0, pair("a", 0)), RateEntry(-0.0, pair("a", 1)), RateEntry(0.0, pair("a", 2)),
        RateEntry(inf, pair("a", 0)), RateEntry(nan, pair("a", 0)),  RateEntry(nan, pair("a", 1))};
    for (const auto& a : entries) {
        for (const auto& b : entries) {
            EXPECT_EQ(a < b, referenceLess(a, b)) << a << " < " << b;
            EXPECT_EQ(a > b, referenceLess(b, a)) << a << " > " << b;
        }
    }
    EXPECT_FALSE(RateEntry(nan, pair("a", 0)) == RateEntry(nan, pair("a", 0)));
    EXPECT_TRUE(RateEntry(-0.0, pair("a", 0)) == RateEntry(0.0, pair("a", 0)));
}

TEST(RateEntryTest, CollectionRunsFromSlowestToFastest) {
    Rix::Ptr<OrderedRateEntryCollection> c(new OrderedRateEntryCollection);
    const RateEntry slow(1.0, pair("a", 0)), midA(5.0, pair("a", 0)), midB(5.0, pair("b", 0)),
        fast(7.0, pair("a", 0));
    c->orderedRateEntryCollectionIs(fast, true);
    c->orderedRateEntryCollectionIs(midB, false);
    c->newOrderedRateEntryCollection(midA, true);
    c->orderedRateEntryCollectionIs(slow, false);
    c->orderedRateEntryCollectionIs(midB, true);  // overwrites the flag
    auto walk = [](auto it) {
        std::vector<std::pair<double, bool>> out;
        for (; it; ++it) out.emplace_back(it.key().probesPerSecond(), it->value());
        return out;
    };
    using W = std::vector<std::pair<double, bool>>;
    EXPECT_EQ(walk(c->iteratorConst()), (W{{1.0, false}, {5.0, true}, {5.0, true}, {7.0, true}}));
    // from keys that are not in the collection
    EXPECT_EQ(walk(c->startAt(RateEntry(3.0, pair("a", 0)))),
              (W{{5.0, true}, {5.0, true}, {7.0, true}}));
    EXPECT_EQ(walk(c->findNext(midA)), (W{{5.0, true}, {7.0, true}}));
    EXPECT_EQ(c->findNext(midA).key(), midB);
}

}  // namespace
}  // namespace Sondar
