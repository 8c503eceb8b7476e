// An edge node: what it has told on this connection, what waits, and what it is told.
#include "sparkplug/edge_node.h"

#include "sparkplug/host_state.h"
#include "sparkplug/metric_name.h"
#include "sparkplug/metric_table.h"
#include "sparkplug/metric_value.h"
#include "sparkplug/sequence_number.h"
#include "sparkplug/shown_text.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <utility>

namespace qx5::sparkplug {

namespace {

using Time = std::chrono::steady_clock::time_point;

/// With both, births of a device whose attributes come and go take a bounded share of the line.
constexpr std::chrono::milliseconds leastBirthPause{100};
constexpr std::chrono::microseconds birthPausePerMetric{100};

void RefuseName(std::string_view what, std::string_view name)
{
    auto const why = WhyNoName(what, name);
    if (!why.empty()) {
        throw std::invalid_argument(why);
    }
}

void TakeEarlier(std::optional<Time>& earliest, std::optional<Time> const& other)
{
    if (other && (!earliest || *other < *earliest)) {
        earliest = other;
    }
}

Metric PlainMetric(std::string_view name, DataType type, WireValue value, std::uint64_t utc)
{
    Metric metric;
    metric.name = name;
    metric.timestamp = utc;
    metric.type = type;
    metric.value = std::move(value);
    return metric;
}

/// The number of a connection, in the birth and in the will.
Metric BirthNumber(std::uint8_t number, std::uint64_t utc)
{
    return PlainMetric(BirthNumberMetric, DataType::Int64, std::uint64_t{number}, utc);
}

} // namespace

class EdgeNode::Body
{
public:
    Body(EdgeNodeOptions options, EdgeNodeHooks hooks, Clock clock)
        : m_options(std::move(options)), m_hooks(std::move(hooks)), m_clock(std::move(clock)),
          m_node(TreeNames::Reserved, m_options.facts, m_options.pace), m_isHostOnline(m_options.primaryHost.empty())
    {
        RefuseName("group", m_options.group);
        RefuseName("vessel", m_options.node);
        if (!m_options.primaryHost.empty()) {
            RefuseName("primary host", m_options.primaryHost);
        }
        m_node.See({}, {}, 0);
    }

    Message NextWill();
    std::vector<std::string> Filters() const;
    void Connected();
    void Disconnected() { Forget(); }
    void Die();
    void SetNode(CAttributeMap const& metrics);
    void SetDevice(std::string_view name, CAttributeMap const& tree);
    void SetReserved(std::string_view name, CAttributeMap const& metrics);
    void TellReservedAgain(std::string_view name);
    void RemoveDevice(std::string_view name);
    void Receive(std::string_view topic, std::string_view payload);
    void Tick() { Act(m_clock()); }
    std::optional<Time> NextDue() const;
    bool IsBorn() const { return m_isBorn; }
    EdgeNodeCounts const& Counts() const { return m_counts; }

private:
    struct Device
    {
        MetricTable attributes;
        MetricTable reserved;
        bool isBorn = false;   ///< on this connection, and with the metrics that it has now
        bool isUnborn = false; ///< no payload can tell its birth; until its metrics are others
        bool isGone = false;   ///< its death is to be told
        Time mayBeBorn = Time::min();

        bool MustBeBorn() const { return !isBorn && !isUnborn && !isGone; }
    };
    using Devices = std::map<std::string, Device, std::less<>>;

    /// Does whatever is due, in the order of births, deaths, changes.
    void Act(Moment const& now);
    bool ActOnNode(Moment const& now);
    void ActOnDevice(std::string const& name, Device& device, Moment const& now);
    bool TellChanges(MetricTable& table, MessageKind kind, std::string const& device, Moment const& now);
    enum class Told
    {
        Yes,
        NoRoom,
        TooLarge,
    };
    Told Tell(MessageKind kind, std::string_view device, std::vector<Metric> metrics, Moment const& now);
    void Retry(Moment const& now) { m_retry = now.steady + m_options.retryPause; }
    bool HasRoom(Moment const& now) const { return !m_retry || *m_retry <= now.steady; }

