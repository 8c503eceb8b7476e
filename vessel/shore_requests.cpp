// What people ashore ask a vessel for.
#include "vessel/shore_requests.h"

#include "authority/request_book.h"
#include "operation/action_values.h"
#include "sparkplug/metric_name.h"
#include "sparkplug/metric_tree.h"
#include "sparkplug/shown_text.h"
#include "vessel/history_text.h"

#include <VordalBaseR/CExTime.h>

#include <algorithm>
#include <optional>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

/// Requests that wait for the host's thread.
constexpr int greatestWaiting = 256;

authority::RequestReply Refusal(authority::RequestMessage const& message, std::string reason)
{
    authority::RequestReply reply;
    reply.outcome = operation::ToText(operation::Result::Refused);
    reply.reason = std::move(reason);
    reply.asked = message.request;
    return reply;
}

} // namespace

/// What is done on the host's thread for those ashore; outlives the vessel in a task that still waits there.
struct ShoreRequests::Doing
{
    explicit Doing(std::shared_ptr<VesselMarks> left) : marks(std::move(left)) {}

    /// Carries a request out, unless it was done before or comes too late. Host thread.
    void Do(AskedAshore asked, CDataId const& sonar, authority::RequestMessage const& message);

    authority::VesselClock const clock;
    authority::RequestBook book{clock};
    std::shared_ptr<VesselMarks> const marks;
    std::atomic<int> waiting{0};
};

void ShoreRequests::Doing::Do(AskedAshore asked, CDataId const& sonar, authority::RequestMessage const& message)
{
    auto const arrival = book.Arrive(asked.person, message.stamp);
    switch (arrival.kind) {
    case authority::Arrival::Kind::Do:
        marks->Ask(std::move(asked), sonar, message.request);
        return;
    case authority::Arrival::Kind::Underway:
        return;
    case authority::Arrival::Kind::Again:
        marks->NoteStanding({std::move(asked), {}, arrival.result, false});
        return;
    case authority::Arrival::Kind::Refused:
        marks->NoteStanding({std::move(asked), Refusal(message, arrival.reason), {}, false});
        return;
    }
}

ShoreRequests::ShoreRequests(Surroundings surroundings)
    : m_around(std::move(surroundings)), m_doing(std::make_shared<Doing>(m_around.marks))
{
}

authority::VesselTime ShoreRequests::Now() const
{
    return m_doing->clock.Now();
}

ShoreRequests::Posted ShoreRequests::Post(std::function<void(Doing&)> work)
{
    if (m_doing->waiting.fetch_add(1) >= greatestWaiting) {
        --m_doing->waiting;
        return Posted::Full;
    }
    bool const isPosted = m_around.host.Post([doing = m_doing, work = std::move(work)] {
        --doing->waiting;
        work(*doing);
    });
    if (!isPosted) {
        --m_doing->waiting;
        return Posted::Ending;
    }
    return Posted::Yes;
}

void ShoreRequests::Refuse(AskedAshore asked, authority::RequestMessage const& message, std::string reason)
{
    m_around.marks->NoteStanding({std::move(asked), Refusal(message, std::move(reason)), {}, false});
}

void ShoreRequests::TakeRequest(authority::ShoreTopic const& topic, std::string_view payload)
{
    ++m_count;
    std::string error;
    auto message = authority::DecodeRequest(payload, error);
    if (!message) {
        m_around.complaints.Put(fmt::format("{}: {}", authority::TopicText(topic), error));
        return;
    }
    AskedAshore asked{topic.sonar, topic.person, message->stamp};
    auto const sonar = m_around.sonars.Find(topic.sonar);
    if (!sonar) {
        Refuse(std::move(asked), *message, fmt::format("there is no sonar {} aboard", topic.sonar));
        return;
    }
    auto const shared = std::make_shared<authority::RequestMessage>(std::move(*message));
    switch (Post([asked, id = *sonar, shared](Doing& doing) { doing.Do(asked, id, *shared); })) {
    case Posted::Yes:
        break;
    case Posted::Full:
        Refuse(std::move(asked), *shared, fmt::format("{} requests wait aboard already", greatestWaiting));
        break;
    case Posted::Ending:
        Refuse(std::move(asked), *shared, "the vessel's program ends");
        break;
    }
}

void ShoreRequests::PutReply(std::string const& sonar, std::string const& person, authority::ShoreReply const& reply)
{
    std::string error;
    if (auto bytes = authority::Encode(reply, error)) {
        m_around.inbox->Put(
            [this, sonar, person, bytes = std::move(*bytes)] { m_around.line.Reply(sonar, person, bytes); });
    } else {
        m_around.complaints.Put(error);
    }
}

