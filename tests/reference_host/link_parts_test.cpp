// Tests of the parts of a link that need no socket: when it tries again, what waits to be sent, what left last.
#include "link_test_peer.h"

#include <reference_host/link/back_off.h>
#include <reference_host/link/send_queue.h>
#include <reference_host/link/sent_frames.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <memory>
#include <numeric>
#include <random>

namespace vordal::test {
namespace {

using std::chrono::milliseconds;

TEST(BackOff, DoublesToTheGreatestAndStartsAnew)
{
    BackOff backOff({milliseconds(100), milliseconds(5000), 0.0}, 1);
    std::vector<long> waits;
    for (int i = 0; i < 8; ++i) {
        waits.push_back(static_cast<long>(backOff.Next().count()));
    }
    EXPECT_EQ(waits, (std::vector<long>{100, 200, 400, 800, 1600, 3200, 5000, 5000}));
    backOff.Reset();
    EXPECT_EQ(backOff.Next().count(), 100);
}

TEST(BackOff, ChanceShortensByAtMostItsShare)
{
    BackOff backOff({milliseconds(1000), milliseconds(1000), 0.2}, 7);
    bool differs = false;
    for (int i = 0; i < 1000; ++i) {
        auto const wait = backOff.Next().count();
        ASSERT_GE(wait, 800);
        ASSERT_LE(wait, 1000);
        differs = differs || wait < 950;
    }
    EXPECT_TRUE(differs);
}

TEST(BackOff, OddSchedulesStayBounded)
{
    BackOff none({milliseconds(0), milliseconds(0), 5.0}, 1);
    BackOff huge({milliseconds::max(), milliseconds::max(), -1.0}, 1);
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(none.Next().count(), 1);
        EXPECT_EQ(huge.Next().count(), 86'400'000);
    }
}

TEST(BackOff, OnlyAConnectionThatProvedItselfStartsAnew)
{
    BackOff backOff({milliseconds(100), milliseconds(5000), 0.0, milliseconds(2000)}, 1);
    BackOff::Time now{std::chrono::hours(1)};
    EXPECT_EQ(backOff.Next().count(), 100);
    EXPECT_EQ(backOff.Next().count(), 200);
    backOff.Connected(now);
    backOff.Lost(now + milliseconds(1999), false);
    EXPECT_EQ(backOff.Next().count(), 400) << "hung up a moment too early";
    backOff.Connected(now);
    backOff.Lost(now + milliseconds(2000), false);
    EXPECT_EQ(backOff.Next().count(), 100) << "stood long enough";
    EXPECT_EQ(backOff.Next().count(), 200);
    backOff.Connected(now);
    backOff.Lost(now, true);
    EXPECT_EQ(backOff.Next().count(), 100) << "brought something good";
}

/// 1, 2, 3 and so on, from `first`.
Bytes Counting(std::size_t size, unsigned char first = 1)
{
    Bytes bytes(size);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

Bytes Copy(std::span<unsigned char const> bytes)
{
    return {bytes.begin(), bytes.end()};
}

TEST(SendQueue, KeepsOrderWhileItsFrontLeaves)
{
    SendQueue queue(100);
    EXPECT_TRUE(queue.IsEmpty());
    queue.Append(Counting(4));
    queue.Append(Counting(3, 11));
    queue.Spend(3);
    EXPECT_EQ(queue.Bytes(), 4U);
    EXPECT_EQ(Copy(queue.Front()), (Bytes{4, 11, 12, 13}));
    queue.Append(Counting(2, 21));
    queue.Spend(2);
    EXPECT_EQ(Copy(queue.Front()), (Bytes{12, 13, 21, 22}));
    queue.Clear();
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_TRUE(queue.Front().empty());
}

TEST(SendQueue, HasRoomForItsSizeAndOneLongerFrameBeside)
{
    SendQueue queue(10);
    EXPECT_TRUE(queue.HasRoom(10));
    queue.Append(Counting(6));
    EXPECT_TRUE(queue.HasRoom(4));
    EXPECT_FALSE(queue.HasRoom(5));
    EXPECT_TRUE(queue.HasRoom(11)) << "a longer one waits beside them";
    queue.Append(Counting(11));
    EXPECT_FALSE(queue.HasRoom(11)) << "but no second one";
    // Whatever lies before the end of the long frame leaves with it.
    EXPECT_TRUE(queue.HasRoom(10));
    queue.Append(Counting(10));
    EXPECT_FALSE(queue.HasRoom(1));
    queue.Spend(16);
    EXPECT_FALSE(queue.HasRoom(11)) << "one byte of it is left";
    queue.Spend(1);
    EXPECT_TRUE(queue.HasRoom(11));
    EXPECT_FALSE(queue.HasRoom(1));
}

TEST(SendQueue, IsAsAPlainListOfItsFrames)
{
    std::mt19937 random(20260301);
    auto const below = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); };
    struct Frame
    {
        std::size_t size;
        std::size_t left; ///< of it
    };
    for (int round = 0; round < 100; ++round) {
        constexpr std::size_t greatest = 100;
        std::size_t const greatestLong = below(2) * 1000;
        SendQueue queue(greatest, greatestLong);
        std::deque<Frame> frames;
        Bytes waiting;
        unsigned char next = 0;
        for (int step = 0; step < 400; ++step) {
            std::size_t longBytes = 0;
            std::size_t behindLong = 0;
            for (Frame const& frame : frames) {
                longBytes += frame.size > greatest ? frame.size : 0;
                behindLong = frame.size > greatest ? 0 : behindLong + frame.left;
            }
            std::size_t const size = 1 + below(below(3) == 0 ? 400 : greatest);
            bool const hasRoom =
                size > greatest ? longBytes == 0 || longBytes + size <= greatestLong : behindLong + size <= greatest;
            ASSERT_EQ(queue.HasRoom(size), hasRoom);
            if (hasRoom && below(2) == 0) {
                auto const frame = Counting(size, next);
                next = static_cast<unsigned char>(next + size);
                waiting.insert(waiting.end(), frame.begin(), frame.end());
                frames.push_back({size, size});
                if (size > greatest && below(2) == 0) {
                    auto const owner = std::make_shared<Bytes>(frame);
                    queue.Append(OwnedBytes{owner, *owner});
                } else {
                    queue.Append(frame);
                }
            } else if (!waiting.empty()) {
                auto const front = queue.Front();
                ASSERT_FALSE(front.empty());
                ASSERT_LE(front.size(), waiting.size());
                ASSERT_TRUE(std::equal(front.begin(), front.end(), waiting.begin()));
                auto taken = below(2) == 0 ? front.size() : 1 + below(waiting.size());
                queue.Spend(taken);
                waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(taken));
                while (taken > 0) {
                    auto const ofFirst = std::min(taken, frames.front().left);
                    frames.front().left -= ofFirst;
                    taken -= ofFirst;
                    if (frames.front().left == 0) {
                        frames.pop_front();
                    }
                }
            }
            ASSERT_EQ(queue.Bytes(), waiting.size());
            ASSERT_EQ(queue.IsEmpty(), waiting.empty());
            if (below(100) == 0) {
                queue.Clear();
                frames.clear();
                waiting.clear();
            }
        }
    }
}

