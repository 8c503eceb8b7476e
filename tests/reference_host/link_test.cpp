// Tests of the sonar link over real sockets: whole frames, full queues, lost connections, names that do not answer.
#include "../support/fault_relay.h"
#include "link_test_peer.h"
#include "tests/support/own_network.h"

#include <reference_host/common/send_gathering.h>

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <semaphore>

namespace vordal::test {
namespace {

using std::chrono::milliseconds;

/// `index` as four bytes, then the index's low byte until the data section has `size` bytes.
Bytes Numbered(std::uint32_t index, std::size_t size)
{
    Bytes data;
    for (int shift = 0; shift < 32; shift += 8) {
        data.push_back(static_cast<unsigned char>((index >> shift) & 0xFFU));
    }
    data.resize(std::max<std::size_t>(size, 4), static_cast<unsigned char>(index & 0xFFU));
    return Frame(data);
}

std::uint32_t U32At(Bytes const& bytes, std::size_t offset)
{
    return static_cast<std::uint32_t>(bytes[offset]) | static_cast<std::uint32_t>(bytes[offset + 1]) << 8 |
           static_cast<std::uint32_t>(bytes[offset + 2]) << 16 | static_cast<std::uint32_t>(bytes[offset + 3]) << 24;
}

/// Takes a stream of Numbered frames apart; fails the test at the first byte that is not one. Gives the indices.
std::vector<std::uint32_t> IndicesOf(Bytes const& stream)
{
    std::vector<std::uint32_t> indices;
    std::size_t at = 0;
    while (at < stream.size()) {
        if (stream.size() - at < 72) {
            ADD_FAILURE() << "a torn frame at byte " << at;
            break;
        }
        auto const size = U32At(stream, at + 8);
        auto const index = U32At(stream, at + 64);
        if (size < 72 || size > stream.size() - at) {
            ADD_FAILURE() << "no whole frame at byte " << at;
            break;
        }
        auto const expected = Numbered(index, size - 68);
        if (!std::equal(expected.begin(), expected.end(), stream.begin() + static_cast<std::ptrdiff_t>(at))) {
            ADD_FAILURE() << "a mixed frame at byte " << at;
            break;
        }
        indices.push_back(index);
        at += size;
    }
    return indices;
}

/// A link to a peer on loopback.
class ConnectedLink : public testing::Test
{
protected:
    /// With the options as they stand; both sides know of the connection.
    SonarLink& Connect()
    {
        auto& link = m_link.emplace(thread, options, listener);
        link.Open();
        EXPECT_TRUE(listener.WaitForState(LinkState::Connected));
        EXPECT_TRUE(peer.WaitForConnections(1));
        return link;
    }

    Peer peer;
    LinkThread thread;
    Listener listener;
    LinkOptions options = OptionsFor(peer.Port());

private:
    std::optional<SonarLink> m_link;
};

TEST(SonarLink, SendsFramesAsTheyAre)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(peer.Port()), listener);
    auto const frame = Frame({0x00, 0x00, 0x48, 0x42});
    EXPECT_FALSE(link.Send(frame)) << "not opened yet";
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    EXPECT_TRUE(link.Send(frame));
    EXPECT_FALSE(link.Send({}));
    ASSERT_TRUE(peer.WaitForBytes(72));
    EXPECT_EQ(peer.Received(), frame);
    link.Close();
    EXPECT_FALSE(link.Send(frame));
    EXPECT_EQ(link.GetStatus().state, LinkState::Closed);
    auto const counters = link.GetCounters();
    EXPECT_EQ(counters.framesOut, 1U);
    EXPECT_EQ(counters.bytesOut, 72U);
    EXPECT_EQ(counters.refused, 3U);
    EXPECT_EQ(counters.connections, 1U);
}

TEST(SonarLink, OpensAgainAfterClose)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(peer.Port()), listener);
    for (std::size_t round = 1; round <= 3; ++round) {
        link.Open();
        ASSERT_TRUE(listener.WaitForState(LinkState::Connected, round));
        EXPECT_TRUE(link.Send(Frame({1})));
        ASSERT_TRUE(peer.WaitForBytes(69 * round));
        link.Close();
    }
}

TEST_F(ConnectedLink, AFrameArrivesWholeInEverySplit)
{
    auto& link = Connect();
    auto const frame = Frame({1, 2, 3, 4});
    std::size_t frames = 0;
    std::uint64_t bytes = 0;
    for (std::size_t split = 1; split < frame.size(); ++split) {
        auto const middle = frame.begin() + static_cast<std::ptrdiff_t>(split);
        peer.Write(Bytes(frame.begin(), middle));
        bytes += split;
        ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesIn == bytes; }));
        EXPECT_EQ(link.GetCounters().framesIn, frames) << "half a frame was given";
        peer.Write(Bytes(middle, frame.end()));
        bytes += frame.size() - split;
        ++frames;
        ASSERT_TRUE(listener.WaitForFrames(frames));
        ASSERT_EQ(listener.Frames().back(), frame);
    }
    EXPECT_EQ(link.GetCounters().bytesSkipped, 0U);
    EXPECT_TRUE(listener.Reports().empty());
}

