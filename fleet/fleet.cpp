// A fleet's connection, model and requests, joined.
#include "fleet/fleet.h"

#include "authority/shore_topics.h"
#include "operation/steady_seconds.h"
#include "sparkplug/topic.h"

#include <algorithm>
#include <chrono>
#include <random>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace qx5::fleet {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto timerInterval = 100ms;

std::uint64_t Drawn()
{
    std::random_device device;
    return ((std::uint64_t{device()} << 32U) | device()) | 1U;
}

void RefuseName(std::string_view what, std::string const& name)
{
    if (auto const why = sparkplug::WhyNoName(what, name); !why.empty()) {
        throw std::invalid_argument(why);
    }
}

FleetOptions Checked(FleetOptions options)
{
    RefuseName("group", options.group);
    RefuseName("person", options.person);
    if (!options.vessel.empty()) {
        RefuseName("vessel", options.vessel);
    }
    options.line.takesAtOnce = true;
    return options;
}

FleetModelOptions ModelOptions(FleetOptions const& options, std::uint64_t sender)
{
    auto model = options.model;
    model.group = options.group;
    model.sender = sender;
    return model;
}

broker::Publication PublicationOf(sparkplug::Message const& message)
{
    return {message.topic, message.payload, message.qos, message.isRetained};
}

} // namespace

Fleet::Fleet(FleetOptions options, FleetHooks hooks)
    : m_options(Checked(std::move(options))), m_hooks(std::move(hooks)), m_sender(Drawn()),
      m_model(ModelOptions(m_options, m_sender), ModelHooks()), m_requests(m_sender), m_roll(m_options.model.silence)
{
    if (m_options.wantsHistory) {
        m_history = std::make_unique<HistoryKeeper>(m_options.archive, HistoryHooksOf());
    }
    m_connection = std::make_unique<broker::Connection>(m_options.line, Filters(), ConnectionHooksOf());
}

Fleet::~Fleet()
{
    End();
}

void Fleet::Start()
{
    m_timer = std::thread([this] { RunTimer(); });
    m_connection->Start();
}

void Fleet::End(std::chrono::milliseconds limit)
{
    {
        std::lock_guard const lock(m_timerMutex);
        if (std::exchange(m_isEnding, true)) {
            return;
        }
    }
    m_timerWake.notify_all();
    if (m_timer.joinable()) {
        m_timer.join();
    }
    Act([this] {
        for (auto& call : m_requests.TakeAll()) {
            m_effects->calls.push_back(std::move(call));
        }
        m_isLeaving = true;
        if (m_options.isPresent && m_isConnected) {
            m_effects->publications.push_back(Presence(false));
        }
    });
    m_history.reset();
    m_connection->End(limit);
}

std::vector<std::string> Fleet::Filters() const
{
    using authority::ShoreSubject;
    auto const& group = m_options.group;
    auto const& vessel = m_options.vessel;
    auto const vesselFilter = vessel.empty() ? std::string("+") : vessel;
    std::vector<std::string> filters;
    if (vessel.empty()) {
        filters.push_back(sparkplug::GroupFilter(group));
    } else {
        using sparkplug::MessageKind;
        for (auto const kind : {MessageKind::NodeBirth, MessageKind::NodeData, MessageKind::NodeDeath}) {
            filters.push_back(sparkplug::TopicText({kind, group, vessel, {}, {}}));
        }
        for (auto const kind : {MessageKind::DeviceBirth, MessageKind::DeviceData, MessageKind::DeviceDeath}) {
            filters.push_back(sparkplug::TopicText({kind, group, vessel, "+", {}}));
        }
    }
    filters.push_back(authority::TopicText({ShoreSubject::Result, group, vesselFilter, "+", m_options.person}));
    if (m_options.wantsDetections) {
        filters.push_back(authority::TopicText({ShoreSubject::Detections, group, vesselFilter, "+", {}}));
    }
    if (m_options.wantsHistory) {
        filters.push_back(authority::TopicText({ShoreSubject::History, group, vesselFilter, {}, {}}));
    }
    filters.push_back(sparkplug::HostStateTopic("+"));
    return filters;
}

