#pragma once
// The writer of a keyed table in shared memory: one writer process, any number of readers
// (VaultReader) in other processes, each entry consistent on its own.
//
// Lookups and iterators work on the writer's own copy of an entry in private memory, so an entry
// can be changed in place through the pointer lookup() gives and is published by directCommit();
// readers see nothing of it until then. A safe write only publishes: the copy is made when it is
// first asked for, out of the segment and checked like a reader's copy, and from then on every
// safe write keeps it current, so a pointer never goes stale while its entry lives.
//
// Publishing an entry is the sequence-counter protocol: the slot's counter is made odd, the words
// are stored, the counter is made even again. A writer killed at any point leaves at most that one
// slot odd, which readers report as busy and the next writer's recovery repairs or removes.
//
// Every operation first compares the header and the slot it touches with what this writer last
// published; a difference means something else wrote the segment. The corruption handler is then
// called with a message saying what was found, and if it returns, the operation throws
// NoMansLandException ("VaultMap::safeWrite() in no man's land" and so on).
#include <array>
#include <atomic>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "Rix/Format.h"
#include "Vault/CollectionControl.h"
#include "Vault/Layout.h"
#include "Vault/Payload.h"
#include "Vault/Segment.h"
#include "Vault/VaultException.h"

namespace Vault {

template <class K, class V, class Hash = std::hash<K>>
class VaultMap final : public MountedTable {
    static_assert(std::is_trivially_copyable_v<K>, "table keys must be trivially copyable");
    static_assert(std::is_trivially_copyable_v<V>, "table values must be trivially copyable");
    static_assert(sizeof(K) <= maxRecordBytes && sizeof(V) <= maxRecordBytes);

    using Codec = Payload<K, V>;
    static constexpr U32 slotWords = slotWordsFor(sizeof(K), sizeof(V));

  public:
    using CorruptionHandler = std::function<void(const std::string&)>;
    // Called after an entry was written, committed or removed, with its key.
    using ChangeHook = std::function<void(const K&)>;

    template <bool Const>
    class IteratorT {
        using Map = std::conditional_t<Const, const VaultMap, VaultMap>;
        using Ref = std::conditional_t<Const, const V&, V&>;

      public:
        IteratorT(Map* m, U32 i) : m_(m), i_(i) { skip(); }
        const K& key() const { return m_->mirror_[i_].key; }
        Ref operator*() const { return m_->values_[i_]; }
        auto* operator->() const { return &m_->values_[i_]; }
        IteratorT& operator++() {
            ++i_;
            skip();
            return *this;
        }
        bool operator==(const IteratorT& o) const { return i_ == o.i_; }

      private:
        // Passes over slots that are not live, and entries whose copy could not be made (the
        // corruption handler has been told).
        void skip() {
            while (i_ < m_->slotCount_ && (!m_->isLive(i_) || !m_->mine(i_))) ++i_;
        }
        Map* m_;
        U32 i_;
    };
    using Iterator = IteratorT<false>;
    using IteratorConst = IteratorT<true>;

    explicit VaultMap(Hash hash = Hash()) : hash_(hash) {}
    VaultMap(const VaultMap&) = delete;
    VaultMap& operator=(const VaultMap&) = delete;
    ~VaultMap() { unmount(); }

    // Creates the table's segment, or reopens and recovers the one a previous writer left.
    // Throws Vault::Exception (and records it in the control) when the segment is refused.
    void mount(CollectionControl& control);
    void unmount();
    bool mounted() const { return static_cast<bool>(segment_); }
    const std::string& name() const { return name_; }
    U32 capacity() const { return capacity_; }
    U32 size() const override { return live_; }
    U64 segmentBytes() const override { return segment_.bytes(); }
    const void* segmentBase() const { return segment_.base(); }

    void changeHookIs(ChangeHook hook) { hook_ = std::move(hook); }
    void corruptionHandlerIs(CorruptionHandler handler) { handler_ = std::move(handler); }

