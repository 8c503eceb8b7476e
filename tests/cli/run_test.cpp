// `qx5 run`: the guided session, and lines on standard input.
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <csignal>
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
    EXPECT_THAT(after,
                AllOf(HasSubstr("x5Range = 60 m\n"), HasSubstr("1008 gain  x5Gain=12.5 dB"),
                      HasSubstr("1005 power  x5Power=200 dB"), HasSubstr("\nx5Gain = 12.5\n"),
                      HasSubstr(" of the chain, RequestValue"), HasSubstr("end (so does the end of the input)")));
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

TEST(Run, TheLeaseOfActionsIsTakenAndGivenBackByLines)
{
    auto const session =
        Qx5({"run", "--guided"}, "program x5Range=60\nlease\nprogram x5Range=70\nx5Range=80\n"
                                 "lease 3600\nlease soon\nrelease\nrelease\nprogram x5Range=90\nquit\n");
    EXPECT_EQ(session.code, 0) << session.err;
    auto const sent = [&](std::string_view range) { return session.out.find(range) != std::string::npos; };
    EXPECT_TRUE(sent("x5Range = 60 m")) << session.out;
    EXPECT_THAT(session.out, HasSubstr("only the operator asks, until `release`\n"));
    EXPECT_THAT(session.out, HasSubstr("refused: the operator has the lease of this sonar's actions\n"));
    EXPECT_FALSE(sent("x5Range = 70 m"));
    EXPECT_TRUE(sent("x5Range = 80 m"));
    EXPECT_THAT(session.out, HasSubstr("only the operator asks, for 3600 s\n"));
    EXPECT_THAT(session.out, HasSubstr("'soon' is no whole number of seconds above 0; write for example: lease 60\n"));
    EXPECT_THAT(session.out, HasSubstr("everybody may ask again\n"));
    EXPECT_THAT(session.out, HasSubstr("there is no lease to give back\n"));
    EXPECT_TRUE(sent("x5Range = 90 m"));
}