TEST(SonarLink, SingleBytesMakeTheSameFrames)
{
    Peer peer;
    FaultRelay relay(peer.Port());
    relay.SetPieceSize(1);
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(relay.Port()), listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    Bytes stream;
    for (std::uint32_t index = 0; index < 20; ++index) {
        auto const frame = Numbered(index, 4 + index);
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    peer.Write(stream);
    ASSERT_TRUE(listener.WaitForFrames(20));
    auto const frames = listener.Frames();
    for (std::uint32_t index = 0; index < 20; ++index) {
        EXPECT_EQ(frames[index], Numbered(index, 4 + index));
    }
}

TEST_F(ConnectedLink, GarbageIsCountedReportedOnceAndSkipped)
{
    auto& link = Connect();
    auto const frame = Frame({9, 9});
    peer.Write({'H', 'T', 'T', 'P'});
    peer.Write(frame);
    ASSERT_TRUE(listener.WaitForFrames(1));
    peer.Write({0xFF, 0xFF, 0x00});
    peer.Write(frame);
    ASSERT_TRUE(listener.WaitForFrames(2));
    EXPECT_EQ(listener.Frames().back(), frame);
    ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesSkipped == 7; }));
    EXPECT_EQ(listener.Reports().size(), 1U);
    peer.Disconnect();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected, 2));
    ASSERT_TRUE(peer.WaitForConnections(2));
    peer.Write({1, 2, 3});
    peer.Write(frame);
    ASSERT_TRUE(listener.WaitForFrames(3));
    ASSERT_TRUE(Eventually([&] { return listener.Reports().size() == 2; })) << "once for each connection";
    EXPECT_EQ(link.GetCounters().bytesSkipped, 10U);
}

TEST(SonarLink, CountsGarbageBeforeItHandsOverTheFrameBehindIt)
{
    Peer peer;
    std::vector<std::uint64_t> counted;
    Listener listener;
    {
        LinkThread thread;
        SonarLink link(thread, OptionsFor(peer.Port()), listener);
        listener.onFrame = [&] { counted.push_back(link.GetCounters().bytesSkipped); };
        link.Open();
        ASSERT_TRUE(peer.WaitForConnections(1));
        auto const frame = Frame({9, 9});
        Bytes stream{'H', 'T', 'T', 'P'};
        stream.insert(stream.end(), frame.begin(), frame.end());
        stream.insert(stream.end(), {1, 2, 3});
        stream.insert(stream.end(), frame.begin(), frame.end());
        peer.Write(stream);
        ASSERT_TRUE(listener.WaitForFrames(2));
    }
    EXPECT_EQ(counted, (std::vector<std::uint64_t>{4, 7}));
}

TEST(SonarLink, ADamagedFrameCostsNothingButItself)
{
    Peer peer;
    FaultRelay relay(peer.Port());
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(relay.Port()), listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    // The second frame's sync word, at bytes 4 to 7 of it.
    relay.Corrupt(FaultRelay::Direction::ToClient, 72 + 5, 0x10);
    Bytes stream;
    for (std::uint32_t index = 0; index < 3; ++index) {
        auto const frame = Numbered(index, 4);
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    peer.Write(stream);
    ASSERT_TRUE(listener.WaitForFrames(2));
    EXPECT_EQ(listener.Frames()[0], Numbered(0, 4));
    EXPECT_EQ(listener.Frames()[1], Numbered(2, 4));
    ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesSkipped == 72; }));
}

TEST_F(ConnectedLink, AFrameThatIsNeverFinishedKeepsBackNothingForLong)
{
    options.idleLimit = milliseconds(40);
    auto& link = Connect();
    // The start of a frame of 1 MiB, and a whole one behind it.
    Bytes const claim{5, 0, 60, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0x10, 0};
    auto const frame = Frame({9, 9});
    Bytes both = claim;
    both.insert(both.end(), frame.begin(), frame.end());
    peer.Write(both);
    ASSERT_TRUE(listener.WaitForFrames(1));
    EXPECT_EQ(listener.Frames().back(), frame);
    ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesSkipped == 12; }));
    ASSERT_TRUE(Eventually([&] { return listener.Reports().size() == 1; }));
    EXPECT_NE(listener.Reports()[0].find("no further byte of it for 40 ms"), std::string::npos);
    peer.Write(both);
    ASSERT_TRUE(listener.WaitForFrames(2)) << "and again";
    peer.Write(frame);
    ASSERT_TRUE(listener.WaitForFrames(3));
    EXPECT_EQ(listener.Reports().size(), 1U) << "said once for this connection";
    EXPECT_EQ(link.GetCounters().connections, 1U);
}

