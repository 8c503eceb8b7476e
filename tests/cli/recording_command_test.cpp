// `qx5 run --record` and `qx5 recording`: what a session leaves, and what the command makes of it.
#include "program.h"

#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using Lines = std::vector<std::string>;

Lines LinesOf(std::string const& text)
{
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::string Content(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

class RecordingCommand : public ::testing::Test
{
protected:
    /// `qx5 recording WHAT FILE MORE...`
    Outcome Recording(std::string const& what, Lines const& more = {}) const
    {
        Lines arguments{"recording", what, file};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return Qx5(arguments);
    }
    void RecordLines(std::string const& lines) const
    {
        auto const session = Qx5({"run", "--guided", "--record", file}, lines);
        ASSERT_EQ(session.code, 0) << session.err;
        ASSERT_EQ(session.err, "");
    }
    void Write(std::string_view content) const { std::ofstream(file, std::ios::binary) << content; }

    TemporaryFolder const folder;
    std::string const file = (folder / "session.mcap").string();
    std::string const out = (folder / "out").string();
};

TEST_F(RecordingCommand, ASessionIsRecordedFromItsBeginningToItsEnd)
{
    auto const session = Qx5({"run", "--once", "--record", file});
    EXPECT_EQ(session.code, 0) << session.err;
    EXPECT_EQ(session.err, "");
    auto const check = Recording("check");
    EXPECT_EQ(check.code, 0) << check.err;
    EXPECT_THAT(check.out, MatchesRegex(".*/session.mcap: whole, [0-9]+ messages read\n"));

    auto const info = nlohmann::json::parse(Recording("info", {"--json"}).out);
    EXPECT_EQ(info.size(), 6U);
    EXPECT_EQ(info["complete"], true);
    EXPECT_EQ(info["sonars"], nlohmann::json::parse(R"([{"id": "1.78.1.1", "name": "sonar"}])"));
    // The five steps that the session shows.
    EXPECT_EQ(info["requests"], 5);
    EXPECT_THAT(info["start"].get<std::string>(), MatchesRegex("20[0-9-]+T[0-9:]+\\.[0-9]{9}Z"));
    EXPECT_LT(info["start"], info["end"]);
    EXPECT_THAT(Recording("info").out, HasSubstr("recorded by version "));

    auto const lines = LinesOf(Recording("list").out);
    ASSERT_GT(lines.size(), 10U);
    EXPECT_THAT(lines[0], HasSubstr("  settings  sonar"));
    EXPECT_THAT(Recording("list", {"connection"}).out, AllOf(HasSubstr("  connection  sonar  connecting: 127.0.0.1:"),
                                                             HasSubstr("  connection  sonar  connected: 127.0.0.1:")));
    // In the order in which it happened.
    auto const asked = Recording("list", {"x5BeamSteer"}).out;
    std::size_t at = 0;
    for (char const* const text : {"  request 2  sonar  terminal: x5BeamSteer = 10, -10 deg\n",
                                   "  out  sonar  1021 beam steering  x5BeamSteer = (10, -10) deg\n",
                                   "  echo  sonar  x5BeamSteer = 10, -10 deg\n",
                                   "  in  sonar  90010 attribute tree  x5BeamSteer = (10, -10) deg",
                                   "  told  sonar  x5BeamSteer = 10, -10 deg", "  result 2  sonar  agrees\n"}) {
        at = asked.find(text, at);
        ASSERT_NE(at, std::string::npos) << text << "\n" << asked;
    }
    auto const frames = LinesOf(Recording("list", {"--way", "out"}).out);
    EXPECT_EQ(frames.size() + LinesOf(Recording("list", {"--way", "in"}).out).size(), info["records"]);
}

TEST_F(RecordingCommand, TheOperatorsTerminalIsRecordedToo)
{
    auto const session = Qx5({"run", "--terminal", "--record", file}, "+\nq\n");
    EXPECT_EQ(session.code, 0) << session.err;
    EXPECT_EQ(Recording("check").code, 0);
    EXPECT_THAT(Recording("list", {"connection"}).out, HasSubstr("connected: 127.0.0.1:"));
}

TEST_F(RecordingCommand, MarksAreMadeInTheSessionAndAfterwards)
{
    RecordLines("x5Range=60\nmark a \"wreck\" to port\nmark\nx5Range=61\nquit\n");
    auto const marks = LinesOf(Recording("list", {"wreck"}).out);
    ASSERT_EQ(marks.size(), 1U);
    EXPECT_TRUE(marks[0].ends_with("Z  mark  -  a \"wreck\" to port"));
    auto const marked = Recording("mark", {"where it began", "--at", "+0"});
    EXPECT_EQ(marked.code, 0) << marked.err;
    EXPECT_EQ(marked.out, "");
    EXPECT_THAT(LinesOf(Recording("list").out)[1], HasSubstr("  mark  -  where it began"));
    EXPECT_EQ(Recording("check").code, 0);
    ExpectComplaint(Recording("mark", {"late", "--at", "+9999"}), 1, {"session.mcap", "is not within it"});
    ExpectComplaint(Recording("mark", {"when", "--at", "noon"}), 2, {"--at: 'noon' is no time", "+12.5"});

    auto const without = Qx5({"run", "--guided"}, "mark x\nquit\n");
    EXPECT_THAT(without.out, HasSubstr("nothing is recorded; start with --record FILE"));
}

TEST_F(RecordingCommand, WordsTimesAndSonarsChooseWhatIsListed)
{
    RecordLines("x5Range=60\nx5Gain=12\nquit\n");
    // The session itself asks for a range of 50 m in its first step and, of a kind that is none, in its last.
    auto const ranges = Recording("list", {"request", "x5Range"}).out;
    EXPECT_EQ(LinesOf(ranges).size(), 3U) << ranges;
    // A word that is left out may begin with the letter of any option, and stand as one argument with others.
    EXPECT_EQ(LinesOf(Recording("list", {"-120", "request", "-50"}).out).size(), 4U) << Recording("list").out;
    EXPECT_THAT(Recording("list", {"request", "-gain", "-hz", "-agrees"}).out, Not(HasSubstr("x5Gain")));
    EXPECT_THAT(LinesOf(Recording("list", {"request -x5Range -x5Gain"}).out).size(), 3U);
    EXPECT_EQ(Recording("list", {"--sonar", "sonar"}).out, Recording("list").out);
    EXPECT_EQ(Recording("list", {"--sonar", "1.78.1.1", "--from", "+0", "--to", "+3600"}).out, Recording("list").out);
    EXPECT_EQ(Recording("list", {"--from", "2100-01-01T00:00:00Z"}).out, "");
    ExpectComplaint(Recording("list", {"--sonar", "stern"}), 1, {"no sonar 'stern'", "1.78.1.1 sonar"});
    ExpectComplaint(Recording("list", {"--from", "+2", "--to", "+1"}), 2, {"--from is later than --to"});
    ExpectComplaint(Recording("list", {"--to", "yesterday"}), 2, {"--to: 'yesterday' is no time"});
    ExpectComplaint(Recording("list", {"--nonsense"}), 2, {"--nonsense", "qx5 recording list --help"});
    for (auto const& line : LinesOf(Recording("list", {"--json", "x5Gain"}).out)) {
        EXPECT_TRUE(nlohmann::json::parse(line).contains("kind")) << line;
    }
}

TEST_F(RecordingCommand, APartIsARecording)
{
    RecordLines("x5Range=60\nquit\n");
    auto const cut = Recording("cut", {out, "--sonar", "sonar", "--from", "+0.001"});
    EXPECT_EQ(cut.code, 0) << cut.err;
    auto const check = Qx5({"recording", "check", out});
    EXPECT_EQ(check.code, 0) << check.err;
    EXPECT_THAT(LinesOf(Qx5({"recording", "list", out}).out)[0], HasSubstr("  settings  sonar"));
    auto const before = Content(out);
    ExpectComplaint(Recording("cut", {out}), 1, {"/out: nothing is written over a file that is there"});
    EXPECT_EQ(Content(out), before);
    ExpectComplaint(Recording("cut", {file + ".x", "--from", "2100-01-01T00:00:00Z"}), 1, {"nothing in that time"});
    EXPECT_FALSE(std::filesystem::exists(file + ".x"));
}

TEST_F(RecordingCommand, OtherProgramsReadWhatIsExported)
{
    ASSERT_STRNE(QX5_TSHARK, "") << "there is no tshark: install Debian's package of that name and configure again";
    RecordLines("x5Range=60\nquit\n");
    auto const written = Recording("export", {"--pcapng", out});
    EXPECT_EQ(written.code, 0) << written.err;
    auto const shown =
        RunToEnd({QX5_TSHARK, "-r", out, "-X", "lua_script:" QX5_SOURCE_DIR "/docs/x5_records.lua", "-V", "-O", "x5"});
    EXPECT_THAT(shown.out, HasSubstr("x5 record, 1003 range"));
    EXPECT_THAT(shown.out, HasSubstr("    x5Range = 60 m\n"));
    EXPECT_THAT(shown.out, HasSubstr("x5 record, 90010 attribute tree"));

    std::string const table = out + ".csv";
    EXPECT_EQ(Recording("export", {"--csv", table, "--key", "x5Range", "--key", "x5Gain"}).code, 0);
    EXPECT_THAT(Content(table), HasSubstr(",1.78.1.1,echo,x5Range,60\r\n"));
    EXPECT_THAT(Content(table), Not(HasSubstr("x5Power")));

    auto const json = Recording("export", {"--json"});
    EXPECT_EQ(json.code, 0) << json.err;
    EXPECT_EQ(json.out, Recording("list", {"--json"}).out);
    std::string const lines = out + ".json";
    EXPECT_EQ(Recording("export", {"--json", lines}).out, "");
    EXPECT_EQ(Content(lines), json.out);

    for (Lines const& again : {Lines{"--pcapng", out}, Lines{"--csv", table}, Lines{"--json", lines}}) {
        ExpectComplaint(Recording("export", again), 1, {"nothing is written over a file that is there"});
    }
    ExpectComplaint(Recording("export"), 2, {"one of --pcapng, --csv, --json and --scenario is required"});
    ExpectComplaint(Recording("export", {"--key", "x5Range", "--json"}), 2, {"--key", "--csv"});
    ExpectComplaint(Recording("export", {"--pcapng", out, "--csv", out}), 2, {"--csv", "--pcapng"});
}

TEST_F(RecordingCommand, WhatIsNoRecordingIsOneLine)
{
    Lines const commands{"info", "list", "check"};
    for (auto const& command : commands) {
        std::filesystem::remove(file);
        ExpectComplaint(Recording(command), 1, {"session.mcap: cannot be read: No such file"});
        Write("");
        ExpectComplaint(Recording(command), 1, {"session.mcap: is no recording"});
        Write("This is no recording.\n");
        ExpectComplaint(Recording(command), 1, {"session.mcap: is no recording"});
        Write("\x89MCAP1\r\n");
        ExpectComplaint(Recording(command), 1, {"session.mcap: is a recording of a newer kind"});
        ExpectComplaint(Qx5({"recording", command, folder.string()}), 1, {"is no file"});
        ExpectComplaint(Qx5({"recording", command}), 2, {"file is required", "qx5 recording " + command + " --help"});
    }
    ExpectComplaint(Qx5({"recording"}), 2, {"qx5 recording --help"});
    ExpectComplaint(Recording("cut", {out}), 1, {"newer kind"});
    ExpectComplaint(Recording("mark", {"x", "--at", "+1"}), 1, {"newer kind"});
    ExpectComplaint(Recording("export", {"--csv", out}), 1, {"newer kind"});
    EXPECT_FALSE(std::filesystem::exists(out));
}

TEST_F(RecordingCommand, OfADamagedFileWhatIsGoodIsShownAndTheRestTold)
{
    RecordLines("x5Range=60\nquit\n");
    auto const whole = LinesOf(Recording("list").out);
    auto const good = Content(file);
    // The end is missing, and something follows that is no record.
    Write(good.substr(0, good.find(std::string("\x0f\x04\0\0\0\0\0\0\0", 9))) + "half a chunk");
    auto const list = Recording("list");
    EXPECT_EQ(LinesOf(list.out), whole);
    ExpectComplaint(list, 1, {"session.mcap: passed over 12 bytes that are no whole record"});
    auto const info = Recording("info", {"--json"});
    EXPECT_EQ(nlohmann::json::parse(info.out)["complete"], false);
    auto const check = Recording("check");
    EXPECT_EQ(check.out, "");
    ExpectComplaint(check, 1, {"it was not closed in order", "12 bytes are no whole record"});
    ExpectComplaint(Recording("mark", {"x", "--at", "+0"}), 1, {"is damaged", "qx5 recording cut"});
    // What is good of it makes a whole one.
    EXPECT_EQ(Recording("cut", {out}).code, 0);
    EXPECT_EQ(Qx5({"recording", "check", out}).code, 0);
    EXPECT_EQ(LinesOf(Qx5({"recording", "list", out}).out), whole);
}

TEST_F(RecordingCommand, ASessionRecordsOverNothing)
{
    Write("mine");
    auto const session = Qx5({"run", "--once", "--record", file});
    ExpectComplaint(session, 1, {"session.mcap: nothing is written over a file that is there"});
    EXPECT_EQ(session.out, "");
    EXPECT_EQ(Content(file), "mine");
    ExpectComplaint(Qx5({"run", "--once", "--record", (folder / "none" / "x.mcap").string()}), 1,
                    {"cannot be written"});
    ExpectComplaint(Qx5({"run", "--demo", "pan-tilt", "--record", out}), 2, {"--record"});
}

TEST_F(RecordingCommand, ASessionThatIsKilledLeavesARecording)
{
    ChildProcess session({QX5_PROGRAM, "run", "--guided", "--record", file});
    ASSERT_TRUE(session.WaitForOutput("Now it is your turn"));
    auto const hasRange = [&] {
        return Recording("list", {"request", "x5Range"}).out.find("50 m") != std::string::npos;
    };
    auto const end = std::chrono::steady_clock::now() + generousLimit;
    while (!hasRange() && std::chrono::steady_clock::now() < end) {
    }
    session.Signal(SIGKILL);
    session.WaitForEnd();
    EXPECT_TRUE(hasRange());
    ExpectComplaint(Recording("check"), 1, {"not closed in order"});
}

TEST_F(RecordingCommand, AProjectKeepsABlackBox)
{
    std::string const project = (folder / "survey.qx5").string();
    auto const box = folder / "survey.qx5.black-box";
    auto const run = [&](Lines const& more) {
        Lines arguments{"run", "--guided", "--project", project};
        arguments.insert(arguments.end(), more.begin(), more.end());
        auto const session = Qx5(arguments, "x5Range=60\nmark here\nquit\n");
        EXPECT_EQ(session.code, 0) << session.err;
        EXPECT_EQ(session.err, "");
    };
    run({"--black-box", "0"});
    EXPECT_FALSE(std::filesystem::exists(box));
    run({});
    run({"--black-box", "16M", "--record", file});
    for (char const* const name : {"000001.mcap", "000002.mcap"}) {
        auto const check = Qx5({"recording", "check", (box / name).string()});
        EXPECT_EQ(check.code, 0) << check.err;
    }
    // Both are told the same.
    auto const newest = Qx5({"recording", "list", (box / "000002.mcap").string(), "mark"});
    EXPECT_THAT(newest.out, HasSubstr("  mark  -  here\n"));
    EXPECT_THAT(Recording("list", {"mark"}).out, HasSubstr("  mark  -  here\n"));
    // What the project keeps of the sonar stands at the beginning.
    EXPECT_THAT(LinesOf(Qx5({"recording", "list", (box / "000002.mcap").string(), "settings"}).out)[0],
                HasSubstr("x5"));
    ExpectComplaint(Qx5({"run", "--once", "--black-box", "much"}), 2, {"--black-box"});

    // Where there can be none the session goes on, and says so.
    std::filesystem::remove_all(box);
    std::ofstream(box.string()) << "a file";
    auto const without = Qx5({"run", "--once", "--project", project});
    EXPECT_EQ(without.code, 0);
    EXPECT_THAT(without.err, HasSubstr("there is no black box: " + box.string()));
    EXPECT_EQ(LinesOf(without.err).size(), 1U);
}

} // namespace
} // namespace qx5::test
