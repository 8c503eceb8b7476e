// `qx5 run`: the guided session, and lines on standard input.
#include "program.h"

#include <fstream>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;

TEST(Run, TheGuidedSessionShowsTheWholeWay)
{
    auto const shown = Qx5({"run", "--once"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.err, "");
    EXPECT_THAT(shown.out,
                AllOf(HasSubstr("A simulated sonar listens on 127.0.0.1:"),
                      HasSubstr("The host has loaded the plug-in"), HasSubstr("> x5Range=50\n  sent\n"),
                      HasSubstr("command 1003 range, ticket 1003"), HasSubstr("  echoed, flags 0\n    x5Range = 50\n"),
                      HasSubstr("  the sonar understood\n"), HasSubstr("1003 range  x5Range=50 m"),
                      HasSubstr("  the sonar answered\n    x5Range = 50\n"),
                      HasSubstr("nothing was sent and nothing echoed")));
    EXPECT_THAT(shown.out, Not(HasSubstr(" 0 lines of attributes")));
    EXPECT_THAT(shown.out, Not(HasSubstr("Now it is your turn")));
}

TEST(Run, WithoutADisplayItSaysSoAndRunsTheGuidedSession)
{
    auto const shown = Qx5({"run"}, "x5Range=60\n", {"DISPLAY=", "WAYLAND_DISPLAY=", "QT_QPA_PLATFORM="});
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.err, "");
    EXPECT_THAT(shown.out.substr(0, shown.out.find('\n')), HasSubstr("this is the guided session"));
    EXPECT_THAT(shown.out, HasSubstr("x5Range = 60 m\n"));
}

TEST(Run, TakesLinesUntilTheInputEnds)
{
    auto const shown = Qx5({"run", "--guided"}, "x5Range=60\n"
                                                "\n"
                                                "# a comment\n"
                                                "x5Gain=12.5 x5Power=200\n"
                                                "sonar state x5Range\n"
                                                "tree\n"
                                                "keys 1003\n"
                                                "explain x5Range\n"
                                                "help");
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_EQ(shown.err, "");
    std::string const after = shown.out.substr(shown.out.find("Now it is your turn"));
    EXPECT_THAT(after, AllOf(HasSubstr("x5Range = 60 m\n"), HasSubstr("1008 gain  x5Gain=12.5 dB"),
                             HasSubstr("1005 power  x5Power=200 dB"), HasSubstr("\nx5Gain = 12.5\n"),
                             HasSubstr("row 6 of the chain"), HasSubstr("end (so does the end of the input)")));
}

TEST(Run, WrongLinesAreToldAndTheSessionGoesOn)
{
    auto const shown = Qx5({"run", "--guided"}, "x5Rnge=60\n"
                                                "nonsense\n"
                                                "x5Range=far\n"
                                                "x5Range=61 x5Gain=\n"
                                                "explain\n"
                                                "explain nonsense\n"
                                                "sonar\n"
                                                "sonar nonsense\n"
                                                "x5Range=62\n"
                                                "quit\n"
                                                "x5Range=63\n");
    EXPECT_EQ(shown.code, 0);
    std::string const after = shown.out.substr(shown.out.find("Now it is your turn"));
    EXPECT_THAT(after, AllOf(HasSubstr("did you mean x5Range?"), HasSubstr("'nonsense' is no key"),
                             HasSubstr("x5Range takes a number"), HasSubstr("x5Gain takes a number"),
                             HasSubstr("there is no command 'nonsense'"), HasSubstr("1003 range  x5Range=62 m")));
    EXPECT_THAT(after, Not(HasSubstr("x5Range=61 m")));
    EXPECT_THAT(after, Not(HasSubstr("x5Range=63 m")));
}

TEST(Run, ALostSonarIsTold)
{
    auto const shown = Qx5({"run", "--guided"}, "x5Shutdown\nx5Range=77\n");
    EXPECT_EQ(shown.code, 0);
    std::string const after = shown.out.substr(shown.out.find("Now it is your turn"));
    EXPECT_THAT(after,
                AllOf(HasSubstr("1000 shut down"), HasSubstr("1 record did not leave: the sonar is not connected"),
                      HasSubstr("    x5Range = 77\n")));
    EXPECT_THAT(after, Not(HasSubstr("x5Range=77 m")));
}

TEST(Run, AProjectKeepsTheSonarsAttributes)
{
    TemporaryFile const project("kept.qx", "");
    std::filesystem::remove(project.Path());
    EXPECT_EQ(Qx5({"run", "--guided", "--project", project.Path()}, "x5Shutdown\nx5Range=77\n").code, 0);
    EXPECT_GT(std::filesystem::file_size(project.Path()), 0U);
    auto const again = Qx5({"run", "--once", "--project", project.Path()});
    EXPECT_EQ(again.code, 0) << again.err;
}

TEST(Run, ADamagedProjectIsRefusedAndLeftAsItIs)
{
    std::string const content = "This is no project.\n" + std::string(5000, 'x');
    TemporaryFile const damaged("damaged.qx", content);
    ExpectComplaint(Qx5({"run", "--once", "--project", damaged.Path()}), 1, {damaged.Path(), "no project file"});
    std::ifstream file(damaged.Path(), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), content);
    ExpectComplaint(Qx5({"run", "--once", "--project", "/nowhere/file.qx"}), 1, {"/nowhere/file.qx"});
    ExpectComplaint(Qx5({"run", "--once", "--project", ::testing::TempDir()}), 1, {"is no file"});
}

TEST(Run, WorksWithASonarThatRunsAlready)
{
    Simulator sonar;
    auto const shown = Qx5({"run", "--guided", "--sonar", sonar.Endpoint()}, "x5Range=60\nsonar state\n");
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_THAT(shown.out, AllOf(HasSubstr("command 1003 range"), HasSubstr("not a simulated one of this session")));
    EXPECT_TRUE(sonar.Process().WaitForOutput("1003 range  x5Range=60 m"));
    ExpectComplaint(Qx5({"run", "--once", "--sonar", "nowhere"}), 2, {"--sonar", "HOST:PORT"});
    DeafPort const nobody;
    std::string const endpoint = "127.0.0.1:" + std::to_string(nobody.Port());
    ExpectComplaint(Qx5({"run", "--once", "--sonar", endpoint}), 1, {endpoint});
}

} // namespace
} // namespace qx5::test
