// `qx5 log`: what sessions have written into a project, shown; and the transmit lock of a project in a session.
#include "program.h"

#include <reference_host/store/project_store.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

std::vector<nlohmann::json> Rows(std::string const& text)
{
    std::vector<nlohmann::json> rows;
    for (std::size_t begin = 0; begin < text.size();) {
        std::size_t const end = text.find('\n', begin);
        rows.push_back(nlohmann::json::parse(text.substr(begin, end - begin)));
        begin = end + 1;
    }
    return rows;
}

class LogCommand : public ::testing::Test
{
protected:
    Outcome Log(std::vector<std::string> const& options = {})
    {
        std::vector<std::string> arguments{"log", file};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Qx5(arguments);
    }

    TemporaryFolder const folder;
    std::string const file = (folder / "survey.qx5").string();
};

TEST_F(LogCommand, ShowsWhoAskedForWhatAndWhatCameOfIt)
{
    Simulator const sonar;
    auto const session = Qx5({"run", "--guided", "--project", file, "--sonar", sonar.Endpoint()},
                             "x5Range=99999\nx5Range=60 x5BeamSteer=10,-10\nquit\n");
    EXPECT_EQ(session.code, 0) << session.err;
    auto const shown = Log({"--json"});
    EXPECT_EQ(shown.code, 0) << shown.err;
    auto const rows = Rows(shown.out);
    ASSERT_EQ(rows.size(), 3U) << shown.out;
    EXPECT_EQ(rows[0].size(), 7U);
    EXPECT_EQ(rows[0]["who"], "terminal");
    EXPECT_EQ(rows[0]["sonar"], "sonar");
    EXPECT_EQ(rows[0]["key"], "x5Range");
    EXPECT_EQ(rows[0]["old"], 100);
    EXPECT_EQ(rows[0]["new"], 99999);
    EXPECT_EQ(rows[0]["result"], "differs: the sonar has 500 m");
    EXPECT_EQ(rows[1]["old"], 500) << shown.out;
    EXPECT_EQ(rows[1]["result"], "agrees");
    EXPECT_EQ(rows[2]["new"], nlohmann::json::parse("[10, -10]"));
    EXPECT_TRUE(std::string(rows[0]["time"]).ends_with('Z'));

    EXPECT_THAT(Log({"--csv", "--key", "Steer"}).out, ::testing::MatchesRegex("time,who,sonar,key,old,new,result\r\n"
                                                                              "[^,]*,terminal,sonar,x5BeamSteer,[^\r]*"
                                                                              ",\"\\[10,-10\\]\",agrees\r\n"));
    EXPECT_EQ(Log({"--sonar", "elsewhere"}).out, "");
    EXPECT_THAT(Log({"--sonar", "1.78.1.1", "--key", "x5Range"}).out, HasSubstr("x5Range  100 -> 99999  differs"));
}

TEST_F(LogCommand, WhatIsNoProjectIsOneLine)
{
    ExpectComplaint(Log(), 1, {"survey.qx5", "is not there"});
    EXPECT_FALSE(std::filesystem::exists(file));
    ExpectComplaint(Qx5({"log"}), 2, {"project is required", "qx5 log --help"});
    ExpectComplaint(Qx5({"log", file, "--json", "--csv"}), 2, {"qx5 log --help"});
    TemporaryFile const text("text.qx5", "This is no project.\n" + std::string(5000, 'x'));
    ExpectComplaint(Qx5({"log", text.Path()}), 1, {"no project file"});
    {
        vordal::ProjectStore store(file);
        vordal::StoredAction action;
        action.sonar = CDataId(1, 78, 1, 1);
        std::vector<vordal::StoredAction> const actions(2000, action);
        store.AppendActions(actions);
    }
    std::filesystem::resize_file(file, std::filesystem::file_size(file) / 2);
    auto const cut = Log({"--json"});
    EXPECT_EQ(cut.code, 1);
    ExpectComplaint({1, {}, cut.err}, 1, {"survey.qx5"});
}

TEST_F(LogCommand, ALockedProjectRefusesWhatCanDoHarmAtARealSonar)
{
    {
        vordal::StoredProject project;
        project.transmitLocked = true;
        vordal::ProjectStore(file).Save(project);
    }
    Simulator const sonar;
    auto const session = Qx5({"run", "--guided", "--project", file, "--sonar", sonar.Endpoint()},
                             "x5PingOnOffState=1\nx5Range=60\nquit\n");
    EXPECT_EQ(session.code, 0) << session.err;
    EXPECT_THAT(session.out, HasSubstr("refused: the transmit lock is on: x5PingOnOffState=1 switches the pings on\n"));
    EXPECT_THAT(session.out, Not(HasSubstr("pings on, ticket")));
    EXPECT_THAT(session.out, HasSubstr("command 1003 range"));
    EXPECT_THAT(Log({"--key", "Ping"}).out, HasSubstr("x5PingOnOffState  0 -> 1  refused: the transmit lock is on"));
    // One of the session's own is not locked, and the project stays as it was.
    EXPECT_THAT(Qx5({"run", "--guided", "--project", file}, "x5PingOnOffState=1\nquit\n").out,
                HasSubstr("command 1100 pings on"));
    EXPECT_TRUE(vordal::ProjectStore(file).Load().transmitLocked);
}

} // namespace
} // namespace qx5::test
