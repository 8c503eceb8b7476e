// What is asked of vessels from here: sent with a stamp, sent again with the same one, answered once.
#pragma once

#include "authority/shore_messages.h"
#include "authority/shore_topics.h"
#include "fleet/place.h"
#include "operation/action.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

namespace qx5::fleet {

/// What came of a request. Where the vessel has told nothing the outcome is that of no answer, and the reason says that
/// it may have been done. Called once.
using RequestDone = std::function<void(authority::RequestReply const&)>;
/// What came of asking for a lease: once, or twice where the first is that it waits for the holder.
using LeaseDone = std::function<void(authority::LeaseReply const&)>;

/// Its outcome; Failed where that is a word that is not known here.
operation::Result ResultOf(authority::RequestReply const& reply);

/// How a lease is asked for.
struct LeaseAsk
{
    authority::LeaseVerb verb = authority::LeaseVerb::Take;
    double seconds = 0.0; ///< of Take
    std::string asker;    ///< of Grant and Refuse
};

/// What waits for answers. A request waits for a stamp until its vessel has told its time; it is sent every few seconds
/// until its limit is over, always with the stamp that it had first: the vessel does it once. It has no connection and
/// calls nobody: what is to be called it gives to its caller, who may hold a lock.
///
/// One thread at a time.
class FleetRequests
{
public:
    using Call = std::function<void()>;
    /// s of a steady clock
    using Seconds = double;
    static constexpr Seconds ResendEvery = 3.0;
    /// What was done in time may be told so much later.
    static constexpr Seconds Grace = 3.0;
    /// A lease that is waited for: longer than a holder has to answer.
    static constexpr Seconds LongestWait = 90.0;
    static constexpr std::size_t GreatestPending = 1024;

    /// Whose answers are meant: see RequestStamp::sender.
    explicit FleetRequests(std::uint64_t sender) : m_sender(sender) {}

    /// Within `limit` seconds from now it is done, or not at all. Gives what to call where nothing can be asked.
    std::optional<Call> Ask(Place const& sonar, CAttributeMap const& request, Seconds limit, Seconds now,
                            RequestDone done);
    std::optional<Call> AskLease(Place const& sonar, LeaseAsk const& ask, Seconds limit, Seconds now, LeaseDone done);

    /// A message to be published with QoS 1.
    struct Outgoing
    {
        Place sonar;
        authority::ShoreSubject subject = authority::ShoreSubject::Request;
        std::string payload;
    };
    /// A stamp for a new request, see FleetModel::Stamp.
    using StampOf = std::function<std::optional<authority::RequestStamp>(std::string const& vessel, double limit)>;
    /// What is to be sent now. `again`: all of it, as on a new connection. What cannot be sent at all is put into
    /// `calls`.
    std::vector<Outgoing> TakeDue(Seconds now, StampOf const& stampOf, bool again, std::vector<Call>& calls);
    /// An answer that has arrived for us; nothing where it is one to somebody else, or comes a second time.
    std::optional<Call> Take(Place const& sonar, authority::ShoreReply const& reply, Seconds now);
    /// What has waited too long.
    std::vector<Call> TakeOver(Seconds now);
    /// All that waits, as this program ends.
    std::vector<Call> TakeAll();

    std::size_t Count() const { return m_pending.size(); }
    /// Whether something waits for a stamp.
    bool Waits() const;

private:
    struct Asked
    {
        Place sonar;
        CAttributeMap request; ///< of a request
        RequestDone done;      ///< empty of a lease
        LeaseAsk ask;
        LeaseDone leaseDone;
        std::optional<authority::RequestStamp> stamp;
        std::string payload; ///< once it has a stamp
        Seconds end = 0.0;   ///< of the limit
        Seconds over = 0.0;  ///< of waiting
        std::optional<Seconds> sent;
        bool waitsForHolder = false;
    };

    static Asked Beginning(Place const& sonar, Seconds limit, Seconds now);
    std::optional<Call> Add(Asked asked);
    static Call NoAnswer(Asked const& asked, std::string const& reason);

    std::uint64_t const m_sender;
    std::list<Asked> m_pending;
};

} // namespace qx5::fleet
