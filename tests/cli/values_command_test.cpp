// `qx5 get`, `qx5 watch` and `qx5 send --run`, of a sonar and of a program that runs, and that program's socket.
#include "program.h"

#include <protocol/records/all.h>
#include <protocol/utf8.h>

#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace qx5::test {
namespace {

namespace fs = std::filesystem;
namespace keys = protocol::keys;
using Json = nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

std::string const range = protocol::EncodeUtf8(keys::x5Range.text);
std::string const gain = protocol::EncodeUtf8(keys::x5Gain.text);
std::string const power = protocol::EncodeUtf8(keys::x5Power.text);
std::string const beamSteer = protocol::EncodeUtf8(keys::x5BeamSteer.text);
std::string const pings = protocol::EncodeUtf8(keys::x5PingOnOffState.text);

std::vector<Json> JsonLinesOf(std::string const& text)
{
    std::vector<Json> lines;
    std::size_t at = 0;
    for (auto end = text.find('\n'); end != std::string::npos; at = end + 1, end = text.find('\n', at)) {
        lines.push_back(Json::parse(text.substr(at, end - at)));
    }
    return lines;
}

/// A user's runtime folder of a test's own, and the programs that run in it.
class ShellCommand : public testing::Test
{
protected:
    std::vector<std::string> Environment() const { return {"XDG_RUNTIME_DIR=" + m_runtime.string()}; }

    /// A session on the terminal with a simulated sonar, up to where it takes lines.
    std::unique_ptr<ChildProcess> Begin(std::vector<std::string> const& options = {"--guided"}) const
    {
        std::vector<std::string> command{QX5_PROGRAM, "run"};
        command.insert(command.end(), options.begin(), options.end());
        auto session = std::make_unique<ChildProcess>(command, Environment());
        EXPECT_TRUE(session->WaitForOutput("Now it is your turn")) << session->Errors();
        return session;
    }

    Outcome Ask(std::vector<std::string> arguments) const { return Qx5(std::move(arguments), {}, Environment()); }

    fs::path Folder() const { return m_runtime / "qx5"; }
    fs::path SocketOf(ChildProcess const& session) const { return Folder() / (session.Id() + ".sock"); }

    TemporaryFolder m_runtime;
};

/// A connection to a program's socket, by hand.
class RawShell
{
public:
    explicit RawShell(fs::path const& path) : m_socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        timeval const limit{60, 0};
        setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        m_isConnected = connect(m_socket, reinterpret_cast<sockaddr const*>(&address), sizeof address) == 0;
    }
    RawShell(RawShell const&) = delete;
    RawShell& operator=(RawShell const&) = delete;
    ~RawShell() { close(m_socket); }

    bool IsConnected() const { return m_isConnected; }
    void Send(std::string const& text) const
    {
        EXPECT_EQ(send(m_socket, text.data(), text.size(), MSG_NOSIGNAL), static_cast<ssize_t>(text.size()));
    }
    void EndSending() const { shutdown(m_socket, SHUT_WR); }
    /// A line without its end; empty when there will be none.
    std::string Line()
    {
        for (;;) {
            if (auto const end = m_in.find('\n'); end != std::string::npos) {
                std::string line = m_in.substr(0, end);
                m_in.erase(0, end + 1);
                return line;
            }
            char bytes[4096];
            auto const size = recv(m_socket, bytes, sizeof bytes, 0);
            if (size <= 0) {
                return {};
            }
            m_in.append(bytes, static_cast<std::size_t>(size));
        }
    }
    Json Answer()
    {
        auto const line = Line();
        return line.empty() ? Json() : Json::parse(line);
    }

private:
    int m_socket;
    bool m_isConnected = false;
    std::string m_in;
};