TEST(Run, WhatWasAskedForByLinesIsTakenBackByThem)
{
    Simulator const sonar;
    auto const session = Qx5({"run", "--guided", "--sonar", sonar.Endpoint()},
                             "undo\nx5Range=50\nhistory\nundo\nhistory\nredo\nredo\nx5PingOnOffState=1\nundo\nquit\n");
    EXPECT_EQ(session.code, 0) << session.err;
    auto after = [&, from = std::size_t{0}](std::string_view text) mutable {
        auto const found = session.out.find(text, from);
        EXPECT_NE(found, std::string::npos) << text << " is not in\n" << session.out.substr(from);
        from = found == std::string::npos ? from : found + text.size();
    };
    after("undo: refused: there is nothing to undo");
    after("x5Range = 50 m");
    after("Z  x5Range: 100 to 50\n");
    after("x5Range = 100 m");
    after("Z  x5Range: 100 to 50 (undone)\n");
    after("x5Range = 50 m");
    after("redo: refused: there is nothing to redo");
    after("1100 pings on");
    after("undo: refused: x5PingOnOffState acts or switches: it has no former value");
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

TEST(Run, ASonarThatIsNotItsOwnIsOnlyReadUntilTheOperatorAsks)
{
    std::vector<std::string> const noDisplay{"DISPLAY=", "WAYLAND_DISPLAY=", "QT_QPA_PLATFORM="};
    for (std::vector<std::string> const& how : {std::vector<std::string>{}, {"--guided"}, {"--once"}, {"--terminal"}}) {
        Simulator sonar;
        std::vector<std::string> arguments{"run", "--sonar", sonar.Endpoint()};
        arguments.insert(arguments.end(), how.begin(), how.end());
        auto const shown = Qx5(arguments, "", noDisplay);
        EXPECT_EQ(shown.code, 0) << shown.err;
        EXPECT_EQ(shown.err, "");
        EXPECT_THAT(shown.out, AllOf(Not(HasSubstr("> x5Range=50")), Not(HasSubstr("is left with"))));
        sonar.Process().Write("status\n");
        EXPECT_TRUE(sonar.Process().WaitForOutput("1 taken, 0 refused; 0 records received"))
            << sonar.Process().Output();
    }
    Simulator sonar;
    auto const once = Qx5({"run", "--once", "--sonar", sonar.Endpoint()});
    EXPECT_THAT(once.out, AllOf(HasSubstr("only read until you ask"), HasSubstr("\nx5Range = 100\n")));
}

TEST(Run, ADemonstrationTakesNoSonarThatIsNotItsOwn)
{
    Simulator sonar;
    for (char const* demo : {"pan-tilt", "sequencing"}) {
        ExpectComplaint(Qx5({"run", "--demo", demo, "--sonar", sonar.Endpoint()}), 2, {"--demo", "--sonar"});
    }
}

TEST(Run, WhatItSwitchedOnAndLeavesOnIsSaid)
{
    Simulator sonar;
    sonar.Process().Write("set x5Power=0\nstate x5Power\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("x5Power = 0 dB"));
    auto const run = [&](std::string const& input, char const* how = "--guided") {
        return Qx5({"run", how, "--sonar", sonar.Endpoint()}, input);
    };
    auto const left = [&](std::string const& what, std::string const& request) {
        return "The sonar " + sonar.Endpoint() + " is left with its " + what + " on; `qx5 send --sonar " +
               sonar.Endpoint() + " " + request + "` switches that off\n";
    };
    std::string const pings = left("pings", "x5PingOnOffState=0");
    std::string const power = left("transmit power", "x5Power=0");
    std::string const recording = left("recording", "x5DataRecording=0");
    std::string const asd = left("ASD recording", "ASDRecordingEnabled=false");
    std::string const stave = left("stave recording", "StaveRecordingEnabled=false");

    auto const all = run("x5PingOnOffState=1\nx5Power=200\nx5DataRecording=1\nASDRecordingEnabled=true\n"
                         "StaveRecordingEnabled=true StaveRecordingProcessingStage=0\n");
    EXPECT_EQ(all.code, 0);
    EXPECT_TRUE(all.out.ends_with(pings + power + recording + asd + stave)) << all.out;
    // What was on before is somebody else's.
    EXPECT_THAT(run("x5PingOnOffState=1 x5Power=210 x5DataRecording=1\n").out, Not(HasSubstr("is left with")));
    EXPECT_THAT(run("x5PingOnOffState=0 x5Power=0 x5DataRecording=0\n").out, Not(HasSubstr("is left with")));
    // And what is off again is not left on, whoever did it.
    EXPECT_THAT(run("x5PingOnOffState=1\nx5PingOnOffState=0\n").out, Not(HasSubstr("is left with")));
    EXPECT_THAT(run("x5PingOnOffState=1\nx5Shutdown\n").out, Not(HasSubstr("is left with")));
}

TEST(Run, TheOperatorTerminalSaysWhatItLeavesOn)
{
    Simulator sonar;
    sonar.Process().Write("set x5Power=0\nstate x5Power\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("x5Power = 0 dB"));
    // The first preset has a power of 180 dB.
    auto const shown = Qx5({"run", "--terminal", "--sonar", sonar.Endpoint()}, "code 20\n");
    EXPECT_EQ(shown.code, 0) << shown.err;
    EXPECT_THAT(shown.out, HasSubstr("is left with its transmit power on"));
}

TEST(Run, WhatItLeavesOnIsSaidWhenASignalEndsIt)
{
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        Simulator sonar;
        ChildProcess program({QX5_PROGRAM, "run", "--guided", "--sonar", sonar.Endpoint()});
        program.Write("x5PingOnOffState=1\n");
        ASSERT_TRUE(program.WaitForOutput("the sonar answered\n    x5PingOnOffState = 1\n")) << program.Output();
        program.Signal(signal);
        EXPECT_EQ(program.WaitForEnd(), 128 + signal) << program.Errors();
        EXPECT_THAT(program.Output(), HasSubstr("is left with its pings on"));
    }
}

TEST(Run, NothingIsAskedOfASonarByASessionThatNobodyCanRead)
{
    Simulator sonar;
    auto const told =
        Qx5({"run", "--guided", "--sonar", sonar.Endpoint()}, "x5PingOnOffState=1\n", {}, OutputTo::ClosedPipe);
    EXPECT_EQ(told.code, 1);
    sonar.Process().Write("status\n");
    EXPECT_TRUE(sonar.Process().WaitForOutput("; 0 records received")) << sonar.Process().Output();
}

TEST(Run, ItsOwnSonarsGoWithIt)
{
    EXPECT_THAT(Qx5({"run", "--guided"}, "x5PingOnOffState=1\n").out, Not(HasSubstr("is left with")));
    EXPECT_THAT(Qx5({"run", "--demo", "pan-tilt"}).out, Not(HasSubstr("is left with")));
}

TEST(Run, AProjectThatTheDiskHasNoRoomForMakesItFail)
{
    TemporaryFolder const folder;
    auto const file = folder / "too-large-a-project.qx";
    ASSERT_EQ(Qx5({"run", "--guided", "--project", file.string()}, "quit\n").code, 0);
    ChildProcess program({"/bin/sh", "-c",
                          // Eight blocks, less than a project has: nothing more can be written to it.
                          "trap '' XFSZ; ulimit -f 8; exec \"$1\" run --guided --once --project \"$2\"", "sh",
                          QX5_PROGRAM, file.string()});
    EXPECT_EQ(program.WaitForEnd(), 1);
    ExpectComplaint({1, {}, program.Errors()}, 1, {"too-large-a-project.qx"});
}

TEST(Run, SaysSoWhenItIsOutOfDescriptors)
{
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizer itself takes descriptors, and finds fault without them";
#endif
    bool wasEnough = false;
    for (int most = 5; most < 24; ++most) {
        ChildProcess program({"/bin/sh", "-c", "ulimit -n " + std::to_string(most) + "; exec \"$@\"", "sh", QX5_PROGRAM,
                              "run", "--guided", "--once"});
        auto const code = program.WaitForEnd();
        wasEnough = code == 0;
        if (code != 0) {
            EXPECT_EQ(code, 1) << most;
            EXPECT_THAT(program.Errors(), HasSubstr("Too many open files")) << most;
        }
    }
    EXPECT_TRUE(wasEnough);
}

TEST(Run, ADroppedRequestIsToldInOneLine)
{
    Simulator sonar;
    sonar.Process().Write("misbehave silent\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("failures: silent"));
    auto const shown = Qx5({"run", "--guided", "--sonar", sonar.Endpoint()}, "x5CoverageAngle=120\n");
    EXPECT_THAT(shown.out, HasSubstr("\n  dropped: x5CoverageAngle needs x5RxSteeringAngle, which is neither in the "
                                     "request nor in the sonar's tree\n"));
    EXPECT_THAT(shown.out, Not(HasSubstr("nothing was sent and nothing echoed")));
}

} // namespace
} // namespace qx5::test
