// The flight recorder: what it writes of what, when, and what it does when there is no room.
#include "recording/flight_recorder.h"
#include "recording/mcap_reader.h"
#include "recording/recorded_session.h"
#include "recording/recording_error.h"
#include "recording/table_export.h"

#include "tests/support/temporary_folder.h"

#include <VordalAttributesR/CVordalType.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <limits>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace qx5::test {
namespace {

using recording::FlightRecorder;
using recording::McapChannel;
using recording::McapMessage;
using recording::McapReader;
using recording::RecorderOptions;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Lines = std::vector<std::string>;

/// "TOPIC LOG PUBLISH DATA" of each message.
Lines MessagesIn(std::filesystem::path const& file)
{
    McapReader reader(file);
    Lines lines;
    reader.ForEach([&](McapChannel const& channel, McapMessage const& message) {
        lines.push_back(channel.topic + ' ' + std::to_string(message.logTime) + ' ' +
                        std::to_string(message.publishTime) + ' ' +
                        std::string(message.data.begin(), message.data.end()));
        return true;
    });
    return lines;
}

CAttributeMap Range(double metres)
{
    CAttributeMap tree;
    tree.Add(L"x5Range", CVordalDouble(metres), 0);
    return tree;
}

std::span<unsigned char const> BytesOf(std::string_view text)
{
    return {reinterpret_cast<unsigned char const*>(text.data()), text.size()};
}

class Flight : public ::testing::Test
{
protected:
    RecorderOptions Options()
    {
        RecorderOptions options;
        options.program = {{"version", "0.1"}, {"commit", "abc"}};
        options.utc = [this] { return utc.load(); };
        options.steady = [this] { return steady.fetch_add(1); };
        options.tell = [this](std::string const& line) { told.push_back(line); };
        return options;
    }

