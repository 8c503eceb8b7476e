// What an operator asked for, step by step: taken back and asked for again by new requests.
#pragma once

#include "action.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <set>
#include <string>

namespace qx5::operation {

/// One step: an action, or several of one drag.
struct HistoryStep
{
    enum class State : unsigned char
    {
        Done,
        Undone,
        PassedOver, ///< it could not be undone or redone; `reason` says why. It stays in the list and is left alone
    };

    std::uint64_t number = 0; ///< of its first action
    double time = 0.0;        ///< of its first action, host time in seconds
    double lastTime = 0.0;    ///< of its last one
    vordal::RequestOrigin who = vordal::RequestOrigin::Program;
    CDataId sonar;
    CAttributeMap former; ///< what the sonar had; keys at the root, as in a request
    CAttributeMap left;   ///< what it had after the step: what it told, otherwise what was asked for
    State state = State::Done;
    std::string reason; ///< why it cannot be undone, in one line; empty: it can as far as is known
};

/// "x5Range: 100 to 50", key for key, for people.
std::string StepText(HistoryStep const& step);

/// The steps of all sonars, in the order in which they were asked for. One thread at a time; calls nobody.
class History
{
public:
    static constexpr std::size_t DefaultGreatest = 1000;
    /// What the same hand asks the same sonar for under the same keys, each within this many seconds after the one
    /// before, is one step.
    static constexpr double OneStepSeconds = 1.0;

    /// Of more than so many steps the oldest go.
    explicit History(std::size_t greatest = DefaultGreatest) : m_greatest(greatest) {}

    /// An action, each time that its result changes. What a view, a terminal, a preset or a command line asked for
    /// becomes a step once its result is known, unless it was dropped, refused or not sent, or changed nothing; a new
    /// step ends what could be redone. Of undo and redo the result counts alone: what was not carried out has its step
    /// back as it was.
    void Take(Action const& action);

    /// What Undo and Redo would act on; null for nothing. Valid until the next call that changes the history.
    HistoryStep const* NextUndo() const;
    HistoryStep const* NextRedo() const;

    /// A request to be handed to the step's sonar with the origin Undo, or why there is none.
    struct Answer
    {
        CDataId sonar;
        CAttributeMap request; ///< without children when refused
        std::string refusal;   ///< in one line

        bool IsRefused() const { return !refusal.empty(); }
    };

    /// Asks for the former values of NextUndo. `tree` is what that step's sonar has now. Refused when the step switched
    /// or handed on something that has no former value, when there was none, or when the sonar has something else than
    /// the step left; the step is then passed over, so that the next call goes to the one before. Refused, and nothing
    /// changed, while the result of an action is still awaited, or when there is nothing to undo.
    Answer Undo(CAttributeMap const& tree);
    /// The same for NextRedo, with the values that the step left.
    Answer Redo(CAttributeMap const& tree);

    /// The sonar is not there any more: its steps go.
    void Forget(CDataId const& sonar);

    /// From the oldest to the newest.
    std::deque<HistoryStep> const& Steps() const { return m_steps; }

private:
    /// A request of undo or redo whose result is awaited.
    struct Awaited
    {
        std::uint64_t step;
        HistoryStep::State was;
        CDataId sonar;
        CAttributeMap request;
    };

    void TakeOwn(Action const& action);
    void TakeStep(Action const& action);
    HistoryStep* Find(std::uint64_t number);
    Answer Ask(HistoryStep* step, CAttributeMap const& tree, HistoryStep::State from);

    std::size_t m_greatest;
    std::deque<HistoryStep> m_steps;
    std::set<std::uint64_t> m_underWay; ///< numbers of actions whose result is not known
    std::deque<Awaited> m_awaited;
};

} // namespace qx5::operation
