#include <gtest/gtest.h>

#include "RixVault/Reader.h"
#include "RixVault/Table.h"
#include "Vault/VaultTestSupport.h"

using namespace VaultTest;

namespace {

using Table = RixVault::Table<Key, Record>;  // hashed by Key::hash()

// The guarded operations: the library's "no man's land" errors pass through with their exact
// text after the corruption handler saw the cause; every other error of the library reaches the
// framework as Rix::RuntimeException with the library's text.
TEST(RixVaultTable, GuardsOperationsAndConvertsErrors) {
    ScopedName name;
    Vault::CollectionControl control(*name, 2);
    Table table;
    std::vector<U32> changed;
    table.bind("checkpointTimes", [&](const Key& k) { changed.push_back(k.stream); });
    std::vector<std::string> handled;
    table.corruptionHandlerIs([&](const std::string& m) { handled.push_back(m); });
    EXPECT_THROW(table.write(Key{1, 1}, Record::make(1, 1)), Rix::RuntimeException);
    table.mount(control);
    Table second;
    Vault::CollectionControl again(*name, 2);
    EXPECT_THROW(second.mount(again), Rix::RuntimeException) << "a second writer";
    EXPECT_EQ(again.state(), Vault::MountState::failed);
    EXPECT_THROW((RixVault::Reader<Key, Record>("no-such-table-" + *name)), Rix::RuntimeException);
    table.write(Key{1, 1}, Record::make(1, 1));
    table.write(Key{2, 1}, Record::make(2, 1));
    try {
        table.write(Key{3, 1}, Record::make(3, 1));
        ADD_FAILURE() << "third key in a table of two";
    } catch (const Rix::RuntimeException& e) {
        EXPECT_STREQ(e.what(), ("table " + *name + " is full: all 2 entries are taken").c_str());
    }
    EXPECT_EQ(table.remove(Key{9, 9}), Record()) << "absent key gives a default value";
    EXPECT_EQ(table.remove(Key{2, 1}), Record::make(2, 1));
    Record* entry = table.find(Key{1, 1});
    ASSERT_NE(entry, nullptr);
    entry->version = 5;
    EXPECT_TRUE(table.commit(entry));
    EXPECT_EQ(changed, (std::vector<U32>{1, 2, 2, 1}));

    // Damage the header behind the writer's back: each guarded operation names itself.
    auto* header = static_cast<U64*>(const_cast<void*>(table.map().segmentBase()));
    const U64 saved = header[1];
    header[1] ^= 1;
    const std::pair<std::function<void()>, const char*> ops[] = {
        {[&] {
             table.write(Key{1, 1}, Record());
         },
         "VaultMap::safeWrite() in no man's land"},
        {[&] { table.commit(entry); }, "VaultMap::directCommit() in no man's land"},
        {[&] {
             table.remove(Key{1, 1});
         },
         "VaultMap::safeRemove() in no man's land"},
        {[&] { table.removeAll(); }, "VaultMap::safeRemove() in no man's land"},
    };
    for (const auto& [op, text] : ops) {
        handled.clear();
        try {
            op();
            ADD_FAILURE() << text;
        } catch (const Vault::NoMansLandException& e) {
            EXPECT_STREQ(e.what(), text);
        }
        ASSERT_EQ(handled.size(), 1u) << text;
        EXPECT_NE(handled[0].find("header word 1 was overwritten"), std::string::npos);
    }
    EXPECT_THROW((RixVault::Reader<Key, Record>(*name)), Rix::RuntimeException);
    header[1] = saved;
    RixVault::Reader<Key, Record> reader(*name);
    EXPECT_EQ(reader.find(Key{1, 1})->version, 5u);
    EXPECT_FALSE(reader.find(Key{2, 1}));
}

}  // namespace