    TemporaryFolder const folder;
    std::filesystem::path const file = folder / "flight.mcap";
    CDataId const bow{1, 78, 1, 1};
    std::atomic<std::uint64_t> utc{1'000'000};
    std::atomic<std::uint64_t> steady{500};
    Lines told; ///< by the recorder's thread; to be read when that has ended
};

TEST_F(Flight, EachKindIsAMessageOfItsTopic)
{
    {
        FlightRecorder recorder(file, Options());
        recorder.Begin(bow, "Bow", Range(100.0));
        recorder.Connection(bow, {vordal::LinkState::Connected, "", std::chrono::milliseconds(0)});
        operation::Action action;
        action.number = 7;
        action.who = vordal::RequestOrigin::Terminal;
        action.sonar = bow;
        action.asked = Range(50.0);
        recorder.OnActionBegins(action);
        recorder.Frame(bow, true, BytesOf("out"));
        recorder.OnEcho(bow, Range(50.0), 3);
        recorder.Frame(bow, false, BytesOf("in"));
        recorder.OnSonarTells(bow, Range(49.5));
        action.result = operation::Result::Differs;
        action.got = Range(49.5);
        action.reason = "x5Range: asked 50 m, the sonar has 49.5 m";
        recorder.OnActionStands(action);
        recorder.OnWritten(bow, Range(70.0));
        recorder.Mark("a \"wreck\"");
        EXPECT_EQ(recorder.Finish(), "");
        EXPECT_EQ(recorder.Counts().messages, 10U);
        EXPECT_EQ(recorder.Counts().bytes, std::filesystem::file_size(file));
    }
    EXPECT_THAT(
        MessagesIn(file),
        ElementsAre(
            "/sonar/1.78.1.1/settings 1000001 1000001 {\"name\":\"Bow\",\"tree\":[[\"x5Range\",\"double\",100.0]]}",
            "/sonar/1.78.1.1/connection 1000002 1000002 {\"state\":\"connected\",\"reason\":\"\"}",
            "/sonar/1.78.1.1/requests 1000003 1000003 "
            "{\"number\":7,\"who\":\"terminal\",\"request\":[[\"x5Range\",\"double\",50.0]]}",
            "/sonar/1.78.1.1/sent 1000004 1000004 out",
            "/sonar/1.78.1.1/attributes 1000005 1000005 "
            "{\"from\":\"echo\",\"tree\":[[\"x5Range\",\"double\",50.0]],\"flags\":3}",
            "/sonar/1.78.1.1/received 1000006 1000006 in",
            "/sonar/1.78.1.1/attributes 1000007 1000007 {\"from\":\"sonar\",\"tree\":[[\"x5Range\",\"double\",49.5]]}",
            "/sonar/1.78.1.1/results 1000008 1000008 {\"number\":7,\"result\":\"differs\","
            "\"got\":[[\"x5Range\",\"double\",49.5]],\"reason\":\"x5Range: asked 50 m, the sonar has 49.5 m\"}",
            "/sonar/1.78.1.1/written 1000009 1000009 {\"tree\":[[\"x5Range\",\"double\",70.0]]}",
            "/marks 1000010 1000010 {\"text\":\"a \\\"wreck\\\"\"}"));
    McapReader const reader(file);
    EXPECT_TRUE(reader.IsComplete());
    ASSERT_EQ(reader.Metadata().size(), 1U);
    EXPECT_EQ(reader.Metadata()[0].texts, (recording::McapTexts{{"version", "0.1"}, {"commit", "abc"}}));
}

TEST_F(Flight, AClockThatIsSetBackTurnsNoMessageAround)
{
    std::atomic<unsigned> reads{0};
    auto options = Options();
    options.period = std::chrono::milliseconds(1);
    options.utc = [&] {
        ++reads;
        return utc.load();
    };
    options.steady = [this] { return steady.load(); };
    {
        FlightRecorder recorder(file, options);
        recorder.Mark("before");
        utc = 400'010;
        steady = 510;
        // The next period begins with it.
        for (auto const before = reads.load(); reads.load() < before + 2;) {
            std::this_thread::yield();
        }
        recorder.Mark("after");
    }
    EXPECT_THAT(MessagesIn(file), ElementsAre("/marks 1000000 1000000 {\"text\":\"before\"}",
                                              "/marks 1000010 400010 {\"text\":\"after\"}"));
}

TEST_F(Flight, ShortTreesAndLongOnesAreTakenAsTheyAre)
{
    CAttributeMap small;
    CAttributeMap* const branch = small.Add(L"branch");
    branch->Add(L"two", CVordalDouble2D(1.5, -2.0), 0);
    branch->Add(L"two", CVordalText(CString(L"\u00fc \u65e5")), 7);
    branch->Add(L"bare");
    small.Add(L"list", CVordalIntList({1, -2}), 0);
    CAttributeMap numbers;
    CAttributeMap* const pairs = numbers.Add(L"pairs");
    pairs->Add(L"two", CVordalDouble2D(0.1, -0.0), 0);
    pairs->Add(L"bare");
    numbers.Add(L"large", CVordalInt64(-9007199254740993), 0);
    CAttributeMap large;
    std::string largeText;
    for (int i = 0; i < 40; ++i) {
        auto const key = "k" + std::to_string(i);
        large.Add(AttributeKey(std::wstring_view(std::wstring(key.begin(), key.end()))), CVordalInt(i), 0);
        largeText += (i == 0 ? "[\"" : ",[\"") + key + "\",\"int\"," + std::to_string(i) + "]";
    }
    {
        FlightRecorder recorder(file, Options());
        recorder.OnWritten(bow, small);
        recorder.OnWritten(bow, large);
        recorder.OnWritten(bow, numbers);
        small.RemoveChildren();
        large.RemoveChildren();
    }
    EXPECT_THAT(MessagesIn(file),
                ElementsAre("/sonar/1.78.1.1/written 1000001 1000001 "
                            "{\"tree\":[[\"branch\",[[\"two\",\"pair\",[1.5,-2.0]],"
                            "[\"two\",\"string\",\"\u00fc \u65e5\"],[\"bare\",\"none\"]]],"
                            "[\"list\",\"ints\",[1,-2]]]}",
                            "/sonar/1.78.1.1/written 1000002 1000002 {\"tree\":[" + largeText + "]}",
                            "/sonar/1.78.1.1/written 1000003 1000003 "
                            "{\"tree\":[[\"pairs\",[[\"two\",\"pair\",[0.1,-0.0]],[\"bare\",\"none\"]]],"
                            "[\"large\",\"int64\",-9007199254740993]]}"));
}

TEST_F(Flight, WhatFindsNoRoomIsCountedAndToldInTheFile)
{
    auto options = Options();
    options.greatestWaiting = 2'000;
    // Nothing is written before the end: all has to find room beside the rest.
    options.period = std::chrono::hours(1);
    std::string const frame(700, 'x');
    {
        FlightRecorder recorder(file, options);
        recorder.Frame(bow, true, BytesOf(frame));
        recorder.Frame(bow, true, BytesOf(frame));
        recorder.Frame(bow, true, BytesOf(frame));
        recorder.Frame(bow, true, BytesOf(frame));
        EXPECT_EQ(recorder.Counts().lost, 2U);
    }
    EXPECT_EQ(MessagesIn(file).size(), 3U);
    EXPECT_THAT(MessagesIn(file).back(), HasSubstr("/lost 1000003 1000003 {\"messages\":2,\"bytes\":1400}"));
}

TEST_F(Flight, FromManyThreadsNothingIsLostAndTimesDoNotGoBack)
{
    auto options = Options();
    options.period = std::chrono::milliseconds(1);
    constexpr int threads = 4;
    constexpr int each = 2'000;
    {
        FlightRecorder recorder(file, options);
        std::vector<std::thread> writers;
        for (int i = 0; i < threads; ++i) {
            writers.emplace_back([&, i] {
                for (int k = 0; k < each; ++k) {
                    recorder.Frame(CDataId(1, 78, static_cast<unsigned short>(i + 1), 1), k % 2 == 0,
                                   BytesOf(std::to_string(k)));
                    recorder.OnSonarTells(bow, Range(k));
                }
            });
        }
        for (auto& writer : writers) {
            writer.join();
        }
    }
    McapReader reader(file);
    std::map<std::string, int> counts;
    std::uint64_t before = 0;
    reader.ForEach([&](McapChannel const& channel, McapMessage const& message) {
        ++counts[channel.topic];
        EXPECT_GT(message.logTime, before);
        before = message.logTime;
        return true;
    });
    EXPECT_EQ(counts.size(), 9U);
    EXPECT_EQ(counts["/sonar/1.78.3.1/sent"], each / 2);
    EXPECT_EQ(counts["/sonar/1.78.1.1/attributes"], threads * each);
}

TEST_F(Flight, LongFramesOfManyThreadsStayWhole)
{
    auto options = Options();
    options.period = std::chrono::milliseconds(1);
    constexpr int threads = 4;
    constexpr int each = 300;
    {
        FlightRecorder recorder(file, options);
        std::vector<std::thread> writers;
        for (int i = 0; i < threads; ++i) {
            writers.emplace_back([&, i] {
                for (int k = 0; k < each; ++k) {
                    // Each of its own letter and length, up to 30 KB.
                    std::string const frame(static_cast<std::size_t>(1 + k * 100), static_cast<char>('a' + i));
                    recorder.Frame(CDataId(1, 78, static_cast<unsigned short>(i + 1), 1), true, BytesOf(frame));
                }
            });
        }
        for (auto& writer : writers) {
            writer.join();
        }
        EXPECT_EQ(recorder.Finish(), "");
        EXPECT_EQ(recorder.Counts().lost, 0U);
    }
    std::map<std::string, std::size_t> counts;
    McapReader(file).ForEach([&](McapChannel const& channel, McapMessage const& message) {
        auto& count = counts[channel.topic];
        auto const letter = static_cast<unsigned char>('a' + channel.topic[std::string("/sonar/1.78.").size()] - '1');
        EXPECT_EQ(message.data.size(), 1 + count * 100);
        EXPECT_TRUE(
            std::all_of(message.data.begin(), message.data.end(), [&](unsigned char byte) { return byte == letter; }));
        ++count;
        return true;
    });
    EXPECT_EQ(counts.size(), 4U);
    EXPECT_EQ(counts["/sonar/1.78.4.1/sent"], std::size_t{each});
}

TEST_F(Flight, WhatStandsIsWrittenAnewSoThatNoMomentNeedsAllThatWasBefore)
{
    constexpr int frames = 3'000;
    {
        FlightRecorder recorder(file, Options());
        recorder.Begin(bow, "Bow", Range(100.0));
        recorder.Connection(bow, {vordal::LinkState::Connected, "", {}});
        recorder.OnSonarTells(bow, Range(49.5));
        std::string const frame(10'000, 'x');
        for (int i = 0; i < frames; ++i) {
            recorder.Frame(bow, false, BytesOf(frame));
        }
    }
    // 30 MB: a part each 8 MiB.
    Lines settings;
    for (auto const& line : MessagesIn(file)) {
        if (line.starts_with("/sonar/1.78.1.1/settings ") || line.starts_with("/sonar/1.78.1.1/connection ")) {
            settings.push_back(line.substr(line.find('{')));
        }
    }
    std::string const first = R"({"name":"Bow","tree":[["x5Range","double",100.0]]})";
    std::string const stands = R"({"name":"Bow","tree":[["x5Range","double",49.5]],"again":true})";
    std::string const connected = R"({"state":"connected","reason":""})";
    EXPECT_THAT(settings, ElementsAre(first, connected, stands, connected, stands, connected, stands, connected));

    // What is told once more is no change.
    recording::RecordedSession session(file);
    recording::ExportCsv(session, folder / "flight.csv", {}, {});
    std::ifstream csv(folder / "flight.csv");
    Lines rows;
    for (std::string row; std::getline(csv, row);) {
        rows.push_back(row.substr(row.find(',') + 1));
    }
    EXPECT_THAT(rows, ElementsAre("sonar,from,key,value\r", "1.78.1.1,settings,x5Range,100\r",
                                  "1.78.1.1,sonar,x5Range,49.5\r"));
}

TEST_F(Flight, WhatWasWrittenIsReadWhileItGoesOn)
{
    auto options = Options();
    options.period = std::chrono::milliseconds(1);
    FlightRecorder recorder(file, options);
    recorder.Mark("first");
    while (recorder.Counts().messages == 0) {
        std::this_thread::yield();
    }
    EXPECT_EQ(MessagesIn(file).size(), 1U);
    EXPECT_FALSE(McapReader(file).IsComplete());
}

TEST_F(Flight, AFileThatIsThereIsRefused)
{
    FlightRecorder const first(file, Options());
    EXPECT_THROW(FlightRecorder(file, Options()), recording::RecordingError);
    EXPECT_THROW(FlightRecorder(folder / "none" / "flight.mcap", Options()), recording::RecordingError);
}

} // namespace
} // namespace qx5::test
