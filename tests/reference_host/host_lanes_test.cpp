// Tests of the lanes of the host thread: against a plain model, and of what goes first on the thread.
#include <reference_host/common/host_lanes.h>
#include <reference_host/common/host_thread.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <vector>

namespace vordal::test {
namespace {

/// The lanes as one would tell them: whose turn it is, and what each may still take.
class PlainLanes
{
public:
    explicit PlainLanes(std::size_t lanes) : m_lanes(lanes) {}

    void Put(std::size_t lane, std::size_t weight)
    {
        if (m_lanes[lane].waiting.empty()) {
            m_lanes[lane].credit = 16384;
            m_turns.push_back(lane);
        }
        m_lanes[lane].waiting.push_back({weight, m_count++});
    }
    std::uint64_t Take()
    {
        for (;;) {
            auto const lane = m_turns.front();
            auto const cost = std::min<std::size_t>(m_lanes[lane].waiting.front().weight, 1048576);
            if (cost <= m_lanes[lane].credit) {
                m_lanes[lane].credit -= cost;
                return TakeFrom(lane);
            }
            m_lanes[lane].credit += 16384;
            m_turns.erase(m_turns.begin());
            m_turns.push_back(lane);
        }
    }
    std::uint64_t TakeOldest() { return TakeFrom(OldestLane()); }
    std::uint64_t Oldest() const { return m_lanes[OldestLane()].waiting.front().number; }
    std::uint64_t TakeFrom(std::size_t lane)
    {
        auto const number = m_lanes[lane].waiting.front().number;
        m_lanes[lane].waiting.pop_front();
        if (m_lanes[lane].waiting.empty()) {
            m_turns.erase(std::find(m_turns.begin(), m_turns.end(), lane));
        }
        return number;
    }
    std::vector<std::uint64_t> Empty(std::size_t lane)
    {
        std::vector<std::uint64_t> numbers;
        while (!m_lanes[lane].waiting.empty()) {
            numbers.push_back(TakeFrom(lane));
        }
        return numbers;
    }
    bool IsEmpty(std::size_t lane) const { return m_lanes[lane].waiting.empty(); }
    bool IsEmpty() const { return m_turns.empty(); }
    std::size_t Weight() const
    {
        std::size_t weight = 0;
        for (auto const& lane : m_lanes) {
            for (auto const& each : lane.waiting) {
                weight += each.weight;
            }
        }
        return weight;
    }

private:
    struct Waiting
    {
        std::size_t weight;
        std::uint64_t number;
    };
    struct Lane
    {
        std::deque<Waiting> waiting;
        std::size_t credit = 0;
    };

    std::size_t OldestLane() const
    {
        return *std::min_element(m_turns.begin(), m_turns.end(), [this](std::size_t a, std::size_t b) {
            return m_lanes[a].waiting.front().number < m_lanes[b].waiting.front().number;
        });
    }

