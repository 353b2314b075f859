#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <unordered_map>

#include "Vault/VaultMap.h"
#include "Vault/VaultReader.h"
#include "VaultTestSupport.h"

using namespace Vault;
using namespace VaultTest;

namespace {

using Map = VaultMap<Key, Record, KeyHash>;
using Reader = VaultReader<Key, Record, KeyHash>;

Key key(U32 n) { return Key{n, n % 7}; }

std::string errorOf(const std::function<void()>& f) {
    try {
        f();
    } catch (const std::exception& e) {
        return e.what();
    }
    return "no error";
}

// Random writes, overwrites and removes against a plain std::map, with an in-process reader and
// the reported sizes compared after every step, and the writer's copies every third step (so
// that entries are also overwritten while nobody holds their copy). Few keys over a small table
// exercise tombstone reuse, chain-end cleanup and the full table, which must refuse a new key
// with its message and lose nothing.
TEST(VaultMap, MatchesReferenceMapAndFullTableLosesNothing) {
    ScopedName name;
    CollectionControl control(*name, 24);
    Map map;
    map.mount(control);
    Reader reader(*name);
    std::map<U32, Record> reference;
    std::mt19937 rng(7);
    U32 fullRefusals = 0;
    for (U64 step = 0; step < 20000; ++step) {
        const U32 k = rng() % 40;
        const U32 op = rng() % 10;
        if (op < 6) {
            const Record r = Record::make(k, step);
            if (reference.size() == 24 && !reference.count(k)) {
                EXPECT_THROW(map.safeWrite(key(k), r), FullException);
                if (fullRefusals++ == 0) {
                    EXPECT_EQ(errorOf([&] { map.safeWrite(key(k), r); }),
                              "table " + *name + " is full: all 24 entries are taken");
                }
                for (const auto& [kept, rec] : reference) {
                    ASSERT_EQ(reader.lookup(key(kept))->version, rec.version) << step;
                }
            } else {
                map.safeWrite(key(k), r);
                reference[k] = r;
            }
        } else if (op < 9) {
            const auto removed = map.safeRemove(key(k));
            const auto it = reference.find(k);
            ASSERT_EQ(removed.has_value(), it != reference.end());
            if (removed) {
                EXPECT_EQ(removed->version, it->second.version);
                reference.erase(it);
            }
        } else if (rng() % 50 == 0) {
            map.removeAll();
            reference.clear();
        }
        ASSERT_EQ(map.size(), reference.size());
        ASSERT_EQ(reader.size(), reference.size());
        for (U32 probe : {k, (k + 1) % 40, (k + 17) % 40}) {
            const auto it = reference.find(probe);
            const Record* w = step % 3 ? nullptr : map.lookup(key(probe));
            Record r;
            const ReadResult got = reader.find(key(probe), r);
            if (it == reference.end()) {
                ASSERT_EQ(w, nullptr);
                ASSERT_EQ(got, ReadResult::absent);
            } else {
                if (step % 3 == 0) {
                    ASSERT_NE(w, nullptr);
                    ASSERT_EQ(*w, it->second) << step;
                }
                ASSERT_EQ(got, ReadResult::found);
                ASSERT_EQ(r.version, it->second.version);
            }
        }
    }
    std::map<U32, U64> walked, scanned;
    for (auto it = map.begin(); it != map.end(); ++it) walked[it.key().stream] = it->version;
    const ScanResult scan =
        reader.forEach([&](const Key& k, const Record& r) { scanned[k.stream] = r.version; });
    EXPECT_EQ(scan.busy + scan.corrupt, 0u);
    std::map<U32, U64> expected;
    for (const auto& [k, r] : reference) expected[k] = r.version;
    EXPECT_EQ(walked, expected);
    EXPECT_EQ(scanned, expected);
    EXPECT_GT(fullRefusals, 0u);
}

// An in-place change is published by directCommit() only; a pointer that is not a live entry is
// reported to the corruption handler and refused with the "no man's land" error.
TEST(VaultMap, DirectCommitPublishesInPlaceChangesOnly) {
    ScopedName name;
    CollectionControl control(*name, 8);
    Map map;
    std::vector<U32> changed;
    map.changeHookIs([&](const Key& k) { changed.push_back(k.stream); });
    std::string corruption;
    map.corruptionHandlerIs([&](const std::string& m) { corruption = m; });
    map.mount(control);
    map.safeWrite(key(1), Record::make(1, 1));
    Record* entry = map.lookup(key(1));
    ASSERT_NE(entry, nullptr);
    Reader reader(*name);
    *entry = Record::make(1, 2);
    EXPECT_EQ(reader.lookup(key(1))->version, 1u);
    EXPECT_TRUE(map.directCommit(entry));
    EXPECT_EQ(reader.lookup(key(1))->version, 2u);
    EXPECT_FALSE(map.directCommit(entry)) << "nothing changed since the last commit";

    Record stray = Record::make(1, 3);
    EXPECT_EQ(errorOf([&] { map.directCommit(&stray); }),
              "VaultMap::directCommit() in no man's land");
    EXPECT_NE(corruption.find("not a live entry"), std::string::npos);
    map.safeRemove(key(1));
    corruption.clear();
    EXPECT_EQ(errorOf([&] { map.directCommit(entry); }),
              "VaultMap::directCommit() in no man's land");
    EXPECT_FALSE(corruption.empty()) << "a removed entry's pointer";

    map.safeWrite(key(2), Record::make(2, 1));
    map.safeWrite(key(3), Record::make(3, 1));
    map.removeAll();
    ASSERT_EQ(changed.size(), 7u);
    std::sort(changed.begin() + 5, changed.end());  // removeAll goes in slot order
    EXPECT_EQ(changed, (std::vector<U32>{1, 1, 1, 2, 3, 2, 3}));
}

// A safe write only publishes; the writer's copy is made from the segment when first asked for,
// checked there, and kept up to date from then on. An entry damaged before anyone asked for it
// is reported instead of copied, and a safe write over it repairs it.
TEST(VaultMap, CopiesAreMadeWhenAskedForAndKeptUpToDate) {
    ScopedName name;
    CollectionControl control(*name, 8);
    Map map;
    std::vector<std::string> reports;
    map.corruptionHandlerIs([&](const std::string& m) { reports.push_back(m); });
    map.mount(control);
    for (U32 k = 1; k <= 3; ++k) map.safeWrite(key(k), Record::make(k, 1));
    map.safeWrite(key(1), Record::make(1, 2));
    Record* one = map.lookup(key(1));
    ASSERT_NE(one, nullptr);
    EXPECT_EQ(*one, Record::make(1, 2));
    map.safeWrite(key(1), Record::make(1, 3));
    EXPECT_EQ(*one, Record::make(1, 3)) << "a handed-out copy follows safe writes";

    // A pointer kept past its entry's removal stays refused when a new entry takes the slot.
    map.safeRemove(key(1));
    map.safeWrite(key(1), Record::make(1, 4));
    EXPECT_EQ(errorOf([&] { map.directCommit(one); }), "VaultMap::directCommit() in no man's land");
    EXPECT_EQ(*map.lookup(key(1)), Record::make(1, 4));

    // Damage key 2's value in the segment before its copy is made.
    auto* image = static_cast<U8*>(const_cast<void*>(map.segmentBase()));
    const std::size_t slotBytes = slotWordsFor(sizeof(Key), sizeof(Record)) * 8;
    U8* damaged = nullptr;
    for (U32 i = 0; i < 16 && !damaged; ++i) {
        U8* slot = image + headerBytes + i * slotBytes;
        Key k;
        std::memcpy(&k, slot + 16, sizeof k);
        if (k == key(2)) damaged = slot + 16 + 8 + 40;
    }
    ASSERT_NE(damaged, nullptr);
    *damaged ^= 1;
    reports.clear();
    EXPECT_EQ(map.validate(), 1u);
    EXPECT_EQ(map.lookup(key(2)), nullptr);
    std::vector<U32> walked;
    for (auto it = map.begin(); it != map.end(); ++it) walked.push_back(it.key().stream);
    std::sort(walked.begin(), walked.end());
    EXPECT_EQ(walked, (std::vector<U32>{1, 3}));
    EXPECT_EQ(errorOf([&] { map.safeRemove(key(2)); }), "VaultMap::safeRemove() in no man's land");
    ASSERT_EQ(reports.size(), 4u) << ::testing::PrintToString(reports);
    for (const std::string& r : reports)
        EXPECT_NE(r.find("was overwritten"), std::string::npos) << r;
    map.safeWrite(key(2), Record::make(2, 5));
    ASSERT_NE(map.lookup(key(2)), nullptr);
    EXPECT_EQ(*map.lookup(key(2)), Record::make(2, 5));
    EXPECT_EQ(map.validate(), 0u);
}

TEST(VaultMap, ReaderInAnotherProcessSeesInsertsUpdatesAndRemoves) {
    ScopedName name;
    CollectionControl control(*name, 16);
    Map map;
    map.mount(control);
    int toChild[2], toParent[2];
    ASSERT_EQ(pipe(toChild), 0);
    ASSERT_EQ(pipe(toParent), 0);
    const pid_t child = spawn([&] {
        Reader reader(*name);
        char c;
        // Each round: wait for the writer, then report what this process sees.
        for (int round = 0; round < 2; ++round) {
            if (read(toChild[0], &c, 1) != 1) return 10;
            std::string seen;
            for (U32 k = 1; k <= 3; ++k) {
                const auto r = reader.lookup(key(k));
                seen += r && r->intact() ? std::to_string(r->version) : "-";
            }
            seen += std::to_string(reader.size());
            if (write(toParent[1], seen.data(), seen.size()) != ssize_t(seen.size())) return 11;
        }
        return 0;
    });
    auto round = [&] {
        char buf[16] = {};
        EXPECT_EQ(write(toChild[1], "x", 1), 1);
        const ssize_t n = read(toParent[0], buf, sizeof buf);
        return std::string(buf, n > 0 ? n : 0);
    };
    for (U32 k = 1; k <= 3; ++k) map.safeWrite(key(k), Record::make(k, 1));
    EXPECT_EQ(round(), "1113");
    map.safeWrite(key(2), Record::make(2, 7));
    EXPECT_EQ(*map.safeRemove(key(3)), Record::make(3, 1));
    EXPECT_EQ(round(), "17-2");
    EXPECT_EQ(waitExit(child), 0);
}

TEST(VaultMap, CreatesWithExactModeWhateverTheUmask) {
    for (const auto& [permissions, mode] : {std::pair{Permissions::ownerOnly, mode_t(0600)},
                                            std::pair{Permissions::groupRead, mode_t(0640)}}) {
        ScopedName name;
        const mode_t old = umask(0077);
        CollectionControl control(*name, 8, permissions);
        Map map;
        map.mount(control);
        umask(old);
        struct stat st {};
        ASSERT_EQ(stat(("/dev/shm/" + *name).c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 07777, mode);
        EXPECT_EQ(control.state(), MountState::created);
    }
}

// Lays out a segment under the table's name as another program, or a writer that died before
// writing the header, would leave it.
void makeSegment(const std::string& name, mode_t mode, U64 size, bool junk, uid_t owner = 0) {
    const int fd = shm_open(("/" + name).c_str(), O_RDWR | O_CREAT | O_EXCL, mode);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(fchmod(fd, mode), 0);
    ASSERT_EQ(ftruncate(fd, size), 0);
    if (junk) {
        ASSERT_EQ(write(fd, "junk", 4), 4);
    }
    if (owner) {
        ASSERT_EQ(fchown(fd, owner, 0), 0);
    }
    close(fd);
}

// A segment someone else prepared under the table's name is refused, naming what is wrong.
TEST(VaultMap, RefusesForeignSegments) {
    const U64 bytes = segmentBytesFor(8, sizeof(Key), sizeof(Record));
    struct Case {
        mode_t mode;
        U64 size;
        uid_t owner;
        std::string error;
    };
    const std::vector<Case> cases = {
        {0644, bytes, 0, "has mode 0644, expected 0600"},
        {0600, bytes + 8, 0, "is " + std::to_string(bytes + 8) + " bytes, expected"},
        {0600, bytes, 4242, "belongs to uid 4242"},
        {0600, bytes, 0, "is not a table (bad magic)"},
    };
    for (const Case& c : cases) {
        if (c.owner && geteuid() != 0) continue;  // only root can give a segment away
        ScopedName name;
        makeSegment(*name, c.mode, c.size, true, c.owner);
        CollectionControl control(*name, 8);
        Map map;
        const std::string error = errorOf([&] { map.mount(control); });
        EXPECT_NE(error.find("/" + *name), std::string::npos) << error;
        EXPECT_NE(error.find(c.error), std::string::npos) << error;
        EXPECT_EQ(control.state(), MountState::failed);
        EXPECT_EQ(control.error(), error);
    }
}

// A writer killed between sizing the segment and writing its header leaves a blank one of the
// right owner, mode and size: the next writer finishes it instead of refusing it forever.
TEST(VaultMap, FinishesSegmentWhoseCreatorDiedBeforeTheHeader) {
    ScopedName name;
    makeSegment(*name, 0600, segmentBytesFor(8, sizeof(Key), sizeof(Record)), false);
    EXPECT_THROW(Reader r(*name), Exception) << "no table before the header is written";
    CollectionControl control(*name, 8);
    Map map;
    map.mount(control);
    EXPECT_EQ(control.state(), MountState::recovered);
    map.safeWrite(key(3), Record::make(3, 1));
    EXPECT_EQ(Reader(*name).lookup(key(3))->version, 1u);
}

TEST(VaultMap, OneWriterAtATimeAndRestartKeepsEntries) {
    ScopedName name;
    CollectionControl control(*name, 8);
    {
        Map map, second;
        map.mount(control);
        map.safeWrite(key(1), Record::make(1, 4));
        CollectionControl again(*name, 8), bigger(*name, 16);
        EXPECT_NE(errorOf([&] { second.mount(again); }).find("already has a writer"),
                  std::string::npos);
        map.unmount();
        EXPECT_NE(errorOf([&] { second.mount(bigger); }).find("expected"), std::string::npos);
    }
    Map map;
    map.mount(control);
    EXPECT_EQ(control.state(), MountState::recovered);
    ASSERT_NE(map.lookup(key(1)), nullptr);
    EXPECT_EQ(map.lookup(key(1))->version, 4u);
}

TEST(VaultReader, RefusesMissingOtherTypedOrWorldWritableSegments) {
    ScopedName name;
    EXPECT_NE(errorOf([&] { Reader r(*name); }).find("cannot open it"), std::string::npos);
    CollectionControl control(*name, 8);
    Map map;
    map.mount(control);
    EXPECT_NE(errorOf([&] {
                  VaultReader<Key, U64, KeyHash> r(*name);
              }).find("holds 8-byte keys and 200-byte values, expected 8 and 8"),
              std::string::npos);
    ASSERT_EQ(chmod(("/dev/shm/" + *name).c_str(), 0666), 0);
    EXPECT_NE(errorOf([&] { Reader r(*name); }).find("others than its owner may write it"),
              std::string::npos);
}

TEST(VaultReaderDeathTest, WriteThroughReaderMappingFaults) {
    ScopedName name;
    CollectionControl control(*name, 8);
    Map map;
    map.mount(control);
    Reader reader(*name);
    auto* p = static_cast<volatile char*>(const_cast<void*>(reader.segmentBase()));
    EXPECT_DEATH({ p[100] = 1; }, "");
}

}  // namespace