TEST_F(ConnectedLink, AFalseSizeWordDeafensNobodyWhileTheSonarKeepsTalking)
{
    options.idleLimit = std::chrono::hours(1);
    auto& link = Connect();
    for (std::uint32_t round = 1; round <= 3; ++round) {
        // The start of a frame of 15 MiB, and whole ones behind it that do not amount to it within this test.
        peer.Write({5, 0, 60, 0, 0xFF, 0xFF, 0, 0, 0, 0, 0xF0, 0});
        auto const before = listener.Frames().size();
        std::uint32_t sent = 0;
        ASSERT_TRUE(Eventually([&] {
            peer.Write(Numbered(sent++, 4));
            return listener.Frames().size() > before;
        }));
        ASSERT_TRUE(listener.WaitForFrames(before + sent)) << "none is lost";
        EXPECT_EQ(listener.Frames()[before], Numbered(0, 4));
        EXPECT_EQ(listener.Frames().back(), Numbered(sent - 1, 4));
        ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesSkipped == 12U * round; }));
    }
    EXPECT_EQ(link.GetCounters().connections, 1U);
    ASSERT_TRUE(Eventually([&] { return listener.Reports().size() == 1; }));
    EXPECT_NE(listener.Reports()[0].find("bytes that are no frame"), std::string::npos);
}

TEST_F(ConnectedLink, ALargeFrameOnASlowLineArrives)
{
    options.frameShare = milliseconds(1);
    auto& link = Connect();
    auto const frame = Frame(Bytes(1 << 20, 5));
    std::uint64_t written = 0;
    for (auto at = frame.begin(); at != frame.end();) {
        auto const piece = std::min<std::ptrdiff_t>(50000, frame.end() - at);
        peer.Write(Bytes(at, at + piece));
        at += piece;
        written += static_cast<std::uint64_t>(piece);
        auto const begun = std::chrono::steady_clock::now();
        ASSERT_TRUE(Eventually([&] {
            return link.GetCounters().bytesIn == written &&
                   std::chrono::steady_clock::now() - begun > 2 * options.frameShare;
        }));
    }
    ASSERT_TRUE(listener.WaitForFrames(1));
    EXPECT_EQ(listener.Frames()[0], frame);
    EXPECT_EQ(link.GetCounters().bytesSkipped, 0U);
}

TEST(SonarLink, WhatThisSideDoesNotReadIsNotUnfinished)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    auto options = OptionsFor(peer.Port());
    // Long enough for a busy machine to get from the end of the pause to the read.
    options.idleLimit = milliseconds(200);
    SonarLink link(thread, options, listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    peer.Write(Frame({}));
    ASSERT_TRUE(listener.WaitForFrames(1));
    // On the link thread, where the next read is under way by now: it takes the first half of a frame, and the other
    // half waits while the limit passes more than once.
    std::promise<void> paused;
    thread.Post([&] {
        link.SetReadingPaused(true);
        paused.set_value();
    });
    paused.get_future().wait();
    auto const frame = Frame(Bytes(100, 7));
    peer.Write(Bytes(frame.begin(), frame.begin() + 100));
    ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesIn == 68 + 100; }));
    peer.Write(Bytes(frame.begin() + 100, frame.end()));
    std::atomic<int> passed{0};
    auto const begun = std::chrono::steady_clock::now();
    ASSERT_TRUE(Eventually([&] {
        thread.Post([&] { ++passed; });
        return passed > 100 && std::chrono::steady_clock::now() - begun > 2 * options.idleLimit;
    }));
    link.SetReadingPaused(false);
    ASSERT_TRUE(listener.WaitForFrames(2));
    EXPECT_EQ(listener.Frames()[1], frame);
    EXPECT_EQ(link.GetCounters().bytesSkipped, 0U);
    link.Close();
    // What was posted has run before its counter goes.
    std::promise<void> done;
    thread.Post([&] { done.set_value(); });
    done.get_future().wait();
}

struct LostLine
{
    std::chrono::steady_clock::duration after;
    std::string reason;
    std::vector<std::string> reports;
};

/// A peer may vanish; each test of that begins here, before there are threads.
class LineThatIsCut : public ::testing::Test
{
protected:
    void SetUp() override
    {
        if (std::string const why = qx5::test::PrepareToDropSegments(); !why.empty()) {
            GTEST_SKIP() << why;
        }
    }
};

/// Connects, lets the peer vanish, sends, and tells how the link took it.
LostLine LoseToSilence(LineWatch const& watch, std::vector<Bytes> const& frames)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    auto options = OptionsFor(peer.Port());
    options.watch = watch;
    SonarLink link(thread, options, listener);
    link.Open();
    EXPECT_TRUE(listener.WaitForState(LinkState::Connected));
    EXPECT_TRUE(peer.WaitForConnections(1));
    EXPECT_TRUE(link.Send(Command(1000)));
    EXPECT_TRUE(peer.WaitForBytes(92));
    peer.Vanish();
    auto const begun = std::chrono::steady_clock::now();
    for (auto const& frame : frames) {
        EXPECT_TRUE(link.Send(frame));
    }
    EXPECT_TRUE(listener.WaitForState(LinkState::Lost));
    LostLine lost{std::chrono::steady_clock::now() - begun, {}, {}};
    EXPECT_TRUE(listener.WaitForState(LinkState::Waiting));
    for (auto const& status : listener.Statuses()) {
        if (status.state == LinkState::Lost) {
            lost.reason = status.reason.substr(status.reason.find(": ") + 2);
        }
    }
    link.Close();
    for (auto const& report : listener.Reports()) {
        lost.reports.push_back(report.substr(report.find(": ") + 2));
    }
    return lost;
}