TEST_F(ShellCommand, GetsValuesOfASonarWithUnitsAndAsJson)
{
    Simulator sonar;
    sonar.Process().Write("set " + range + "=75\n");
    auto const text = Ask({"get", "--sonar", sonar.Endpoint(), range, beamSteer});
    EXPECT_EQ(text.code, 0) << text.err;
    EXPECT_THAT(text.out, HasSubstr(range + " = 75 m\n"));
    EXPECT_THAT(text.out, HasSubstr(beamSteer + " = 0, 0 deg\n"));

    auto const json = Ask({"get", "--json", "--sonar", sonar.Endpoint(), range});
    EXPECT_EQ(json.code, 0) << json.err;
    auto const lines = JsonLinesOf(json.out);
    ASSERT_EQ(lines.size(), 1U) << json.out;
    EXPECT_EQ(lines[0]["key"], range);
    EXPECT_EQ(lines[0]["value"], 75);
    EXPECT_EQ(lines[0]["unit"], "m");
    EXPECT_EQ(lines[0]["kind"], "double");
    EXPECT_EQ(lines[0]["sonar"], sonar.Endpoint());
    EXPECT_TRUE(lines[0]["time"].get<std::string>().ends_with("Z"));
}

TEST_F(ShellCommand, GetsAllThereIs)
{
    Simulator const sonar({"--heads", "2"});
    auto const all = Ask({"get", "--json", "--sonar", sonar.Endpoint()});
    EXPECT_EQ(all.code, 0) << all.err;
    std::size_t heads = 0;
    for (Json const& line : JsonLinesOf(all.out)) {
        heads += line["key"].get<std::string>().find('/') != std::string::npos ? 1U : 0U;
    }
    EXPECT_GT(heads, 0U);
    EXPECT_THAT(all.out, HasSubstr("\"key\":\"" + range + "\""));
}

TEST_F(ShellCommand, WhatIsNotToldIsToldSo)
{
    Simulator const sonar;
    ExpectComplaint(Ask({"get", "--sonar", sonar.Endpoint(), "x5Rnage"}), 1,
                    {"nothing is told of x5Rnage", "did you mean " + range + "?"});
    ExpectComplaint(Ask({"get", "--sonar", sonar.Endpoint(), "--timeout", "200", "EchoMarkerDepth"}), 1,
                    {"nothing is told of EchoMarkerDepth"});
    DeafPort const nobody;
    ExpectComplaint(Ask({"get", "--sonar", "127.0.0.1:" + std::to_string(nobody.Port()), range}), 1,
                    {"no connection to the sonar"});
    ExpectComplaint(Ask({"get", "--sonar", "nowhere", range}), 2, {"--sonar: 'nowhere' is no HOST:PORT"});
}

TEST_F(ShellCommand, WatchesASonarUntilItHasAValue)
{
    Simulator sonar;
    ChildProcess watch({QX5_PROGRAM, "watch", "--json", "--sonar", sonar.Endpoint(), "--until", range + "=120", gain},
                       Environment());
    ASSERT_TRUE(watch.WaitForOutput("\"key\":\"" + range + "\"")) << watch.Errors();
    EXPECT_EQ(Ask({"send", "--sonar", sonar.Endpoint(), range + "=110"}).code, 0);
    ASSERT_TRUE(watch.WaitForOutput("\"value\":110"));
    EXPECT_EQ(Ask({"send", "--sonar", sonar.Endpoint(), range + "=120"}).code, 0);
    EXPECT_EQ(watch.WaitForEnd(), 0) << watch.Errors();
    EXPECT_THAT(watch.Output(), HasSubstr("\"value\":120"));
    EXPECT_THAT(watch.Output(), HasSubstr("\"key\":\"" + gain + "\""));
    EXPECT_EQ(watch.Errors(), "");
}

