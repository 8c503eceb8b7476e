// What an operator must hear of: requests that came to something else, changes by others, sonars that went silent.
#pragma once

#include "operation/action_listener.h"
#include "operation/exchanged_pointer.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

namespace qx5::operation {

enum class EventKind : unsigned char
{
    Refused,
    Dropped,
    Failed,
    NotSent,
    Differs,
    Unanswered,
    ChangedByOther, ///< a setting that was agreed here
    LinkLost,
    LinkBack,
    Silent,     ///< the sonar should ping and tells nothing
    TellsAgain, ///< after that
    Note,       ///< anything else; the text stands in `reason`
};
/// "refused", "changed by others", "link lost" and so on.
std::string_view ToText(EventKind kind);

enum class Severity : unsigned char
{
    Information,
    Warning,
    Error,
};

/// One line of the list; texts are UTF-8 without line ends.
struct Event
{
    std::uint64_t number = 0; ///< in the order in which they were put in, from 1; given by the list
    double time = 0.0;        ///< host time in seconds
    CDataId sonar;
    std::string sonarName;
    EventKind kind = EventKind::Note;
    Severity severity = Severity::Warning;
    vordal::RequestOrigin who = vordal::RequestOrigin::Program;
    std::string what;   ///< the key, or the keys; empty where it is about the sonar
    std::string asked;  ///< with its unit; of ChangedByOther what it was here
    std::string got;    ///< what the sonar has
    std::string reason; ///< empty where the rest says it
};

/// The event in one line, as a status bar shows it: "Bow: x5Range: asked 99999 m, the sonar has 500 m".
std::string StatusLine(Event const& event);

/// Hears of each event, on the thread that puts it in, with no lock held; must not wait.
class EventListener
{
public:
    virtual ~EventListener() = default;
    virtual void OnEvent(Event const& event) = 0;
};

/// Keeps the newest events until they are taken; beyond GreatestCount the oldest give way and are counted. Any thread;
/// the lock is held for moving an event in or the whole content out, nothing else.
class EventList final : public ActionListener
{
public:
    static constexpr std::size_t GreatestCount = 1000;
    /// Of an action in which more values differ the rest is one event.
    static constexpr std::size_t GreatestOfAction = 20;

    /// What the operator calls the sonar; without it the text of its id.
    void SetName(CDataId const& sonar, std::string name);
    /// Called with no lock held when the first event begins to wait, on the thread that puts it in; must not fail.
    /// Before the first event.
    void SetWake(std::function<void()> wake) { m_wake = std::move(wake); }

    /// Beside whoever takes the events; null for nobody. A call that is under way then may still end after that.
    void SetListener(std::shared_ptr<EventListener> listener) { m_listener.Set(std::move(listener)); }

    /// Number and name are the list's, and the time where it is 0.
    void Put(Event event);
    /// An event about a sonar's connection or what it tells.
    void PutState(CDataId const& sonar, EventKind kind, Severity severity, std::string reason);

    struct Content
    {
        std::deque<Event> events; ///< in their order
        std::uint64_t lost = 0;   ///< that gave way since the last Take
    };
    Content Take();

    /// What is not as it was asked for. Host thread.
    void OnActionStands(Action const& action) override;

private:
    void PutValues(Action const& action, Event const& like);

    std::function<void()> m_wake;
    ExchangedPointer<EventListener> m_listener;
    std::mutex m_mutex; ///< guards what follows
    std::map<CString, std::string> m_names;
    std::deque<Event> m_events;
    std::uint64_t m_lost = 0;
    std::uint64_t m_number = 0;
};

} // namespace qx5::operation