TEST_F(LineThatIsCut, IsLostWithinThreeSecondsWhenItIsQuiet)
{
    auto const lost = LoseToSilence({}, {});
    EXPECT_LT(lost.after, std::chrono::seconds(3));
    EXPECT_EQ(lost.reason, "the sonar acknowledged nothing for 2000 ms");
    EXPECT_TRUE(lost.reports.empty()) << "all that was sent had been acknowledged";
}

TEST_F(LineThatIsCut, IsLostWithinThreeSecondsWhenItIsBusyAndTellsWhatWasNotAcknowledged)
{
    auto const lost = LoseToSilence({}, {Command(1003), Frame({1, 2}), Command(1107)});
    EXPECT_LT(lost.after, std::chrono::seconds(3));
    EXPECT_EQ(lost.reason, "the sonar acknowledged nothing for 2000 ms");
    EXPECT_EQ(lost.reports,
              (std::vector<std::string>{"3 records (254 bytes) were sent and not acknowledged: 1003, 7, 1107"}));
}

TEST_F(LineThatIsCut, IsLostByEachPortsOwnPatience)
{
    LineWatch watch;
    watch.unacknowledged = milliseconds(300);
    auto const lost = LoseToSilence(watch, {Command(1003)});
    EXPECT_LT(lost.after, std::chrono::seconds(2));
    EXPECT_EQ(lost.reason, "the sonar acknowledged nothing for 300 ms");
    EXPECT_EQ(lost.reports, (std::vector<std::string>{"1 record (92 bytes) was sent and not acknowledged: 1003"}));
}

TEST_F(ConnectedLink, APeerThatTakesNothingMoreIsLostWithWhatWaited)
{
    peer.SetReading(false);
    options.systemBufferBytes = 4096;
    options.watch.unacknowledged = milliseconds(300);
    auto& link = Connect();
    // More than all buffers on the way hold, so that the window closes and the rest waits here.
    auto const frame = Numbered(0, 60'000);
    while (link.Send(frame)) {
    }
    ASSERT_TRUE(listener.WaitForState(LinkState::Lost));
    ASSERT_TRUE(listener.WaitForReport());
    EXPECT_NE(listener.Reports()[0].find("were sent and not acknowledged: 7, 7, "), std::string::npos)
        << listener.Reports()[0];
}

TEST_F(ConnectedLink, AnEndlessStreamOfGarbageIsDropped)
{
    auto& link = Connect();
    Bytes const garbage(1 << 20, 0xAB);
    for (int i = 0; i < 32; ++i) {
        peer.Write(garbage);
    }
    peer.Write(Frame({1}));
    ASSERT_TRUE(listener.WaitForFrames(1));
    ASSERT_TRUE(Eventually([&] { return link.GetCounters().bytesSkipped == 32U << 20; }));
    EXPECT_EQ(listener.Reports().size(), 1U);
}

TEST_F(ConnectedLink, AFullQueueRefusesAtOnceAndNothingIsTorn)
{
    peer.SetReading(false);
    options.queueBytes = 100'000;
    options.systemBufferBytes = 4096;
    auto& link = Connect();
    std::uint32_t index = 0;
    std::vector<std::uint32_t> accepted;
    std::size_t bytes = 0;
    std::size_t refused = 0;
    // The peer's own buffers are large; go on until the refusals are no accident.
    while (refused < 100) {
        auto const frame = Numbered(index, 4 + index % 3000);
        if (link.Send(frame)) {
            accepted.push_back(index);
            bytes += frame.size();
        } else {
            ++refused;
        }
        ++index;
        ASSERT_LE(link.GetQueuedBytes(), options.queueBytes);
    }
    EXPECT_EQ(link.GetCounters().refused, refused);
    peer.SetReading(true);
    ASSERT_TRUE(peer.WaitForBytes(bytes));
    EXPECT_EQ(IndicesOf(peer.Received()), accepted);
    ASSERT_TRUE(Eventually([&] { return link.GetQueuedBytes() == 0; }));
    EXPECT_TRUE(link.Send(Numbered(index, 4))) << "room again";
}

TEST_F(ConnectedLink, OneFrameBeyondTheQueueStillLeavesWhole)
{
    peer.SetReading(false);
    options.queueBytes = 10;
    options.greatestFrame = 12'000'000;
    auto& link = Connect();
    EXPECT_FALSE(link.Send(Numbered(1, 13'000'000)));
    auto const frame = Numbered(1, 11'000'000);
    EXPECT_TRUE(link.Send(frame));
    EXPECT_FALSE(link.Send(Numbered(2, 4)));
    peer.SetReading(true);
    ASSERT_TRUE(peer.WaitForBytes(frame.size()));
    EXPECT_EQ(peer.Received(), frame);
}

TEST_F(ConnectedLink, ThatIsQuietDoesNotWaitForAllOfOneThatFloods)
{
    Peer quietPeer;
    std::promise<void> begun;
    std::promise<void> letGo;
    std::atomic<int> told{0};
    listener.onFrame = [&] {
        if (told.fetch_add(1) == 0) {
            begun.set_value();
            letGo.get_future().wait();
        }
    };
    Connect();
    SonarLink quiet(thread, OptionsFor(quietPeer.Port()), listener);
    quiet.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected, 2));
    ASSERT_TRUE(quietPeer.WaitForConnections(1));
    // All in one read: the first is held until the quiet one has told something.
    Bytes flood;
    for (std::uint32_t i = 0; i < 8; ++i) {
        auto const frame = Numbered(i, 1900);
        flood.insert(flood.end(), frame.begin(), frame.end());
    }
    peer.Write(flood);
    begun.get_future().wait();
    quietPeer.Write(Numbered(100, 100));
    letGo.set_value();
    ASSERT_TRUE(listener.WaitForFrames(9));
    std::vector<std::uint32_t> order;
    for (auto const& frame : listener.Frames()) {
        order.push_back(U32At(frame, 64));
    }
    auto const at = std::find(order.begin(), order.end(), 100U);
    // Frames are taken by 2 KiB, here two at a time.
    EXPECT_LE(at - order.begin(), 4);
    std::erase(order, 100U);
    EXPECT_EQ(order, (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5, 6, 7})) << "each keeps its order";
}