    FactsOf FactsOfDevice(std::string_view name) const
    {
        return !m_options.deviceFacts ? m_options.facts
                                      : [facts = m_options.deviceFacts, device = std::string(name)](
                                            std::wstring_view key) { return facts(device, key); };
    }
    void Forget();
    void TakeHostState(std::string_view payload);
    void TakeCommand(Topic const& topic, std::string_view payload);
    std::vector<CommandedValue> Values(Topic const& topic, std::vector<Metric> const& metrics);
    void Complain(std::string const& line);

    Topic TopicOf(MessageKind kind, std::string_view device) const
    {
        return {kind, m_options.group, m_options.node, std::string(device), {}};
    }

    EdgeNodeOptions const m_options;
    EdgeNodeHooks const m_hooks;
    Clock const m_clock;
    MetricTable m_node;
    Devices m_devices;
    std::uint64_t m_nextAlias = 1;
    std::uint8_t m_seq = 0;                    ///< of the next message
    std::optional<std::uint8_t> m_birthNumber; ///< of the will made last
    bool m_isConnected = false;
    bool m_isBorn = false;
    bool m_isHostOnline;
    std::uint64_t m_hostTimestamp = 0;
    std::optional<Time> m_rebirth; ///< when it is due
    Time m_born = Time::min();
    std::optional<Time> m_retry; ///< the line had no room
    EdgeNodeCounts m_counts;
};

Message EdgeNode::Body::NextWill()
{
    m_birthNumber = m_birthNumber ? Next(*m_birthNumber) : std::uint8_t{0};
    auto const now = m_clock();
    Payload payload;
    payload.timestamp = now.utc;
    payload.metrics.push_back(BirthNumber(*m_birthNumber, now.utc));
    std::string error;
    return {TopicText(TopicOf(MessageKind::NodeDeath, {})), EncodePayload(payload, error).value(), 1, false};
}

std::vector<std::string> EdgeNode::Body::Filters() const
{
    std::vector<std::string> filters{NodeCommandFilter(m_options.group, m_options.node),
                                     DeviceCommandFilter(m_options.group, m_options.node)};
    if (!m_options.primaryHost.empty()) {
        filters.push_back(HostStateTopic(m_options.primaryHost));
    }
    return filters;
}

void EdgeNode::Body::Forget()
{
    m_isConnected = m_isBorn = false;
    m_rebirth.reset();
    m_retry.reset();
    // The broker retains it, and tells it anew on the next connection.
    m_isHostOnline = m_options.primaryHost.empty();
    std::erase_if(m_devices, [](auto const& entry) { return entry.second.isGone; });
    for (auto& [name, device] : m_devices) {
        device.isBorn = false;
        device.mayBeBorn = Time::min();
    }
}

void EdgeNode::Body::Connected()
{
    if (!m_birthNumber) {
        throw std::logic_error("an edge node was connected without a will");
    }
    if (m_isConnected) {
        Forget();
    }
    m_isConnected = true;
    Act(m_clock());
}

void EdgeNode::Body::Die()
{
    if (m_isConnected && m_isBorn) {
        auto const now = m_clock();
        Payload payload;
        payload.timestamp = now.utc;
        payload.metrics.push_back(BirthNumber(*m_birthNumber, now.utc));
        std::string error;
        m_hooks.publish(
            {TopicText(TopicOf(MessageKind::NodeDeath, {})), EncodePayload(payload, error).value(), 1, false});
    }
    Forget();
}

void EdgeNode::Body::SetNode(CAttributeMap const& metrics)
{
    auto const now = m_clock();
    if (!m_node.See(metrics, now.steady, now.utc)) {
        m_isBorn = false;
    }
    Act(now);
}

void EdgeNode::Body::SetDevice(std::string_view name, CAttributeMap const& tree)
{
    auto const now = m_clock();
    auto found = m_devices.find(name);
    if (found == m_devices.end()) {
        RefuseName("sonar", name);
        found = m_devices
                    .emplace(std::string(name),
                             Device{MetricTable(TreeNames::Attributes, FactsOfDevice(name), m_options.pace),
                                    MetricTable(TreeNames::Reserved, {}, m_options.pace)})
                    .first;
        found->second.reserved.See({}, now.steady, now.utc);
    }
    auto& device = found->second;
    device.isGone = false;
    if (!device.attributes.See(tree, now.steady, now.utc)) {
        device.isBorn = device.isUnborn = false;
    }
    Act(now);
}

void EdgeNode::Body::SetReserved(std::string_view name, CAttributeMap const& metrics)
{
    auto const found = m_devices.find(name);
    if (found == m_devices.end()) {
        return;
    }
    auto const now = m_clock();
    if (!found->second.reserved.See(metrics, now.steady, now.utc)) {
        found->second.isBorn = found->second.isUnborn = false;
    }
    Act(now);
}

void EdgeNode::Body::TellReservedAgain(std::string_view name)
{
    if (auto const found = m_devices.find(name); found != m_devices.end()) {
        auto const now = m_clock();
        found->second.reserved.SeeAgain(now.steady, now.utc);
        Act(now);
    }
}

void EdgeNode::Body::RemoveDevice(std::string_view name)
{
    auto const found = m_devices.find(name);
    if (found == m_devices.end()) {
        return;
    }
    if (!m_isBorn || found->second.mayBeBorn == Time::min()) {
        m_devices.erase(found); // nobody has heard of it on this connection
        return;
    }
    found->second.isGone = true;
    Act(m_clock());
}

EdgeNode::Body::Told EdgeNode::Body::Tell(MessageKind kind, std::string_view device, std::vector<Metric> metrics,
                                          Moment const& now)
{
    Payload payload;
    payload.timestamp = now.utc;
    payload.metrics = std::move(metrics);
    auto const seq = kind == MessageKind::NodeBirth ? std::uint8_t{0} : m_seq;
    payload.seq = seq;
    std::string error;
    auto bytes = EncodePayload(payload, error);
    auto topic = TopicText(TopicOf(kind, device));
    if (!bytes) {
        ++m_counts.tooLarge;
        if (m_hooks.tell) {
            m_hooks.tell(fmt::format("{} is not told: {}", topic, error));
        }
        return Told::TooLarge;
    }
    if (!m_hooks.publish({std::move(topic), *std::move(bytes), 0, false})) {
        ++m_counts.refused;
        Retry(now);
        return Told::NoRoom;
    }
    m_seq = Next(seq);
    return Told::Yes;
}

bool EdgeNode::Body::ActOnNode(Moment const& now)
{
    if (m_isBorn && !(m_rebirth && *m_rebirth <= now.steady)) {
        return TellChanges(m_node, MessageKind::NodeData, {}, now);
    }
    std::vector<Metric> metrics{BirthNumber(*m_birthNumber, now.utc),
                                PlainMetric(RebirthMetric, DataType::Boolean, false, now.utc)};
    m_node.AppendBirth(metrics, now.utc, m_nextAlias);
    if (Tell(MessageKind::NodeBirth, {}, std::move(metrics), now) != Told::Yes) {
        return false;
    }
    ++m_counts.births;
    m_isBorn = true;
    m_born = now.steady;
    m_rebirth.reset();
    std::erase_if(m_devices, [](auto const& entry) { return entry.second.isGone; }); // a node's birth ends them all
    for (auto& [name, device] : m_devices) {
        device.isBorn = false;
        device.mayBeBorn = Time::min();
    }
    return true;
}

void EdgeNode::Body::ActOnDevice(std::string const& name, Device& device, Moment const& now)
{
    if (device.isBorn) {
        if (TellChanges(device.attributes, MessageKind::DeviceData, name, now)) {
            TellChanges(device.reserved, MessageKind::DeviceData, name, now);
        }
        return;
    }
    if (!device.MustBeBorn() || device.mayBeBorn > now.steady) {
        return;
    }
    std::vector<Metric> metrics;
    device.attributes.AppendBirth(metrics, now.utc, m_nextAlias);
    device.reserved.AppendBirth(metrics, now.utc, m_nextAlias);
    auto const count = metrics.size();
    auto const told = Tell(MessageKind::DeviceBirth, name, std::move(metrics), now);
    if (told == Told::TooLarge) {
        device.isUnborn = true;
    } else if (told == Told::Yes) {
        ++m_counts.births;
        device.isBorn = true;
        device.mayBeBorn = now.steady + leastBirthPause + count * birthPausePerMetric;
    }
}

/// False when the line has no room.
bool EdgeNode::Body::TellChanges(MetricTable& table, MessageKind kind, std::string const& device, Moment const& now)
{
    for (;;) {
        std::vector<Metric> metrics;
        table.AppendDue(metrics, now.steady, m_options.dataBytes);
        if (metrics.empty()) {
            return true;
        }
        auto const count = metrics.size();
        auto const told = Tell(kind, device, std::move(metrics), now);
        if (told == Told::NoRoom) {
            table.Refused(*m_retry);
            return false;
        }
        table.Taken(now.steady);
        if (told == Told::Yes) {
            ++m_counts.data;
            m_counts.metrics += count;
        }
    }
}

void EdgeNode::Body::Act(Moment const& now)
{
    if (!m_isConnected || !m_isHostOnline || !HasRoom(now)) {
        return;
    }
    m_retry.reset();
    if (!ActOnNode(now)) {
        return;
    }
    for (auto entry = m_devices.begin(); entry != m_devices.end() && HasRoom(now);) {
        if (entry->second.isGone) {
            if (Tell(MessageKind::DeviceDeath, entry->first, {}, now) != Told::Yes) {
                return;
            }
            entry = m_devices.erase(entry);
            continue;
        }
        ActOnDevice(entry->first, entry->second, now);
        ++entry;
    }
}

std::optional<Time> EdgeNode::Body::NextDue() const
{
    if (!m_isConnected || !m_isHostOnline) {
        return std::nullopt;
    }
    if (m_retry) {
        return m_retry;
    }
    auto due = m_rebirth;
    TakeEarlier(due, m_node.NextDue());
    for (auto const& [name, device] : m_devices) {
        if (device.isBorn) {
            TakeEarlier(due, device.attributes.NextDue());
            TakeEarlier(due, device.reserved.NextDue());
        } else if (device.MustBeBorn()) {
            TakeEarlier(due, device.mayBeBorn);
        }
    }
    return due;
}

void EdgeNode::Body::Complain(std::string const& line)
{
    ++m_counts.complaints;
    if (m_hooks.tell) {
        m_hooks.tell(line);
    }
}

void EdgeNode::Body::Receive(std::string_view text, std::string_view payload)
{
    std::string error;
    auto const topic = ParseTopic(text, error);
    if (!topic) {
        Complain(error);
        return;
    }
    if (topic->kind == MessageKind::HostState) {
        if (topic->host == m_options.primaryHost) {
            TakeHostState(payload);
        }
        return;
    }
    if (topic->group != m_options.group || topic->node != m_options.node ||
        (topic->kind != MessageKind::NodeCommand && topic->kind != MessageKind::DeviceCommand)) {
        Complain(fmt::format("{} is nothing that {} takes", ShownText(text), m_options.node));
        return;
    }
    TakeCommand(*topic, payload);
}

void EdgeNode::Body::TakeHostState(std::string_view payload)
{
    std::string error;
    auto const state = ReadHostState(payload, error);
    if (!state) {
        Complain(error);
        return;
    }
    // A will that comes late tells of a connection that has had its successor.
    if (state->timestamp < m_hostTimestamp) {
        return;
    }
    m_hostTimestamp = state->timestamp;
    if (state->isOnline == m_isHostOnline) {
        return;
    }
    // It may be told before the connection is: both come from the broker, on the same line.
    if (!state->isOnline) {
        Die();
        if (m_hooks.startAgain) {
            m_hooks.startAgain();
        }
        return;
    }
    m_isHostOnline = true;
    Act(m_clock());
}

std::vector<CommandedValue> EdgeNode::Body::Values(Topic const& topic, std::vector<Metric> const& metrics)
{
    std::vector<CommandedValue> values;
    auto const device = m_devices.find(topic.device);
    if (topic.kind == MessageKind::DeviceCommand && (device == m_devices.end() || device->second.isGone)) {
        Complain(fmt::format("{} is for a sonar that is not aboard", TopicText(topic)));
        return values;
    }
    for (Metric const& metric : metrics) {
        MetricTable::Known known;
        if (topic.kind == MessageKind::NodeCommand) {
            known = m_node.Find(metric);
        } else {
            known = device->second.attributes.Find(metric);
            if (known.name == nullptr) {
                known = device->second.reserved.Find(metric);
            }
        }
        auto const& name = known.name != nullptr ? *known.name : metric.name;
        if (name.empty()) {
            Complain(metric.alias ? fmt::format("{} names a metric by the alias {}, which none has", TopicText(topic),
                                                *metric.alias)
                                  : fmt::format("{} has a metric without a name", TopicText(topic)));
            continue;
        }
        // Who does not say what a list of doubles is to be means what the attribute is.
        auto const type = metric.type != DataType::Unknown ? metric.type : DataTypeOf(known.kind);
        std::string_view kind = type == DataTypeOf(known.kind) ? KindText(known.kind) : std::string_view();
        for (Property const& property : metric.properties) {
            auto const* const text = std::get_if<std::string>(&property.value);
            if (property.key == KindProperty && text != nullptr) {
                kind = *text;
            }
        }
        auto value = ValueOfWire(metric.value, type, kind);
        if (!value) {
            Complain(fmt::format("{} has a value of {} that no attribute can have", TopicText(topic), ShownText(name)));
            continue;
        }
        values.push_back({name, *std::move(value)});
    }
    return values;
}

void EdgeNode::Body::TakeCommand(Topic const& topic, std::string_view bytes)
{
    std::string error;
    auto payload = DecodePayload(bytes, error);
    if (!payload) {
        Complain(fmt::format("{}: {}", TopicText(topic), error));
        return;
    }
    if (topic.kind == MessageKind::NodeCommand) {
        auto const isRebirth = [](Metric const& metric) { return metric.name == RebirthMetric; };
        bool const isAsked = std::any_of(payload->metrics.begin(), payload->metrics.end(), [&](Metric const& metric) {
            return isRebirth(metric) && metric.value == WireValue(true);
        });
        std::erase_if(payload->metrics, isRebirth);
        if (isAsked && m_isBorn && !m_rebirth) {
            auto const now = m_clock();
            m_rebirth = std::max(now.steady, m_born + m_options.rebirthPause);
            Act(now);
        }
    }
    auto const values = Values(topic, payload->metrics);
    if (!values.empty() && m_hooks.command) {
        m_hooks.command(topic.device, values);
    }
}

EdgeNode::EdgeNode(EdgeNodeOptions options, EdgeNodeHooks hooks, Clock clock)
    : m_body(std::make_unique<Body>(std::move(options), std::move(hooks), std::move(clock)))
{
}

EdgeNode::~EdgeNode() = default;

Message EdgeNode::NextWill()
{
    return m_body->NextWill();
}

std::vector<std::string> EdgeNode::Filters() const
{
    return m_body->Filters();
}

void EdgeNode::Connected()
{
    m_body->Connected();
}

void EdgeNode::Disconnected()
{
    m_body->Disconnected();
}

void EdgeNode::Die()
{
    m_body->Die();
}

void EdgeNode::SetNode(CAttributeMap const& metrics)
{
    m_body->SetNode(metrics);
}

void EdgeNode::SetDevice(std::string_view device, CAttributeMap const& tree)
{
    m_body->SetDevice(device, tree);
}

void EdgeNode::SetReserved(std::string_view device, CAttributeMap const& metrics)
{
    m_body->SetReserved(device, metrics);
}

void EdgeNode::TellReservedAgain(std::string_view device)
{
    m_body->TellReservedAgain(device);
}

void EdgeNode::RemoveDevice(std::string_view device)
{
    m_body->RemoveDevice(device);
}

void EdgeNode::Receive(std::string_view topic, std::string_view payload)
{
    m_body->Receive(topic, payload);
}

void EdgeNode::Tick()
{
    m_body->Tick();
}

std::optional<Time> EdgeNode::NextDue() const
{
    return m_body->NextDue();
}

bool EdgeNode::IsBorn() const
{
    return m_body->IsBorn();
}

EdgeNodeCounts const& EdgeNode::Counts() const
{
    return m_body->Counts();
}

} // namespace qx5::sparkplug
