// `qx5 send`: what it prints of a good request, and what it says to everything else.
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;
using ::testing::Not;

/// Sends to that sonar and waits for its answer, however slow the machine is.
Outcome SendTo(Simulator const& sonar, std::vector<std::string> const& arguments,
               std::vector<std::string> const& environment = {})
{
    std::vector<std::string> all{"send", "--sonar", sonar.Endpoint(), "--wait", "300"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return Qx5(all, {}, environment);
}

TEST(Send, PrintsTheRecordAndTheEcho)
{
    Simulator sonar;
    auto const sent = SendTo(sonar, {"x5Range=50", "x5BeamSteer=10,-10"});
    EXPECT_EQ(sent.code, 0);
    EXPECT_EQ(sent.err, "");
    EXPECT_THAT(sent.out, AllOf(HasSubstr("sent\n  record 7500 remote control, 96 bytes"),
                                HasSubstr("    command 1003 range, ticket 1003\n      @0  f32  x5Range = 50 m\n"),
                                HasSubstr("echoed, flags 0\n  x5Range = 50\n"), HasSubstr("command 1021"),
                                HasSubstr("x5BeamSteer[0] = 10 deg"), HasSubstr("x5BeamSteer[1] = -10 deg"),
                                HasSubstr("echoed, flags 0\n  x5BeamSteer = 10, -10\n")));
    EXPECT_LT(sent.out.find("command 1003"), sent.out.find("echoed"));
    EXPECT_LT(sent.out.find("echoed"), sent.out.find("command 1021"));
    EXPECT_TRUE(sonar.Process().WaitForOutput("1003 range  x5Range=50 m"));
    EXPECT_TRUE(sonar.Process().WaitForOutput("1021 beam steering"));
}

TEST(Send, TellsWhatTheSonarThenHas)
{
    Simulator sonar;
    auto const sent = SendTo(sonar, {"x5Range=50", "x5BeamSteer=10,-10"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_TRUE(sent.out.ends_with("what became of it\n"
                                   "  x5Range: asked 50, echoed 50, the sonar has 50\n"
                                   "  x5BeamSteer: asked 10, -10, echoed 10, -10, the sonar has 10, -10\n"))
        << sent.out;
}

TEST(Send, ADifferentAnswerIsAFailure)
{
    Simulator sonar;
    // The greatest range of the simulated sonar is 500 m.
    auto const sent = SendTo(sonar, {"x5Range=99999", "x5Gain=12.5"});
    ExpectComplaint(sent, 1, {"not what was asked for"});
    EXPECT_TRUE(sent.out.ends_with("what became of it\n"
                                   "  x5Range: asked 99999, echoed 99999, the sonar has 500: differs\n"
                                   "  x5Gain: asked 12.5, echoed 12.5, the sonar has 12.5\n"))
        << sent.out;
}

TEST(Send, WhatTheWireTakesFromANumberIsNoDifference)
{
    Simulator sonar;
    auto const sent = SendTo(sonar, {"x5Range=50.1", "x5BeamSteer=12.3,-45.6"});
    EXPECT_EQ(sent.code, 0) << sent.out << sent.err;
}

TEST(Send, AnAnswerThatIsInIsWaitedForNoLonger)
{
    Simulator sonar;
    auto const start = std::chrono::steady_clock::now();
    for (char const* request : {"x5Range=60", "x5Range=99999", "x5PingOnOffState=1", "x5CoverageAngle=120"}) {
        auto const sent = SendTo(sonar, {request});
        EXPECT_THAT(sent.out, HasSubstr("the sonar has ")) << request;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(120));
}

TEST(Send, SaysThatTheSonarDidNotAnswer)
{
    Simulator sonar;
    sonar.Process().Write("misbehave silent\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("failures: silent"));
    auto const sent = Qx5({"send", "--sonar", sonar.Endpoint(), "--wait", "0.2", "x5Range=50"});
    ExpectComplaint(sent, 1, {"the sonar did not answer within 0.2 s"});
    EXPECT_THAT(sent.out, HasSubstr("  x5Range: asked 50, echoed 50, the sonar tells nothing of it\n"));
    auto const notWaited = Qx5({"send", "--sonar", sonar.Endpoint(), "--wait", "0", "x5Range=50"});
    EXPECT_EQ(notWaited.code, 0) << notWaited.err;
    EXPECT_TRUE(notWaited.out.ends_with("  x5Range: asked 50, echoed 50\n")) << notWaited.out;
    // What nothing is echoed of has no answer: a data record, a command without a value.
    for (char const* request : {"EchoMarker/EchoMarkerDepth=1", "x5SSR7503CMD"}) {
        EXPECT_EQ(Qx5({"send", "--sonar", sonar.Endpoint(), "--wait", "300", request}).code, 0) << request;
    }
}

TEST(Send, SaysWhatItLeavesOn)
{
    Simulator sonar;
    auto const sent = SendTo(sonar, {"x5PingOnOffState=1"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_TRUE(sent.out.ends_with("The sonar " + sonar.Endpoint() + " is left with its pings on; `qx5 send --sonar " +
                                   sonar.Endpoint() + " x5PingOnOffState=0` switches that off\n"))
        << sent.out;
    EXPECT_THAT(SendTo(sonar, {"x5PingOnOffState=0"}).out, Not(HasSubstr("is left with")));
}

TEST(Send, ShowsTheBytesWhenAsked)
{
    Simulator sonar;
    auto const sent = SendTo(sonar, {"--bytes", "x5Range=50"});
    EXPECT_EQ(sent.code, 0);
    EXPECT_THAT(sent.out, AllOf(HasSubstr("000000  05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00"),
                                HasSubstr("000020  4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00"),
                                HasSubstr("000040  eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00"),
                                HasSubstr("000050  00 00 00 00 00 00 00 00 00 00 48 42 00 00 00 00")));
}

TEST(Send, TakesBranchesAndForcedKinds)
{
    Simulator sonar;
    auto const branch = SendTo(sonar, {"EchoMarker/EchoMarkerDepth=1"});
    EXPECT_EQ(branch.code, 0) << branch.err;
    EXPECT_THAT(branch.out, AllOf(HasSubstr("record 10025"), HasSubstr("EchoMarkerDepth = 1 m")));
    auto const forced = SendTo(sonar, {"x5Range:double=50"});
    EXPECT_EQ(forced.code, 0) << forced.err;
    EXPECT_THAT(forced.out, HasSubstr("command 1003 range"));
    ExpectComplaint(SendTo(sonar, {"x5Range:int=50"}), 1, {"no record was sent", "qx5 explain"});
    auto const presence = SendTo(sonar, {"x5SSR7503CMD"});
    EXPECT_EQ(presence.code, 0) << presence.err;
    EXPECT_THAT(presence.out, HasSubstr("7503"));
}

TEST(Send, TheApplicationHasAGuidOfItsOwn)
{
    Simulator sonar;
    auto const sent = SendTo(sonar, {"SendTargetList"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_THAT(sent.out, AllOf(HasSubstr("record 3004"),
                                ContainsRegex("application = \"[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-"
                                              "[0-9a-f]{12}\"")));
}

TEST(Send, CompletesFromWhatTheSonarTold)
{
    // Again and again, because the sonar tells of itself only after the connection stands.
    Simulator sonar;
    for (int i = 0; i < 10; ++i) {
        auto const sent = SendTo(sonar, {"x5CoverageAngle=120"});
        EXPECT_EQ(sent.code, 0) << sent.err;
        EXPECT_THAT(sent.out, AllOf(HasSubstr("x5CoverageAngle = 120 deg"), HasSubstr("x5RxSteeringAngle = 0 deg")));
    }
}

TEST(Send, StoredValuesCompleteARequestAndEndWithTheirOwnArgument)
{
    Simulator sonar;
    sonar.Process().Write("misbehave silent\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("failures: silent"));
    ExpectComplaint(Qx5({"send", "--sonar", sonar.Endpoint(), "x5CoverageAngle=120"}), 1,
                    {"no record was sent", "x5CoverageAngle needs x5RxSteeringAngle", "--stored"});
    auto const sent = Qx5({"send", "--sonar", sonar.Endpoint(), "--wait", "0", "--stored", "x5RxSteeringAngle=3",
                           "x5CoverageAngle=120", "x5Range=50"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_THAT(sent.out, AllOf(HasSubstr("x5CoverageAngle = 120 deg"), HasSubstr("x5RxSteeringAngle = 3 deg"),
                                HasSubstr("x5Range = 50 m")));
    ExpectComplaint(Qx5({"send", "--stored", "x5Range=far", "x5Range=50"}), 2, {"--stored", "x5Range takes a number"});
}

TEST(Send, TellsWhichValueADroppedRequestLacks)
{
    Simulator sonar;
    sonar.Process().Write("misbehave silent\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("failures: silent"));
    auto const send = [&](std::vector<std::string> const& request) {
        std::vector<std::string> arguments{"send", "--sonar", sonar.Endpoint(), "--wait", "0"};
        arguments.insert(arguments.end(), request.begin(), request.end());
        return Qx5(arguments);
    };
    auto const part = send({"x5Range=50", "x5CoverageAngle=120", "x5StackingValue=2"});
    ExpectComplaint(part, 1,
                    {"not all of it was sent", "x5CoverageAngle needs x5RxSteeringAngle",
                     "x5StackingValue needs x5StackingEnabled"});
    EXPECT_THAT(part.out, AllOf(HasSubstr("command 1003 range"), HasSubstr("dropped: x5CoverageAngle needs ")));
    ExpectComplaint(send({"x5CenterFrequency:int=5"}), 1, {"x5CenterFrequency has a value of another kind"});
    ExpectComplaint(send({"x5Temperature=12"}), 1, {"x5Temperature needs x5TemperatureOverride"});
    ExpectComplaint(send({"x5FMSweep=12"}), 1, {"x5FMSweep needs x5PingSettingsList"});
}

TEST(Send, RefusesWhatIsNoRequest)
{
    ExpectComplaint(Qx5({"send", "x5Rnge=5"}), 2, {"'x5Rnge' is no key", "did you mean x5Range?", "qx5 keys"});
    ExpectComplaint(Qx5({"send", "entirelyUnknown=5"}), 2, {"no key that is known", "entirelyUnknown:double=5"});
    ExpectComplaint(Qx5({"send", "x5Range:duoble=5"}), 2, {"there is no kind 'duoble'", "double"});
    ExpectComplaint(Qx5({"send", "x5Range=fifty"}), 2, {"x5Range takes a number"});
    ExpectComplaint(Qx5({"send", "x5Range=5,5"}), 2, {"x5Range takes a number"});
    ExpectComplaint(Qx5({"send", "x5Range="}), 2, {"x5Range takes a number"});
    ExpectComplaint(Qx5({"send", "x5Range"}), 2, {"no value", "x5Range=VALUE"});
    ExpectComplaint(Qx5({"send", "=5"}), 2, {"a key is missing"});
    ExpectComplaint(Qx5({"send", "/x5Range=5"}), 2, {"a key is missing"});
    ExpectComplaint(Qx5({"send", "x5BeamSteer=10"}), 2, {"two numbers"});
    ExpectComplaint(Qx5({"send", "x5PingOnOffState=99999999999"}), 2, {"2147483647"});
    ExpectComplaint(Qx5({"send", "x5SoundVelocityOverride=maybe"}), 2, {"true or false"});
    ExpectComplaint(Qx5({"send", "x5Range=5", "x5Gain=loud"}), 2, {"x5Gain takes a number"});
}

TEST(Send, RefusesWhatIsNoEndpoint)
{
    for (char const* endpoint : {"nowhere", ":7000", "host:", "host:0", "host:65536", "host:port", "", "host:7000x"}) {
        ExpectComplaint(Qx5({"send", "--sonar", endpoint, "x5Range=50"}), 2,
                        {"--sonar", "HOST:PORT", "127.0.0.1:7000"});
    }
}

TEST(Send, SaysWhenNobodyListens)
{
    DeafPort const nobody;
    std::string const endpoint = "127.0.0.1:" + std::to_string(nobody.Port());
    ExpectComplaint(Qx5({"send", "--sonar", endpoint, "x5Range=50"}), 1, {endpoint, "qx5 sim"});
}

TEST(Send, SaysWhenTheHostCannotBeFound)
{
    ExpectComplaint(Qx5({"send", "--sonar", "no-such-host.invalid:7000", "x5Range=50"}), 1,
                    {"no-such-host.invalid:7000"});
}

TEST(Send, GivesUpOnAHostThatDoesNotAnswer)
{
    SilentPort const silent;
    std::string const endpoint = "127.0.0.1:" + std::to_string(silent.Port());
    auto const start = std::chrono::steady_clock::now();
    ExpectComplaint(Qx5({"send", "--sonar", endpoint, "--timeout", "200", "x5Range=50"}), 1, {endpoint, "200 ms"});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
}

TEST(Send, IsNoSuccessWhenTheSonarDropsTheConnectionBeforeTheRecord)
{
    Simulator sonar;
    sonar.Process().Write("misbehave refuse close\n");
    ASSERT_TRUE(sonar.Process().WaitForOutput("failures: refuse close"));
    // The connection stands for a moment, so the record may just leave; what did not leave is never a success.
    for (int i = 0; i < 10; ++i) {
        auto const sent = Qx5({"send", "--sonar", sonar.Endpoint(), "x5Range=50"});
        if (sent.code == 0) {
            EXPECT_THAT(sent.out, HasSubstr("sent\n  record 7500"));
        } else {
            ExpectComplaint(sent, 1, {"connection"});
        }
    }
}

TEST(Send, WorksWithASonarThatMisbehaves)
{
    Simulator sonar;
    for (std::string const failure : {"answer-late 60000", "split", "garbage 1000", "silent"}) {
        sonar.Process().Write("misbehave " + failure + "\n");
        ASSERT_TRUE(sonar.Process().WaitForOutput("failures: " + failure.substr(0, 5)));
        bool const answers = failure == "split" || failure == "garbage 1000";
        auto const sent =
            answers ? SendTo(sonar, {"x5Range=50"}) : Qx5({"send", "--sonar", sonar.Endpoint(), "x5Range=50"});
        EXPECT_EQ(sent.code, answers ? 0 : 1) << failure << ": " << sent.err;
        EXPECT_EQ(sent.err.find("the sonar did not answer within 0.5 s") == std::string::npos, answers) << sent.err;
        EXPECT_THAT(sent.out, AllOf(HasSubstr("command 1003 range"), HasSubstr("echoed, flags 0\n  x5Range = 50\n")));
        sonar.Process().Write("behave\n");
    }
}

TEST(Send, RefusesAPlugInThatDoesNotFit)
{
    TemporaryFile const text("no_module.so", "some text\n");
    auto const send = [](std::string const& plugin) { return Qx5({"send", "--plugin", plugin, "x5Range=50"}); };
    ExpectComplaint(send("/nowhere/plugin.so"), 1, {"/nowhere/plugin.so", "there is no such file"});
    ExpectComplaint(send(text.Path()), 1, {text.Path(), "not a module"});
    ExpectComplaint(send(MODULE_NOT_A_PLUGIN), 1, {"RegisterDevices is missing"});
    ExpectComplaint(send(MODULE_OTHER_VERSION), 1, {"version 5.6.1.0", "version 5.5.1.0"});
    ExpectComplaint(send(MODULE_REFUSES), 1, {"did not say why"});
    ExpectComplaint(send(MODULE_WITHOUT_DEVICE), 1, {"device class"});
    ExpectComplaint(Qx5({"run", "--once", "--plugin", MODULE_OTHER_VERSION}), 1, {"version 5.6.1.0"});
}

TEST(PlugInCommand, OutlivesAPlugInThatBehavesBadly)
{
    auto const plugin = [](std::string const& ways) { return Qx5({"plugin", MODULE_BAD}, "", {"BAD_PLUGIN=" + ways}); };
    for (std::string const entryPoint : {"LibraryAttach", "RegisterDevices", "RegisterViews", "InitializeTemplates"}) {
        ExpectComplaint(plugin(entryPoint), 1, {MODULE_BAD, ": no " + entryPoint + " today"});
        ExpectComplaint(plugin(entryPoint + " odd"), 1, {MODULE_BAD, "an exception of an unknown kind"});
    }
    for (std::string const entryPoint : {"UnRegisterDevices", "UnInitializeTemplates", "LibraryDetach"}) {
        auto const outcome = plugin(entryPoint);
        EXPECT_EQ(outcome.code, 0) << entryPoint;
        EXPECT_THAT(outcome.out, HasSubstr("and is unloaded again\n"));
        EXPECT_THAT(outcome.err, HasSubstr(": no " + entryPoint + " today"));
        EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    }
    auto const forgetful = plugin("forget keep");
    EXPECT_EQ(forgetful.code, 0);
    EXPECT_THAT(forgetful.err, HasSubstr("taken away: the device class BadDevice, the display template BAD, 1 subscr"));
    EXPECT_EQ(std::count(forgetful.err.begin(), forgetful.err.end(), '\n'), 1) << forgetful.err;
    for (std::string const ways : {"RegisterDevices", "InitializeTemplates odd"}) {
        auto const run = Qx5({"run", "--once", "--plugin", MODULE_BAD}, "", {"BAD_PLUGIN=" + ways});
        EXPECT_EQ(run.code, 1) << run.err;
        EXPECT_EQ(std::count(run.err.begin(), run.err.end(), '\n'), 1) << run.err;
    }
}

TEST(PlugInCommand, WritesTheLogWhereAndFromWhereOnItIsTold)
{
    TemporaryFolder const folder;
    auto const file = (folder / "some.log").string();
    auto const plugin = [](std::vector<std::string> const& options) {
        std::vector<std::string> command{"plugin", MODULE_BAD};
        command.insert(command.end(), options.begin(), options.end());
        auto const outcome = Qx5(command, "", {"BAD_PLUGIN=LibraryDetach"});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_THAT(outcome.out, HasSubstr("and is unloaded again\n"));
        return outcome.err;
    };
    auto const wanted = ::testing::MatchesRegex("[^\n]*\\[warning\\][^\n]*: no LibraryDetach today\n");
    EXPECT_THAT(plugin({}), wanted);
    EXPECT_THAT(plugin({"--log-level", "warning"}), wanted);
    EXPECT_EQ(plugin({"--log-level", "error"}), "");
    EXPECT_EQ(plugin({"--log-file", file}), "");
    std::ostringstream kept;
    kept << std::ifstream(file).rdbuf();
    EXPECT_THAT(kept.str(), wanted);
    EXPECT_EQ(plugin({"--log-level", "error", "--log-file", file}), "");
    std::ostringstream still;
    still << std::ifstream(file).rdbuf();
    EXPECT_EQ(still.str(), kept.str());
    ExpectComplaint(Qx5({"plugin", MODULE_BAD, "--log-file", file + "/inside.log"}), 1, {file + "/inside.log"});
}

TEST(Send, PrintsNumbersAlikeWhateverTheLocale)
{
    Simulator sonar;
    for (char const* locale : {"C", "de_DE.UTF-8"}) {
        auto const sent = SendTo(sonar, {"x5Range=123.5"}, {"LC_ALL=" + std::string(locale)});
        EXPECT_EQ(sent.code, 0) << sent.err;
        EXPECT_THAT(sent.out, AllOf(HasSubstr("x5Range = 123.5 m"), HasSubstr("x5Range = 123.5\n")));
    }
}

} // namespace
} // namespace qx5::test