TEST_F(ConnectedLink, LongFramesWaitInOrderWithoutACopyAsLongAsThereIsRoomForThem)
{
    peer.SetReading(false);
    options.queueBytes = 100'000;
    auto& link = Connect();
    Bytes all;
    auto const note = [&](Bytes const& frame) { all.insert(all.end(), frame.begin(), frame.end()); };
    // 256 times the queue hold four of 6 MB, and no fifth.
    for (std::uint32_t i = 0; i < 4; ++i) {
        auto const frame = std::make_shared<Bytes>(Numbered(2 * i, 6'000'000));
        EXPECT_TRUE(link.SendOwned({frame, *frame}));
        EXPECT_GT(frame.use_count(), 1) << "kept as it is";
        auto const between = Numbered(2 * i + 1, 100);
        EXPECT_TRUE(link.Send(between));
        note(*frame);
        note(between);
    }
    auto const fifth = std::make_shared<Bytes>(Numbered(9, 6'000'000));
    EXPECT_FALSE(link.SendOwned({fifth, *fifth}));
    EXPECT_FALSE(link.Send(*fifth));
    EXPECT_EQ(fifth.use_count(), 1);
    EXPECT_TRUE(link.Send(Numbered(9, 100)));
    note(Numbered(9, 100));
    peer.SetReading(true);
    ASSERT_TRUE(peer.WaitForBytes(all.size()));
    EXPECT_TRUE(peer.Received() == all);
    ASSERT_TRUE(Eventually([&] { return link.GetQueuedBytes() == 0; }));
    EXPECT_TRUE(link.SendOwned({fifth, *fifth})) << "room again";
    EXPECT_EQ(link.GetCounters().refused, 2U);
}

/// Announces more work for as long as it lives; what is held when it goes is sent.
struct BusySender
{
    BusySender() { SendGathering::AnnounceMore(true); }
    BusySender(BusySender const&) = delete;
    BusySender& operator=(BusySender const&) = delete;
    ~BusySender()
    {
        SendGathering::AnnounceMore(false);
        SendGathering::SendHeld();
    }
};