void ShoreRequests::FinishLease(std::string const& sonar, std::string const& person,
                                authority::RequestStamp const& stamp, authority::LeaseReply reply)
{
    reply.sender = stamp.sender;
    reply.number = stamp.number;
    std::string error;
    m_doing->book.Finish(person, stamp, authority::Encode(authority::ShoreReply(reply), error).value_or(std::string()));
    PutReply(sonar, person, reply);
}

void ShoreRequests::TakeLease(authority::ShoreTopic const& topic, std::string_view payload)
{
    ++m_count;
    std::string error;
    auto const message = authority::DecodeLease(payload, error);
    if (!message) {
        m_around.complaints.Put(fmt::format("{}: {}", authority::TopicText(topic), error));
        return;
    }
    auto const& stamp = message->stamp;
    auto const refuse = [&](std::string reason) {
        PutReply(
            topic.sonar, topic.person,
            authority::LeaseReply{stamp.sender, stamp.number, authority::LeaseReplyKind::Refused, std::move(reason)});
    };
    auto const sonar = m_around.sonars.Find(topic.sonar);
    if (!sonar) {
        refuse(fmt::format("there is no sonar {} aboard", topic.sonar));
        return;
    }
    if (m_around.guard.GetPermissions().Of(topic.person) == authority::Role::Watch) {
        refuse(topic.person + " may watch, and ask for nothing");
        return;
    }
    auto const arrival = m_doing->book.Arrive(topic.person, stamp);
    switch (arrival.kind) {
    case authority::Arrival::Kind::Do: {
        auto const reply = AnswerLease(*sonar, topic, *message);
        if (reply.answer != authority::LeaseReplyKind::Waits) {
            FinishLease(topic.sonar, topic.person, stamp, reply);
        }
        break;
    }
    case authority::Arrival::Kind::Underway:
        PutReply(topic.sonar, topic.person,
                 authority::LeaseReply{stamp.sender, stamp.number, authority::LeaseReplyKind::Waits, {}});
        break;
    case authority::Arrival::Kind::Again:
        m_around.inbox->Put(
            [this, topic, bytes = arrival.result] { m_around.line.Reply(topic.sonar, topic.person, bytes); });
        break;
    case authority::Arrival::Kind::Refused:
        refuse(arrival.reason);
        break;
    }
}

authority::LeaseReply ShoreRequests::AnswerLease(CDataId const& sonar, authority::ShoreTopic const& topic,
                                                 authority::LeaseMessage const& message)
{
    using authority::LeaseReplyKind;
    auto const isDone = [](bool done, std::string const& otherwise) {
        return authority::LeaseReply{0, 0, done ? LeaseReplyKind::Granted : LeaseReplyKind::Refused,
                                     done ? std::string() : otherwise};
    };
    switch (message.ask) {
    case authority::LeaseVerb::Take:
        return AskForLease(sonar, topic, message);
    case authority::LeaseVerb::GiveBack: {
        bool const gaveBack = m_around.leases.GiveBack(sonar, topic.person);
        // Who waited and does not any more has asked for his answer himself.
        TakeAnswer({sonar, topic.person, false, "it was not waited for any longer"});
        return isDone(gaveBack, fmt::format("{} has not the lease of {}, nor waits for it", topic.person, topic.sonar));
    }
    case authority::LeaseVerb::Grant:
        return isDone(m_around.leases.Grant(sonar, topic.person, message.asker),
                      fmt::format("{} has not the lease of {}, or {} does not ask for it", topic.person, topic.sonar,
                                  message.asker));
    case authority::LeaseVerb::Refuse:
        return isDone(m_around.leases.Refuse(sonar, topic.person, message.asker),
                      fmt::format("{} has not the lease of {}, or {} does not ask for it", topic.person, topic.sonar,
                                  message.asker));
    }
    return {};
}

authority::LeaseReply ShoreRequests::AskForLease(CDataId const& sonar, authority::ShoreTopic const& topic,
                                                 authority::LeaseMessage const& message)
{
    using authority::LeaseReplyKind;
    // The answer may come before the question returns: whoever takes the entry tells it.
    WaitingFor const key{sonar.GetKey(), topic.person};
    decltype(m_waiting)::iterator entry;
    {
        std::lock_guard const lock(m_waitingMutex);
        entry = m_waiting.emplace(key, Waiting{topic.sonar, message.stamp});
    }
    std::string reason;
    auto const asked = m_around.leases.Ask(sonar, topic.person, message.seconds, reason);
    std::lock_guard const lock(m_waitingMutex);
    auto const range = m_waiting.equal_range(key);
    bool const isWaiting =
        std::any_of(range.first, range.second, [&](auto const& each) { return each.second.stamp == message.stamp; });
    if (asked == authority::Leases::Asked::Waits) {
        if (isWaiting) {
            PutReply(topic.sonar, topic.person,
                     authority::LeaseReply{message.stamp.sender, message.stamp.number, LeaseReplyKind::Waits, {}});
        }
        return {0, 0, LeaseReplyKind::Waits, {}};
    }
    if (isWaiting) {
        m_waiting.erase(entry);
    }
    return {0, 0, asked == authority::Leases::Asked::Granted ? LeaseReplyKind::Granted : LeaseReplyKind::Refused,
            std::move(reason)};
}

