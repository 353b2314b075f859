#include "Vault/Layout.h"

#include <bit>
#include <cstring>

#include "Rix/Format.h"

namespace Vault {

U32 slotCountFor(U32 capacity) { return std::bit_ceil(capacity) * 2; }

U64 segmentBytesFor(U32 capacity, U32 keySize, U32 valueSize) {
    return headerBytes + U64{slotCountFor(capacity)} * slotWordsFor(keySize, valueSize) * 8;
}

namespace {
constexpr U64 mul = 0x9FB2'1C65'1E98'DF25ull;
inline U64 lane(U64 h, U64 w) { return std::rotl((h ^ w) * mul, 27); }
}  // namespace

// Four independent lanes keep the multiplications of a 200-byte entry off one dependency
// chain; the final mix carries every lane's high bits into the 32 bits kept.
U32 wordsCheck(U64 seed, const U64* w, std::size_t n) {
    U64 a = seed ^ 0x243F'6A88'85A3'08D3ull, b = 0x1319'8A2E'0370'7344ull;
    U64 c = 0xA409'3822'299F'31D0ull, d = 0x082E'FA98'EC4E'6C89ull;
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        a = lane(a, w[i]);
        b = lane(b, w[i + 1]);
        c = lane(c, w[i + 2]);
        d = lane(d, w[i + 3]);
    }
    for (; i < n; ++i) a = lane(a, w[i]);
    U64 h = a ^ std::rotl(b, 16) ^ std::rotl(c, 32) ^ std::rotl(d, 48) ^ n;
    h ^= h >> 31;
    h *= 0xBF58'476D'1CE4'E5B9ull;
    h ^= h >> 29;
    h *= 0x94D0'49BB'1331'11EBull;
    h ^= h >> 32;
    return static_cast<U32>(h);
}

U32 headerCheck(const HeaderFields& h) {
    U64 words[headerFieldWords];
    HeaderFields copy = h;
    copy.check = 0;
    std::memcpy(words, &copy, sizeof copy);
    return wordsCheck(0x4844'5200ull, words, headerFieldWords);
}

HeaderFields makeHeader(U32 capacity, U32 keySize, U32 valueSize) {
    HeaderFields h;
    h.magic = segmentMagic;
    h.version = layoutVersion;
    h.keySize = keySize;
    h.valueSize = valueSize;
    h.capacity = capacity;
    h.slotCount = slotCountFor(capacity);
    h.slotWords = slotWordsFor(keySize, valueSize);
    h.check = headerCheck(h);
    return h;
}

HeaderFields loadHeader(const void* segment) {
    U64 words[headerFieldWords];
    const U64* src = static_cast<const U64*>(segment);
    for (std::size_t i = 0; i < headerFieldWords; ++i) words[i] = loadWord(src + i);
    HeaderFields h;
    std::memcpy(&h, words, sizeof h);
    return h;
}

std::string headerProblem(const HeaderFields& h, const std::string& name, U32 keySize,
                          U32 valueSize, U64 segmentBytes) {
    if (h.magic != segmentMagic) {
        return Rix::format("shared-memory segment %s is not a table (bad magic)", name.c_str());
    }
    if (h.check != headerCheck(h)) {
        return Rix::format("shared-memory segment %s has a corrupt header (check mismatch)",
                           name.c_str());
    }
    if (h.version != layoutVersion) {
        return Rix::format("shared-memory segment %s has layout version %u, expected %u",
                           name.c_str(), h.version, layoutVersion);
    }
    if (h.keySize != keySize || h.valueSize != valueSize) {
        return Rix::format("shared-memory segment %s holds %u-byte keys and %u-byte values, "
                           "expected %u and %u",
                           name.c_str(), h.keySize, h.valueSize, keySize, valueSize);
    }
    if (h.capacity == 0 || h.capacity > maxCapacity || h.slotCount != slotCountFor(h.capacity) ||
        h.slotWords != slotWordsFor(keySize, valueSize)) {
        return Rix::format("shared-memory segment %s has an inconsistent layout", name.c_str());
    }
    const U64 expected = segmentBytesFor(h.capacity, keySize, valueSize);
    if (segmentBytes != expected) {
        return Rix::format("shared-memory segment %s is %llu bytes, expected %llu", name.c_str(),
                           static_cast<unsigned long long>(segmentBytes),
                           static_cast<unsigned long long>(expected));
    }
    return {};
}

}  // namespace Vault
