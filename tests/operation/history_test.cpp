// Undo and redo: what makes a step, what goes out again, and what is refused.
#include "operation/history.h"

#include <values/vordal_value.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qx5::operation {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using vordal::RequestOrigin;
using Values = std::vector<std::pair<std::wstring_view, protocol::Value>>;
using State = HistoryStep::State;

CDataId const sonar(1, 78, 1, 1);
CDataId const otherSonar(1, 78, 2, 1);

CAttributeMap TreeOf(Values const& values)
{
    CAttributeMap tree;
    for (auto const& [key, value] : values) {
        AddValue(tree, AttributeKey(key), value);
    }
    return tree;
}

std::vector<std::string> TextsOf(History const& history)
{
    std::vector<std::string> texts;
    for (HistoryStep const& step : history.Steps()) {
        texts.push_back(StepText(step));
    }
    return texts;
}

double NumberOf(CAttributeMap const& tree, std::wstring_view key)
{
    double number = -1.0;
    tree.FindValue(AttributeKey(key)).Get(number);
    return number;
}

/// An operator's hand at a sonar, whose tree follows what was asked for unless the test says otherwise.
class Operator
{
public:
    History history;
    CAttributeMap tree = TreeOf({{L"x5Range", 100.0}, {L"x5Gain", 20.0}, {L"x5PingOnOffState", std::int32_t{0}}});
    double time = 1000.0;

    Action Asked(Values const& asked, Result result = Result::Agrees, RequestOrigin who = RequestOrigin::View)
    {
        time += 10.0;
        Action action;
        action.number = ++m_number;
        action.time = time;
        action.who = who;
        action.sonar = sonar;
        action.asked = TreeOf(asked);
        for (auto const& each : asked) {
            AttributeKey const key(each.first);
            if (auto const* const stored = tree.GetAttrMap(key); stored != nullptr) {
                action.before.Append(*stored);
            }
        }
        action.result = result;
        return action;
    }

    void Ask(Values const& asked, RequestOrigin who = RequestOrigin::View)
    {
        auto const action = Asked(asked, Result::Agrees, who);
        history.Take(action);
        Put(action.asked);
    }

    void Put(CAttributeMap const& values)
    {
        for (CAttributeMap const& child : values) {
            AttributeKey const key(child.KeyText());
            tree.Remove(key);
            tree.Append(child);
        }
    }

    /// Hands the answer to the sonar, as the host would, and tells what came of it.
    void CarryOut(History::Answer const& answer, Result result = Result::Agrees, CAttributeMap const& got = {})
    {
        Action action;
        action.number = ++m_number;
        action.time = time;
        action.who = RequestOrigin::Undo;
        action.sonar = answer.sonar;
        action.asked = answer.request;
        action.got = got;
        history.Take(action); // pending
        action.result = result;
        history.Take(action);
        if (result == Result::Agrees) {
            Put(answer.request);
        } else if (result == Result::Differs) {
            Put(got);
        }
    }

private:
    std::uint64_t m_number = 0;
};

TEST(History, UndoAsksForTheFormerValueAndRedoForTheLaterOne)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.0}});
    hand.Ask({{L"x5Gain", 30.0}});
    EXPECT_THAT(TextsOf(hand.history), ElementsAre("x5Range: 100 to 50", "x5Gain: 20 to 30"));
    EXPECT_EQ(hand.history.Steps()[0].time, 1010.0);

    auto const first = hand.history.Undo(hand.tree);
    EXPECT_FALSE(first.IsRefused()) << first.refusal;
    EXPECT_EQ(first.sonar, sonar);
    EXPECT_EQ(first.request.Count(), 1);
    EXPECT_EQ(NumberOf(first.request, L"x5Gain"), 20.0);
    hand.CarryOut(first);
    auto const second = hand.history.Undo(hand.tree);
    EXPECT_EQ(NumberOf(second.request, L"x5Range"), 100.0);
    hand.CarryOut(second);
    EXPECT_EQ(hand.history.Undo(hand.tree).refusal, "there is nothing to undo");

    auto const redone = hand.history.Redo(hand.tree);
    EXPECT_EQ(NumberOf(redone.request, L"x5Range"), 50.0);
    hand.CarryOut(redone);
    hand.CarryOut(hand.history.Redo(hand.tree));
    EXPECT_EQ(NumberOf(hand.tree, L"x5Gain"), 30.0);
    EXPECT_EQ(hand.history.Redo(hand.tree).refusal, "there is nothing to redo");
    EXPECT_EQ(hand.history.Steps().size(), 2U);
}