TEST_F(ShellCommand, AWatchEndsAfterSoManyLinesOrItsTime)
{
    Simulator const sonar;
    auto const one = Ask({"watch", "--sonar", sonar.Endpoint(), "--count", "1", range});
    EXPECT_EQ(one.code, 0) << one.err;
    EXPECT_THAT(one.out, testing::MatchesRegex("[0-9:.]+Z  " + range + " = [0-9.]+ m\n"));
    ExpectComplaint(Ask({"watch", "--sonar", sonar.Endpoint(), "--until", range + "=321", "--timeout", "150"}), 1,
                    {"it did not come within 150 ms"});
    ExpectComplaint(Ask({"watch", "--sonar", sonar.Endpoint(), "--timeout", "150", range}), 2,
                    {"--timeout: tell what is waited for"});
    ExpectComplaint(Ask({"watch", "--sonar", sonar.Endpoint(), "--until", range}), 2, {"--until: ", "has no value"});
}

TEST_F(ShellCommand, AWatchIsToldThatItsSonarIsLost)
{
    auto sonar = std::make_unique<Simulator>();
    ChildProcess watch({QX5_PROGRAM, "watch", "--sonar", sonar->Endpoint(), range}, Environment());
    ASSERT_TRUE(watch.WaitForOutput(range)) << watch.Errors();
    sonar.reset();
    EXPECT_EQ(watch.WaitForEnd(), 1);
    EXPECT_THAT(watch.Errors(), HasSubstr("qx5: the connection to the sonar was lost"));
}

TEST_F(ShellCommand, ControlCAndAReaderWhoHasGoneEndAWatchQuietly)
{
    Simulator const sonar;
    ChildProcess watch({QX5_PROGRAM, "watch", "--sonar", sonar.Endpoint(), range}, Environment());
    ASSERT_TRUE(watch.WaitForOutput(range)) << watch.Errors();
    watch.Signal(SIGINT);
    EXPECT_EQ(watch.WaitForEnd(), 128 + SIGINT);
    EXPECT_EQ(watch.Errors(), "");

    auto const gone = Qx5({"watch", "--sonar", sonar.Endpoint(), range}, {}, Environment(), OutputTo::ClosedPipe);
    EXPECT_EQ(gone.code, 0);
    EXPECT_EQ(gone.err, "");
    auto const full = Qx5({"watch", "--sonar", sonar.Endpoint(), range}, {}, Environment(), OutputTo::FullDisk);
    ExpectComplaint(full, 1, {"standard output cannot be written"});
}

TEST_F(ShellCommand, AsksTheProgramThatRuns)
{
    auto const session = Begin();
    auto const got = Ask({"get", range, beamSteer});
    EXPECT_EQ(got.code, 0) << got.err;
    EXPECT_EQ(got.out, range + " = 50 m\n" + beamSteer + " = 10, -10 deg\n");
    auto const same = Ask({"get", "--run", session->Id(), "--device", "sonar", "--json", range});
    EXPECT_EQ(same.code, 0) << same.err;
    EXPECT_EQ(JsonLinesOf(same.out).at(0)["sonar"], "sonar");
    EXPECT_EQ(Ask({"get", "--device", "1.78.1.1", range}).out, range + " = 50 m\n");
    ExpectComplaint(Ask({"get", "x5Rnage"}), 1, {"did you mean " + range});

    ChildProcess watch({QX5_PROGRAM, "watch", range, "--until", gain + "=33"}, Environment());
    ASSERT_TRUE(watch.WaitForOutput(range + " = 50 m\n"));
    session->Write(range + "=60\n");
    ASSERT_TRUE(watch.WaitForOutput(range + " = 60 m\n")) << watch.Output();
    session->Write("sonar set " + gain + "=33\n");
    EXPECT_EQ(watch.WaitForEnd(), 0) << watch.Errors();
    EXPECT_THAT(watch.Output(), HasSubstr(gain + " = 33 dB\n"));
}

