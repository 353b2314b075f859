#pragma once
// A reader of a table in another process: maps the segment read-only, validates its header
// against the key and value types, and copies entries out consistently while the writer runs.
//
// Sequence protocol, reader side: load the slot's counter with acquire (an odd one means a write
// is under way: retry); copy the meta with a relaxed atomic load and the payload chunk by chunk
// (Chunk.h); an acquire fence; load the counter again, relaxed. The fence pairs with the writer's
// release fence, so if any copied word came from a write that had begun, the second load sees that
// write's odd counter or a later one, and the copy is retried. Equal even counters mean the copy is
// one whole version of the entry. The key is compared inside that copy, never outside it. Retries
// are bounded: an entry that stays odd (its writer was killed mid-write) is reported busy rather
// than waited for.
#include <sched.h>

#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>

#include "Rix/Format.h"
#include "Vault/Layout.h"
#include "Vault/Payload.h"
#include "Vault/Segment.h"
#include "Vault/VaultException.h"

namespace Vault {

enum class ReadResult : U8 { found, absent, busy, corrupt };

struct ReaderOptions {
    // Attempts at a consistent copy of one slot before it is reported busy.
    U32 maxRetries = 4096;
    // Verify the check of every entry accepted (catches bytes overwritten in the segment).
    bool verifyChecks = true;
    // Test only: accept a copy without the second counter load, to show what it protects.
    bool skipSecondSequenceCheck = false;
};

struct ScanResult {
    U32 entries = 0;
    U32 busy = 0;
    U32 corrupt = 0;
};

template <class K, class V, class Hash = std::hash<K>>
class VaultReader {
    static_assert(std::is_trivially_copyable_v<K>, "table keys must be trivially copyable");
    static_assert(std::is_trivially_copyable_v<V>, "table values must be trivially copyable");
    using Codec = Payload<K, V>;
    using Image = typename Codec::Image;
    static constexpr U32 slotWords = slotWordsFor(sizeof(K), sizeof(V));

  public:
    using CorruptionHandler = std::function<void(const std::string&)>;

    // Attaches to the table `name` (without the leading slash). Throws Vault::Exception naming
    // the segment when it is missing, writable by others or not a valid table of these types.
    explicit VaultReader(const std::string& name, ReaderOptions options = {}, Hash hash = Hash())
        : name_(name), options_(options), hash_(hash) {
        segment_ = Segment::openReader("/" + name);
        const U64* base = static_cast<const U64*>(segment_.base());
        const HeaderFields h = loadHeader(base);
        const std::string problem =
            headerProblem(h, "/" + name, sizeof(K), sizeof(V), segment_.bytes());
        if (!problem.empty()) throw Exception(problem);
        std::memcpy(header_.data(), &h, sizeof h);
        capacity_ = h.capacity;
        slotCount_ = h.slotCount;
        words_ = base + headerBytes / 8;
    }

    void corruptionHandlerIs(CorruptionHandler handler) { handler_ = std::move(handler); }
    U32 capacity() const { return capacity_; }
    const void* segmentBase() const { return segment_.base(); }
    // Live entries as the writer last counted them.
    U32 size() const {
        const U64 n = loadWord(static_cast<const U64*>(segment_.base()) + liveCountWord);
        return n > capacity_ ? capacity_ : static_cast<U32>(n);
    }

    // Copies the value of `key` into `out` when found; `out` is unspecified otherwise.
    ReadResult find(const K& key, V& out) const;
    // The value, or nothing when absent; a busy or corrupt entry throws Vault::Exception.
    std::optional<V> lookup(const K& key) const {
        V v;
        switch (find(key, v)) {
            case ReadResult::found:
                return v;
            case ReadResult::absent:
                return std::nullopt;
            case ReadResult::busy:
                throw Exception("table " + name_ + ": entry stays busy");
            case ReadResult::corrupt:
                break;
        }
        throw Exception("table " + name_ + ": entry is corrupt");
    }
    // Calls f(key, value) for every live entry, each copied consistently.
    template <class F>
    ScanResult forEach(F&& f) const;

