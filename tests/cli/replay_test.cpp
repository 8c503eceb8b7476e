// Recordings replayed: frames compared field by field, scenarios made of them, requests run through the program again,
// a sonar that tells what it told.
#include "cli/replay/frame_difference.h"
#include "cli/replay/replay_as_sonar.h"
#include "cli/replay/replay_check.h"
#include "cli/replay/replay_pace.h"
#include "cli/replay/scenario_export.h"
#include "cli/replay/unasked_frames.h"
#include "cli/scenario/scenario_command.h"
#include "recording/recording_error.h"
#include "recording/session_writer.h"
#include "reference_host/attributes/tree_bytes.h"

#include "tests/protocol/hex.h"
#include "tests/recording/recorded_stage.h"

#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include <array>
#include <fstream>
#include <functional>
#include <future>
#include <iterator>
#include <sstream>
#include <thread>

#include <asio.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using namespace cli;
using recording::FlightRecorder;
using recording::RecordedSession;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;

/// The frame that asks for 50 m, with one byte put in another's place.
Bytes RangeFrameWith(std::size_t at, unsigned char byte)
{
    auto frame = RecordedRangeFrame();
    frame.at(at) = byte;
    return frame;
}

TEST(FrameDifference, TimesOfLeavingAreNone)
{
    // 20 to 29: year, day, seconds, hour and minute of the header.
    for (std::size_t at = 20; at < 30; ++at) {
        EXPECT_TRUE(AreSame(RecordedRangeFrame(), RangeFrameWith(at, 0x77))) << at;
        EXPECT_THAT(FieldDifferences(RecordedRangeFrame(), RangeFrameWith(at, 0x77)), IsEmpty()) << at;
    }
}

TEST(FrameDifference, EveryOtherByteIsToldWithWhatItMeans)
{
    // All 96 bytes but the time and the words without which it is no frame: version, offset, sync, size, trailing word.
    for (std::size_t at = 12; at < 92; ++at) {
        if (at >= 20 && at < 30) {
            continue;
        }
        EXPECT_FALSE(AreSame(RecordedRangeFrame(), RangeFrameWith(at, 0x77))) << at;
        EXPECT_THAT(FieldDifferences(RecordedRangeFrame(), RangeFrameWith(at, 0x77)), SizeIs(::testing::Ge(1U))) << at;
    }
    // 0x42400000 is 48.
    EXPECT_THAT(FieldDifferences(RecordedRangeFrame(), RangeFrameWith(90, 0x40)),
                ElementsAre("@0  f32  x5Range: recorded 50, today 48"));
    EXPECT_THAT(FieldDifferences(RecordedRangeFrame(), RangeFrameWith(36, 7)),
                ElementsAre("device of the frame: recorded 0, today 7"));
    EXPECT_THAT(FieldDifferences(RecordedRangeFrame(), RangeFrameWith(42, 0xFE)),
                ElementsAre("enumerator of the frame: recorded -1, today -2"));
    EXPECT_THAT(FieldDifferences(RecordedRangeFrame(), RangeFrameWith(15, 1)),
                ElementsAre("byte 15 of the frame: recorded 00, today 01"));
    EXPECT_EQ(cli::NameOf(RecordedRangeFrame()), "1003 range, ticket 1003");
    EXPECT_EQ(cli::NameOf(RangeFrameWith(68, 9)), "1003 range, ticket 777");
}

TEST(UnaskedFrames, AreThoseOfTurnsAndOfEchoes)
{
    auto const command = [](std::uint32_t id, Bytes const& payload, protocol::Target target) {
        return UnaskedOf(protocol::BuildRemoteControlRecord(id, payload, target, 0.0));
    };
    EXPECT_EQ(command(1107, {}, {7125, 0}), Unasked::Turns);
    EXPECT_EQ(command(1107, {}, protocol::OwnSonar), Unasked::None);
    EXPECT_EQ(command(1004, {0, 0, 0, 0}, {7125, 0}), Unasked::Turns);
    EXPECT_EQ(command(1004, {0, 0, 0x80, 0x3F}, {7125, 0}), Unasked::None);
    EXPECT_EQ(command(1004, {0, 0, 0, 0}, protocol::OwnSonar), Unasked::None);
    EXPECT_EQ(command(90020, {1, 0, 0, 0}, protocol::OwnSonar), Unasked::Echoes);
    auto frame = protocol::BuildRemoteControlRecord(90020, Bytes{3, 0, 0, 0}, protocol::OwnSonar, 1e9);
    EXPECT_TRUE(IsAsTodays(Unasked::Echoes, frame));
    frame[72] = 1; // of the tracking number, which is 0
    EXPECT_FALSE(IsAsTodays(Unasked::Echoes, frame));
}

