// A fleet as it is seen from ashore: one connection to its broker, what vessels tell, and what they are asked.
#pragma once

#include "authority/shore_messages.h"
#include "broker/connection.h"
#include "fleet/fleet_model.h"
#include "fleet/fleet_requests.h"
#include "fleet/history_keeper.h"
#include "fleet/looks.h"
#include "fleet/roll.h"
#include "sparkplug/host_state.h"

#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace qx5::fleet {

/// Which fleet, and who looks at it.
struct FleetOptions
{
    broker::ConnectionOptions line; ///< where the broker is, and our certificate
    std::string group;
    std::string person;           ///< what the broker calls us: the common name of the certificate
    std::string vessel;           ///< that one alone is heard; empty: all of the group
    bool isPresent = false;       ///< others hear that we are here, until the end
    bool wantsDetections = false; ///< what vessels tell those who look; see Look
    bool wantsHistory = false;
    /// Only who is there is of interest (see Roll): trees are empty, nothing can be asked for, and no vessel is asked
    /// to tell everything anew.
    bool isRoll = false;
    std::filesystem::path archive; ///< keeps the history, and acknowledges it; empty: it is only heard
    FleetModelOptions model;       ///< all but group and sender
};

/// What a fleet calls: on its threads, with nothing locked, several at once. They do not wait for long: nothing else is
/// heard meanwhile. They may call the fleet, but for End and its destructor. Each may be missing.
struct FleetHooks
{
    std::function<void(broker::LineStatus const&)> line;
    /// Something has changed of that vessel or sonar: values, state, lease, round trip.
    std::function<void(Place const&)> changed;
    /// Somebody ashore has come or gone.
    std::function<void()> persons;
    std::function<void(Place const&, authority::DetectionsMessage const&)> detections;
    /// New entries of vessels' outboxes, each once.
    std::function<void(std::vector<outbox::Received> const&)> history;
    /// One line for the log.
    std::function<void(std::string const& line)> tell;
};

/// How long a sonar's vessel takes to answer from there, measured while somebody here looks at it.
struct LookState
{
    double roundTrip = 0.0; ///< s
    double age = 0.0;       ///< s since it was measured
};

/// How the detections of a sonar arrive while they are wanted here.
struct PingsState
{
    double rate = 0.0; ///< a second, over the last five
    double age = 0.0;  ///< s since the newest arrived
};

/// What a reader gets shares all trees with the fleet. Any thread may call; nothing waits for the line but End.
class Fleet
{
public:
    /// Does nothing before Start. Throws std::invalid_argument, with one line, when a name cannot be one, and
    /// outbox::OutboxError when the archive cannot be opened.
    Fleet(FleetOptions options, FleetHooks hooks);
    Fleet(Fleet const&) = delete;
    Fleet& operator=(Fleet const&) = delete;
    /// As End.
    ~Fleet();

    /// Once.
    void Start();
    /// Ends in order: what waits for an answer is told that it has none, the archive takes what has arrived, and what
    /// is on its way leaves within the limit. No hook is called afterwards. Not from a hook.
    void End(std::chrono::milliseconds limit = std::chrono::milliseconds(2000));

    std::string const& Person() const { return m_options.person; }
    broker::LineStatus Line() const { return m_connection->Status(); }
    /// Of a roll: whether each sonar that is there has said who commands it.
    bool IsRollWhole() const;
    std::vector<VesselState> Vessels() const;
    std::optional<VesselState> Vessel(std::string const& name) const;
    std::vector<Place> Sonars() const;
    std::optional<SonarState> Sonar(Place const& sonar) const;
    /// See FleetModel::Facts.
    std::optional<sparkplug::MetricFacts> Facts(Place const& sonar, std::string_view metric) const;
    /// Who says that he is here, in order.
    std::vector<std::string> Persons() const;

    /// See FleetRequests. `done` is called on a thread of the fleet, or before this returns.
    void Request(Place const& sonar, CAttributeMap const& request, double limit, RequestDone done);
    void AskLease(Place const& sonar, LeaseAsk const& ask, double limit, LeaseDone done);

    /// From here on until EndLook the sonar's vessel hears that somebody looks, and sends detections when they are
    /// wanted.
    void Look(Place const& sonar, bool wantsDetections);
    void EndLook(Place const& sonar);
    /// Nothing before the first answer.
    std::optional<LookState> LookOf(Place const& sonar) const;
    /// Nothing before the first has arrived, and when they are not wanted.
    std::optional<PingsState> PingsOf(Place const& sonar) const;

private:
    /// What is to be done once nothing is locked any more.
    struct Effects
    {
        std::vector<broker::Publication> publications;
        std::vector<FleetRequests::Call> calls;
        std::set<Place> changed;
        std::vector<std::string> lines;
        bool havePersonsChanged = false;
    };

    std::vector<std::string> Filters() const;
    broker::ConnectionHooks ConnectionHooksOf();
    FleetModelHooks ModelHooks();
    HistoryHooks HistoryHooksOf();
    /// Does it with the lock held, and then what comes of it.
    template <typename Work>
    void Act(Work const& work);
    void Perform(Effects& effects);
    /// What is due by time; `again`: as on a new connection. With m_mutex held.
    void SendDue(bool again);
    void OnConnected();
    void OnDisconnected();
    void OnMessage(std::string_view topic, std::string_view payload);
    void OnShoreMessage(std::string_view topic, std::string_view payload);
    void OnReply(Place const& sonar, authority::ShoreReply const& reply);
    void OnHostState(std::string const& person, std::string_view payload);
    broker::Publication Presence(bool isOnline) const;
    void Tell(std::string const& line) const;
    void RunTimer();

    FleetOptions const m_options;
    FleetHooks const m_hooks;
    std::uint64_t const m_sender;
    mutable std::mutex m_mutex; ///< guards what follows
    Effects* m_effects = nullptr;
    bool m_isConnected = false;
    bool m_isLeaving = false;
    std::uint64_t m_presentSince = 0; ///< of this connection, ms since 1970
    FleetModel m_model;
    FleetRequests m_requests;
    Looks m_looks;
    Roll m_roll;
    std::map<std::string, sparkplug::HostState> m_persons;

    std::mutex m_timerMutex; ///< guards what follows
    std::condition_variable m_timerWake;
    bool m_isEnding = false;
    std::thread m_timer;

    std::unique_ptr<HistoryKeeper> m_history;
    std::unique_ptr<broker::Connection> m_connection;
};

} // namespace qx5::fleet
