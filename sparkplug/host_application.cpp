// What vessels and sonars told, applied in order.
#include "sparkplug/host_application.h"

#include "sparkplug/metric_name.h"
#include "sparkplug/metric_tree.h"
#include "sparkplug/metric_value.h"
#include "sparkplug/sequence_number.h"
#include "sparkplug/shown_text.h"

#include <protocol/utf8.h>
#include <reference_host/attributes/tree_merge.h>

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <map>
#include <unordered_map>
#include <utility>

namespace qx5::sparkplug {

/// A metric that a birth told.
struct BornMetric
{
    std::string name;
    std::vector<NameLevel> place;
    bool isAttribute = true;
    DataType type = DataType::Unknown;
    std::string kind; ///< what KindProperty said
    MetricFacts facts;
    unsigned flags = 0;
    std::uint64_t utc = 0; ///< of its value
};

namespace {

using Time = std::chrono::steady_clock::time_point;

std::optional<double> NumberOf(WireValue const& value)
{
    if (auto const* const number = std::get_if<double>(&value)) {
        return *number;
    }
    if (auto const* const number = std::get_if<float>(&value)) {
        return *number;
    }
    return std::nullopt;
}

void TakeProperties(std::vector<Property> const& properties, BornMetric& metric)
{
    if (auto const kind = KindTextOf(properties); !kind.empty()) {
        metric.kind = kind;
    }
    metric.flags = FlagsIn(properties).value_or(metric.flags);
    for (Property const& property : properties) {
        auto const* const text = std::get_if<std::string>(&property.value);
        if (property.key == UnitProperty && text != nullptr) {
            metric.facts.unit = *text;
        } else if (property.key == LowProperty) {
            metric.facts.low = NumberOf(property.value);
        } else if (property.key == HighProperty) {
            metric.facts.high = NumberOf(property.value);
        }
    }
}

std::string ShownName(SeenName const& name)
{
    return name.device.empty() ? fmt::format("{}/{}", name.group, name.node)
                               : fmt::format("{}/{}/{}", name.group, name.node, name.device);
}

} // namespace

class HostApplication::Body
{
public:
    Body(HostOptions options, HostHooks hooks, Clock clock)
        : m_options(options), m_hooks(std::move(hooks)), m_clock(std::move(clock))
    {
    }

    void Receive(std::string_view topic, std::string_view payload);
    void Disconnected();
    void Tick();
    std::optional<Time> NextDue() const;
    std::vector<SeenName> Names() const;
    SeenThing const* Find(SeenName const& name) const;
    std::optional<MetricFacts> Facts(SeenName const& name, std::string_view metric) const;
    std::optional<std::chrono::milliseconds> ClockAhead(SeenName const& name) const;
    HostCounts const& Counts() const { return m_counts; }

private:
    struct Thing
    {
        SeenThing seen;
        std::vector<BornMetric> metrics;
        std::unordered_map<std::string_view, std::size_t> byName; ///< of `metrics`
    };
    struct Place
    {
        Thing* thing = nullptr;
        std::size_t metric = 0;
    };
    struct Node
    {
        Thing thing;
        std::map<std::string, Thing, std::less<>> devices;
        std::unordered_map<std::uint64_t, Place> byAlias;
        std::uint8_t nextSeq = 0;
        std::optional<std::uint64_t> birthNumber;
        std::optional<Time> ask; ///< when its birth is to be asked for
        std::chrono::milliseconds pause{0};
        std::optional<std::chrono::milliseconds> clockAhead;
        bool isClockTold = false;
    };
    using Key = std::pair<std::string, std::string>;
    using Nodes = std::map<Key, Node>;

