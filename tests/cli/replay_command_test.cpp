// `qx5 replay` and `qx5 recording export --scenario`: sessions of the program itself, run again.
#include "program.h"

#include "recording/recorded_session.h"
#include "recording/session_writer.h"
#include "tests/recording/recorded_stage.h"

#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <protocol/catalogue.h>
#include <protocol/utf8.h>

namespace qx5::test {
namespace {

using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;
using ::testing::Not;
using Bytes = std::vector<unsigned char>;

std::string ContentOf(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

/// The recording with `change` done to its first sent frame of that size, in another file.
void WriteChanged(std::filesystem::path const& file, std::filesystem::path const& out, std::size_t size,
                  std::function<void(Bytes&)> const& change)
{
    recording::RecordedSession session(file);
    recording::SessionWriter writer(out, {});
    bool isDone = false;
    session.ForEachRaw({}, [&](recording::McapChannel const& channel, recording::McapMessage const& message) {
        Bytes data(message.data.begin(), message.data.end());
        if (!isDone && channel.topic.ends_with("/sent") && data.size() == size) {
            change(data);
            isDone = true;
        }
        auto const schema = session.File().Schemas().find(channel.schema);
        auto const own =
            writer.ChannelLike(channel, schema != session.File().Schemas().end() ? &schema->second : nullptr);
        writer.File().Write(own, {message.logTime, message.publishTime}, data);
        return true;
    });
    writer.File().Finish();
    ASSERT_TRUE(isDone);
}

/// key=value of every key that has a value of one of the usual kinds, some to a line.
std::string LinesOfAllKeys()
{
    constexpr int toALine = 7;
    std::string lines;
    int count = 0;
    for (auto const* const key : protocol::AllKeys()) {
        auto const name = protocol::EncodeUtf8(key->text);
        std::string value;
        switch (key->kind) {
        case protocol::Kind::Int:
        case protocol::Kind::UInt:
            value = "=2";
            break;
        case protocol::Kind::Bool:
            value = "=true";
            break;
        case protocol::Kind::Double:
            value = "=12.5";
            break;
        case protocol::Kind::Pair:
            value = "=10,-10";
            break;
        case protocol::Kind::String:
            value = "=wreck";
            break;
        default:
            continue;
        }
        lines += name + value + (++count % toALine == 0 ? "\n" : " ");
    }
    return lines + "\n";
}

class ReplayCommand : public ::testing::Test
{
protected:
    void Record(std::string const& lines) const
    {
        auto const session = Qx5({"run", "--guided", "--record", file}, lines);
        ASSERT_EQ(session.code, 0) << session.err;
    }

    TemporaryFolder const folder;
    std::string const file = (folder / "session.mcap").string();
    std::string const out = (folder / "out").string();
};

TEST_F(ReplayCommand, ASessionOfEveryKeyLeavesTodayAsItDidThen)
{
    Record(LinesOfAllKeys() + "undo\nredo\nprogram x5Gain=3\nsonar set x5Range=77\nx5CoverageAngle=90\nquit\n");
    auto const check = Qx5({"replay", file, "--check"});
    EXPECT_EQ(check.code, 0) << check.out << check.err;
    EXPECT_THAT(check.out, HasSubstr(", times apart: not one byte differs\n"));
    EXPECT_THAT(check.err, Not(HasSubstr("qx5: ")));

    auto const exported = Qx5({"recording", "export", file, "--scenario", out});
    EXPECT_EQ(exported.code, 0) << exported.err;
    EXPECT_THAT(exported.out, MatchesRegex(".*/out: [0-9]+ requests, [0-9]+ events expected\n"));
    auto const scenario = Qx5({"scenario", "--check", out});
    EXPECT_EQ(scenario.code, 0) << scenario.out << scenario.err;
}

TEST_F(ReplayCommand, AnAlteredByteIsFoundByBoth)
{
    Record("x5Range=77\nmark here\nquit\n");
    auto const changed = (folder / "changed.mcap").string();
    // The first remote-control record of four bytes: the range of 50 m (0x42480000) becomes 48 (0x42400000).
    WriteChanged(file, changed, 96, [](Bytes& frame) { frame[90] = 0x40; });
    auto const check = Qx5({"replay", changed, "--check"});
    EXPECT_EQ(check.code, 1);
    EXPECT_THAT(check.out,
                MatchesRegex("20[^ ]*Z  sonar  request 1 of terminal, x5Range: record 1003 range, ticket 1003 differs\n"
                             "    @0  f32  x5Range: recorded 48, today 50\n"
                             ".*1 differences, told above\n"));

    auto const exported = Qx5({"recording", "export", changed, "--scenario", out});
    EXPECT_EQ(exported.code, 0);
    EXPECT_EQ(exported.err, "qx5: a scenario cannot tell, and this one leaves out: 1 mark\n");
    auto const scenario = Qx5({"scenario", "--check", out});
    EXPECT_EQ(scenario.code, 1);
    EXPECT_THAT(scenario.out, HasSubstr("byte 2: expected 40, got 48"));
}

TEST_F(ReplayCommand, APieceGoesToStandardOutput)
{
    Record("x5Range=77\nquit\n");
    auto const piece = Qx5({"recording", "export", file, "--scenario", "+0..+60"});
    EXPECT_EQ(piece.code, 0) << piece.err;
    auto const scenario = Qx5({"scenario", "--check", "-"}, piece.out);
    EXPECT_EQ(scenario.code, 0) << scenario.out << scenario.err;
    ExpectComplaint(Qx5({"recording", "export", file, "--scenario", "+0..+60", "--from", "+1"}), 2,
                    {"leave out --from and --to"});
    std::ofstream(out) << "mine";
    ExpectComplaint(Qx5({"recording", "export", file, "--scenario", out}), 1, {out});
    EXPECT_EQ(ContentOf(out), "mine");
}

TEST_F(ReplayCommand, WhatIsNoneOrCutOrNewerIsSaidInOneLine)
{
    std::ofstream(out) << "no recording";
    ExpectComplaint(Qx5({"replay", out, "--check"}), 1, {out});
    ExpectComplaint(Qx5({"replay", (folder / "nowhere").string(), "--as-sonar"}), 1, {"nowhere"});
    Record("quit\n");
    // The format's own version is a byte of its first eight.
    auto newer = ContentOf(file);
    newer[5] = '1';
    std::ofstream(out, std::ios::binary | std::ios::trunc) << newer;
    ExpectComplaint(Qx5({"replay", out, "--check"}), 1, {out, "is a recording of a newer kind"});
    // A file that was cut says what it lacks, and replays what it has.
    auto const whole = ContentOf(file);
    std::ofstream(out, std::ios::binary | std::ios::trunc) << whole.substr(0, whole.size() - whole.size() / 8);
    auto const cut = Qx5({"replay", out, "--check"});
    EXPECT_THAT(cut.out + cut.err, ::testing::AnyOf(HasSubstr("not one byte differs"), HasSubstr("nothing is asked")));

    // Where there is a window, there is no display for it here.
    ExpectComplaint(Qx5({"replay", file}, {}, {"DISPLAY=", "WAYLAND_DISPLAY=", "QT_QPA_PLATFORM="}), 1,
                    {"window", "there are --check, --as-sonar"});
    ExpectComplaint(Qx5({"replay", file, "--to", "+1"}), 2, {"the window shows all of a recording"});
    ExpectComplaint(Qx5({"replay", file, "--check", "--sonar", "Mast"}), 1, {"there is no sonar 'Mast'", "1.78.1.1"});
    ExpectComplaint(Qx5({"replay", file, "--as-host"}), 2, {"--sonar HOST:PORT"});
    ExpectComplaint(Qx5({"replay", file, "--as-host", "--sonar", "here"}), 2, {"'here' is no HOST:PORT"});
    ExpectComplaint(Qx5({"replay", file, "--as-sonar", "--speed", "1000"}), 2, {"--speed"});
    DeafPort const deaf;
    ExpectComplaint(Qx5({"replay", file, "--as-host", "--sonar", "127.0.0.1:" + std::to_string(deaf.Port())}), 1,
                    {"no connection to the sonar"});
    ExpectComplaint(Qx5({"replay", file, "--as-sonar", "--port", std::to_string(deaf.Port())}), 1, {"is in use"});
}

TEST_F(ReplayCommand, OfSeveralSonarsOneIsToldOrAsked)
{
    RecordedStage stage;
    auto const two = stage.RecordTwoSonars().string();
    ExpectComplaint(Qx5({"replay", two, "--as-sonar"}), 2,
                    {"--sonar is required", "is of 2 sonars: 1.78.1.1 Bow, 1.78.2.1 Stern"});
    ExpectComplaint(Qx5({"replay", two, "--as-host", "--sonar", "127.0.0.1:7000"}), 2, {"--of is required"});
    Simulator const sonar;
    auto const asked = Qx5({"replay", two, "--as-host", "--sonar", sonar.Endpoint(), "--of", "Bow", "--speed", "100"});
    ExpectComplaint(asked, 1,
                    {"answers otherwise to 1 of 1 requests", "recorded differs, x5Range = 49.5 m; today agrees"});
}

TEST_F(ReplayCommand, AHostHearsTheSonarAgain)
{
    Record("x5Range=77\nquit\n");
    ChildProcess sonar({QX5_PROGRAM, "replay", file, "--as-sonar", "--port", "0", "--step"});
    ASSERT_TRUE(sonar.WaitForOutput("it begins to tell with the first host."));
    auto const text = sonar.Output();
    auto const at = text.find("127.0.0.1:");
    ASSERT_NE(at, std::string::npos);
    auto const endpoint = text.substr(at, text.find(';') - at);
    ChildProcess host({QX5_PROGRAM, "run", "--guided", "--sonar", endpoint});
    ASSERT_TRUE(sonar.WaitForOutput("a host connected from 127.0.0.1:"));
    // The first thing that it told is who it is.
    sonar.Write("\n");
    ASSERT_TRUE(host.WaitForOutput("Now it is your turn"));
    sonar.Write(std::string(1000, '\n'));
    ASSERT_TRUE(sonar.WaitForOutput("The replay has ended: ")) << sonar.Output();
    EXPECT_EQ(sonar.WaitForEnd(), 0);
    host.Write("tree\nquit\n");
    EXPECT_EQ(host.WaitForEnd(), 0);
    EXPECT_THAT(host.Output(), HasSubstr("x5Range"));
}

TEST_F(ReplayCommand, ASimulatedSonarAnswersAgainAndAnotherOtherwise)
{
    Record("x5Gain=12\nx5Range=99999\nquit\n");
    Simulator const sonar;
    auto const same = Qx5({"replay", file, "--as-host", "--sonar", sonar.Endpoint(), "--speed", "100"});
    EXPECT_EQ(same.code, 0) << same.out << same.err;
    EXPECT_THAT(same.out, HasSubstr("7 requests asked again"));

    Simulator other;
    other.Process().Write("misbehave silent\n");
    ASSERT_TRUE(other.Process().WaitForOutput("silent"));
    auto const otherwise = Qx5({"replay", file, "--as-host", "--sonar", other.Endpoint(), "--speed", "100"});
    ExpectComplaint(otherwise, 1,
                    {other.Endpoint() + " answers otherwise to ", "the first: request 1, x5Range: recorded "
                                                                  "agrees, x5Range = 50 m; today unanswered"});
}

} // namespace
} // namespace qx5::test
