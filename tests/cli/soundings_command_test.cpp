// `qx5 soundings`: the forms that scripts rely on, that soundings agree with themselves and with the truth, what it
// refuses.
#include "program.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using Words = std::vector<std::string>;

Words Flat(Words const& more)
{
    Words words{"soundings", "--scene", "flat", "--depth", "30", "--seed", "7", "--calm"};
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

std::vector<std::string> TextLines(std::string const& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::vector<nlohmann::ordered_json> Objects(Words const& words)
{
    auto const outcome = Qx5(words);
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    std::vector<nlohmann::ordered_json> objects;
    for (std::string const& line : TextLines(outcome.out)) {
        objects.push_back(nlohmann::ordered_json::parse(line));
    }
    return objects;
}

TEST(SoundingsCommand, PrintsAnObjectForEachDetection)
{
    auto const objects =
        Objects(Flat({"--pings", "3", "--truth", "--json", "x5CustomBeams=64", "x5CoverageAngle=100", "x5Power=215"}));
    ASSERT_EQ(objects.size(), 3U * 64U);
    int ping = 1;
    double sum = 0.0;
    for (auto const& object : objects) {
        Words keys;
        for (auto const& [key, value] : object.items()) {
            keys.push_back(key);
            EXPECT_TRUE(value.is_number());
        }
        EXPECT_EQ(keys, (Words{"ping", "beam", "angle", "range", "depth", "across", "along", "level", "quality",
                               "true_depth"}));
        EXPECT_GE(object["ping"], ping);
        ping = object["ping"];
        EXPECT_LT(object["beam"], 64);
        double const angle = object["angle"].get<double>() * std::numbers::pi / 180.0;
        double const range = object["range"];
        EXPECT_NEAR(object["depth"], range * std::cos(angle), 1e-6);
        EXPECT_NEAR(object["across"], range * std::sin(angle), 1e-6);
        EXPECT_EQ(object["along"], 0.0);
        EXPECT_NEAR(object["true_depth"], 30.0, 1e-6);
        EXPECT_NEAR(object["depth"], 30.0, 0.4);
        EXPECT_GE(object["quality"], 0.0);
        EXPECT_LE(object["quality"], 1.0);
        sum += object["depth"].get<double>();
    }
    EXPECT_EQ(ping, 3);
    EXPECT_NEAR(sum / static_cast<double>(objects.size()), 30.0, 0.02);
    EXPECT_NEAR(objects.front()["angle"], -50.0, 1e-4);
    EXPECT_FALSE(Objects(Flat({"--json", "x5CustomBeams=10"})).front().contains("true_depth"));
}

TEST(SoundingsCommand, IsTheSameForTheSameSeed)
{
    Words const words{"soundings", "--scene", "rock", "--pings", "2", "--json", "x5CustomBeams=32", "--seed"};
    auto const with = [&](char const* seed) {
        Words all = words;
        all.emplace_back(seed);
        return Qx5(all).out;
    };
    EXPECT_EQ(with("1"), with("1"));
    EXPECT_NE(with("1"), with("2"));
}

TEST(SoundingsCommand, WritesTablesAndPlaces)
{
    auto const csv = TextLines(Qx5(Flat({"--csv", "x5CustomBeams=12", "--truth"})).out);
    ASSERT_EQ(csv.size(), 13U);
    EXPECT_EQ(csv[0], "ping,beam,angle,range,depth,across,along,level,quality,true_depth");
    EXPECT_THAT(csv[1], StartsWith("1,0,-70.000,"));
    EXPECT_THAT(csv[1], ::testing::EndsWith(",30.000"));
    EXPECT_EQ(std::count(csv[1].begin(), csv[1].end(), ','), 9);
    auto const xyz = TextLines(Qx5(Flat({"--xyz", "x5CustomBeams=11", "x5CoverageAngle=90"})).out);
    ASSERT_EQ(xyz.size(), 11U);
    double east = 0.0;
    double north = 0.0;
    double depth = 0.0;
    std::istringstream(xyz.front()) >> east >> north >> depth;
    // The first beam looks to port; the ship is 40 m to the south of the origin and heads north.
    EXPECT_NEAR(east, -30.0, 0.5);
    EXPECT_NEAR(north, -40.0, 1e-3);
    EXPECT_NEAR(depth, 30.0, 0.5);
    auto const text = TextLines(Qx5(Flat({"--pings", "2", "x5CustomBeams=11"})).out);
    ASSERT_EQ(text.size(), 2U);
    EXPECT_THAT(text[0], StartsWith("ping 1  11 beams  11 detections  depths "));
}

TEST(SoundingsCommand, KeysHaveTheirEffect)
{
    EXPECT_EQ(Qx5(Flat({"--json", "x5Power=0"})).out, "") << "nothing is transmitted";
    EXPECT_EQ(Qx5(Flat({"--json", "x5Range=20"})).out, "") << "the bottom lies beyond";
    EXPECT_EQ(Objects(Flat({"--json", "x5RangeFilterEnabled=true", "x5MinRangeGate=29", "x5MaxRangeGate=31",
                            "x5CustomBeams=501", "x5CoverageAngle=100"}))
                  .front()["ping"],
              1);
    double sum = 0.0;
    auto const fast = Objects(Flat({"--json", "x5SoundVelocity=1530", "x5CoverageAngle=10", "x5CustomBeams=40"}));
    for (auto const& object : fast) {
        sum += object["depth"].get<double>();
    }
    EXPECT_NEAR(sum / static_cast<double>(fast.size()), 30.6, 0.03) << "in water of 1500 m/s";
    // What is beyond the sonar's limits is brought inside, as on the link.
    EXPECT_LE(Objects(Flat({"--json", "x5MaxBeams=4096", "x5CustomBeams=4096"})).size(), 1024U);
}

TEST(SoundingsCommand, TakesASceneFromAFile)
{
    TemporaryFolder const folder("qx5-soundings");
    std::string const file = folder / "scene.json";
    auto const sounded = [&](std::string const& text, Words const& more) {
        std::ofstream(file) << text;
        Words words{"soundings", "--scene-file", file, "--calm"};
        words.insert(words.end(), more.begin(), more.end());
        return Qx5(words);
    };
    // The ship begins 40 m to the south of the origin. It heads north: what falls by 5 degrees to the east falls to
    // starboard, by 0.0875 m for each. A hill below it, 3 m high.
    auto const outcome = sounded(R"({"depth": 20, "slope_east": 5, "bottom": "gravel",
        "mounds": [{"north": -40, "radius": 6, "height": 3, "bottom": "rock"}]})",
                                 {"--json", "--truth", "x5CoverageAngle=120", "x5Power=210", "x5CustomBeams=101"});
    ASSERT_EQ(outcome.code, 0) << outcome.err;
    int far = 0;
    for (std::string const& line : TextLines(outcome.out)) {
        auto const object = nlohmann::json::parse(line);
        double const across = object["across"];
        if (std::abs(across) > 10.0) {
            EXPECT_NEAR(object["true_depth"], 20.0 + 0.08749 * across, 0.4);
            ++far;
        } else if (object["beam"] == 50) {
            EXPECT_NEAR(object["true_depth"], 17.0, 0.01);
            EXPECT_NEAR(object["depth"], 17.0, 0.3);
        }
    }
    EXPECT_GT(far, 40);
    for (auto const& [text, where] : std::vector<std::pair<std::string, std::string>>{
             {"", "line 1, column 1"},
             {R"({"depth": 20,)", "line 1"},
             {"[]", "$"},
             {R"({"depth": "deep"})", "$.depth"},
             {R"({"depth": 1e999})", "$.depth"},
             {R"({"depth": "inf"})", "depth inf m lies outside of 0.5 to 11000 m"},
             {R"({"depth": 0})", "depth 0 m lies outside"},
             {R"({"depht": 20})", "depht"},
             {R"({"bottom": "cheese"})", R"(there is no bottom "cheese")"},
             {R"({"waves": [{"length": 0}]})", "length of a wave 0 m lies outside"},
             {R"({"mounds": [{"radius": 1}, {"radius": -1}]})", "radius of a mound -1 m"},
             {R"({"mounds": [{"size": 1}]})", "$.mounds[0]"},
             {R"({"targets": [{"east": 1}]})", "$.targets[0]"},
             {R"({"targets": [{"east": 1, "north": 2, "depth": "nan", "strength": -30}]})", "depth of a target nan m"},
         }) {
        ExpectComplaint(sounded(text, {"--json"}), 2, {"scene.json", where});
    }
    std::string many = R"({"mounds": [{})";
    for (int i = 0; i < 64; ++i) {
        many += ",{}";
    }
    ExpectComplaint(sounded(many + "]}", {"--json"}), 2, {"$.mounds: holds 65, more than 64"});
    ExpectComplaint(sounded(std::string(2'000'000, ' '), {"--json"}), 2, {"no more than 1048576 bytes"});
    ExpectComplaint(Qx5({"soundings", "--scene-file", folder / "none.json"}), 2, {"none.json", "cannot be read"});
    ExpectComplaint(Qx5({"soundings", "--scene-file", file, "--scene", "flat"}), 2, {"--scene"});
}

