// The history of one session: followed and undone on the host thread, shown by whoever likes.
#include "operation/session_history.h"

#include "operation/event_list.h"
#include "reference_host/attributes/host_keys.h"

#include <vordalhostdllR/DataManager.h>

#include <optional>
#include <utility>

namespace qx5::operation {

bool SessionHistory::ReadIfChanged(std::uint64_t version, Content& content) const
{
    std::lock_guard const lock(m_mutex);
    if (version == m_version) {
        return false;
    }
    content.steps = m_history.Steps();
    content.version = m_version;
    return true;
}

void SessionHistory::Forget(CDataId const& sonar)
{
    std::lock_guard const lock(m_mutex);
    m_history.Forget(sonar);
    ++m_version;
}

void SessionHistory::OnActionStands(Action const& action)
{
    std::lock_guard const lock(m_mutex);
    m_history.Take(action);
    ++m_version;
}

void SessionHistory::Ask(bool isUndo)
{
    std::optional<CDataId> sonar;
    {
        std::lock_guard const lock(m_mutex);
        auto const* const step = isUndo ? m_history.NextUndo() : m_history.NextRedo();
        if (step != nullptr) {
            sonar = step->sonar;
        }
    }
    CAttributeMap now;
    if (sonar) {
        DataManager::GetDataManager().GetAttributeMap(*sonar, now);
    }
    History::Answer answer;
    {
        std::lock_guard const lock(m_mutex);
        answer = isUndo ? m_history.Undo(now) : m_history.Redo(now);
        ++m_version;
    }
    if (answer.IsRefused()) {
        Event event;
        event.sonar = answer.sonar;
        event.kind = EventKind::Refused;
        event.who = vordal::RequestOrigin::Undo;
        event.what = isUndo ? "undo" : "redo";
        event.reason = std::move(answer.refusal);
        m_events.Put(std::move(event));
        return;
    }
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = answer.request;
    vordal::OriginScope const scope(vordal::RequestOrigin::Undo);
    DataManager::GetDataManager().SetAttributeMap(answer.sonar, tree, 4, false);
}

} // namespace qx5::operation
