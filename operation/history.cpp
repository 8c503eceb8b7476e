// Steps from actions, and the requests that undo and redo them.
#include "history.h"

#include "same_value.h"

#include <commands/settings.h>
#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <protocol/utf8.h>
#include <reference_host/attributes/tree_merge.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <iterator>

#include <fmt/format.h>

namespace qx5::operation {

namespace {

using State = HistoryStep::State;
using vordal::RequestOrigin;

/// More undo and redo than that are not under way at once, nor actions whose result anybody still tells.
constexpr std::size_t greatestAwaited = 256;

bool IsOperators(RequestOrigin who)
{
    return who == RequestOrigin::View || who == RequestOrigin::Terminal || who == RequestOrigin::Preset ||
           who == RequestOrigin::CommandLine;
}

bool IsCarriedOut(Result result)
{
    return result != Result::Pending && result != Result::NotSent && result != Result::Dropped &&
           result != Result::Refused && result != Result::Failed;
}

std::string NameOf(std::wstring_view key)
{
    return protocol::EncodeUtf8(key);
}

protocol::Value ValueAt(CAttributeMap const& tree, AttributeKey const& key)
{
    return ValueOf(tree.FindValue(key));
}

/// What a device's tree holds of a key that can be asked for.
protocol::Value StoredValue(CAttributeMap const& tree, AttributeKey const& key, std::wstring_view text)
{
    Setting const* const setting = FindSetting(text);
    auto const* const node = setting != nullptr ? StoredNode(tree, *setting) : tree.GetAttrMap(key);
    return node != nullptr ? ValueOf(node->Value()) : protocol::Value();
}

/// Why the key has no value that could be asked for again; empty when it has one.
std::string WithoutFormerValue(std::wstring_view key, protocol::Value const& former)
{
    if (protocol::FindKey(key) != nullptr && FindSetting(key) == nullptr) {
        return fmt::format("{} acts or switches: it has no former value", NameOf(key));
    }
    return protocol::IsEmpty(former) ? fmt::format("there was no {} before", NameOf(key)) : std::string();
}

HistoryStep StepOf(Action const& action)
{
    HistoryStep step{action.number, action.time, action.time, action.who, action.sonar, {}, {}, State::Done, {}};
    for (CAttributeMap const& child : action.asked) {
        AttributeKey const key(child.KeyText());
        if (step.left.Has(key)) {
            continue; // of a key that is there twice the first counts
        }
        auto const told = ValueAt(action.got, key);
        auto const former = ValueAt(action.before, key);
        AddValue(step.left, key, protocol::IsEmpty(told) ? ValueOf(child.Value()) : told);
        AddValue(step.former, key, former);
        if (step.reason.empty()) {
            step.reason = WithoutFormerValue(child.KeyText(), former);
        }
    }
    return step;
}

bool HoldsTheSame(CAttributeMap const& a, CAttributeMap const& b)
{
    return a.Count() == b.Count() && std::all_of(a.begin(), a.end(), [&](CAttributeMap const& child) {
               AttributeKey const key(child.KeyText());
               return b.Has(key) && IsSameValue(ValueOf(child.Value()), ValueAt(b, key));
           });
}

bool HasTheSameKeys(CAttributeMap const& a, CAttributeMap const& b)
{
    return a.Count() == b.Count() && std::all_of(a.begin(), a.end(), [&](CAttributeMap const& child) {
               return b.Has(AttributeKey(child.KeyText()));
           });
}

bool ChangedNothing(HistoryStep const& step)
{
    return step.reason.empty() && HoldsTheSame(step.former, step.left);
}

bool IsOneDrag(HistoryStep const& last, HistoryStep const& next)
{
    return last.state == State::Done && last.reason.empty() && next.reason.empty() && last.who == next.who &&
           last.sonar == next.sonar && next.time >= last.lastTime &&
           next.time - last.lastTime <= History::OneStepSeconds && HasTheSameKeys(last.left, next.left);
}

/// Puts what the sonar told in the place of what it was expected to have.
void TakeTold(CAttributeMap& expected, CAttributeMap const& told)
{
    CAttributeMap taken;
    for (CAttributeMap const& child : expected) {
        AttributeKey const key(child.KeyText());
        auto const value = ValueAt(told, key);
        AddValue(taken, key, protocol::IsEmpty(value) ? ValueOf(child.Value()) : value);
    }
    expected = std::move(taken);
}

} // namespace

std::string StepText(HistoryStep const& step)
{
    std::string text;
    for (CAttributeMap const& child : step.left) {
        AttributeKey const key(child.KeyText());
        text +=
            fmt::format("{}{}: {} to {}", text.empty() ? "" : "; ", NameOf(child.KeyText()),
                        protocol::ValueText(ValueAt(step.former, key)), protocol::ValueText(ValueOf(child.Value())));
    }
    return text;
}

void History::Take(Action const& action)
{
    if (action.who == RequestOrigin::Undo) {
        if (action.result != Result::Pending) {
            TakeOwn(action);
        }
        return;
    }
    if (!IsOperators(action.who)) {
        return;
    }
    if (action.result == Result::Pending) {
        m_underWay.insert(action.number);
        if (m_underWay.size() > greatestAwaited) {
            m_underWay.erase(m_underWay.begin());
        }
        return;
    }
    m_underWay.erase(action.number);
    if (IsCarriedOut(action.result)) {
        TakeStep(action);
    }
}

void History::TakeOwn(Action const& action)
{
    auto const found = std::find_if(m_awaited.begin(), m_awaited.end(), [&](Awaited const& awaited) {
        return awaited.sonar == action.sonar && vordal::TreesEqual(awaited.request, action.asked);
    });
    if (found == m_awaited.end()) {
        return;
    }
    if (HistoryStep* const step = Find(found->step); step != nullptr) {
        if (!IsCarriedOut(action.result)) {
            step->state = found->was;
        } else {
            TakeTold(found->was == State::Done ? step->former : step->left, action.got);
        }
    }
    m_awaited.erase(found);
}

void History::TakeStep(Action const& action)
{
    HistoryStep step = StepOf(action);
    if (!m_steps.empty() && IsOneDrag(m_steps.back(), step)) {
        HistoryStep& last = m_steps.back();
        last.left = std::move(step.left);
        last.lastTime = step.time;
        if (ChangedNothing(last)) {
            m_steps.pop_back();
        }
        return;
    }
    if (step.left.Count() == 0 || ChangedNothing(step)) {
        return;
    }
    std::erase_if(m_steps, [](HistoryStep const& each) { return each.state == State::Undone; });
    m_steps.push_back(std::move(step));
    while (m_steps.size() > m_greatest) {
        m_steps.pop_front();
    }
}

HistoryStep* History::Find(std::uint64_t number)
{
    auto const found =
        std::find_if(m_steps.begin(), m_steps.end(), [&](HistoryStep const& step) { return step.number == number; });
    return found != m_steps.end() ? &*found : nullptr;
}

HistoryStep const* History::NextUndo() const
{
    auto const found = std::find_if(m_steps.rbegin(), m_steps.rend(),
                                    [](HistoryStep const& step) { return step.state == State::Done; });
    return found != m_steps.rend() ? &*found : nullptr;
}

HistoryStep const* History::NextRedo() const
{
    auto const found = std::find_if(m_steps.begin(), m_steps.end(),
                                    [](HistoryStep const& step) { return step.state == State::Undone; });
    return found != m_steps.end() ? &*found : nullptr;
}

void History::Forget(CDataId const& sonar)
{
    std::erase_if(m_steps, [&](HistoryStep const& step) { return step.sonar == sonar; });
    std::erase_if(m_awaited, [&](Awaited const& each) { return each.sonar == sonar; });
}

History::Answer History::Undo(CAttributeMap const& tree)
{
    return Ask(const_cast<HistoryStep*>(NextUndo()), tree, State::Done);
}

History::Answer History::Redo(CAttributeMap const& tree)
{
    return Ask(const_cast<HistoryStep*>(NextRedo()), tree, State::Undone);
}

History::Answer History::Ask(HistoryStep* step, CAttributeMap const& tree, HistoryStep::State from)
{
    bool const isUndo = from == State::Done;
    Answer answer;
    if (!m_underWay.empty()) {
        answer.refusal = "the result of a request is still awaited";
        return answer;
    }
    if (step == nullptr) {
        answer.refusal = isUndo ? "there is nothing to undo" : "there is nothing to redo";
        return answer;
    }
    answer.sonar = step->sonar;
    CAttributeMap const& expected = isUndo ? step->left : step->former;
    for (CAttributeMap const& child : expected) {
        if (!step->reason.empty()) {
            break;
        }
        AttributeKey const key(child.KeyText());
        auto const value = ValueOf(child.Value());
        auto const now = StoredValue(tree, key, child.KeyText());
        if (!IsSameValue(value, now)) {
            step->reason = fmt::format("{} is {} now, not {}: it was changed meanwhile", NameOf(child.KeyText()),
                                       protocol::ValueText(now), protocol::ValueText(value));
        }
    }
    if (!step->reason.empty()) {
        step->state = State::PassedOver;
        answer.refusal = step->reason;
        return answer;
    }
    answer.request = isUndo ? step->former : step->left;
    m_awaited.push_back({step->number, from, step->sonar, answer.request});
    if (m_awaited.size() > greatestAwaited) {
        m_awaited.pop_front();
    }
    step->state = isUndo ? State::Undone : State::Done;
    return answer;
}

} // namespace qx5::operation
