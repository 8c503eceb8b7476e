// What the host's threads leave for the thread of a vessel.
#include "vessel/vessel_marks.h"

#include "operation/action_log.h"
#include "operation/action_values.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/failure.h"
#include "reference_host/common/log.h"
#include "vessel/history_text.h"

#include <VordalBaseR/CExTime.h>
#include <tvcoreR/Utf8.h>
#include <values/vordal_value.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>

namespace qx5::vessel {

namespace {

CAttributeMap const* FindLevels(CAttributeMap const& tree, std::vector<sparkplug::NameLevel> const& levels)
{
    CAttributeMap const* node = &tree;
    for (sparkplug::NameLevel const& level : levels) {
        node = node->GetAttrMap(AttributeKey(level.key), level.occurrence);
        if (node == nullptr) {
            return nullptr;
        }
    }
    return node;
}

std::uint64_t UtcMilliseconds()
{
    return static_cast<std::uint64_t>(std::max(0.0, CExTime::GetCurTime() * 1000.0));
}

} // namespace

VesselMarks::VesselMarks(std::function<void()> wake, std::vector<std::string> const& history,
                         std::shared_ptr<outbox::Outbox> outbox)
    : m_wake(std::move(wake)), m_outbox(std::move(outbox))
{
    for (std::string const& name : history) {
        m_history.push_back({name, sparkplug::LevelsOfName(name)});
    }
}

template <typename Change>
void VesselMarks::Leave(Change const& change)
{
    bool wakes = false;
    {
        std::lock_guard const lock(m_mutex);
        change();
        wakes = !std::exchange(m_isWoken, true);
    }
    if (wakes) {
        m_wake();
    }
}

VesselMarks::Left VesselMarks::Take()
{
    std::lock_guard const lock(m_mutex);
    m_isWoken = false;
    Left left = std::exchange(m_left, {});
    for (auto& [key, id] : m_changed) {
        left.changed.push_back(id);
    }
    m_changed.clear();
    return left;
}

void VesselMarks::SetNames(std::map<CString, std::string> names)
{
    std::lock_guard const lock(m_mutex);
    m_names = std::move(names);
}

std::string VesselMarks::NameOf(CDataId const& sonar) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_names.find(sonar.GetKey());
    return found != m_names.end() ? found->second : std::string();
}

void VesselMarks::NotePing(CDataId const& sonar, CDataBlock const& block)
{
    Leave([&] { m_left.pings[sonar.GetKey()] = block; });
}

void VesselMarks::NoteStanding(Standing standing)
{
    Leave([&] { m_left.standing.push_back(std::move(standing)); });
}

void VesselMarks::Ask(AskedAshore asked, CDataId const& sonar, CAttributeMap const& request)
{
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = request;
    std::string const person = asked.person;
    m_asking = Awaited{std::move(asked), {}};
    m_thread.store(std::this_thread::get_id());
    {
        vordal::OriginScope const scope(vordal::RequestOrigin::Ashore, person);
        DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
    }
    m_thread.store({});
    m_number = 0;
    if (auto unheard = std::exchange(m_asking, std::nullopt)) {
        authority::RequestReply reply;
        reply.outcome = operation::ToText(operation::Result::Failed);
        reply.reason = "the sonar is not there any more";
        reply.asked = request;
        NoteStanding({std::move(unheard->asked), std::move(reply)});
    }
}

void VesselMarks::OnActionBegins(operation::Action const& action)
{
    // What a plug-in asks for while it carries out a request is not what somebody waits for.
    if (m_asking && action.who == vordal::RequestOrigin::Ashore) {
        m_number = action.number;
        m_awaited.emplace(action.number, *std::exchange(m_asking, std::nullopt));
    }
}

void VesselMarks::OnActionStands(operation::Action const& action)
{
    auto const name = NameOf(action.sonar);
    std::string const shown = name.empty() ? tvcore::ToUtf8(action.sonar.GetKey()) : name;
    for (vordal::StoredAction const& row : operation::RowsOf(action, shown)) {
        Put(outbox::Kind::Action, authority::HistoryText{shown, action.person, operation::JsonLine(row)});
    }
    auto const found = m_awaited.find(action.number);
    if (found == m_awaited.end()) {
        return;
    }
    Awaited awaited = std::move(found->second);
    m_awaited.erase(found);
    authority::RequestReply reply;
    reply.outcome = operation::ToText(action.result);
    reply.reason = action.reason;
    reply.asked = action.asked;
    reply.echoed = std::move(awaited.echoed);
    reply.has = action.got;
    NoteStanding({std::move(awaited.asked), std::move(reply)});
}

void VesselMarks::OnEcho(CDataId const& sonar, CAttributeMap const& tree, unsigned)
{
    PutValues(sonar, tree);
    if (m_thread.load() != std::this_thread::get_id() || m_number == 0) {
        return;
    }
    if (auto const found = m_awaited.find(m_number); found != m_awaited.end()) {
        vordal::Merge(found->second.echoed, tree);
    }
}

void VesselMarks::OnSonarTells(CDataId const& sonar, CAttributeMap const& tree)
{
    PutValues(sonar, tree);
}

void VesselMarks::OnWritten(CDataId const& sonar, CAttributeMap const& tree)
{
    PutValues(sonar, tree);
}

void VesselMarks::OnChanged(CDataId const& sonar)
{
    Leave([&] { m_changed.emplace(sonar.GetKey(), sonar); });
}

void VesselMarks::OnEvent(operation::Event const& event)
{
    Put(outbox::Kind::Event, authority::HistoryText{NameOf(event.sonar), {}, JsonOf(event)});
}

void VesselMarks::OnLease(authority::LeaseNews const& news)
{
    Leave([&] { m_left.leases[news.sonar.GetKey()] = news; });
}

void VesselMarks::OnAnswer(authority::LeaseAnswer const& answer)
{
    Leave([&] { m_left.answers.push_back(answer); });
}

void VesselMarks::PutValues(CDataId const& sonar, CAttributeMap const& tree)
{
    if (m_history.empty()) {
        return;
    }
    authority::HistoryValues values;
    for (HistoryKey const& key : m_history) {
        auto const* const node = FindLevels(tree, key.levels);
        if (node == nullptr || !node->HasValue()) {
            continue;
        }
        auto value = ValueOf(node->Value());
        std::lock_guard const lock(m_mutex);
        auto const name = m_names.find(sonar.GetKey());
        if (name == m_names.end()) {
            return;
        }
        auto const [last, isNew] = m_lastValues.try_emplace({sonar.GetKey(), key.name}, value);
        if (isNew || last->second != value) {
            last->second = value;
            values.sonar = name->second;
            values.values.push_back({key.name, std::move(value), UtcMilliseconds()});
        }
    }
    if (!values.values.empty()) {
        Put(outbox::Kind::Value, values);
    }
}

void VesselMarks::Put(outbox::Kind kind, authority::HistoryContent const& content)
{
    std::shared_ptr<outbox::Outbox> outbox;
    {
        std::lock_guard const lock(m_mutex);
        outbox = m_outbox;
    }
    if (outbox == nullptr) {
        return;
    }
    std::string error;
    if (auto bytes = authority::Encode(content, error)) {
        outbox->Put(kind, std::move(*bytes));
    } else {
        vordal::Log(vordal::LogLevel::Warning, "an entry is not kept for the shore: " + error);
    }
}

void VesselMarks::LeaveOutbox()
{
    std::shared_ptr<outbox::Outbox> left; // it may be the last to hold it
    std::lock_guard const lock(m_mutex);
    m_outbox.swap(left);
}

} // namespace qx5::vessel
