// How the calls of a plug-in become events.
#include "cli/scenario/block_json.h"
#include "cli/scenario/recorder.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>
#include <vector>

namespace qx5::cli {
namespace {

CDataId const first(1, 78, 1, 1);
CDataId const second(1, 78, 2, 1);

class RecorderTest : public testing::Test
{
protected:
    RecorderTest() { recorder.SetFirstDevice(first); }

    std::string Taken()
    {
        ScenarioEvents events;
        recorder.TakeEvents(events);
        std::string json;
        events.AppendTo(json);
        return json;
    }

    Recorder recorder;
};

TEST_F(RecorderTest, WritesSends)
{
    unsigned char const payload[] = {0x00, 0xAB, 0xFF};
    EXPECT_TRUE(recorder.SendRemoteControl({first, nullptr}, 1003, payload, 0, -1));
    EXPECT_TRUE(recorder.SendRemoteControl({second, nullptr}, 4294967295U, {}, 7000, 0));
    EXPECT_TRUE(recorder.AskForRecord({second, nullptr}, 7503, 0, -1));
    EXPECT_TRUE(recorder.SendData({first, nullptr}, 3004, payload, -0.0, 7003, 0));
    EXPECT_TRUE(recorder.SendRaw({first, nullptr}, std::string_view("\x05\x00\xff", 3), false));
    EXPECT_EQ(Taken(), R"([{"remote":1003,"payload":"00abff","device":0,"enumerator":-1},)"
                       R"({"remote":4294967295,"payload":"","device":7000,"enumerator":0,"of":[1,78,2,1]},)"
                       R"({"ask":7503,"device":0,"enumerator":-1,"of":[1,78,2,1]},)"
                       R"({"record":3004,"payload":"00abff","time":-0.0,"device":7003,"enumerator":0},)"
                       R"({"raw":"0500ff","flag":false}])");
    EXPECT_EQ(Taken(), "[]");
}

TEST_F(RecorderTest, WritesWhatAPortIsAskedFor)
{
    RecordingSonarPort port(recorder, true);
    EXPECT_TRUE(port.IsFilePlayback());
    recorder.SetSubject(first);
    port.PlaybackSetSpeed(1.0, 2.5);
    port.PlaybackSetPosition(1.0, 0.5);
    port.PlaybackSetLoop(1.0, 1.0);
    port.PlaybackStepForward(1.0);
    recorder.SetSubject(second);
    port.PlaybackStepBack(1.0);
    EXPECT_TRUE(port.SendRemoteControlCommandWithPassThrough(1700, "\x07", 1, 7006, 0));
    EXPECT_TRUE(port.SendRemoteControlCommandWithPassThrough(1700, nullptr, 0, 7006, 65535));
    EXPECT_EQ(Taken(), R"([{"playback":"PlaybackSetSpeed","args":[1.0,2.5]},)"
                       R"({"playback":"PlaybackSetPosition","args":[1.0,0.5]},)"
                       R"({"playback":"PlaybackSetLoop","args":[1.0,1.0]},)"
                       R"({"playback":"PlaybackStepForward","args":[1.0]},)"
                       R"({"playback":"PlaybackStepBack","args":[1.0],"of":[1,78,2,1]},)"
                       R"({"through":1700,"payload":"07","device":7006,"enumerator":0,"of":[1,78,2,1]},)"
                       R"({"through":1700,"payload":"","device":7006,"enumerator":65535,"of":[1,78,2,1]}])");
}

TEST_F(RecorderTest, WritesHostSetsButTheScenariosOwn)
{
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1));
    recorder.IgnoreNextHostSet();
    recorder.OnHostSet(first, tree, 4);
    recorder.OnHostSet(second, tree, 15);
    EXPECT_EQ(Taken(), R"([{"host-set":[["a","int",1]],"id":[1,78,2,1],"flags":15}])");
}

TEST_F(RecorderTest, WritesWhatBreaksTheContract)
{
    recorder.OnContractBreach(L"never twice");
    EXPECT_EQ(Taken(), R"([{"breach":"never twice"}])");
}

