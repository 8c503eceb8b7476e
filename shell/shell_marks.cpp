// What the host's threads leave for the thread that answers shells.
#include "shell/shell_marks.h"

#include "reference_host/attributes/host_keys.h"
#include "shell/told_value.h"

#include <vordalhostdllR/DataManager.h>

namespace qx5::shell {

std::vector<std::pair<std::uint64_t, Answer>> ShellMarks::TakeStanding()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_standing, {});
}

void ShellMarks::Ask(std::uint64_t ticket, CDataId const& sonar, CAttributeMap const& request)
{
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = request;
    m_asking = ticket;
    {
        vordal::OriginScope const scope(vordal::RequestOrigin::Shell);
        DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
    }
    if (std::exchange(m_asking, 0) != 0) {
        Put(ticket, Problem{"the sonar is not there any more"});
    }
}

void ShellMarks::OnActionBegins(operation::Action const& action)
{
    // What a plug-in asks for while it carries out a request is not the shell's.
    if (m_asking != 0 && action.who == vordal::RequestOrigin::Shell) {
        m_awaited[action.number] = std::exchange(m_asking, 0);
    }
}

void ShellMarks::OnActionStands(operation::Action const& action)
{
    auto const found = m_awaited.find(action.number);
    if (found == m_awaited.end()) {
        return;
    }
    auto const ticket = found->second;
    m_awaited.erase(found);
    Put(ticket, OutcomeOf(action));
}

void ShellMarks::OnChanged(CDataId const&)
{
    if (m_isWatched.load() && !m_hasChanged.exchange(true)) {
        m_wake();
    }
}

void ShellMarks::Put(std::uint64_t ticket, Answer answer)
{
    {
        std::lock_guard const lock(m_mutex);
        m_standing.emplace_back(ticket, std::move(answer));
    }
    m_wake();
}

} // namespace qx5::shell