    std::vector<Lane> m_lanes;
    std::vector<std::size_t> m_turns;
    std::uint64_t m_count = 0;
};

TEST(HostLanes, TakeTurnsAsAPlainModelDoes)
{
    std::mt19937 random(20260112);
    auto const below = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); };
    for (int round = 0; round < 60; ++round) {
        std::size_t const count = 1 + below(9);
        HostLanes lanes;
        std::deque<HostLane> each(count);
        PlainLanes plain(count);
        std::uint64_t done = 0;
        auto const run = [&](HostTask task) {
            task();
            return done;
        };
        std::uint64_t number = 0;
        for (int step = 0; step < 1500; ++step) {
            std::size_t const lane = below(count);
            switch (below(12)) {
            default: {
                // Of some lanes much heavier ones.
                auto const weight = below(8) == 0 ? below(3'000'000) : below(lane % 2 == 0 ? 2000 : 100'000);
                lanes.Put(each[lane], weight, HostTask([&done, number] { done = number; }));
                plain.Put(lane, weight);
                ++number;
                break;
            }
            case 0:
            case 1:
            case 2:
            case 3:
            case 4:
                if (!plain.IsEmpty()) {
                    ASSERT_EQ(run(lanes.Take()), plain.Take());
                }
                break;
            case 5:
                if (!plain.IsEmpty()) {
                    ASSERT_EQ(lanes.Oldest(), plain.Oldest());
                    ASSERT_EQ(run(lanes.TakeOldest()), plain.TakeOldest());
                }
                break;
            case 6: {
                HostTask task;
                ASSERT_EQ(lanes.TakeFrom(each[lane], task), !plain.IsEmpty(lane));
                if (!plain.IsEmpty(lane)) {
                    ASSERT_EQ(run(std::move(task)), plain.TakeFrom(lane));
                }
                break;
            }
            case 7:
                if (below(10) == 0) {
                    std::vector<std::uint64_t> numbers;
                    for (auto& waiting : lanes.Empty(each[lane])) {
                        numbers.push_back(waiting.number);
                    }
                    ASSERT_EQ(numbers, plain.Empty(lane));
                }
                break;
            }
            ASSERT_EQ(lanes.IsEmpty(), plain.IsEmpty());
            ASSERT_EQ(lanes.Weight(), plain.Weight());
            ASSERT_EQ(lanes.Count(), number);
        }
        while (!lanes.IsEmpty()) {
            ASSERT_EQ(run(lanes.Take()), plain.Take());
        }
    }
}

TEST(HostLanes, AQuietLaneWaitsForOneTurnOfEachThatFloods)
{
    HostLanes lanes;
    std::deque<HostLane> floods(16);
    for (int i = 0; i < 256; ++i) {
        for (auto& flood : floods) {
            lanes.Put(flood, 4096, HostTask([] {}));
        }
    }
    HostLane quiet;
    bool isTold = false;
    lanes.Put(quiet, 500, HostTask([&] { isTold = true; }));
    int before = 0;
    for (; !isTold; ++before) {
        lanes.Take()();
    }
    // 16 turns of four tasks each, and its own.
    EXPECT_LE(before, 16 * 4 + 1);
    for (auto& flood : floods) {
        EXPECT_EQ(lanes.Empty(flood).size(), 252U);
    }
    EXPECT_TRUE(lanes.IsEmpty());
    EXPECT_EQ(lanes.Weight(), 0U);
}

/// A host thread that is held until it is let go, and the order in which tasks ran on it.
class Line : public testing::Test
{
protected:
    void Hold()
    {
        thread.Post([this] {
            held.set_value();
            letGo.get_future().wait();
        });
        held.get_future().wait();
    }
    void LetGo()
    {
        letGo.set_value();
        EXPECT_TRUE(thread.Stop(std::chrono::seconds(60)));
    }
    HostTask Note(int what)
    {
        return HostTask([this, what] { ran.push_back(what); });
    }

    std::promise<void> held;
    std::promise<void> letGo;
    std::vector<int> ran; ///< host thread, until it has stopped
    std::array<HostLane, 3> lanes;
    HostThread thread;
};

TEST_F(Line, IsThatOfPostingWhileLittleWaitsInLanes)
{
    Hold();
    for (int i = 0; i < 30; ++i) {
        if (i % 4 == 3) {
            thread.Post(Note(i));
        } else {
            thread.PostTo(lanes[static_cast<std::size_t>(i % 3)], 1000, Note(i));
        }
    }
    thread.Post(Note(30));
    LetGo();
    std::vector<int> expected(31);
    for (int i = 0; i < 31; ++i) {
        expected[static_cast<std::size_t>(i)] = i;
    }
    EXPECT_EQ(ran, expected);
}

TEST_F(Line, OfTasksIsBeforeLanesWhereMuchWaitsInThem)
{
    Hold();
    for (int i = 0; i < 100; ++i) {
        thread.PostTo(lanes[0], 100'000, Note(i));
    }
    thread.PostTo(lanes[1], 100, Note(200));
    thread.Post(Note(300));
    LetGo();
    ASSERT_EQ(ran.size(), 102U);
    EXPECT_LE(std::find(ran.begin(), ran.end(), 300) - ran.begin(), 1) << "a request waits for one at most";
    EXPECT_LE(std::find(ran.begin(), ran.end(), 200) - ran.begin(), 3) << "the quiet lane";
}

TEST_F(Line, OfOneLaneIsRunAtOnceOrDropped)
{
    Hold();
    thread.PostTo(lanes[0], 1, Note(1));
    thread.PostTo(lanes[1], 1, Note(2));
    thread.PostTo(lanes[2], 1, Note(3));
    thread.EmptyLane(lanes[1]);
    thread.EmptyLane(lanes[1]);
    thread.PostTo(lanes[0], 2'000'000, Note(4));
    thread.Post([this] {
        thread.RunLane(lanes[2]);
        ran.push_back(5);
    });
    EXPECT_GT(thread.LaneWeight(), 2'000'000U);
    LetGo();
    // Between what was taken at once and what was posted meanwhile the lanes have one task.
    EXPECT_EQ(ran, (std::vector<int>{1, 3, 5, 4}));
    EXPECT_EQ(thread.LaneWeight(), 0U);
    EXPECT_FALSE(thread.PostTo(lanes[0], 1, Note(6))) << "it has stopped";
}

} // namespace
} // namespace vordal::test
