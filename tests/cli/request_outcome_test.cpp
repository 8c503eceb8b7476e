// What became of a request, by what a session saw: sonars that answer with less, later or otherwise than the simulated
// one does.
#include <cli/request_outcome.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include <VordalAttributesR/CVordalType.h>

#include <gtest/gtest.h>

namespace qx5::cli {
namespace {

using Verdict = RequestOutcome::Verdict;
using protocol::TreeNode;

CAttributeMap One(AttributeKey const& key, CVordalType const& value)
{
    CAttributeMap tree;
    tree.Add(key, value);
    return tree;
}

class Outcome : public ::testing::Test
{
protected:
    void Told(std::vector<TreeNode> const& nodes)
    {
        std::string error;
        auto const bytes = protocol::EncodeTree(nodes, error);
        ASSERT_TRUE(bytes.has_value()) << error;
        outcome.Take({SessionEvent::Kind::Received,
                      protocol::BuildFrame(protocol::records::AttributeTree.Id(), {0, -1}, 0.0, *bytes),
                      {},
                      0,
                      {}});
    }
    void ToldRange(double range) { Told({{L"x5Range", range, {}}}); }
    void Sent(std::uint32_t command, std::vector<unsigned char> const& payload)
    {
        outcome.Take(
            {SessionEvent::Kind::Sent, protocol::BuildRemoteControlRecord(command, payload, {0, -1}, 0.0), {}, 0, {}});
    }
    void Echoed(CAttributeMap const& tree) { outcome.Take({SessionEvent::Kind::Echoed, {}, tree, 0, {}}); }

    /// A range that is asked for, sent and echoed.
    void AskRange(double range)
    {
        CAttributeMap const tree = One(L"x5Range", CVordalDouble(range));
        outcome.Begin(tree);
        Sent(1003, {0, 0, 0, 0});
        Echoed(tree);
        outcome.End();
    }

    RequestOutcome outcome;
};

TEST_F(Outcome, AnAnswerIsWhatIsToldAfterTheRequest)
{
    ToldRange(100.0);
    AskRange(50.0);
    EXPECT_TRUE(outcome.AwaitsAnswer());
    EXPECT_FALSE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Unanswered);
    EXPECT_EQ(outcome.Text(true), "what became of it\n"
                                  "  x5Range: asked 50, echoed 50, the sonar has 100, as it told before: differs\n");
    Told({{L"x5Gain", 3.0, {}}}); // of something else
    EXPECT_FALSE(outcome.IsAnswered());
    ToldRange(50.0);
    EXPECT_TRUE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
    EXPECT_EQ(outcome.Text(true), "what became of it\n  x5Range: asked 50, echoed 50, the sonar has 50\n");
}

TEST_F(Outcome, WhatIsAsItWasNeedNotBeToldAgain)
{
    ToldRange(50.0);
    AskRange(50.0);
    EXPECT_FALSE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
    EXPECT_EQ(outcome.Text(true),
              "what became of it\n  x5Range: asked 50, echoed 50, the sonar has 50, as it told before\n");
}

TEST_F(Outcome, OfSeveralKeysTheUnchangedOneIsNotWaitedFor)
{
    Told({{L"x5Range", 50.0, {}}, {L"x5Gain", 20.0, {}}});
    CAttributeMap asked = One(L"x5Range", CVordalDouble(50.0));
    asked.Add(L"x5Gain", CVordalDouble(12.0));
    outcome.Begin(asked);
    Sent(1003, {0, 0, 0, 0});
    Echoed(One(L"x5Range", CVordalDouble(50.0)));
    Sent(1008, {0, 0, 0, 0});
    Echoed(One(L"x5Gain", CVordalDouble(12.0)));
    outcome.End();
    EXPECT_FALSE(outcome.IsAnswered());
    Told({{L"x5Gain", 12.0, {}}});
    EXPECT_TRUE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
}

TEST_F(Outcome, AnIntroductionThatComesLateIsNoAnswer)
{
    AskRange(50.0);
    Told({{L"DeviceId", std::int32_t{7125}, {}}, {L"x5Range", 100.0, {}}});
    EXPECT_FALSE(outcome.IsAnswered());
    ToldRange(50.0);
    EXPECT_TRUE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
}

TEST_F(Outcome, AnotherValueDiffersAndAnotherKindToo)
{
    AskRange(50.0);
    ToldRange(49.0);
    EXPECT_TRUE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Differs);
    EXPECT_EQ(outcome.Text(true), "what became of it\n  x5Range: asked 50, echoed 50, the sonar has 49: differs\n");
    Told({{L"x5Range", std::int32_t{50}, {}}});
    EXPECT_EQ(outcome.Judge(true), Verdict::Differs);
    EXPECT_EQ(outcome.Judge(false), Verdict::Agrees) << "what was echoed is what was asked for";
}