TEST(SendQueue, QueuesNothingOfAFrameThatIsTakenWhole)
{
    SendQueue queue(10);
    EXPECT_TRUE(queue.SendOrAppend(Counting(50), [](auto bytes) { return std::optional(bytes.size()); }));
    EXPECT_TRUE(queue.IsEmpty());
}

TEST(SendQueue, BringsAFramesEndInWhileItsFrontLeaves)
{
    // Pieces of 65,536 bytes come in from the end: two, until they meet the front.
    auto const frame = Counting(300000);
    Bytes left;
    std::vector<std::size_t> offered;
    SendQueue queue(1000);
    EXPECT_TRUE(queue.SendOrAppend(frame, [&](std::span<unsigned char const> bytes) {
        offered.push_back(bytes.size());
        auto const taken = std::min<std::size_t>(bytes.size(), 60000);
        left.insert(left.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(taken));
        return std::optional(taken);
    }));
    EXPECT_EQ(offered, (std::vector<std::size_t>{300000, 174464, 48928}));
    EXPECT_EQ(left.size(), 168928U);
    left.insert(left.end(), queue.Front().begin(), queue.Front().end());
    EXPECT_TRUE(left == frame);
    EXPECT_FALSE(queue.HasRoom(1001)) << "what is left is a long frame's rest";
    EXPECT_TRUE(queue.HasRoom(1000));
}

TEST(SendQueue, TellsThatTheConnectionBroke)
{
    int calls = 0;
    SendQueue queue(10);
    EXPECT_FALSE(queue.SendOrAppend(Counting(20), [](auto) { return std::optional<std::size_t>(); }));
    EXPECT_TRUE(queue.IsEmpty());
    EXPECT_FALSE(queue.SendOrAppend(Counting(200000),
                                    [&](auto) { return ++calls == 1 ? std::optional<std::size_t>(5) : std::nullopt; }));
    EXPECT_EQ(calls, 2);
}

TEST(SentFrames, NamesTheLastAndCountsTheRest)
{
    SentFrames sent;
    EXPECT_EQ(sent.TellUnacknowledged(0), "");
    EXPECT_EQ(sent.TellUnacknowledged(5), "") << "nothing was sent that could be missing";
    for (std::uint16_t id = 1000; id < 1020; ++id) {
        sent.Add(Command(id));
    }
    EXPECT_EQ(sent.Frames(), 20U);
    EXPECT_EQ(sent.Bytes(), 20U * 92U);
    EXPECT_EQ(sent.TellUnacknowledged(0), "");
    EXPECT_EQ(sent.TellUnacknowledged(1), "1 record (1 bytes) was sent and not acknowledged: 1019");
    EXPECT_EQ(sent.TellUnacknowledged(92), "1 record (92 bytes) was sent and not acknowledged: 1019");
    EXPECT_EQ(sent.TellUnacknowledged(93), "2 records (93 bytes) were sent and not acknowledged: 1018, 1019");
    EXPECT_EQ(sent.TellUnacknowledged(20 * 92),
              "20 records (1840 bytes) were sent and not acknowledged: 1000, 1001, 1002, 1003, 1004, 1005, 1006, "
              "1007, 1008, 1009, 1010, 1011 and more");
    for (int i = 0; i < 64; ++i) {
        sent.Add(Command(1100));
    }
    EXPECT_EQ(sent.TellUnacknowledged(100 * 92).substr(0, 20), "at least 64 records ");
}

} // namespace
} // namespace vordal::test
