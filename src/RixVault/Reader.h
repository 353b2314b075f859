#pragma once
// A reader of a shared-memory table for the framework: attaching and lookups raise
// Rix::RuntimeException instead of the table library's errors.
#include <optional>
#include <string>

#include "RixVault/Guard.h"
#include "Rix/Hash.h"
#include "Vault/VaultReader.h"

namespace RixVault {

template <class K, class V, class Hash = Rix::DefaultHash<K>>
class Reader {
  public:
    explicit Reader(const std::string& name, Vault::ReaderOptions options = {})
        : reader_(guarded([&] { return Vault::VaultReader<K, V, Hash>(name, options); })) {}

    std::optional<V> find(const K& key) const {
        return guarded([&] { return reader_.lookup(key); });
    }
    template <class F>
    Vault::ScanResult forEach(F&& f) const {
        return reader_.forEach(std::forward<F>(f));
    }
    U32 size() const { return reader_.size(); }
    Vault::VaultReader<K, V, Hash>& reader() { return reader_; }

  private:
    Vault::VaultReader<K, V, Hash> reader_;
};

}  // namespace RixVault