TEST_F(Outcome, AsMuchAsA32BitFloatLosesIsNoDifference)
{
    AskRange(50.1);
    ToldRange(50.099998474121094);
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
    ToldRange(50.0999);
    EXPECT_EQ(outcome.Judge(true), Verdict::Differs);
}

TEST_F(Outcome, AnEchoThatIsCutDiffers)
{
    outcome.Begin(One(L"x5CustomBeams", CVordalDouble(70000.0)));
    Sent(1043, {0, 0, 0, 0});
    Echoed(One(L"x5CustomBeams", CVordalDouble(4464.0)));
    outcome.End();
    EXPECT_EQ(outcome.Judge(false), Verdict::Differs);
    EXPECT_EQ(outcome.Text(false), "what became of it\n  x5CustomBeams: asked 70000, echoed 4464: differs\n");
}

TEST_F(Outcome, AKeyThatTheSonarDoesNotKnowIsAnsweredByWhatTheRecordCarried)
{
    // The switch is the plug-in's own, the record carries the number of beams.
    CAttributeMap const asked = One(L"x5CustomBeamsEnabled", CVordalBool(true));
    outcome.Begin(asked);
    Sent(1043, {0, 1, 0, 0});
    CAttributeMap echo = One(L"x5CustomBeams", CVordalDouble(256.0));
    echo.Add(L"x5CustomBeamsEnabled", CVordalBool(true));
    Echoed(echo);
    outcome.End();
    EXPECT_EQ(outcome.Judge(true), Verdict::Unanswered);
    Told({{L"x5CustomBeams", 256.0, {}}});
    EXPECT_TRUE(outcome.IsAnswered());
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
}

TEST_F(Outcome, WhatHasNoValueToEchoHasNoAnswer)
{
    outcome.Begin(One(L"x5SSR7503CMD", CVordalBool(true)));
    Sent(7503, {});
    outcome.End();
    EXPECT_FALSE(outcome.AwaitsAnswer());
    EXPECT_EQ(outcome.Judge(true), Verdict::Agrees);
    EXPECT_EQ(outcome.Text(true),
              "what became of it\n  x5SSR7503CMD: asked true, not echoed, the sonar tells nothing of it\n");
}

TEST_F(Outcome, ValuesOfBranchesMeetByTheirPlace)
{
    CAttributeMap asked;
    asked.Add(L"x5Bracket");
    asked.Add(L"x5Bracket")->Add(L"x5BracketX", CVordalDouble(2.0));
    outcome.Begin(asked);
    CAttributeMap echo;
    echo.Add(L"x5Bracket")->Add(L"x5BracketX", CVordalDouble(1.0));
    echo.Add(L"x5Bracket")->Add(L"x5BracketX", CVordalDouble(2.0));
    Echoed(echo);
    outcome.End();
    EXPECT_EQ(outcome.Text(false), "what became of it\n"
                                   "  x5Bracket: asked for, not echoed\n"
                                   "  x5Bracket/x5BracketX: asked 2, echoed 2\n");
    EXPECT_EQ(outcome.Judge(false), Verdict::Agrees);
}

TEST_F(Outcome, DroppedRequestsAreOneLine)
{
    outcome.Begin(One(L"x5Range", CVordalDouble(50.0)));
    EXPECT_EQ(outcome.Dropped(), "");
    outcome.Take({SessionEvent::Kind::Dropped, {}, {}, 0, "a needs b"});
    outcome.Take({SessionEvent::Kind::Dropped, {}, {}, 0, "c needs d"});
    outcome.End();
    outcome.Take({SessionEvent::Kind::Dropped, {}, {}, 0, "of another"});
    EXPECT_EQ(outcome.Dropped(), "a needs b; c needs d");
    EXPECT_FALSE(outcome.HasSent());
}

} // namespace
} // namespace qx5::cli
