#include "Sondar/probe/TorkMessageType.h"

namespace Sondar {

namespace {
constexpr Rix::EnumNames<TorkMessageType, 3> torkMessageTypeNames{
    "TorkMessageType", {"torkUnknownType", "torkProbe", "torkLastProbe"}};
}  // namespace

RIX_ENUM_DEFINITIONS(TorkMessageType, torkMessageTypeNames)

}  // namespace Sondar