TEST(SoundingsCommand, RefusesWhatIsNoSceneOrSettingInOneLine)
{
    ExpectComplaint(Qx5({"soundings", "--scene", "moon"}), 2, {"moon", "wreck"});
    ExpectComplaint(Qx5({"soundings"}), 2, {"--scene, --scene-file or --sonar is required", "qx5 soundings --help"});
    for (char const* const depth : {"0", "-1", "nan", "inf", "1e9"}) {
        ExpectComplaint(Qx5({"soundings", "--scene", "flat", "--depth", depth}), 2, {"0.5 to 11000 m"});
    }
    ExpectComplaint(Qx5(Flat({"--pings", "0"})), 2, {"--pings"});
    ExpectComplaint(Qx5(Flat({"x5Nothing=1"})), 2, {"x5Nothing", "not known"});
    ExpectComplaint(Qx5(Flat({"x5Range=far"})), 2, {"x5Range", "double"});
    ExpectComplaint(Qx5(Flat({"x5Range"})), 2, {"KEY=VALUE"});
    ExpectComplaint(Qx5(Flat({"x5PulseType=9"})), 2, {"does not take this value for x5PulseType"});
    ExpectComplaint(Qx5(Flat({"x5CoverageAngle=inf"})), 2, {"coverage inf degrees"});
    ExpectComplaint(Qx5(Flat({"--json", "--csv"})), 2, {"--json", "--csv"});
}

} // namespace
} // namespace qx5::test