broker::ConnectionHooks Fleet::ConnectionHooksOf()
{
    broker::ConnectionHooks hooks;
    hooks.will = [this]() -> std::optional<broker::Publication> {
        if (!m_options.isPresent) {
            return std::nullopt;
        }
        std::lock_guard const lock(m_mutex);
        m_presentSince = sparkplug::SystemMoment().utc;
        return Presence(false);
    };
    hooks.connected = [this] { OnConnected(); };
    hooks.disconnected = [this] { OnDisconnected(); };
    hooks.message = [this](std::string_view topic, std::string_view payload) { OnMessage(topic, payload); };
    hooks.status = m_hooks.line;
    return hooks;
}

FleetModelHooks Fleet::ModelHooks()
{
    return {.publish =
                [this](sparkplug::Message const& message) {
                    m_effects->publications.push_back(PublicationOf(message));
                    return m_isConnected;
                },
            .tell = [this](std::string const& line) { m_effects->lines.push_back(line); }};
}

HistoryHooks Fleet::HistoryHooksOf()
{
    HistoryHooks hooks;
    hooks.acknowledge = [this](outbox::Acknowledgement const& had) {
        std::string error;
        if (auto payload = authority::Encode(authority::AcknowledgementMessage{had.outbox, had.upTo}, error)) {
            m_connection->Publish(
                {authority::TopicText(
                     {authority::ShoreSubject::Acknowledgement, m_options.group, had.vessel, {}, m_options.person}),
                 *std::move(payload), 1, false});
        }
    };
    hooks.items = m_hooks.history;
    hooks.tell = [this](std::string const& line) { Tell(line); };
    return hooks;
}

template <typename Work>
void Fleet::Act(Work const& work)
{
    Effects effects;
    {
        std::lock_guard const lock(m_mutex);
        m_effects = &effects;
        work();
        m_effects = nullptr;
        effects.changed.merge(m_model.TakeChanged());
    }
    Perform(effects);
}

void Fleet::Perform(Effects& effects)
{
    for (auto const& publication : effects.publications) {
        m_connection->Publish(publication);
    }
    for (auto const& call : effects.calls) {
        call();
    }
    if (m_hooks.changed) {
        for (Place const& place : effects.changed) {
            m_hooks.changed(place);
        }
    }
    if (effects.havePersonsChanged && m_hooks.persons) {
        m_hooks.persons();
    }
    for (auto const& line : effects.lines) {
        Tell(line);
    }
}

void Fleet::Tell(std::string const& line) const
{
    if (m_hooks.tell) {
        m_hooks.tell(line);
    }
}

void Fleet::SendDue(bool again)
{
    if (!m_isConnected) {
        return;
    }
    auto const due = m_requests.TakeDue(
        operation::SteadySeconds(),
        [this](std::string const& vessel, double limit) { return m_model.Stamp(vessel, limit); }, again,
        m_effects->calls);
    for (auto const& each : due) {
        m_effects->publications.push_back({authority::TopicText({each.subject, m_options.group, each.sonar.vessel,
                                                                 each.sonar.sonar, m_options.person}),
                                           each.payload, 1, false});
    }
    for (auto const& look : m_looks.TakeDue(Clock::now(), again)) {
        std::string error;
        if (auto payload = authority::Encode(
                authority::LookMessage{m_sender, look.number, look.wantsDetections, m_options.isRoll}, error)) {
            m_effects->publications.push_back(
                {authority::TopicText({authority::ShoreSubject::Look, m_options.group, look.sonar.vessel,
                                       look.sonar.sonar, m_options.person}),
                 *std::move(payload), 1, false});
        }
    }
}

broker::Publication Fleet::Presence(bool isOnline) const
{
    return PublicationOf(sparkplug::MakeHostState(m_options.person, {isOnline, m_presentSince}));
}

