// A vessel's line to its broker.
#include "vessel/shore_line.h"

#include "operation/steady_seconds.h"

#include <future>
#include <optional>
#include <utility>

namespace qx5::vessel {

namespace {

broker::ConnectionOptions SecondOf(broker::ConnectionOptions options)
{
    options.name += "/second";
    return options;
}

} // namespace

ShoreLine::ShoreLine(broker::ConnectionOptions options, std::string group, std::string vessel,
                     std::vector<std::string> filters, std::shared_ptr<Inbox> inbox, Hooks hooks)
    : m_group(std::move(group)), m_vessel(std::move(vessel)), m_inbox(std::move(inbox)), m_hooks(std::move(hooks)),
      m_second(SecondOf(options), {TopicOf(authority::ShoreSubject::Request, "+", "+")},
               {[held = m_inbox](Inbox::Task task) { held->Put(std::move(task)); }, m_hooks.message}),
      m_connection(std::move(options), std::move(filters), ConnectionHooks())
{
}

broker::ConnectionHooks ShoreLine::ConnectionHooks()
{
    broker::ConnectionHooks hooks;
    hooks.will = [this] {
        // The node is the vessel's thread's, which waits for nobody.
        std::promise<broker::Publication> made;
        auto will = made.get_future();
        m_inbox->Put([this, &made] { made.set_value(m_hooks.will()); });
        return std::optional(will.get());
    };
    hooks.connected = [this] {
        m_inbox->Put([this] {
            m_isConnected = true;
            m_pace.Begin();
            m_hooks.connected();
        });
    };
    hooks.disconnected = [this] {
        m_inbox->Put([this] {
            m_isConnected = false;
            m_hooks.disconnected();
        });
    };
    hooks.message = m_hooks.message;
    hooks.completed = [this](std::uint64_t number, bool isAcknowledged) {
        m_inbox->Put([this, number, isAcknowledged] {
            m_pace.Acknowledged(number, operation::SteadySeconds());
            if (m_pace.IsFar()) {
                m_second.Begin();
            }
            m_hooks.completed(number, isAcknowledged);
        });
    };
    hooks.status = m_hooks.status;
    return hooks;
}

std::uint64_t ShoreLine::Publish(broker::Publication const& publication, double share)
{
    if (!m_isConnected || (share > 0.0 && !m_pace.HasRoom(share))) {
        return 0;
    }
    auto const bytes = publication.topic.size() + publication.payload.size();
    auto const number = m_connection.Publish(publication);
    if (!number) {
        return 0;
    }
    m_pace.Sent(bytes);
    if (publication.qos > 0) {
        m_pace.AwaitAcknowledgement(*number, operation::SteadySeconds());
    }
    return *number;
}

broker::Publication ShoreLine::ReplyOf(std::string const& sonar, std::string const& person, std::string bytes) const
{
    return {TopicOf(authority::ShoreSubject::Result, sonar, person), std::move(bytes), 1, false};
}

void ShoreLine::Reply(std::string const& sonar, std::string const& person, std::string bytes)
{
    Publish(ReplyOf(sonar, person, std::move(bytes)), shareOfAll);
}

void ShoreLine::ReplyTwice(std::string const& sonar, std::string const& person, std::string bytes)
{
    auto const reply = ReplyOf(sonar, person, std::move(bytes));
    Publish(reply, shareOfAll);
    if (UsesSecond()) {
        m_second.SendCopy(reply); // known by its number there
    }
}

} // namespace qx5::vessel
