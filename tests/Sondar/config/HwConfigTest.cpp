// The hardware entities: the settings compare as a whole, and both are published.
#include <gtest/gtest.h>

#include "Sondar/config/HwConfig.h"
#include "Sondar/config/HwStatus.h"

namespace Sondar {
namespace {

struct HwCount : HwConfig::NotifieeConst {
    int told = 0;
    void onTorkSettings() override { ++told; }
};

TEST(HwConfigTest, SettingsCompareAsAWholeAndArePublished) {
    Rix::Ptr<HwConfig> hw = hwConfigFactory("hw");
    HwCount n;
    n.notifierIs(hw);
    hw->torkSettingsIs(TorkSettings());
    EXPECT_EQ(n.told, 0);
    EXPECT_EQ(hw->dirtyBits(), 0u);
    hw->torkSettingsIs(TorkSettings(false, 9));
    hw->torkSettingsIs(TorkSettings(false, 9));
    EXPECT_EQ(n.told, 1);
    EXPECT_TRUE(hw->dirty(HwConfig::torkSettingsId));
    EXPECT_TRUE(hw->rixHasAttrLogInterface());
    hw->attributeTextIs("torkSettings",
                        "Value('Sondar::TorkSettings', ** {'enabled': True, 'dstPort': 9})");
    EXPECT_EQ(n.told, 2);
    EXPECT_EQ(hw->torkSettings(), TorkSettings(true, 9));
    EXPECT_STREQ(hw->attributeString(259), "unknown");
}

TEST(HwConfigTest, StatusStartsUnsupported) {
    Rix::Ptr<HwStatus> st = hwStatusFactory("hw");
    EXPECT_FALSE(st->torkSupported());
    EXPECT_EQ(st->attributeText(HwStatus::torkSupportedId).str(), "False");
    st->torkSupportedIs(true);
    EXPECT_TRUE(st->dirty(HwStatus::torkSupportedId));
    EXPECT_STREQ(st->attributeString(258), "torkSupported");
    EXPECT_STREQ(st->attributeString(259), "unknown");
}

}  // namespace
}  // namespace Sondar
