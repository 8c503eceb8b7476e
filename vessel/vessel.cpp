// A vessel on a broker: its thread, and whom it gives what the host's threads and the connections' leave for it.
#include "vessel/vessel.h"

#include "authority/shore_facts.h"
#include "authority/shore_topics.h"
#include "reference_host/common/failure.h"
#include "vessel/arrivals.h"
#include "vessel/complaints.h"
#include "vessel/detection_sender.h"
#include "vessel/history_sender.h"
#include "vessel/inbox.h"
#include "vessel/shore_line.h"
#include "vessel/shore_requests.h"
#include "vessel/told_sonars.h"
#include "vessel/vessel_marks.h"

#include <VersionControlR/CheckDllVersion.h>
#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <future>
#include <mutex>
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

std::shared_ptr<outbox::Outbox> OpenedOutbox(VesselOptions const& options)
{
    auto outbox = options.outbox;
    if (!outbox.tell) {
        outbox.tell = options.tell;
    }
    return std::make_shared<outbox::Outbox>(options.outboxFile, std::move(outbox));
}

broker::ConnectionOptions LineOf(VesselOptions const& options)
{
    broker::ConnectionOptions line;
    line.address = options.address;
    line.files = options.files;
    line.takesAtOnce = true;
    line.name = "qx5/" + options.group + "/" + options.vessel;
    return line;
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
    broker::LineStatus Status() const { return m_line.Status(); }
    VesselCounts Counts() const;

private:
    sparkplug::EdgeNodeOptions NodeOptions();
    sparkplug::EdgeNodeHooks NodeHooks();
    std::vector<std::string> Filters() const;
    ShoreLine::Hooks LineHooks();

    // The vessel's thread.
    void Run();
    Clock::time_point NextRound();
    void Round(Clock::time_point now);
    void TakeMarks();
    void Pump(Clock::time_point now);
    void NoteCounts();

    vordal::Host& m_host;
    operation::OperatorDesk& m_desk;
    VesselOptions const m_options;
    std::shared_ptr<Inbox> const m_inbox = std::make_shared<Inbox>();
    Complaints m_complaints{m_options.tell};
    std::shared_ptr<outbox::Outbox> const m_outbox;
    std::shared_ptr<VesselMarks> const m_marks;
    authority::Leases m_leases;
    authority::CommandGuard m_guard{m_leases};
    bool m_hasBegun = false;
    bool m_hasEnded = false;
    std::thread m_thread;

    mutable std::mutex m_countsMutex; ///< guards what follows
    VesselCounts m_counts;

    // The vessel's thread.
    sparkplug::EdgeNode m_node;
    ShoreLine m_line;
    HistorySender m_history;
    DetectionSender m_detections;
    ToldSonars m_sonars;
    ShoreRequests m_requests;
    Arrivals m_arrivals;
    Clock::time_point m_nextRound = Clock::time_point::min();
    Clock::time_point m_nextLook = Clock::time_point::min();
    Clock::time_point m_nextTell = Clock::time_point::min();
};

Vessel::Body::Body(vordal::Host& host, operation::OperatorDesk& desk, VesselOptions options)
    : m_host(host), m_desk(desk), m_options(std::move(options)), m_outbox(OpenedOutbox(m_options)),
      m_marks(std::make_shared<VesselMarks>([inbox = m_inbox] { inbox->Mark(); }, m_options.history, m_outbox)),
      m_leases(m_options.leases), m_node(NodeOptions(), NodeHooks()),
      m_line(LineOf(m_options), m_options.group, m_options.vessel, Filters(), m_inbox, LineHooks()),
      m_history(*m_outbox, m_options.historyBytesPerSecond, m_line, m_complaints), m_detections(m_line, m_history),
      m_sonars(m_desk, m_marks, m_leases, m_node, m_detections, m_options.tell),
      m_requests({m_host, m_sonars, m_leases, m_guard, m_marks, *m_outbox, m_line, m_inbox, m_complaints}),
      m_arrivals({m_options.group, m_options.vessel, m_node, m_line, m_history, m_detections, m_sonars, m_requests,
                  m_inbox, m_complaints})
{
    m_guard.SetPermissions(m_options.permissions);
}

sparkplug::EdgeNodeOptions Vessel::Body::NodeOptions()
{
    return {
        .group = m_options.group,
        .node = m_options.vessel,
        .primaryHost = m_options.primaryHost,
        .deviceFacts = [this](std::string_view device, std::wstring_view key) { return m_sonars.FactsOf(device, key); },
        .retryPause = 20ms,
        .dataBytes = std::size_t{32} << 10};
}

sparkplug::EdgeNodeHooks Vessel::Body::NodeHooks()
{
    return {.publish =
                [this](sparkplug::Message const& message) {
                    return m_line.Publish({message.topic, message.payload, message.qos, message.isRetained},
                                          message.qos == 0 ? shareOfValues : shareOfAll) != 0;
                },
            .command =
                [this](std::string_view device, std::vector<sparkplug::CommandedValue> const& values) {
                    m_requests.TakeCommand(device, values);
                },
            .startAgain = [this] { m_line.StartAgain(); },
            .tell = [this](std::string const& line) { m_complaints.Put(line); }};
}

