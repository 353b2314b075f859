#pragma once
// An interface identifier by name ("Ethernet1", a host's "veth0"). Held inline with a fixed
// capacity so that it is trivially copyable and can live in shared-memory keys.
// Text form: the quoted name 'Ethernet1'. Attribute log: U8 length, then the name's bytes.
#include <compare>
#include <cstring>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>

#include "Rix/NboAttrLog.h"
#include "Rix/Strep.h"
#include "Wirex/NetTypes.h"

namespace Wirex {

class IntfId {
  public:
    static constexpr std::size_t maxLength = 31;

    constexpr IntfId() noexcept = default;
    // Throws Rix::RangeException naming the text when it is longer than maxLength or holds a NUL.
    explicit IntfId(std::string_view name);
    explicit IntfId(const char* name) : IntfId(std::string_view(name)) {}
    IntfId(Rix::NboAttrLog::In* in, Rix::StreamBogon);

    std::string_view name() const noexcept { return std::string_view(name_, length_); }
    std::string str() const { return std::string(name()); }
    std::size_t length() const noexcept { return length_; }
    bool empty() const noexcept { return length_ == 0; }
    // The whole object: the unused bytes are always zero.
    U32 hash() const noexcept { return hashBytes(this, sizeof(IntfId)); }

    // The unused bytes are always zero, so equality compares the whole object, a word at a time.
    friend bool operator==(const IntfId& a, const IntfId& b) noexcept {
        U64 diff = 0;
        for (std::size_t i = 0; i < sizeof(IntfId); i += 8) diff |= a.word(i) ^ b.word(i);
        return diff == 0;
    }
    // Byte-wise order of the names ("Ethernet10" before "Ethernet2").
    friend std::strong_ordering operator<=>(const IntfId& a, const IntfId& b) noexcept {
        return a.name() <=> b.name();
    }
    friend bool operator!(const IntfId& a) noexcept { return a.length_ == 0; }

  private:
    U64 word(std::size_t offset) const noexcept {
        U64 w;
        std::memcpy(&w, reinterpret_cast<const char*>(this) + offset, sizeof w);
        return w;
    }
    char name_[maxLength] = {};
    U8 length_ = 0;
};

static_assert(sizeof(IntfId) == 32 && std::is_trivially_copyable_v<IntfId>);

std::ostream& operator<<(std::ostream& os, const IntfId& v);
Rix::String8 valueToStrep(const IntfId& v);
IntfId sequenceToValue(Rix::StrepPos& pos, const Rix::StrepPos& end, IntfId*);
void nboWrite(Rix::NboAttrLog::Out& out, const IntfId& v);

}  // namespace Wirex

WIREX_STD_HASH(Wirex::IntfId)
