// The lines that command the simulated sonar, on a sonar without a network.
#include <simulator/sonar_commands.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::simulator::test {
namespace {

/// Notes what is asked of it.
class NotingSonar final : public CommandedSonar
{
public:
    SonarState& State() override { return state; }
    void StateChanged() override { ++changes; }
    bool Misbehave(std::string_view name, std::string_view argument, std::string& answer) override
    {
        misbehaviour = std::string(name) + "|" + std::string(argument);
        answer = "noted";
        return true;
    }
    void Behave() override { behaved = true; }
    bool PingOnce(std::string& answer) override
    {
        answer = "ping 7";
        return true;
    }
    std::uint64_t Drop() override { return 2; }
    void SwitchOn(std::string& answer) override { answer = "on"; }
    std::string StatusText() const override { return "well"; }

    SonarState state;
    int changes = 0;
    bool behaved = false;
    std::string misbehaviour;
};

struct Told
{
    bool done = false;
    std::string answer;
};

Told Say(NotingSonar& sonar, std::string_view line)
{
    Told told{.done = false, .answer = "of the line before"};
    told.done = CarryOut(sonar, line, told.answer);
    return told;
}

TEST(SonarCommands, EachReachesTheSonar)
{
    NotingSonar sonar;
    EXPECT_EQ(Say(sonar, "ping").answer, "ping 7");
    EXPECT_EQ(Say(sonar, "drop").answer, "2 connections dropped");
    EXPECT_EQ(Say(sonar, "start").answer, "on");
    EXPECT_EQ(Say(sonar, "status").answer, "well");
    EXPECT_EQ(Say(sonar, "behave").answer, "no failures");
    EXPECT_TRUE(sonar.behaved);
    EXPECT_EQ(Say(sonar, " misbehave  answer-late \t 200 ms\r").answer, "noted");
    EXPECT_EQ(sonar.misbehaviour, "answer-late|200 ms");
    EXPECT_EQ(sonar.changes, 0);
}

TEST(SonarCommands, SetTellsWhatTheSonarMadeOfIt)
{
    NotingSonar sonar;
    EXPECT_EQ(Say(sonar, "set x5Range=50").answer, "x5Range = 50 m");
    EXPECT_EQ(Say(sonar, "state x5Range").answer, "x5Range = 50 m");
    EXPECT_FALSE(Say(sonar, "set x5Range").done);
    EXPECT_EQ(sonar.changes, 2);
    EXPECT_EQ(Say(sonar, "state x5Nothing").answer, "the sonar holds no attribute x5Nothing");
    EXPECT_EQ(Say(sonar, "buffer-status 3").answer, "the status of the data stream is 3");
    EXPECT_FALSE(Say(sonar, "buffer-status 65536").done);
}

TEST(SonarCommands, WrongLinesSaySo)
{
    NotingSonar sonar;
    for (auto const* const word : {"ping", "drop", "start", "status", "behave"}) {
        auto const told = Say(sonar, std::string(word) + " now");
        EXPECT_FALSE(told.done) << word;
        EXPECT_EQ(told.answer, std::string(word) + " takes no argument");
    }
    EXPECT_FALSE(sonar.behaved);
    EXPECT_EQ(Say(sonar, " ").answer, "an empty command; 'help' lists them");
    EXPECT_EQ(Say(sonar, "dance").answer, "there is no command 'dance'; 'help' lists them");
}

TEST(SonarCommands, HelpListsThem)
{
    NotingSonar sonar;
    auto const help = Say(sonar, "help");
    EXPECT_TRUE(help.done);
    EXPECT_THAT(
        help.answer,
        testing::StartsWith("state [KEY]                 what the sonar holds\n"
                            "set KEY=VALUE               change it on the sonar itself (KEY:KIND=VALUE for keys of "
                            "no table)\n"
                            "ping                        ping once\n"
                            "buffer-status NUMBER        tell the hosts another status of the data stream, 0 when "
                            "it is well\n"
                            "drop                        cut all links\n"
                            "start                       switch a sonar on that was shut down\n"
                            "status                      connections, counts, failures\n"
                            "behave                      end all failures\n"
                            "misbehave NAME [ARGUMENT]   one of:\n  "));
    EXPECT_THAT(help.answer, testing::HasSubstr("\nkinds of flood:\n  "));
}

} // namespace
} // namespace qx5::simulator::test
