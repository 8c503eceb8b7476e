// The outbox aboard: numbers, order, bounds, gaps, what the disk refuses; and how its entries leave.
#include "outbox/outbox.h"
#include "outbox/sending.h"
#include "tests/support/temporary_folder.h"

#include <array>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <fstream>
#include <future>
#include <mutex>
#include <thread>
#include <utility>

#include <gmock/gmock.h>
#include <sys/resource.h>

namespace qx5::outbox {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// "1 value a", "3-5 gone".
std::vector<std::string> Lines(std::vector<Item> const& items)
{
    std::vector<std::string> lines;
    for (Item const& item : items) {
        auto const number = std::to_string(item.number);
        lines.push_back(item.kind ? number + " " + std::string(ToText(*item.kind)) + " " + item.payload.substr(0, 10)
                                  : number + "-" + std::to_string(item.last) + " gone");
    }
    return lines;
}

class OutboxTest : public ::testing::Test
{
protected:
    OutboxOptions Options()
    {
        OutboxOptions options;
        options.steady = [this] { return steady.load(); };
        options.utc = [this] { return utc.load(); };
        options.tell = [this](std::string const& line) {
            std::lock_guard const lock(mutex);
            told.push_back(line);
            tells.notify_all();
        };
        return options;
    }
    std::vector<std::string> All(Outbox& outbox) { return Lines(outbox.Take(1, 1000, 1 << 30)); }
    std::vector<std::string> Told()
    {
        std::lock_guard const lock(mutex);
        return told;
    }
    bool WaitUntilTold(std::size_t lines)
    {
        std::unique_lock lock(mutex);
        return tells.wait_for(lock, std::chrono::seconds(60), [&] { return told.size() >= lines; });
    }

