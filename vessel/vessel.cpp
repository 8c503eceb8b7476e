// A vessel on a broker: its thread, and what it does with what the host's threads and the connection's leave for it.
#include "vessel/vessel.h"

#include "authority/request_book.h"
#include "authority/shore_facts.h"
#include "authority/shore_messages.h"
#include "authority/shore_topics.h"
#include "operation/action_values.h"
#include "operation/sonar_limits.h"
#include "outbox/sending.h"
#include "reference_host/common/failure.h"
#include "sparkplug/metric_name.h"
#include "sparkplug/metric_tree.h"
#include "sparkplug/shown_text.h"
#include "vessel/detection_feed.h"
#include "vessel/history_text.h"
#include "vessel/line_pace.h"
#include "vessel/sonar_names.h"
#include "vessel/vessel_marks.h"

#include <VersionControlR/CheckDllVersion.h>
#include <VordalBaseR/CExTime.h>
#include <protocol/catalogue.h>
#include <protocol/utf8.h>
#include <values/vordal_value.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <thread>
#include <utility>

#include <fmt/format.h>

namespace qx5::vessel {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// Of the thread's rounds while nothing wakes it: leases end, history leaves.
constexpr auto roundInterval = 50ms;
/// Whether sonars have come, gone, been called otherwise or lost their connections is looked at so often.
constexpr auto lookInterval = 200ms;
/// The vessel's time and how leases stand are told so often.
constexpr auto tellInterval = 1s;
constexpr auto complaintInterval = 1s;
/// Who looks at a sonar says so every 5 s.
constexpr auto lookLasts = 15s;
/// What has arrived and the vessel's thread has not taken; the connection keeps what is beyond it, up to its own bound.
constexpr std::size_t greatestArrived = std::size_t{4} << 20;
/// Requests that wait for the host's thread.
constexpr int greatestWaiting = 256;

// Of what may be on its way each takes its share: commands find room where values fill theirs, and so on.
constexpr double shareOfValues = 1.0;
constexpr double shareOfHistory = 0.5;
constexpr double shareOfDetections = 0.25;

double Seconds(Clock::time_point at)
{
    return std::chrono::duration<double>(at.time_since_epoch()).count();
}

/// What other threads put down for the vessel's; outlives it in a call of theirs that is still under way.
struct Inbox
{
    std::mutex mutex;
    std::condition_variable arrived;
    std::condition_variable taken;
    std::deque<std::pair<std::function<void()>, std::size_t>> tasks; ///< with the bytes of each
    std::size_t bytes = 0;
    bool hasMarks = false;
    bool isEnding = false;

    void Put(std::function<void()> task, std::size_t size = 0)
    {
        {
            std::unique_lock lock(mutex);
            if (size != 0) {
                taken.wait(lock, [&] { return isEnding || bytes < greatestArrived; });
            }
            tasks.emplace_back(std::move(task), size);
            bytes += size;
        }
        arrived.notify_one();
    }
    void Mark()
    {
        {
            std::lock_guard const lock(mutex);
            hasMarks = true;
        }
        arrived.notify_one();
    }
};

/// What is done on the host's thread for those ashore; outlives the vessel in a task that still waits there.
struct Doing
{
    explicit Doing(std::shared_ptr<VesselMarks> left) : marks(std::move(left)) {}

    authority::VesselClock const clock;
    authority::RequestBook book{clock};
    std::shared_ptr<VesselMarks> const marks;
    std::atomic<int> waiting{0};
};

std::shared_ptr<outbox::Outbox> OpenedOutbox(VesselOptions const& options)
{
    auto outbox = options.outbox;
    if (!outbox.tell) {
        outbox.tell = options.tell;
    }
    return std::make_shared<outbox::Outbox>(options.outboxFile, std::move(outbox));
}

outbox::SendingOptions SendingAt(double bytesPerSecond)
{
    outbox::SendingOptions options;
    options.bytesPerSecond = bytesPerSecond;
    return options;
}

authority::RequestReply Refusal(authority::RequestMessage const& message, std::string reason)
{
    authority::RequestReply reply;
    reply.outcome = operation::ToText(operation::Result::Refused);
    reply.reason = std::move(reason);
    reply.asked = message.request;
    return reply;
}

/// Carries a request out, unless it was done before or comes too late. Host thread.
void Do(Doing& doing, AskedAshore asked, CDataId const& sonar, authority::RequestMessage const& message)
{
    auto const arrival = doing.book.Arrive(asked.person, message.stamp);
    switch (arrival.kind) {
    case authority::Arrival::Kind::Do:
        doing.marks->Ask(std::move(asked), sonar, message.request);
        return;
    case authority::Arrival::Kind::Underway:
        return;
    case authority::Arrival::Kind::Again:
        doing.marks->NoteStanding({std::move(asked), {}, arrival.result, false});
        return;
    case authority::Arrival::Kind::Refused:
        doing.marks->NoteStanding({std::move(asked), Refusal(message, arrival.reason), {}, false});
        return;
    }
}

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

CAttributeMap NodeFacts(authority::VesselTime const& time, std::string const& version)
{
    auto tree = authority::TreeOf(time);
    auto& program = tree.FindCreate(AttributeKey(L"Program"));
    AddValue(program, AttributeKey(L"Version"), protocol::DecodeUtf8(version));
    AddValue(program, AttributeKey(L"Contract"),
             protocol::DecodeUtf8(
                 fmt::format("{}.{}", VORDAL_CONTRACT_VERSION >> 24U, VORDAL_CONTRACT_VERSION >> 16U & 0xFFU)));
    return tree;
}

} // namespace