    Node* NodeOf(Topic const& topic);
    bool IsNext(SeenName const& name, Node& node, Payload const& payload);
    void Birth(SeenName const& name, Node& node, Thing& thing, Payload const& payload, Moment const& now);
    void NodeBirth(SeenName const& name, Node& node, Payload const& payload, Moment const& now);
    void NodeDeath(SeenName const& name, Node& node, Payload const& payload);
    void DeviceMessage(Topic const& topic, SeenName const& name, Node& node, Payload const& payload, Moment const& now);
    void Data(SeenName const& name, Node& node, Thing& thing, Payload const& payload, Moment const& now);
    Place PlaceOf(Node& node, Thing& thing, Metric const& metric);
    void LookAtClock(SeenName const& name, Node& node, Payload const& payload, Moment const& now);
    void LookAtTime(BornMetric& born, Metric const& metric, Payload const& payload);
    void ForgetMetrics(Node& node, Thing& thing);

    void Ask(Node& node, Moment const& now);
    void AskIfDue(Key const& key, Node& node, Moment const& now);
    void MakeStale(SeenName const& name, Node& node, SeenState state);
    void Become(SeenName const& name, SeenThing& thing, SeenState state);
    void Refuse(std::string const& line);
    void TellLine(std::string const& line)
    {
        if (m_hooks.tell) {
            m_hooks.tell(line);
        }
    }
    std::size_t MetricsOf(Node const& node) const;