    qx5::test::TemporaryFolder const folder;
    std::filesystem::path const file = folder / "survey.qx5.outbox";
    std::atomic<double> steady{1000.0};
    std::atomic<double> utc{1.7e9};
    std::mutex mutex; ///< guards what follows
    std::condition_variable tells;
    std::vector<std::string> told;
};

TEST_F(OutboxTest, GivesNumbersThatGrowOverRestarts)
{
    std::string identity;
    {
        Outbox outbox(file, Options());
        identity = outbox.Identity();
        EXPECT_EQ(identity.size(), 32U);
        EXPECT_EQ(outbox.Put(Kind::Event, "a"), 1U);
        EXPECT_EQ(outbox.Put(Kind::Value, std::string("\0b", 2)), 2U);
        outbox.Commit();
        EXPECT_EQ(outbox.State().committed, 2U);
        EXPECT_EQ(outbox.Put(Kind::Action, ""), 3U);
    }
    {
        Outbox outbox(file, Options());
        EXPECT_EQ(outbox.Identity(), identity);
        EXPECT_EQ(outbox.Take(1, 10, 1000),
                  (std::vector<Item>{
                      {1, 1, Kind::Event, "a"}, {2, 2, Kind::Value, std::string("\0b", 2)}, {3, 3, Kind::Action, ""}}))
            << "what waits is written at the end";
        EXPECT_TRUE(outbox.Acknowledge(identity, 3));
        EXPECT_EQ(outbox.State().bytes, 0U);
    }
    {
        Outbox outbox(file, Options());
        EXPECT_EQ(outbox.State().acknowledged, 3U);
        EXPECT_EQ(outbox.Put(Kind::Result, "c"), 4U) << "though nothing is in it any more";
        outbox.Commit();
        EXPECT_THAT(All(outbox), ElementsAre("4 result c"));
    }
    std::filesystem::remove(file);
    Outbox anew(file, Options());
    EXPECT_NE(anew.Identity(), identity);
    EXPECT_EQ(anew.Put(Kind::Event, "d"), 1U);
    EXPECT_FALSE(anew.Acknowledge(identity, 1)) << "that was the other one";
    EXPECT_THAT(Told(), IsEmpty());
    EXPECT_EQ(OutboxBeside("data/survey.qx5"), "data/survey.qx5.outbox");
}

TEST_F(OutboxTest, WritesByItselfWithinItsDelay)
{
    OutboxOptions options; // the system's clocks
    Outbox outbox(file, options);
    outbox.Put(Kind::Event, "a");
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (outbox.State().committed < 1 && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::yield();
    }
    EXPECT_EQ(outbox.State().committed, 1U);
    EXPECT_EQ(outbox.State().waiting, 0U);
}

TEST_F(OutboxTest, WritesAtOnceWhatSomebodyWaitsForAndSaysSo)
{
    auto options = Options();
    options.longestDelay = 3600.0;
    Outbox outbox(file, options);
    outbox.Put(Kind::Event, "may wait");
    std::promise<std::pair<bool, OutboxState>> written;
    EXPECT_EQ(outbox.PutAtOnce(Kind::Result, "must not",
                               [&](bool isOnDisk) {
                                   written.set_value({isOnDisk, outbox.State()});
                               }),
              2U);
    auto const [isOnDisk, state] = written.get_future().get();
    EXPECT_TRUE(isOnDisk);
    EXPECT_EQ(state.committed, 2U) << "what waited before it is there, too";
    bool wasTold = false;
    EXPECT_EQ(outbox.PutAtOnce(Kind::Result, std::string(Outbox::GreatestPayload + 1, 'x'),
                               [&](bool isThere) { wasTold = !isThere; }),
              0U);
    EXPECT_TRUE(wasTold) << "nobody waits for what is not taken";
}

TEST_F(OutboxTest, HandsOutAWindowFromANumber)
{
    Outbox outbox(file, Options());
    for (int i = 1; i <= 5; ++i) {
        outbox.Put(Kind::Event, std::string(36, static_cast<char>('a' + i)));
    }
    EXPECT_THAT(outbox.Take(1, 10, 1000).size(), ::testing::Le(5U)) << "what is not on the disk is not handed out";
    outbox.Commit();
    EXPECT_EQ(outbox.Take(1, 2, 1000).size(), 2U);
    EXPECT_EQ(outbox.Take(4, 10, 1000).size(), 2U);
    EXPECT_EQ(outbox.Take(1, 10, 299).size(), 2U) << "100 bytes each";
    EXPECT_EQ(outbox.Take(1, 10, 1).size(), 1U) << "one at least";
    EXPECT_THAT(outbox.Take(6, 10, 1000), IsEmpty());
    EXPECT_FALSE(outbox.Acknowledge(outbox.Identity(), 6)) << "that was never sent";
    EXPECT_TRUE(outbox.Acknowledge(outbox.Identity(), 2));
    EXPECT_TRUE(outbox.Acknowledge(outbox.Identity(), 1)) << "late";
    EXPECT_EQ(outbox.State().acknowledged, 2U);
    EXPECT_EQ(outbox.State().bytes, 300U);
    EXPECT_EQ(outbox.Take(1, 10, 1000).front().number, 3U);
}

TEST_F(OutboxTest, LetsTheOldestOfTheLeastImportantGiveWayAndTellsTheGaps)
{
    auto options = Options();
    options.greatestBytes = 1000; // ten of 36 bytes
    Outbox outbox(file, options);
    auto const put = [&](Kind kind) { outbox.Put(kind, std::string(36, 'x')); };
    for (Kind const kind : {Kind::Action, Kind::Value, Kind::Value, Kind::Event, Kind::Value, Kind::Result, Kind::Event,
                            Kind::Value, Kind::Result, Kind::Action}) {
        put(kind);
    }
    outbox.Commit();
    EXPECT_EQ(outbox.State().bytes, 1000U);
    put(Kind::Event);
    put(Kind::Event);
    put(Kind::Event);
    outbox.Commit();
    EXPECT_THAT(All(outbox),
                ElementsAre("1 action xxxxxxxxxx", "2-3 gone", "4 event xxxxxxxxxx", "5-5 gone", "6 result xxxxxxxxxx",
                            "7 event xxxxxxxxxx", "8 value xxxxxxxxxx", "9 result xxxxxxxxxx", "10 action xxxxxxxxxx",
                            "11 event xxxxxxxxxx", "12 event xxxxxxxxxx", "13 event xxxxxxxxxx"));
    put(Kind::Value);
    put(Kind::Value);
    put(Kind::Action);
    outbox.Commit();
    EXPECT_THAT(All(outbox), ElementsAre("1 action xxxxxxxxxx", "2-3 gone", "4 event xxxxxxxxxx", "5-5 gone",
                                         "6 result xxxxxxxxxx", "7 event xxxxxxxxxx", "8-8 gone", "9 result xxxxxxxxxx",
                                         "10 action xxxxxxxxxx", "11 event xxxxxxxxxx", "12 event xxxxxxxxxx",
                                         "13 event xxxxxxxxxx", "14-15 gone", "16 action xxxxxxxxxx"))
        << "a new value is less than an old event";
    put(Kind::Action);
    put(Kind::Action);
    put(Kind::Action);
    outbox.Commit();
    EXPECT_THAT(All(outbox),
                ElementsAre("1 action xxxxxxxxxx", "2-5 gone", "6 result xxxxxxxxxx", "7-8 gone", "9 result xxxxxxxxxx",
                            "10 action xxxxxxxxxx", "11-11 gone", "12 event xxxxxxxxxx", "13 event xxxxxxxxxx",
                            "14-15 gone", "16 action xxxxxxxxxx", "17 action xxxxxxxxxx", "18 action xxxxxxxxxx",
                            "19 action xxxxxxxxxx"));
    EXPECT_EQ(outbox.State().shed, (std::array<std::uint64_t, KindCount>{6, 3, 0, 0}));
    EXPECT_EQ(Lines(outbox.Take(4, 3, 1000)), (std::vector<std::string>{"4-5 gone", "6 result xxxxxxxxxx", "7-8 gone"}))
        << "of a gap what lies behind";
    EXPECT_TRUE(outbox.Acknowledge(outbox.Identity(), 7));
    EXPECT_EQ(Lines(outbox.Take(1, 2, 1000)), (std::vector<std::string>{"8-8 gone", "9 result xxxxxxxxxx"}));
    EXPECT_EQ(outbox.State().bytes, 800U);
    ASSERT_TRUE(WaitUntilTold(1));
    EXPECT_THAT(Told().front(), HasSubstr("the outbox has no room for all that waits to be sent: "));
    EXPECT_THAT(Told().front(), HasSubstr(" gave way, the oldest first"));
    EXPECT_EQ(outbox.Put(Kind::Action, std::string(251, 'x')), 0U) << "more than a quarter of all";
    EXPECT_EQ(Told().back(), "the outbox does not take a single action of 251 bytes");
}

TEST_F(OutboxTest, LetsWhatIsTooOldGiveWayWhateverTheWallClockSays)
{
    auto options = Options();
    options.greatestDays = 2.0;
    constexpr double day = 86400.0;
    {
        Outbox outbox(file, options);
        outbox.Put(Kind::Action, "a");
        outbox.Commit();
        steady = steady + 1.5 * day;
        utc = 0.0; // set to another century
        outbox.Put(Kind::Value, "b");
        outbox.Commit();
        utc = 4.0e9;
        outbox.Put(Kind::Value, "c");
        outbox.Commit();
        EXPECT_EQ(All(outbox).size(), 3U);
    }
    utc = utc + 0.4 * day;
    {
        Outbox outbox(file, options);
        outbox.Put(Kind::Value, "d");
        outbox.Commit();
        EXPECT_EQ(All(outbox).size(), 4U) << "1.9 days";
    }
    utc = utc + 0.2 * day;
    steady = 5.0; // the machine has started anew
    {
        Outbox outbox(file, options);
        outbox.Commit();
        EXPECT_THAT(All(outbox), ElementsAre("1-1 gone", "2 value b", "3 value c", "4 value d")) << "2.1 days";
        utc = utc - 10.0 * day;
    }
    Outbox outbox(file, options);
    outbox.Commit();
    EXPECT_EQ(All(outbox).size(), 4U) << "set back while it was closed";
}

TEST_F(OutboxTest, IsOpenInOneProgramAndRefusesWhatIsNone)
{
    auto const refusal = [](std::filesystem::path const& path) {
        try {
            Outbox const outbox(path);
        } catch (OutboxError const& error) {
            return std::string(error.what());
        }
        return std::string();
    };
    {
        Outbox outbox(file, Options());
        EXPECT_EQ(refusal(file), "\"" + file.string() + "\" is in use by another program");
        outbox.Put(Kind::Event, "a");
        outbox.Commit();
    }
    auto const other = folder / "text";
    std::ofstream(other) << "what somebody wrote, and long enough to be looked at as if it were a database";
    EXPECT_EQ(refusal(other), "\"" + other.string() + "\" is no outbox; it is left as it is");
    EXPECT_EQ(refusal(folder / "none" / "x"),
              "\"" + (folder / "none" / "x").string() + "\" cannot be opened: unable to open database file");
    Outbox outbox(file, Options());
    EXPECT_THAT(All(outbox), ElementsAre("1 event a"));
}

/// Runs with a bound on the size of files, which is a full disk for whoever writes; in a process of its own.
class FullDisk : public OutboxTest
{
};

TEST_F(FullDisk, IsToldInOneLineAndNothingIsLostThatMemoryHolds)
{
    std::signal(SIGXFSZ, SIG_IGN); // otherwise it ends the program, which a full disk does not
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    auto options = Options();
    options.greatestWaiting = 100 * (1000 + Outbox::EntryBytes);
    auto outbox = std::make_unique<Outbox>(file, options);
    outbox->Put(Kind::Event, "first");
    outbox->Commit();
    auto limit = before;
    limit.rlim_cur = 256 * 1024;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    std::uint64_t put = 1;
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (outbox->State().failure.empty() && std::chrono::steady_clock::now() < deadline) {
        for (int i = 0; i < 100; ++i) {
            put = outbox->Put(Kind::Action, std::string(1000, 'x'));
        }
        try {
            outbox->Commit();
        } catch (OutboxError const&) {
            ASSERT_TRUE(WaitUntilTold(1));
        }
    }
    auto const full = outbox->State();
    EXPECT_THAT(full.failure, HasSubstr("cannot be"));
    ASSERT_EQ(Told().size(), 1U) << "one line, not one for each attempt";
    EXPECT_THAT(Told().front(), HasSubstr(file.string()));
    EXPECT_GT(full.committed, 0U);
    EXPECT_EQ(full.last, put);
    // What is on the disk is still to be had, and what comes is taken and beyond its bound counted.
    EXPECT_EQ(Lines(outbox->Take(1, 1, 1000)), std::vector<std::string>{"1 event first"});
    for (int i = 0; i < 300; ++i) {
        put = outbox->Put(i % 2 == 0 ? Kind::Value : Kind::Action, std::string(1000, 'y'));
    }
    EXPECT_LE(outbox->State().waiting, 100U);
    EXPECT_GT(outbox->State().shed[0], 100U);
    std::promise<bool> written;
    put = outbox->PutAtOnce(Kind::Result, "z", [&](bool isOnDisk) { written.set_value(isOnDisk); });
    EXPECT_FALSE(written.get_future().get()) << "whoever waits for it learns that it is not there";
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &before), 0);
    outbox->Commit();
    std::uint64_t next = 1;
    for (Item const& item : outbox->Take(1, 100'000, std::size_t{1} << 30)) {
        ASSERT_EQ(item.number, next) << "each number is an entry or a gap";
        next = item.last + 1;
    }
    EXPECT_EQ(next, put + 1);
    ASSERT_TRUE(WaitUntilTold(2));
    EXPECT_EQ(Told()[1], "the outbox is written again");
    EXPECT_EQ(outbox->State().failure, "");
}