TEST(History, ANewStepEndsWhatCouldBeRedone)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.0}});
    hand.CarryOut(hand.history.Undo(hand.tree));
    ASSERT_NE(hand.history.NextRedo(), nullptr);
    hand.Ask({{L"x5Gain", 30.0}});
    EXPECT_EQ(hand.history.NextRedo(), nullptr);
    EXPECT_THAT(TextsOf(hand.history), ElementsAre("x5Gain: 20 to 30"));
}

TEST(History, OneDragIsOneStep)
{
    Operator hand;
    auto const drag = [&](double range, double pause, RequestOrigin who = RequestOrigin::View) {
        auto action = hand.Asked({{L"x5Range", range}}, Result::Agrees, who);
        action.time = hand.time = hand.time - 10.0 + pause;
        hand.history.Take(action);
        hand.Put(action.asked);
    };
    drag(90.0, 0.0);
    drag(80.0, 1.0);
    drag(70.0, 1.0);
    EXPECT_THAT(TextsOf(hand.history), ElementsAre("x5Range: 100 to 70"));
    drag(60.0, 1.01);
    drag(50.0, 0.1, RequestOrigin::Terminal);
    EXPECT_THAT(TextsOf(hand.history), ElementsAre("x5Range: 100 to 70", "x5Range: 70 to 60", "x5Range: 60 to 50"));
    EXPECT_EQ(NumberOf(hand.history.Undo(hand.tree).request, L"x5Range"), 60.0);
}

TEST(History, OtherKeysAndOtherSonarsAreOtherSteps)
{
    Operator hand;
    auto const at = [&](Action action, double time) {
        action.time = time;
        hand.history.Take(action);
    };
    at(hand.Asked({{L"x5Range", 90.0}}), 1.0);
    at(hand.Asked({{L"x5Range", 80.0}, {L"x5Gain", 30.0}}), 1.1);
    at(hand.Asked({{L"x5Gain", 30.0}}), 1.2);
    auto elsewhere = hand.Asked({{L"x5Gain", 40.0}});
    elsewhere.sonar = otherSonar;
    at(elsewhere, 1.3);
    EXPECT_EQ(hand.history.Steps().size(), 4U);
    EXPECT_EQ(hand.history.NextUndo()->sonar, otherSonar);
    // The steps of a sonar that is removed go, and no others.
    hand.history.Forget(otherSonar);
    EXPECT_EQ(hand.history.Steps().size(), 3U);
    EXPECT_EQ(hand.history.NextUndo()->sonar, sonar);
    hand.history.Forget(sonar);
    EXPECT_EQ(hand.history.NextUndo(), nullptr);
}

TEST(History, ADragAfterAnUndoIsANewStep)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.0}});
    hand.CarryOut(hand.history.Undo(hand.tree));
    auto action = hand.Asked({{L"x5Range", 40.0}});
    action.time = 1010.5;
    hand.history.Take(action);
    EXPECT_THAT(TextsOf(hand.history), ElementsAre("x5Range: 100 to 40"));
    EXPECT_EQ(hand.history.NextRedo(), nullptr);
}

