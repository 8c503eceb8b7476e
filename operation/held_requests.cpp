// What was asked for while nobody could hear it.
#include "operation/held_requests.h"

#include "operation/action_values.h"
#include "operation/tree_walk.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_account.h"

#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <utility>

namespace qx5::operation {

std::vector<std::pair<std::wstring const*, HeldRequests::Entry const*>> HeldRequests::Waiting(CDataId const& id) const
{
    std::vector<std::pair<std::wstring const*, Entry const*>> waiting;
    auto const sonar = m_sonars.find(id.GetKey());
    if (sonar == m_sonars.end()) {
        return waiting;
    }
    for (auto const& [key, entry] : sonar->second.entries) {
        if (!entry.isSent) {
            waiting.emplace_back(&key, &entry);
        }
    }
    std::sort(waiting.begin(), waiting.end(),
              [](auto const& a, auto const& b) { return a.second->order < b.second->order; });
    return waiting;
}

std::vector<HeldRequests::Held> HeldRequests::Of(CDataId const& id) const
{
    std::vector<Held> held;
    std::lock_guard const lock(m_mutex);
    for (auto const& [key, entry] : Waiting(id)) {
        auto const* const value = ValueOf(&entry->values.GetChild(0));
        held.push_back({tvcore::ToUtf8(CString(*key)), value != nullptr ? ValueText(*key, value) : std::string(),
                        entry->time, entry->who});
    }
    return held;
}

std::size_t HeldRequests::Count(CDataId const& id) const
{
    std::lock_guard const lock(m_mutex);
    return Waiting(id).size();
}

std::uint64_t HeldRequests::Lost(CDataId const& id) const
{
    std::lock_guard const lock(m_mutex);
    auto const sonar = m_sonars.find(id.GetKey());
    return sonar != m_sonars.end() ? sonar->second.lost : 0;
}

bool HeldRequests::Send(CDataId const& id)
{
    CAttributeMap tree;
    auto who = vordal::RequestOrigin::Program;
    {
        std::lock_guard const lock(m_mutex);
        auto const waiting = Waiting(id);
        if (waiting.empty()) {
            return false;
        }
        auto& sonar = m_sonars[id.GetKey()];
        auto* const request = tree.Add(vordal::keys::Request);
        for (auto const& [key, entry] : waiting) {
            for (CAttributeMap const& node : entry->values) {
                request->Append(node);
            }
            who = entry->who;
            sonar.entries.find(*key)->second.isSent = true;
        }
        sonar.lost = 0;
    }
    {
        vordal::OriginScope const scope(who);
        DataManager::GetDataManager().SetAttributeMap(id, tree, 4, false);
    }
    if (m_changed) {
        m_changed(id);
    }
    return true;
}

void HeldRequests::Drop(CDataId const& id)
{
    {
        std::lock_guard const lock(m_mutex);
        auto const found = m_sonars.find(id.GetKey());
        if (found == m_sonars.end()) {
            return;
        }
        auto& sonar = found->second;
        std::erase_if(sonar.entries, [&sonar](auto const& item) {
            bool const drops = !item.second.isSent;
            sonar.bytes -= drops ? item.second.bytes : 0;
            return drops;
        });
        sonar.lost = 0;
    }
    if (m_changed) {
        m_changed(id);
    }
}

void HeldRequests::Hold(Sonar& sonar, Action const& action)
{
    for (CAttributeMap const& child : action.asked) {
        AttributeKey const key(child.KeyText());
        if (action.asked.GetAttrMap(key) != &child) {
            continue; // went with the first of its key
        }
        Entry entry;
        entry.values = ChildrenOf(action.asked, key);
        entry.bytes = vordal::SizeOf(entry.values).bytes;
        entry.time = action.time;
        entry.order = ++m_order;
        entry.who = action.who;
        auto& place = sonar.entries[std::wstring(child.KeyText())];
        sonar.bytes += entry.bytes - place.bytes;
        place = std::move(entry);
    }
    while (sonar.entries.size() > GreatestCount || sonar.bytes > GreatestBytes) {
        auto const oldest =
            std::min_element(sonar.entries.begin(), sonar.entries.end(),
                             [](auto const& a, auto const& b) { return a.second.order < b.second.order; });
        sonar.bytes -= oldest->second.bytes;
        sonar.lost += oldest->second.isSent ? 0 : 1;
        sonar.entries.erase(oldest);
    }
}

bool HeldRequests::Forget(Sonar& sonar, Action const& action)
{
    bool forgot = false;
    for (CAttributeMap const& child : action.asked) {
        auto const entry = sonar.entries.find(child.KeyText());
        if (entry != sonar.entries.end()) {
            sonar.bytes -= entry->second.bytes;
            sonar.entries.erase(entry);
            forgot = true;
        }
    }
    return forgot;
}

bool HeldRequests::TakeBack(Sonar& sonar, Action const& action)
{
    bool tookBack = false;
    for (CAttributeMap const& child : action.asked) {
        auto const entry = sonar.entries.find(child.KeyText());
        if (entry != sonar.entries.end() && entry->second.isSent) {
            entry->second.isSent = false;
            tookBack = true;
        }
    }
    return tookBack;
}

void HeldRequests::OnActionStands(Action const& action)
{
    if (action.who == vordal::RequestOrigin::OtherHost || action.result == Result::Pending) {
        return;
    }
    {
        std::lock_guard const lock(m_mutex);
        if (action.result == Result::NotSent) {
            // Those ashore give a limit of time, and are told of what became of it: nothing of it is done later.
            if (action.who == vordal::RequestOrigin::Ashore) {
                return;
            }
            Hold(m_sonars[action.sonar.GetKey()], action);
        } else {
            bool const isHeard = action.result == Result::Agrees || action.result == Result::Differs ||
                                 action.result == Result::Unanswered || action.result == Result::Replaced;
            auto const sonar = m_sonars.find(action.sonar.GetKey());
            if (sonar == m_sonars.end() ||
                !(isHeard ? Forget(sonar->second, action) : TakeBack(sonar->second, action))) {
                return;
            }
        }
    }
    if (m_changed) {
        m_changed(action.sonar);
    }
}

} // namespace qx5::operation