std::vector<std::string> Vessel::Body::Filters() const
{
    auto filters = m_node.Filters();
    for (std::string& filter : authority::ShoreFiltersOfVessel(m_options.group, m_options.vessel)) {
        filters.push_back(std::move(filter));
    }
    return filters;
}

ShoreLine::Hooks Vessel::Body::LineHooks()
{
    ShoreLine::Hooks hooks;
    hooks.will = [this] {
        auto message = m_node.NextWill();
        return broker::Publication{std::move(message.topic), std::move(message.payload), message.qos,
                                   message.isRetained};
    };
    hooks.connected = [this] {
        m_history.Connected();
        m_detections.Connected();
        m_node.Connected();
    };
    hooks.disconnected = [this] {
        m_history.Disconnected();
        m_node.Disconnected();
    };
    hooks.completed = [this](std::uint64_t number, bool isAcknowledged) {
        m_detections.Completed(number);
        m_history.Completed(number, isAcknowledged);
    };
    hooks.message = [this](std::string_view topic, std::string_view payload) { m_arrivals.Take(topic, payload); };
    hooks.status = m_options.status;
    return hooks;
}

VesselCounts Vessel::Body::Counts() const
{
    VesselCounts counts;
    {
        std::lock_guard const lock(m_countsMutex);
        counts = m_counts;
    }
    counts.outbox = m_outbox->State();
    counts.requests = m_requests.Count();
    counts.refused = m_complaints.Count();
    counts.line = m_line.Counts();
    counts.second = m_line.CountsOfSecond();
    return counts;
}

void Vessel::Body::Begin()
{
    m_hasBegun = true;
    m_leases.SetListener(m_marks.get());
    m_desk.SetFirstGuard(&m_guard);
    m_desk.ShoreTap().Set(m_marks);
    m_desk.Events().SetListener(m_marks);
    m_detections.Begin(
        m_host, [marks = m_marks](CDataId const& sonar, CDataBlock const& block) { marks->NotePing(sonar, block); });
    m_sonars.LookAtSonars();
    m_thread = std::thread([this] { Run(); });
    m_line.Begin();
}

void Vessel::Body::End(std::chrono::milliseconds limit)
{
    if (!m_hasBegun || std::exchange(m_hasEnded, true)) {
        return;
    }
    try {
        m_outbox->Commit(); // results wait for it, and are told before the vessel's death
    } catch (outbox::OutboxError const&) {
        // It has said so itself, and they are told all the same.
    }
    auto const told = std::make_shared<std::promise<void>>();
    auto const isTold = told->get_future();
    m_inbox->Put([this, told] {
        m_node.Die();
        told->set_value();
    });
    isTold.wait();
    m_line.End(limit);
    m_inbox->End();
    m_thread.join();
    m_line.EndSecond();
    m_detections.End();
    m_desk.ShoreTap().Set(nullptr);
    m_desk.Events().SetListener(nullptr);
    m_leases.SetListener(nullptr);
    m_marks->LeaveOutbox();
    // No request runs while the guard is taken away; where the host has stopped none does any more.
    if (!m_host.RunAndWait([this] { m_desk.SetFirstGuard(nullptr); })) {
        m_desk.SetFirstGuard(nullptr);
    }
}

void Vessel::Body::Run()
{
    for (;;) {
        auto taken = m_inbox->Take(NextRound());
        if (taken.isOver) {
            return;
        }
        for (auto& task : taken.tasks) {
            vordal::LogFailureOf("the vessel's line: ", task);
        }
        vordal::LogFailureOf("the vessel's line: ", [&] {
            if (taken.hasMarks) {
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
        m_sonars.LookAtSonars();
        m_sonars.LookAtLinks();
        m_detections.EndLooks(now);
    }
    if (now >= m_nextTell) {
        m_nextTell = now + tellInterval;
        m_node.SetNode(NodeFacts(m_requests.Now(), m_options.version));
        m_sonars.TellReservedAgain();
    }
    Pump(now);
}

void Vessel::Body::NoteCounts()
{
    std::lock_guard const lock(m_countsMutex);
    m_counts.node = m_node.Counts();
    m_counts.detections = m_detections.Count();
}

void Vessel::Body::TakeMarks()
{
    auto left = m_marks->Take();
    for (CDataId const& id : left.changed) {
        m_sonars.TakeChange(id);
    }
    for (auto const& [key, news] : left.leases) {
        m_sonars.TakeLease(key, news);
    }
    for (Standing& standing : left.standing) {
        m_requests.TakeStanding(standing);
    }
    for (authority::LeaseAnswer const& answer : left.answers) {
        m_requests.TakeAnswer(answer);
    }
    for (auto& [key, block] : left.pings) {
        m_detections.NotePing(key, std::move(block));
    }
}

void Vessel::Body::Pump(Clock::time_point now)
{
    if (!m_line.IsConnected()) {
        return;
    }
    auto const due = m_node.NextDue();
    if (bool const valuesWait = due && *due <= now; !valuesWait) {
        m_history.Send();
        if (m_node.IsBorn()) {
            m_detections.Send(now);
            m_history.AskForBirths();
        }
    }
    if (m_line.WantsProbe()) {
        m_history.SendProbe();
    }
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