#ifdef QX5_VIEW
TEST_F(ShellCommand, AsksTheWindowForOneOfItsSonars)
{
    auto environment = Environment();
    environment.emplace_back("QT_QPA_PLATFORM=offscreen");
    ChildProcess window({QX5_PROGRAM, "run"}, environment);
    ASSERT_TRUE(window.WaitForOutput("The window is open")) << window.Errors();
    ExpectComplaint(Ask({"get", range}), 1,
                    {"there are several sonars, tell one with --device: \"Hull sonar\" (1.78.1.1), \"ROV sonar\""});
    auto const told = Ask({"watch", "--device", "ROV sonar", "--count", "1", "--timeout", "60000", "--json", range});
    EXPECT_EQ(told.code, 0) << told.err;
    EXPECT_EQ(JsonLinesOf(told.out).at(0)["sonar"], "ROV sonar");
    auto const sent = Ask({"send", "--run", "--device", "ROV sonar", range + "=77"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_EQ(Ask({"get", "--device", "ROV sonar", range}).out, range + " = 77 m\n");
    EXPECT_NE(Ask({"get", "--device", "Hull sonar", range}).out, range + " = 77 m\n");
    window.Signal(SIGTERM);
    EXPECT_TRUE(window.WaitForEnd());
    EXPECT_FALSE(fs::exists(SocketOf(window)));
}
#endif

TEST_F(ShellCommand, SaysWhichProgramsThereAreWhenNoneOrSeveralAreMeant)
{
    ExpectComplaint(Ask({"get", range}), 1,
                    {"no `qx5 run` of this user runs; start one, or tell a sonar with --sonar"});
    auto const one = Begin();
    ExpectComplaint(Ask({"get", "--run", "1", range}), 1, {"no `qx5 run` with the number 1 answers", one->Id()});
    ExpectComplaint(Ask({"get", "--device", "Bow", range}), 1, {"no `qx5 run` has a sonar \"Bow\"", one->Id()});
    auto const other = Begin();
    ExpectComplaint(Ask({"get", range}), 1,
                    {"there are several `qx5 run`, tell one with --run", one->Id(), other->Id()});
    EXPECT_EQ(Ask({"get", "--run", other->Id(), range}).code, 0);
    ExpectComplaint(Ask({"get", "--run", other->Id(), "--sonar", "127.0.0.1:1", range}), 2, {"--run"});
}

TEST_F(ShellCommand, AWatchIsToldThatItsProgramHasEnded)
{
    auto const session = Begin();
    ChildProcess watch({QX5_PROGRAM, "watch", range}, Environment());
    ASSERT_TRUE(watch.WaitForOutput(range)) << watch.Errors();
    session->Write("quit\n");
    EXPECT_EQ(watch.WaitForEnd(), 1);
    EXPECT_EQ(watch.Errors(), "qx5: the connection to the program was lost: it has ended\n");
    EXPECT_EQ(session->WaitForEnd(), 0);
    EXPECT_FALSE(fs::exists(SocketOf(*session)));
}

TEST_F(ShellCommand, SendsByWayOfTheProgramThatRuns)
{
    auto const session = Begin();
    auto const sent = Ask({"send", "--run", range + "=80"});
    EXPECT_EQ(sent.code, 0) << sent.err;
    EXPECT_EQ(sent.out, "what became of it\n  " + range + ": asked 80 m, there was 50 m, the sonar has 80 m\n");
    EXPECT_EQ(Ask({"get", range}).out, range + " = 80 m\n");
    auto const clipped = Ask({"send", "--run", "--process", session->Id(), "--device", "sonar", range + "=99999"});
    ExpectComplaint(clipped, 1, {"differs"});
    EXPECT_THAT(clipped.out, HasSubstr("the sonar has 500 m"));
    ExpectComplaint(Ask({"send", "--run", "--sonar", "127.0.0.1:1", range + "=80"}), 2, {"--run"});
    auto const json = Ask({"send", "--run", "--json", range + "=99999"});
    EXPECT_EQ(json.code, 1);
    auto const told = JsonLinesOf(json.out);
    ASSERT_EQ(told.size(), 1U) << json.out;
    EXPECT_EQ(told[0]["result"], "differs");
    EXPECT_THAT(told[0]["reason"].get<std::string>(), HasSubstr("the sonar has 500 m"));
    EXPECT_EQ(told[0]["values"], Json::parse(R"([{"key": ")" + range +
                                             R"(", "asked": 99999.0, "before": 500.0, "got": 500.0, "unit": "m"}])"));

    // Whoever holds the lease is asked first.
    session->Write("lease\n");
    ASSERT_TRUE(session->WaitForOutput("only the operator asks"));
    ExpectComplaint(Ask({"send", "--run", range + "=90"}), 1, {"refused", "the operator"});
    EXPECT_EQ(Ask({"get", range}).out, range + " = 500 m\n");
}

