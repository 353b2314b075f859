#pragma once
// What the framework's maps share over their standard container: lookups that answer with a
// pointer to the value (or nullptr), stores that say whether the key was new, and iteration.
#include <cstddef>
#include <utility>

namespace Rix {

template <class Map>
class MapAdapter {
  public:
    using key_type = typename Map::key_type;
    using mapped_type = typename Map::mapped_type;
    using value_type = typename Map::value_type;
    using Iterator = typename Map::iterator;
    using IteratorConst = typename Map::const_iterator;
    using iterator = Iterator;
    using const_iterator = IteratorConst;
    using K = key_type;
    using V = mapped_type;

    std::size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    void clear() noexcept { map_.clear(); }

    // The value stored under key, or nullptr.
    V* find(const K& key) {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    const V* find(const K& key) const {
        auto it = map_.find(key);
        return it == map_.end() ? nullptr : &it->second;
    }
    bool contains(const K& key) const { return map_.find(key) != map_.end(); }
    Iterator iteratorAt(const K& key) { return map_.find(key); }
    IteratorConst iteratorAt(const K& key) const { return map_.find(key); }

    // Stores value under key, replacing what was there. Returns true when the key is new.
    template <class VV>
    bool insertOrAssign(const K& key, VV&& value) {
        return map_.insert_or_assign(key, std::forward<VV>(value)).second;
    }
    // Stores value under key unless the key is present. Returns the stored value and whether it
    // was inserted.
    template <class... A>
    std::pair<V*, bool> tryEmplace(const K& key, A&&... args) {
        auto [it, inserted] = map_.try_emplace(key, std::forward<A>(args)...);
        return {&it->second, inserted};
    }
    V& operator[](const K& key) { return map_[key]; }
    // Removes the key. Returns whether it was present.
    bool erase(const K& key) { return map_.erase(key) != 0; }
    Iterator erase(IteratorConst it) { return map_.erase(it); }

    Iterator begin() noexcept { return map_.begin(); }
    Iterator end() noexcept { return map_.end(); }
    IteratorConst begin() const noexcept { return map_.begin(); }
    IteratorConst end() const noexcept { return map_.end(); }

    friend bool operator==(const MapAdapter& a, const MapAdapter& b) { return a.map_ == b.map_; }

  protected:
    MapAdapter() = default;
    template <class... A>
    explicit MapAdapter(A&&... args) : map_(std::forward<A>(args)...) {}

    Map map_;
};

}  // namespace Rix