    HostOptions const m_options;
    HostHooks const m_hooks;
    Clock const m_clock;
    Nodes m_nodes;
    HostCounts m_counts;
};

void HostApplication::Body::Refuse(std::string const& line)
{
    ++m_counts.refused;
    TellLine(line);
}

HostApplication::Body::Node* HostApplication::Body::NodeOf(Topic const& topic)
{
    Key key{topic.group, topic.node};
    auto found = m_nodes.find(key);
    if (found == m_nodes.end()) {
        if (m_nodes.size() >= m_options.mostNodes) {
            Refuse(fmt::format("{}/{} is left out: there are {} vessels already", topic.group, topic.node,
                               m_nodes.size()));
            return nullptr;
        }
        found = m_nodes.try_emplace(std::move(key)).first;
    }
    return &found->second;
}

void HostApplication::Body::Receive(std::string_view text, std::string_view bytes)
{
    std::string error;
    auto const topic = ParseTopic(text, error);
    if (!topic) {
        Refuse(error);
        return;
    }
    if (topic->kind == MessageKind::HostState || topic->kind == MessageKind::NodeCommand ||
        topic->kind == MessageKind::DeviceCommand) {
        return; // of others ashore
    }
    auto const payload = DecodePayload(bytes, error);
    if (!payload) {
        Refuse(fmt::format("{}: {}", ShownText(text), error));
        return;
    }
    auto* const node = NodeOf(*topic);
    if (node == nullptr) {
        return;
    }
    auto const now = m_clock();
    SeenName const name{topic->group, topic->node, {}};
    if (topic->kind == MessageKind::NodeDeath) {
        NodeDeath(name, *node, *payload);
        return;
    }
    if (topic->kind == MessageKind::NodeBirth) {
        NodeBirth(name, *node, *payload, now);
    } else if (IsNext(name, *node, *payload)) {
        if (topic->kind == MessageKind::NodeData) {
            Data(name, *node, node->thing, *payload, now);
        } else {
            DeviceMessage(*topic, {topic->group, topic->node, topic->device}, *node, *payload, now);
        }
    } else {
        Ask(*node, now);
    }
    AskIfDue({topic->group, topic->node}, *node, now);
}

/// Whether the payload is the one that follows what was applied last.
bool HostApplication::Body::IsNext(SeenName const& name, Node& node, Payload const& payload)
{
    if (node.thing.seen.state != SeenState::Alive) {
        ++m_counts.unborn;
        return false;
    }
    if (payload.seq && *payload.seq == node.nextSeq) {
        node.nextSeq = Next(node.nextSeq);
        return true;
    }
    ++m_counts.gaps;
    TellLine(payload.seq ? fmt::format("{} sent message {} where {} was the next one; its birth is asked for",
                                       ShownName(name), *payload.seq, node.nextSeq)
                         : fmt::format("{} sent a message without a number; its birth is asked for", ShownName(name)));
    MakeStale(name, node, SeenState::Stale);
    return false;
}

void HostApplication::Body::Become(SeenName const& name, SeenThing& thing, SeenState state)
{
    thing.state = state;
    if (m_hooks.state) {
        m_hooks.state(name);
    }
}

/// Of the node and of all its devices that were alive.
void HostApplication::Body::MakeStale(SeenName const& name, Node& node, SeenState state)
{
    for (auto& [device, thing] : node.devices) {
        if (thing.seen.state == SeenState::Alive || (state == SeenState::Dead && thing.seen.state != state)) {
            Become({name.group, name.node, device}, thing.seen, state);
        }
    }
    Become(name, node.thing.seen, state);
}

std::size_t HostApplication::Body::MetricsOf(Node const& node) const
{
    std::size_t count = node.thing.metrics.size();
    for (auto const& [device, thing] : node.devices) {
        count += thing.metrics.size();
    }
    return count;
}

void HostApplication::Body::ForgetMetrics(Node& node, Thing& thing)
{
    std::erase_if(node.byAlias, [&](auto const& entry) { return entry.second.thing == &thing; });
    thing.byName.clear();
    thing.metrics.clear();
}

void HostApplication::Body::LookAtClock(SeenName const& name, Node& node, Payload const& payload, Moment const& now)
{
    if (!payload.timestamp) {
        return;
    }
    auto const ahead = std::chrono::milliseconds(static_cast<std::int64_t>(*payload.timestamp - now.utc));
    node.clockAhead = ahead;
    bool const isOff = ahead > m_options.clockTolerance || ahead < -m_options.clockTolerance;
    if (isOff && !node.isClockTold) {
        TellLine(fmt::format("the clock of {} is {} s {} ours", ShownName(name), std::abs(ahead.count() / 1000),
                             ahead.count() > 0 ? "ahead of" : "behind"));
    }
    node.isClockTold = isOff;
}

void HostApplication::Body::LookAtTime(BornMetric& born, Metric const& metric, Payload const& payload)
{
    if (!metric.timestamp) {
        return;
    }
    auto const tolerance = static_cast<std::uint64_t>(m_options.clockTolerance.count());
    if (payload.timestamp && *metric.timestamp > *payload.timestamp &&
        *metric.timestamp - *payload.timestamp > tolerance) {
        ++m_counts.fromFuture;
    }
    if (*metric.timestamp < born.utc) {
        ++m_counts.fromPast;
    }
    born.utc = *metric.timestamp;
}

void HostApplication::Body::Birth(SeenName const& name, Node& node, Thing& thing, Payload const& payload,
                                  Moment const& now)
{
    ForgetMetrics(node, thing);
    if (MetricsOf(node) + payload.metrics.size() > m_options.mostMetrics) {
        Refuse(fmt::format("the birth of {} is left out: with its {} metrics there would be more than {}",
                           ShownName(name), payload.metrics.size(), m_options.mostMetrics));
        Become(name, thing.seen, SeenState::Stale);
        return;
    }
    CAttributeMap tree;
    CAttributeMap reserved;
    thing.metrics.reserve(payload.metrics.size());
    for (Metric const& metric : payload.metrics) {
        if (metric.name.empty()) {
            ++m_counts.unknown;
            continue;
        }
        BornMetric born;
        born.name = metric.name;
        born.isAttribute = !name.device.empty() && !IsReserved(metric.name);
        born.type = metric.type;
        born.utc = metric.timestamp.value_or(payload.timestamp.value_or(0));
        TakeProperties(metric.properties, born);
        auto& into = born.isAttribute ? tree : reserved;
        born.place = PlaceIn(into, metric.name);
        auto value = ValueOfWire(metric.value, metric.type, born.kind);
        if (!value) {
            ++m_counts.unreadable;
            value.emplace();
        }
        SetAt(into, born.place, *value, born.flags);
        thing.metrics.push_back(std::move(born));
        if (metric.alias && !node.byAlias.try_emplace(*metric.alias, Place{&thing, thing.metrics.size() - 1}).second) {
            Refuse(fmt::format("the birth of {} gives the alias {} to {}, which another metric has", ShownName(name),
                               *metric.alias, ShownText(metric.name)));
        }
    }
    for (std::size_t i = 0; i < thing.metrics.size(); ++i) {
        thing.byName.emplace(thing.metrics[i].name, i);
    }
    vordal::ForgetReferences(tree);
    vordal::ForgetReferences(reserved);
    thing.seen.tree = std::move(tree);
    thing.seen.reserved = std::move(reserved);
    thing.seen.heard = now.steady;
    thing.seen.told = payload.timestamp.value_or(0);
    ++m_counts.births;
    LookAtClock(name, node, payload, now);
    Become(name, thing.seen, SeenState::Alive);
}

void HostApplication::Body::NodeBirth(SeenName const& name, Node& node, Payload const& payload, Moment const& now)
{
    if (!payload.seq || *payload.seq > std::numeric_limits<std::uint8_t>::max()) {
        Refuse(fmt::format("the birth of {} has no number from 0 to 255", ShownName(name)));
        return;
    }
    // What was told of the devices is of a session that has ended; each is born anew, or gone.
    for (auto& [device, thing] : node.devices) {
        ForgetMetrics(node, thing);
        if (thing.seen.state == SeenState::Alive) {
            Become({name.group, name.node, device}, thing.seen, SeenState::Stale);
        }
    }
    node.birthNumber.reset();
    for (Metric const& metric : payload.metrics) {
        if (metric.name == BirthNumberMetric) {
            auto const number = ValueOfWire(metric.value, DataType::Int64, {});
            auto const* const whole = number ? std::get_if<std::int64_t>(&*number) : nullptr;
            if (whole != nullptr) {
                node.birthNumber = static_cast<std::uint64_t>(*whole);
            }
        }
    }
    node.nextSeq = Next(static_cast<std::uint8_t>(*payload.seq));
    node.ask.reset();
    node.pause = {};
    Birth(name, node, node.thing, payload, now);
}

void HostApplication::Body::NodeDeath(SeenName const& name, Node& node, Payload const& payload)
{
    std::optional<std::uint64_t> number;
    for (Metric const& metric : payload.metrics) {
        auto const value = metric.name == BirthNumberMetric ? ValueOfWire(metric.value, DataType::Int64, {})
                                                            : std::optional<protocol::Value>();
        auto const* const whole = value ? std::get_if<std::int64_t>(&*value) : nullptr;
        if (whole != nullptr) {
            number = static_cast<std::uint64_t>(*whole);
        }
    }
    // The will of a connection that has had its successor comes late, and means nothing any more.
    if (node.birthNumber && number != node.birthNumber) {
        return;
    }
    node.ask.reset();
    MakeStale(name, node, SeenState::Dead);
}

void HostApplication::Body::DeviceMessage(Topic const& topic, SeenName const& name, Node& node, Payload const& payload,
                                          Moment const& now)
{
    auto found = node.devices.find(topic.device);
    if (topic.kind == MessageKind::DeviceBirth) {
        if (found == node.devices.end()) {
            if (node.devices.size() >= m_options.mostDevices) {
                Refuse(fmt::format("{} is left out: there are {} sonars aboard already", ShownName(name),
                                   node.devices.size()));
                return;
            }
            found = node.devices.try_emplace(topic.device).first;
        }
        Birth(name, node, found->second, payload, now);
        return;
    }
    if (found == node.devices.end() || found->second.seen.state != SeenState::Alive) {
        if (topic.kind == MessageKind::DeviceData) {
            ++m_counts.unborn;
            Ask(node, now);
        }
        return;
    }
    if (topic.kind == MessageKind::DeviceDeath) {
        ForgetMetrics(node, found->second);
        Become(name, found->second.seen, SeenState::Dead);
        return;
    }
    Data(name, node, found->second, payload, now);
}

HostApplication::Body::Place HostApplication::Body::PlaceOf(Node& node, Thing& thing, Metric const& metric)
{
    if (!metric.name.empty()) {
        auto const found = thing.byName.find(metric.name);
        return found != thing.byName.end() ? Place{&thing, found->second} : Place();
    }
    auto const found = metric.alias ? node.byAlias.find(*metric.alias) : node.byAlias.end();
    return found != node.byAlias.end() && found->second.thing == &thing ? found->second : Place();
}

void HostApplication::Body::Data(SeenName const& name, Node& node, Thing& thing, Payload const& payload,
                                 Moment const& now)
{
    LookAtClock(name, node, payload, now);
    std::vector<SeenValue> values;
    values.reserve(payload.metrics.size());
    for (Metric const& metric : payload.metrics) {
        auto const place = PlaceOf(node, thing, metric);
        if (place.thing == nullptr) {
            ++m_counts.unknown;
            Ask(node, now);
            continue;
        }
        auto& born = thing.metrics[place.metric];
        auto const type = metric.type != DataType::Unknown ? metric.type : born.type;
        auto value = ValueOfWire(metric.value, type, born.kind);
        if (!value) {
            ++m_counts.unreadable;
            continue;
        }
        ++m_counts.metrics;
        auto const utc = metric.timestamp.value_or(payload.timestamp.value_or(0));
        if (!metric.isHistorical) {
            LookAtTime(born, metric, payload);
            TakeProperties(metric.properties, born);
            SetAt(born.isAttribute ? thing.seen.tree : thing.seen.reserved, born.place, *value, born.flags);
        }
        values.push_back({born.name, *std::move(value), utc, metric.isHistorical});
    }
    vordal::ForgetReferences(thing.seen.tree);
    vordal::ForgetReferences(thing.seen.reserved);
    thing.seen.heard = now.steady;
    thing.seen.told = payload.timestamp.value_or(thing.seen.told);
    if (!values.empty() && m_hooks.data) {
        m_hooks.data(name, values);
    }
}

void HostApplication::Body::Ask(Node& node, Moment const& now)
{
    if (!node.ask) {
        node.ask = now.steady;
        node.pause = m_options.leastPause;
    }
}

void HostApplication::Body::AskIfDue(Key const& key, Node& node, Moment const& now)
{
    if (!node.ask || *node.ask > now.steady) {
        return;
    }
    if (m_hooks.publish(MakeRebirth({key.first, key.second, {}}, now.utc))) {
        ++m_counts.asked;
        node.ask = now.steady + node.pause;
        node.pause = std::min(2 * node.pause, m_options.greatestPause);
    } else {
        node.ask = now.steady + m_options.leastPause;
    }
}

void HostApplication::Body::Tick()
{
    auto const now = m_clock();
    for (auto& [key, node] : m_nodes) {
        AskIfDue(key, node, now);
    }
}

std::optional<Time> HostApplication::Body::NextDue() const
{
    std::optional<Time> due;
    for (auto const& [key, node] : m_nodes) {
        if (node.ask && (!due || *node.ask < *due)) {
            due = node.ask;
        }
    }
    return due;
}

void HostApplication::Body::Disconnected()
{
    for (auto& [key, node] : m_nodes) {
        node.ask.reset();
        if (node.thing.seen.state == SeenState::Alive) {
            MakeStale({key.first, key.second, {}}, node, SeenState::Stale);
        }
    }
}

std::vector<SeenName> HostApplication::Body::Names() const
{
    std::vector<SeenName> names;
    for (auto const& [key, node] : m_nodes) {
        names.push_back({key.first, key.second, {}});
        for (auto const& [device, thing] : node.devices) {
            names.push_back({key.first, key.second, device});
        }
    }
    return names;
}

SeenThing const* HostApplication::Body::Find(SeenName const& name) const
{
    auto const node = m_nodes.find({name.group, name.node});
    if (node == m_nodes.end()) {
        return nullptr;
    }
    if (name.device.empty()) {
        return &node->second.thing.seen;
    }
    auto const device = node->second.devices.find(name.device);
    return device != node->second.devices.end() ? &device->second.seen : nullptr;
}

std::optional<MetricFacts> HostApplication::Body::Facts(SeenName const& name, std::string_view metric) const
{
    auto const node = m_nodes.find({name.group, name.node});
    if (node == m_nodes.end()) {
        return std::nullopt;
    }
    auto const* thing = &node->second.thing;
    if (!name.device.empty()) {
        auto const device = node->second.devices.find(name.device);
        if (device == node->second.devices.end()) {
            return std::nullopt;
        }
        thing = &device->second;
    }
    auto const found = thing->byName.find(metric);
    return found != thing->byName.end() ? std::optional(thing->metrics[found->second].facts) : std::nullopt;
}

std::optional<std::chrono::milliseconds> HostApplication::Body::ClockAhead(SeenName const& name) const
{
    auto const node = m_nodes.find({name.group, name.node});
    return node != m_nodes.end() ? node->second.clockAhead : std::nullopt;
}

std::optional<Message> MakeCommand(SeenName const& to, std::vector<CommandedValue> const& values, std::uint64_t utc,
                                   std::string& error)
{
    Payload payload;
    payload.timestamp = utc;
    for (CommandedValue const& value : values) {
        Metric metric;
        metric.name = value.name;
        metric.timestamp = utc;
        auto const kind = KindOfValue(value.value);
        metric.type = DataTypeOf(kind);
        metric.value = WireOf(value.value);
        auto const text = KindText(kind);
        if (!text.empty()) {
            metric.properties.push_back({std::string(KindProperty), DataType::String, std::string(text)});
        }
        payload.metrics.push_back(std::move(metric));
    }
    auto bytes = EncodePayload(payload, error);
    if (!bytes) {
        return std::nullopt;
    }
    auto const kind = to.device.empty() ? MessageKind::NodeCommand : MessageKind::DeviceCommand;
    return Message{TopicText({kind, to.group, to.node, to.device, {}}), *std::move(bytes), 0, false};
}

Message MakeRebirth(SeenName const& node, std::uint64_t utc)
{
    std::string error;
    return MakeCommand({node.group, node.node, {}}, {{std::string(RebirthMetric), true}}, utc, error).value();
}

HostApplication::HostApplication(HostOptions options, HostHooks hooks, Clock clock)
    : m_body(std::make_unique<Body>(options, std::move(hooks), std::move(clock)))
{
}

HostApplication::~HostApplication() = default;

void HostApplication::Receive(std::string_view topic, std::string_view payload)
{
    m_body->Receive(topic, payload);
}

void HostApplication::Disconnected()
{
    m_body->Disconnected();
}

void HostApplication::Tick()
{
    m_body->Tick();
}

std::optional<Time> HostApplication::NextDue() const
{
    return m_body->NextDue();
}

std::vector<SeenName> HostApplication::Names() const
{
    return m_body->Names();
}

SeenThing const* HostApplication::Find(SeenName const& name) const
{
    return m_body->Find(name);
}

std::optional<MetricFacts> HostApplication::Facts(SeenName const& name, std::string_view metric) const
{
    return m_body->Facts(name, metric);
}

std::optional<std::chrono::milliseconds> HostApplication::ClockAhead(SeenName const& name) const
{
    return m_body->ClockAhead(name);
}

HostCounts const& HostApplication::Counts() const
{
    return m_body->Counts();
}

} // namespace qx5::sparkplug