TEST(ReplayPace, GoesByTheRecordingsTimes)
{
    std::uint64_t now = 1000;
    std::vector<std::uint64_t> waits;
    ReplayPace pace(2.0, {[&] { return now; },
                          [&](std::uint64_t until) {
                              waits.push_back(until);
                              now = until;
                          }});
    pace.Await(500'000);
    EXPECT_THAT(waits, IsEmpty()) << "the first has its turn at once";
    pace.Await(500'200);
    pace.Await(500'300);
    now += 10'000; // late
    pace.Await(500'400);
    pace.Await(520'400);
    EXPECT_THAT(waits, ElementsAre(1'100U, 1'150U, 11'200U)) << "one that is late makes no later one late";
    pace.BeginAnew();
    pace.Await(500'000);
    pace.Await(500'002);
    EXPECT_EQ(waits.back(), 11'201U);
}

class Replayed : public ::testing::Test
{
protected:
    /// Bow has a range of 100 m, is asked for 50 m, sends that frame and echoes that value with that flag word.
    std::filesystem::path RecordOne(Bytes const& frame, double echoed = 50.0, unsigned flags = 0)
    {
        auto const file = stage.folder / "one.mcap";
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", Value(L"x5Range", 100.0));
        Ask(recorder, 7);
        recorder.Frame(stage.bow, true, frame);
        recorder.OnEcho(stage.bow, Value(L"x5Range", echoed), flags);
        recorder.Finish();
        return file;
    }
    void Ask(FlightRecorder& recorder, std::uint64_t number, operation::Result result = operation::Result::Agrees) const
    {
        operation::Action action;
        action.number = number;
        action.who = vordal::RequestOrigin::Terminal;
        action.sonar = stage.bow;
        action.asked = Value(L"x5Range", 50.0);
        recorder.OnActionBegins(action);
        action.result = result;
        recorder.OnActionStands(action);
    }
    ReplayCheckResult Check(std::filesystem::path const& file)
    {
        told.clear();
        RecordedSession session(file);
        return CheckReplay(session, {}, "FILE", QX5_PLUGIN_FILE,
                           [this](std::string const& line) { told.push_back(line); });
    }
    ScenarioExport Export(std::filesystem::path const& file, recording::RecordedRange const& range = {})
    {
        scenario.clear();
        RecordedSession session(file);
        return ExportScenario(session, range, file.string(), [this](std::string_view text) { scenario += text; });
    }
    /// What `qx5 scenario --check` says of it.
    int CheckScenario(std::string const& text)
    {
        std::istringstream in(text);
        std::ostringstream out;
        std::ostringstream err;
        int const code = RunScenarios({.files = {"-"}, .check = true, .plugin = QX5_PLUGIN_FILE}, in, out, err);
        said = out.str() + err.str();
        return code;
    }

    RecordedStage stage;
    Lines told;
    std::string scenario;
    std::string said;
};

TEST_F(Replayed, WhatLeavesTodayAsItDidThenIsNoDifference)
{
    auto const result = Check(RecordOne(RecordedRangeFrame()));
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(result.requests, 1U);
    EXPECT_EQ(result.frames, 1U);
    EXPECT_EQ(result.bytes, 96U);
    EXPECT_EQ(result.echoes, 1U);
    EXPECT_EQ(result.differences, 0U);
    EXPECT_THAT(result.notCompared, IsEmpty());
}

TEST_F(Replayed, AnAlteredByteIsToldFieldByField)
{
    auto const request = "2023-11-14T22:13:20.000000000Z  Bow  request 7 of terminal, x5Range: ";
    EXPECT_EQ(Check(RecordOne(RangeFrameWith(90, 0x40))).differences, 1U);
    EXPECT_THAT(told, ElementsAre(std::string(request) + "record 1003 range, ticket 1003 differs",
                                  "    @0  f32  x5Range: recorded 48, today 50"));
}

TEST_F(Replayed, AnEchoOfAnotherValueOrFlagWordIsADifference)
{
    EXPECT_EQ(Check(RecordOne(RecordedRangeFrame(), 51.0, 4)).differences, 1U);
    EXPECT_THAT(told, ElementsAre(HasSubstr(": the echo differs"), R"(    recorded [["x5Range","double",51.0]])",
                                  R"(    today    [["x5Range","double",50.0]])", "    flag word: recorded 4, today 0"));
}

TEST_F(Replayed, WhatLeftWithoutARequestAndWhatDidNotLeaveThenIsTold)
{
    // Two sonars: the last frame goes out after its connection came up again, and nobody asked for it.
    auto const result = Check(stage.RecordTwoSonars());
    EXPECT_EQ(result.differences, 1U);
    EXPECT_THAT(told,
                ElementsAre(HasSubstr("record 1003 range, ticket 1003: recorded, and today nothing of the kind")));

    auto const file = stage.folder / "missing.mcap";
    {
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", {});
        Ask(recorder, 1);
        recorder.Finish();
    }
    EXPECT_EQ(Check(file).differences, 2U);
    EXPECT_THAT(told,
                ElementsAre(HasSubstr("record 1003 range, ticket 1003: today, and nothing of the kind was recorded"),
                            HasSubstr(R"(the echo [["x5Range","double",50.0]]: today, and nothing)")));
}

TEST_F(Replayed, RequestsThatWereRefusedOrDidNotLeaveAreNamed)
{
    auto const file = stage.folder / "refused.mcap";
    {
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", {});
        Ask(recorder, 1, operation::Result::Refused);
        Ask(recorder, 2, operation::Result::NotSent);
        recorder.OnEcho(stage.bow, Value(L"x5Range", 50.0), 0);
        recorder.Finish();
    }
    auto const result = Check(file);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(result.requests, 1U);
    EXPECT_EQ(result.echoes, 1U);
    EXPECT_THAT(result.notCompared,
                ElementsAre(std::pair<std::string, std::uint64_t>("records that did not leave when it was recorded", 1),
                            std::pair<std::string, std::uint64_t>("requests that were refused", 1)));
}

TEST_F(Replayed, WhatTheSonarToldAndTheHostWroteCompletesRequestsAtItsPlace)
{
    auto const file = stage.folder / "completed.mcap";
    // Command 1035, two floats in radians: coverage 120 deg, steering as the tree holds it.
    auto const coverage = [](std::string_view steering) {
        auto payload = protocol::test::Bytes("92 0a 06 40");
        auto const more = protocol::test::Bytes(steering);
        payload.insert(payload.end(), more.begin(), more.end());
        return protocol::BuildRemoteControlRecord(1035, payload, protocol::OwnSonar, 0.0);
    };
    {
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", Value(L"x5RxSteeringAngle", 0.0));
        auto const ask = [&](std::uint64_t number, Bytes const& frame, double steering) {
            operation::Action action;
            action.number = number;
            action.sonar = stage.bow;
            action.asked = Value(L"x5CoverageAngle", 120.0);
            recorder.OnActionBegins(action);
            recorder.Frame(stage.bow, true, frame);
            auto echo = Value(L"x5CoverageAngle", 120.0);
            echo.Add(AttributeKey(L"x5RxSteeringAngle"), CVordalDouble(steering), 0);
            recorder.OnEcho(stage.bow, echo, 0);
        };
        ask(1, coverage("00 00 00 00"), 0.0);
        recorder.OnSonarTells(stage.bow, Value(L"x5RxSteeringAngle", 10.0));
        ask(2, coverage("c2 b8 32 3e"), 10.0);
        recorder.OnWritten(stage.bow, Value(L"x5RxSteeringAngle", -10.0));
        ask(3, coverage("c2 b8 32 be"), -10.0);
        recorder.Finish();
    }
    auto const result = Check(file);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(result.frames, 3U);
    EXPECT_EQ(Export(file).leftOut, "");
    EXPECT_EQ(CheckScenario(scenario), 0) << said;
}

TEST_F(Replayed, WhatNoRequestAsksForIsNamedAndItsBytesLookedAt)
{
    auto const file = stage.folder / "turns.mcap";
    auto ping = protocol::BuildRemoteControlRecord(1107, {}, {7125, 0}, 0.0);
    auto const echoes = protocol::BuildRemoteControlRecord(90020, Bytes{1, 0, 0, 0}, protocol::OwnSonar, 0.0);
    {
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", {});
        recorder.Frame(stage.bow, true, RecordedRangeFrame());
        Ask(recorder, 1);
        recorder.Frame(stage.bow, true, ping); // of another thread, in the middle of a request
        recorder.Frame(stage.bow, true, RecordedRangeFrame());
        recorder.Frame(stage.bow, true, echoes);
        recorder.OnEcho(stage.bow, Value(L"x5Range", 50.0), 0);
        ping[72] = 1; // of the tracking number, which is 0
        recorder.Frame(stage.bow, true, ping);
        recorder.Finish();
    }
    auto const result = Check(file);
    EXPECT_EQ(result.frames, 1U);
    EXPECT_EQ(result.differences, 1U);
    EXPECT_THAT(told,
                ElementsAre(HasSubstr("record 1107 single ping, ticket 1107: today's program would build other")));
    ASSERT_THAT(result.notCompared, SizeIs(3));
    EXPECT_THAT(result.notCompared[0].first, HasSubstr("commands of sonars in turn (1107, 1004)"));
    EXPECT_EQ(result.notCompared[0].second, 1U);
    EXPECT_EQ(result.notCompared[1].first, "records that left before the first request");
    EXPECT_THAT(result.notCompared[2].first, HasSubstr("requests for echoes (90020)"));
    EXPECT_EQ(Export(file).leftOut, "1 record that no request of the piece asked for, 2 commands of sonars in turn, "
                                    "1 request for echoes");
    EXPECT_EQ(CheckScenario(scenario), 0) << said;
}

TEST_F(Replayed, SonarsThatShareAConnectionAreComparedOnIt)
{
    auto const file = stage.folder / "shared.mcap";
    auto const settings = [](char const* name) {
        return recording::RecordedSettings{name, {}, recording::RecordedHost{"{guid}", "both", true, true}};
    };
    {
        recording::SessionWriter writer(file, {});
        std::uint64_t time = stageStart;
        auto const put = [&](recording::RecordedKind const& kind, char const* sonar,
                             recording::RecordedContent const& content) {
            ++time;
            writer.Write(writer.ChannelOf(kind, sonar), {time, time}, content);
        };
        auto const frame = RecordedRangeFrame();
        put(recording::kinds::Settings, "1.78.1.1", settings("Port"));
        put(recording::kinds::Settings, "1.78.2.1", settings("Starboard"));
        put(recording::kinds::Requests, "1.78.2.1", recording::RecordedRequest{1, "view", Value(L"x5Range", 50.0)});
        // Who records a connection may know it by its first sonar.
        put(recording::kinds::Sent, "1.78.1.1", recording::RecordedFrame{true, frame});
        put(recording::kinds::Attributes, "1.78.2.1", recording::RecordedAttributes{true, Value(L"x5Range", 50.0), 0U});
        // The list of contacts bears the application's GUID.
        put(recording::kinds::Requests, "1.78.1.1",
            recording::RecordedRequest{2, "view", Value(L"SendTargetList", 1.0)});
        writer.File().Finish();
    }
    auto const result = Check(file);
    EXPECT_EQ(result.frames, 1U);
    EXPECT_EQ(result.echoes, 1U);
    ASSERT_THAT(told, ElementsAre(HasSubstr("3004"))) << "was not recorded";
    Export(file);
    EXPECT_THAT(scenario, AllOf(HasSubstr(R"("app": {"guid":"{guid}","mainWindow":true,"operator":true})"),
                                HasSubstr(R"("portName":"both")"),
                                HasSubstr(R"("enumerator":-1,"of":[1,78,2,1]},{"echo":[["x5Range","double",50.0]],)"
                                          R"("flags":0,"of":[1,78,2,1]}]})")));
}

TEST_F(Replayed, ARecordingWithoutSettingsOrRequestsIsRefused)
{
    auto const file = stage.folder / "bare.mcap";
    {
        FlightRecorder recorder(file, stage.Options());
        Ask(recorder, 1);
        recorder.Finish();
    }
    EXPECT_THAT([&] { Check(file); }, ::testing::ThrowsMessage<recording::RecordingError>(HasSubstr(
                                          "FILE: there are no settings of the sonar 1.78.1.1 before the first")));
    auto const quiet = stage.folder / "quiet.mcap";
    {
        FlightRecorder recorder(quiet, stage.Options());
        recorder.Begin(stage.bow, "Bow", {});
        recorder.Finish();
    }
    EXPECT_THAT([&] { Check(quiet); },
                ::testing::ThrowsMessage<recording::RecordingError>(HasSubstr("FILE: nothing is asked for in it")));
}

TEST_F(Replayed, APieceIsAScenarioByteForByte)
{
    auto const done = Export(stage.RecordTwoSonars());
    EXPECT_EQ(scenario, R"({
  "name": "two.mcap, from 2023-11-14T22:13:20.000000000Z",
  "clock": 1.7e+09,
  "vessels": [{"number":1}],
  "devices": [
    {"id":[1,78,1,1],"kind":"sonar","name":"Bow","attributes":[["x5Range","double",100.0],["x5Gain","double",10.0]]},
    {"id":[1,78,2,1],"kind":"sonar","name":"Stern","attributes":[["x5Range","double",30.0]]}
  ],
  "steps": [
    {"apply":true},
    {"apply":true,"device":[1,78,2,1]},
    {"connected":true},
    {"request":[["x5Range","double",50.0]],"expect":{"of":["remote","ask","record","through","raw","echo"],"events":[{"remote":1003,"payload":"00004842","device":0,"enumerator":-1},{"echo":[["x5Range","double",50.0]],"flags":0}]}},
    {"attributes":[["x5Range","double",49.5]]},
    {"connected":true}
  ]
}
)");
    EXPECT_EQ(done.requests, 1U);
    EXPECT_EQ(done.events, 2U);
    EXPECT_EQ(done.leftOut, "1 mark, 1 loss of a connection, 1 record that no request of the piece asked for");
    EXPECT_EQ(CheckScenario(scenario), 0) << said;
    EXPECT_THAT(said, HasSubstr("matches (1 of 6 steps checked)"));
}

TEST_F(Replayed, AnotherByteInTheScenarioIsFound)
{
    Export(RecordOne(RecordedRangeFrame()));
    EXPECT_EQ(CheckScenario(scenario), 0) << said;
    auto const at = scenario.find("00004842");
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(CheckScenario(scenario.replace(at, 8, "00004042")), 1);
    EXPECT_THAT(said, HasSubstr("byte 2: expected 40, got 48"));
}

TEST_F(Replayed, APieceBeginsWithWhatTheSonarsThenHad)
{
    auto const file = stage.RecordTwoSonars();
    // From half a second after the request on there is none.
    EXPECT_THAT([&] { Export(file, {.from = stageStart + 1'500'000'000}); },
                ::testing::ThrowsMessage<recording::RecordingError>(HasSubstr("nothing is asked for")));
    EXPECT_EQ(scenario, "");
    EXPECT_EQ(Export(file, {.from = stageStart + 500'000'000, .to = stageStart + 1'500'000'000}).leftOut, "");
    EXPECT_THAT(scenario, AllOf(HasSubstr(R"("attributes":[["x5Range","double",100.0],["x5Gain","double",10.0]])"),
                                HasSubstr(R"("remote":1003)"), ::testing::Not(HasSubstr("connected"))));
    EXPECT_EQ(CheckScenario(scenario), 0) << said;
}

/// Connects to 127.0.0.1 and reads frames.
class Reader
{
public:
    explicit Reader(std::uint16_t port) : m_socket(m_context)
    {
        m_socket.connect({asio::ip::address_v4::loopback(), port});
    }
    /// So many bytes.
    Bytes Read(std::size_t size)
    {
        Bytes bytes(size);
        asio::read(m_socket, asio::buffer(bytes));
        return bytes;
    }
    /// A whole frame.
    Bytes Frame()
    {
        auto frame = Read(12);
        auto const more = Read(frame[8] + frame[9] * 256U - 12U);
        frame.insert(frame.end(), more.begin(), more.end());
        return frame;
    }
    bool IsAtEnd()
    {
        std::array<char, 1> byte{};
        asio::error_code error;
        return asio::read(m_socket, asio::buffer(byte), error) == 0 && error;
    }

private:
    asio::io_context m_context;
    asio::ip::tcp::socket m_socket;
};

Bytes TreeFrame(CAttributeMap const& tree)
{
    return protocol::BuildFrame(90010, {7125, 0}, 1'700'000'000.0, vordal::EncodeTree(tree, protocol::LinkTree));
}

TEST_F(Replayed, ASonarTellsWhatItToldToEachHost)
{
    auto const file = stage.folder / "told.mcap";
    auto const first = TreeFrame(Value(L"x5Range", 100.0));
    auto const second = TreeFrame(Value(L"x5Range", 50.0));
    {
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", Value(L"x5Gain", 3.0));
        recorder.Connection(stage.bow, {vordal::LinkState::Connected, "", std::chrono::milliseconds(0)});
        recorder.Frame(stage.bow, false, first);
        stage.At(1000);
        recorder.Frame(stage.bow, false, second);
        recorder.Frame(stage.stern, false, RecordedRangeFrame());
        recorder.Finish();
    }
    std::promise<std::uint16_t> port;
    std::promise<void> go;
    std::vector<std::uint64_t> waits;
    SonarReplayOptions options;
    options.speed = 10.0;
    options.clock = {[] { return std::uint64_t{0}; },
                     [&](std::uint64_t until) {
                         waits.push_back(until);
                         go.get_future().wait();
                     }};
    options.listening = [&](std::uint16_t number) { port.set_value(number); };
    auto replay = std::async(std::launch::async, [&] {
        RecordedSession session(file);
        return ReplayAsSonar(session, {.sonar = "1.78.1.1"}, "FILE", options);
    });
    auto const number = port.get_future().get();
    Reader early(number);
    EXPECT_EQ(early.Frame(), first) << "byte for byte, the time stamp as it was";
    // One that comes later is told what was told so far, by the unit that told it.
    Reader late(number);
    EXPECT_EQ(late.Frame(), first);
    go.set_value();
    EXPECT_EQ(early.Frame(), second);
    EXPECT_EQ(late.Frame(), second);
    auto const result = replay.get();
    EXPECT_EQ(result.frames, 2U);
    EXPECT_EQ(result.hosts, 2U);
    EXPECT_THAT(waits, ElementsAre(100'000'000U)) << "a second, ten times as fast";
    EXPECT_TRUE(early.IsAtEnd());
    EXPECT_TRUE(late.IsAtEnd());
}

TEST_F(Replayed, APartFromTheMiddleBeginsWithTheSonarsAttributes)
{
    auto const file = stage.folder / "middle.mcap";
    {
        FlightRecorder recorder(file, stage.Options());
        recorder.Begin(stage.bow, "Bow", Value(L"x5Gain", 3.0));
        recorder.Frame(stage.bow, false, TreeFrame(Value(L"x5Range", 50.0)));
        recorder.Finish();
    }
    std::promise<std::uint16_t> port;
    SonarReplayOptions options;
    options.listening = [&](std::uint16_t number) { port.set_value(number); };
    int steps = 0;
    options.step = [&] { return ++steps <= 3; };
    options.loop = true;
    auto replay = std::async(std::launch::async, [&] {
        RecordedSession session(file);
        return ReplayAsSonar(session, {.sonar = "1.78.1.1"}, "FILE", options);
    });
    Reader host(port.get_future().get());
    // Of the sonar as a whole: device 0, enumerator -1.
    auto const before = protocol::BuildFrame(90010, {0, -1}, 1'700'000'000.0,
                                             vordal::EncodeTree(Value(L"x5Gain", 3.0), protocol::LinkTree));
    EXPECT_EQ(host.Frame(), before);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(host.Frame(), TreeFrame(Value(L"x5Range", 50.0))) << "again and again";
    }
    EXPECT_EQ(replay.get().frames, 3U);

    RecordedSession session(file);
    EXPECT_THAT([&] { ReplayAsSonar(session, {.sonar = "1.78.2.1"}, "FILE", {}); },
                ::testing::ThrowsMessage<recording::RecordingError>(HasSubstr("the sonar 1.78.2.1 tells nothing")));
}

TEST_F(Replayed, APortThatIsTakenIsSaid)
{
    asio::io_context context;
    asio::ip::tcp::acceptor const taken(context, {asio::ip::address_v4::loopback(), 0});
    RecordedSession session(stage.RecordTwoSonars());
    SonarReplayOptions options;
    options.port = taken.local_endpoint().port();
    EXPECT_THAT([&] { ReplayAsSonar(session, {.sonar = "1.78.1.1"}, "FILE", options); },
                ::testing::ThrowsMessage<std::runtime_error>(
                    HasSubstr(std::to_string(options.port) + " on 127.0.0.1 is in use")));
}

} // namespace
} // namespace qx5::test