TEST_F(ConnectedLink, GatheredFramesArriveWholeAndInOrder)
{
    auto& link = Connect();
    std::vector<std::uint32_t> sent;
    std::size_t bytes = 0;
    {
        BusySender const busy;
        for (std::uint32_t index = 0; index < 2000; ++index) {
            // Now and then one that is larger than all that may be held.
            auto const frame = Numbered(index, index % 100 == 50 ? 40'000 : 4 + index % 300);
            ASSERT_TRUE(link.Send(frame));
            sent.push_back(index);
            bytes += frame.size();
        }
        EXPECT_EQ(link.GetCounters().framesOut, 2000U);
        EXPECT_EQ(link.GetCounters().bytesOut, bytes);
    }
    ASSERT_TRUE(peer.WaitForBytes(bytes));
    EXPECT_EQ(IndicesOf(peer.Received()), sent);
    EXPECT_TRUE(Eventually([&] { return link.GetQueuedBytes() == 0; }));
}

TEST_F(ConnectedLink, AHeldFrameLeavesThoughItsSenderStaysBusy)
{
    auto& link = Connect();
    BusySender const busy;
    for (std::uint32_t index = 0; index < 3; ++index) {
        ASSERT_TRUE(link.Send(Numbered(index, 4)));
        ASSERT_TRUE(peer.WaitForBytes(72 * (std::size_t{index} + 1)));
    }
    EXPECT_EQ(IndicesOf(peer.Received()), (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST_F(ConnectedLink, AnotherThreadsFrameFollowsThoseThatAreHeld)
{
    auto& link = Connect();
    BusySender const busy;
    ASSERT_TRUE(link.Send(Numbered(0, 4)));
    ASSERT_TRUE(link.Send(Numbered(1, 4)));
    std::thread([&] { EXPECT_TRUE(link.Send(Numbered(2, 4))); }).join();
    EXPECT_EQ(link.GetQueuedBytes(), 0U) << "a thread that announced nothing waits for nobody";
    ASSERT_TRUE(peer.WaitForBytes(3 * 72));
    EXPECT_EQ(IndicesOf(peer.Received()), (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(SonarLink, ClosingSendsWhatIsHeld)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    BusySender const busy;
    {
        SonarLink link(thread, OptionsFor(peer.Port()), listener);
        link.Open();
        ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
        ASSERT_TRUE(link.Send(Numbered(7, 4)));
        link.Close();
        ASSERT_TRUE(peer.WaitForBytes(72));
        EXPECT_EQ(IndicesOf(peer.Received()), (std::vector<std::uint32_t>{7}));
    }
    // The link is gone; what was announced for it is nothing any more.
    SendGathering::SendHeld();
}

TEST_F(ConnectedLink, AFullQueueRefusesGatheredFramesToo)
{
    peer.SetReading(false);
    options.queueBytes = 100'000;
    options.systemBufferBytes = 4096;
    auto& link = Connect();
    BusySender const busy;
    std::vector<std::uint32_t> accepted;
    std::size_t bytes = 0;
    for (std::uint32_t index = 0, refused = 0; refused < 100; ++index) {
        auto const frame = Numbered(index, 4 + index % 3000);
        if (link.Send(frame)) {
            accepted.push_back(index);
            bytes += frame.size();
        } else {
            ++refused;
        }
        ASSERT_LE(link.GetQueuedBytes(), options.queueBytes);
    }
    peer.SetReading(true);
    ASSERT_TRUE(peer.WaitForBytes(bytes));
    EXPECT_EQ(IndicesOf(peer.Received()), accepted);
}

TEST_F(ConnectedLink, EightThreadsGiveWholeFrames)
{
    options.systemBufferBytes = 4096; // so that both ways, straight and queued, are taken
    auto& link = Connect();
    constexpr std::uint32_t Each = 500;
    std::atomic<std::size_t> bytes{0};
    std::vector<std::thread> senders;
    for (std::uint32_t sender = 0; sender < 8; ++sender) {
        senders.emplace_back([&, sender] {
            for (std::uint32_t i = 0; i < Each; ++i) {
                auto const frame = Numbered(sender * Each + i, 4 + (i * 37) % 900);
                while (!link.Send(frame)) {
                    std::this_thread::yield();
                }
                bytes += frame.size();
            }
        });
    }
    for (auto& sender : senders) {
        sender.join();
    }
    ASSERT_TRUE(peer.WaitForBytes(bytes));
    auto const indices = IndicesOf(peer.Received());
    ASSERT_EQ(indices.size(), 8U * Each);
    // Each sender's frames in its own order.
    std::array<std::uint32_t, 8> next{};
    for (auto const index : indices) {
        EXPECT_EQ(index % Each, next[index / Each]++);
    }
}

TEST(SonarLink, ComesBackAfterACutAndSendsNothingOld)
{
    Peer peer;
    FaultRelay relay(peer.Port());
    LinkThread thread;
    Listener listener;
    auto options = OptionsFor(relay.Port());
    options.systemBufferBytes = 4096;
    SonarLink link(thread, options, listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    // Exactly one frame passes; then the relay takes no more, frames pile up, one of them half sent.
    ASSERT_TRUE(link.Send(Numbered(1, 4)));
    ASSERT_TRUE(peer.WaitForBytes(72));
    relay.SetStalled(FaultRelay::Direction::ToTarget, true);
    while (link.Send(Numbered(2, 5000))) {
    }
    EXPECT_GT(link.GetQueuedBytes(), 0U);
    relay.SetRefusing(true);
    relay.Cut();
    ASSERT_TRUE(listener.WaitForState(LinkState::Lost));
    EXPECT_FALSE(link.Send(Numbered(3, 4)));
    EXPECT_EQ(link.GetQueuedBytes(), 0U);
    ASSERT_TRUE(listener.WaitForState(LinkState::Waiting, 4)) << "refused and tried again";
    relay.SetStalled(FaultRelay::Direction::ToTarget, false);
    relay.SetRefusing(false);
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected, 2));
    ASSERT_TRUE(link.Send(Numbered(4, 4)));
    ASSERT_TRUE(peer.WaitForBytes(144));
    EXPECT_EQ(IndicesOf(peer.Received()), (std::vector<std::uint32_t>{1, 4}));
}

TEST(SonarLink, TellsStatesInOrderWithReasonsAndBacksOff)
{
    std::uint16_t nobody = 0;
    {
        Peer gone;
        nobody = gone.Port();
    }
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(nobody), listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Waiting, 6));
    link.Close();
    auto const statuses = listener.Statuses();
    std::vector<long> waits;
    for (std::size_t i = 0; i + 1 < statuses.size() && waits.size() < 6; i += 2) {
        EXPECT_EQ(statuses[i].state, LinkState::Connecting);
        EXPECT_EQ(statuses[i + 1].state, LinkState::Waiting);
        EXPECT_NE(statuses[i + 1].reason.find("127.0.0.1:" + std::to_string(nobody)), std::string::npos);
        EXPECT_NE(statuses[i + 1].reason.find("refused"), std::string::npos) << statuses[i + 1].reason;
        waits.push_back(static_cast<long>(statuses[i + 1].retryIn.count()));
    }
    EXPECT_EQ(waits, (std::vector<long>{1, 2, 4, 8, 8, 8}));
}

TEST(SonarLink, ASonarThatHangsUpAtOnceIsNotRetriedInHaste)
{
    Peer peer;
    FaultRelay relay(peer.Port());
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(relay.Port()), listener);
    link.Open();
    for (std::size_t round = 1; round <= 5; ++round) {
        ASSERT_TRUE(listener.WaitForState(LinkState::Connected, round));
        // The system connects before the relay has taken the connection, and only then can it be cut.
        ASSERT_TRUE(Eventually([&] { return relay.Connections() == round; }));
        relay.Cut();
        ASSERT_TRUE(listener.WaitForState(LinkState::Waiting, round));
    }
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected, 6));
    ASSERT_TRUE(peer.WaitForConnections(6));
    // One good frame proves the connection, and the waits begin anew.
    ASSERT_TRUE(Eventually([&] {
        peer.Write(Frame({1}));
        return link.GetCounters().framesIn > 0;
    }));
    relay.Cut();
    ASSERT_TRUE(listener.WaitForState(LinkState::Waiting, 6));
    std::vector<long> waits;
    for (auto const& status : listener.Statuses()) {
        if (status.state == LinkState::Waiting) {
            waits.push_back(static_cast<long>(status.retryIn.count()));
        }
    }
    waits.resize(6);
    EXPECT_EQ(waits, (std::vector<long>{1, 2, 4, 8, 8, 1}));
}

