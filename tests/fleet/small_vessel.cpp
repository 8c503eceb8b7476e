// The small vessel's threads: its connection's, and one that keeps its time.
#include "small_vessel.h"

#include "reference_host/attributes/tree_merge.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <variant>

namespace qx5::test {

namespace {

using namespace std::chrono_literals;
using authority::ShoreSubject;

template <typename Message>
std::string Encoded(Message const& message)
{
    std::string error;
    auto payload = authority::Encode(message, error);
    return payload ? *payload : throw std::runtime_error(error);
}

} // namespace

SmallVessel::SmallVessel(broker::ConnectionOptions line, std::string group, std::string name,
                         authority::LeaseRules rules)
    : m_group(std::move(group)), m_name(std::move(name)), m_leases(rules),
      m_node({.group = m_group, .node = m_name, .primaryHost = {}, .pace = 10ms}, NodeHooks())
{
    auto filters = m_node.Filters();
    for (auto const& filter : authority::ShoreFiltersOfVessel(m_group, m_name)) {
        filters.push_back(filter);
    }
    broker::ConnectionHooks hooks;
    hooks.will = [this]() -> std::optional<broker::Publication> {
        std::lock_guard const lock(m_mutex);
        auto const will = m_node.NextWill();
        return broker::Publication{will.topic, will.payload, will.qos, will.isRetained};
    };
    hooks.connected = [this] { WithNode([](sparkplug::EdgeNode& node) { node.Connected(); }); };
    hooks.disconnected = [this] { WithNode([](sparkplug::EdgeNode& node) { node.Disconnected(); }); };
    hooks.message = [this](std::string_view topic, std::string_view payload) { OnMessage(topic, payload); };
    m_leases.SetListener(this);
    m_node.SetNode(TreeOf(m_clock.Now()));
    m_connection = std::make_unique<broker::Connection>(std::move(line), filters, hooks);
    m_connection->Start();
    m_thread = std::thread([this] { Run(); });
}

sparkplug::EdgeNodeHooks SmallVessel::NodeHooks()
{
    sparkplug::EdgeNodeHooks hooks;
    hooks.publish = [this](sparkplug::Message const& message) {
        return m_isHushed || m_connection->Publish({message.topic, message.payload, message.qos, message.isRetained});
    };
    return hooks;
}

SmallVessel::~SmallVessel()
{
    m_isEnding = true;
    m_thread.join();
    WithNode([](sparkplug::EdgeNode& node) { node.Die(); });
    m_connection->End(2s);
    m_leases.SetListener(nullptr);
}

template <typename Work>
void SmallVessel::WithNode(Work const& work)
{
    std::lock_guard const lock(m_mutex);
    work(m_node);
}

void SmallVessel::Run()
{
    for (int ticks = 0; !m_isEnding; ++ticks) {
        m_leases.Tick();
        WithNode([&](sparkplug::EdgeNode& node) {
            if (ticks % 10 == 0 && !m_isHushed) {
                node.SetNode(TreeOf(m_clock.Now()));
            }
            if (ticks % 200 == 0 && !m_isHushed) {
                for (auto const& [name, sonar] : m_sonars) {
                    node.TellReservedAgain(name);
                }
            }
            node.Tick();
        });
        std::this_thread::sleep_for(5ms);
    }
}

void SmallVessel::SetSonar(std::string const& sonar, CAttributeMap const& tree)
{
    auto const id = IdOf(sonar);
    WithNode([&](sparkplug::EdgeNode& node) {
        m_sonars[sonar].tree = tree;
        node.SetDevice(sonar, tree);
        TellReserved(sonar);
    });
    m_leases.SetName(id, sonar);
}

void SmallVessel::RemoveSonar(std::string const& sonar)
{
    WithNode([&](sparkplug::EdgeNode& node) {
        m_sonars.erase(sonar);
        node.RemoveDevice(sonar);
    });
}

void SmallVessel::SetLink(std::string const& sonar, authority::SonarLink link, std::string const& reason)
{
    WithNode([&](sparkplug::EdgeNode&) {
        m_sonars[sonar].link = link;
        m_sonars[sonar].linkReason = reason;
        TellReserved(sonar);
    });
}

void SmallVessel::TellReserved(std::string const& name)
{
    auto& sonar = m_sonars[name];
    CAttributeMap reserved;
    authority::AddLease(reserved, m_leases.Of(IdOf(name)));
    authority::AddLink(reserved, sonar.link, sonar.linkReason);
    m_node.SetReserved(name, reserved);
}

CDataId SmallVessel::IdOf(std::string const& sonar)
{
    std::lock_guard const lock(m_mutex);
    auto found = std::find(m_ids.begin(), m_ids.end(), sonar);
    if (found == m_ids.end()) {
        found = m_ids.insert(m_ids.end(), sonar);
    }
    return CDataId(1, 78, static_cast<unsigned short>(found - m_ids.begin() + 1), 1);
}

std::string SmallVessel::NameOf(CDataId const& id)
{
    std::lock_guard const lock(m_mutex);
    return m_ids.at(id.GetDeviceNum() - 1U);
}

void SmallVessel::OnLease(authority::LeaseNews const& news)
{
    WithNode([&](sparkplug::EdgeNode&) {
        auto const name = NameOf(news.sonar);
        if (m_sonars.contains(name)) {
            TellReserved(name);
        }
    });
}

void SmallVessel::OnAnswer(authority::LeaseAnswer const& answer)
{
    authority::LeaseMessage asked;
    auto const name = NameOf(answer.sonar);
    {
        std::lock_guard const lock(m_mutex);
        auto const waiting = m_waiting.extract({name, answer.asker});
        if (!waiting) {
            return;
        }
        asked = waiting.mapped();
    }
    authority::LeaseReply reply{
        asked.stamp.sender, asked.stamp.number,
        answer.granted ? authority::LeaseReplyKind::Granted : authority::LeaseReplyKind::Refused, answer.reason};
    Reply({ShoreSubject::Lease, m_group, m_name, name, answer.asker}, reply);
}

void SmallVessel::OnMessage(std::string_view text, std::string_view payload)
{
    std::string error;
    auto const topic = authority::ParseShoreTopic(text, error);
    if (!topic) {
        WithNode([&](sparkplug::EdgeNode& node) { node.Receive(text, payload); });
        return;
    }
    if (topic->subject == ShoreSubject::Request) {
        OnRequest(*topic, authority::DecodeRequest(payload, error).value());
    } else if (topic->subject == ShoreSubject::Lease) {
        OnLeaseAsked(*topic, authority::DecodeLease(payload, error).value());
    } else if (topic->subject == ShoreSubject::Look) {
        auto look = authority::DecodeLook(payload, error).value();
        {
            std::lock_guard const lock(m_mutex);
            m_sonars[topic->sonar].areDetectionsWanted = look.wantsDetections;
            if (look.wantsFacts) {
                auto const& sonar = m_sonars[topic->sonar];
                look.facts = {m_leases.Of(IdOf(topic->sonar)), sonar.link, sonar.linkReason};
            }
        }
        Reply(*topic, look);
    } else if (topic->subject == ShoreSubject::Acknowledgement) {
        auto const acknowledged = authority::DecodeAcknowledgement(payload, error).value();
        std::lock_guard const lock(m_mutex);
        m_acknowledged[acknowledged.outbox] = {topic->person, acknowledged.upTo};
    }
}

void SmallVessel::OnRequest(authority::ShoreTopic const& topic, authority::RequestMessage const& message)
{
    ++m_arrived;
    authority::RequestReply reply{message.stamp.sender, message.stamp.number, "refused", {}, message.request, {}, {}};
    auto const arrival = m_book.Arrive(topic.person, message.stamp);
    if (arrival.kind == authority::Arrival::Kind::Refused) {
        reply.reason = arrival.reason;
    } else if (arrival.kind == authority::Arrival::Kind::Do &&
               !m_leases.Admits(IdOf(topic.sonar), topic.person, reply.reason)) {
        m_book.Finish(topic.person, message.stamp, reply.reason);
    } else {
        if (arrival.kind == authority::Arrival::Kind::Do) {
            ++m_done;
            WithNode([&](sparkplug::EdgeNode& node) {
                auto& tree = m_sonars[topic.sonar].tree;
                vordal::Merge(tree, message.request);
                node.SetDevice(topic.sonar, tree);
            });
            m_book.Finish(topic.person, message.stamp, "agrees");
        }
        reply.outcome = "agrees";
        reply.echoed = reply.has = message.request;
    }
    Reply(topic, reply);
}

void SmallVessel::OnLeaseAsked(authority::ShoreTopic const& topic, authority::LeaseMessage const& message)
{
    auto const id = IdOf(topic.sonar);
    authority::LeaseReply reply{message.stamp.sender, message.stamp.number, authority::LeaseReplyKind::Granted, {}};
    bool isDone = true;
    switch (message.ask) {
    case authority::LeaseVerb::Take: {
        {
            std::lock_guard const lock(m_mutex);
            m_waiting[{topic.sonar, topic.person}] = message;
        }
        auto const asked = m_leases.Ask(id, topic.person, message.seconds, reply.reason);
        if (asked == authority::Leases::Asked::Waits) {
            reply.answer = authority::LeaseReplyKind::Waits;
        } else {
            isDone = asked == authority::Leases::Asked::Granted;
            std::lock_guard const lock(m_mutex);
            m_waiting.erase({topic.sonar, topic.person});
        }
        break;
    }
    case authority::LeaseVerb::GiveBack:
        isDone = m_leases.GiveBack(id, topic.person);
        break;
    case authority::LeaseVerb::Grant:
        isDone = m_leases.Grant(id, topic.person, message.asker);
        break;
    case authority::LeaseVerb::Refuse:
        isDone = m_leases.Refuse(id, topic.person, message.asker);
        break;
    }
    if (!isDone) {
        reply.answer = authority::LeaseReplyKind::Refused;
    }
    Reply(topic, reply);
}

void SmallVessel::Reply(authority::ShoreTopic const& topic, authority::ShoreReply const& reply)
{
    if (std::holds_alternative<authority::RequestReply>(reply) && m_resultsToLose > 0) {
        --m_resultsToLose;
        return;
    }
    m_connection->Publish({authority::TopicText({ShoreSubject::Result, m_group, m_name, topic.sonar, topic.person}),
                           Encoded(reply), 1, false});
}

void SmallVessel::PublishDetections(std::string const& sonar, authority::DetectionsMessage const& message)
{
    m_connection->Publish(
        {authority::TopicText({ShoreSubject::Detections, m_group, m_name, sonar, {}}), Encoded(message), 0, false});
}

void SmallVessel::PublishHistory(authority::HistoryMessage const& message)
{
    m_connection->Publish(
        {authority::TopicText({ShoreSubject::History, m_group, m_name, {}, {}}), Encoded(message), 1, false});
}

std::map<std::string, std::pair<std::string, std::uint64_t>> SmallVessel::Acknowledged() const
{
    std::lock_guard const lock(m_mutex);
    return m_acknowledged;
}

bool SmallVessel::AreDetectionsWanted(std::string const& sonar) const
{
    std::lock_guard const lock(m_mutex);
    auto const found = m_sonars.find(sonar);
    return found != m_sonars.end() && found->second.areDetectionsWanted;
}

} // namespace qx5::test
