// The host of the test and the simulated sonar as a process of its own.
#include "stage.h"
#include "tests/cli/child_process.h"

#include <charconv>
#include <csignal>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

/// The port in "listening on 127.0.0.1:PORT", the first line; 0 when there is none.
std::uint16_t PortOf(std::string const& output)
{
    constexpr std::string_view before = "listening on 127.0.0.1:";
    std::uint16_t port = 0;
    if (output.starts_with(before)) {
        std::from_chars(output.data() + before.size(), output.data() + output.size(), port);
    }
    return port;
}

TEST(SonarProcess, TakesRequestsAnswersAndSurvivesACut)
{
    ChildProcess sonar({QX5_PROGRAM, "sim", "--port", "0", "--verbose"});
    ASSERT_TRUE(sonar.WaitForOutput("\n")) << sonar.Errors();
    std::uint16_t const port = PortOf(sonar.Output());
    ASSERT_NE(port, 0) << sonar.Output();
    NearEnd near(port);
    ASSERT_TRUE(near.Connect());

    near.AskRange(10000.0);
    ASSERT_TRUE(near.WaitUntilSeen(500.0)) << sonar.Output();
    EXPECT_TRUE(sonar.WaitForOutput("1003 range  x5Range=10000 m"));
    EXPECT_THAT(near.SeenRanges(), ElementsAre(100.0, 10000.0, 500.0));

    sonar.Write("misbehave refuse not-listening\ndrop\n");
    ASSERT_TRUE(sonar.WaitForOutput("1 connection dropped"));
    ASSERT_TRUE(near.WaitForLoss());
    EXPECT_FALSE(near.Send(60.0F));
    near.AskRange(61.0);
    EXPECT_EQ(near.EchoedRanges().back(), 61.0);

    sonar.Write("behave\n");
    ASSERT_TRUE(near.WaitForConnection());
    near.AskRange(70.0);
    EXPECT_TRUE(sonar.WaitForOutput("x5Range=70 m"));
    EXPECT_THAT(sonar.Output(), ::testing::Not(HasSubstr("x5Range=61 m")));

    sonar.Write("state x5Range\nquit\n");
    EXPECT_EQ(sonar.WaitForEnd(), 0);
    EXPECT_THAT(sonar.Output(), HasSubstr("x5Range = 70 m\n"));
    EXPECT_EQ(sonar.Errors(), "");
}

TEST(SonarProcess, AKilledSonarIsALostConnectionAndItsSuccessorIsFound)
{
    std::uint16_t port = 0;
    std::unique_ptr<NearEnd> near;
    {
        ChildProcess sonar({QX5_PROGRAM, "sim", "--port", "0"});
        ASSERT_TRUE(sonar.WaitForOutput("\n")) << sonar.Errors();
        port = PortOf(sonar.Output());
        ASSERT_NE(port, 0) << sonar.Output();
        near = std::make_unique<NearEnd>(port);
        ASSERT_TRUE(near->Connect());
        sonar.Signal(SIGKILL);
        EXPECT_EQ(sonar.WaitForEnd(), 128 + SIGKILL);
    }
    ASSERT_TRUE(near->WaitForLoss());
    near->AskRange(61.0);
    ChildProcess successor({QX5_PROGRAM, "sim", "--port", std::to_string(port)});
    ASSERT_TRUE(near->WaitForConnection()) << successor.Errors();
    near->AskRange(70.0);
    EXPECT_TRUE(successor.WaitForOutput("x5Range=70 m")) << successor.Errors();
    EXPECT_THAT(successor.Output(), ::testing::Not(HasSubstr("x5Range=61 m")));
    successor.Signal(SIGTERM);
    EXPECT_EQ(successor.WaitForEnd(), 0);
}

} // namespace
} // namespace qx5::test