void ShoreRequests::TakeAnswer(authority::LeaseAnswer const& answer)
{
    std::vector<Waiting> answered;
    {
        std::lock_guard const lock(m_waitingMutex);
        auto const range = m_waiting.equal_range({answer.sonar.GetKey(), answer.asker});
        for (auto entry = range.first; entry != range.second; ++entry) {
            answered.push_back(std::move(entry->second));
        }
        m_waiting.erase(range.first, range.second);
    }
    for (Waiting const& waiting : answered) {
        FinishLease(waiting.sonar, answer.asker, waiting.stamp,
                    {0, 0, answer.granted ? authority::LeaseReplyKind::Granted : authority::LeaseReplyKind::Refused,
                     answer.reason});
    }
}

void ShoreRequests::TakeStanding(Standing& standing)
{
    auto const& asked = standing.asked;
    if (!asked.stamp) {
        return; // of those who tell no name nobody waits
    }
    if (!standing.ready.empty()) {
        m_around.line.ReplyTwice(asked.sonar, asked.person, std::move(standing.ready));
        return;
    }
    standing.reply.sender = asked.stamp->sender;
    standing.reply.number = asked.stamp->number;
    std::string error;
    auto bytes = authority::Encode(authority::ShoreReply(standing.reply), error);
    if (!bytes) {
        // A request of the greatest size, told three times, is more than a payload holds.
        standing.reply.asked = standing.reply.echoed = standing.reply.has = {};
        bytes = authority::Encode(authority::ShoreReply(standing.reply), error);
    }
    if (!standing.isDone) {
        m_around.line.ReplyTwice(asked.sonar, asked.person, std::move(*bytes));
        return;
    }
    auto content = authority::Encode(
        authority::HistoryContent(authority::HistoryText{
            asked.sonar, asked.person, JsonOf(standing.reply, asked.sonar, asked.person, CExTime::GetCurTime())}),
        error);
    if (!content) {
        m_around.complaints.Put("a result is not kept for the shore: " + error);
        FinishRequest(asked, std::move(*bytes));
        return;
    }
    // A vessel that is killed must still have what it told. What the disk does not take, which it says itself, is told
    // all the same: whoever commands has to know what was done.
    m_around.outbox.PutAtOnce(outbox::Kind::Result, std::move(*content),
                              [this, inbox = m_around.inbox, asked, bytes = std::move(*bytes)](bool) {
                                  inbox->Put([this, asked, bytes] { FinishRequest(asked, bytes); });
                              });
}

void ShoreRequests::FinishRequest(AskedAshore const& asked, std::string bytes)
{
    m_doing->book.Finish(asked.person, *asked.stamp, bytes);
    m_around.line.ReplyTwice(asked.sonar, asked.person, std::move(bytes));
}

void ShoreRequests::TakeCommand(std::string_view device, std::vector<sparkplug::CommandedValue> const& values)
{
    ++m_count;
    auto const sonar = m_around.sonars.Find(std::string(device));
    if (!sonar) {
        m_around.complaints.Put("a command to the vessel itself other than for its birth is passed over");
        return;
    }
    CAttributeMap request;
    for (sparkplug::CommandedValue const& value : values) {
        if (sparkplug::IsReserved(value.name)) {
            m_around.complaints.Put(
                fmt::format("{} of {} is nothing that can be set", sparkplug::ShownText(value.name), device));
        } else {
            sparkplug::SetAt(request, sparkplug::PlaceIn(request, value.name), value.value, 0);
        }
    }
    if (request.Count() == 0) {
        return;
    }
    AskedAshore asked{std::string(device), std::string(authority::Unnamed), std::nullopt};
    if (Post([asked = std::move(asked), id = *sonar, request](Doing& doing) {
            doing.marks->Ask(asked, id, request);
        }) == Posted::Full) {
        m_around.complaints.Put(
            fmt::format("{} requests wait aboard already, and a command is passed over", greatestWaiting));
    }
}

} // namespace qx5::vessel
