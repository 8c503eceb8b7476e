// What an operator must hear of, from where it happens to where it is shown.
#include "operation/event_list.h"

#include "operation/action_values.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/CExTime.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

namespace {

/// How many keys of a request a line names.
constexpr std::size_t namedKeys = 4;

std::string OneLine(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char character) { return static_cast<unsigned char>(character) < 0x20U; }, ' ');
    return text;
}

std::optional<EventKind> KindOf(Action const& action)
{
    switch (action.result) {
    case Result::Pending:
    case Result::Replaced:
        return std::nullopt;
    case Result::Agrees:
        return action.who == vordal::RequestOrigin::OtherHost ? std::optional(EventKind::ChangedByOther) : std::nullopt;
    case Result::Differs:
        return EventKind::Differs;
    case Result::Unanswered:
        return EventKind::Unanswered;
    case Result::NotSent:
        return EventKind::NotSent;
    case Result::Dropped:
        return EventKind::Dropped;
    case Result::Refused:
        return EventKind::Refused;
    case Result::Failed:
        return EventKind::Failed;
    }
    return std::nullopt;
}

} // namespace

std::string_view ToText(EventKind kind)
{
    switch (kind) {
    case EventKind::Refused:
        return "refused";
    case EventKind::Dropped:
        return "dropped";
    case EventKind::Failed:
        return "failed";
    case EventKind::NotSent:
        return "not sent";
    case EventKind::Differs:
        return "differs";
    case EventKind::Unanswered:
        return "unanswered";
    case EventKind::ChangedByOther:
        return "changed by others";
    case EventKind::LinkLost:
        return "link lost";
    case EventKind::LinkBack:
        return "link back";
    case EventKind::Silent:
        return "silent";
    case EventKind::TellsAgain:
        return "tells again";
    case EventKind::Note:
        return "note";
    }
    return "";
}

std::string StatusLine(Event const& event)
{
    std::string line = event.sonarName.empty() ? std::string() : event.sonarName + ": ";
    if (event.kind == EventKind::Differs && !event.got.empty()) {
        return line + fmt::format("{}: asked {}, the sonar has {}", event.what, event.asked, event.got);
    }
    if (event.kind == EventKind::ChangedByOther) {
        return line + fmt::format("{} was {}, somebody else has made it {}", event.what, event.asked, event.got);
    }
    if (!event.what.empty()) {
        line += event.what;
        line += event.asked.empty() ? "" : "=" + event.asked;
        line += event.kind == EventKind::Note ? ": " : fmt::format(": {}: ", ToText(event.kind));
    }
    return line + event.reason;
}

void EventList::SetName(CDataId const& sonar, std::string name)
{
    std::lock_guard const lock(m_mutex);
    m_names[sonar.GetKey()] = std::move(name);
}

void EventList::Put(Event event)
{
    event.what = OneLine(std::move(event.what));
    event.asked = OneLine(std::move(event.asked));
    event.got = OneLine(std::move(event.got));
    event.reason = OneLine(std::move(event.reason));
    if (event.time == 0.0) {
        event.time = CExTime::GetCurTime();
    }
    auto const listener = m_listener.Get();
    std::optional<Event> heard;
    bool isFirst = false;
    {
        std::lock_guard const lock(m_mutex);
        auto const name = m_names.find(event.sonar.GetKey());
        event.sonarName = name != m_names.end()       ? name->second
                          : event.sonar.IsUndefined() ? std::string()
                                                      : tvcore::ToUtf8(event.sonar.GetKey());
        event.number = ++m_number;
        isFirst = m_events.empty();
        if (listener != nullptr) {
            heard = event;
        }
        m_events.push_back(std::move(event));
        if (m_events.size() > GreatestCount) {
            m_events.pop_front();
            ++m_lost;
        }
    }
    if (isFirst && m_wake) {
        m_wake();
    }
    if (heard) {
        listener->OnEvent(*heard);
    }
}

void EventList::PutState(CDataId const& sonar, EventKind kind, Severity severity, std::string reason)
{
    Event event;
    event.sonar = sonar;
    event.kind = kind;
    event.severity = severity;
    event.reason = std::move(reason);
    Put(std::move(event));
}

EventList::Content EventList::Take()
{
    Content content;
    std::lock_guard const lock(m_mutex);
    content.events.swap(m_events);
    content.lost = std::exchange(m_lost, 0);
    return content;
}

void EventList::OnActionStands(Action const& action)
{
    auto const kind = KindOf(action);
    if (!kind) {
        return;
    }
    Event event;
    event.sonar = action.sonar;
    event.kind = *kind;
    event.who = action.who;
    event.severity = *kind == EventKind::Failed || *kind == EventKind::NotSent ? Severity::Error : Severity::Warning;
    if (*kind == EventKind::Differs || *kind == EventKind::ChangedByOther) {
        PutValues(action, event);
        return;
    }
    auto const values = ValuesOf(action);
    for (std::size_t i = 0; i < values.size() && i <= namedKeys; ++i) {
        event.what += (i == 0 ? "" : ", ") + (i < namedKeys ? values[i].path : "...");
    }
    if (values.size() == 1) {
        event.asked = values.front().asked != nullptr ? ValueText(values.front().key, values.front().asked) : "";
        event.got = values.front().got != nullptr ? ValueText(values.front().key, values.front().got) : "";
    }
    event.reason = action.reason;
    Put(std::move(event));
}

void EventList::PutValues(Action const& action, Event const& like)
{
    bool const isOthers = like.kind == EventKind::ChangedByOther;
    std::size_t told = 0;
    std::size_t more = 0;
    for (ActionValue const& value : ValuesOf(action)) {
        if (!isOthers && !value.Differs()) {
            continue;
        }
        if (told == GreatestOfAction) {
            ++more;
            continue;
        }
        ++told;
        Event event = like;
        event.what = value.path;
        event.asked = ValueText(value.key, isOthers ? value.before : value.asked);
        event.got = ValueText(value.key, value.got);
        Put(std::move(event));
    }
    if (told == 0) {
        Event event = like;
        event.reason = action.reason;
        Put(std::move(event));
    } else if (more != 0) {
        Event event = like;
        event.kind = EventKind::Note;
        event.reason = fmt::format("{} more values of the same request are not as asked for", more);
        if (isOthers) {
            event.reason = fmt::format("{} more values were changed by somebody else", more);
        }
        Put(std::move(event));
    }
}

} // namespace qx5::operation
