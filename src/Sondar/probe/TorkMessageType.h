#pragma once
// The probe protocol's message types: TorkMessageType is the decoded enumeration, and
// TorkImplMessageType the raw code byte exactly as it stands at offset 0 of a probe header.
#include <compare>
#include <ostream>
#include <string_view>
#include <tuple>

#include "Rix/EnumNames.h"
#include "Rix/String.h"
#include "Rix/Types.h"
#include "Rix/Value.h"

namespace Sondar {

// The wire code is the enumerator's value. Any code other than 1 and 2 reads as torkUnknownType.
enum TorkMessageType : U8 {
    torkUnknownType = 0,
    torkProbe = 1,
    torkLastProbe = 2,
};

inline constexpr std::string_view torkMessageTypeTypeName = "Sondar::TorkMessageType";

// "torkUnknownType", "torkProbe", "torkLastProbe"; any other value prints as "TorkMessageType(n)";
// anything but 0, 1, 2 or their names raises Rix::RangeException "TorkMessageType".
RIX_ENUM_DECLARATIONS(TorkMessageType)
// The text form is the quoted name: 'torkProbe'. Stream output is the bare name.
inline Rix::String8 valueToStrep(TorkMessageType t) {
    return Rix::valueToStrep<TorkMessageType>(t);
}

// The raw code byte, unvalidated; one byte, so that it overlays the header's first byte.
class TorkImplMessageType {
  public:
    static constexpr std::string_view typeName = "Sondar::TorkImplMessageType";
    static constexpr bool bareText = true;
    static constexpr auto fields() {
        return std::tuple{Rix::field("value", &TorkImplMessageType::value_)};
    }

    constexpr TorkImplMessageType() = default;
    constexpr explicit TorkImplMessageType(U8 value) : value_(value) {}
    constexpr U8 value() const noexcept { return value_; }
    constexpr void valueIs(U8 v) noexcept { value_ = v; }

    RIX_VALUE(TorkImplMessageType)
    friend constexpr bool operator==(const TorkImplMessageType&,
                                     const TorkImplMessageType&) = default;
    friend constexpr auto operator<=>(const TorkImplMessageType&,
                                      const TorkImplMessageType&) = default;

  private:
    U8 value_ = 0;
};
static_assert(sizeof(TorkImplMessageType) == 1);

}  // namespace Sondar
