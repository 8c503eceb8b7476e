// Places of a fleet as people write them.
#include "fleet/place.h"

#include <gtest/gtest.h>

namespace qx5::fleet {
namespace {

TEST(FleetPlace, IsAVesselOrASonarAboard)
{
    std::string error;
    EXPECT_EQ(ReadPlace("Vega", error), (Place{"Vega", ""}));
    EXPECT_EQ(ReadPlace("Vega/Bow sonar", error), (Place{"Vega", "Bow sonar"}));
    EXPECT_EQ(error, "");
    EXPECT_EQ(TextOf({"Vega", "Bow sonar"}), "Vega/Bow sonar");
    EXPECT_EQ(TextOf({"Vega", ""}), "Vega");
}

TEST(FleetPlace, OfNamesThatNobodyHasIsRefusedInOneLine)
{
    for (char const* const text : {"", "/Bow", "Vega/", "Vega/Bow/Port", "V+", "Vega/#"}) {
        std::string error;
        EXPECT_FALSE(ReadPlace(text, error)) << text;
        EXPECT_NE(error, "") << text;
        EXPECT_EQ(error.find('\n'), std::string::npos);
    }
}

} // namespace
} // namespace qx5::fleet