TEST(SonarLink, ReadingGoesOnWhereItWasPaused)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    auto options = OptionsFor(peer.Port());
    SonarLink link(thread, options, listener);
    listener.onFrame = [&] { link.SetReadingPaused(true); };
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    Bytes stream;
    for (std::uint32_t index = 0; index < 4000; ++index) {
        auto const frame = Numbered(index, 4);
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    std::thread writer([&] { peer.Write(stream); });
    ASSERT_TRUE(listener.WaitForFrames(1));
    // Each frame pauses anew.
    auto const all = Eventually([&] {
        link.SetReadingPaused(false);
        return link.GetCounters().framesIn == 4000;
    });
    writer.join();
    ASSERT_TRUE(all);
    ASSERT_TRUE(listener.WaitForFrames(4000));
    EXPECT_EQ(listener.Frames().back(), Numbered(3999, 4));
}

TEST(SonarLink, PausedReadingTakesOneReadAtMost)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(peer.Port()), listener);
    listener.onFrame = [&] { link.SetReadingPaused(true); };
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    Bytes const frame = Frame(Bytes(32, 1)); // 100 bytes
    Bytes stream;
    for (int i = 0; i < 3000; ++i) {
        stream.insert(stream.end(), frame.begin(), frame.end());
    }
    peer.Write(stream);
    ASSERT_TRUE(listener.WaitForFrames(1));
    // Whatever the link thread still had to do is done once a task behind it has run.
    for (int i = 0; i < 10; ++i) {
        std::promise<void> done;
        thread.Post([&] { done.set_value(); });
        done.get_future().wait();
    }
    EXPECT_LE(link.GetCounters().bytesIn, 65536U);
}

