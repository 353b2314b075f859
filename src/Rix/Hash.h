#pragma once
// The framework's default hash functor: a key's own `hash()` member when it has one (the stream
// keys and the network types do), std::hash otherwise.
#include <concepts>
#include <cstddef>
#include <functional>

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

}  // namespace Rix