TEST_F(RecorderTest, WritesStreams)
{
    CDataBlock block;
    block.SetStatus(3);
    block.SetTime(1.5);
    unsigned char const minusTwo[] = {0xFE, 0xFF, 0xFF, 0xFF};
    unsigned char const half[] = {0, 0, 0, 0x3F};
    unsigned char const one[] = {0, 0, 0, 0, 0, 0, 0xF0, 0x3F, 0, 0};
    block.AddItem(259, 101, minusTwo, 4, 0);
    block.AddItem(258, 109, half, 4, 7);
    block.AddItem(251, 103, one, 10, 0);
    block.AddItem(252, 111, minusTwo, 2, 0);
    block.AddItem(253, 106, minusTwo, 1, 0);
    block.AddItem(254, 101, minusTwo, 1, 0);
    block.AddItemWithoutData(255, 101, 4, 1);
    recorder.OnStoreBlock(second, block);
    recorder.OnAnnounceBlock(second);
    recorder.OnResetBuffer(first, first);
    recorder.OnResetBuffer(first, second);
    EXPECT_EQ(Taken(), R"([{"store":{"status":3,"time":1.5,"items":[[259,101,4,-2,0],[258,109,4,0.5,7],)"
                       R"([251,103,10,1.0,0],[252,111,2,65534,0],[253,106,1,254,0],[254,101,1,254,0],)"
                       R"([255,101,4,null,1]]},"id":[1,78,2,1]},{"announce":[1,78,2,1]},)"
                       R"({"reset-buffer":[1,78,1,1],"of":[1,78,1,1]},{"reset-buffer":[1,78,1,1],"of":[1,78,2,1]}])");
}

TEST_F(RecorderTest, LeavesNothingOfAnEventThatCannotBeWritten)
{
    CAttributeMap deep;
    auto* node = &deep;
    for (int i = 0; i <= TreeDepthLimit; ++i) {
        node = node->Add(L"a");
    }
    EXPECT_THROW(recorder.OnHostSet(first, deep, 0), std::length_error);
    recorder.AskForRecord({first, nullptr}, 1, 0, -1);
    EXPECT_THROW(recorder.OnHostSet(first, deep, 0), std::length_error);
    recorder.AskForRecord({first, nullptr}, 2, 0, -1);
    EXPECT_EQ(Taken(), R"([{"ask":1,"device":0,"enumerator":-1},{"ask":2,"device":0,"enumerator":-1}])");
}

TEST_F(RecorderTest, GivesEventsOfSomeKindsAlone)
{
    recorder.OnMessage(L"first");
    recorder.AskForRecord({first, nullptr}, 1, 0, -1);
    recorder.OnAnnounceBlock(second);
    recorder.OnMessage(L"last");
    ScenarioEvents events;
    recorder.TakeEvents(events);
    auto const of = [&](std::vector<EventKind> const& kinds) {
        std::string json;
        events.AppendTo(json, kinds);
        return json;
    };
    EXPECT_EQ(of({}), "[]");
    EXPECT_EQ(of({EventKind::Raw}), "[]");
    EXPECT_EQ(of({EventKind::Message}), R"([{"message":"first"},{"message":"last"}])");
    EXPECT_EQ(of({EventKind::Announce, EventKind::Ask}),
              R"([{"ask":1,"device":0,"enumerator":-1},{"announce":[1,78,2,1]}])");
}

TEST_F(RecorderTest, KeepsOtherThreadsApart)
{
    auto const before = Recorder::Instant::clock::now();
    recorder.AskForRecord({first, nullptr}, 1, 0, -1);
    std::thread([&] {
        recorder.AskForRecord({first, nullptr}, 2, 0, -1);
        recorder.AskForRecord({first, nullptr}, 3, 0, -1);
    }).join();
    EXPECT_GT(recorder.LastEventOfThreads(before), before);
    EXPECT_EQ(Taken(), R"([{"ask":1,"device":0,"enumerator":-1}])");
    recorder.AddEventsOfThreads();
    EXPECT_EQ(Taken(), R"([{"ask":2,"device":0,"enumerator":-1},{"ask":3,"device":0,"enumerator":-1}])");
}

} // namespace
} // namespace qx5::cli
