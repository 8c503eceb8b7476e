// A lease kept for those of one program who command a sonar, by itself: with a clock that is given and answers by hand.
#include "fleet/lease_keeper.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace qx5::fleet {
namespace {

using authority::LeaseReplyKind;
using authority::LeaseVerb;
using ::testing::ElementsAre;

/// A vessel that says what the test wants, and when.
class LeaseKeeperTest : public ::testing::Test
{
protected:
    struct Asked
    {
        LeaseAsk ask;
        LeaseDone done;
    };

    LeaseKeeperTest()
    {
        LeaseLine line;
        line.ask = [this](LeaseAsk const& ask, double, LeaseDone done) { asked.push_back({ask, std::move(done)}); };
        line.news = [this] { return isCurrent ? std::optional(news) : std::nullopt; };
        line.now = [this] { return now; };
        line.person = "otto";
        keeper = std::make_shared<LeaseKeeper>(line);
    }
    void Answer(std::size_t index, LeaseReplyKind kind, std::string const& reason = {})
    {
        asked.at(index).done({1, 1, kind, reason});
    }
    void Tell(std::string const& holder)
    {
        news.holder = holder;
        keeper->See();
    }
    LeaseKeeper::Done Into(std::vector<std::string>& told)
    {
        return [&told](LeaseOutcome const& outcome) {
            told.push_back(outcome.isGranted ? "granted"
                                             : (outcome.isAnswered ? "refused: " : "no answer: ") + outcome.reason);
        };
    }
    /// Holds it, granted and told.
    void HoldIt(double seconds = 60.0)
    {
        keeper->Hold(seconds, Into(held));
        Answer(asked.size() - 1, LeaseReplyKind::Granted);
        Tell("otto");
    }

    double now = 1000.0;
    bool isCurrent = true;
    authority::LeaseNews news;
    std::vector<Asked> asked;
    std::vector<std::string> held;
    std::vector<std::string> released;
    std::shared_ptr<LeaseKeeper> keeper;
};

TEST_F(LeaseKeeperTest, IsHeldOnceItIsGrantedAndTold)
{
    keeper->Hold(60.0, Into(held));
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].ask.verb, LeaseVerb::Take);
    EXPECT_EQ(asked[0].ask.seconds, 60.0);
    Answer(0, LeaseReplyKind::Waits);
    EXPECT_TRUE(held.empty());
    Answer(0, LeaseReplyKind::Granted);
    EXPECT_TRUE(held.empty()) << "who looks at once would see the former holder";
    Tell("otto");
    EXPECT_THAT(held, ElementsAre("granted"));
    EXPECT_TRUE(keeper->IsOurs());
}

TEST_F(LeaseKeeperTest, DoesNotWaitForNewsThatDoNotCome)
{
    keeper->Hold(60.0, Into(held));
    Answer(0, LeaseReplyKind::Granted);
    now += 3.0;
    Tell("otto's brother");
    EXPECT_THAT(held, ElementsAre("granted"));
    EXPECT_FALSE(keeper->IsOurs());
}

TEST_F(LeaseKeeperTest, TellsWhyItIsRefused)
{
    keeper->Hold(60.0, Into(held));
    Answer(0, LeaseReplyKind::Refused, "anna keeps the lease");
    keeper->Hold(60.0, Into(held));
    asked.at(1).done({0, 0, LeaseReplyKind::Refused, "Vega could not be asked in time"});
    EXPECT_THAT(held, ElementsAre("refused: anna keeps the lease", "no answer: Vega could not be asked in time"));
    EXPECT_FALSE(keeper->IsOurs());
}

TEST_F(LeaseKeeperTest, IsAskedForAgainWhenHalfOfItsTimeIsOver)
{
    HoldIt(60.0);
    now += 29.0;
    keeper->See();
    EXPECT_EQ(asked.size(), 1U);
    now += 2.0;
    keeper->See();
    keeper->See();
    ASSERT_EQ(asked.size(), 2U) << "once, until that is answered";
    EXPECT_EQ(asked[1].ask.seconds, 60.0);
    Answer(1, LeaseReplyKind::Granted);
    now += 29.0;
    keeper->See();
    EXPECT_EQ(asked.size(), 2U);
}

TEST_F(LeaseKeeperTest, IsAskedForAgainWhereItEndedWhileTheLineWasDown)
{
    HoldIt(60.0);
    isCurrent = false;
    now += 100.0;
    keeper->See();
    EXPECT_EQ(asked.size(), 1U) << "nobody hears it";
    isCurrent = true;
    Tell("");
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1].ask.verb, LeaseVerb::Take);
    Answer(1, LeaseReplyKind::Granted);
    EXPECT_TRUE(keeper->IsOurs());
}

TEST_F(LeaseKeeperTest, IsLostToWhoTakesIt)
{
    HoldIt();
    now += 5.0;
    Tell("aboard");
    EXPECT_FALSE(keeper->IsOurs());
    now += 100.0;
    keeper->See();
    EXPECT_EQ(asked.size(), 1U) << "it is not asked for again";
    keeper->Release(Into(released));
    EXPECT_THAT(released, ElementsAre("granted"));
    EXPECT_EQ(asked.size(), 1U) << "it is not ours to give back";
}

TEST_F(LeaseKeeperTest, IsGivenBackByTheLastWhoHoldsIt)
{
    HoldIt();
    keeper->Hold(60.0, Into(held));
    EXPECT_THAT(held, ElementsAre("granted", "granted"));
    EXPECT_EQ(asked.size(), 1U);
    keeper->Release(Into(released));
    EXPECT_THAT(released, ElementsAre("granted"));
    EXPECT_EQ(asked.size(), 1U);
    keeper->Release(Into(released));
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1].ask.verb, LeaseVerb::GiveBack);
    Answer(1, LeaseReplyKind::Granted);
    EXPECT_EQ(released.size(), 1U) << "it is still told as ours";
    Tell("");
    EXPECT_EQ(released.size(), 2U);
}

