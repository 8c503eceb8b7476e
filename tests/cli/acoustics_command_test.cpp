// `qx5 acoustics`: what scripts rely on, the papers' values through the command, and what it refuses.
#include "program.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using Words = std::vector<std::string>;

Words With(Words words, Words const& more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

/// The one object that the command prints, its keys in their order.
nlohmann::ordered_json Object(Words const& words)
{
    auto const outcome = Qx5(With(With({"acoustics"}, words), {"--json"}));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(outcome.out.find('\n'), outcome.out.size() - 1) << "one line";
    return nlohmann::ordered_json::parse(outcome.out);
}

Words Keys(nlohmann::ordered_json const& object)
{
    Words keys;
    for (auto const& [key, value] : object.items()) {
        keys.push_back(key);
    }
    return keys;
}

Words const absorptionAt300{"absorption", "--frequency", "300000", "--temperature", "10", "--salinity",
                            "35",         "--depth",     "0",      "--ph",          "8"};
Words const budgetAt300{"budget", "--frequency",         "300000", "--range",
                        "100",    "--grazing",           "45",     "--power",
                        "210",    "--pulse-length",      "0.0001", "--beam-width-along",
                        "1",      "--beam-width-across", "2",      "--bottom",
                        "sand"};

TEST(AcousticsCommand, TellsAbsorption)
{
    // Francois and Garrison 1982, Part II, Table IV.
    auto const older = Object(absorptionAt300);
    EXPECT_EQ(Keys(older), (Words{"absorption", "model"}));
    EXPECT_NEAR(older["absorption"], 73.1, 0.05);
    EXPECT_EQ(older["model"], "francois-garrison");
    EXPECT_EQ(Object(With(absorptionAt300, {"--model", "francois-garrison"})), older);
    auto const cold = Object({"absorption", "--frequency", "20e3", "--temperature", "-1.8", "--salinity", "35",
                              "--depth", "0", "--ph", "8"});
    EXPECT_NEAR(cold["absorption"], 4.40, 0.005);

    auto const newer = Object(With(absorptionAt300, {"--model", "ainslie-mccolm"}));
    EXPECT_EQ(newer["model"], "ainslie-mccolm");
    EXPECT_NEAR(newer["absorption"], 73.1, 7.3);
    EXPECT_NE(newer["absorption"], older["absorption"]);

    auto const plain = Qx5(With({"acoustics"}, absorptionAt300));
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_THAT(plain.out, ::testing::MatchesRegex("absorption 73\\.1[0-9]* dB/km by francois-garrison\n"));
}

TEST(AcousticsCommand, TellsSoundSpeed)
{
    // The papers' check values.
    auto const byDepth =
        Object({"sound-speed", "--temperature", "25", "--salinity", "35", "--depth", "1000", "--model", "mackenzie"});
    EXPECT_EQ(Keys(byDepth), (Words{"sound_speed", "model"}));
    EXPECT_NEAR(byDepth["sound_speed"], 1550.744, 0.0005);
    EXPECT_EQ(byDepth["model"], "mackenzie");
    auto const byPressure = Object(
        {"sound-speed", "--temperature", "40", "--salinity", "40", "--pressure", "10000", "--model", "chen-millero"});
    EXPECT_NEAR(byPressure["sound_speed"], 1731.995, 0.0005);
    EXPECT_EQ(byPressure["model"], "chen-millero");

    // Without a model each goes by what it was fitted on; with one, what was given is converted: 1,000 m are 1,009.2
    // dbar.
    EXPECT_EQ(Object({"sound-speed", "--temperature", "25", "--salinity", "35", "--depth", "1000"}), byDepth);
    EXPECT_EQ(Object({"sound-speed", "--temperature", "40", "--salinity", "40", "--pressure", "10000"}), byPressure);
    auto const converted = Object(
        {"sound-speed", "--temperature", "25", "--salinity", "35", "--pressure", "1010.637", "--model", "mackenzie"});
    EXPECT_NEAR(converted["sound_speed"], 1550.744, 0.001);
    auto const other = Object(
        {"sound-speed", "--temperature", "25", "--salinity", "35", "--depth", "1000", "--model", "chen-millero"});
    EXPECT_NEAR(other["sound_speed"], 1550.744, 0.6);

    auto const plain = Qx5({"acoustics", "sound-speed", "--temperature", "25", "--salinity", "35", "--depth", "1000"});
    EXPECT_EQ(plain.out, "sound speed 1550.744 m/s by mackenzie\n") << plain.err;
}

TEST(AcousticsCommand, TellsTheBudgetOfAnEcho)
{
    auto const budget = Object(budgetAt300);
    EXPECT_EQ(Keys(budget), (Words{"source_level", "spreading_loss", "absorption_loss", "area", "bottom_strength",
                                   "echo_level", "noise_level", "snr"}));
    EXPECT_EQ(budget["source_level"], 210.0);
    EXPECT_NEAR(budget["spreading_loss"], 80.0, 1e-9);
    // 73.1 dB/km of the table, 100 m there and back.
    EXPECT_NEAR(budget["absorption_loss"], 14.62, 0.01);
    // Of the pulse: 1490 m/s of 10 C and 35 PSU. The beam's 8.6 m^2 are more.
    double const area = std::numbers::pi / 180.0 * 100.0 * 1490.0 * 1e-4 / (2.0 * std::sqrt(0.5));
    EXPECT_NEAR(budget["area"], area, 0.001);
    EXPECT_NEAR(budget["bottom_strength"], -25.0103, 1e-3);
    double const echo = 210.0 - 80.0 - 14.62 - 25.0103 + 10.0 * std::log10(area);
    EXPECT_NEAR(budget["echo_level"], echo, 0.02);
    EXPECT_NEAR(double(budget["echo_level"]) - double(budget["noise_level"]), double(budget["snr"]), 1e-9);

    // The water is what the help says unless it is told, and counts when it is.
    EXPECT_EQ(Object(With(budgetAt300, {"--temperature", "10", "--salinity", "35", "--depth", "0", "--ph", "8",
                                        "--model", "francois-garrison"})),
              budget);
    for (Words const& other : {Words{"--temperature", "20"}, Words{"--salinity", "30"}, Words{"--depth", "500"},
                               Words{"--ph", "7.7"}, Words{"--model", "ainslie-mccolm"}}) {
        EXPECT_NE(Object(With(budgetAt300, other))["absorption_loss"], budget["absorption_loss"]) << other[0];
    }
    EXPECT_THAT(Qx5({"acoustics", "budget", "--help"}).out,
                AllOf(HasSubstr("--temperature C=10"), HasSubstr("--salinity PSU=35"), HasSubstr("--depth M=0"),
                      HasSubstr("--ph PH=8")));

    auto const plain = Qx5(With({"acoustics"}, budgetAt300));
    EXPECT_EQ(plain.code, 0) << plain.err;
    EXPECT_THAT(plain.out, AllOf(HasSubstr("source level                    210.000  dB re 1 uPa at 1 m\n"),
                                 HasSubstr("spreading there and back         80.000  dB\n"), HasSubstr("\nnoise  ")));
}

TEST(AcousticsCommand, TakesEachBottom)
{
    double former = -1000.0;
    for (char const* bottom : {"mud", "sand", "gravel", "rock"}) {
        Words words = budgetAt300;
        words.back() = bottom;
        double const strength = Object(words)["bottom_strength"];
        EXPECT_GT(strength, former) << bottom;
        former = strength;
    }
    Words words = budgetAt300;
    words.back() = "cheese";
    ExpectComplaint(Qx5(With({"acoustics"}, words)), 2, {"cheese", "gravel"});
}

TEST(AcousticsCommand, RefusesWhatIsNoValueInOneLine)
{
    auto const with = [](Words words, std::string const& option, std::string const& value) {
        *(std::find(words.begin(), words.end(), option) + 1) = value;
        return With({"acoustics"}, words);
    };
    for (char const* bad : {"0", "-1", "inf", "-inf", "nan", "1e999"}) {
        ExpectComplaint(Qx5(with(absorptionAt300, "--frequency", bad)), 2, {"frequency", "200 to 1000000 Hz"});
        for (char const* option :
             {"--frequency", "--range", "--grazing", "--pulse-length", "--beam-width-along", "--beam-width-across"}) {
            ExpectComplaint(Qx5(with(budgetAt300, option, bad)), 2, {"lies outside of"});
        }
    }
    ExpectComplaint(Qx5(with(budgetAt300, "--power", "nan")), 2, {"power nan dB"});
    ExpectComplaint(Qx5(with(absorptionAt300, "--temperature", "45")), 2,
                    {"temperature 45 C lies outside of -2 to 30 C, where absorption by Francois and Garrison holds"});
    ExpectComplaint(Qx5(with(absorptionAt300, "--frequency", "many")), 2, {"many"});
    ExpectComplaint(Qx5(With(With({"acoustics"}, absorptionAt300), {"--model", "thorp"})), 2,
                    {"thorp", "ainslie-mccolm"});
    Words const speed{"acoustics", "sound-speed", "--temperature", "10", "--salinity", "35"};
    ExpectComplaint(Qx5(speed), 2, {"--depth or --pressure is required"});
    ExpectComplaint(Qx5(With(speed, {"--depth", "1", "--pressure", "1"})), 2, {"--depth", "--pressure"});
    ExpectComplaint(Qx5(With(speed, {"--depth", "nan"})), 2, {"depth nan m"});
    ExpectComplaint(Qx5(With(speed, {"--pressure", "-1", "--model", "mackenzie"})), 2, {"pressure -1 dbar"});
    ExpectComplaint(Qx5({"acoustics", "absorption"}), 2, {"is required", "qx5 acoustics absorption --help"});
    ExpectComplaint(Qx5({"acoustics"}), 2, {"qx5 acoustics --help"});
}

} // namespace
} // namespace qx5::test