class Vessel::Body
{
public:
    Body(vordal::Host& host, operation::OperatorDesk& desk, VesselOptions options);
    ~Body() { End(0ms); }

    void Begin();
    void End(std::chrono::milliseconds limit);
    authority::Leases& Leases() { return m_leases; }
    void SetPermissions(authority::Permissions permissions) { m_guard.SetPermissions(std::move(permissions)); }
    broker::LineStatus Status() const
    {
        return m_connection != nullptr ? m_connection->Status() : broker::LineStatus();
    }
    VesselCounts Counts() const;

private:
    /// A sonar as it was told last.
    struct Told
    {
        TopicSonar sonar;
        CAttributeMap tree;
        operation::SonarLimits limits; ///< that the tree tells, once they were asked for
        bool hasLimits = false;
        authority::LeaseNews lease;
        authority::SonarLink link = authority::SonarLink::NoAnswer;
        std::string reason; ///< of the link
        Clock::time_point wantedUntil = Clock::time_point::min();
        std::optional<CDataBlock> ping; ///< the newest that was not told
    };
    /// A question for a lease whose answer is the holder's.
    struct Waiting
    {
        std::string sonar;
        authority::RequestStamp stamp;
    };
    using WaitingFor = std::pair<CString, std::string>; ///< sonar's id, person

    // The connection's thread.
    broker::ConnectionHooks Hooks();
    void Arrive(std::string_view topic, std::string_view payload);
    void TakeRequest(authority::ShoreTopic const& topic, std::string_view payload);
    void TakeLease(authority::ShoreTopic const& topic, std::string_view payload);
    authority::LeaseReply AnswerLease(CDataId const& sonar, authority::ShoreTopic const& topic,
                                      authority::LeaseMessage const& message);
    authority::LeaseReply AskForLease(CDataId const& sonar, authority::ShoreTopic const& topic,
                                      authority::LeaseMessage const& message);
    std::optional<CDataId> Find(std::string const& onTopic) const;

    // Any thread.
    void Complain(std::string const& line);
    void PutReply(std::string const& sonar, std::string const& person, authority::ShoreReply const& reply);
    void FinishLease(std::string const& sonar, std::string const& person, authority::RequestStamp const& stamp,
                     authority::LeaseReply reply);

    // The vessel's thread.
    void Run();
    Clock::time_point NextRound();
    void Round(Clock::time_point now);
    void TakeMarks();
    void TakeStanding(Standing& standing);
    void TakeLeaseNews(Told& told, authority::LeaseNews const& news);
    void TakeAnswer(authority::LeaseAnswer const& answer);
    void TakeLook(authority::ShoreTopic const& topic, std::string const& payload);
    void TakeAcknowledgement(authority::ShoreTopic const& topic, std::string const& payload);
    void Command(std::string_view device, std::vector<sparkplug::CommandedValue> const& values);
    sparkplug::MetricFacts FactsOf(std::string_view device, std::wstring_view key);
    void LookAtSonars();
    void LookAtLinks();
    void TellReserved(Told const& told);
    void SeeTree(Told& told);
    void Connected();
    void Disconnected();
    void Pump(Clock::time_point now);
    void SendHistory();
    void SendDetections(Clock::time_point now);
    /// The number of its acknowledgement; 0 when there was no room.
    std::uint64_t SendProbe();
    /// Its number; 0 when there is no room in what one with that share may fill; a share of 0: of what the connection
    /// has.
    std::uint64_t Publish(broker::Publication const& publication, double share);
    void Reply(std::string const& sonar, std::string const& person, std::string bytes);
    void NoteCounts();

    vordal::Host& m_host;
    operation::OperatorDesk& m_desk;
    VesselOptions const m_options;
    std::shared_ptr<Inbox> const m_inbox = std::make_shared<Inbox>();
    std::shared_ptr<outbox::Outbox> m_outbox; ///< until the end
    std::shared_ptr<VesselMarks> const m_marks;
    std::shared_ptr<Doing> const m_doing;
    authority::Leases m_leases;
    authority::CommandGuard m_guard;
    bool m_hasBegun = false;
    bool m_hasEnded = false;
    std::thread m_thread;

