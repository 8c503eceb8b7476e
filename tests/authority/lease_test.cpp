// Leases of sonars: who has one, from when to when, what is told of it, and in which order.
#include "authority/lease.h"

#include <atomic>
#include <limits>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

namespace qx5::authority {
namespace {

using Asked = Leases::Asked;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

CDataId const Hull(1, 78, 1, 1);
CDataId const Port(1, 78, 2, 1);

class LeaseTest : public ::testing::Test, public LeaseListener
{
protected:
    LeaseTest()
    {
        leases.SetListener(this);
        leases.SetName(Hull, "Hull");
    }
    void OnLease(LeaseNews const& each) override { news.push_back(each); }
    void OnAnswer(LeaseAnswer const& answer) override
    {
        answers.push_back(answer.asker + (answer.granted ? " has it" : ": " + answer.reason));
    }
    Asked Ask(std::string_view person, double seconds = 60.0) { return leases.Ask(Hull, person, seconds, reason); }
    bool Admits(std::string_view person)
    {
        reason.clear();
        return leases.Admits(Hull, person, reason);
    }
    std::string Holder() { return leases.Of(Hull).holder; }

    double steady = 1000.0;
    double utc = 1763688384.0; // 2025-11-21 01:26:24 UTC
    void Pass(double seconds)
    {
        steady += seconds;
        utc += seconds;
    }
    Leases::Clocks Clocks()
    {
        return {[this] { return steady; }, [this] { return utc; }};
    }
    Leases leases{{}, Clocks()};
    std::vector<LeaseNews> news;
    std::vector<std::string> answers;
    std::string reason;
};

TEST_F(LeaseTest, IsHadByOneAndRefusesTheOthersByHisName)
{
    EXPECT_FALSE(Admits("anna"));
    EXPECT_EQ(reason, "nobody has the lease of Hull: ask for it first");
    EXPECT_EQ(Ask("anna"), Asked::Granted);
    EXPECT_TRUE(Admits("anna"));
    EXPECT_FALSE(Admits("bert"));
    EXPECT_EQ(reason, "anna has the lease of Hull until 2025-11-21T01:27:24.000Z");
    EXPECT_FALSE(Admits(Aboard));
    EXPECT_FALSE(Admits(Unnamed));
    EXPECT_FALSE(Admits(""));
    EXPECT_TRUE(leases.Admits(Port, Aboard, reason)) << "another sonar's is another";
    auto const told = leases.Of(Hull);
    EXPECT_EQ(told.holder, "anna");
    EXPECT_EQ(told.since, 1763688384.0);
    EXPECT_EQ(told.until, 1763688444.0);
    EXPECT_EQ(told.asker, "");
}

TEST_F(LeaseTest, ARefusalNamesTheHolderToPrograms)
{
    EXPECT_EQ(HolderInRefusal("anna has the lease of Hull until 2025-11-21T01:27:24.000Z", "Hull"), "anna");
    EXPECT_EQ(HolderInRefusal("aboard has the lease of Hull", "Hull"), "aboard");
    EXPECT_EQ(HolderInRefusal("nobody has the lease of Hull: ask for it first", "Hull"), "");
    EXPECT_EQ(HolderInRefusal("Anna van Dam has the lease of Hull, and bert asks for it already", "Hull"),
              "Anna van Dam");
    EXPECT_EQ(HolderInRefusal("locked for those ashore (transmit): x5PingOnOffState=1", "Hull"), std::nullopt);
    // That is among those aboard, and another one.
    EXPECT_EQ(HolderInRefusal("the operator has the lease of this sonar's actions", "Hull"), std::nullopt);
    // As it says so itself.
    Ask("anna");
    EXPECT_FALSE(Admits("bert"));
    EXPECT_EQ(HolderInRefusal(reason, "Hull"), "anna");
}

TEST_F(LeaseTest, EndsByItselfUnlessItIsAskedForAgain)
{
    Ask("anna", 60.0);
    Pass(59.0);
    EXPECT_EQ(Ask("anna", 60.0), Asked::Granted);
    EXPECT_EQ(leases.Of(Hull).since, 1763688384.0) << "the same lease, longer";
    Pass(59.0);
    EXPECT_TRUE(Admits("anna"));
    Pass(1.0);
    EXPECT_FALSE(Admits("anna")) << "without anything having ticked";
    EXPECT_EQ(Holder(), "");
    Ask("anna", 1e9);
    EXPECT_EQ(leases.Of(Hull).until, utc + 600.0) << "no longer than the rules let it";
    EXPECT_EQ(Ask("bert", 0.0), Asked::Refused);
    EXPECT_EQ(Ask("bert", std::numeric_limits<double>::quiet_NaN()), Asked::Refused);
    EXPECT_EQ(reason, "a lease lasts longer than 0 s");
    EXPECT_EQ(Ask("", 60.0), Asked::Refused);
    EXPECT_EQ(Ask(Unnamed, 60.0), Asked::Refused);
    EXPECT_EQ(Ask("aboard", 60.0), Asked::Refused) << "aboard is no name ashore";
    EXPECT_EQ(reason, "\"aboard\" is no person's name");
}

TEST_F(LeaseTest, IsGrantedRefusedOrKeptBySilence)
{
    Ask("anna", 600.0);
    EXPECT_EQ(Ask("bert", 100.0), Asked::Waits);
    EXPECT_EQ(leases.Of(Hull).asker, "bert");
    EXPECT_EQ(leases.Of(Hull).answerBy, utc + 30.0);
    EXPECT_EQ(Ask("carl"), Asked::Refused);
    EXPECT_EQ(reason, "anna has the lease of Hull until 2025-11-21T01:36:24.000Z, and bert asks for it already");
    EXPECT_FALSE(leases.Grant(Hull, "bert", "bert")) << "it is not his";
    EXPECT_FALSE(leases.Grant(Hull, "anna", "carl")) << "he does not ask";
    EXPECT_FALSE(leases.Refuse(Hull, "carl", "bert"));
    EXPECT_TRUE(leases.Refuse(Hull, "anna", "bert"));
    EXPECT_FALSE(leases.Refuse(Hull, "anna", "bert"));
    EXPECT_THAT(answers, ElementsAre("bert: anna keeps the lease"));
    Ask("bert", 100.0);
    Pass(10.0);
    EXPECT_EQ(Ask("bert", 100.0), Asked::Waits);
    EXPECT_EQ(leases.Of(Hull).answerBy, utc + 20.0) << "asking twice makes it no longer";
    EXPECT_TRUE(leases.Grant(Hull, "anna", "bert"));
    EXPECT_EQ(Holder(), "bert");
    EXPECT_EQ(leases.Of(Hull).until, utc + 100.0);
    EXPECT_FALSE(Admits("anna"));
    answers.clear();
    Ask("anna", 50.0);
    Pass(29.9);
    leases.Tick();
    EXPECT_THAT(answers, IsEmpty());
    Pass(0.2);
    leases.Tick();
    EXPECT_THAT(answers, ElementsAre("anna: bert has not answered within 30 s, and then the answer is no"));
    EXPECT_EQ(Holder(), "bert");
}

TEST_F(LeaseTest, IsGrantedBySilenceWhereTheProjectSaysSo)
{
    Leases generous({.silence = Silence::Grant}, Clocks());
    generous.SetListener(this);
    generous.Ask(Hull, "anna", 600.0, reason);
    generous.Ask(Hull, "bert", 100.0, reason);
    Pass(40.0);
    EXPECT_TRUE(generous.Admits(Hull, "bert", reason));
    EXPECT_EQ(generous.Of(Hull).since, utc - 10.0) << "from the moment when the answer was due";
    EXPECT_THAT(answers, ElementsAre("bert has it"));
    generous.SetListener(nullptr);
}

TEST_F(LeaseTest, IsTakenBackAboardAtAnyMoment)
{
    Ask("anna");
    Ask("bert");
    Pass(20.0);
    leases.TakeAboard(Hull);
    EXPECT_EQ(Holder(), "aboard");
    EXPECT_EQ(leases.Of(Hull).until, std::nullopt);
    EXPECT_FALSE(Admits("anna"));
    EXPECT_EQ(reason, "aboard has the lease of Hull");
    EXPECT_EQ(leases.Of(Hull).asker, "bert");
    EXPECT_EQ(leases.Of(Hull).answerBy, utc + 30.0) << "aboard was not asked before";
    Pass(1e6);
    EXPECT_TRUE(Admits(Aboard));
    EXPECT_TRUE(leases.GiveBack(Hull, Aboard));
    EXPECT_FALSE(leases.GiveBack(Hull, Aboard));
    EXPECT_EQ(Holder(), "");
}

TEST_F(LeaseTest, IsTakenByARequestFromAboardThatNobodyElseHas)
{
    EXPECT_TRUE(Admits(Aboard));
    EXPECT_EQ(Holder(), "aboard");
    EXPECT_EQ(leases.Of(Hull).until, utc + 30.0);
    EXPECT_EQ(Ask("anna"), Asked::Waits) << "aboard is in the middle of something";
    auto const told = news.size();
    EXPECT_TRUE(Admits(Aboard));
    Pass(14.0);
    EXPECT_TRUE(Admits(Aboard));
    EXPECT_EQ(news.size(), told) << "not with each request";
    Pass(2.0);
    EXPECT_TRUE(Admits(Aboard));
    EXPECT_EQ(leases.Of(Hull).until, utc + 30.0);
    EXPECT_TRUE(leases.GiveBack(Hull, "anna")) << "she does not ask any more";
    Pass(30.0);
    EXPECT_TRUE(Admits(Unnamed)) << "so does a program that tells no name";
    EXPECT_EQ(Holder(), "Sparkplug");
    EXPECT_FALSE(Admits(Aboard));
    leases.TakeAboard(Hull);
    EXPECT_FALSE(Admits(Unnamed));
}

TEST_F(LeaseTest, GoesToWhoWaitsWhenItEnds)
{
    Ask("anna", 20.0);
    Ask("bert", 100.0);
    Pass(25.0);
    EXPECT_EQ(Holder(), "bert");
    EXPECT_EQ(leases.Of(Hull).since, utc - 5.0);
    Ask("carl", 100.0);
    leases.Gone("bert");
    EXPECT_EQ(Holder(), "carl");
    Ask("bert", 100.0);
    leases.Gone("bert");
    EXPECT_EQ(leases.Of(Hull).asker, "");
    Ask("bert", 100.0);
    EXPECT_TRUE(leases.GiveBack(Hull, "carl"));
    EXPECT_EQ(Holder(), "bert");
    Ask("carl", 100.0);
    answers.clear();
    leases.Forget(Hull);
    EXPECT_THAT(answers, ElementsAre("carl: the sonar is not there any more"));
    EXPECT_EQ(Holder(), "");
}

TEST_F(LeaseTest, IsToldAtEachChangeAndEachSecond)
{
    leases.Tick();
    leases.Tick();
    ASSERT_EQ(news.size(), 1U);
    EXPECT_EQ(news.back().holder, "");
    Ask("anna");
    ASSERT_EQ(news.size(), 2U);
    EXPECT_EQ(news.back().holder, "anna");
    EXPECT_GT(news[1].change, news[0].change);
    Pass(0.9);
    leases.Tick();
    EXPECT_EQ(news.size(), 2U);
    Pass(0.1);
    leases.Tick();
    leases.Tick();
    ASSERT_EQ(news.size(), 3U);
    EXPECT_EQ(news[2], news[1]) << "told again";
    Ask("bert");
    EXPECT_EQ(news.back().asker, "bert");
    leases.Grant(Hull, "anna", "bert");
    EXPECT_EQ(news.back().holder, "bert");
    EXPECT_EQ(news.back().asker, "");
    Pass(60.0);
    leases.Tick();
    EXPECT_EQ(news.back().holder, "") << "that it is over, too";
}

TEST_F(LeaseTest, GoesOnWhenTheWallClockIsSet)
{
    Ask("anna", 60.0);
    utc += 7200.0;
    Pass(30.0);
    EXPECT_TRUE(Admits("anna"));
    leases.Tick();
    EXPECT_EQ(news.back().until, utc + 30.0) << "told by the clock as it goes now";
    EXPECT_EQ(news.back().since, utc - 30.0);
    utc -= 86400.0;
    Pass(29.9);
    EXPECT_TRUE(Admits("anna"));
    Pass(0.1);
    EXPECT_FALSE(Admits("anna"));
}

TEST_F(LeaseTest, TellsInOrderAlsoWhatAListenerDoesItself)
{
    class Grants final : public LeaseListener
    {
    public:
        explicit Grants(Leases& of) : leases(of) {}
        void OnLease(LeaseNews const& each) override
        {
            told.push_back(each.holder + "<" + each.asker);
            if (each.asker == "bert") {
                EXPECT_TRUE(leases.Grant(each.sonar, each.holder, each.asker));
            }
        }
        void OnAnswer(LeaseAnswer const& answer) override { told.push_back(answer.asker + "!"); }
        Leases& leases;
        std::vector<std::string> told;
    } grants(leases);
    leases.SetListener(&grants);
    Ask("anna");
    Ask("bert");
    EXPECT_THAT(grants.told, ElementsAre("anna<", "anna<bert", "bert!", "bert<"));
    leases.SetListener(this);
}

TEST(LeasesOfManyThreads, AreToldOneAfterAnother)
{
    class Watcher final : public LeaseListener
    {
    public:
        void OnLease(LeaseNews const& each) override
        {
            EXPECT_FALSE(isWithin.exchange(true));
            EXPECT_GE(each.change, last);
            last = each.change;
            isWithin = false;
        }
        void OnAnswer(LeaseAnswer const&) override {}
        std::atomic<bool> isWithin{false};
        std::uint64_t last = 0;
    } watcher;
    std::atomic<int> milliseconds{0};
    Leases leases({.answerLimit = 0.03},
                  {[&] { return milliseconds * 0.001; }, [&] { return 1.0e9 + milliseconds * 0.001; }});
    leases.SetListener(&watcher);
    leases.SetName(Hull, "Hull");
    std::vector<std::thread> threads;
    for (std::string const person : {"anna", "bert", "aboard"}) {
        threads.emplace_back([&, person] {
            for (int i = 0; i < 3000; ++i) {
                std::string why;
                if (person == Aboard) {
                    ++milliseconds;
                    i % 7 == 0 ? leases.TakeAboard(Hull) : leases.Tick();
                    leases.GiveBack(Hull, person);
                } else {
                    leases.Ask(Hull, person, 0.02, why);
                    leases.Admits(Hull, person, why);
                    leases.Grant(Hull, person, person == "anna" ? "bert" : "anna");
                    i % 50 == 0 ? leases.Gone(person) : void();
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    auto const standing = leases.Of(Hull);
    leases.SetListener(nullptr);
    EXPECT_GT(watcher.last, 0U);
    EXPECT_EQ(watcher.last, standing.change) << "all that has changed was told";
}

} // namespace
} // namespace qx5::authority
