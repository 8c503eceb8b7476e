// A program of others reads a vessel and commands its sonar, and one of others is read and commanded.
#include "tests/vessel/vessel_stage.h"

#include "tests/cli/child_process.h"

#include <protocol/records/all.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::test {
namespace {

namespace keys = protocol::keys;

class IndependentClient : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string_view(NODE).empty() || !std::filesystem::exists(NODE_MODULES "/sparkplug-client")) {
            GTEST_SKIP() << "there is no node with sparkplug-client; ./dev test installs it";
        }
    }
    static std::vector<std::string> Command(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {NODE, SCRIPT, NODE_MODULES});
        return arguments;
    }

    TestBroker broker;
};

TEST_F(IndependentClient, ReadsAVesselAndCommandsItsSonar)
{
    VesselStage stage(broker);
    stage.Begin();
    // The sonar has told its settings: births from here on have them all.
    ASSERT_TRUE(Eventually([&] { return stage.Tree().Has(AttributeKey(keys::x5Range.text)); }));
    double range = 0.0;
    stage.Tree().FindValue(AttributeKey(keys::x5Range.text)).Get(range);
    ASSERT_NE(range, 75.0);
    auto const files = broker.Files("operator");
    auto const outcome = RunToEnd(Command({"host", std::to_string(broker.Secure().port), files.authority.string(),
                                           files.certificate.string(), files.key.string()}));
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::vector<std::string> lines;
    std::istringstream stream(outcome.out);
    for (std::string line; std::getline(stream, line);) {
        if (lines.empty() || line != lines.back()) { // a birth whose metrics came one after another may be told twice
            lines.push_back(line);
        }
    }
    std::ostringstream first;
    first << "Bow is born: x5Range Double m " << range;
    EXPECT_EQ(lines, (std::vector<std::string>{"Vega is born: true", first.str(), "Bow has: Double 75",
                                               "Vega is born: true", "Bow is born: x5Range Double m 75"}));
    stage.Tree().FindValue(AttributeKey(keys::x5Range.text)).Get(range);
    EXPECT_EQ(range, 75.0) << "the sonar does what it was commanded";
}

TEST_F(IndependentClient, IsReadAndCommandedByUs)
{
    Shore shore(broker.Secure(), broker.Files("operator"), "operator");
    ASSERT_TRUE(shore.WaitForLine());
    ChildProcess stranger(Command({"node", std::to_string(broker.Plain().port)}));
    sparkplug::SeenName const probe{"north", "Stranger", "probe"};
    auto const depth = [&] {
        double value = 0.0;
        if (auto const* const seen = shore.host.Find(probe)) {
            seen->tree.FindValue(L"depth").Get(value);
        }
        return value;
    };
    ASSERT_TRUE(shore.Wait([&] { return depth() == 13.5; })) << stranger.Output() << stranger.Errors();
    shore.Look([&] {
        EXPECT_EQ(shore.host.Find(probe)->state, sparkplug::SeenState::Alive);
        EXPECT_EQ(shore.host.Facts(probe, "depth")->unit, "m");
        return 0;
    });
    std::string error;
    auto const command = sparkplug::MakeCommand(probe, {{"depth", 20.25}}, 1'700'000'000'000, error);
    ASSERT_TRUE(command) << error;
    shore.Line().Publish({command->topic, command->payload, command->qos, command->isRetained});
    EXPECT_TRUE(stranger.WaitForOutput("probe is asked for depth Double 20.25\n"));
    EXPECT_TRUE(shore.Wait([&] { return depth() == 20.25; }));
    stranger.Signal(SIGKILL);
    EXPECT_TRUE(shore.Wait([&] { return shore.host.Find(probe)->state == sparkplug::SeenState::Dead; }))
        << "its will says so";
}

} // namespace
} // namespace qx5::test