    mutable std::mutex m_namesMutex; ///< guards what follows
    std::map<std::string, CDataId, std::less<>> m_byTopic;

    std::mutex m_waitingMutex; ///< guards what follows
    std::multimap<WaitingFor, Waiting> m_waiting;

    std::mutex m_complaintMutex; ///< guards what follows
    Clock::time_point m_complained = Clock::time_point::min();
    std::uint64_t m_unsaid = 0;

    std::atomic<std::uint64_t> m_requests{0};
    std::atomic<std::uint64_t> m_refused{0};
    mutable std::mutex m_countsMutex; ///< guards what follows
    VesselCounts m_counts;

    // The vessel's thread.
    sparkplug::EdgeNode m_node;
    outbox::Sending m_sending;
    LinePace m_pace;
    std::map<CString, Told> m_sonars; ///< by the texts of their ids
    bool m_isConnected = false;
    bool m_sendsHistory = false;
    std::uint64_t m_birthProbe = 0; ///< its acknowledgement says that all births have left; 0 before it is sent
    std::uint64_t m_pingProbe = 0;  ///< the same of the last ping; 0: none is on its way
    std::uint64_t m_pings = 0;
    Clock::time_point m_nextRound = Clock::time_point::min();
    Clock::time_point m_nextLook = Clock::time_point::min();
    Clock::time_point m_nextTell = Clock::time_point::min();
    std::unique_ptr<DetectionFeed> m_feed;

    std::unique_ptr<broker::Connection> m_connection; ///< once it has begun
};

Vessel::Body::Body(vordal::Host& host, operation::OperatorDesk& desk, VesselOptions options)
    : m_host(host), m_desk(desk), m_options(std::move(options)), m_outbox(OpenedOutbox(m_options)),
      m_marks(std::make_shared<VesselMarks>([inbox = m_inbox] { inbox->Mark(); }, m_options.history, m_outbox)),
      m_doing(std::make_shared<Doing>(m_marks)), m_leases(m_options.leases), m_guard(m_leases),
      m_node({.group = m_options.group,
              .node = m_options.vessel,
              .primaryHost = m_options.primaryHost,
              .deviceFacts = [this](std::string_view device, std::wstring_view key) { return FactsOf(device, key); },
              .retryPause = 20ms,
              .dataBytes = std::size_t{32} << 10},
             {.publish =
                  [this](sparkplug::Message const& message) {
                      return Publish({message.topic, message.payload, message.qos, message.isRetained},
                                     message.qos == 0 ? shareOfValues : 0.0) != 0;
                  },
              .command = [this](std::string_view device,
                                std::vector<sparkplug::CommandedValue> const& values) { Command(device, values); },
              .startAgain = [this] { m_connection->StartAgain(); },
              .tell = [this](std::string const& line) { Complain(line); }}),
      m_sending(*m_outbox, SendingAt(m_options.historyBytesPerSecond))
{
    m_guard.SetPermissions(m_options.permissions);
}

VesselCounts Vessel::Body::Counts() const
{
    VesselCounts counts;
    {
        std::lock_guard const lock(m_countsMutex);
        counts = m_counts;
    }
    counts.outbox = m_outbox->State();
    counts.requests = m_requests.load();
    counts.refused = m_refused.load();
    if (m_connection != nullptr) {
        counts.line = m_connection->Counts();
    }
    return counts;
}

void Vessel::Body::Begin()
{
    m_hasBegun = true;
    m_leases.SetListener(m_marks.get());
    m_desk.SetFirstGuard(&m_guard);
    m_desk.ShoreTap().Set(m_marks);
    m_desk.Events().SetListener(m_marks);
    m_feed = std::make_unique<DetectionFeed>(
        m_host, [marks = m_marks](CDataId const& sonar, CDataBlock const& block) { marks->NotePing(sonar, block); });
    auto filters = m_node.Filters();
    for (std::string& filter : authority::ShoreFiltersOfVessel(m_options.group, m_options.vessel)) {
        filters.push_back(std::move(filter));
    }
    broker::ConnectionOptions line;
    line.address = m_options.address;
    line.files = m_options.files;
    line.name = "qx5/" + m_options.group + "/" + m_options.vessel;
    m_connection = std::make_unique<broker::Connection>(std::move(line), std::move(filters), Hooks());
    LookAtSonars();
    m_thread = std::thread([this] { Run(); });
    m_connection->Start();
}

