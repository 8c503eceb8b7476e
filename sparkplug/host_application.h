// The reader ashore: what vessels and their sonars have told, applied in order, and asked for again where something is
// missing. It has no connection; whoever has one calls it and is called.
#pragma once

#include "sparkplug/edge_node.h"
#include "sparkplug/message.h"
#include "sparkplug/metric_facts.h"
#include "sparkplug/payload.h"
#include "sparkplug/topic.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/value.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::sparkplug {

/// A vessel, or a sonar aboard.
struct SeenName
{
    std::string group;
    std::string node;
    std::string device; ///< empty for the vessel itself

    friend auto operator<=>(SeenName const&, SeenName const&) = default;
};

enum class SeenState
{
    Unborn, ///< heard of; its birth has been asked for
    Alive,  ///< what is shown is what it has
    Stale,  ///< something it told is missing; its birth has been asked for
    Dead,   ///< it said so, or the broker did
};

/// What is known of a vessel or a sonar.
struct SeenThing
{
    SeenState state = SeenState::Unborn;
    CAttributeMap tree;     ///< attributes, of the last birth and what changed since; empty for a vessel
    CAttributeMap reserved; ///< what is told beside them: who commands it, the program of a vessel
    std::chrono::steady_clock::time_point heard{}; ///< when it told something that was applied
    std::uint64_t told = 0; ///< that message's own time: milliseconds since 1970, UTC, by the clock aboard
};

/// A value that a message tells.
struct SeenValue
{
    std::string_view name; ///< of the metric
    protocol::Value value;
    std::uint64_t utc = 0;     ///< when it came to be, by the clock aboard; 0 when that is not told
    bool isHistorical = false; ///< the tree does not have it
};

struct HostCounts
{
    std::uint64_t births = 0;
    std::uint64_t metrics = 0;    ///< that data told
    std::uint64_t gaps = 0;       ///< messages that were not the next one
    std::uint64_t unborn = 0;     ///< messages of whoever was not born
    std::uint64_t unknown = 0;    ///< metrics by an alias or a name that no birth told
    std::uint64_t unreadable = 0; ///< values that no attribute can have
    std::uint64_t fromFuture = 0; ///< metrics with a time after their message's
    std::uint64_t fromPast = 0;   ///< metrics with a time before that of the value that they replace
    std::uint64_t asked = 0;      ///< for births
    std::uint64_t refused = 0;    ///< messages that were no good, or of more vessels, sonars or metrics than are kept
};

/// What the reader calls, always within a call of it; it must not be called again from there, but for const operations.
struct HostHooks
{
    /// Has a request for a birth published; false when there is no room: it is tried again later. Required.
    std::function<bool(Message const&)> publish;
    /// A birth or a death, or it has become stale.
    std::function<void(SeenName const&)> state;
    std::function<void(SeenName const&, std::vector<SeenValue> const&)> data;
    /// One line for the log.
    std::function<void(std::string const& line)> tell;
};

struct HostOptions
{
    std::chrono::milliseconds leastPause{1000};      ///< between two requests for one birth; doubled each time
    std::chrono::milliseconds greatestPause{60000};  ///< as far as this
    std::chrono::milliseconds clockTolerance{60000}; ///< a vessel's clock that is off by more is told
    std::size_t mostNodes = 10'000;
    std::size_t mostDevices = 256;     ///< of a node
    std::size_t mostMetrics = 300'000; ///< of a node and its devices
};

/// Reads what arrives of any number of vessels. Data before a birth, or behind a gap in a vessel's sequence numbers, is
/// not applied; the birth is asked for, at once and then ever more seldom until it comes. An alias that no birth told
/// has the birth asked for, too. Values of the past (historical) are told and do not touch the tree. A clock that
/// differs is told and changes nothing: order is that of the sequence numbers.
///
/// Metrics of others are read as well: each data type as the kind that holds its values, names as they are.
///
/// One thread. Memory is bounded by the options: what is beyond is refused with one line.
class HostApplication
{
public:
    HostApplication(HostOptions options, HostHooks hooks, Clock clock = SystemMoment);
    HostApplication(HostApplication const&) = delete;
    HostApplication& operator=(HostApplication const&) = delete;
    ~HostApplication();

    /// What has arrived below GroupFilter. Anything may.
    void Receive(std::string_view topic, std::string_view payload);
    /// The connection is gone: what comes on the next one is not what would have come next. All that was alive is
    /// stale.
    void Disconnected();

    /// Asks for births that are missing. To be called at NextDue, or later.
    void Tick();
    std::optional<std::chrono::steady_clock::time_point> NextDue() const;

    /// All vessels and sonars heard of.
    std::vector<SeenName> Names() const;
    /// Null for none; valid until the next call that is not const.
    SeenThing const* Find(SeenName const& name) const;
    /// What was told of a metric beside its value; nothing of one that is not there.
    std::optional<MetricFacts> Facts(SeenName const& name, std::string_view metric) const;
    /// By how much a vessel's clock was ahead of ours when it spoke last, transit included; nothing when it has not.
    std::optional<std::chrono::milliseconds> ClockAhead(SeenName const& name) const;
    HostCounts const& Counts() const;

private:
    class Body;
    std::unique_ptr<Body> m_body;
};

/// Asks a sonar, or a vessel, for values, as any program that speaks Sparkplug may. Nothing, and one line in `error`,
/// when no payload can tell them.
std::optional<Message> MakeCommand(SeenName const& to, std::vector<CommandedValue> const& values, std::uint64_t utc,
                                   std::string& error);
/// Asks a vessel for its birth and those of its sonars.
Message MakeRebirth(SeenName const& node, std::uint64_t utc);

} // namespace qx5::sparkplug
