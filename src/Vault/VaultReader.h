#pragma once
// A reader of a table in another process: maps the segment read-only, validates its header
// against the key and value types, and copies entries out consistently while the writer runs.
//
// Sequence protocol, reader side: load the slot's counter with acquire (an odd one means a write
// is under way: retry); copy the words with relaxed atomic loads; an acquire fence; load the
// counter again, relaxed. The fence pairs with the writer's release fence, so if any copied word
// came from a write that had begun, the second load sees that write's odd counter or a later one,
// and the copy is retried. Equal even counters mean the copy is one whole version of the entry.
// The key is compared inside that copy, never outside it. Retries are bounded: an entry that stays
// odd (its writer was killed mid-write) is reported busy rather than waited for.
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
    static constexpr U32 keyWords = wordsFor(sizeof(K));
    static constexpr U32 payloadWords = keyWords + wordsFor(sizeof(V));
    using Payload = std::array<U64, payloadWords>;

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
        slotWords_ = h.slotWords;
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
    const U64* slot(U32 i) const { return words_ + std::size_t{i} * slotWords_; }
    bool headerIntact() const {
        const U64* base = static_cast<const U64*>(segment_.base());
        for (std::size_t w = 0; w < headerFieldWords; ++w) {
            if (loadWord(base + w) != header_[w]) return false;
        }
        return true;
    }
    ReadResult corrupt(const std::string& what) const {
        if (handler_) handler_("table " + name_ + ": " + what);
        return ReadResult::corrupt;
    }
    // Copies slot i's meta and key; the value too when `wanted` is null or the key equals it,
    // and then also the check of the copied words.
    Copy copySlot(U32 i, const K* wanted, U64& meta, Payload& p, bool& keyMatched,
                  U32& check) const;
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
    U32 slotWords_ = 0;
    std::array<U64, headerFieldWords> header_{};
    CorruptionHandler handler_;
};

template <class K, class V, class H>
typename VaultReader<K, V, H>::Copy VaultReader<K, V, H>::copySlot(U32 i, const K* wanted,
                                                                   U64& meta, Payload& p,
                                                                   bool& keyMatched,
                                                                   U32& check) const {
    const U64* s = slot(i);
    for (U32 attempt = 0; attempt < options_.maxRetries; ++attempt) {
        if (attempt >= 64) sched_yield();
        const U64 before = loadWord(s, std::memory_order_acquire);
        if (before & 1) continue;
        meta = loadWord(s + 1);
        EntryCheck c(slotSeed(i));
        c.load(s + 2, p.data(), 0, keyWords);
        K k;
        std::memcpy(static_cast<void*>(&k), p.data(), sizeof(K));
        keyMatched = wanted == nullptr || k == *wanted;
        if (keyMatched) {
            c.load(s + 2, p.data(), keyWords, payloadWords);
            check = c.value(payloadWords);
        }
        std::atomic_thread_fence(std::memory_order_acquire);
        if (options_.skipSecondSequenceCheck) return Copy::whole;
        if (loadWord(s) == before) return Copy::whole;
    }
    return Copy::busy;
}

template <class K, class V, class H>
ReadResult VaultReader<K, V, H>::find(const K& key, V& out) const {
    if (!headerIntact()) return corrupt("header was overwritten");
    const U32 mask = slotCount_ - 1;
    U32 i = homeSlot(static_cast<U64>(hash_(key)), slotCount_);
    Payload p;
    for (U32 n = 0; n < slotCount_; ++n, i = (i + 1) & mask) {
        U64 meta = 0;
        bool matched = false;
        U32 check = 0;
        if (copySlot(i, &key, meta, p, matched, check) == Copy::busy) return ReadResult::busy;
        if (meta == 0) return ReadResult::absent;
        if (metaState(meta) == U8(SlotState::live) && !matched) continue;
        if (metaState(meta) == U8(SlotState::tombstone) && meta == tombstoneMeta(i)) continue;
        const bool valid = metaState(meta) == U8(SlotState::live) && metaIndex(meta) == i &&
                           (!options_.verifyChecks || metaCheck(meta) == check);
        if (!valid) return corrupt(slotProblem(i, meta, check));
        std::memcpy(static_cast<void*>(&out), p.data() + keyWords, sizeof(V));
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
    Payload p;
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
        K k;
        V v;
        std::memcpy(static_cast<void*>(&k), p.data(), sizeof(K));
        std::memcpy(static_cast<void*>(&v), p.data() + keyWords, sizeof(V));
        ++r.entries;
        f(static_cast<const K&>(k), static_cast<const V&>(v));
    }
    return r;
}

}  // namespace Vault