void Vessel::Body::End(std::chrono::milliseconds limit)
{
    if (!m_hasBegun || std::exchange(m_hasEnded, true)) {
        return;
    }
    auto const told = std::make_shared<std::promise<void>>();
    auto const isTold = told->get_future();
    m_inbox->Put([this, told] {
        m_node.Die();
        told->set_value();
    });
    isTold.wait();
    m_connection->End(limit);
    {
        std::lock_guard const lock(m_inbox->mutex);
        m_inbox->isEnding = true;
    }
    m_inbox->arrived.notify_all();
    m_inbox->taken.notify_all();
    m_thread.join();
    m_feed.reset();
    m_desk.ShoreTap().Set(nullptr);
    m_desk.Events().SetListener(nullptr);
    m_leases.SetListener(nullptr);
    m_marks->LeaveOutbox();
    // No request runs while the guard is taken away; where the host has stopped none does any more.
    if (!m_host.RunAndWait([this] { m_desk.SetFirstGuard(nullptr); })) {
        m_desk.SetFirstGuard(nullptr);
    }
}

broker::ConnectionHooks Vessel::Body::Hooks()
{
    broker::ConnectionHooks hooks;
    hooks.will = [this] {
        // The node is the vessel's thread's, which waits for nobody.
        std::promise<broker::Publication> made;
        auto will = made.get_future();
        m_inbox->Put([this, &made] {
            auto message = m_node.NextWill();
            made.set_value({std::move(message.topic), std::move(message.payload), message.qos, message.isRetained});
        });
        return std::optional(will.get());
    };
    hooks.connected = [this] { m_inbox->Put([this] { Connected(); }); };
    hooks.disconnected = [this] { m_inbox->Put([this] { Disconnected(); }); };
    hooks.message = [this](std::string_view topic, std::string_view payload) { Arrive(topic, payload); };
    hooks.completed = [this](std::uint64_t number, bool isAcknowledged) {
        m_inbox->Put([this, number, isAcknowledged] {
            m_pace.Acknowledged(number, Seconds(Clock::now()));
            if (number == m_pingProbe) {
                m_pingProbe = 0;
            }
            if (number == m_birthProbe && isAcknowledged && m_isConnected && !m_sendsHistory) {
                m_sendsHistory = true;
                m_sending.OnLine();
            }
        });
    };
    hooks.status = m_options.status;
    return hooks;
}

void Vessel::Body::Complain(std::string const& line)
{
    ++m_refused;
    std::uint64_t unsaid = 0;
    {
        std::lock_guard const lock(m_complaintMutex);
        auto const now = Clock::now();
        if (m_complained != Clock::time_point::min() && now - m_complained < complaintInterval) {
            ++m_unsaid;
            return;
        }
        m_complained = now;
        unsaid = std::exchange(m_unsaid, 0);
    }
    if (m_options.tell) {
        m_options.tell(unsaid == 0 ? line : fmt::format("{} (and {} more since the last such line)", line, unsaid));
    }
}

std::optional<CDataId> Vessel::Body::Find(std::string const& onTopic) const
{
    std::lock_guard const lock(m_namesMutex);
    auto const found = m_byTopic.find(onTopic);
    return found != m_byTopic.end() ? std::optional(found->second) : std::nullopt;
}

void Vessel::Body::Arrive(std::string_view text, std::string_view payload)
{
    std::string error;
    if (text.starts_with("spBv1.0/")) {
        m_inbox->Put([this, topic = std::string(text), bytes = std::string(payload)] { m_node.Receive(topic, bytes); },
                     text.size() + payload.size());
        return;
    }
    auto topic = authority::ParseShoreTopic(text, error);
    if (!topic || topic->group != m_options.group || topic->vessel != m_options.vessel) {
        Complain(topic ? fmt::format("{} is for another vessel", sparkplug::ShownText(text)) : error);
        return;
    }
    switch (topic->subject) {
    case authority::ShoreSubject::Request:
        TakeRequest(*topic, payload);
        break;
    case authority::ShoreSubject::Lease:
        TakeLease(*topic, payload);
        break;
    case authority::ShoreSubject::Look:
        m_inbox->Put([this, at = *topic, bytes = std::string(payload)] { TakeLook(at, bytes); },
                     text.size() + payload.size());
        break;
    case authority::ShoreSubject::Acknowledgement:
        m_inbox->Put([this, at = *topic, bytes = std::string(payload)] { TakeAcknowledgement(at, bytes); },
                     text.size() + payload.size());
        break;
    case authority::ShoreSubject::Result:
    case authority::ShoreSubject::Detections:
    case authority::ShoreSubject::History:
        break; // a vessel's own
    }
}

