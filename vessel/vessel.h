// A vessel on a broker: what its host has is told ashore, what people ashore ask for is done here, and what must not be
// lost waits on the disk.
#pragma once

#include "authority/lease.h"
#include "authority/permissions.h"
#include "broker/connection.h"
#include "operation/operator_desk.h"
#include "outbox/outbox.h"
#include "reference_host/core/host.h"
#include "sparkplug/edge_node.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace qx5::vessel {

struct VesselOptions
{
    broker::BrokerAddress address;
    broker::CertificateFiles files;
    std::string group;
    std::string vessel;
    std::string primaryHost; ///< nothing is told before this one is there; empty: for whoever listens
    std::string version;     ///< of the program, told
    authority::Permissions permissions;
    authority::LeaseRules leases;
    /// Names of metrics, each change of which is kept until the shore has it.
    std::vector<std::string> history;
    std::filesystem::path outboxFile; ///< in a folder that is there
    outbox::OutboxOptions outbox;
    /// What history may take of a line that has room for it.
    double historyBytesPerSecond = 1e6;
    /// How the connection stands, at each change, and one line for the log; each on any thread, with nothing locked.
    std::function<void(broker::LineStatus const&)> status;
    std::function<void(std::string const& line)> tell;
};

/// What happened so far.
struct VesselCounts
{
    broker::ConnectionCounts line;
    broker::ConnectionCounts second; ///< of the connection that a far line has beside it, see second_line.h
    sparkplug::EdgeNodeCounts node;
    outbox::OutboxState outbox;
    std::uint64_t requests = 0;   ///< that arrived, those refused among them
    std::uint64_t refused = 0;    ///< messages that were no good
    std::uint64_t detections = 0; ///< pings that were told
};

/// Joins a host and what surrounds its requests to a broker, until it is ended. It has a thread of its own; the host's
/// never waits for the line. Between Begin and End the desk's first guard, its ShoreTap and the listener of its events
/// are the vessel's; somebody has the desk's Tick called.
///
/// Memory is bounded: what arrives waits up to 4 MiB and is then shed and counted, what leaves is bounded by the
/// connection, of values and pings the newest alone waits.
///
/// A sonar is called on topics as the operator calls it; see sonar_names.h.
class Vessel
{
public:
    /// Opens the outbox. Throws outbox::OutboxError, or std::invalid_argument when a name is none, with one line.
    /// `host` and `desk` outlive it.
    Vessel(vordal::Host& host, operation::OperatorDesk& desk, VesselOptions options);
    Vessel(Vessel const&) = delete;
    Vessel& operator=(Vessel const&) = delete;
    /// Ends it, if that was not done.
    ~Vessel();

    /// Begins to connect; once. Not on the host thread.
    void Begin();
    /// Tells the vessel's death, waits at most so long for what is on its way, and leaves the desk. The host still
    /// lives. Not on the host thread.
    void End(std::chrono::milliseconds limit = std::chrono::seconds(2));

    // Any thread.
    authority::Leases& Leases();
    void SetPermissions(authority::Permissions permissions);
    broker::LineStatus Status() const;
    /// Up to the last moment that the vessel's thread was at rest.
    VesselCounts Counts() const;

private:
    class Body;
    std::unique_ptr<Body> m_body;
};

} // namespace qx5::vessel