TEST(History, WhatChangedNothingIsNoStep)
{
    Operator hand;
    hand.Ask({{L"x5Range", 100.0}});
    EXPECT_THAT(hand.history.Steps(), IsEmpty());
    // A drag that ends where it began.
    for (double const range : {90.0, 100.0}) {
        auto action = hand.Asked({{L"x5Range", range}});
        action.time = 5.0;
        hand.history.Take(action);
        hand.Put(action.asked);
    }
    EXPECT_THAT(hand.history.Steps(), IsEmpty());
}

TEST(History, WhatWasNotCarriedOutIsNoStep)
{
    Operator hand;
    for (Result const result : {Result::NotSent, Result::Dropped, Result::Refused, Result::Failed}) {
        hand.history.Take(hand.Asked({{L"x5Range", 50.0}}, result));
    }
    EXPECT_THAT(hand.history.Steps(), IsEmpty());
    hand.history.Take(hand.Asked({{L"x5Range", 50.0}}, Result::Unanswered));
    EXPECT_EQ(hand.history.Steps().size(), 1U);
}

TEST(History, WhatNoOperatorAskedForIsNoStep)
{
    Operator hand;
    for (RequestOrigin const who :
         {RequestOrigin::Program, RequestOrigin::Shell, RequestOrigin::Undo, RequestOrigin::OtherHost}) {
        hand.Ask({{L"x5Range", 50.0}}, who);
        hand.Ask({{L"x5Range", 100.0}}, who);
    }
    EXPECT_THAT(hand.history.Steps(), IsEmpty());
    for (RequestOrigin const who :
         {RequestOrigin::View, RequestOrigin::Terminal, RequestOrigin::Preset, RequestOrigin::CommandLine}) {
        hand.Ask({{L"x5Range", 50.0 + static_cast<int>(who)}}, who);
    }
    EXPECT_EQ(hand.history.Steps().size(), 4U);
}

TEST(History, WaitsForTheResultOfWhatWasAskedLast)
{
    Operator hand;
    hand.Ask({{L"x5Gain", 30.0}});
    auto action = hand.Asked({{L"x5Range", 50.0}}, Result::Pending);
    hand.history.Take(action);
    EXPECT_EQ(hand.history.Undo(hand.tree).refusal, "the result of a request is still awaited");
    EXPECT_EQ(hand.history.Steps().size(), 1U);
    action.result = Result::Agrees;
    hand.history.Take(action);
    hand.Put(action.asked);
    EXPECT_EQ(NumberOf(hand.history.Undo(hand.tree).request, L"x5Range"), 100.0);
}

TEST(History, AValueThatTheSonarClippedIsWhatTheStepLeft)
{
    Operator hand;
    auto action = hand.Asked({{L"x5Range", 9999.0}}, Result::Differs);
    action.got = TreeOf({{L"x5Range", 500.0}});
    hand.history.Take(action);
    hand.Put(action.got);
    EXPECT_THAT(TextsOf(hand.history), ElementsAre("x5Range: 100 to 500"));
    auto const undone = hand.history.Undo(hand.tree);
    EXPECT_EQ(NumberOf(undone.request, L"x5Range"), 100.0);
    // The sonar does not take the former value any more: that is the result of the undo, and what redo goes by.
    hand.CarryOut(undone, Result::Differs, TreeOf({{L"x5Range", 90.0}}));
    EXPECT_EQ(NumberOf(hand.history.Redo(hand.tree).request, L"x5Range"), 500.0);
}

TEST(History, WhatWasChangedMeanwhileIsRefusedAndPassedOver)
{
    Operator hand;
    hand.Ask({{L"x5Gain", 30.0}});
    hand.Ask({{L"x5Range", 50.0}});
    hand.Put(TreeOf({{L"x5Range", 75.0}})); // somebody else
    auto const refused = hand.history.Undo(hand.tree);
    EXPECT_EQ(refused.refusal, "x5Range is 75 now, not 50: it was changed meanwhile");
    EXPECT_EQ(refused.request.Count(), 0);
    ASSERT_EQ(hand.history.Steps().size(), 2U);
    EXPECT_EQ(hand.history.Steps()[1].state, State::PassedOver);
    EXPECT_EQ(hand.history.Steps()[1].reason, refused.refusal);
    // The next one is still to be had.
    EXPECT_EQ(NumberOf(hand.history.Undo(hand.tree).request, L"x5Gain"), 20.0);
    EXPECT_NE(hand.history.NextRedo(), nullptr);
}