  private:
    enum class Copy : U8 { whole, busy };
    const U64* slot(U32 i) const { return words_ + std::size_t{i} * slotWords; }
    bool headerIntact() const {
        const U64* base = static_cast<const U64*>(segment_.base());
        static_assert(headerFieldWords == 5);
        const U32 same =
            Chunks::equalBytes(Chunks::loadShared(base), Chunks::load(&header_[0])) &
            Chunks::equalBytes(Chunks::loadShared(base + 2), Chunks::load(&header_[2]));
        return same == 0xffff && loadWord(base + 4) == header_[4];
    }
    ReadResult corrupt(const std::string& what) const {
        if (handler_) handler_("table " + name_ + ": " + what);
        return ReadResult::corrupt;
    }
    // Copies slot i's meta and key; the value too when `wanted` is null or matches the key,
    // and then also the check of the copied chunks.
    Copy copySlot(U32 i, const typename Codec::KeyProbe* wanted, U64& meta, Image& p,
                  bool& keyMatched, U32& check) const;
    // find() for every case but a whole, valid entry under the key or a plain miss: retries,
    // busy and corrupt slots.
    [[gnu::cold, gnu::noinline]] ReadResult findCarefully(const K& key, V& out) const;
    // Empty when slot i's consistent copy is a valid one.
    std::string slotProblem(U32 i, U64 meta, U32 check) const {
        const U8 st = metaState(meta);
        if (meta == 0) return {};
        if (st == U8(SlotState::tombstone)) {
            return meta == tombstoneMeta(i) ? std::string()
                                            : Rix::format("slot %u has a bad tombstone", i);
        }
        if (st != U8(SlotState::live) || metaIndex(meta) != i) {
            return Rix::format("slot %u has a bad state", i);
        }
        if (options_.verifyChecks && metaCheck(meta) != check) {
            return Rix::format("slot %u failed its check", i);
        }
        return {};
    }

