// What the operator's gain, spreading and absorption make of an echo, and what the converter leaves of it.
#include <simulator/acoustics/receiver.h>

#include "refusal.h"

#include <limits>

#include <gtest/gtest.h>

namespace qx5::acoustics {
namespace {

TEST(Receiver, GainIsFixedOrGrowsWithRange)
{
    ReceiverSettings settings{.mode = GainMode::Fixed, .gain = 20.0, .spreading = 30.0, .absorption = 70.0};
    EXPECT_EQ(ReceiverGain(settings, 10.0), 20.0);
    EXPECT_EQ(ReceiverGain(settings, 400.0), 20.0);
    settings.mode = GainMode::TimeVaried;
    // 20 + 30 + 2 x 70 x 0.01; a tenth of a kilometre: 20 + 60 + 14.
    EXPECT_NEAR(ReceiverGain(settings, 10.0), 51.4, 1e-9);
    EXPECT_NEAR(ReceiverGain(settings, 100.0), 94.0, 1e-9);
    // Before the first metre there is nothing to make up for.
    EXPECT_NEAR(ReceiverGain(settings, 1.0), 20.14, 1e-9);
    EXPECT_EQ(ReceiverGain(settings, 0.0), ReceiverGain(settings, 1.0));
    EXPECT_EQ(ReceiverGain(settings, -5.0), ReceiverGain(settings, 1.0));
}

TEST(Receiver, TellsWhichSettingIsWrong)
{
    EXPECT_FALSE(WhatIsWrong(ReceiverSettings{}));
    auto const expectRefused = [](ReceiverSettings const& settings, char const* quantity) {
        auto const failure = WhatIsWrong(settings);
        ASSERT_TRUE(failure) << quantity;
        EXPECT_THAT(failure->line, ::testing::StartsWith(quantity));
    };
    expectRefused({.gain = 151.0}, "gain");
    expectRefused({.spreading = -1.0}, "spreading");
    expectRefused({.absorption = -1.0}, "absorption");
    for (double const bad : test::NotFinite) {
        expectRefused({.gain = bad}, "gain");
        expectRefused({.spreading = bad}, "spreading");
        expectRefused({.absorption = bad}, "absorption");
    }
}

TEST(Receiver, ConverterSaturatesAndHasAStep)
{
    Converter const converter{.fullScale = 180.0, .bits = 12};
    EXPECT_EQ(converter.Convert(150.0), 150.0);
    EXPECT_EQ(converter.Convert(180.0), 180.0);
    EXPECT_FALSE(converter.Saturates(180.0));
    EXPECT_EQ(converter.Convert(195.0), 180.0);
    EXPECT_TRUE(converter.Saturates(195.0));
    // 12 bits of amplitude: 20 log 4096 = 72.2472.
    EXPECT_NEAR(converter.Convert(50.0), 107.7528, 1e-4);
    EXPECT_EQ(converter.Convert(std::numeric_limits<double>::infinity()), 180.0);
    EXPECT_NEAR(converter.Convert(-std::numeric_limits<double>::infinity()), 107.7528, 1e-4);
    EXPECT_NEAR(converter.Convert(std::numeric_limits<double>::quiet_NaN()), 107.7528, 1e-4);
}

} // namespace
} // namespace qx5::acoustics
