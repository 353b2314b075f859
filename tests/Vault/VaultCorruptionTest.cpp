// Random bytes written over a table's segment: the writer and a reader must both notice every
// change that matters, never accept a wrong value and never crash (run under the sanitizers too).
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <random>
#include <vector>

#include "Vault/VaultMap.h"
#include "Vault/VaultReader.h"
#include "VaultTestSupport.h"

using namespace Vault;
using namespace VaultTest;

namespace {

using Map = VaultMap<U64, Record>;
using Reader = VaultReader<U64, Record>;

const std::size_t slotBytes = slotWordsFor(sizeof(U64), sizeof(Record)) * 8;

bool slotIsLive(const U8* image, std::size_t slot) {
    U64 meta;
    std::memcpy(&meta, image + headerBytes + slot * slotBytes + 8, 8);
    return metaState(meta) == U8(SlotState::live);
}

TEST(VaultCorruption, RandomBytesOverHeaderAndEntriesAreDetected) {
    ScopedName name;
    CollectionControl control(*name, 32);
    Map map;
    U32 writerReports = 0, readerReports = 0;
    map.corruptionHandlerIs([&](const std::string&) { ++writerReports; });
    map.mount(control);
    std::map<U64, Record> stored;
    for (U64 k = 0; k < 40; ++k) {
        if (k < 30) map.safeWrite(k, Record::make(k, k + 1));
        if (k % 4 == 0) map.safeRemove(k);  // leave tombstones and empty slots about
    }
    for (auto it = map.begin(); it != map.end(); ++it) stored[it.key()] = *it;
    Reader reader(*name);
    reader.corruptionHandlerIs([&](const std::string&) { ++readerReports; });

    U8* image = static_cast<U8*>(const_cast<void*>(map.segmentBase()));
    const std::size_t bytes = map.segmentBytes();
    const std::vector<U8> clean(image, image + bytes);

    std::mt19937 rng(5);
    for (int trial = 0; trial < 3000; ++trial) {
        const std::size_t at = rng() % 3 == 0 ? rng() % headerBytes : rng() % bytes;
        const std::size_t len = 1 + rng() % 8;
        for (std::size_t i = at; i < at + len && i < bytes; ++i) image[i] = static_cast<U8>(rng());
        bool header = false, readerMust = false, writerMust = false;
        for (std::size_t i = at; i < at + len && i < bytes; ++i) {
            if (image[i] == clean[i]) continue;
            if (i < headerBytes) {
                header = header || i < sizeof(HeaderFields);
                writerMust = writerMust || i < sizeof(HeaderFields) + 8;
                readerMust = readerMust || i < sizeof(HeaderFields);
                continue;
            }
            const std::size_t slot = (i - headerBytes) / slotBytes,
                              inSlot = (i - headerBytes) % slotBytes;
            const U8* seq = image + headerBytes + slot * slotBytes;
            if (inSlot < 8) {
                writerMust = true;
                readerMust = readerMust || (seq[0] & 1);  // an odd counter reads busy
            } else if (inSlot < 16 || slotIsLive(clean.data(), slot)) {
                writerMust = readerMust = true;
            }
        }
        const U32 readerBefore = readerReports, writerBefore = writerReports;
        U32 wrongValues = 0, busy = 0;
        for (const auto& [k, expected] : stored) {
            Record r;
            const ReadResult got = reader.find(k, r);
            if (got == ReadResult::found && !(r == expected)) ++wrongValues;
            busy += got == ReadResult::busy;
        }
        const ScanResult scan = reader.forEach([&](const U64& k, const Record& r) {
            const auto it = stored.find(k);
            if (it == stored.end() || !(it->second == r)) ++wrongValues;
        });
        ASSERT_EQ(wrongValues, 0u) << "trial " << trial << " at " << at;
        const bool readerSaw = readerReports > readerBefore || scan.busy + scan.corrupt + busy > 0;
        const bool writerSaw = map.validate() > 0;
        EXPECT_EQ(writerSaw, writerMust) << "trial " << trial << " at " << at;
        EXPECT_EQ(writerReports > writerBefore, writerMust);
        if (readerMust) {
            EXPECT_TRUE(readerSaw) << "trial " << trial << " at " << at;
        }
        if (header) {
            EXPECT_THROW(Reader again(*name), Exception);
            const U32 before = writerReports;
            try {
                map.safeWrite(1, Record::make(1, 9));
                ADD_FAILURE() << "write over a corrupt header";
            } catch (const NoMansLandException& e) {
                EXPECT_STREQ(e.what(), "VaultMap::safeWrite() in no man's land");
            }
            EXPECT_EQ(writerReports, before + 1);
        }
        std::memcpy(image, clean.data(), bytes);
    }
    EXPECT_EQ(map.validate(), 0u);
}

// A restarted writer finds entries whose bytes were changed behind its back and removes them,
// keeping the rest.
TEST(VaultCorruption, RestartedWriterRemovesDamagedEntries) {
    ScopedName name;
    CollectionControl control(*name, 8);
    {
        Map map;
        map.mount(control);
        for (U64 k = 0; k < 6; ++k) map.safeWrite(k, Record::make(k, 1));
        U8* image = static_cast<U8*>(const_cast<void*>(map.segmentBase()));
        for (std::size_t slot = 0, damaged = 0; damaged < 2; ++slot) {
            if (!slotIsLive(image, slot)) continue;
            image[headerBytes + slot * slotBytes + 100] ^= 0x40;
            ++damaged;
        }
    }
    Map map;
    std::vector<std::string> reports;
    map.corruptionHandlerIs([&](const std::string& m) { reports.push_back(m); });
    map.mount(control);
    EXPECT_EQ(control.repairedEntries(), 2u);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_NE(reports[0].find("failed its check; its entry was removed"), std::string::npos);
    EXPECT_EQ(map.size(), 4u);
    Reader reader(*name);
    const ScanResult scan = reader.forEach(
        [](const U64& k, const Record& r) { EXPECT_TRUE(r.intact() && r.key == k); });
    EXPECT_EQ(scan.entries, 4u);
    EXPECT_EQ(scan.corrupt + scan.busy, 0u);
}

}  // namespace
