// Tests of lanes: against a plain model, and of what goes first on the host thread.
#include <reference_host/common/host_thread.h>
#include <reference_host/common/task_lanes.h>
#include <reference_host/platform/short_turns.h>

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
#include <thread>
#include <vector>

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

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
            (m_ended >= m_lanes[lane].quietFrom ? m_quiet : m_others).push_back(lane);
        }
        m_lanes[lane].waiting.push_back({weight, m_count++});
    }
    std::uint64_t Take()
    {
        for (;;) {
            auto& line = m_quiet.empty() ? m_others : m_quiet;
            auto const lane = line.front();
            auto const cost = std::min<std::size_t>(m_lanes[lane].waiting.front().weight, 1048576);
            if (cost <= m_lanes[lane].credit) {
                m_lanes[lane].credit -= cost;
                return TakeFrom(lane);
            }
            m_lanes[lane].credit += 16384;
            ++m_ended;
            line.erase(line.begin());
            m_others.push_back(lane);
        }
    }
    std::uint64_t TakeOldest() { return TakeFrom(OldestLane()); }
    std::uint64_t Oldest() const { return m_lanes[OldestLane()].waiting.front().number; }
    std::uint64_t TakeFrom(std::size_t lane)
    {
        auto const number = m_lanes[lane].waiting.front().number;
        m_lanes[lane].waiting.pop_front();
        if (m_lanes[lane].waiting.empty()) {
            std::erase(m_quiet, lane);
            std::erase(m_others, lane);
            m_lanes[lane].quietFrom = ++m_ended + m_others.size();
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
    bool IsEmpty() const { return m_quiet.empty() && m_others.empty(); }
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
        std::uint64_t quietFrom = 0;
    };

    std::size_t OldestLane() const
    {
        auto all = m_quiet;
        all.insert(all.end(), m_others.begin(), m_others.end());
        return *std::min_element(all.begin(), all.end(), [this](std::size_t a, std::size_t b) {
            return m_lanes[a].waiting.front().number < m_lanes[b].waiting.front().number;
        });
    }

    std::vector<Lane> m_lanes;
    std::vector<std::size_t> m_quiet;
    std::vector<std::size_t> m_others;
    std::uint64_t m_ended = 0;
    std::uint64_t m_count = 0;
};