    // Inserts or overwrites. A new key in a full table throws FullException and changes nothing.
    void safeWrite(const K& key, const V& value);
    // Publishes an entry changed in place through a pointer from lookup() or an iterator; true
    // when readers saw a different value before. A pointer that is not a live entry of this table
    // is reported like corruption.
    bool directCommit(const V* value);
    // Removes the key and returns its value, or nothing when it was absent.
    std::optional<V> safeRemove(const K& key);
    void removeAll();
    // The writer's copy of the key's entry, or null when the key is absent or its entry was
    // found overwritten in the segment (the corruption handler is told).
    V* lookup(const K& key) {
        const U32 i = find(key);
        return i == none ? nullptr : mine(i);
    }
    const V* lookup(const K& key) const {
        const U32 i = find(key);
        return i == none ? nullptr : mine(i);
    }
    // Starts loading what a lookup of the key touches at its home slot, the entry included, so a
    // caller working through a batch of keys (a burst of received probes) overlaps their cache
    // misses: prefetch a few keys ahead of the one being looked up.
    void prefetch(const K& key) const {
        if (!slotCount_) return;
        const U32 i = home(key);
        prefetchBytes(&mirror_[i], sizeof(Mirror));
        prefetchBytes(&values_[i], sizeof(V));
    }
    // Compares every slot of the segment with this writer's copy; calls the corruption handler
    // for each slot that differs and returns how many did.
    U32 validate();

    Iterator begin() { return Iterator(this, 0); }
    Iterator end() { return Iterator(this, slotCount_); }
    IteratorConst begin() const { return IteratorConst(this, 0); }
    IteratorConst end() const { return IteratorConst(this, slotCount_); }

  private:
    static constexpr U32 none = ~0u;

    void controlGone() override { control_ = nullptr; }
    void requireMounted() const {
        if (!words_) [[unlikely]]
            notMounted();
    }
    [[noreturn, gnu::cold, gnu::noinline]] void notMounted() const {
        throw Exception("table " + name_ + " is not mounted");
    }
    U64* slot(U32 i) const { return words_ + std::size_t{i} * slotWords; }
    static void prefetchBytes(const void* p, std::size_t n) {
        const char* c = static_cast<const char*>(p);
        for (std::size_t off = 0; off < n; off += 64) __builtin_prefetch(c + off);
        __builtin_prefetch(c + n - 1);
    }
    U32 home(const K& key) const { return homeSlot(static_cast<U64>(hash_(key)), slotCount_); }
    // Bit 0 of a mirrored counter, which the segment's counter only sets mid-write: slot i's
    // entry has been copied into values_[i] and is kept there.
    static constexpr U64 copied = 1;
    U64 publishedSeq(U32 i) const { return mirror_[i].seq & ~copied; }
    bool hasCopy(U32 i) const { return mirror_[i].seq & copied; }
    // The writer's copy of live slot i's entry, made now if it has not been yet; null, with the
    // corruption handler told, when the segment no longer holds what was published there.
    V* mine(U32 i) const {
        if (hasCopy(i)) [[likely]]
            return &values_[i];
        V* v = copyOut(i);
        if (!v && handler_) handler_(overwritten(i));
        return v;
    }
    // Copies slot i's entry out of the segment, or gives null when it fails its check.
    [[gnu::noinline]] V* copyOut(U32 i) const;
    std::string overwritten(U32 i) const {
        return Rix::format("table %s: slot %u was overwritten", name_.c_str(), i);
    }
    bool isLive(U32 i) const { return metaState(mirror_[i].meta) == U8(SlotState::live); }
    U32 find(const K& key) const;
    // Publishes `value` as slot i's entry under mirror_[i].key, also storing it into the writer's
    // copy when `intoMine` (a copy handed out that `value` is not); encoding, check and stores
    // are one pass over its chunks.
    template <bool intoMine>
    void publishEntry(U32 i, const V& value);
    // Publishes a slot without payload: empty (meta 0) or a tombstone.
    void publishMeta(U32 i, U64 meta);
    void storeLiveCount() {
        image_.words[liveCountWord] = live_;
        storeWord(reinterpret_cast<U64*>(segment_.base()) + liveCountWord, live_);
    }
    // Throws NoMansLandException for `op` after the handler saw `what`.
    [[noreturn]] void noMansLand(const char* op, const std::string& what) const {
        if (handler_) handler_(what);
        throw NoMansLandException(std::string("VaultMap::") + op + "() in no man's land");
    }
    // The header and slot `i` must hold exactly what this writer last published.
    void checkImage(const char* op, U32 i) const {
        static_assert(headerFieldWords == 5 && liveCountWord == 5);
        const U64* base = static_cast<const U64*>(segment_.base());
        U32 same = 0xffff;
        for (U32 c = 0; c < 3; ++c) {
            same &= Chunks::equalBytes(Chunks::loadShared(base + 2 * c),
                                       Chunks::load(image_.words + 2 * c));
        }
        if (i != none) {
            same &= Chunks::equalBytes(Chunks::loadShared(slot(i)),
                                       Chunks::make(publishedSeq(i), mirror_[i].meta));
        }
        if (same != 0xffff) [[unlikely]]
            imageBroken(op, i);
    }
    [[noreturn, gnu::cold, gnu::noinline]] void imageBroken(const char* op, U32 i) const;
    void recover();
    // Whether slot i's payload in the segment still passes the check this writer published;
    // with `intoCopy`, its value is also stored into the writer's copy on the way.
    template <bool intoCopy = false>
    bool checkHolds(U32 i) const {
        const U64* s = slot(i) + 2;
        EntryCheck check;
        Codec::template forChunks<0, Codec::chunks>([&](auto c) VAULT_INLINE {
            const Chunk chunk = Chunks::loadShared(s + 2 * c);
            check.add(chunk);
            if constexpr (intoCopy) Codec::template decodeValue<c>(chunk, values_[i]);
        });
        return metaCheck(mirror_[i].meta) == check.value(slotSeed(i));
    }
    // Whether slot i's payload in the segment is exactly the encoding of this writer's entry.
    bool slotHolds(U32 i) const {
        const U64* s = slot(i) + 2;
        U32 same = 0xffff;
        Codec::template forChunks<0, Codec::chunks>([&](auto c) VAULT_INLINE {
            same &= Chunks::equalBytes(Chunks::loadShared(s + 2 * c),
                                       Codec::template encode<c>(mirror_[i].key, values_[i]));
        });
        return same == 0xffff;
    }