TEST(TokenBuckets, GiveWhatTheirRateBringsAndNoMore)
{
    TokenBucket bucket(1000.0, 2.0, 50.0);
    EXPECT_TRUE(bucket.IsOpen(50.0));
    bucket.Take(1500);
    EXPECT_TRUE(bucket.IsOpen(50.0));
    bucket.Take(1500);
    EXPECT_FALSE(bucket.IsOpen(50.0));
    EXPECT_FALSE(bucket.IsOpen(51.0)) << "a thousand less than nothing, a thousand more";
    EXPECT_TRUE(bucket.IsOpen(51.1));
    EXPECT_TRUE(bucket.IsOpen(500.0));
    bucket.Take(2000);
    EXPECT_FALSE(bucket.IsOpen(500.0)) << "it never holds more than two seconds";
    bucket.SetRate(0.0, 500.0);
    EXPECT_FALSE(bucket.IsOpen(9000.0));
}

class SendingTest : public OutboxTest
{
protected:
    SendingOptions Pieces()
    {
        SendingOptions sending;
        sending.bytesPerSecond = 400.0;
        sending.burst = 1.0;
        sending.greatestCount = 6;
        sending.pieceBytes = 200;
        sending.resendAfter = 10.0;
        sending.steady = [this] { return steady.load(); };
        return sending;
    }
    /// Entries of 100 bytes.
    void Put(Outbox& outbox, int count)
    {
        for (int i = 0; i < count; ++i) {
            outbox.Put(Kind::Event, std::string(36, 'x'));
        }
        outbox.Commit();
    }
    static std::string Numbers(std::vector<Item> const& items)
    {
        std::string text;
        for (Item const& item : items) {
            text += (text.empty() ? "" : " ") + std::to_string(item.number) +
                    (item.kind ? "" : "-" + std::to_string(item.last));
        }
        return text;
    }
};

