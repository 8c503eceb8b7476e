// Tests of what carries frames from the links to the monitor, and of what is told of one record.
#include "frames.h"

#include <protocol/echo_records.h>
#include <reference_host/monitor/monitored_record.h>
#include <reference_host/monitor/record_queue.h>
#include <reference_host/window/window_feed.h>

#include <thread>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;
using vordal::MonitoredRecord;
using vordal::RecordQueue;

TEST(RecordQueue, GivesTheFramesInOrderAndOnce)
{
    RecordQueue queue;
    queue.Put(Captured(RangeFrame()));
    queue.Put(Captured(PingsOnFrame(), false));
    auto const content = queue.Take();
    ASSERT_EQ(content.frames.size(), 2U);
    EXPECT_EQ(content.frames[0].bytes, RangeFrame());
    EXPECT_TRUE(content.frames[0].outgoing);
    EXPECT_EQ(content.frames[1].bytes, PingsOnFrame());
    EXPECT_FALSE(content.frames[1].outgoing);
    EXPECT_EQ(content.lost, 0U);
    EXPECT_TRUE(queue.Take().frames.empty());
}

TEST(RecordQueue, KeepsTheNewestTenThousand)
{
    RecordQueue queue;
    for (int i = 0; i < 10005; ++i) {
        queue.Put(Captured(PingsOnFrame(), true, i));
    }
    EXPECT_EQ(queue.Count(), 10000U);
    auto const content = queue.Take();
    EXPECT_EQ(content.lost, 5U);
    EXPECT_EQ(content.frames.front().time, 5.0);
    EXPECT_EQ(content.frames.back().time, 10004.0);
    EXPECT_EQ(queue.Take().lost, 0U);
}

TEST(RecordQueue, KeepsNoMoreBytesThanItsBound)
{
    RecordQueue queue;
    std::vector<unsigned char> const frame(RecordQueue::GreatestFrame, 0);
    for (int i = 0; i < 9; ++i) {
        queue.Put(Captured(frame));
    }
    EXPECT_EQ(queue.Count(), 8U); // of 4 MiB each
    EXPECT_EQ(queue.Take().lost, 1U);
}

TEST(RecordQueue, TheObserverPutsFramesWithTheLinksName)
{
    auto const queue = std::make_shared<RecordQueue>();
    auto const observer = RecordQueue::ObserverOf(queue, "Hull sonar");
    auto const frame = RangeFrame();
    observer->OnTrace({.outgoing = true, .time = 12.5, .sequence = 0, .frame = frame});
    std::vector<unsigned char> const image(RecordQueue::GreatestFrame + 1, 7);
    observer->OnTrace({.outgoing = false, .time = 13.0, .sequence = 0, .frame = image});
    auto const content = queue->Take();
    ASSERT_EQ(content.frames.size(), 2U);
    EXPECT_EQ(content.frames[0].link, "Hull sonar");
    EXPECT_EQ(content.frames[0].time, 12.5);
    EXPECT_EQ(content.frames[0].bytes, frame);
    EXPECT_EQ(content.frames[0].totalBytes, 96U);
    EXPECT_EQ(content.frames[1].bytes.size(), RecordQueue::KeptOfLongFrame);
    EXPECT_EQ(content.frames[1].totalBytes, image.size());
}

TEST(RecordQueue, TakesFromManyThreads)
{
    RecordQueue queue;
    constexpr int each = 4000;
    auto const put = [&] {
        for (int i = 0; i < each; ++i) {
            queue.Put(Captured(PingsOnFrame()));
        }
    };
    std::thread first(put);
    std::thread second(put);
    std::uint64_t seen = 0;
    for (int i = 0; i < 200; ++i) {
        auto const content = queue.Take();
        seen += content.frames.size() + content.lost;
    }
    first.join();
    second.join();
    auto const rest = queue.Take();
    EXPECT_EQ(seen + rest.frames.size() + rest.lost, 2U * each);
}

TEST(WindowFeed, KeepsTheLatestStateOfEachDeviceAndTheNewestLines)
{
    vordal::WindowFeed feed;
    CDataId const first(1, 78, 1, 1);
    CDataId const second(1, 78, 2, 1);
    feed.PutStatus(first, {.state = vordal::LinkState::Connecting, .reason = {}, .retryIn = {}});
    feed.PutStatus(second, {.state = vordal::LinkState::Connecting, .reason = {}, .retryIn = {}});
    feed.PutStatus(first, {.state = vordal::LinkState::Connected, .reason = {}, .retryIn = {}});
    for (int i = 0; i < 105; ++i) {
        feed.PutLine(std::to_string(i));
    }
    feed.PutLightMode(1);
    feed.PutLightMode(3);
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1));
    feed.PutTree(first, {});
    feed.PutTree(second, tree);
    auto const content = feed.Take();
    ASSERT_EQ(content.statuses.size(), 2U);
    EXPECT_EQ(content.statuses[0].first, first);
    EXPECT_EQ(content.statuses[0].second.state, vordal::LinkState::Connected);
    ASSERT_EQ(content.lines.size(), 100U);
    EXPECT_EQ(content.lines.front(), "5");
    EXPECT_EQ(content.lines.back(), "104");
    EXPECT_EQ(content.lightMode, 3);
    ASSERT_TRUE(content.tree.has_value());
    EXPECT_EQ(content.tree->first, second);
    EXPECT_EQ(content.tree->second.Count(), 1);
    EXPECT_TRUE(feed.Take().statuses.empty());
}

