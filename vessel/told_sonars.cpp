// The sonars of a vessel as they were told last.
#include "vessel/told_sonars.h"

#include "sparkplug/metric_tree.h"

#include <protocol/catalogue.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

authority::SonarLink LinkOf(operation::SonarState const& state)
{
    switch (state.condition) {
    case operation::SonarCondition::Well:
        return authority::SonarLink::Connected;
    case operation::SonarCondition::Silent:
        return authority::SonarLink::NoAnswer;
    case operation::SonarCondition::NotConnected:
        break;
    }
    return state.wasConnected ? authority::SonarLink::Lost : authority::SonarLink::NoAnswer;
}

} // namespace

ToldSonars::ToldSonars(operation::OperatorDesk& desk, std::shared_ptr<VesselMarks> marks, authority::Leases& leases,
                       sparkplug::EdgeNode& node, DetectionSender& detections,
                       std::function<void(std::string const&)> tell)
    : m_desk(desk), m_marks(std::move(marks)), m_leases(leases), m_node(node), m_detections(detections),
      m_tell(std::move(tell))
{
}

std::optional<CDataId> ToldSonars::Find(std::string const& onTopic) const
{
    std::lock_guard const lock(m_namesMutex);
    auto const found = m_byTopic.find(onTopic);
    return found != m_byTopic.end() ? std::optional(found->second) : std::nullopt;
}

authority::SonarFacts ToldSonars::ToldOf(CDataId const& sonar) const
{
    auto const found = m_sonars.find(sonar.GetKey());
    return found != m_sonars.end() ? found->second.facts : authority::SonarFacts();
}

/// The unit as the tables have it, the limits as the sonar tells them.
sparkplug::MetricFacts ToldSonars::FactsOf(std::string_view device, std::wstring_view key)
{
    auto facts = sparkplug::FactsFromTables(key);
    auto const* const known = protocol::FindKey(key);
    if (known == nullptr || !operation::SonarLimits::HasLimits(*known)) {
        return facts;
    }
    auto const found = std::find_if(m_sonars.begin(), m_sonars.end(),
                                    [device](auto const& each) { return each.second.sonar.onTopic == device; });
    if (found != m_sonars.end()) {
        Told& told = found->second;
        if (!std::exchange(told.hasLimits, true)) {
            told.limits = operation::SonarLimits(told.tree, {});
        }
        auto const range = told.limits.RangeOf(*known);
        facts.low = range.least;
        facts.high = range.greatest;
    }
    return facts;
}

void ToldSonars::LookAtSonars()
{
    auto const named = NamedOnTopics(m_desk.Sonars());
    if (IsAsTold(named)) {
        return;
    }
    NameOnTopics(named);
    RemoveOthersThan(named);
    for (TopicSonar const& sonar : named) {
        auto const [entry, isNew] = m_sonars.try_emplace(sonar.id.GetKey());
        Told& told = entry->second;
        bool const isRenamed = told.sonar.onTopic != sonar.onTopic;
        told.sonar = sonar;
        m_leases.SetName(sonar.id, sonar.onTopic);
        if (isNew || isRenamed) {
            if (sonar.onTopic != sonar.name && m_tell) {
                m_tell(fmt::format("the sonar \"{}\" is called \"{}\" ashore", sonar.name, sonar.onTopic));
            }
            m_detections.Rename(sonar.id, sonar.onTopic);
            told.facts.lease = m_leases.Of(sonar.id);
            SeeTree(told);
            TellReserved(told);
        }
    }
}

bool ToldSonars::IsAsTold(std::vector<TopicSonar> const& named) const
{
    return named.size() == m_sonars.size() && std::all_of(named.begin(), named.end(), [this](TopicSonar const& each) {
               auto const found = m_sonars.find(each.id.GetKey());
               return found != m_sonars.end() && found->second.sonar == each;
           });
}

