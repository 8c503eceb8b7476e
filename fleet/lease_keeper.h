// The lease of a sonar for those of one program who command it: taken, kept for as long as somebody needs it, given
// back.
#pragma once

#include "authority/lease.h"
#include "authority/shore_messages.h"
#include "fleet/fleet_requests.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qx5::fleet {

/// What came of asking for a lease, or of giving it back.
struct LeaseOutcome
{
    bool isGranted = false;
    bool isAnswered = false; ///< by the vessel; not: it said nothing in time
    std::string reason;      ///< why not, in one line
};
/// Of a final reply.
LeaseOutcome OutcomeOf(authority::LeaseReply const& reply);

/// How the lease of one sonar is asked for, and heard of.
struct LeaseLine
{
    /// See Fleet::AskLease. Required, as are the others.
    std::function<void(LeaseAsk const& ask, double limit, LeaseDone done)> ask;
    /// How the lease stands as far as it was told here; nothing while that is not current.
    std::function<std::optional<authority::LeaseNews>()> news;
    /// s of a steady clock
    std::function<double()> now;
    std::string person; ///< who we are
};

/// Two ways to have the lease: Hold asks for it, and for as long as anybody holds it, it is asked for again in time;
/// Need takes one that nobody has along with a request. One that we had otherwise, by another program of the same
/// person, is used and left as it is.
///
/// Any thread; hooks of a fleet may call it. What is called is called with nothing locked, on a thread of the fleet or
/// before the call returns. It is kept alive by what it waits for.
class LeaseKeeper : public std::enable_shared_from_this<LeaseKeeper>
{
public:
    /// s for which a lease is taken along with a request, beyond the request's own limit; as requests from aboard do.
    static constexpr double AlongSeconds = 30.0;
    /// s within which the vessel answers, unless a holder is to be asked.
    static constexpr double AskLimit = 10.0;
    /// s that a lease lasts at least when it is asked for again; half of its time where that is more.
    static constexpr double RenewMargin = 3.0;
    /// s by which what is told of leases may come later than answers.
    static constexpr double NewsDelay = 2.0;

    using Done = std::function<void(LeaseOutcome const&)>;

    explicit LeaseKeeper(LeaseLine line) : m_line(std::move(line)) {}
    LeaseKeeper(LeaseKeeper const&) = delete;
    LeaseKeeper& operator=(LeaseKeeper const&) = delete;

    /// Asks for it, whoever has it; a holder may take his time. `done` is called once, when it is granted and told as
    /// ours, or refused. Granted, it is kept until Release.
    void Hold(double seconds, Done done);
    /// Of one that is held, once for each Hold that was granted: the last gives it back. Of one that is still asked
    /// for: it is not asked for any more. `done` is called once, when it is told as not ours.
    void Release(Done done);
    /// Before a request that may take so long: takes a lease that nobody has. It does not wait for the answer; what is
    /// sent afterwards arrives afterwards.
    void Need(double limit);
    /// A request was refused for want of the lease: it is not ours, whatever was told.
    void Lost();
    /// Something has changed of the sonar, its lease perhaps. To be called once a second at least, which is how often
    /// leases are told.
    void See();
    /// Gives back what was taken here, without waiting for it; nothing is asked for any more.
    void Close();

    /// Whether it is ours because it was asked for here.
    bool IsOurs() const;

private:
    /// What is to be done once nothing is locked any more.
    struct Effects
    {
        std::vector<std::function<void()>> calls;
        std::vector<LeaseAsk> asks;
        std::uint64_t turn = 0; ///< in which they are asked
    };
    /// Waits until what was answered is told, too.
    struct Settling
    {
        Done done;
        LeaseOutcome outcome;
        bool isOurs = false; ///< as it is to be told
        double since = 0.0;
    };

    void Perform(Effects effects);
    void Ask(LeaseAsk const& ask, LeaseDone answered);
    void TakeAnswer(LeaseAsk const& ask, std::uint64_t turn, authority::LeaseReply const& reply);
    void TakeHoldAnswer(double seconds, std::uint64_t turn, Done const& done, authority::LeaseReply const& reply);
    // With m_mutex held.
    bool IsAnothers(authority::LeaseNews const& news) const;
    /// As if it were granted, until the answer says otherwise.
    void Take(double seconds, Effects& effects);
    void GiveBack(Effects& effects);
    void NoteLost();

    LeaseLine const m_line;
    mutable std::mutex m_mutex; ///< guards what follows
    bool m_isClosed = false;
    bool m_isRenewing = false;       ///< the vessel is being asked to let it last
    std::uint64_t m_turn = 0;        ///< grows when it is given back or lost: answers from before mean nothing any more
    int m_askers = 0;                ///< who wait for an answer
    std::uint64_t m_withdrawals = 0; ///< grows when those who wait do not any more
    int m_holders = 0;
    double m_heldFor = 0.0; ///< s, of those who hold it
    bool m_isOurs = false;
    double m_until = 0.0;    ///< of one that is ours, by the steady clock, as is what follows
    double m_answered = 0.0; ///< when it was last known to have become ours, or not to be ours any more
    std::vector<Settling> m_settling;
};

} // namespace qx5::fleet
