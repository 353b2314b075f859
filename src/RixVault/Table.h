#pragma once
// A shared-memory table as an entity holds it: bound under a table name with its change hook,
// mounted through its CollectionControl, every operation guarded so that the framework sees
// only its own exceptions and the table library's "no man's land" errors.
#include <optional>
#include <string>
#include <utility>

#include "Rix/Hash.h"
#include "RixVault/Guard.h"
#include "Vault/CollectionControl.h"
#include "Vault/VaultMap.h"

namespace RixVault {

template <class K, class V, class Hash = Rix::DefaultHash<K>>
class Table {
  public:
    using Map = Vault::VaultMap<K, V, Hash>;
    using Iterator = typename Map::Iterator;
    using IteratorConst = typename Map::IteratorConst;
    using ChangeHook = typename Map::ChangeHook;
    using CorruptionHandler = typename Map::CorruptionHandler;

    void bind(std::string tableName, ChangeHook hook) {
        tableName_ = std::move(tableName);
        map_.changeHookIs(std::move(hook));
    }
    const std::string& tableName() const { return tableName_; }
    void corruptionHandlerIs(CorruptionHandler handler) {
        map_.corruptionHandlerIs(std::move(handler));
    }
    void mount(Vault::CollectionControl& control) {
        guarded([&] { map_.mount(control); });
    }
    void unmount() { map_.unmount(); }
    bool mounted() const { return map_.mounted(); }

    // Insert or overwrite (the writer's safe write).
    void write(const K& key, const V& value) {
        guarded([&] { map_.safeWrite(key, value); });
    }
    // Publishes an entry changed in place (the writer's direct commit).
    bool commit(const V* value) {
        return guarded([&] { return map_.directCommit(value); });
    }
    // The removed value, or a default one when the key was absent (the writer's safe remove).
    V remove(const K& key) {
        return guarded([&] { return map_.safeRemove(key).value_or(V{}); });
    }
    void removeAll() {
        guarded([&] { map_.removeAll(); });
    }
    V* find(const K& key) { return map_.lookup(key); }
    const V* find(const K& key) const { return map_.lookup(key); }
    U32 size() const { return map_.size(); }
    U32 capacity() const { return map_.capacity(); }

    Iterator begin() { return map_.begin(); }
    Iterator end() { return map_.end(); }
    IteratorConst begin() const { return map_.begin(); }
    IteratorConst end() const { return map_.end(); }

    Map& map() { return map_; }

  private:
    std::string tableName_;
    Map map_;
};

}  // namespace RixVault
