#pragma once
// The image of a table in shared memory, shared by the writer and its readers.
//
// A segment is a 64-byte header followed by slotCount slots of slotWords 8-byte words each:
//   word 0       the slot's sequence counter: odd while the writer is changing the slot;
//   word 1       meta: bits 0-31 the entry check, bits 32-39 the state, bits 40-63 the slot index;
//   words 2..    the key's bytes, zero padded to whole words, then the value's bytes likewise.
// An empty slot has meta 0; a removed one (a tombstone, which keeps probe chains intact) has the
// tombstone state and check 0; a live one carries the check of its index, key and value, so that
// bytes overwritten by anything but the writer's protocol are detected.
//
// Every word is accessed through std::atomic_ref: the writer stores, readers load, both
// relaxed apart from the sequence counter, whose ordering is described in VaultMap and
// VaultReader.
#include <atomic>
#include <bit>
#include <cstddef>
#include <string>

#include "Rix/Types.h"

namespace Vault {

constexpr U64 segmentMagic = 0x3154'4C55'4156'5253ull;
constexpr U32 layoutVersion = 1;
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
inline U32 slotWordsFor(U32 keySize, U32 valueSize) {
    return 2 + wordsFor(keySize) + wordsFor(valueSize);
}
U64 segmentBytesFor(U32 capacity, U32 keySize, U32 valueSize);

// The check of an entry: position-weighted sums over four lanes (a Fletcher-style check on
// 64-bit words). A changed word changes the plain sum, a moved word the weighted one, and the
// final multiplicative mix spreads both over the 32 bits kept. Words are added one at a time as
// they are loaded, so a reader checks its copy without a second pass over it. It catches
// accidents and crashes, not an adversary who can write the segment.
class EntryCheck {
  public:
    explicit EntryCheck(U64 seed) : a0_(seed) {}
    // Adds words [from, to) of an entry, loading each from the segment at `src` (relaxed) into
    // `dst` too. Lanes are chosen by position; blocks of four keep every lane in a register.
    void load(const U64* src, U64* dst, std::size_t from, std::size_t to) {
        run(from, to, [&](std::size_t i) { return dst[i] = loadWord(src + i); });
    }
    // Adds words [from, to) of private memory.
    void sum(const U64* words, std::size_t from, std::size_t to) {
        run(from, to, [&](std::size_t i) { return words[i]; });
    }
    void add(std::size_t position, U64 w) {
        switch (position & 3) {
            case 0:
                a0_ += w, b0_ += a0_;
                break;
            case 1:
                a1_ += w, b1_ += a1_;
                break;
            case 2:
                a2_ += w, b2_ += a2_;
                break;
            default:
                a3_ += w, b3_ += a3_;
                break;
        }
    }
    // Lanes are folded with rotations before two multiplicative rounds: short enough to stay
    // off the critical path of a lookup, and any change to one lane still changes the result.
    U32 value(std::size_t n) const {
        const U64 a = a0_ ^ std::rotl(a1_, 13) ^ std::rotl(a2_, 29) ^ std::rotl(a3_, 43);
        const U64 b = b0_ ^ std::rotl(b1_, 7) ^ std::rotl(b2_, 23) ^ std::rotl(b3_, 37);
        U64 h = (a ^ n) * 0xBF58'476D'1CE4'E5B9ull;
        h = (h ^ (h >> 29) ^ b) * 0x94D0'49BB'1331'11EBull;
        return static_cast<U32>(h ^ (h >> 32));
    }

  private:
    template <class Word>
    void run(std::size_t from, std::size_t to, Word word) {
        std::size_t i = from;
        for (; i < to && (i & 3) != 0; ++i) add(i, word(i));
        for (; i + 4 <= to; i += 4) {
            const U64 w0 = word(i), w1 = word(i + 1), w2 = word(i + 2), w3 = word(i + 3);
            a0_ += w0, b0_ += a0_;
            a1_ += w1, b1_ += a1_;
            a2_ += w2, b2_ += a2_;
            a3_ += w3, b3_ += a3_;
        }
        for (; i < to; ++i) add(i, word(i));
    }

    U64 a0_, a1_ = 0, a2_ = 0, a3_ = 0;
    U64 b0_ = 0, b1_ = 0, b2_ = 0, b3_ = 0;
};

// The check of a run of words, seeded with whatever else the check must cover.
inline U32 wordsCheck(U64 seed, const U64* words, std::size_t n) {
    EntryCheck c(seed);
    c.sum(words, 0, n);
    return c.value(n);
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
