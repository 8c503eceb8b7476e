// `qx5 scenario` as people call it: results as lines, differences, files that are none.
#include "program.h"

#include <algorithm>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;

std::string const goodScenario = R"([{"name": "one", "steps": [
  {"request": [["x5Range", "double", 50.0]],
   "expect": [{"remote": 1003, "payload": "00004842", "device": 0, "enumerator": -1},
              {"echo": [["x5Range", "double", 50.0]], "flags": 0}]}]}])";

TEST(ScenarioCommand, PrintsOneResultForEachScenario)
{
    TemporaryFile const file("good.json", goodScenario);
    auto const result = Qx5({"scenario", file.Path(), file.Path()});
    EXPECT_EQ(result.code, 0) << result.err;
    EXPECT_EQ(result.err, "");
    EXPECT_EQ(std::count(result.out.begin(), result.out.end(), '\n'), 2);
    EXPECT_THAT(result.out, AllOf(HasSubstr(R"("name":"one")"), HasSubstr(R"("payload":"00004842")")));
    EXPECT_EQ(Qx5({"scenario", "-"}, goodScenario).out + Qx5({"scenario", "-"}, goodScenario).out, result.out);
}

TEST(ScenarioCommand, ChecksAndShowsTheDifference)
{
    auto const matches = Qx5({"scenario", "--check", "-"}, goodScenario);
    EXPECT_EQ(matches.code, 0) << matches.err;
    EXPECT_THAT(matches.out, HasSubstr("matches"));

    std::string differing = goodScenario;
    differing.replace(differing.find("00004842"), 8, "00004942");
    auto const differs = Qx5({"scenario", "--check", "-"}, differing);
    EXPECT_EQ(differs.code, 1);
    EXPECT_EQ(differs.err, "");
    EXPECT_THAT(differs.out, AllOf(HasSubstr("$[0].steps[0]"), HasSubstr("00004942"), HasSubstr("00004842")));
}

TEST(ScenarioCommand, RefusesWhatIsNoScenarioInOneLine)
{
    auto const expectRefusal = [](std::string const& text, std::vector<std::string> const& wanted) {
        auto const result = Qx5({"scenario", "-"}, text);
        EXPECT_EQ(result.code, 2) << text;
        EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << result.err;
        for (std::string const& part : wanted) {
            EXPECT_THAT(result.err, HasSubstr(part));
        }
    };
    expectRefusal("", {"-: $"});
    expectRefusal("{", {"-: $"});
    expectRefusal("[1]", {"$[0]"});
    expectRefusal(R"({"steps": [{"request": [["a", "int", 1.5]]}]})", {"$.steps[0].request"});
    expectRefusal(R"({"steps": [{"frobnicate": 1}]})", {"$.steps[0]", "frobnicate"});
    expectRefusal(R"({"steps": [{"request": [["a", "int", 99999999999]]}]})", {"$.steps[0].request"});
    expectRefusal(std::string(100000, '['), {"-: $"});

    auto const missing = Qx5({"scenario", "/nowhere/file.json"});
    EXPECT_EQ(missing.code, 2);
    EXPECT_THAT(missing.err, HasSubstr("/nowhere/file.json"));
    EXPECT_EQ(std::count(missing.err.begin(), missing.err.end(), '\n'), 1);
}

TEST(ScenarioCommand, ABadScenarioDoesNotStopTheOthers)
{
    std::string text = goodScenario;
    text.insert(1, R"({"steps": [{"frobnicate": 1}]}, )");
    auto const result = Qx5({"scenario", "--check", "-"}, text);
    EXPECT_EQ(result.code, 2);
    EXPECT_THAT(result.err, HasSubstr("$[0]"));
    EXPECT_THAT(result.out, HasSubstr("matches"));
}

TEST(ScenarioCommand, IsTheSameWhateverTheLocale)
{
    auto const here = Qx5({"scenario", QX5_SCENARIOS "/basic.json"}, "", {"LC_ALL=C"});
    auto const there = Qx5({"scenario", QX5_SCENARIOS "/basic.json"}, "", {"LC_ALL=de_DE.UTF-8", "TZ=Asia/Tokyo"});
    EXPECT_EQ(here.code, 0) << here.err;
    EXPECT_EQ(here.out, there.out);
    EXPECT_FALSE(here.out.empty());
}

} // namespace
} // namespace qx5::test
