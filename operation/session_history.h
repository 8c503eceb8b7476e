// The history of one session: followed and undone on the host thread, shown by whoever likes.
#pragma once

#include "operation/action_listener.h"
#include "operation/history.h"

#include <cstdint>
#include <deque>
#include <mutex>

namespace qx5::operation {

class EventList;

/// Takes every action into a history. What cannot be undone or redone is an event that says why.
class SessionHistory final : public ActionListener
{
public:
    /// The list outlives it.
    explicit SessionHistory(EventList& events) : m_events(events) {}

    /// Asks the sonar of the newest step for what it had before; the next of what was undone for what it had after.
    /// Host thread.
    void Undo() { Ask(true); }
    void Redo() { Ask(false); }

    /// The sonar is not there any more: its steps go. Any thread.
    void Forget(CDataId const& sonar);

    struct Content
    {
        std::deque<HistoryStep> steps; ///< from the oldest to the newest
        std::uint64_t version = 0;     ///< another one whenever something has changed
    };
    /// What stands in it, unless that is what it was at `version`: then false. Any thread. The lock is held while
    /// the steps are copied, which share their trees.
    bool ReadIfChanged(std::uint64_t version, Content& content) const;

    void OnActionBegins(Action const& action) override { OnActionStands(action); }
    void OnActionStands(Action const& action) override;

private:
    void Ask(bool isUndo);

    EventList& m_events;
    mutable std::mutex m_mutex; ///< guards what follows
    History m_history;
    std::uint64_t m_version = 1;
};

} // namespace qx5::operation
