// Numbered requests: done once or not at all, in time or not at all, whatever clocks say and however often they come.
#include "authority/request_book.h"

#include <limits>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

namespace qx5::authority {
namespace {

using Kind = Arrival::Kind;

class RequestBookTest : public ::testing::Test
{
protected:
    double steady = 100.0;
    double there = 5.0; ///< the steady clock ashore
    double utc = 1763688384.0;
    VesselClock clock{[this] { return steady; }, [this] { return utc; }, 77};
    RequestBook book{clock};
    HeardVesselTime heard{[this] { return there; }, 4711};

    void Pass(double seconds)
    {
        steady += seconds;
        there += seconds;
    }
    RequestStamp Next(double limit)
    {
        heard.Hear(clock.Now());
        return *heard.Next(limit);
    }
};

TEST_F(RequestBookTest, DoesARequestOnceAndTellsItsResultAgain)
{
    auto const stamp = Next(10.0);
    EXPECT_EQ(stamp, (RequestStamp{4711, 1, {77, 1763688384.0}, 10.0}));
    EXPECT_EQ(book.Arrive("anna", stamp).kind, Kind::Do);
    EXPECT_EQ(book.Arrive("anna", stamp).kind, Kind::Underway);
    book.Finish("anna", stamp, "it has 50 m");
    EXPECT_EQ(book.Arrive("anna", stamp), (Arrival{Kind::Again, "it has 50 m", {}}));
    book.Finish("anna", stamp, "another");
    EXPECT_EQ(book.Arrive("anna", stamp).result, "it has 50 m");
    EXPECT_EQ(book.Arrive("bert", stamp).kind, Kind::Do) << "another person's is another request";
    auto other = stamp;
    other.sender = 4712;
    EXPECT_EQ(book.Arrive("anna", other).kind, Kind::Do) << "so is that of another program of hers";
    EXPECT_EQ(Next(10.0).number, 2U);
}

TEST_F(RequestBookTest, DoesNothingAfterItsLimit)
{
    auto const stamp = Next(10.0);
    auto const second = Next(10.0);
    Pass(10.0);
    EXPECT_EQ(book.Arrive("anna", stamp).kind, Kind::Do);
    Pass(0.5);
    EXPECT_EQ(book.Arrive("anna", second),
              (Arrival{Kind::Refused, {}, "it came 10.5 s after it was made, and its time limit is 10 s"}));
    for (double const limit : {0.0, -1.0, 601.0, std::numeric_limits<double>::quiet_NaN()}) {
        EXPECT_EQ(book.Arrive("anna", Next(limit)).reason,
                  "its time limit is not one of more than 0 and at most 600 s");
    }
    EXPECT_EQ(book.Arrive("anna", {4711, 0, clock.Now(), 5.0}).reason,
              "a request bears its sender and a number from 1");
    EXPECT_EQ(book.Arrive("anna", {0, 9, clock.Now(), 5.0}).reason, "a request bears its sender and a number from 1");
}

TEST_F(RequestBookTest, GoesByNoWallClock)
{
    // Hours apart, and set while the request is on its way.
    utc += 7200.0;
    auto const stamp = Next(10.0);
    EXPECT_EQ(stamp.sent.seconds, 1763688384.0) << "as it was when the program began";
    utc -= 40000.0;
    Pass(9.0);
    EXPECT_EQ(book.Arrive("anna", stamp).kind, Kind::Do);
    auto ahead = Next(10.0);
    ahead.sent.seconds += 1.9;
    EXPECT_EQ(book.Arrive("anna", ahead).kind, Kind::Do);
    ahead.sent.seconds += 3600.0;
    ++ahead.number;
    EXPECT_EQ(book.Arrive("anna", ahead).reason, "it bears a time that is 3601.9 s ahead of the vessel's");
    ahead.sent.seconds = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(book.Arrive("anna", ahead).kind, Kind::Refused);
}

TEST_F(RequestBookTest, EndsSoonerAndNeverLaterForWhatTheTellingTook)
{
    auto const told = clock.Now();
    Pass(3.0); // on its way to the shore
    heard.Hear(told);
    auto const slow = *heard.Next(10.0);
    EXPECT_EQ(slow.sent.seconds, told.seconds);
    Pass(1.0);
    auto const quick = clock.Now();
    heard.Hear(quick);
    EXPECT_EQ(heard.Now()->seconds, quick.seconds) << "what took least counts";
    auto const late = clock.Now();
    Pass(5.0);
    heard.Hear(late);
    EXPECT_EQ(heard.Now()->seconds, quick.seconds + 5.0);
    EXPECT_EQ(book.Arrive("anna", slow).kind, Kind::Do) << "9 s old, made 3 s later than it says";
    // The vessel's machine slept for an hour: its clock stood still, and is ahead of nobody any more after a minute.
    there += 3600.0;
    for (std::size_t i = 0; i < HeardVesselTime::Kept; ++i) {
        heard.Hear(clock.Now());
    }
    EXPECT_EQ(heard.Now(), clock.Now());
}

TEST_F(RequestBookTest, DoesNothingOfAnEarlierRun)
{
    auto const before = Next(600.0);
    auto const unsent = Next(600.0);
    EXPECT_EQ(book.Arrive("anna", before).kind, Kind::Do);
    VesselClock const again([this] { return steady; }, [this] { return utc; }, 78);
    RequestBook anew(again);
    for (auto const& stamp : {before, unsent}) {
        EXPECT_EQ(anew.Arrive("anna", stamp).reason,
                  "it was made before the vessel's program started anew, and is not done; what came of it, if it was "
                  "done before, stands in the log");
    }
    heard.Hear(again.Now());
    auto const stamp = *heard.Next(600.0);
    EXPECT_EQ(stamp.number, 3U);
    EXPECT_EQ(anew.Arrive("anna", stamp).kind, Kind::Do);
    EXPECT_NE(VesselClock().Now().run, 0U);
    EXPECT_NE(VesselClock().Now().run, VesselClock().Now().run);
    EXPECT_EQ(HeardVesselTime().Next(1.0), std::nullopt) << "of a vessel that was not heard";
    HeardVesselTime wary;
    wary.Hear({0, 5.0});
    wary.Hear({7, std::numeric_limits<double>::infinity()});
    EXPECT_EQ(wary.Now(), std::nullopt);
}

TEST_F(RequestBookTest, RemembersWithinBoundsAndForgetsNothingTooSoon)
{
    RequestBook small(clock, {.requests = 3, .ofPerson = 2, .resultBytes = 10});
    auto const first = Next(10.0);
    auto const second = Next(20.0);
    EXPECT_EQ(small.Arrive("anna", first).kind, Kind::Do);
    EXPECT_EQ(small.Arrive("anna", second).kind, Kind::Do);
    constexpr char const* noRoom = "more requests came within their time limits than can be remembered";
    EXPECT_EQ(small.Arrive("anna", Next(10.0)).reason, noRoom) << "one person leaves room for others";
    auto const third = Next(30.0);
    EXPECT_EQ(small.Arrive("bert", third).kind, Kind::Do);
    EXPECT_EQ(small.Arrive("carl", Next(10.0)).reason, noRoom);
    small.Finish("anna", first, "123456");
    small.Finish("anna", second, "12345");
    EXPECT_EQ(small.Arrive("anna", first).kind, Kind::Again);
    EXPECT_EQ(small.Arrive("anna", second).reason, "it was done, and there was no room to keep its result");
    Pass(10.5);
    EXPECT_EQ(small.Arrive("anna", first).kind, Kind::Again) << "as long as there is room";
    EXPECT_EQ(small.Arrive("carl", Next(10.0)).kind, Kind::Do) << "what is over makes room";
    EXPECT_EQ(small.Arrive("anna", first).kind, Kind::Refused);
    Pass(25.0);
    EXPECT_EQ(small.Arrive("dora", Next(10.0)).kind, Kind::Do);
    EXPECT_EQ(small.Remembered(), 3U) << "what is under way is not forgotten, late as it is";
    EXPECT_EQ(small.Arrive("bert", third).kind, Kind::Underway);
    small.Finish("bert", third, "1234567890");
    EXPECT_EQ(small.Arrive("bert", third).result, "1234567890") << "what is forgotten gives its bytes back";
    small.Finish("nobody", third, "x");
}

TEST(RequestBooks, DoNothingTwiceOfAnythingThatComesInAnyOrder)
{
    std::mt19937 random(17);
    auto const below = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); };
    double steady = 0.0;
    double utc = 1.7e9;
    std::uint64_t run = 1;
    auto clock = std::make_unique<VesselClock>([&] { return steady; }, [&] { return utc; }, run);
    auto book = std::make_unique<RequestBook>(*clock, RequestBook::Limits{.requests = 60, .ofPerson = 40});
    struct Sent
    {
        std::string person;
        RequestStamp stamp;
        double madeAt; ///< by the steady clock, which every run shares here
        std::string result;
        int done = 0;
    };
    std::vector<Sent> made;
    std::uint64_t number = 0;
    int did = 0;
    int again = 0;
    int refused = 0;
    for (int i = 0; i < 200'000; ++i) {
        steady += below(100) * 0.01;
        utc += below(500) == 0 ? below(7200) - 3600.0 : 0.0;
        if (below(2000) == 0) {
            clock = std::make_unique<VesselClock>([&] { return steady; }, [&] { return utc; }, ++run);
            book = std::make_unique<RequestBook>(*clock, RequestBook::Limits{.requests = 60, .ofPerson = 40});
        }
        if (made.empty() || below(3) == 0) {
            made.push_back({below(2) == 0 ? "anna" : "bert",
                            {1U + random() % 2, ++number, clock->Now(), 0.5 + below(20)},
                            steady,
                            {}});
        }
        auto const newest = made.size() - 1;
        Sent& one =
            made[below(4) == 0 ? random() % made.size() : newest - std::min<std::size_t>(newest, random() % 30)];
        auto const arrival = book->Arrive(one.person, one.stamp);
        bool const inTime = one.stamp.sent.run == run && steady - one.madeAt <= one.stamp.limit + 1e-6;
        switch (arrival.kind) {
        case Kind::Do:
            ++did;
            ASSERT_TRUE(inTime);
            ASSERT_EQ(++one.done, 1);
            if (below(10) != 0) {
                one.result = std::to_string(one.stamp.number);
                book->Finish(one.person, one.stamp, one.result);
            }
            break;
        case Kind::Again:
            ++again;
            ASSERT_EQ(one.done, 1);
            ASSERT_EQ(arrival.result, one.result);
            break;
        case Kind::Underway:
            ASSERT_EQ(one.done, 1);
            ASSERT_EQ(one.result, "");
            break;
        case Kind::Refused:
            ++refused;
            ASSERT_FALSE(inTime && one.done == 1)
                << "what was done within its time tells its result: " << arrival.reason;
            break;
        }
        ASSERT_LE(book->Remembered(), 60U);
    }
    EXPECT_GT(did, 10'000);
    EXPECT_GT(again, 10'000);
    EXPECT_GT(refused, 10'000);
}

} // namespace
} // namespace qx5::authority
