// What is read of a recording, told of it, cut out of it and put into it.
#include "recorded_stage.h"
#include "recording/platform/recording_file.h"
#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/recording_text.h"
#include "recording/recording_time.h"
#include "recording/recording_tools.h"
#include "recording/session_writer.h"

#include "json/json_path.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace qx5::test {
namespace {

using namespace recording;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using Lines = std::vector<std::string>;

constexpr std::uint64_t second = 1'000'000'000;

Lines LinesOf(std::filesystem::path const& file, RecordedRange const& range = {}, std::string_view filter = {},
              vordal::RecordFilter::Way way = vordal::RecordFilter::Way::Both)
{
    RecordedSession session(file);
    RecordingText text(session.Sonars());
    Lines lines;
    vordal::RecordFilter const words(filter, way);
    session.ForEach(range, [&](RecordedMessage const& message) {
        if (auto line = text.PlainLine(message, words); !line.empty()) {
            // The day and the hour are the same in all.
            lines.push_back(line.substr(std::string_view("2023-11-14T22:").size()));
        }
        return true;
    });
    return lines;
}

std::string Content(std::filesystem::path const& file)
{
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

template <typename Does>
std::string Complaint(Does const& does)
{
    try {
        does();
        return "";
    } catch (RecordingError const& error) {
        return error.what();
    }
}

double RangeIn(CAttributeMap const& tree)
{
    double value = 0.0;
    tree.Find(AttributeKey(L"x5Range"), 0).Value().Get(value);
    return value;
}

class Recorded : public ::testing::Test
{
protected:
    RecordedStage stage;
    std::filesystem::path const file = stage.RecordTwoSonars();
    std::filesystem::path const out = stage.folder / "out.mcap";
};

TEST(RecordingTime, IsWrittenAndReadToTheNanosecond)
{
    EXPECT_EQ(IsoTime(0), "1970-01-01T00:00:00.000000000Z");
    EXPECT_EQ(IsoTime(1'700'000'000'000'000'001), "2023-11-14T22:13:20.000000001Z");
    EXPECT_EQ(ReadMoment("2023-11-14T22:13:20.000000001Z", 5), 1'700'000'000'000'000'001U);
    EXPECT_EQ(ReadMoment("2023-11-14T22:13:20Z", 5), 1'700'000'000'000'000'000U);
    EXPECT_EQ(ReadMoment("2023-11-14T23:43:20.5+01:30", 5), 1'700'000'000'500'000'000U);
    EXPECT_EQ(ReadMoment("2023-11-14T17:13:20-05:00", 5), 1'700'000'000'000'000'000U);
    EXPECT_EQ(ReadMoment("2024-02-29T00:00:00Z", 5), 1'709'164'800'000'000'000U);
    EXPECT_EQ(ReadMoment("+0", 5), 5U);
    EXPECT_EQ(ReadMoment("+12.5", 5), 12'500'000'005U);
    for (char const* const wrong :
         {"", "+", "+-1", "+1e3", "+1.", "+99999999999999999999", "12.5", "2023-11-14", "2023-11-14T22:13:20",
          "2023-11-14 22:13:20Z", "2023-02-29T00:00:00Z", "2023-11-14T24:00:00Z", "2023-11-14T22:13:20.Z",
          "2023-11-14T22:13:20.0000000001Z", "2023-11-14T22:13:20Zulu", "2023-11-14T22:13:20+1", "1969-12-31T23:59:59Z",
          "2554-12-31T23:59:59Z", "1970-01-01T00:00:00+01:00"}) {
        EXPECT_EQ(ReadMoment(wrong, 5), std::nullopt) << wrong;
    }
}

TEST_F(Recorded, TellsWhatItHoldsFromItsIndexAlone)
{
    // Not one message can be read any more.
    std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
    auto const chunkAt = Content(file).find("/sonar/1.78.1.1/settings");
    stream.seekp(static_cast<std::streamoff>(chunkAt));
    stream.put('#');
    stream.close();
    RecordedSession session(file);
    auto const summary = session.Summary();
    EXPECT_EQ(summary.start, stageStart);
    EXPECT_EQ(summary.end, stageStart + 5 * second);
    EXPECT_EQ(summary.records, 4U);
    EXPECT_EQ(summary.requests, 1U);
    EXPECT_EQ(summary.messages, 14U);
    EXPECT_THAT(summary.sonars, ElementsAre(RecordedSonar{"1.78.1.1", "Bow"}, RecordedSonar{"1.78.2.1", "Stern"}));
    EXPECT_TRUE(summary.isComplete);
    auto const info = nlohmann::json::parse(InfoJson(summary));
    EXPECT_EQ(info, nlohmann::json::parse(R"({"start": "2023-11-14T22:13:20.000000000Z",
        "end": "2023-11-14T22:13:25.000000000Z", "records": 4, "requests": 1, "complete": true,
        "sonars": [{"id": "1.78.1.1", "name": "Bow"}, {"id": "1.78.2.1", "name": "Stern"}]})"));
    EXPECT_EQ(InfoText(summary),
              "from 2023-11-14T22:13:20.000000000Z\nto   2023-11-14T22:13:25.000000000Z, 5.000 s\n"
              "4 records, 1 request, 14 messages in all\nsonar 1.78.1.1  Bow\nsonar 1.78.2.1  Stern\n"
              "recorded by version 0.1\nclosed in order\n");
}

TEST_F(Recorded, TellsTheSameOfAFileWithoutAnEnd)
{
    std::filesystem::resize_file(file, std::filesystem::file_size(file) - 20);
    RecordedSession session(file);
    auto const summary = session.Summary();
    EXPECT_EQ(summary.start, stageStart);
    EXPECT_EQ(summary.end, stageStart + 5 * second);
    EXPECT_EQ(summary.records, 4U);
    EXPECT_EQ(summary.messages, 14U);
    EXPECT_EQ(summary.sonars.size(), 2U);
    EXPECT_FALSE(summary.isComplete);
}

TEST_F(Recorded, ALineIsAMessage)
{
    EXPECT_THAT(
        LinesOf(file),
        ElementsAre(
            "13:20.000000000Z  settings  Bow  x5Range = 100 m, x5Gain = 10 dB",
            "13:20.000000000Z  settings  Stern  x5Range = 30 m", "13:20.000000000Z  connection  Bow  connected",
            "13:21.000000000Z  request 7  Bow  terminal: x5Range = 50 m",
            "13:21.000000000Z  out  Bow  1003 range  x5Range = 50 m", "13:21.000000000Z  echo  Bow  x5Range = 50 m",
            "13:22.000000000Z  in  Bow  1003 range  x5Range = 50 m", "13:22.000000000Z  told  Bow  x5Range = 49.5 m",
            "13:22.000000000Z  result 7  Bow  differs: asked 50 m, the sonar has 49.5 m",
            "13:23.000000000Z  mark  -  a wreck", "13:24.000000000Z  in  Stern  10000 unknown  3000 bytes",
            "13:25.000000000Z  connection  Bow  lost: reset", "13:25.000000000Z  connection  Bow  connected",
            "13:25.000000000Z  out  Bow  1003 range  x5Range = 50 m"));
}

TEST_F(Recorded, WordsSonarAndTimeChooseLines)
{
    using Way = vordal::RecordFilter::Way;
    EXPECT_THAT(LinesOf(file, {}, "RANGE -gain -told -echo -terminal -stern 1003").size(), 3U);
    EXPECT_THAT(LinesOf(file, {}, "", Way::In).size(), 2U);
    EXPECT_THAT(LinesOf(file, {}, "1003 bow", Way::Out),
                ElementsAre("13:21.000000000Z  out  Bow  1003 range  x5Range = 50 m",
                            "13:25.000000000Z  out  Bow  1003 range  x5Range = 50 m"));
    EXPECT_THAT(LinesOf(file, {}, "wreck").size(), 1U);
    // What the line does not show is found, too.
    EXPECT_THAT(LinesOf(file, {}, "ticket").size(), 3U);
    EXPECT_THAT(LinesOf(file, {.sonar = "1.78.2.1"}),
                ElementsAre("13:20.000000000Z  settings  Stern  x5Range = 30 m", "13:23.000000000Z  mark  -  a wreck",
                            "13:24.000000000Z  in  Stern  10000 unknown  3000 bytes"));
    EXPECT_EQ(LinesOf(file, {.from = stageStart + 2 * second, .to = stageStart + 3 * second}).size(), 4U);
    EXPECT_EQ(LinesOf(file, {.from = stageStart + 2 * second + 1, .to = stageStart + 3 * second}).size(), 1U);
}

TEST_F(Recorded, ALineOfJsonHoldsAll)
{
    RecordedSession session(file);
    RecordingText text(session.Sonars());
    std::vector<nlohmann::json> lines;
    session.ForEach({}, [&](RecordedMessage const& message) {
        lines.push_back(nlohmann::json::parse(text.JsonLine(message)));
        return true;
    });
    ASSERT_EQ(lines.size(), 14U);
    EXPECT_EQ(lines[3], nlohmann::json::parse(R"({"time": "2023-11-14T22:13:21.000000000Z", "kind": "requests",
        "sonar": "1.78.1.1", "number": 7, "who": "terminal", "request": [["x5Range", "double", 50.0]]})"));
    EXPECT_EQ(lines[4]["kind"], "sent");
    EXPECT_EQ(lines[4]["number"], 1003);
    EXPECT_EQ(lines[4]["record"], "range");
    EXPECT_EQ(lines[4]["fields"], "x5Range = 50 m");
    EXPECT_EQ(lines[4]["bytes"].get<std::string>().substr(0, 24), "05003c00ffff000060000000");
    EXPECT_EQ(lines[9], nlohmann::json::parse(R"({"time": "2023-11-14T22:13:23.000000000Z", "kind": "marks",
        "text": "a wreck"})"));
}

TEST_F(Recorded, KnowsTheSettingsOfAnyTime)
{
    RecordedSession session(file);
    EXPECT_THAT(session.SettingsBefore(0), IsEmpty());
    EXPECT_THAT(session.SettingsBefore(stageStart), IsEmpty());
    auto const before = [&](std::uint64_t milliseconds) {
        return session.SettingsBefore(stageStart + milliseconds * 1'000'000);
    };
    EXPECT_EQ(RangeIn(before(500)["1.78.1.1"].tree), 100.0);
    EXPECT_EQ(RangeIn(before(1500)["1.78.1.1"].tree), 50.0);
    auto last = before(9000);
    EXPECT_EQ(RangeIn(last["1.78.1.1"].tree), 49.5);
    EXPECT_EQ(last["1.78.1.1"].tree.Count(), 2);
    EXPECT_EQ(RangeIn(last["1.78.2.1"].tree), 30.0);
    EXPECT_EQ(last["1.78.2.1"].name, "Stern");
    EXPECT_EQ(session.FindSonar("Stern"), "1.78.2.1");
    EXPECT_EQ(session.FindSonar("1.78.1.1"), "1.78.1.1");
    EXPECT_EQ(session.FindSonar("Aft"), std::nullopt);
}

TEST_F(Recorded, APartBeginsWithTheSettingsAsTheyStood)
{
    Cut(file, out, {.from = stageStart + 1500 * (second / 1000), .to = stageStart + 3 * second, .sonar = "1.78.1.1"});
    EXPECT_THAT(LinesOf(out), ElementsAre("13:21.500000000Z  settings  Bow  x5Range = 50 m, x5Gain = 10 dB",
                                          "13:22.000000000Z  in  Bow  1003 range  x5Range = 50 m",
                                          "13:22.000000000Z  told  Bow  x5Range = 49.5 m",
                                          "13:22.000000000Z  result 7  Bow  differs: asked 50 m, the sonar has 49.5 m",
                                          "13:23.000000000Z  mark  -  a wreck"));
    auto const summary = RecordedSession(out).Summary();
    EXPECT_TRUE(summary.isComplete);
    EXPECT_THAT(summary.sonars, ElementsAre(RecordedSonar{"1.78.1.1", "Bow"}));
    EXPECT_EQ(summary.program, (McapTexts{{"version", "0.1"}}));
    auto const whole = stage.folder / "whole.mcap";
    Cut(file, whole, {});
    EXPECT_EQ(LinesOf(whole), LinesOf(file));
}

TEST_F(Recorded, ACutWritesOverNothingAndLeavesNothingBehind)
{
    std::ofstream(out) << "mine";
    EXPECT_THAT(Complaint([&] { Cut(file, out, {}); }), HasSubstr("out.mcap: nothing is written over a file"));
    EXPECT_EQ(Content(out), "mine");
    auto const none = stage.folder / "none.mcap";
    EXPECT_THAT(Complaint([&] { Cut(file, none, {.from = stageStart + 60 * second}); }),
                HasSubstr("two.mcap: there is nothing in that time"));
    EXPECT_FALSE(std::filesystem::exists(none));
}

TEST_F(Recorded, AMarkStandsAtItsTime)
{
    auto expected = LinesOf(file);
    expected.insert(expected.begin() + 9, "13:22.500000000Z  mark  -  what was \"that\"?");
    AddMark(file, "what was \"that\"?", stageStart + 2500 * (second / 1000));
    EXPECT_EQ(LinesOf(file), expected);
    EXPECT_TRUE(Check(file).isWhole);
    // The first and the last moment are within it, what lies beyond is not.
    AddMark(file, "first", stageStart);
    AddMark(file, "last", stageStart + 5 * second);
    EXPECT_EQ(LinesOf(file)[3], "13:20.000000000Z  mark  -  first");
    EXPECT_EQ(LinesOf(file).back(), "13:25.000000000Z  mark  -  last");
    auto const before = Content(file);
    EXPECT_THAT(Complaint([&] { AddMark(file, "early", stageStart - 1); }), HasSubstr("is not within it, from 2023"));
    EXPECT_THAT(Complaint([&] { AddMark(file, "late", stageStart + 5 * second + 1); }), HasSubstr("is not within it"));
    EXPECT_EQ(Content(file), before);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(stage.folder), {}), 1);
}

TEST_F(Recorded, AMarkMakesNoFileWholeThatIsNot)
{
    std::filesystem::resize_file(file, Content(file).find(std::string("\x0f\x04\0\0\0\0\0\0\0", 9)));
    AddMark(file, "after the power went", stageStart + 5 * second);
    EXPECT_EQ(LinesOf(file).size(), 15U);
    EXPECT_FALSE(RecordedSession(file).Summary().isComplete);
    std::ofstream(file, std::ios::app) << "half a";
    auto const before = Content(file);
    EXPECT_THAT(Complaint([&] { AddMark(file, "again", stageStart + 5 * second); }), HasSubstr("is damaged"));
    EXPECT_EQ(Content(file), before);
}

TEST_F(Recorded, AFileThatIsBeingRecordedTakesNoMark)
{
    auto const growing = stage.folder / "growing.mcap";
    FlightRecorder recorder(growing, stage.Options());
    EXPECT_THAT(Complaint([&] { AddMark(growing, "now", stageStart); }), HasSubstr("growing.mcap: is being recorded"));
    recorder.Finish();
    EXPECT_THAT(Complaint([&] { AddMark(stage.folder / "no.mcap", "now", stageStart); }),
                HasSubstr("no.mcap: cannot be read: No such file"));
}

TEST_F(Recorded, ACheckTellsWhatIsDamagedOrLost)
{
    auto const whole = Check(file);
    EXPECT_TRUE(whole.isWhole);
    EXPECT_THAT(whole.line, HasSubstr("two.mcap: whole, 14 messages read"));
    auto const good = Content(file);
    auto const write = [&](std::string const& content) { std::ofstream(file, std::ios::binary) << content; };

    write(good.substr(0, good.size() - 1));
    auto const cut = Check(file);
    EXPECT_FALSE(cut.isWhole);
    EXPECT_THAT(cut.line, HasSubstr("14 messages read; it was not closed in order, or its index is damaged"));

    auto flipped = good;
    flipped[flipped.find("a wreck")] = 'A';
    write(flipped);
    auto const damaged = Check(file);
    EXPECT_FALSE(damaged.isWhole);
    EXPECT_THAT(damaged.line, HasSubstr("0 messages read; 1 chunk of 1 damaged and left out"));

    auto options = stage.Options();
    options.greatestWaiting = 700;
    options.period = std::chrono::hours(1);
    FlightRecorder recorder(out, options);
    recorder.Mark("one");
    recorder.Mark("two");
    recorder.Mark("three");
    recorder.Finish();
    auto const lossy = Check(out);
    EXPECT_FALSE(lossy.isWhole);
    EXPECT_THAT(lossy.line, HasSubstr("3 messages read; 1 message found no room while it was recorded"));
}

TEST_F(Recorded, WhatIsNotWhatItsKindSaysIsPassedOverAndCounted)
{
    {
        SessionWriter writer(out, {});
        auto const requests = writer.ChannelOf(kinds::Requests, "1.78.1.1");
        auto const write = [&](std::uint16_t channel, std::string_view text) {
            writer.File().Write(channel, {stageStart, stageStart},
                                std::span(reinterpret_cast<unsigned char const*>(text.data()), text.size()));
        };
        write(requests, "no JSON");
        write(requests, R"({"number": -1, "who": "x", "request": []})");
        write(requests, R"({"number": 1, "who": "x", "request": [["key", "nonsense", 1]]})");
        write(requests, R"({"number": 2, "who": "x", "request": [["key", "int", 1]], "more": "of a newer program"})");
        write(writer.ChannelOf(kinds::Attributes, "1.78.1.1"), R"({"from": "elsewhere", "tree": []})");
        write(writer.ChannelLike({0, 0, "/weather", "json", {}}, nullptr), "{}");
        write(writer.ChannelLike({0, 0, "/sonar/../marks", "json", {}}, nullptr), R"({"text": "x"})");
        writer.File().Finish();
    }
    RecordedSession session(out);
    std::vector<std::uint64_t> numbers;
    session.ForEach({}, [&](RecordedMessage const& message) {
        numbers.push_back(std::get<RecordedRequest>(message.content).number);
        return true;
    });
    EXPECT_THAT(numbers, ElementsAre(2U));
    EXPECT_EQ(session.Unreadable(), 4U);
    EXPECT_THAT(session.FirstUnreadable(), HasSubstr("message 0 of \"/sonar/1.78.1.1/requests\": "));
    EXPECT_THAT(Check(out).line, HasSubstr("4 messages not what their kind says, the first: message 0 of"));
}

TEST_F(Recorded, TheManualTellsEveryKind)
{
    auto const manual = Content(QX5_SOURCE_DIR "/docs/manual/captures.md");
    for (RecordedKind const* const kind : RecordedKinds) {
        auto row = "\n| `" + std::string(kind->name) + "` | " + std::string(kind->meaning) + " | ";
        std::string members;
        if (!kind->schema.empty()) {
            auto const schema = nlohmann::ordered_json::parse(kind->schema);
            for (auto const& member : schema["properties"].items()) {
                members += (members.empty() ? "" : ", ") + member.key();
            }
        }
        row += members.empty() ? "bytes |\n" : "`" + members + "` |\n";
        EXPECT_NE(manual.find(row), std::string::npos) << row;
    }
}

TEST_F(Recorded, WordsAreFoundWhateverTheirCaseInAnyAlphabet)
{
    {
        FlightRecorder recorder(out, stage.Options());
        recorder.Mark("\u00c4rger am Riff \u0420\u0418\u0424");
        recorder.Finish();
    }
    EXPECT_EQ(LinesOf(out, {}, "\u00e4RGER \u0440\u0438\u0444").size(), 1U);
    EXPECT_EQ(LinesOf(out, {}, "-\u00e4rger").size(), 0U);
    EXPECT_EQ(LinesOf(out, {}, "arger").size(), 0U);
}

TEST(RecordedContents, WhatEarlierVersionsDoNotTellIsNotThere)
{
    using recording::ReadContent;
    auto const attributes = [](std::string_view text) {
        return std::get<recording::RecordedAttributes>(ReadContent(kinds::Attributes, text)).flags;
    };
    EXPECT_EQ(attributes(R"({"from":"echo","tree":[]})"), std::nullopt);
    EXPECT_EQ(attributes(R"({"from":"echo","tree":[],"flags":4294967295})"), 4294967295U);
    EXPECT_THROW(attributes(R"({"from":"echo","tree":[],"flags":-1})"), InvalidDocument);

    auto const settings = [](std::string_view text) {
        return std::get<recording::RecordedSettings>(ReadContent(kinds::Settings, text)).host;
    };
    EXPECT_EQ(settings(R"({"name":"Bow","tree":[]})"), std::nullopt);
    std::string const told =
        R"({"name":"Bow","tree":[],"host":{"guid":"{1}","port":"port-1","mainWindow":true,"operator":false}})";
    auto const host = settings(told);
    ASSERT_TRUE(host);
    EXPECT_EQ(host->guid, "{1}");
    EXPECT_EQ(host->port, "port-1");
    EXPECT_TRUE(host->hasMainWindow);
    EXPECT_FALSE(host->isOperator);
    EXPECT_EQ(WriteJson(recording::WriteContent(ReadContent(kinds::Settings, told))), told);
    EXPECT_THROW(settings(R"({"name":"Bow","tree":[],"host":{"guid":"{1}"}})"), InvalidDocument);
}

TEST_F(Recorded, WhatTheHostWroteIsInTheSettingsFromThereOn)
{
    {
        stage.At(0);
        FlightRecorder recorder(out, stage.Options());
        recorder.Begin(stage.bow, "Bow", Value(L"x5Range", 100.0));
        stage.At(1000);
        recorder.OnWritten(stage.bow, Value(L"x5Range", 30.0));
        recorder.Finish();
    }
    RecordedSession session(out);
    auto const range = [&](std::uint64_t time) {
        double value = 0.0;
        session.SettingsBefore(time).at("1.78.1.1").tree.FindValue(AttributeKey(L"x5Range")).Get(value);
        return value;
    };
    EXPECT_EQ(range(stageStart + 1'000'000'000), 100.0);
    EXPECT_EQ(range(stageStart + 1'000'000'001), 30.0);
    EXPECT_THAT(LinesOf(out, {}, "written"), ElementsAre("13:21.000000000Z  written  Bow  x5Range = 30 m"));
}

TEST_F(Recorded, ANameThatIsNoTextSpoilsNoDocument)
{
    {
        SessionWriter writer(out, {});
        writer.Write(writer.ChannelOf(kinds::Settings, "1.78.1.1", "B\xffow"), {stageStart, stageStart},
                     RecordedSettings{"Bow", {}});
        writer.File().Finish();
    }
    auto const info = nlohmann::json::parse(InfoJson(RecordedSession(out).Summary()));
    EXPECT_EQ(info["sonars"][0]["name"], "B\ufffdow");
}

TEST_F(Recorded, NoLineSpeaksToTheTerminal)
{
    {
        FlightRecorder recorder(out, stage.Options());
        recorder.Begin(stage.bow, "B\x1b[2Jow", {});
        recorder.Mark("two\nlines \xc2\x9b");
        recorder.Finish();
    }
    EXPECT_THAT(LinesOf(out),
                ElementsAre("13:20.000000000Z  settings  B [2Jow", "13:20.000000000Z  mark  -  two lines  "));
}

} // namespace
} // namespace qx5::test