TEST_F(ShellCommand, WhatAShellAsksForIsLockedAndLoggedAsAllElse)
{
    Simulator const sonar;
    TemporaryFolder const folder;
    auto const project = (folder / "a.qx5").string();
    auto const session = Begin({"--guided", "--sonar", sonar.Endpoint(), "--project", project});
    EXPECT_EQ(Ask({"send", "--run", range + "=80"}).code, 0);
    session->Write("quit\n");
    EXPECT_EQ(session->WaitForEnd(), 0) << session->Errors();
    auto const log = Ask({"log", "--json", project});
    auto const rows = JsonLinesOf(log.out);
    ASSERT_EQ(rows.size(), 1U) << log.out;
    EXPECT_EQ(rows[0]["who"], "shell");
    EXPECT_EQ(rows[0]["key"], range);
    EXPECT_EQ(rows[0]["new"], 80);
    EXPECT_EQ(rows[0]["result"], "agrees");
}

TEST_F(ShellCommand, TheSocketIsThisUsersAloneAndDeadOnesAreTakenAway)
{
    auto killed = Begin();
    auto const dead = SocketOf(*killed);
    killed->Signal(SIGKILL);
    killed->WaitForEnd();
    EXPECT_TRUE(fs::exists(dead));
    auto const session = Begin();
    EXPECT_FALSE(fs::exists(dead));
    struct stat found
    {
    };
    ASSERT_EQ(stat(Folder().c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 07777U, 0700U);
    EXPECT_TRUE(fs::is_socket(SocketOf(*session)));
}

TEST_F(ShellCommand, ASessionGoesOnWithoutASocketAndSaysSo)
{
    fs::create_directory(Folder());
    fs::permissions(Folder(), fs::perms::all);
    auto const session = Begin();
    EXPECT_THAT(session->Errors(), HasSubstr("no shell can ask this program: " + Folder().string() +
                                             " is not a folder of this user alone"));
    session->Write(range + "=60\n");
    EXPECT_TRUE(session->WaitForOutput(range + " = 60"));
    // Nor does anybody ask what somebody else may have put there.
    ExpectComplaint(Ask({"get", range}), 1, {"is not a folder of this user alone"});
}

TEST_F(ShellCommand, TheProgramSaysWhoItIsAndWhatIsNoQuestion)
{
    auto const session = Begin();
    RawShell shell(SocketOf(*session));
    auto const greeting = shell.Answer();
    EXPECT_EQ(greeting["qx5"], 1);
    EXPECT_EQ(std::to_string(greeting["process"].get<int>()), session->Id());
    EXPECT_EQ(greeting["sonars"], Json::parse(R"([{"name":"sonar","id":"1.78.1.1","connected":true}])"));

    shell.Send("what?\n");
    EXPECT_THAT(shell.Answer()["error"].get<std::string>(), HasSubstr("line 1"));
    shell.Send("{\"qx5\":1,\"get\":[],\"sonar\":\"Bow\"}\n");
    EXPECT_EQ(shell.Answer()["error"], "there is no sonar \"Bow\"; there is \"sonar\" (1.78.1.1)");
    // Two at once, answered in order, the second without its line's end.
    shell.Send("{\"qx5\":1,\"get\":[\"" + range + "\"]}\n{\"qx5\":1,\"get\":[\"" + gain + "\"]}");
    shell.EndSending();
    EXPECT_EQ(shell.Answer()["key"], range);
    EXPECT_EQ(shell.Answer()["done"], true);
    EXPECT_EQ(shell.Answer()["key"], gain);
    EXPECT_EQ(shell.Answer()["done"], true);
    EXPECT_EQ(shell.Line(), "");
}

TEST_F(ShellCommand, WhoWatchesAsksForNothingElseAndALongLineIsRefused)
{
    auto const session = Begin();
    RawShell watch(SocketOf(*session));
    watch.Line();
    watch.Send("{\"qx5\":1,\"watch\":[\"" + range + "\"]}\n");
    EXPECT_EQ(watch.Answer()["value"], 50);
    watch.Send("{\"qx5\":1,\"get\":[]}\n");
    EXPECT_THAT(watch.Answer()["error"].get<std::string>(), HasSubstr("who watches asks for nothing else"));
    EXPECT_EQ(watch.Line(), "");

    RawShell chatter(SocketOf(*session));
    chatter.Line();
    chatter.Send(std::string(std::size_t{256} << 10, ' '));
    EXPECT_EQ(chatter.Answer()["error"], "a line of more than 262144 bytes");
    EXPECT_EQ(chatter.Line(), "");
}

TEST_F(ShellCommand, WhoDoesNotReadHoldsNobodyUpAndIsToldTheNewest)
{
    auto const session = Begin();
    // One who asks for far more than the system holds for him, and one who watches.
    RawShell glutton(SocketOf(*session));
    for (int i = 0; i < 100; ++i) {
        glutton.Send("{\"qx5\":1,\"get\":[]}\n");
    }
    RawShell sleeper(SocketOf(*session));
    sleeper.Line();
    sleeper.Send("{\"qx5\":1,\"watch\":[]}\n");
    // A first answer, so that it watches.
    EXPECT_FALSE(sleeper.Answer().is_null());
    for (int i = 1; i <= 30; ++i) {
        session->Write(range + "=" + std::to_string(100 + i) + "\n");
    }
    ASSERT_TRUE(session->WaitForOutput(range + " = 130"));
    EXPECT_EQ(Ask({"send", "--run", gain + "=21"}).code, 0);
    EXPECT_EQ(Ask({"get", gain}).out, gain + " = 21 dB\n");
    // What it is told in the end is what there is then.
    double told = 0.0;
    while (told != 21.0) {
        auto const answer = sleeper.Answer();
        ASSERT_FALSE(answer.is_null());
        told = answer["key"] == gain ? answer["value"].get<double>() : told;
    }
    // Nor is anything lost for who has asked for it.
    for (int done = 0; done < 100;) {
        auto const answer = glutton.Answer();
        ASSERT_FALSE(answer.is_null());
        done += answer.contains("done") ? 1 : 0;
    }
}

TEST_F(ShellCommand, ThereAreNoMoreShellsThanItSays)
{
    auto const session = Begin();
    std::vector<std::unique_ptr<RawShell>> shells;
    for (int i = 0; i < 32; ++i) {
        shells.push_back(std::make_unique<RawShell>(SocketOf(*session)));
        EXPECT_EQ(shells.back()->Answer()["qx5"], 1);
    }
    RawShell another(SocketOf(*session));
    EXPECT_EQ(another.Answer()["error"], "32 shells ask this program already");
    EXPECT_EQ(another.Line(), "");
    ExpectComplaint(Ask({"get", range}), 1, {SocketOf(*session).string(), "32 shells ask this program already"});
    shells.clear();
    Json answer;
    while (!answer.contains("process")) {
        RawShell later(SocketOf(*session));
        answer = later.Answer();
    }
}

} // namespace
} // namespace qx5::test