void Vessel::Body::TakeRequest(authority::ShoreTopic const& topic, std::string_view payload)
{
    ++m_requests;
    std::string error;
    auto message = authority::DecodeRequest(payload, error);
    if (!message) {
        Complain(fmt::format("{}: {}", authority::TopicText(topic), error));
        return;
    }
    AskedAshore asked{topic.sonar, topic.person, message->stamp};
    auto const sonar = Find(topic.sonar);
    if (!sonar) {
        m_marks->NoteStanding(
            {std::move(asked), Refusal(*message, fmt::format("there is no sonar {} aboard", topic.sonar)), {}, false});
        return;
    }
    if (m_doing->waiting.fetch_add(1) >= greatestWaiting) {
        --m_doing->waiting;
        m_marks->NoteStanding({std::move(asked),
                               Refusal(*message, fmt::format("{} requests wait aboard already", greatestWaiting)),
                               {},
                               false});
        return;
    }
    auto const shared = std::make_shared<authority::RequestMessage>(std::move(*message));
    bool const isPosted = m_host.Post([doing = m_doing, asked, id = *sonar, shared] {
        --doing->waiting;
        Do(*doing, asked, id, *shared);
    });
    if (!isPosted) {
        --m_doing->waiting;
        m_marks->NoteStanding({std::move(asked), Refusal(*shared, "the vessel's program ends"), {}, false});
    }
}

void Vessel::Body::PutReply(std::string const& sonar, std::string const& person, authority::ShoreReply const& reply)
{
    std::string error;
    if (auto bytes = authority::Encode(reply, error)) {
        m_inbox->Put([this, sonar, person, bytes = std::move(*bytes)] { Reply(sonar, person, bytes); });
    } else {
        Complain(error);
    }
}

void Vessel::Body::FinishLease(std::string const& sonar, std::string const& person,
                               authority::RequestStamp const& stamp, authority::LeaseReply reply)
{
    reply.sender = stamp.sender;
    reply.number = stamp.number;
    std::string error;
    m_doing->book.Finish(person, stamp, authority::Encode(authority::ShoreReply(reply), error).value_or(std::string()));
    PutReply(sonar, person, reply);
}

void Vessel::Body::TakeLease(authority::ShoreTopic const& topic, std::string_view payload)
{
    ++m_requests;
    std::string error;
    auto const message = authority::DecodeLease(payload, error);
    if (!message) {
        Complain(fmt::format("{}: {}", authority::TopicText(topic), error));
        return;
    }
    auto const& stamp = message->stamp;
    auto const refuse = [&](std::string reason) {
        PutReply(
            topic.sonar, topic.person,
            authority::LeaseReply{stamp.sender, stamp.number, authority::LeaseReplyKind::Refused, std::move(reason)});
    };
    auto const sonar = Find(topic.sonar);
    if (!sonar) {
        refuse(fmt::format("there is no sonar {} aboard", topic.sonar));
        return;
    }
    if (m_guard.GetPermissions().Of(topic.person) == authority::Role::Watch) {
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
        m_inbox->Put([this, topic, bytes = arrival.result] { Reply(topic.sonar, topic.person, bytes); });
        break;
    case authority::Arrival::Kind::Refused:
        refuse(arrival.reason);
        break;
    }
}

authority::LeaseReply Vessel::Body::AnswerLease(CDataId const& sonar, authority::ShoreTopic const& topic,
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
        bool const gaveBack = m_leases.GiveBack(sonar, topic.person);
        // Who waited and does not any more has asked for his answer himself.
        TakeAnswer({sonar, topic.person, false, "it was not waited for any longer"});
        return isDone(gaveBack, fmt::format("{} has not the lease of {}, nor waits for it", topic.person, topic.sonar));
    }
    case authority::LeaseVerb::Grant:
        return isDone(m_leases.Grant(sonar, topic.person, message.asker),
                      fmt::format("{} has not the lease of {}, or {} does not ask for it", topic.person, topic.sonar,
                                  message.asker));
    case authority::LeaseVerb::Refuse:
        return isDone(m_leases.Refuse(sonar, topic.person, message.asker),
                      fmt::format("{} has not the lease of {}, or {} does not ask for it", topic.person, topic.sonar,
                                  message.asker));
    }
    return {};
}

