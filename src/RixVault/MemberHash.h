#pragma once
// Hashes a table key by its own `U32 hash() const`, as the model's stream keys have.
#include <cstddef>

namespace RixVault {

struct MemberHash {
    template <class K>
    std::size_t operator()(const K& key) const {
        return key.hash();
    }
};

}  // namespace RixVault