TEST_F(SendingTest, GoesInPiecesAtItsRateAndWaitsForTheShore)
{
    Outbox outbox(file, Options());
    Put(outbox, 20);
    Sending sending(outbox, Pieces());
    EXPECT_EQ(Numbers(sending.Next()), "") << "no line";
    sending.OnLine();
    EXPECT_EQ(Numbers(sending.Next()), "1 2");
    EXPECT_EQ(Numbers(sending.Next()), "3 4");
    EXPECT_EQ(Numbers(sending.Next()), "") << "400 bytes a second";
    steady = steady + 0.5;
    EXPECT_EQ(Numbers(sending.Next()), "5 6");
    steady = steady + 1.0;
    EXPECT_EQ(Numbers(sending.Next()), "") << "six are on their way";
    EXPECT_TRUE(sending.Acknowledge(outbox.Identity(), 3));
    EXPECT_FALSE(sending.Acknowledge("another", 6));
    EXPECT_FALSE(sending.Acknowledge(outbox.Identity(), 21));
    EXPECT_EQ(Numbers(sending.Next()), "7 8") << "1 and 2 are there";
    EXPECT_EQ(Numbers(sending.Next()), "");
    steady = steady + 9.0;
    EXPECT_EQ(Numbers(sending.Next()), "");
    steady = steady + 1.1;
    EXPECT_EQ(Numbers(sending.Next()), "1-3 4 5") << "nothing is heard of it: once more, behind what the shore has";
    EXPECT_TRUE(sending.Acknowledge(outbox.Identity(), 8)) << "the first time, late";
    EXPECT_EQ(Numbers(sending.Next()), "9 10");
    sending.OffLine();
    steady = steady + 100.0;
    EXPECT_EQ(Numbers(sending.Next()), "");
    sending.OnLine();
    EXPECT_EQ(Numbers(sending.Next()), "1-8 9 10") << "a line that was lost has lost what was on it";
    sending.SetRate(1e6);
    steady = steady + 1.0;
    EXPECT_EQ(Numbers(sending.Next()), "11 12");
    EXPECT_EQ(Numbers(sending.Next()), "13 14");
    for (std::uint64_t upTo = 10; upTo <= 20; upTo += 2) {
        EXPECT_TRUE(sending.Acknowledge(outbox.Identity(), upTo));
        sending.Next();
    }
    EXPECT_EQ(Numbers(sending.Next()), "");
    steady = steady + 100.0;
    EXPECT_EQ(Numbers(sending.Next()), "") << "nothing is on its way";
    Put(outbox, 1);
    EXPECT_EQ(Numbers(sending.Next()), "21");
}

} // namespace
} // namespace qx5::outbox