TEST(TaskLanes, TakeTurnsAsAPlainModelDoes)
{
    std::mt19937 random(20260112);
    auto const below = [&](std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); };
    for (int round = 0; round < 60; ++round) {
        std::size_t const count = 1 + below(9);
        TaskLanes lanes;
        std::deque<TaskLane> each(count);
        PlainLanes plain(count);
        std::uint64_t done = 0;
        auto const run = [&](HostTask task) {
            task();
            return done;
        };
        std::uint64_t number = 0;
        for (int step = 0; step < 1500; ++step) {
            std::size_t const lane = below(count);
            switch (below(11)) {
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
            case 6:
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

/// Sixteen lanes with more than they get turns for.
class Flood : public testing::Test
{
protected:
    Flood()
    {
        for (int i = 0; i < 256; ++i) {
            for (auto& flood : floods) {
                lanes.Put(flood, 4096, HostTask([this] { ++told; }));
            }
        }
    }
    ~Flood() override
    {
        for (auto& flood : floods) {
            lanes.Empty(flood);
        }
        EXPECT_TRUE(lanes.IsEmpty());
        EXPECT_EQ(lanes.Weight(), 0U);
    }
    void TakeTurns(int tasks)
    {
        for (int i = 0; i < tasks; ++i) {
            lanes.Take()();
        }
    }
    /// How many tasks of others go before what is put into the lane now.
    int Before(TaskLane& lane, std::size_t weight)
    {
        bool isTold = false;
        int const before = told;
        for (lanes.Put(lane, weight, HostTask([&] { isTold = true; })); !isTold;) {
            lanes.Take()();
        }
        return told - before;
    }

    TaskLanes lanes;
    std::deque<TaskLane> floods{16};
    int told = 0;
};

TEST_F(Flood, IsBehindALaneThatIsQuiet)
{
    TaskLane quiet;
    TakeTurns(100);
    EXPECT_EQ(Before(quiet, 500), 0);
    TakeTurns(16 * 4 + 4);
    EXPECT_EQ(Before(quiet, 500), 0) << "again, as each of the others had its turn meanwhile";
    TaskLane other;
    // What is heavier than a turn waits for the others' next three, one of which has begun.
    int const before = Before(other, 60'000);
    EXPECT_GE(before, 2 * 16 * 4);
    EXPECT_LE(before, 3 * 16 * 4);
}

TEST_F(Flood, IsNotBehindALaneThatOnlyLooksQuiet)
{
    TaskLane busy;
    TakeTurns(100);
    EXPECT_EQ(Before(busy, 500), 0);
    // It comes again at once each time: a turn of each of the others goes before.
    for (int i = 0; i < 10; ++i) {
        int const before = Before(busy, 500);
        EXPECT_GE(before, 15 * 4);
        EXPECT_LE(before, 16 * 4);
    }
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
    std::array<TaskLane, 3> lanes;
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

TEST_F(Line, IsThatOfPostingBetweenLanesAlsoWhileLittleWaits)
{
    Hold();
    // By turns the second of a lane would be behind the others' first.
    for (int i = 0; i < 6; ++i) {
        thread.PostTo(lanes[static_cast<std::size_t>(i / 2)], 10'000, Note(i));
    }
    LetGo();
    EXPECT_EQ(ran, (std::vector<int>{0, 1, 2, 3, 4, 5}));
}

TEST_F(Line, KeepsWhatWasPostedBeforeALanesTask)
{
    Hold();
    thread.Post(Note(1));
    thread.PostTo(lanes[0], 1000, Note(2));
    thread.PostTo(lanes[0], 1000, Note(3));
    thread.Post(Note(4));
    LetGo();
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3, 4}));
}

/// Notes that it goes, and whether a task could be posted meanwhile.
struct Parting
{
    HostThread& thread;
    std::vector<bool>& posted;
    ~Parting()
    {
        auto other = std::async(std::launch::async, [this] { return thread.Post([] {}); });
        posted.push_back(other.get());
    }
};

TEST_F(Line, LetsGoOfWhatTasksOwnWithoutItsLock)
{
    std::vector<bool> posted;
    auto const own = [&] { return std::make_shared<Parting>(thread, posted); };
    Hold();
    // So much that the task goes before most of it.
    for (int i = 0; i < 3; ++i) {
        thread.PostTo(lanes[0], 1'000'000, [owned = own()] {});
    }
    thread.PostTo(lanes[1], 1, [owned = own()] {});
    thread.EmptyLane(lanes[1]);
    letGo.set_value();
    std::promise<void> done;
    thread.PostTo(lanes[0], 1, [&] { done.set_value(); });
    done.get_future().wait();
    EXPECT_EQ(posted, std::vector<bool>(4, true));
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

TEST_F(Line, OfOneLaneIsDropped)
{
    Hold();
    thread.PostTo(lanes[0], 1, Note(1));
    thread.PostTo(lanes[1], 1, Note(2));
    thread.PostTo(lanes[2], 1, Note(3));
    thread.EmptyLane(lanes[1]);
    thread.EmptyLane(lanes[1]);
    thread.PostTo(lanes[0], 2'000'000, Note(4));
    EXPECT_EQ(thread.LaneWeight(), 2'000'002U);
    LetGo();
    EXPECT_EQ(ran, (std::vector<int>{1, 3, 4}));
    EXPECT_EQ(thread.LaneWeight(), 0U);
    EXPECT_FALSE(thread.PostTo(lanes[0], 1, Note(6))) << "it has stopped";
}

TEST(HostThreadWithLanes, KeepsTheOrderOfEachSourceHoweverMuchWaits)
{
    constexpr std::size_t sources = 4;
    constexpr int tasks = 3000;
    std::array<TaskLane, sources> lanes;
    TaskLane dropped;
    // Of each source what went through its lane, and what did not. Host thread, until it has stopped.
    std::array<std::vector<int>, sources> inLane;
    std::array<std::vector<int>, sources> without;
    HostThread thread;
    std::vector<std::thread> posting;
    for (std::size_t source = 0; source < sources; ++source) {
        posting.emplace_back([&, source] {
            std::mt19937 random(static_cast<unsigned>(source));
            for (int i = 0; i < tasks; ++i) {
                if (random() % 4 == 0) {
                    thread.Post([&, source, i] { without[source].push_back(i); });
                } else {
                    // Now and then more than what is told in order.
                    auto const weight = random() % 200 == 0 ? 2'000'000 : 1 + random() % 5000;
                    thread.PostTo(lanes[source], weight, [&, source, i] { inLane[source].push_back(i); });
                }
                if (random() % 50 == 0) {
                    thread.PostTo(dropped, 1, [] {});
                    thread.EmptyLane(dropped);
                }
            }
        });
    }
    for (auto& each : posting) {
        each.join();
    }
    EXPECT_TRUE(thread.Stop(std::chrono::seconds(60)));
    for (std::size_t source = 0; source < sources; ++source) {
        EXPECT_EQ(inLane[source].size() + without[source].size(), static_cast<std::size_t>(tasks));
        EXPECT_TRUE(std::is_sorted(inLane[source].begin(), inLane[source].end()));
        EXPECT_TRUE(std::is_sorted(without[source].begin(), without[source].end()));
    }
    EXPECT_EQ(thread.LaneWeight(), 0U);
}

TEST(ShortTurns, LeaveAThreadItsPolicyAndItsShare)
{
    std::thread([] {
        ASSERT_EQ(setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), 7), 0);
        platform::TakeShortTurns();
        EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())), 7);
        EXPECT_EQ(sched_getscheduler(0), SCHED_OTHER);
        sched_param const none{};
        ASSERT_EQ(sched_setscheduler(0, SCHED_IDLE, &none), 0);
        platform::TakeShortTurns();
        EXPECT_EQ(sched_getscheduler(0), SCHED_IDLE);
    }).join();
}

} // namespace
} // namespace vordal::test
