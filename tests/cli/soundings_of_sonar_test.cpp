// `qx5 soundings --sonar`: a simulated sonar on the network, its soundings as lines, and what goes wrong.
#include "program.h"

#include <cmath>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;

std::vector<std::string> LinesOf(std::string const& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

Simulator FlatSea()
{
    return Simulator({"--scene", "flat", "--depth", "20", "--calm"});
}

TEST(SoundingsOfSonar, HasASonarPingThatDoesNotByItself)
{
    auto sonar = FlatSea();
    auto const told =
        Qx5({"soundings", "--sonar", sonar.Endpoint(), "--pings", "2", "--json", "x5Range=75", "x5CoverageAngle=60"});
    EXPECT_EQ(told.code, 0) << told.err;
    EXPECT_EQ(told.err, "");
    int last = 1;
    double deepest = 0.0;
    for (auto const& line : LinesOf(told.out)) {
        auto const object = nlohmann::json::parse(line);
        EXPECT_GE(object["ping"].get<int>(), last);
        last = object["ping"];
        EXPECT_LE(std::abs(object["angle"].get<double>()), 30.0);
        deepest = std::max(deepest, object["depth"].get<double>());
    }
    EXPECT_EQ(last, 2);
    EXPECT_NEAR(deepest, 20.0, 1.0);
    // It is left as it was, but for what was asked for, and is not asked for more.
    EXPECT_TRUE(sonar.Process().WaitForOutput("echo request  detections=true  water column=false"));
    EXPECT_TRUE(sonar.Process().WaitForOutput("echo request  detections=false  water column=false"));
    EXPECT_THAT(sonar.Process().Output(), ::testing::Not(HasSubstr("pings on")));
}

TEST(SoundingsOfSonar, SaysWhatItLeavesOnApartFromTheSoundings)
{
    auto sonar = FlatSea();
    auto const told = Qx5({"soundings", "--sonar", sonar.Endpoint(), "--pings", "1", "--json", "x5PingOnOffState=1"});
    EXPECT_EQ(told.code, 0) << told.err;
    EXPECT_THAT(told.err, HasSubstr("The sonar " + sonar.Endpoint() + " is left with its pings on"));
    for (auto const& line : LinesOf(told.out)) {
        EXPECT_TRUE(line.starts_with('{')) << line;
    }
}

TEST(SoundingsOfSonar, FollowsASonarThatPings)
{
    auto sonar = FlatSea();
    sonar.Process().Write("set x5Range=50\nset x5PingOnOffState=1\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("x5PingOnOffState = 1"));
    auto const told = Qx5({"soundings", "--sonar", sonar.Endpoint(), "--pings", "3"});
    EXPECT_EQ(told.code, 0) << told.err;
    EXPECT_EQ(LinesOf(told.out).size(), 3U) << told.out;
    EXPECT_THAT(told.out, HasSubstr(" beams  "));
}

TEST(SoundingsOfSonar, SaysWhatGoesWrong)
{
    ExpectComplaint(Qx5({"soundings"}), 2, {"--scene", "--sonar", "qx5 soundings --help"});
    ExpectComplaint(Qx5({"soundings", "--sonar", "nowhere"}), 2, {"--sonar", "'nowhere' is no HOST:PORT"});
    ExpectComplaint(Qx5({"soundings", "--sonar", "127.0.0.1:1", "--scene", "flat"}), 2, {"excludes"});
    DeafPort const nobody;
    ExpectComplaint(Qx5({"soundings", "--sonar", "127.0.0.1:" + std::to_string(nobody.Port())}), 1,
                    {"no connection to the sonar"});
    auto sonar = FlatSea();
    ExpectComplaint(Qx5({"soundings", "--sonar", sonar.Endpoint(), "x5Range=99999"}), 1,
                    {"does not have what was to be set"});
    ExpectComplaint(Qx5({"soundings", "--sonar", sonar.Endpoint(), "x5Range"}), 2, {"x5Range"});
}

} // namespace
} // namespace qx5::test
