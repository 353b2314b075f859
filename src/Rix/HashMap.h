#pragma once
// Rix::HashMap: a hash map whose iteration order follows the keys' hashes (bucket order), never
// their insertion or their natural order. Callers that show a map's contents sort first if they
// need a stable order.
//
// The hash functor defaults to the key's own hash() member when it has one (the stream keys do),
// and to std::hash otherwise.
#include <concepts>
#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>

namespace Rix {

template <class K>
struct DefaultHash {
    std::size_t operator()(const K& k) const noexcept(noexcept(std::hash<K>()(k))) {
        return std::hash<K>()(k);
    }
};

template <class K>
requires requires(const K& k) {
    { k.hash() } -> std::convertible_to<std::size_t>;
}
struct DefaultHash<K> {
    std::size_t operator()(const K& k) const noexcept(noexcept(k.hash())) {
        return static_cast<std::size_t>(k.hash());
    }
};

template <class K, class V, class Hash = DefaultHash<K>, class Equal = std::equal_to<K>>
class HashMap {
    using Map = std::unordered_map<K, V, Hash, Equal>;

  public:
    using key_type = K;
    using mapped_type = V;
    using value_type = typename Map::value_type;
    using Iterator = typename Map::iterator;
    using IteratorConst = typename Map::const_iterator;
    using iterator = Iterator;
    using const_iterator = IteratorConst;

    HashMap() = default;
    explicit HashMap(Hash hash, Equal equal = Equal())
        : map_(0, std::move(hash), std::move(equal)) {}

    std::size_t size() const noexcept { return map_.size(); }
    bool empty() const noexcept { return map_.empty(); }
    void clear() noexcept { map_.clear(); }
    void reserve(std::size_t n) { map_.reserve(n); }

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

    friend bool operator==(const HashMap& a, const HashMap& b) { return a.map_ == b.map_; }

  private:
    Map map_;
};

}  // namespace Rix
