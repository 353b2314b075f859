#pragma once
// The probe protocol's message types: TorkMessageType is the decoded enumeration, and
// TorkImplMessageType the raw code byte exactly as it stands at offset 0 of a probe header.
#include <compare>
#include <ostream>
#include <string_view>
#include <tuple>

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

// "torkUnknownType", "torkProbe", "torkLastProbe"; any other value gives "TorkMessageType(n)".
Rix::String8 stringValue(TorkMessageType t);
// Throw Rix::RangeException "TorkMessageType" for anything but 0, 1, 2 or their names.
TorkMessageType TorkMessageTypeInstance(U32 value);
TorkMessageType TorkMessageTypeInstance(const Rix::String8& name);
// The text form is the quoted name: 'torkProbe'. Stream output is the bare name.
inline Rix::String8 valueToStrep(TorkMessageType t) {
    return Rix::valueToStrep<TorkMessageType>(t);
}
std::ostream& operator<<(std::ostream& os, TorkMessageType t);

// Hooks through which the framework's text and attribute-log readers map a number or a name back.
inline TorkMessageType rixEnumInstance(TorkMessageType*, U32 value) {
    return TorkMessageTypeInstance(value);
}
inline TorkMessageType rixEnumInstance(TorkMessageType*, const Rix::String8& name) {
    return TorkMessageTypeInstance(name);
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
