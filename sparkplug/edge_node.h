// A vessel as an edge node of Sparkplug B, its sonars as devices: births, data, deaths and what it is told to do. It
// has no connection; whoever has one calls it and is called.
#pragma once

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

/// The metrics of a node that Sparkplug has names for.
inline constexpr std::string_view BirthNumberMetric = "bdSeq";
inline constexpr std::string_view RebirthMetric = "Node Control/Rebirth";

/// One value that somebody asks for.
struct CommandedValue
{
    std::string name; ///< of the metric; LevelsOfName tells where the attribute stands
    protocol::Value value;
};

/// What came of the messages of an edge node so far.
struct EdgeNodeCounts
{
    std::uint64_t births = 0;     ///< of the node and of devices
    std::uint64_t data = 0;       ///< messages of changes
    std::uint64_t metrics = 0;    ///< that were told in them
    std::uint64_t refused = 0;    ///< for which the line had no room; they wait
    std::uint64_t tooLarge = 0;   ///< that no payload can tell; they are left out
    std::uint64_t complaints = 0; ///< messages that came and were no good
};

/// What an edge node calls. Never from within a constructor or destructor, always within a call of the node, which must
/// not be called again from there.
struct EdgeNodeHooks
{
    /// Has the message published and says so at once; false when there is no room: it is offered again later. Required.
    std::function<bool(Message const&)> publish;
    /// Somebody who speaks Sparkplug asks for values; `device` is empty for the node itself. What no attribute is has
    /// been left out already.
    std::function<void(std::string_view device, std::vector<CommandedValue> const& values)> command;
    /// The primary host has gone: its death has been told, the connection is to be ended and made anew.
    std::function<void()> startAgain;
    /// One line for the log.
    std::function<void(std::string const& line)> tell;
};

struct EdgeNodeOptions
{
    std::string group;
    std::string node;
    /// Nothing is born before this host is online; empty: for whoever listens.
    std::string primaryHost;
    FactsOf facts = FactsFromTables;
    /// In place of `facts` for the attributes of devices that have facts of their own, such as limits; empty for none.
    /// Called when a birth is made.
    std::function<MetricFacts(std::string_view device, std::wstring_view key)> deviceFacts = {};
    /// A metric that changes more often is told that often.
    std::chrono::milliseconds pace{100};
    /// After a birth that somebody asked for, others who ask have to wait for so long.
    std::chrono::milliseconds rebirthPause{1000};
    /// When the line had no room, it is asked again then.
    std::chrono::milliseconds retryPause{100};
    /// A message of changes is about that large at most.
    std::size_t dataBytes = std::size_t{256} * 1024;
};

/// The life of an edge node:
///
///     NextWill -> (connection) -> Connected -> births, data ... -> Disconnected -> NextWill ...
///
/// All messages but commands and wills have the sequence number of the node, 0 at its birth, one more with each, 0
/// again after 255. A message that the line did not take has used none. The node's birth and will have the number of
/// the connection, which each will counts up.
///
/// A birth tells all metrics with name, alias, kind, unit and limits; from then on what changes is told by its alias
/// alone, with its data type, which readers of others need. Aliases are never used twice for different metrics while
/// the object lives. A device whose attributes come or go is born anew, at most every 100 ms and 100 us for each of its
/// metrics; until then its changes wait.
///
/// One thread. Memory: a copy of each device's tree, which shares what it can, and some 200 bytes for each attribute.
class EdgeNode
{
public:
    /// Throws std::invalid_argument, with one line, when a name is none.
    EdgeNode(EdgeNodeOptions options, EdgeNodeHooks hooks, Clock clock = SystemMoment);
    EdgeNode(EdgeNode const&) = delete;
    EdgeNode& operator=(EdgeNode const&) = delete;
    ~EdgeNode();

    /// The will of the next connection; each has its own.
    Message NextWill();
    /// What to subscribe to before Connected is called.
    std::vector<std::string> Filters() const;
    /// The connection stands, with the will made last, and nothing of an earlier one is on its way.
    void Connected();
    /// The connection is gone. Trees may go on changing.
    void Disconnected();
    /// Tells the node's death, as whoever ends the connection in order has to: its will is then not told.
    void Die();

    /// What the node tells of itself: names of first levels that are reserved stand as they are. Other than the metrics
    /// that Sparkplug asks for.
    void SetNode(CAttributeMap const& metrics);
    /// The device's attributes as they are now; a device that is new is born. Throws std::invalid_argument, with one
    /// line, when the name is none.
    void SetDevice(std::string_view device, CAttributeMap const& tree);
    /// What is told beside the attributes of a device, below LeaseBranch and the like. Nothing of a device that is not
    /// there.
    void SetReserved(std::string_view device, CAttributeMap const& metrics);
    /// Tells once more what SetReserved said last, for those who go by hearing it each second.
    void TellReservedAgain(std::string_view device);
    /// Tells the device's death.
    void RemoveDevice(std::string_view device);

    /// What has arrived. Anything may: what is no good becomes one line.
    void Receive(std::string_view topic, std::string_view payload);

    /// Tells what is due. To be called at NextDue, or later.
    void Tick();
    /// Nothing when nothing waits.
    std::optional<std::chrono::steady_clock::time_point> NextDue() const;

    /// Whether births have been told on this connection.
    bool IsBorn() const;
    EdgeNodeCounts const& Counts() const;

private:
    class Body;
    std::unique_ptr<Body> m_body;
};

} // namespace qx5::sparkplug
