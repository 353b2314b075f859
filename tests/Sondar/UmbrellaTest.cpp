// The umbrella headers stand on their own and together.
#include "Sondar/Sondar.h"
#include "Sondar/SondarConfig.h"
#include "Sondar/SondarTypes.h"

#include <gtest/gtest.h>

TEST(UmbrellaTest, EveryPartIsReachable) {
    Rix::Ptr<Sondar::Config> config = Sondar::configFactory(Rix::Name("config"));
    config->newTransmitter(Rix::Name("tx1"));
    EXPECT_NE(config->transmitter(Rix::Name("tx1")), nullptr);
    EXPECT_EQ(Sondar::TorkMessageTypeInstance(1), Sondar::torkProbe);
}