authority::LeaseReply Vessel::Body::AskForLease(CDataId const& sonar, authority::ShoreTopic const& topic,
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
    auto const asked = m_leases.Ask(sonar, topic.person, message.seconds, reason);
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

void Vessel::Body::Run()
{
    for (;;) {
        std::deque<std::pair<std::function<void()>, std::size_t>> tasks;
        bool hasMarks = false;
        {
            auto const until = NextRound();
            std::unique_lock lock(m_inbox->mutex);
            m_inbox->arrived.wait_until(
                lock, until, [&] { return !m_inbox->tasks.empty() || m_inbox->hasMarks || m_inbox->isEnding; });
            if (m_inbox->isEnding && m_inbox->tasks.empty() && !m_inbox->hasMarks) {
                return;
            }
            tasks.swap(m_inbox->tasks);
            m_inbox->bytes = 0;
            hasMarks = std::exchange(m_inbox->hasMarks, false);
        }
        m_inbox->taken.notify_all();
        for (auto& [task, bytes] : tasks) {
            vordal::LogFailureOf("the vessel's line: ", task);
        }
        vordal::LogFailureOf("the vessel's line: ", [&] {
            if (hasMarks) {
                TakeMarks();
            }
            Round(Clock::now());
        });
    }
}

Clock::time_point Vessel::Body::NextRound()
{
    auto const due = m_node.NextDue();
    return due ? std::min(m_nextRound, *due) : m_nextRound;
}

void Vessel::Body::Round(Clock::time_point now)
{
    if (auto const due = m_node.NextDue(); due && *due <= now) {
        m_node.Tick();
    }
    if (now >= m_nextRound) {
        m_nextRound = now + roundInterval;
        m_leases.Tick();
        NoteCounts();
    }
    if (now >= m_nextLook) {
        m_nextLook = now + lookInterval;
        LookAtSonars();
        LookAtLinks();
    }
    if (now >= m_nextTell) {
        m_nextTell = now + tellInterval;
        m_node.SetNode(NodeFacts(m_doing->clock.Now(), m_options.version));
        for (auto const& [key, told] : m_sonars) {
            m_node.TellReservedAgain(told.sonar.onTopic);
        }
    }
    Pump(now);
}

void Vessel::Body::NoteCounts()
{
    std::lock_guard const lock(m_countsMutex);
    m_counts.node = m_node.Counts();
    m_counts.detections = m_pings;
}

void Vessel::Body::LookAtSonars()
{
    auto const named = NamedOnTopics(m_desk.Sonars());
    bool const isSame =
        named.size() == m_sonars.size() && std::all_of(named.begin(), named.end(), [this](TopicSonar const& each) {
            auto const found = m_sonars.find(each.id.GetKey());
            return found != m_sonars.end() && found->second.sonar == each;
        });
    if (isSame) {
        return;
    }
    std::map<CString, std::string> names;
    std::map<std::string, CDataId, std::less<>> byTopic;
    std::set<CString> present;
    for (TopicSonar const& sonar : named) {
        names[sonar.id.GetKey()] = sonar.onTopic;
        byTopic.emplace(sonar.onTopic, sonar.id);
        present.insert(sonar.id.GetKey());
    }
    m_marks->SetNames(std::move(names));
    {
        std::lock_guard const lock(m_namesMutex);
        m_byTopic = std::move(byTopic);
    }
    for (auto entry = m_sonars.begin(); entry != m_sonars.end();) {
        auto const& former = entry->second.sonar;
        bool const isThere = present.count(entry->first) != 0;
        bool const isSameName = std::any_of(named.begin(), named.end(), [&](TopicSonar const& each) {
            return each.id == former.id && each.onTopic == former.onTopic;
        });
        if (!isSameName) {
            m_node.RemoveDevice(former.onTopic);
        }
        if (!isThere) {
            m_feed->Follow(former.id, false);
            m_leases.Forget(former.id);
            entry = m_sonars.erase(entry);
        } else {
            ++entry;
        }
    }
    for (TopicSonar const& sonar : named) {
        auto const [entry, isNew] = m_sonars.try_emplace(sonar.id.GetKey());
        Told& told = entry->second;
        bool const isRenamed = told.sonar.onTopic != sonar.onTopic;
        told.sonar = sonar;
        m_leases.SetName(sonar.id, sonar.name);
        if (isNew || isRenamed) {
            if (sonar.onTopic != sonar.name && m_options.tell) {
                m_options.tell(fmt::format("the sonar \"{}\" is called \"{}\" ashore", sonar.name, sonar.onTopic));
            }
            told.lease = m_leases.Of(sonar.id);
            SeeTree(told);
            TellReserved(told);
        }
    }
}

void Vessel::Body::LookAtLinks()
{
    for (auto& [key, told] : m_sonars) {
        auto const state = m_desk.Watch().StateOf(told.sonar.id);
        auto const link = LinkOf(state);
        std::string reason;
        if (link != authority::SonarLink::Connected) {
            reason = state.condition == operation::SonarCondition::Silent ? "its pings are on, and it tells nothing"
                                                                          : state.failure;
        }
        if (link != told.link || reason != told.reason) {
            told.link = link;
            told.reason = std::move(reason);
            TellReserved(told);
        }
        if (told.wantedUntil != Clock::time_point::min() && told.wantedUntil < Clock::now()) {
            told.wantedUntil = Clock::time_point::min();
            told.ping.reset();
            m_feed->Follow(told.sonar.id, false);
        }
    }
}

void Vessel::Body::SeeTree(Told& told)
{
    if (DataManager::GetDataManager().GetAttributeMap(told.sonar.id, told.tree)) {
        told.hasLimits = false;
        m_node.SetDevice(told.sonar.onTopic, told.tree);
    }
}

/// The unit as the tables have it, the limits as the sonar tells them.
sparkplug::MetricFacts Vessel::Body::FactsOf(std::string_view device, std::wstring_view key)
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

void Vessel::Body::TellReserved(Told const& told)
{
    CAttributeMap reserved;
    authority::AddLease(reserved, told.lease);
    authority::AddLink(reserved, told.link, told.reason);
    m_node.SetReserved(told.sonar.onTopic, reserved);
}

void Vessel::Body::TakeMarks()
{
    auto left = m_marks->Take();
    for (CDataId const& id : left.changed) {
        if (auto const found = m_sonars.find(id.GetKey()); found != m_sonars.end()) {
            SeeTree(found->second);
        }
    }
    for (auto const& [key, news] : left.leases) {
        if (auto const found = m_sonars.find(key); found != m_sonars.end()) {
            TakeLeaseNews(found->second, news);
        }
    }
    for (Standing& standing : left.standing) {
        TakeStanding(standing);
    }
    for (authority::LeaseAnswer const& answer : left.answers) {
        TakeAnswer(answer);
    }
    for (auto& [key, block] : left.pings) {
        if (auto const found = m_sonars.find(key); found != m_sonars.end()) {
            found->second.ping = std::move(block);
        }
    }
}

void Vessel::Body::TakeLeaseNews(Told& told, authority::LeaseNews const& news)
{
    bool const isNews = news.holder != told.lease.holder || news.asker != told.lease.asker;
    bool const isOther = news != told.lease;
    auto const former = std::exchange(told.lease, news);
    if (isOther) {
        TellReserved(told);
    }
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
    m_desk.Events().PutState(told.sonar.id, operation::EventKind::Note, operation::Severity::Information,
                             std::move(text));
}

void Vessel::Body::TakeAnswer(authority::LeaseAnswer const& answer)
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

void Vessel::Body::TakeStanding(Standing& standing)
{
    auto const& asked = standing.asked;
    if (!asked.stamp) {
        return; // of those who tell no name nobody waits
    }
    if (!standing.ready.empty()) {
        Reply(asked.sonar, asked.person, std::move(standing.ready));
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
    if (standing.isDone) {
        m_doing->book.Finish(asked.person, *asked.stamp, *bytes);
        auto const content = authority::Encode(
            authority::HistoryContent(authority::HistoryText{
                asked.sonar, asked.person, JsonOf(standing.reply, asked.sonar, asked.person, CExTime::GetCurTime())}),
            error);
        m_outbox->Put(outbox::Kind::Result, *content);
    }
    Reply(asked.sonar, asked.person, std::move(*bytes));
}

void Vessel::Body::TakeLook(authority::ShoreTopic const& topic, std::string const& payload)
{
    std::string error;
    auto look = authority::DecodeLook(payload, error);
    if (!look) {
        Complain(fmt::format("{}: {}", authority::TopicText(topic), error));
        return;
    }
    auto const found = std::find_if(m_sonars.begin(), m_sonars.end(),
                                    [&](auto const& each) { return each.second.sonar.onTopic == topic.sonar; });
    if (found == m_sonars.end()) {
        Complain(fmt::format("{}: there is no such sonar aboard", authority::TopicText(topic)));
        return;
    }
    if (look->wantsDetections) {
        found->second.wantedUntil = Clock::now() + lookLasts;
        m_feed->Follow(found->second.sonar.id, true);
    }
    auto const& told = found->second;
    look->facts =
        look->wantsFacts ? std::optional(authority::SonarFacts{told.lease, told.link, told.reason}) : std::nullopt;
    if (auto bytes = authority::Encode(authority::ShoreReply(*look), error)) {
        Reply(topic.sonar, topic.person, std::move(*bytes));
    }
}

void Vessel::Body::TakeAcknowledgement(authority::ShoreTopic const& topic, std::string const& payload)
{
    std::string error;
    auto const acknowledgement = authority::DecodeAcknowledgement(payload, error);
    if (!acknowledgement) {
        Complain(fmt::format("{}: {}", authority::TopicText(topic), error));
    } else if (!m_sending.Acknowledge(acknowledgement->outbox, acknowledgement->upTo)) {
        Complain(fmt::format("{}: what it says is ashore this outbox has not sent", authority::TopicText(topic)));
    }
}

void Vessel::Body::Command(std::string_view device, std::vector<sparkplug::CommandedValue> const& values)
{
    ++m_requests;
    auto const sonar = Find(std::string(device));
    if (!sonar) {
        Complain("a command to the vessel itself other than for its birth is passed over");
        return;
    }
    CAttributeMap request;
    for (sparkplug::CommandedValue const& value : values) {
        if (sparkplug::IsReserved(value.name)) {
            Complain(fmt::format("{} of {} is nothing that can be set", sparkplug::ShownText(value.name), device));
        } else {
            sparkplug::SetAt(request, sparkplug::PlaceIn(request, value.name), value.value, 0);
        }
    }
    if (request.Count() == 0) {
        return;
    }
    if (m_doing->waiting.fetch_add(1) >= greatestWaiting) {
        --m_doing->waiting;
        Complain(fmt::format("{} requests wait aboard already, and a command is passed over", greatestWaiting));
        return;
    }
    bool const isPosted = m_host.Post(
        [doing = m_doing, asked = AskedAshore{std::string(device), std::string(authority::Unnamed), std::nullopt},
         id = *sonar, request] {
            --doing->waiting;
            doing->marks->Ask(asked, id, request);
        });
    if (!isPosted) {
        --m_doing->waiting;
    }
}

void Vessel::Body::Connected()
{
    m_isConnected = true;
    m_sendsHistory = false;
    m_birthProbe = m_pingProbe = 0;
    m_pace.Begin();
    m_node.Connected();
}

void Vessel::Body::Disconnected()
{
    m_isConnected = false;
    m_sendsHistory = false;
    m_sending.OffLine();
    m_node.Disconnected();
}

std::uint64_t Vessel::Body::Publish(broker::Publication const& publication, double share)
{
    if (!m_isConnected || (share > 0.0 && !m_pace.HasRoom(share))) {
        return 0;
    }
    auto const bytes = publication.topic.size() + publication.payload.size();
    auto const number = m_connection->Publish(publication);
    if (!number) {
        return 0;
    }
    m_pace.Sent(bytes);
    if (publication.qos > 0) {
        m_pace.AwaitAcknowledgement(*number, Seconds(Clock::now()));
    }
    return *number;
}

void Vessel::Body::Reply(std::string const& sonar, std::string const& person, std::string bytes)
{
    // Whoever hears nothing asks again.
    Publish({authority::TopicText({authority::ShoreSubject::Result, m_options.group, m_options.vessel, sonar, person}),
             std::move(bytes), 1, false},
            0.0);
}

void Vessel::Body::Pump(Clock::time_point now)
{
    if (!m_isConnected) {
        return;
    }
    auto const due = m_node.NextDue();
    bool const valuesWait = due && *due <= now;
    if (m_sendsHistory && !valuesWait) {
        SendHistory();
    }
    if (m_node.IsBorn() && !valuesWait && m_pingProbe == 0) {
        SendDetections(now);
    }
    if (m_node.IsBorn() && m_birthProbe == 0 && !valuesWait) {
        m_birthProbe = SendProbe();
    } else if (m_pace.WantsProbe()) {
        SendProbe();
    }
}

void Vessel::Body::SendHistory()
{
    while (m_pace.HasRoom(shareOfHistory)) {
        auto items = m_sending.Next();
        if (items.empty()) {
            return;
        }
        std::string error;
        auto const bytes = authority::Encode(authority::HistoryMessage{m_outbox->Identity(), std::move(items)}, error);
        if (!bytes) {
            Complain("a piece of history is not told: " + error);
            return;
        }
        Publish({authority::TopicText({authority::ShoreSubject::History, m_options.group, m_options.vessel, {}, {}}),
                 *bytes, 1, false},
                0.0);
    }
}

void Vessel::Body::SendDetections(Clock::time_point now)
{
    bool isSent = false;
    for (auto& [key, told] : m_sonars) {
        if (!told.ping || told.wantedUntil < now || !m_pace.HasRoom(shareOfDetections)) {
            continue;
        }
        auto const message = DetectionsOf(*std::exchange(told.ping, std::nullopt));
        std::string error;
        auto const bytes = message ? authority::Encode(*message, error) : std::nullopt;
        if (bytes &&
            Publish(
                {authority::TopicText(
                     {authority::ShoreSubject::Detections, m_options.group, m_options.vessel, told.sonar.onTopic, {}}),
                 *bytes, 0, false},
                shareOfDetections)) {
            ++m_pings;
            isSent = true;
        }
    }
    if (isSent) {
        m_pingProbe = SendProbe();
    }
}

/// A piece of history without entries: it is acknowledged once all before it has reached the broker.
std::uint64_t Vessel::Body::SendProbe()
{
    std::string error;
    auto const bytes = authority::Encode(authority::HistoryMessage{m_outbox->Identity(), {}}, error);
    return Publish({authority::TopicText({authority::ShoreSubject::History, m_options.group, m_options.vessel, {}, {}}),
                    *bytes, 1, false},
                   0.0);
}

Vessel::Vessel(vordal::Host& host, operation::OperatorDesk& desk, VesselOptions options)
    : m_body(std::make_unique<Body>(host, desk, std::move(options)))
{
}

Vessel::~Vessel() = default;

void Vessel::Begin()
{
    m_body->Begin();
}

void Vessel::End(std::chrono::milliseconds limit)
{
    m_body->End(limit);
}

authority::Leases& Vessel::Leases()
{
    return m_body->Leases();
}

void Vessel::SetPermissions(authority::Permissions permissions)
{
    m_body->SetPermissions(std::move(permissions));
}

broker::LineStatus Vessel::Status() const
{
    return m_body->Status();
}

VesselCounts Vessel::Counts() const
{
    return m_body->Counts();
}

} // namespace qx5::vessel