TEST(History, RedoOfWhatWasChangedMeanwhileIsRefused)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.0}});
    hand.CarryOut(hand.history.Undo(hand.tree));
    hand.Put(TreeOf({{L"x5Range", 75.0}}));
    EXPECT_EQ(hand.history.Redo(hand.tree).refusal, "x5Range is 75 now, not 100: it was changed meanwhile");
    EXPECT_EQ(hand.history.NextRedo(), nullptr);
}

TEST(History, WhatTheWireTakesIsNoChange)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.1}});
    hand.Put(TreeOf({{L"x5Range", double{50.1F}}}));
    EXPECT_FALSE(hand.history.Undo(hand.tree).IsRefused());
}

TEST(History, WhatHasNoFormerValueIsRefused)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.0}});
    hand.Ask({{L"x5PingOnOffState", std::int32_t{1}}});
    hand.Ask({{L"x5CoverageAngle", 120.0}}); // the tree had none
    hand.Ask({{L"EchoMarker", {}}});
    EXPECT_EQ(hand.history.Undo(hand.tree).refusal, "EchoMarker acts or switches: it has no former value");
    EXPECT_EQ(hand.history.Undo(hand.tree).refusal, "there was no x5CoverageAngle before");
    EXPECT_EQ(hand.history.Undo(hand.tree).refusal, "x5PingOnOffState acts or switches: it has no former value");
    EXPECT_EQ(NumberOf(hand.history.Undo(hand.tree).request, L"x5Range"), 100.0);
}

TEST(History, AKeyOfAnotherKindOfDeviceIsUndoneAsItIs)
{
    Operator hand;
    hand.tree = TreeOf({{L"SounderRange", 10.0}});
    hand.Ask({{L"SounderRange", 20.0}});
    EXPECT_EQ(NumberOf(hand.history.Undo(hand.tree).request, L"SounderRange"), 10.0);
}

TEST(History, APresetIsUndoneWhole)
{
    Operator hand;
    hand.Ask({{L"x5Range", 50.0}, {L"x5Gain", 30.0}}, RequestOrigin::Preset);
    auto const undone = hand.history.Undo(hand.tree);
    EXPECT_EQ(undone.request.Count(), 2);
    EXPECT_EQ(NumberOf(undone.request, L"x5Range"), 100.0);
    EXPECT_EQ(NumberOf(undone.request, L"x5Gain"), 20.0);
}

TEST(History, AnUndoThatDidNotLeaveHasItsStepBack)
{
    for (Result const result : {Result::NotSent, Result::Refused, Result::Dropped, Result::Failed}) {
        Operator hand;
        hand.Ask({{L"x5Range", 50.0}});
        hand.CarryOut(hand.history.Undo(hand.tree), result);
        EXPECT_EQ(hand.history.NextRedo(), nullptr);
        ASSERT_NE(hand.history.NextUndo(), nullptr);
        hand.CarryOut(hand.history.Undo(hand.tree));
        hand.CarryOut(hand.history.Redo(hand.tree), result);
        EXPECT_EQ(hand.history.NextUndo(), nullptr);
        EXPECT_EQ(NumberOf(hand.history.Redo(hand.tree).request, L"x5Range"), 50.0);
    }
}

TEST(History, OfTooManyStepsTheOldestGo)
{
    Operator hand;
    hand.history = History(3);
    for (int i = 1; i <= 5; ++i) {
        hand.Ask({{L"x5Range", 100.0 + i}});
    }
    EXPECT_THAT(TextsOf(hand.history),
                ElementsAre("x5Range: 102 to 103", "x5Range: 103 to 104", "x5Range: 104 to 105"));
}

} // namespace
} // namespace qx5::operation
