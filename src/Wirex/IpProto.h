#pragma once
// The IP protocol number and the IP time-to-live: one byte each, written as decimal numbers and
// carried in the attribute log as U8.
#include <compare>
#include <functional>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "Rix/Value.h"
#include "Wirex/NetTypes.h"

namespace Wirex {

class IpProto {
  public:
    static constexpr std::string_view typeName = "Wirex::IpProto";
    static constexpr bool bareText = true;
    static constexpr auto fields() { return std::tuple{Rix::field("value", &IpProto::value_)}; }
    static constexpr U8 tcp = 6;
    static constexpr U8 udp = 17;

    constexpr IpProto() noexcept = default;
    constexpr explicit IpProto(U8 v) noexcept : value_(v) {}
    constexpr U8 value() const noexcept { return value_; }
    void valueIs(U8 v) noexcept { value_ = v; }
    U32 hash() const noexcept { return value_; }

    RIX_VALUE(IpProto)
    friend bool operator==(const IpProto&, const IpProto&) = default;
    friend auto operator<=>(const IpProto&, const IpProto&) = default;

  private:
    U8 value_ = 0;
};

class IpTtl {
  public:
    static constexpr std::string_view typeName = "Wirex::IpTtl";
    static constexpr bool bareText = true;
    static constexpr auto fields() { return std::tuple{Rix::field("value", &IpTtl::value_)}; }

    constexpr IpTtl() noexcept = default;
    constexpr explicit IpTtl(U8 v) noexcept : value_(v) {}
    constexpr U8 value() const noexcept { return value_; }
    void valueIs(U8 v) noexcept { value_ = v; }
    U32 hash() const noexcept { return value_; }

    RIX_VALUE(IpTtl)
    friend bool operator==(const IpTtl&, const IpTtl&) = default;
    friend auto operator<=>(const IpTtl&, const IpTtl&) = default;

  private:
    U8 value_ = 0;
};

static_assert(sizeof(IpProto) == 1 && sizeof(IpTtl) == 1);
static_assert(std::is_trivially_copyable_v<IpProto> && std::is_trivially_copyable_v<IpTtl>);

}  // namespace Wirex

WIREX_STD_HASH(Wirex::IpProto)
WIREX_STD_HASH(Wirex::IpTtl)