void ToldSonars::NameOnTopics(std::vector<TopicSonar> const& named)
{
    std::map<CString, std::string> names;
    std::map<std::string, CDataId, std::less<>> byTopic;
    for (TopicSonar const& sonar : named) {
        names[sonar.id.GetKey()] = sonar.onTopic;
        byTopic.emplace(sonar.onTopic, sonar.id);
    }
    m_marks->SetNames(std::move(names));
    std::lock_guard const lock(m_namesMutex);
    m_byTopic = std::move(byTopic);
}

void ToldSonars::RemoveOthersThan(std::vector<TopicSonar> const& named)
{
    for (auto entry = m_sonars.begin(); entry != m_sonars.end();) {
        auto const& former = entry->second.sonar;
        auto const has = [&named](auto const& condition) { return std::any_of(named.begin(), named.end(), condition); };
        if (!has([&](TopicSonar const& each) { return each.id == former.id && each.onTopic == former.onTopic; })) {
            m_node.RemoveDevice(former.onTopic);
        }
        if (!has([&](TopicSonar const& each) { return each.id == former.id; })) {
            m_detections.Forget(former.id);
            m_leases.Forget(former.id);
            entry = m_sonars.erase(entry);
        } else {
            ++entry;
        }
    }
}

void ToldSonars::LookAtLinks()
{
    for (auto& [key, told] : m_sonars) {
        auto const state = m_desk.Watch().StateOf(told.sonar.id);
        auto const link = LinkOf(state);
        std::string reason;
        if (link != authority::SonarLink::Connected) {
            reason = state.condition == operation::SonarCondition::Silent ? "its pings are on, and it tells nothing"
                                                                          : state.failure;
        }
        if (link != told.facts.link || reason != told.facts.linkReason) {
            told.facts.link = link;
            told.facts.linkReason = std::move(reason);
            TellReserved(told);
        }
    }
}

void ToldSonars::TellReservedAgain()
{
    for (auto const& [key, told] : m_sonars) {
        m_node.TellReservedAgain(told.sonar.onTopic);
    }
}

void ToldSonars::TakeChange(CDataId const& sonar)
{
    if (auto const found = m_sonars.find(sonar.GetKey()); found != m_sonars.end()) {
        SeeTree(found->second);
    }
}

void ToldSonars::SeeTree(Told& told)
{
    if (DataManager::GetDataManager().GetAttributeMap(told.sonar.id, told.tree)) {
        told.hasLimits = false;
        m_node.SetDevice(told.sonar.onTopic, told.tree);
    }
}

void ToldSonars::TellReserved(Told const& told)
{
    m_node.SetReserved(told.sonar.onTopic, authority::TreeOf(told.facts));
}

void ToldSonars::TakeLease(CString const& sonar, authority::LeaseNews const& news)
{
    auto const found = m_sonars.find(sonar);
    if (found == m_sonars.end()) {
        return;
    }
    Told& told = found->second;
    auto const former = std::exchange(told.facts.lease, news);
    if (news != former) {
        TellReserved(told);
    }
    NoteWhoCommands(told.sonar.id, former, news);
}

void ToldSonars::NoteWhoCommands(CDataId const& sonar, authority::LeaseNews const& former,
                                 authority::LeaseNews const& news)
{
    bool const isNews = news.holder != former.holder || news.asker != former.asker;
    auto const isAshore = [](std::string const& who) { return !who.empty() && who != authority::Aboard; };
    if (!isNews ||
        !(isAshore(news.holder) || isAshore(former.holder) || isAshore(news.asker) || isAshore(former.asker))) {
        return; // whoever works aboard has it and loses it all the time
    }
    std::string text;
    if (news.holder != former.holder) {
        text = news.holder.empty() ? fmt::format("{} has not the lease any more", former.holder)
                                   : fmt::format("{} has the lease", news.holder);
    } else {
        text = news.asker.empty() ? fmt::format("{} does not ask for the lease any more", former.asker)
                                  : fmt::format("{} asks for the lease, which {} has", news.asker, news.holder);
    }
    m_desk.Events().PutState(sonar, operation::EventKind::Note, operation::Severity::Information, std::move(text));
}

} // namespace qx5::vessel