TEST(SonarLink, ANameWithoutAnswerBlocksNothing)
{
    Peer peer;
    std::binary_semaphore release(0);
    std::promise<void> finished;
    {
        LinkThread thread;
        Listener stuck;
        auto options = OptionsFor(peer.Port());
        options.host = "sonar.invalid";
        options.connectTimeout = milliseconds(20);
        std::atomic<int> asked{0};
        options.lookUp = [&](std::string const& host) -> std::vector<std::string> {
            EXPECT_EQ(host, "sonar.invalid");
            ++asked;
            release.acquire();
            finished.set_value();
            return {"127.0.0.1"};
        };
        SonarLink stuckLink(thread, options, stuck);
        stuckLink.Open();
        ASSERT_TRUE(stuck.WaitForState(LinkState::Waiting, 3));
        EXPECT_NE(stuck.Statuses()[1].reason.find("no answer"), std::string::npos) << stuck.Statuses()[1].reason;
        EXPECT_EQ(asked, 1) << "the attempts share the look-up";
        EXPECT_FALSE(stuckLink.Send(Frame({1})));

        Listener listener;
        SonarLink link(thread, OptionsFor(peer.Port()), listener);
        link.Open();
        ASSERT_TRUE(listener.WaitForState(LinkState::Connected)) << "another link is not held up";
        EXPECT_TRUE(link.Send(Frame({1})));
    } // both links and the thread end while the look-up is still under way
    release.release();
    EXPECT_EQ(finished.get_future().wait_for(Deadline), std::future_status::ready);
}

TEST(SonarLink, ALateAnswerOfTheNameServesTheNextAttempt)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    std::counting_semaphore<> release(0);
    auto options = OptionsFor(peer.Port());
    options.host = "sonar.invalid";
    options.connectTimeout = milliseconds(20);
    options.lookUp = [&](std::string const&) -> std::vector<std::string> {
        release.acquire();
        return {"127.0.0.1"};
    };
    SonarLink link(thread, options, listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Waiting));
    // Each attempt that looks the name up takes one permit.
    ASSERT_TRUE(Eventually([&] {
        release.release();
        return link.IsConnected();
    }));
    link.Close();
}

TEST(SonarLink, AWrongNameSaysSo)
{
    LinkThread thread;
    Listener listener;
    auto options = OptionsFor(1);
    options.host = "sonar.invalid";
    options.lookUp = [](std::string const&) -> std::vector<std::string> { throw std::runtime_error("no such name"); };
    SonarLink link(thread, options, listener);
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Waiting, 2));
    EXPECT_EQ(listener.Statuses()[1].reason, "sonar.invalid:1: no such name");
}

TEST(SonarLink, NoCallComesAfterClose)
{
    Peer peer;
    LinkThread thread;
    for (int round = 0; round < 50; ++round) {
        Listener listener;
        SonarLink link(thread, OptionsFor(peer.Port()), listener);
        link.Open();
        if (round % 2 == 0) {
            ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
        }
        link.Close();
        auto const count = listener.Statuses().size();
        std::promise<void> done;
        thread.Post([&] { done.set_value(); });
        done.get_future().wait();
        EXPECT_EQ(listener.Statuses().size(), count);
    }
}

TEST(SonarLink, AListenerMayCloseTheLink)
{
    Peer peer;
    LinkThread thread;
    Listener listener;
    SonarLink link(thread, OptionsFor(peer.Port()), listener);
    listener.onFrame = [&] { link.Close(); };
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    auto twoFrames = Frame({1});
    auto const second = Frame({2});
    twoFrames.insert(twoFrames.end(), second.begin(), second.end());
    peer.Write(twoFrames);
    ASSERT_TRUE(listener.WaitForFrames(1));
    ASSERT_TRUE(Eventually([&] { return link.GetStatus().state == LinkState::Closed; }));
    EXPECT_EQ(listener.Frames().size(), 1U);
}

TEST(SonarLink, AnObserverSeesFramesOfBothDirections)
{
    struct Observer : LinkObserver
    {
        void OnTrace(LinkTrace const& trace) override
        {
            std::lock_guard const lock(mutex);
            traces.push_back({trace.outgoing, trace.time, trace.sequence, {}});
            frames.emplace_back(trace.frame.begin(), trace.frame.end());
        }
        std::mutex mutex;
        std::vector<LinkTrace> traces;
        std::vector<Bytes> frames;
    };
    Peer peer;
    LinkThread thread;
    Listener listener;
    auto options = OptionsFor(peer.Port());
    options.clock = [] { return 1700000000.5; };
    SonarLink link(thread, options, listener);
    auto const observer = std::make_shared<Observer>();
    link.Open();
    ASSERT_TRUE(listener.WaitForState(LinkState::Connected));
    ASSERT_TRUE(peer.WaitForConnections(1));
    ASSERT_TRUE(link.Send(Frame({1})));
    link.SetObserver(observer);
    ASSERT_TRUE(link.Send(Frame({2})));
    peer.Write(Frame({3}));
    ASSERT_TRUE(listener.WaitForFrames(1));
    link.SetObserver(nullptr);
    ASSERT_TRUE(link.Send(Frame({4})));
    link.Close();
    ASSERT_EQ(observer->frames, (std::vector<Bytes>{Frame({2}), Frame({3})}));
    EXPECT_TRUE(observer->traces[0].outgoing);
    EXPECT_EQ(observer->traces[0].sequence, 2U);
    EXPECT_EQ(observer->traces[0].time, 1700000000.5);
    EXPECT_FALSE(observer->traces[1].outgoing);
    EXPECT_EQ(observer->traces[1].sequence, 1U);
}

} // namespace
} // namespace vordal::test
