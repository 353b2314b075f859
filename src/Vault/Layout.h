#pragma once
// The image of a table in shared memory, shared by the writer and its readers.
//
// A segment is a 64-byte header followed by slotCount slots of slotWords 8-byte words each:
//   word 0       the slot's sequence counter: odd while the writer is changing the slot;
//   word 1       meta: bits 0-31 the entry check, bits 32-39 the state, bits 40-63 the slot index;
//   words 2..    the payload: the key's bytes, zero padded to whole words, then the value's bytes
//                likewise, then a zero word if needed to end on a 16-byte chunk (Payload.h).
// An empty slot has meta 0; a removed one (a tombstone, which keeps probe chains intact) has the
// tombstone state and check 0; a live one carries the check of its index, key and value, so that
// bytes overwritten by anything but the writer's protocol are detected.
//
// Header words, sequence counters and metas are accessed through std::atomic_ref, payloads in
// whole chunks (Chunk.h): the writer stores, readers load, all relaxed apart from the sequence
// counter, whose ordering is described in VaultMap and VaultReader.
#include <atomic>
#include <bit>
#include <cstddef>
#include <string>

#include "Rix/Types.h"
#include "Vault/Chunk.h"

namespace Vault {

constexpr U64 segmentMagic = 0x3154'4C55'4156'5253ull;
constexpr U32 layoutVersion = 2;
constexpr std::size_t headerBytes = 64;
constexpr U32 maxCapacity = 1u << 22;
constexpr U32 maxRecordBytes = 1u << 16;

enum class SlotState : U8 { empty = 0, live = 1, tombstone = 2 };

// The fixed part of the header, written once when the segment is created.
struct HeaderFields {
    U64 magic = 0;
    U32 version = 0;
    U32 keySize = 0;
    U32 valueSize = 0;
    U32 capacity = 0;
    U32 slotCount = 0;
    U32 slotWords = 0;
    U32 check = 0;  // over every field above
    U32 reserved = 0;
};
static_assert(sizeof(HeaderFields) == 40);
// Header word 5 counts the live entries; words 6 and 7 are reserved.
constexpr std::size_t headerFieldWords = sizeof(HeaderFields) / 8;
constexpr std::size_t liveCountWord = 5;

inline U64 loadWord(const U64* w, std::memory_order o = std::memory_order_relaxed) {
    return std::atomic_ref<U64>(*const_cast<U64*>(w)).load(o);
}
inline void storeWord(U64* w, U64 v, std::memory_order o = std::memory_order_relaxed) {
    std::atomic_ref<U64>(*w).store(v, o);
}

constexpr U32 wordsFor(U32 bytes) { return (bytes + 7) / 8; }
// Slots are at most half taken, so that probe chains stay short.
U32 slotCountFor(U32 capacity);
// Key and value words, padded to whole 16-byte chunks.
constexpr U32 payloadWordsFor(U32 keySize, U32 valueSize) {
    return (wordsFor(keySize) + wordsFor(valueSize) + 1) & ~1u;
}
// Slots are whole chunks, so that every payload starts on a 16-byte boundary.
constexpr U32 slotWordsFor(U32 keySize, U32 valueSize) {
    return 2 + payloadWordsFor(keySize, valueSize);
}
U64 segmentBytesFor(U32 capacity, U32 keySize, U32 valueSize);

// The check of an entry. Its payload is taken in blocks of 64 bytes (the last one zero padded),
// each a row of eight 64-bit lanes; every lane runs through a chain that adds the first block,
// xors the second, adds the third and so on, so that a changed word always changes its lane and
// a word moved elsewhere changes the lanes too, the two operations not commuting with each
// other. The lanes are then folded pairwise, with exclusive or and addition in turn, and with
// the seed into one word, which a single multiplication spreads into the high half kept. One
// vector operation per 16-byte chunk, applied as the chunks are loaded: a reader checks its copy
// in the same pass. It catches accidents and
// crashes, not an adversary who can write the segment.
// Each lane starts from its own value, so that neither the first add and xor of a chain nor the
// fold's pairs of lanes are symmetric in the words they take.
constexpr U64 checkStart(U64 lane) { return 0x9E37'79B9'7F4A'7C15ull * (2 * lane + 1); }
inline U32 finishCheck(U64 low, U64 high, U64 seed) {
    return static_cast<U32>(((low ^ std::rotl(high, 29) ^ seed) * 0xBF58'476D'1CE4'E5B9ull) >> 32);
}

// The check summed one 16-byte chunk at a time, chunk n of a block going to lanes 2n and 2n+1.
template <class Ops = Chunks>
class BasicEntryCheck {
  public:
    using Chunk = typename Ops::Chunk;
    void add(Chunk c) {
        Chunk& x = x_[n_ & 3];
        x = (n_ & 4) ? Ops::bitXor(x, c) : Ops::add(x, c);
        ++n_;
    }
    U32 value(U64 seed) const {
        const Chunk z = Ops::add(Ops::bitXor(x_[0], x_[2]), Ops::bitXor(x_[1], x_[3]));
        return finishCheck(Ops::low(z), Ops::high(z), seed);
    }

  private:
    static Chunk start(U64 lane) { return Ops::make(checkStart(lane), checkStart(lane + 1)); }
    Chunk x_[4] = {start(0), start(2), start(4), start(6)};
    U32 n_ = 0;
};
using EntryCheck = BasicEntryCheck<>;

// The check of `n` chunks of private memory, seeded with whatever else the check must cover.
inline U32 chunksCheck(U64 seed, const void* chunks, std::size_t n) {
    EntryCheck c;
    for (std::size_t i = 0; i < n; ++i)
        c.add(Chunks::load(static_cast<const char*>(chunks) + 16 * i));
    return c.value(seed);
}

U32 headerCheck(const HeaderFields& h);

inline U64 liveMeta(U32 index, U32 check) {
    return U64{check} | (U64{static_cast<U8>(SlotState::live)} << 32) | (U64{index} << 40);
}
inline U64 tombstoneMeta(U32 index) {
    return (U64{static_cast<U8>(SlotState::tombstone)} << 32) | (U64{index} << 40);
}
inline U32 metaCheck(U64 meta) { return static_cast<U32>(meta); }
inline U8 metaState(U64 meta) { return static_cast<U8>(meta >> 32); }
inline U32 metaIndex(U64 meta) { return static_cast<U32>(meta >> 40); }
// Seeds the check of a live slot with its index, so that a slot copied elsewhere is caught.
inline U64 slotSeed(U32 index) { return 0x5107'0000'0000'0000ull ^ index; }

HeaderFields makeHeader(U32 capacity, U32 keySize, U32 valueSize);
HeaderFields loadHeader(const void* segment);
// Empty when the header is a valid one for these sizes and segment length; otherwise what is
// wrong with it, naming the segment.
std::string headerProblem(const HeaderFields& h, const std::string& segmentName, U32 keySize,
                          U32 valueSize, U64 segmentBytes);

// Home slot of a hash: the high bits of a multiplicative mix, so that weak low bits of a key's
// own hash still spread over the table.
inline U32 homeSlot(U64 hash, U32 slotCount) {
    const U64 mixed = (hash ^ (hash >> 32)) * 0x9E37'79B9'7F4A'7C15ull;
    return static_cast<U32>(mixed >> 32) & (slotCount - 1);
}

}  // namespace Vault