TEST_F(LeaseKeeperTest, IsTakenAlongWithARequestWhereNobodyHasIt)
{
    keeper->Need(10.0);
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_EQ(asked[0].ask.verb, LeaseVerb::Take);
    EXPECT_EQ(asked[0].ask.seconds, 40.0);
    keeper->Need(10.0);
    EXPECT_EQ(asked.size(), 1U) << "it is as good as ours";
    Answer(0, LeaseReplyKind::Granted);
    Tell("otto");
    now += 29.0;
    keeper->Need(10.0);
    EXPECT_EQ(asked.size(), 1U);
    now += 2.0;
    keeper->Need(10.0);
    EXPECT_EQ(asked.size(), 2U) << "what is left would end before the request";
}

TEST_F(LeaseKeeperTest, IsNotTakenFromWhoeverHasIt)
{
    Tell("anna");
    keeper->Need(10.0);
    EXPECT_TRUE(asked.empty());
    // Another program of ours has it for longer than a request would take it.
    Tell("otto");
    keeper->Need(10.0);
    keeper->Close();
    EXPECT_TRUE(asked.empty());
}

TEST_F(LeaseKeeperTest, BothersNobodyWhoHadItAMomentBefore)
{
    keeper->Need(10.0);
    Answer(0, LeaseReplyKind::Waits);
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1].ask.verb, LeaseVerb::GiveBack);
    EXPECT_FALSE(keeper->IsOurs());
    Answer(0, LeaseReplyKind::Refused, "it was not waited for any longer");
    Answer(1, LeaseReplyKind::Granted);
    EXPECT_FALSE(keeper->IsOurs());
}

TEST_F(LeaseKeeperTest, IsTakenAnewThoughItIsStillToldAsOurs)
{
    HoldIt();
    keeper->Release(Into(released));
    Answer(1, LeaseReplyKind::Granted);
    // The news of that is on its way.
    keeper->Need(10.0);
    ASSERT_EQ(asked.size(), 3U);
    EXPECT_EQ(asked[2].ask.verb, LeaseVerb::Take);
}

TEST_F(LeaseKeeperTest, AnAnswerFromBeforeItWasGivenBackMeansNothing)
{
    HoldIt(60.0);
    now += 31.0;
    keeper->See();
    keeper->Release(Into(released));
    ASSERT_EQ(asked.size(), 3U);
    Answer(1, LeaseReplyKind::Granted);
    EXPECT_FALSE(keeper->IsOurs());
    Answer(2, LeaseReplyKind::Granted);
    EXPECT_FALSE(keeper->IsOurs());
}

TEST_F(LeaseKeeperTest, ARefusedRequestHasItTakenAnew)
{
    keeper->Need(10.0);
    Answer(0, LeaseReplyKind::Granted);
    keeper->Lost();
    Tell("");
    keeper->Need(10.0);
    EXPECT_EQ(asked.size(), 2U);
}

TEST_F(LeaseKeeperTest, WhoWaitsMayEndIt)
{
    keeper->Hold(60.0, Into(held));
    Answer(0, LeaseReplyKind::Waits);
    keeper->Release(Into(released));
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1].ask.verb, LeaseVerb::GiveBack);
    Answer(0, LeaseReplyKind::Refused, "it was not waited for any longer");
    EXPECT_THAT(held, ElementsAre("refused: it was not waited for any longer"));
}

TEST_F(LeaseKeeperTest, WhatIsGrantedToWhoDoesNotWaitAnyLongerIsNotHeld)
{
    keeper->Hold(60.0, Into(held));
    keeper->Release(Into(released));
    // The line was slow.
    Answer(0, LeaseReplyKind::Granted);
    Answer(1, LeaseReplyKind::Granted);
    EXPECT_THAT(held, ElementsAre("refused: it was not waited for any longer"));
    EXPECT_FALSE(keeper->IsOurs());
    now += 5.0;
    Tell("");
    EXPECT_EQ(asked.size(), 2U) << "nobody asks for it again";
}

TEST_F(LeaseKeeperTest, AShortOneIsAskedForEachTimeThatItIsTold)
{
    HoldIt(2.0);
    Answer(1, LeaseReplyKind::Granted);
    now += 1.0;
    Tell("otto");
    EXPECT_EQ(asked.size(), 3U);
}

TEST_F(LeaseKeeperTest, GivesBackAtItsEndWhatWasTaken)
{
    keeper->Need(10.0);
    keeper->Close();
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1].ask.verb, LeaseVerb::GiveBack);
    keeper->Need(10.0);
    keeper->Hold(60.0, Into(held));
    EXPECT_EQ(asked.size(), 2U);
    EXPECT_THAT(held, ElementsAre("no answer: the sonar was closed"));
}

TEST_F(LeaseKeeperTest, DoesNotWaitForAHolderAfterItsEnd)
{
    keeper->Hold(60.0, Into(held));
    Answer(0, LeaseReplyKind::Waits);
    keeper->Close();
    ASSERT_EQ(asked.size(), 2U);
    EXPECT_EQ(asked[1].ask.verb, LeaseVerb::GiveBack);
    Answer(0, LeaseReplyKind::Granted);
    EXPECT_THAT(held, ElementsAre("no answer: the sonar was closed"));
    EXPECT_FALSE(keeper->IsOurs());
}

} // namespace
} // namespace qx5::fleet
