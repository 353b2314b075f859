#pragma once
// Rix::HashMap: a hash map whose iteration order follows the keys' hashes (bucket order), never
// their insertion or their natural order. Callers that show a map's contents sort first if they
// need a stable order.
//
// The hash functor defaults to the key's own hash() member when it has one (the stream keys do),
// and to std::hash otherwise.
#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>

#include "Rix/Hash.h"
#include "Rix/MapAdapter.h"

namespace Rix {

template <class K, class V, class Hash = DefaultHash<K>, class Equal = std::equal_to<K>>
class HashMap : public MapAdapter<std::unordered_map<K, V, Hash, Equal>> {
    using Base = MapAdapter<std::unordered_map<K, V, Hash, Equal>>;

  public:
    HashMap() = default;
    explicit HashMap(Hash hash, Equal equal = Equal())
        : Base(0, std::move(hash), std::move(equal)) {}

    void reserve(std::size_t n) { this->map_.reserve(n); }
};

}  // namespace Rix
