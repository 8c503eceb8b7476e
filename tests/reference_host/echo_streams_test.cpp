// Tests of echoes on the sonar's port: asked for while somebody follows them, told block by block, bounded.
#include "link_test_peer.h"

#include <reference_host/common/log.h>
#include <reference_host/core/host.h>
#include <reference_host/link/live_traffic.h>
#include <reference_host/link/x5_port.h>
#include <reference_host/streams/settings_data.h>

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <mutex>
#include <string>

namespace vordal::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// "05 00 3c" as bytes.
Bytes HexBytes(std::string_view text)
{
    Bytes bytes;
    std::string digits;
    for (char const c : text) {
        if (c != ' ') {
            digits += c;
        }
    }
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

// Ping 7 at 1.5 s, 1500 m/s, 2 m east, 4 m south, 0.5 m deep, heading 90, roll 1, pitch -1, heave 0.25 m, tilt -2,
// three beams.
constexpr std::string_view Pose = "0000000000000040 00000000000010c0 000000000000e03f 0000000000805640"
                                  "000000000000f03f 000000000000f0bf 000000000000d03f";
std::string HeadHex()
{
    return "07000000 000000000000f83f 0000000000709740" + std::string(Pose) + "00000000000000c0 03000000";
}

/// Of that record and head of a sonar 7125; -1 for the sonar as a whole.
Bytes EchoFrame(unsigned char lowRecordByte, std::string const& payload, int head)
{
    auto frame = Frame(HexBytes(payload));
    frame[32] = lowRecordByte;
    frame[33] = 0x5F;
    frame[34] = 1;
    if (head >= 0) {
        frame[36] = 0xD5;
        frame[37] = 0x1B;
        frame[42] = static_cast<unsigned char>(head);
        frame[43] = 0;
    }
    return frame;
}

/// A record 90021: beams 0 and 2 at -10 and 10 degrees.
Bytes DetectionsFrame(int head = -1)
{
    return EchoFrame(0xA5,
                     HeadHex() + "02000000"
                                 "0000 0200"
                                 "000020c1 00002041"
                                 "0000003f 0000803e"
                                 "0000c842 00004842"
                                 "0000803f 00000000",
                     head);
}

/// A record 90022: two samples of three beams.
Bytes WaterColumnFrame(int head = -1)
{
    return EchoFrame(0xA6,
                     HeadHex() + "02000000 000000000000c03f 0000000000003440 000000000000e03f"
                                 "0000a0c1 00000000 0000a041"
                                 "00002041 00004041"
                                 "0000803f 00000040"
                                 "00 01 02 03 04 ff",
                     head);
}

/// A tree record 90010 that says "n" = number.
Bytes NumberFrame(unsigned char number)
{
    auto frame = Frame({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 'n', 1, number, 0, 0, 0, 0, 0, 0, 0});
    frame[32] = 0x9A;
    frame[33] = 0x5F;
    frame[34] = 1;
    return frame;
}

/// A tree record 90010 that says "EchoRecords" = true or false.
Bytes OfferFrame(unsigned char areOffered)
{
    auto frame = Frame({1,   0,   0,   0,   1,   0,   0,   0,   11, 0,          0, 0, 'E', 'c', 'h',
                        'o', 'R', 'e', 'c', 'o', 'r', 'd', 's', 3,  areOffered, 0, 0, 0,   0});
    frame[32] = 0x9A;
    frame[33] = 0x5F;
    frame[34] = 1;
    return frame;
}

std::string HexOf(std::span<unsigned char const> bytes)
{
    std::string text;
    for (auto const byte : bytes) {
        text += "0123456789abcdef"[byte >> 4U];
        text += "0123456789abcdef"[byte & 15U];
    }
    return text;
}

/// Every item by its number: type and bytes.
std::map<int, std::pair<int, std::string>> ItemsOf(CDataBlock const& block)
{
    std::map<int, std::pair<int, std::string>> items;
    for (unsigned short i = 0; i < block.GetItemCount(); ++i) {
        CDataItem const& item = *block.GetItem(i);
        EXPECT_EQ(item.status, 0);
        items[item.item] = {item.type, HexOf({static_cast<unsigned char const*>(item.data), item.size})};
    }
    EXPECT_EQ(items.size(), block.GetItemCount());
    return items;
}

std::string Joined(std::string_view text)
{
    return HexOf(HexBytes(text));
}

/// Follows one stream and keeps what it was told.
class Follower : public Subscriber
{
public:
    explicit Follower(CDataId const& stream)
    {
        m_subscription.SetSubscriber(this, false);
        m_subscription.Subscribe(stream);
    }
    ~Follower() override { m_subscription.Unsubscribe(); }

    void Stop() { m_subscription.Unsubscribe(); }
    std::vector<CDataBlock> Blocks()
    {
        std::lock_guard const lock(m_mutex);
        return m_blocks;
    }
    std::size_t Count() { return Blocks().size(); }

private:
    void Notify(NotificationInfo const*) override
    {
        EXPECT_TRUE(Host::Current().IsHostThread());
        CDataBlock block;
        auto* const buffer = m_subscription.GetDataBuffer();
        ASSERT_NE(buffer, nullptr);
        ASSERT_TRUE(buffer->ReadBlock(block, DATA_ACCESS_LATEST));
        std::lock_guard const lock(m_mutex);
        m_blocks.push_back(block);
    }

    std::mutex m_mutex;
    std::vector<CDataBlock> m_blocks;
    DataSubscription m_subscription;
};

CDataId Detections(unsigned short sonar)
{
    return CDataId(1, SONAR_DETECTIONS_GROUP, sonar, 1);
}
CDataId WaterColumn(unsigned short sonar)
{
    return CDataId(1, SONAR_WATER_COLUMN_GROUP, sonar, 1);
}

class EchoStreamsTest : public testing::Test
{
protected:
    EchoStreamsTest()
    {
        SetLogSink([this](LogLevel, std::string_view line) { lines.emplace_back(line); });
        host.SetTraffic(&traffic);
        port = std::make_unique<X5Port>(host, thread, CString(L"Sonar"), OptionsFor(peer.Port()));
        first = AddSonar(1);
    }
    ~EchoStreamsTest() override
    {
        port->Close();
        host.Stop();
        host.RemoveAllDevices();
        port.reset();
        SetLogSink({});
    }

    Device* AddSonar(unsigned short number)
    {
        auto* const sonar = host.AddDevice(std::make_unique<QX5Device>(), CDataId(1, 78, number, 1));
        host.SetPort(*sonar, port.get());
        return sonar;
    }
    void Identify(Device& device, int head)
    {
        CAttributeMap tree;
        tree.Add(L"DeviceId", CVordalInt(7125), 0);
        tree.Add(L"DeviceEnum", CVordalInt(head), 0);
        host.ReplaceAttributes(device, tree);
    }
    void Connect()
    {
        port->Open();
        ASSERT_TRUE(peer.WaitForConnections(1));
        ASSERT_TRUE(Eventually([&] { return port->GetLink().IsConnected(); }));
        Tell({OfferFrame(1)});
    }
    /// What was posted to the host thread so far has run, and what that posted.
    void Settle()
    {
        host.RunAndWait([] {});
        host.RunAndWait([] {});
    }
    /// What the sonar was asked for so far, each as device id, enumerator and payload: every frame is checked whole.
    std::vector<std::string> Asked(std::size_t count)
    {
        EXPECT_TRUE(peer.WaitForBytes(96 * count));
        auto const bytes = peer.Received();
        std::vector<std::string> asked;
        for (std::size_t at = 0; at + 96 <= bytes.size(); at += 96) {
            auto const frame = std::span(bytes).subspan(at, 96);
            EXPECT_EQ(HexOf(frame.first(12)), "05003c00ffff000060000000");
            EXPECT_EQ(HexOf(frame.subspan(30, 6)), "01004c1d0000"); // record 7500
            EXPECT_EQ(HexOf(frame.subspan(64, 8)), "a45f0100a45f0100") << "command 90020 and its ticket";
            EXPECT_EQ(HexOf(frame.subspan(72, 16)), std::string(32, '0'));
            EXPECT_EQ(HexOf(frame.subspan(92)), "00000000");
            asked.push_back(HexOf(frame.subspan(36, 4)) + " " + HexOf(frame.subspan(42, 2)) + " " +
                            HexOf(frame.subspan(88, 4)));
        }
        EXPECT_EQ(bytes.size(), 96 * count);
        return asked;
    }
    int StatusOf(CDataId const& stream)
    {
        unsigned short state = 0;
        unsigned short status = 0;
        EXPECT_TRUE(host.Buffer(stream).GetStatus(state, status));
        return status;
    }
    bool HasBlock(CDataId const& stream)
    {
        CDataBlock block;
        return host.Buffer(stream).ReadCurrentBlock(block);
    }
    /// All that the sonar has told so far was taken: a value told last has arrived.
    void Tell(std::vector<Bytes> const& frames)
    {
        for (auto const& frame : frames) {
            peer.Write(frame);
        }
        peer.Write(NumberFrame(++m_told));
        ASSERT_TRUE(Eventually([&] { return NumberOf(*first) == m_told; }));
        Settle();
    }
    int NumberOf(Device& device)
    {
        int number = -1;
        unsigned flags = 0;
        device.GetAttribValue(L"n", number, flags);
        return number;
    }

    Peer peer;
    LiveTraffic traffic;
    std::vector<std::string> lines;
    Host host{Threading::Threaded};
    LinkThread thread;
    std::unique_ptr<X5Port> port;
    Device* first = nullptr;
    unsigned char m_told = 0;
};

TEST_F(EchoStreamsTest, TheSonarIsAskedWhileSomebodyFollowsAndForNoMore)
{
    Connect();
    Tell({DetectionsFrame(), WaterColumnFrame()});
    EXPECT_THAT(peer.Received(), IsEmpty()) << "nobody follows";
    EXPECT_FALSE(HasBlock(Detections(1)));
    EXPECT_FALSE(HasBlock(WaterColumn(1)));

    auto detections = std::make_unique<Follower>(Detections(1));
    EXPECT_THAT(Asked(1), ElementsAre("00000000 ffff 01000000"));
    Follower another(Detections(1));
    Follower water(WaterColumn(1));
    EXPECT_THAT(Asked(2).back(), "00000000 ffff 03000000");
    detections.reset();
    Settle();
    another.Stop();
    EXPECT_THAT(Asked(3).back(), "00000000 ffff 02000000");
    water.Stop();
    EXPECT_THAT(Asked(4).back(), "00000000 ffff 00000000");
    Settle();
    EXPECT_EQ(peer.Received().size(), 4 * 96U);
}

TEST_F(EchoStreamsTest, ASonarThatTellsOfNoEchoesIsAskedForNone)
{
    Follower const water(WaterColumn(1));
    port->Open();
    ASSERT_TRUE(peer.WaitForConnections(1));
    ASSERT_TRUE(Eventually([&] { return port->GetLink().IsConnected(); }));
    Tell({});
    Tell({OfferFrame(0)});
    EXPECT_THAT(peer.Received(), IsEmpty());
    Tell({OfferFrame(1)});
    EXPECT_THAT(Asked(1), ElementsAre("00000000 ffff 02000000"));
}

TEST_F(EchoStreamsTest, BlocksHoldWhatTheSonarTold)
{
    Connect();
    Follower detections(Detections(1));
    Follower water(WaterColumn(1));
    ASSERT_TRUE(peer.WaitForBytes(96));
    Settle();
    Tell({DetectionsFrame(), WaterColumnFrame()});
    ASSERT_EQ(detections.Count(), 1U);
    ASSERT_EQ(water.Count(), 1U);
    std::map<int, std::pair<int, std::string>> const head{
        {9001, {101, "07000000"}},         {9002, {103, "0000000000709740"}}, {9003, {103, Joined(Pose)}},
        {9004, {103, "00000000000000c0"}}, {9005, {101, "03000000"}},
    };
    auto expected = head;
    expected[9010] = {111, "00000200"};
    expected[9011] = {109, "000020c100002041"};
    expected[9012] = {109, "0000003f0000803e"};
    expected[9013] = {109, "0000c84200004842"};
    expected[9014] = {109, "0000803f00000000"};
    EXPECT_EQ(ItemsOf(detections.Blocks()[0]), expected);
    EXPECT_EQ(detections.Blocks()[0].GetTime(), 1.5);
    EXPECT_EQ(detections.Blocks()[0].GetStatus(), 0);
    expected = head;
    expected[9020] = {109, "0000a0c1000000000000a041"};
    expected[9021] = {101, "02000000"};
    expected[9022] = {103, "000000000000c03f"};
    expected[9023] = {103, "0000000000003440"};
    expected[9024] = {103, "000000000000e03f"};
    expected[9025] = {106, "0001020304ff"};
    expected[9026] = {109, "0000204100004041"};
    expected[9027] = {109, "0000803f00000040"};
    EXPECT_EQ(ItemsOf(water.Blocks()[0]), expected);
    EXPECT_EQ(water.Blocks()[0].GetTime(), 1.5);

    EXPECT_FALSE(HasBlock(CDataId(1, 78, 1, 1))) << "the sonar's own stream has settings alone";
    EXPECT_EQ(port->DroppedTrees(), 0U);
    EXPECT_EQ(port->EchoCounts().told, 2U);
    detections.Stop();
    water.Stop();
    EXPECT_TRUE(Eventually([&] { return !HasBlock(Detections(1)) && !HasBlock(WaterColumn(1)); }));
}

TEST_F(EchoStreamsTest, ItIsAskedAgainWithEachConnectionAndTheStatusTellsOfIt)
{
    Follower water(WaterColumn(1));
    EXPECT_TRUE(Eventually([&] { return StatusOf(WaterColumn(1)) == LostStreamStatus; }));
    EXPECT_EQ(StatusOf(Detections(1)), LostStreamStatus);
    Connect();
    EXPECT_THAT(Asked(1), ElementsAre("00000000 ffff 02000000"));
    EXPECT_EQ(StatusOf(WaterColumn(1)), 0);
    EXPECT_EQ(StatusOf(Detections(1)), 0);
    Tell({WaterColumnFrame()});
    EXPECT_EQ(water.Count(), 1U);

    auto const cut = WaterColumnFrame();
    peer.Write(Bytes(cut.begin(), cut.begin() + 150)); // it vanishes in mid-frame
    peer.Disconnect();
    ASSERT_TRUE(peer.WaitForConnections(2));
    EXPECT_TRUE(Eventually([&] { return StatusOf(WaterColumn(1)) == 0; }));
    Tell({});
    EXPECT_EQ(Asked(1).size(), 1U) << "this sonar has not told yet that it has echoes";
    Tell({OfferFrame(1)});
    EXPECT_THAT(Asked(2).back(), "00000000 ffff 02000000");
    EXPECT_TRUE(Eventually([&] { return StatusOf(WaterColumn(1)) == 0; }));
    EXPECT_EQ(water.Count(), 1U);
    EXPECT_TRUE(HasBlock(WaterColumn(1))) << "the last of it";
    Tell({WaterColumnFrame()});
    EXPECT_EQ(water.Count(), 2U);
    port->Close();
    EXPECT_TRUE(Eventually([&] { return StatusOf(WaterColumn(1)) == LostStreamStatus; }));
}

TEST_F(EchoStreamsTest, HeadsOnOneLinkAreKeptApart)
{
    auto* const second = AddSonar(2);
    Identify(*first, 0);
    Follower ofFirst(Detections(1));
    Follower ofSecond(WaterColumn(2));
    Connect();
    EXPECT_THAT(Asked(1), ElementsAre("d51b0000 0000 01000000")) << "the second has not told who it is";
    Identify(*second, 1);
    Tell({});
    EXPECT_THAT(Asked(2).back(), "d51b0000 0100 02000000");
    Tell({DetectionsFrame(0), DetectionsFrame(1), WaterColumnFrame(0), WaterColumnFrame(1)});
    EXPECT_EQ(ofFirst.Count(), 1U);
    EXPECT_EQ(ofSecond.Count(), 1U);
    EXPECT_FALSE(HasBlock(Detections(2)));
    EXPECT_FALSE(HasBlock(WaterColumn(1)));
    // A sonar that turns out to be another is not asked under its former name any more.
    Identify(*second, 2);
    Tell({});
    EXPECT_THAT(Asked(4), ElementsAre("d51b0000 0000 01000000", "d51b0000 0100 02000000", "d51b0000 0100 00000000",
                                      "d51b0000 0200 02000000"));
    host.RunAndWait([&] { host.SetPort(*second, nullptr); });
    EXPECT_THAT(Asked(5).back(), "d51b0000 0200 00000000") << "it is off the port";
}

TEST_F(EchoStreamsTest, WhileTheHostIsBusyTheNewestWinsAndNothingWaitsBehindPictures)
{
    Connect();
    auto const before = port->GetLink().GetCounters().bytesIn;
    Follower detections(Detections(1));
    Follower water(WaterColumn(1));
    ASSERT_TRUE(peer.WaitForBytes(96));
    Settle();
    constexpr unsigned pings = 1000;
    std::promise<void> go;
    host.Post([wait = go.get_future().share()] { wait.wait(); });
    // 40,960 samples, 450 kB: half a gigabyte in all, and answers behind them.
    auto const payload = HeadHex() + "00a00000 000000000000c03f 0000000000003440 000000000000e03f" +
                         std::string(2 * (3 * 4 + 2 * 40960 * 4 + 3 * 40960), '0');
    auto frame = EchoFrame(0xA6, payload, -1);
    for (unsigned i = 0; i < pings; ++i) {
        frame[64] = static_cast<unsigned char>(i & 0xFFU);
        frame[65] = static_cast<unsigned char>(i >> 8U);
        peer.Write(frame);
    }
    peer.Write(DetectionsFrame());
    peer.Write(NumberFrame(77));
    // All of it is taken while the host does nothing: what came last came with the rest.
    auto const all = before + pings * frame.size() + DetectionsFrame().size() + NumberFrame(77).size();
    EXPECT_TRUE(Eventually([&] { return port->GetLink().GetCounters().bytesIn == all; }));
    EXPECT_EQ(port->Pauses(), 0U);
    EXPECT_TRUE(Eventually([&] { return port->EchoCounts().dropped == pings - 1; }));
    go.set_value();
    EXPECT_TRUE(Eventually([&] { return NumberOf(*first) == 77; }));
    EXPECT_EQ(port->EchoCounts().dropped, pings - 1);
    ASSERT_EQ(water.Count(), 1U);
    EXPECT_EQ(ItemsOf(water.Blocks()[0]).at(9001).second, "e7030000") << "the newest";
    EXPECT_EQ(detections.Count(), 1U);
}

TEST_F(EchoStreamsTest, WhatASonarSendsOfManyHeadsIsBounded)
{
    Connect();
    Follower detections(Detections(1));
    ASSERT_TRUE(peer.WaitForBytes(96));
    Settle();
    std::promise<void> go;
    host.Post([wait = go.get_future().share()] { wait.wait(); });
    for (int head = 0; head < 200; ++head) {
        peer.Write(DetectionsFrame(head));
    }
    EXPECT_TRUE(Eventually([&] { return port->EchoCounts().dropped == 200 - EchoStreams::GreatestWaiting; }));
    go.set_value();
    EXPECT_TRUE(Eventually([&] { return detections.Count() == EchoStreams::GreatestWaiting; }));
}

TEST_F(EchoStreamsTest, DamagedOnesAreDroppedWithOneLine)
{
    Connect();
    Follower water(WaterColumn(1));
    ASSERT_TRUE(peer.WaitForBytes(96));
    Settle();
    auto tooMany = WaterColumnFrame();
    tooMany[64 + 84] = 0;
    tooMany[64 + 85] = 0x10; // 4096 beams
    auto endless = WaterColumnFrame();
    for (std::size_t i = 84; i < 92; ++i) {
        endless[64 + i] = 0xFF;
    }
    Tell({tooMany, endless, EchoFrame(0xA6, "0700", -1), WaterColumnFrame()});
    EXPECT_EQ(water.Count(), 1U);
    EXPECT_EQ(port->EchoCounts().damaged, 3U);
    EXPECT_THAT(lines, ElementsAre("Sonar: record 90022 from the sonar is dropped, 4096 beams, more than 2048; said "
                                   "once for this connection"));
}

} // namespace
} // namespace vordal::test
