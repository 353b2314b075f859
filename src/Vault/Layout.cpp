#include "Vault/Layout.h"

#include <bit>
#include <cstring>

#include "Rix/Format.h"

namespace Vault {

U32 slotCountFor(U32 capacity) { return std::bit_ceil(capacity) * 2; }

U64 segmentBytesFor(U32 capacity, U32 keySize, U32 valueSize) {
    return headerBytes + U64{slotCountFor(capacity)} * slotWordsFor(keySize, valueSize) * 8;
}

U32 headerCheck(const HeaderFields& h) {
    U64 words[(headerFieldWords + 1) & ~1u] = {};
    HeaderFields copy = h;
    copy.check = 0;
    std::memcpy(words, &copy, sizeof copy);
    return chunksCheck(0x4844'5200ull, words, sizeof words / 16);
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
        return Rix::format(
            "shared-memory segment %s holds %u-byte keys and %u-byte values, "
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
