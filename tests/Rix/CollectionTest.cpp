// HashMap and RbTreeMap under custom functors, checked against a plain reference model.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>

#include "Rix/HashMap.h"
#include "Rix/RbTreeMap.h"
#include "Rix/Types.h"

namespace {

// A key with its own hash() and a priority ordering that is not its field order.
struct Key {
    U32 a;
    U32 b;
    std::size_t hash() const noexcept { return a * 31u + b; }
    friend bool operator==(const Key&, const Key&) = default;
};
struct ByBThenA {
    bool operator()(const Key& x, const Key& y) const {
        return x.b != y.b ? x.b > y.b : x.a < y.a;  // b descending, then a ascending
    }
};

TEST(HashMapTest, UsesTheKeysOwnHashAndReportsWhatChanged) {
    EXPECT_EQ(Rix::DefaultHash<Key>()(Key{2, 3}), 65u);
    Rix::HashMap<Key, std::string> m;
    EXPECT_TRUE(m.insertOrAssign(Key{1, 2}, "one"));
    EXPECT_FALSE(m.insertOrAssign(Key{1, 2}, "uno"));
    const auto [v, inserted] = m.tryEmplace(Key{1, 2}, "again");
    EXPECT_FALSE(inserted);
    EXPECT_EQ(*v, "uno");
    EXPECT_EQ(m.find(Key{2, 1}), nullptr);
    EXPECT_TRUE(m.erase(Key{1, 2}));
    EXPECT_FALSE(m.erase(Key{1, 2}));
}

TEST(RbTreeMapTest, StartAtAndFindNextMatchAReferenceUnderACustomOrder) {
    Rix::RbTreeMap<Key, int, ByBThenA> tree;
    std::vector<Key> sorted;  // the reference: the distinct keys, put in order by a plain sort
    std::mt19937 rng(7);
    for (int i = 0; i < 200; ++i) {
        Key k{static_cast<U32>(rng() % 10), static_cast<U32>(rng() % 10)};
        tree.insertOrAssign(k, i);
        if (std::find(sorted.begin(), sorted.end(), k) == sorted.end()) sorted.push_back(k);
    }
    std::sort(sorted.begin(), sorted.end(), ByBThenA());
    std::vector<Key> walked;
    for (const auto& [k, v] : tree) walked.push_back(k);
    ASSERT_TRUE(walked == sorted);
    // where a tree iterator stands in the reference
    auto at = [&](auto it) {
        return it == tree.end() ? sorted.end() : std::find(sorted.begin(), sorted.end(), it->first);
    };
    for (U32 a = 0; a < 11; ++a) {
        for (U32 b = 0; b < 11; ++b) {
            const Key probe{a, b};
            auto lo = std::find_if(sorted.begin(), sorted.end(),
                                   [&](const Key& k) { return !ByBThenA()(k, probe); });
            auto hi = std::find_if(sorted.begin(), sorted.end(),
                                   [&](const Key& k) { return ByBThenA()(probe, k); });
            EXPECT_TRUE(at(tree.startAt(probe)) == lo) << a << "," << b;
            EXPECT_TRUE(at(tree.findNext(probe)) == hi) << a << "," << b;
            EXPECT_EQ(tree.contains(probe), lo != sorted.end() && *lo == probe);
        }
    }
}

TEST(RbTreeMapTest, ResumingAfterARemovedKeyContinuesInOrder) {
    Rix::RbTreeMap<int, int> tree;
    for (int i = 0; i < 10; i += 2) tree[i] = i;
    std::vector<int> seen;
    int cursor = -1;
    for (auto it = tree.startAt(0); it != tree.end(); it = tree.findNext(cursor)) {
        cursor = it->first;
        seen.push_back(cursor);
        tree.erase(cursor);  // the walk must survive losing the element it stands on
    }
    EXPECT_EQ(seen, (std::vector<int>{0, 2, 4, 6, 8}));
    EXPECT_TRUE(tree.empty());
}

}  // namespace