void Fleet::OnConnected()
{
    Act([this] {
        m_isConnected = true;
        m_model.Connected();
        if (m_options.isPresent) {
            m_effects->publications.push_back(Presence(true));
        }
        if (!m_options.vessel.empty() && !m_options.isRoll) {
            // It is meant, whether it speaks just now or not.
            m_effects->publications.push_back(PublicationOf(
                sparkplug::MakeRebirth({m_options.group, m_options.vessel, {}}, sparkplug::SystemMoment().utc)));
        }
        SendDue(true);
    });
}

void Fleet::OnDisconnected()
{
    Act([this] {
        m_isConnected = false;
        m_model.Disconnected();
        // What the broker retains of persons it tells again.
        m_effects->havePersonsChanged = !m_persons.empty();
        m_persons.clear();
    });
}

void Fleet::OnMessage(std::string_view topic, std::string_view payload)
{
    if (std::string error; !topic.starts_with(sparkplug::TopicNamespace)) {
        OnShoreMessage(topic, payload);
    } else if (auto const parsed = sparkplug::ParseTopic(topic, error);
               parsed && parsed->kind == sparkplug::MessageKind::HostState) {
        OnHostState(parsed->host, payload);
    } else if (m_options.isRoll) {
        Act([&] {
            if (auto const sonar = m_roll.Receive(topic, payload)) {
                m_looks.Begin(*sonar, false); // those of one moment are asked together, when the timer looks
            }
        });
    } else {
        Act([&] {
            m_model.Receive(topic, payload);
            if (m_requests.Waits()) {
                SendDue(false);
            }
        });
    }
}

void Fleet::OnShoreMessage(std::string_view topic, std::string_view payload)
{
    std::string error;
    auto const parsed = authority::ParseShoreTopic(topic, error);
    if (!parsed) {
        Tell(error);
        return;
    }
    Place const sonar{parsed->vessel, parsed->sonar};
    if (parsed->subject == authority::ShoreSubject::Result) {
        if (auto const reply = authority::DecodeReply(payload, error)) {
            OnReply(sonar, *reply);
        }
    } else if (parsed->subject == authority::ShoreSubject::Detections) {
        if (auto const detections = authority::DecodeDetections(payload, error)) {
            {
                std::lock_guard const lock(m_mutex);
                m_looks.NotePing(sonar, Clock::now());
            }
            if (m_hooks.detections) {
                m_hooks.detections(sonar, *detections);
            }
        }
    } else if (parsed->subject == authority::ShoreSubject::History) {
        auto message = authority::DecodeHistory(payload, error);
        if (message && m_history != nullptr) {
            std::vector<outbox::Received> received;
            for (auto& item : message->items) {
                received.push_back({sonar.vessel, message->outbox, std::move(item)});
            }
            m_history->Put(std::move(received));
        }
    }
    if (!error.empty()) {
        Tell(fmt::format("{}: {}", topic, error));
    }
}

void Fleet::OnReply(Place const& sonar, authority::ShoreReply const& reply)
{
    Act([&] {
        auto const* const look = std::get_if<authority::LookMessage>(&reply);
        if (look == nullptr) {
            if (auto call = m_requests.Take(sonar, reply, operation::SteadySeconds())) {
                m_effects->calls.push_back(*std::move(call));
            }
        } else if (look->sender == m_sender && m_looks.Answer(sonar, look->number, Clock::now())) {
            if (look->facts) {
                m_roll.TakeFacts(sonar, *look->facts);
            }
            m_effects->changed.insert(sonar);
        }
    });
}

void Fleet::OnHostState(std::string const& person, std::string_view payload)
{
    std::string error;
    auto const state = sparkplug::ReadHostState(payload, error);
    if (!state) {
        Tell(fmt::format("{}: {}", person, error));
        return;
    }
    Act([&] {
        if (m_options.isPresent && person == m_options.person && !state->isOnline && m_isConnected && !m_isLeaving) {
            // Another program of the same person has ended.
            m_effects->publications.push_back(Presence(true));
            return;
        }
        auto& known = m_persons[person];
        // The end of a connection that has had its successor comes late, and means nothing any more.
        if (state->isOnline || state->timestamp >= known.timestamp) {
            m_effects->havePersonsChanged = std::exchange(known, *state) != *state;
        }
    });
}

