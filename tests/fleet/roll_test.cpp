// Who is there of a fleet, heard without births.
#include "fleet/roll.h"

#include "sparkplug/payload.h"

#include <gtest/gtest.h>

#include <chrono>

namespace qx5::fleet {
namespace {

using namespace std::chrono_literals;

Place const rollBow{"Vega", "Bow"};

std::string At(std::uint64_t utc)
{
    sparkplug::Payload payload;
    payload.timestamp = utc;
    std::string error;
    return sparkplug::EncodePayload(payload, error).value();
}

class FleetRoll : public ::testing::Test
{
protected:
    std::chrono::steady_clock::time_point now{1h};
    Roll roll{5s, [this] { return sparkplug::Moment{now, 1'700'000'000'000}; }};
};

TEST_F(FleetRoll, HearsVesselsAndSonarsByWhateverTheyTell)
{
    EXPECT_TRUE(roll.IsWhole()) << "nobody is there";
    EXPECT_FALSE(roll.Receive("spBv1.0/north/NDATA/Vega", At(1'700'000'000'100)));
    EXPECT_EQ(roll.Receive("spBv1.0/north/DDATA/Vega/Bow", At(1)), rollBow);
    EXPECT_FALSE(roll.Receive("spBv1.0/north/DDATA/Vega/Bow", At(2))) << "it is asked once";
    now += 2s;
    ASSERT_EQ(roll.Vessels().size(), 1U);
    auto const vessel = roll.Vessels().front();
    EXPECT_EQ(vessel.name, "Vega");
    EXPECT_EQ(vessel.freshness, Freshness::Current);
    EXPECT_EQ(vessel.age, 2.0);
    EXPECT_DOUBLE_EQ(vessel.clockAhead.value(), 0.1);
    EXPECT_EQ(vessel.sonars, std::vector<std::string>{"Bow"});
    EXPECT_FALSE(roll.Sonar(rollBow).value().link);
    EXPECT_FALSE(roll.IsWhole());

    authority::LeaseNews lease;
    lease.holder = "ada";
    lease.asker = "otto";
    roll.TakeFacts(rollBow, {lease, authority::SonarLink::Lost, "the cable is out"});
    EXPECT_TRUE(roll.IsWhole());
    auto const sonar = roll.Sonar(rollBow).value();
    EXPECT_EQ(sonar.lease.holder, "ada");
    EXPECT_EQ(sonar.lease.asker, "otto");
    EXPECT_EQ(sonar.link, authority::SonarLink::Lost);
    EXPECT_EQ(sonar.linkReason, "the cable is out");
    EXPECT_EQ(roll.Sonars(), std::vector<Place>{rollBow});
}

TEST_F(FleetRoll, TellsWhoIsSilentAndWhoIsGone)
{
    roll.Receive("spBv1.0/north/DDATA/Vega/Bow", At(1));
    now += 6s;
    EXPECT_EQ(roll.Sonar(rollBow).value().freshness, Freshness::Stale);
    EXPECT_EQ(roll.Sonar(rollBow).value().reason, "nothing is heard of Vega/Bow");
    roll.Receive("spBv1.0/north/DDEATH/Vega/Bow", At(2));
    EXPECT_EQ(roll.Sonar(rollBow).value().freshness, Freshness::Gone);
    EXPECT_EQ(roll.Sonar(rollBow).value().reason, "Bow is not aboard Vega any more");
    EXPECT_TRUE(roll.IsWhole()) << "who is gone answers nothing";
    EXPECT_EQ(roll.Receive("spBv1.0/north/DBIRTH/Vega/Bow", At(3)), rollBow) << "it is back";
    roll.Receive("spBv1.0/north/NDEATH/Vega", At(4));
    EXPECT_EQ(roll.Vessel("Vega").value().freshness, Freshness::Gone);
    EXPECT_EQ(roll.Sonar(rollBow).value().reason, "Vega is not at the broker any more");
}

TEST_F(FleetRoll, PassesOverWhatIsNone)
{
    EXPECT_FALSE(roll.Receive("somewhere/else", "x"));
    EXPECT_FALSE(roll.Receive("spBv1.0/north/DCMD/Vega/Bow", At(1)));
    EXPECT_FALSE(roll.Receive("spBv1.0/STATE/otto", "{}"));
    EXPECT_TRUE(roll.Vessels().empty());
    roll.TakeFacts(rollBow, {});
    EXPECT_TRUE(roll.Sonars().empty());
    roll.Receive("spBv1.0/north/NDATA/Vega", "\xFF\xFF no payload");
    EXPECT_FALSE(roll.Vessel("Vega").value().clockAhead);
}

} // namespace
} // namespace qx5::fleet