TEST(MonitoredRecord, TellsNumberNameAndFields)
{
    MonitoredRecord const record(Captured(RangeFrame(), true, 1700000000.25));
    EXPECT_EQ(record.Number(), 1003U);
    EXPECT_EQ(record.Name(), "range");
    EXPECT_EQ(record.Summary(), "x5Range = 50 m");
    EXPECT_EQ(record.DirectionText(), "out");
    EXPECT_EQ(record.TimeText(), "2023-11-14 22:13:20.250 UTC");
    EXPECT_THAT(record.Details(), HasSubstr("command 1003 range, ticket 1003"));
    EXPECT_THAT(record.Details(), HasSubstr("000000  05 00 3c 00"));
    MonitoredRecord const pings(Captured(PingsOnFrame(), false));
    EXPECT_EQ(pings.Number(), 1100U);
    EXPECT_EQ(pings.Summary(), "");
    EXPECT_EQ(pings.DirectionText(), "in");
}

TEST(MonitoredRecord, TellsAnAttributeTreeByItsAttributes)
{
    // A data record 90010: the frame, format 1, one node "Ab" with the signed integer 7 and no children.
    std::vector<unsigned char> frame = PingsOnFrame();
    frame.resize(64);
    frame[8] = 64 + 23 + 4;
    frame[32] = 0x9A; // 90010 = 0x15F9A
    frame[33] = 0x5F;
    frame[34] = 0x01;
    frame.insert(frame.end(), {1, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0, 'A', 'b', 1, 7, 0, 0, 0, 0, 0, 0, 0});
    frame.insert(frame.end(), 4, 0);
    MonitoredRecord const record(Captured(frame, false));
    EXPECT_EQ(record.Number(), 90010U);
    EXPECT_EQ(record.Name(), "attribute tree");
    EXPECT_THAT(record.Summary(), HasSubstr("Ab = 7"));
}

TEST(MonitoredRecord, TellsAWaterColumnByItsSizes)
{
    qx5::protocol::WaterColumnView sizes;
    sizes.head.number = 7;
    sizes.head.beams = 512;
    sizes.samples = 1000;
    auto const frame = qx5::protocol::BeginWaterColumn(qx5::protocol::OwnSonar, sizes);
    ASSERT_TRUE(frame);
    MonitoredRecord const record(Captured(frame->bytes, false));
    EXPECT_EQ(record.Name(), "water column");
    EXPECT_THAT(record.Summary(),
                testing::StartsWith("beam angle = 512, gain = 1000, noise = 1000, level = 512 x 1000, "
                                    "ping number = 7, time = 0 s, "));
    EXPECT_THAT(record.Text(), HasSubstr("level = 512 x 1000 numbers from 0 to 0\n"));

    // Several a second would crowd out all else: of a longer one the beginning is kept, which tells as much.
    auto const queue = std::make_shared<RecordQueue>();
    auto const observer = RecordQueue::ObserverOf(queue, "Sonar");
    observer->OnTrace({false, 1.0, 1, frame->bytes});
    auto const kept = queue->Take().frames;
    ASSERT_EQ(kept.size(), 1U);
    EXPECT_EQ(kept[0].bytes.size(), RecordQueue::KeptOfLongFrame);
    MonitoredRecord const beginning(kept[0]);
    EXPECT_EQ(beginning.Number(), 90022U);
    EXPECT_EQ(beginning.Name(), "water column");
    EXPECT_EQ(beginning.Summary(), record.Summary());
    EXPECT_THAT(beginning.Text(), HasSubstr("of which 4096 were kept\nbeam angle = 512, "));
    sizes.samples = 10;
    auto const little = qx5::protocol::BeginWaterColumn(qx5::protocol::OwnSonar, sizes);
    observer->OnTrace({false, 1.0, 1, little->bytes});
    EXPECT_EQ(queue->Take().frames[0].bytes, little->bytes);
}

TEST(MonitoredRecord, SaysWhenARecordIsDamagedOrUnknownOrCut)
{
    auto frame = RangeFrame();
    frame.back() = 1;
    MonitoredRecord const damaged(Captured(frame));
    EXPECT_EQ(damaged.Name(), "damaged");
    EXPECT_EQ(damaged.Summary(), "");
    EXPECT_THAT(damaged.Details(), HasSubstr("no good frame"));
    MonitoredRecord const nothing(Captured({}));
    EXPECT_EQ(nothing.Name(), "damaged");

    frame = RangeFrame();
    frame[66] = 0x77; // command 0x7703EB
    MonitoredRecord const unknown(Captured(frame));
    EXPECT_EQ(unknown.Number(), 0x7703EBU);
    EXPECT_EQ(unknown.Name(), "unknown");

    auto cut = Captured(RangeFrame());
    cut.totalBytes = 5000000;
    MonitoredRecord const image(cut);
    EXPECT_EQ(image.Name(), "too long to be kept");
    EXPECT_EQ(image.Summary(), "5000000 bytes");
    EXPECT_EQ(image.SavedText(), "# 2023-11-14 22:13:20.000 UTC out sonar 0 too long to be kept\n"
                                 "# its 5000000 bytes were not kept\n");
}

TEST(MonitoredRecord, IsSavedAsHexadecimalText)
{
    EXPECT_EQ(MonitoredRecord(Captured(RangeFrame())).SavedText(),
              "# 2023-11-14 22:13:20.000 UTC out sonar 1003 range\n"
              "05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00\n"
              "00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00\n"
              "4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00\n"
              "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00\n"
              "eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00\n"
              "00 00 00 00 00 00 00 00 00 00 48 42 00 00 00 00\n");
}

} // namespace
} // namespace qx5::test