void Fleet::RunTimer()
{
    std::unique_lock lock(m_timerMutex);
    while (!m_isEnding) {
        m_timerWake.wait_for(lock, timerInterval, [this] { return m_isEnding; });
        lock.unlock();
        Act([this] {
            m_model.Tick();
            SendDue(false);
            for (auto& call : m_requests.TakeOver(operation::SteadySeconds())) {
                m_effects->calls.push_back(std::move(call));
            }
        });
        lock.lock();
    }
}

std::vector<VesselState> Fleet::Vessels() const
{
    std::lock_guard const lock(m_mutex);
    return m_options.isRoll ? m_roll.Vessels() : m_model.Vessels();
}

std::optional<VesselState> Fleet::Vessel(std::string const& name) const
{
    std::lock_guard const lock(m_mutex);
    return m_options.isRoll ? m_roll.Vessel(name) : m_model.Vessel(name);
}

std::vector<Place> Fleet::Sonars() const
{
    std::lock_guard const lock(m_mutex);
    return m_options.isRoll ? m_roll.Sonars() : m_model.Sonars();
}

std::optional<SonarState> Fleet::Sonar(Place const& sonar) const
{
    std::lock_guard const lock(m_mutex);
    return m_options.isRoll ? m_roll.Sonar(sonar) : m_model.Sonar(sonar);
}

bool Fleet::IsRollWhole() const
{
    std::lock_guard const lock(m_mutex);
    return m_roll.IsWhole();
}

std::optional<sparkplug::MetricFacts> Fleet::Facts(Place const& sonar, std::string_view metric) const
{
    std::lock_guard const lock(m_mutex);
    return m_model.Facts(sonar, metric);
}

std::vector<std::string> Fleet::Persons() const
{
    std::vector<std::string> persons;
    std::lock_guard const lock(m_mutex);
    for (auto const& [person, state] : m_persons) {
        if (state.isOnline) {
            persons.push_back(person);
        }
    }
    return persons;
}

void Fleet::Request(Place const& sonar, CAttributeMap const& request, double limit, RequestDone done)
{
    Act([&] {
        if (auto call = m_requests.Ask(sonar, request, limit, operation::SteadySeconds(), std::move(done))) {
            m_effects->calls.push_back(*std::move(call));
        }
        SendDue(false);
    });
}

void Fleet::AskLease(Place const& sonar, LeaseAsk const& ask, double limit, LeaseDone done)
{
    Act([&] {
        if (auto call = m_requests.AskLease(sonar, ask, limit, operation::SteadySeconds(), std::move(done))) {
            m_effects->calls.push_back(*std::move(call));
        }
        SendDue(false);
    });
}

void Fleet::Look(Place const& sonar, bool wantsDetections)
{
    Act([&] {
        m_looks.Begin(sonar, wantsDetections);
        SendDue(false);
    });
}

void Fleet::EndLook(Place const& sonar)
{
    std::lock_guard const lock(m_mutex);
    m_looks.End(sonar);
}

std::optional<LookState> Fleet::LookOf(Place const& sonar) const
{
    std::optional<Looks::RoundTrip> told;
    {
        std::lock_guard const lock(m_mutex);
        told = m_looks.Of(sonar);
    }
    if (!told) {
        return std::nullopt;
    }
    return LookState{std::chrono::duration<double>(told->took).count(),
                     std::chrono::duration<double>(Clock::now() - told->at).count()};
}

std::optional<PingsState> Fleet::PingsOf(Place const& sonar) const
{
    auto const now = Clock::now();
    std::lock_guard const lock(m_mutex);
    auto const pings = m_looks.PingsOf(sonar, now);
    return pings ? std::optional(PingsState{pings->rate, std::chrono::duration<double>(now - pings->newest).count()})
                 : std::nullopt;
}

} // namespace qx5::fleet
