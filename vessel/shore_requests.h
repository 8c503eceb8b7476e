// What people ashore ask a vessel for: requests, leases, and commands in nobody's name; done once, and answered.
#pragma once

#include "authority/lease.h"
#include "authority/permissions.h"
#include "authority/shore_messages.h"
#include "authority/shore_topics.h"
#include "outbox/outbox.h"
#include "reference_host/core/host.h"
#include "sparkplug/edge_node.h"
#include "vessel/complaints.h"
#include "vessel/inbox.h"
#include "vessel/shore_line.h"
#include "vessel/told_sonars.h"
#include "vessel/vessel_marks.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5::vessel {

/// Any thread, where nothing else is said. What it is given outlives it; what waits on the host's thread outlives it
/// itself.
class ShoreRequests
{
public:
    struct Surroundings
    {
        vordal::Host& host;
        ToldSonars const& sonars;
        authority::Leases& leases;
        authority::CommandGuard const& guard;
        std::shared_ptr<VesselMarks> marks;
        outbox::Outbox& outbox;
        ShoreLine& line;
        std::shared_ptr<Inbox> inbox;
        Complaints& complaints;
    };
    explicit ShoreRequests(Surroundings surroundings);

    void TakeRequest(authority::ShoreTopic const& topic, std::string_view payload);
    void TakeLease(authority::ShoreTopic const& topic, std::string_view payload);
    /// Of a program that tells no name.
    void TakeCommand(std::string_view device, std::vector<sparkplug::CommandedValue> const& values);
    /// What the holder of a lease says to those who wait for it.
    void TakeAnswer(authority::LeaseAnswer const& answer);
    /// Tells what came of a request; of one that was done once that is on the disk. The vessel's thread.
    void TakeStanding(Standing& standing);

    authority::VesselTime Now() const;
    /// That arrived, those refused among them.
    std::uint64_t Count() const { return m_count; }

private:
    struct Doing;
    /// A question for a lease whose answer is the holder's.
    struct Waiting
    {
        std::string sonar;
        authority::RequestStamp stamp;
    };
    using WaitingFor = std::pair<CString, std::string>; ///< sonar's id, person

    enum class Posted
    {
        Yes,
        Full,   ///< too much waits there
        Ending, ///< the host does
    };
    /// Has it done on the host's thread.
    Posted Post(std::function<void(Doing&)> work);
    void Refuse(AskedAshore asked, authority::RequestMessage const& message, std::string reason);
    authority::LeaseReply AnswerLease(CDataId const& sonar, authority::ShoreTopic const& topic,
                                      authority::LeaseMessage const& message);
    authority::LeaseReply AskForLease(CDataId const& sonar, authority::ShoreTopic const& topic,
                                      authority::LeaseMessage const& message);
    /// The vessel's thread.
    void FinishRequest(AskedAshore const& asked, std::string bytes);
    void FinishLease(std::string const& sonar, std::string const& person, authority::RequestStamp const& stamp,
                     authority::LeaseReply reply);
    void PutReply(std::string const& sonar, std::string const& person, authority::ShoreReply const& reply);

    Surroundings const m_around;
    std::shared_ptr<Doing> const m_doing;
    std::atomic<std::uint64_t> m_count{0};

    std::mutex m_waitingMutex; ///< guards what follows
    std::multimap<WaitingFor, Waiting> m_waiting;
};

} // namespace qx5::vessel
