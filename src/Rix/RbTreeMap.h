#pragma once
// Rix::RbTreeMap: an ordered map (a red-black tree) under a caller-given ordering, with the two
// walks a table needs when it is read in pieces: startAt(key), the first element not less than
// key, and findNext(key), the first element greater than key. Both work for keys that are not in
// the map, so a reader can resume after an element that has since been removed.
#include <cstddef>
#include <functional>
#include <map>
#include <utility>

namespace Rix {

template <class K, class V, class Less = std::less<K>>
class RbTreeMap {
    using Map = std::map<K, V, Less>;

  public:
    using key_type = K;
    using mapped_type = V;
    using value_type = typename Map::value_type;
    using Iterator = typename Map::iterator;
    using IteratorConst = typename Map::const_iterator;
    using iterator = Iterator;
    using const_iterator = IteratorConst;

    RbTreeMap() = default;
    explicit RbTreeMap(Less less) : map_(std::move(less)) {}

    std::size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    void clear() noexcept { map_.clear(); }

    V* find(const K& key) {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    const V* find(const K& key) const {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    bool contains(const K& key) const { return map_.find(key) != map_.end(); }

    Iterator startAt(const K& key) { return map_.lower_bound(key); }
    IteratorConst startAt(const K& key) const { return map_.lower_bound(key); }
    Iterator findNext(const K& key) { return map_.upper_bound(key); }
    IteratorConst findNext(const K& key) const { return map_.upper_bound(key); }

    template <class VV>
    bool insertOrAssign(const K& key, VV&& value) {
        return map_.insert_or_assign(key, std::forward<VV>(value)).second;
    }
    template <class... A>
    std::pair<V*, bool> tryEmplace(const K& key, A&&... args) {
        auto [it, inserted] = map_.try_emplace(key, std::forward<A>(args)...);
        return {&it->second, inserted};
    }
    V& operator[](const K& key) { return map_[key]; }
    bool erase(const K& key) { return map_.erase(key) != 0; }
    Iterator erase(IteratorConst it) { return map_.erase(it); }

    Iterator begin() noexcept { return map_.begin(); }
    Iterator end() noexcept { return map_.end(); }
    IteratorConst begin() const noexcept { return map_.begin(); }
    IteratorConst end() const noexcept { return map_.end(); }

    friend bool operator==(const RbTreeMap& a, const RbTreeMap& b) { return a.map_ == b.map_; }

  private:
    Map map_;
};

}  // namespace Rix
