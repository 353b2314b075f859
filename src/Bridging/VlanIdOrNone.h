#pragma once
// A VLAN id (1..4094) or none (0). Made from a number it keeps the number as given: the packet
// builder masks it to 12 bits. The text and attribute-log readers refuse anything above 4094.
// Text form: decimal, 0 for none. Attribute log: U16.
#include <compare>
#include <functional>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "Rix/Value.h"
#include "Wirex/NetTypes.h"

namespace Bridging {

class VlanIdOrNone {
  public:
    static constexpr std::string_view typeName = "Bridging::VlanIdOrNone";
    static constexpr bool bareText = true;
    static constexpr auto fields() {
        return std::tuple{Rix::field("value", &VlanIdOrNone::value_)};
    }
    static constexpr U16 none = 0;
    static constexpr U16 maxVlanId = 4094;

    constexpr VlanIdOrNone() noexcept = default;
    constexpr VlanIdOrNone(U16 v) noexcept : value_(v) {}
    constexpr U16 value() const noexcept { return value_; }
    void valueIs(U16 v) noexcept { value_ = v; }
    bool isNone() const noexcept { return value_ == none; }
    U32 hash() const noexcept { return value_; }
    // Run by the readers: "VLAN id 4095 out of range (at most 4094)".
    void validate() const;

    RIX_VALUE(VlanIdOrNone)
    friend bool operator==(const VlanIdOrNone&, const VlanIdOrNone&) = default;
    friend auto operator<=>(const VlanIdOrNone&, const VlanIdOrNone&) = default;

  private:
    U16 value_ = none;
};

static_assert(sizeof(VlanIdOrNone) == 2 && std::is_trivially_copyable_v<VlanIdOrNone>);

}  // namespace Bridging

WIREX_STD_HASH(Bridging::VlanIdOrNone)