    Hash hash_;
    std::string name_;
    CollectionControl* control_ = nullptr;
    Segment segment_;
    U64* words_ = nullptr;
    U32 capacity_ = 0;
    U32 slotCount_ = 0;
    U32 live_ = 0;
    U32 repaired_ = 0;
    // What this writer last published: the header's fields with the live count (word 5), and
    // per slot its counter, meta and key, together so that a probe or a check reads one line.
    struct alignas(16) Image {
        U64 words[6];
    } image_{};
    struct alignas(16) Mirror {
        U64 seq = 0;
        U64 meta = 0;
        K key{};
    };
    // Mutable: a const lookup may make the copy it returns.
    mutable std::vector<Mirror> mirror_;
    mutable std::vector<V> values_;
    ChangeHook hook_;
    CorruptionHandler handler_;
};

template <class K, class V, class H>
void VaultMap<K, V, H>::mount(CollectionControl& control) {
    unmount();
    name_ = control.name();
    try {
        const U64 bytes = segmentBytesFor(control.capacity(), sizeof(K), sizeof(V));
        Segment seg = Segment::openWriter(control.segmentName(), bytes, control.mode());
        const HeaderFields fields = makeHeader(control.capacity(), sizeof(K), sizeof(V));
        image_ = {};
        std::memcpy(image_.words, &fields, sizeof fields);
        U64* base = static_cast<U64*>(seg.base());
        // A segment of this writer's own, of the right mode and size, whose header is still all
        // zero is one whose creator was killed before writing the header: it is finished here.
        bool blankHeader = true;
        for (std::size_t w = 0; w < headerBytes / 8; ++w)
            blankHeader = blankHeader && !loadWord(base + w);
        if (seg.created() || blankHeader) {
            // The magic goes last: a reader attaching meanwhile finds no table yet.
            for (std::size_t w = 1; w < headerFieldWords; ++w) storeWord(base + w, image_.words[w]);
            storeWord(base, image_.words[0], std::memory_order_release);
        } else {
            const std::string problem = headerProblem(loadHeader(base), control.segmentName(),
                                                      sizeof(K), sizeof(V), seg.bytes());
            if (!problem.empty()) throw Exception(problem);
            if (loadHeader(base).capacity != control.capacity()) {
                throw Exception(Rix::format(
                    "shared-memory segment %s holds %u entries, expected %u",
                    control.segmentName().c_str(), loadHeader(base).capacity, control.capacity()));
            }
        }
        capacity_ = fields.capacity;
        slotCount_ = fields.slotCount;
        words_ = base + headerBytes / 8;
        mirror_.assign(slotCount_, Mirror{});
        values_.assign(slotCount_, V{});
        live_ = 0;
        repaired_ = 0;
        const bool created = seg.created();
        segment_ = std::move(seg);
        if (!created) recover();
        control_ = &control;
        control.mounted(this, created ? MountState::created : MountState::recovered, repaired_);
    } catch (const Exception& e) {
        segment_ = Segment();
        words_ = nullptr;
        slotCount_ = 0;
        control.mountFailed(e.what());
        throw;
    }
}

template <class K, class V, class H>
void VaultMap<K, V, H>::unmount() {
    if (control_) control_->unmounted(this);
    control_ = nullptr;
    segment_ = Segment();
    words_ = nullptr;
    slotCount_ = capacity_ = live_ = 0;
    mirror_.clear();
    values_.clear();
}

template <class K, class V, class H>
U32 VaultMap<K, V, H>::find(const K& key) const {
    if (!slotCount_) return none;
    const U32 mask = slotCount_ - 1;
    U32 i = home(key);
    for (U32 n = 0; n < slotCount_; ++n, i = (i + 1) & mask) {
        const U8 st = metaState(mirror_[i].meta);
        if (st == U8(SlotState::empty)) return none;
        if (st == U8(SlotState::live) && mirror_[i].key == key) return i;
    }
    return none;
}

// Sequence protocol, writer side: the odd counter is stored and then a release fence orders it
// before every word that follows, so a reader that saw any of those words and then issues an
// acquire fence cannot read the old even counter afterwards. The final release store of the even
// counter orders the words before it for a reader that acquires it.
template <class K, class V, class H>
template <bool intoMine>
void VaultMap<K, V, H>::publishEntry(U32 i, const V& value) {
    U64* s = slot(i);
    const U64 seq = publishedSeq(i);
    storeWord(s, seq + 1);
    std::atomic_thread_fence(std::memory_order_release);
    const K& key = mirror_[i].key;
    V& copy = values_[i];
    EntryCheck check;
    Codec::template forChunks<0, Codec::chunks>([&](auto c) VAULT_INLINE {
        const Chunk chunk = Codec::template encode<c>(key, value);
        check.add(chunk);
        Chunks::storeShared(s + 2 + 2 * c, chunk);
        if constexpr (intoMine) Codec::template decodeValue<c>(chunk, copy);
    });
    const U64 meta = liveMeta(i, check.value(slotSeed(i)));
    storeWord(s + 1, meta);
    storeWord(s, seq + 2, std::memory_order_release);
    mirror_[i].seq = (seq + 2) | (mirror_[i].seq & copied);
    mirror_[i].meta = meta;
}

template <class K, class V, class H>
void VaultMap<K, V, H>::publishMeta(U32 i, U64 meta) {
    U64* s = slot(i);
    const U64 seq = publishedSeq(i);
    storeWord(s, seq + 1);
    std::atomic_thread_fence(std::memory_order_release);
    storeWord(s + 1, meta);
    storeWord(s, seq + 2, std::memory_order_release);
    mirror_[i].seq = seq + 2;  // an entry's copy goes with it
    mirror_[i].meta = meta;
}

template <class K, class V, class H>
V* VaultMap<K, V, H>::copyOut(U32 i) const {
    const U64* s = slot(i);
    if (!checkHolds<true>(i) || loadWord(s) != publishedSeq(i) ||
        loadWord(s + 1) != mirror_[i].meta)
        return nullptr;
    mirror_[i].seq |= copied;
    return &values_[i];
}

template <class K, class V, class H>
void VaultMap<K, V, H>::imageBroken(const char* op, U32 i) const {
    const U64* base = static_cast<const U64*>(segment_.base());
    for (std::size_t w = 0; w < headerFieldWords; ++w) {
        if (loadWord(base + w) != image_.words[w]) {
            noMansLand(op,
                       Rix::format("table %s: header word %zu was overwritten", name_.c_str(), w));
        }
    }
    if (loadWord(base + liveCountWord) != live_) {
        noMansLand(op, Rix::format("table %s: live count was overwritten", name_.c_str()));
    }
    noMansLand(op, overwritten(i));
}

template <class K, class V, class H>
void VaultMap<K, V, H>::safeWrite(const K& key, const V& value) {
    requireMounted();
    const U32 mask = slotCount_ - 1;
    U32 i = home(key), target = none, freeSlot = none;
    for (U32 n = 0; n < slotCount_; ++n, i = (i + 1) & mask) {
        const U8 st = metaState(mirror_[i].meta);
        if (st == U8(SlotState::live)) {
            if (mirror_[i].key == key) {
                target = i;
                break;
            }
            continue;
        }
        if (freeSlot == none) freeSlot = i;
        if (st == U8(SlotState::empty)) break;
    }
    const bool inserting = target == none;
    if (inserting) {
        if (live_ >= capacity_ || freeSlot == none) {
            throw FullException(Rix::format("table %s is full: all %u entries are taken",
                                            name_.c_str(), capacity_));
        }
        target = freeSlot;
    }
    // Start fetching the lines the entry is about to be stored into, so that their misses overlap
    // with the checks below instead of following one another as the stores drain.
    prefetchBytes(slot(target), slotWords * 8);
    const bool keepCopy = hasCopy(target);  // never for a new entry
    if (keepCopy) prefetchBytes(&values_[target], sizeof(V));
    checkImage("safeWrite", target);
    if (inserting) mirror_[target].key = key;
    if (keepCopy)
        publishEntry<true>(target, value);
    else
        publishEntry<false>(target, value);
    if (inserting) {
        ++live_;
        storeLiveCount();
    }
    if (hook_) hook_(key);
}

template <class K, class V, class H>
bool VaultMap<K, V, H>::directCommit(const V* value) {
    requireMounted();
    const auto addr = reinterpret_cast<std::uintptr_t>(value);
    const auto first = reinterpret_cast<std::uintptr_t>(values_.data());
    const std::uintptr_t offset = addr - first;
    const U32 i = static_cast<U32>(offset / sizeof(V));
    // Only a copy that was handed out and still belongs to a live entry can have been changed.
    if (addr < first || offset % sizeof(V) != 0 || offset / sizeof(V) >= slotCount_ || !isLive(i) ||
        !hasCopy(i)) {
        noMansLand(
            "directCommit",
            Rix::format("table %s: committed entry is not a live entry of it", name_.c_str()));
    }
    checkImage("directCommit", i);
    if (slotHolds(i)) return false;
    publishEntry<false>(i, values_[i]);
    if (hook_) hook_(mirror_[i].key);
    return true;
}

template <class K, class V, class H>
std::optional<V> VaultMap<K, V, H>::safeRemove(const K& key) {
    requireMounted();
    const U32 i = find(key);
    if (i == none) {
        checkImage("safeRemove", none);
        return std::nullopt;
    }
    checkImage("safeRemove", i);
    const V* value = hasCopy(i) ? &values_[i] : copyOut(i);
    if (!value) noMansLand("safeRemove", overwritten(i));
    std::optional<V> removed = *value;
    const U32 mask = slotCount_ - 1;
    publishMeta(i, tombstoneMeta(i));
    // Tombstones that end a chain are not needed to reach anything: empty them, so that lookups
    // of absent keys keep stopping early.
    if (metaState(mirror_[(i + 1) & mask].meta) == U8(SlotState::empty)) {
        for (U32 j = i, n = 0;
             n < slotCount_ && metaState(mirror_[j].meta) == U8(SlotState::tombstone);
             ++n, j = (j - 1) & mask) {
            publishMeta(j, 0);
        }
    }
    --live_;
    storeLiveCount();
    if (hook_) hook_(key);
    return removed;
}

template <class K, class V, class H>
void VaultMap<K, V, H>::removeAll() {
    requireMounted();
    checkImage("safeRemove", none);
    for (U32 i = 0; i < slotCount_; ++i) {
        if (mirror_[i].meta == 0) continue;
        const bool wasLive = isLive(i);
        publishMeta(i, 0);
        if (wasLive) {
            --live_;
            storeLiveCount();
            if (hook_) hook_(mirror_[i].key);
        }
    }
}

template <class K, class V, class H>
U32 VaultMap<K, V, H>::validate() {
    requireMounted();
    U32 bad = 0;
    try {
        checkImage("validate", none);
    } catch (const NoMansLandException&) {
        ++bad;
    }
    for (U32 i = 0; i < slotCount_; ++i) {
        const U64* s = slot(i);
        const bool ok = loadWord(s) == publishedSeq(i) && loadWord(s + 1) == mirror_[i].meta &&
                        (!isLive(i) || (hasCopy(i) ? slotHolds(i) : checkHolds(i)));
        if (!ok) {
            ++bad;
            if (handler_) handler_(overwritten(i));
        }
    }
    return bad;
}

// Recovery after a restart: a slot whose counter is odd or whose check fails was caught mid-write
// (or overwritten); when its words still agree with its check the write had finished and the
// entry is kept, otherwise the entry is lost and the slot becomes a tombstone. Entries that their
// probe chain cannot reach, or that repeat a key, are removed too.
template <class K, class V, class H>
void VaultMap<K, V, H>::recover() {
    auto drop = [&](U32 i, const char* why) {
        ++repaired_;
        if (handler_)
            handler_(
                Rix::format("table %s: slot %u %s; its entry was removed", name_.c_str(), i, why));
        publishMeta(i, tombstoneMeta(i));
    };
    for (U32 i = 0; i < slotCount_; ++i) {
        const U64* s = slot(i);
        const U64 seq = loadWord(s);
        const U64 meta = loadWord(s + 1);
        typename Codec::Image p;
        EntryCheck check;
        for (U32 c = 0; c < Codec::chunks; ++c) check.add(p[c] = Chunks::loadShared(s + 2 + 2 * c));
        mirror_[i].seq = seq & ~U64{1};
        const U8 st = metaState(meta);
        bool ok;
        if (meta == 0) {
            ok = true;
        } else if (st == U8(SlotState::tombstone)) {
            ok = meta == tombstoneMeta(i);
        } else {
            ok = st == U8(SlotState::live) && metaIndex(meta) == i &&
                 metaCheck(meta) == check.value(slotSeed(i));
        }
        if (!ok) {
            drop(i, (seq & 1) ? "was caught mid-write" : "failed its check");
            continue;
        }
        mirror_[i].meta = meta;
        // The value is copied out when it is first asked for.
        if (st == U8(SlotState::live)) mirror_[i].key = Codec::decodeKey(p);
        if (seq & 1) publishMeta(i, meta);  // the write had finished: close it
    }
    for (U32 i = 0; i < slotCount_; ++i) {
        if (!isLive(i)) continue;
        const U32 found = find(mirror_[i].key);
        if (found == i) {
            ++live_;
        } else {
            mirror_[i].meta = tombstoneMeta(i);  // keeps find() from meeting it again
            drop(i, found == none ? "cannot be reached from its key" : "repeats a key");
        }
    }
    if (live_ > capacity_) {
        throw Exception(Rix::format("table %s holds %u entries, more than its capacity %u",
                                    name_.c_str(), live_, capacity_));
    }
    storeLiveCount();
}

}  // namespace Vault