    std::string name_;
    ReaderOptions options_;
    Hash hash_;
    Segment segment_;
    const U64* words_ = nullptr;
    U32 capacity_ = 0;
    U32 slotCount_ = 0;
    std::array<U64, headerFieldWords> header_{};
    CorruptionHandler handler_;
};

template <class K, class V, class H>
typename VaultReader<K, V, H>::Copy VaultReader<K, V, H>::copySlot(
    U32 i, const typename Codec::KeyProbe* wanted, U64& meta, Image& p, bool& keyMatched,
    U32& check) const {
    const U64* s = slot(i);
    for (U32 attempt = 0; attempt < options_.maxRetries; ++attempt) {
        if (attempt >= 64) sched_yield();
        const U64 before = loadWord(s, std::memory_order_acquire);
        if (before & 1) continue;
        meta = loadWord(s + 1);
        EntryCheck c;
        U32 n = 0;
        for (; n < Codec::keyChunks; ++n) c.add(p[n] = Chunks::loadShared(s + 2 + 2 * n));
        keyMatched = wanted == nullptr || wanted->matches(p.data());
        if (keyMatched) {
            for (; n < Codec::chunks; ++n) c.add(p[n] = Chunks::loadShared(s + 2 + 2 * n));
            check = c.value(slotSeed(i));
        }
        std::atomic_thread_fence(std::memory_order_acquire);
        if (options_.skipSecondSequenceCheck) return Copy::whole;
        if (loadWord(s) == before) return Copy::whole;
    }
    return Copy::busy;
}

// The common cases in one pass per slot: a live slot under another key is passed over, a live
// slot under this key is copied straight into `out` while its check is summed, an empty slot ends
// the search. Only a whole copy (the counter even and unchanged) that passes its check is
// accepted, and a miss only when the empty slot was read whole; anything else starts again on
// the careful path, which reports busy and corrupt slots. Passing over a slot on a torn copy of
// its key is harmless: a key being written into it is not there yet. The header is not read
// here: a lookup uses the geometry checked when the reader attached, and nothing in the header
// can change the value it returns; a damaged header is reported by the careful path, by every
// scan and by every reader that attaches, and refused by the writer.
template <class K, class V, class H>
ReadResult VaultReader<K, V, H>::find(const K& key, V& out) const {
    const typename Codec::KeyProbe wanted(key);
    const U32 mask = slotCount_ - 1;
    U32 i = homeSlot(static_cast<U64>(hash_(key)), slotCount_);
    for (U32 n = 0; n < slotCount_; ++n, i = (i + 1) & mask) {
        const U64* s = slot(i);
        const U64 before = loadWord(s, std::memory_order_acquire);
        const U64 meta = loadWord(s + 1);
        Chunk keyChunks[Codec::keyChunks];
        Codec::template forChunks<0, Codec::keyChunks>(
            [&](auto c) VAULT_INLINE { keyChunks[c] = Chunks::loadShared(s + 2 + 2 * c); });
        const bool live = (meta >> 32) == ((U64{i} << 8) | U8(SlotState::live));
        if (live && wanted.matches(keyChunks)) {
            EntryCheck check;
            Codec::template forChunks<0, Codec::keyChunks>([&](auto c) VAULT_INLINE {
                check.add(keyChunks[c]);
                Codec::template decodeValue<c>(keyChunks[c], out);
            });
            Codec::template forChunks<Codec::keyChunks, Codec::chunks>([&](auto c) VAULT_INLINE {
                const Chunk chunk = Chunks::loadShared(s + 2 + 2 * c);
                check.add(chunk);
                Codec::template decodeValue<c>(chunk, out);
            });
            std::atomic_thread_fence(std::memory_order_acquire);
            const bool whole =
                !(before & 1) && (options_.skipSecondSequenceCheck || loadWord(s) == before);
            if (whole && (!options_.verifyChecks || metaCheck(meta) == check.value(slotSeed(i))))
                return ReadResult::found;
            break;
        }
        if (live || meta == tombstoneMeta(i)) continue;
        if (meta == 0) {
            std::atomic_thread_fence(std::memory_order_acquire);
            if (!(before & 1) && loadWord(s) == before) return ReadResult::absent;
        }
        break;
    }
    return findCarefully(key, out);
}

template <class K, class V, class H>
ReadResult VaultReader<K, V, H>::findCarefully(const K& key, V& out) const {
    if (!headerIntact()) return corrupt("header was overwritten");
    const typename Codec::KeyProbe wanted(key);
    const U32 mask = slotCount_ - 1;
    U32 i = homeSlot(static_cast<U64>(hash_(key)), slotCount_);
    Image p;
    for (U32 n = 0; n < slotCount_; ++n, i = (i + 1) & mask) {
        U64 meta = 0;
        bool matched = false;
        U32 check = 0;
        if (copySlot(i, &wanted, meta, p, matched, check) == Copy::busy) return ReadResult::busy;
        if (meta == 0) return ReadResult::absent;
        if (metaState(meta) == U8(SlotState::live) && !matched) continue;
        if (metaState(meta) == U8(SlotState::tombstone) && meta == tombstoneMeta(i)) continue;
        const bool valid = metaState(meta) == U8(SlotState::live) && metaIndex(meta) == i &&
                           (!options_.verifyChecks || metaCheck(meta) == check);
        if (!valid) return corrupt(slotProblem(i, meta, check));
        out = Codec::decodeValue(p);
        return ReadResult::found;
    }
    return ReadResult::absent;
}

template <class K, class V, class H>
template <class F>
ScanResult VaultReader<K, V, H>::forEach(F&& f) const {
    ScanResult r;
    if (!headerIntact()) {
        corrupt("header was overwritten");
        ++r.corrupt;
        return r;
    }
    Image p;
    for (U32 i = 0; i < slotCount_; ++i) {
        U64 meta = 0;
        bool matched = false;
        U32 check = 0;
        if (copySlot(i, nullptr, meta, p, matched, check) == Copy::busy) {
            ++r.busy;
            continue;
        }
        const std::string problem = slotProblem(i, meta, check);
        if (!problem.empty()) {
            corrupt(problem);
            ++r.corrupt;
            continue;
        }
        if (metaState(meta) != U8(SlotState::live)) continue;
        const K k = Codec::decodeKey(p);
        const V v = Codec::decodeValue(p);
        ++r.entries;
        f(static_cast<const K&>(k), static_cast<const V&>(v));
    }
    return r;
}

}  // namespace Vault
