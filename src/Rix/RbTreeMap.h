#pragma once
// Rix::RbTreeMap: an ordered map (a red-black tree) under a caller-given ordering, with the two
// walks a table needs when it is read in pieces: startAt(key), the first element not less than
// key, and findNext(key), the first element greater than key. Both work for keys that are not in
// the map, so a reader can resume after an element that has since been removed.
#include <cstddef>
#include <functional>
#include <map>
#include <utility>

#include "Rix/MapAdapter.h"

namespace Rix {

template <class K, class V, class Less = std::less<K>>
class RbTreeMap : public MapAdapter<std::map<K, V, Less>> {
    using Base = MapAdapter<std::map<K, V, Less>>;

  public:
    using typename Base::Iterator;
    using typename Base::IteratorConst;

    RbTreeMap() = default;
    explicit RbTreeMap(Less less) : Base(std::move(less)) {}

    Iterator startAt(const K& key) { return this->map_.lower_bound(key); }
    IteratorConst startAt(const K& key) const { return this->map_.lower_bound(key); }
    Iterator findNext(const K& key) { return this->map_.upper_bound(key); }
    IteratorConst findNext(const K& key) const { return this->map_.upper_bound(key); }
};

}  // namespace Rix
