// One sonar at the other end of a fleet's broker: what its vessel tells of it, requests to it, its lease.
#pragma once

#include "python/live/any_sonar.h"
#include "python/live/shared_fleet.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qx5::live {

/// How old what is known of it is, and how far it is away. Nothing where that is not known.
struct FarState
{
    fleet::Freshness freshness = fleet::Freshness::Unknown;
    std::optional<double> age;        ///< s since what is known was what it had
    std::optional<double> roundTrip;  ///< s that its vessel takes to answer
    std::optional<double> clockAhead; ///< s by which the vessel's clock is ahead of ours
};

/// Close and the destructor not on a thread of the fleet.
class FleetSonar final : public AnySonar
{
public:
    /// `limit`: s after which a request is not to be done any more.
    FleetSonar(std::shared_ptr<SharedFleet> fleet, fleet::Place const& place, double limit);
    ~FleetSonar() override;

    void Close() override;
    SonarNews& News() override { return *m_news; }
    SonarConnection Connection() const override;
    operation::SonarCondition Condition() const override;
    CAttributeMap Attributes() const override;
    /// A lease that nobody has is taken along, see fleet::LeaseKeeper::Need.
    std::shared_ptr<LiveRequest> Request(CAttributeMap const& request) override;
    std::shared_ptr<ChangeFeed> Follow(std::vector<std::wstring> keys, std::function<void()> ready) override;
    /// Of detections alone; null for another group, too.
    std::shared_ptr<EchoFeed> FollowEchoes(SonarEchoGroup group) override;
    void Leave(std::shared_ptr<EchoFeed> const& feed) override;

    fleet::Place const& Place() const { return m_news->Place(); }
    /// Who we are to the vessel.
    std::string const& Person() const { return m_person; }
    FarState Far() const;
    /// Of nobody when nothing is known.
    authority::LeaseNews Lease() const;
    /// Who ashore says that he is here, in order.
    std::vector<std::string> Persons() const;

    // What came of it is told as of a request that agrees when it is granted or done.
    /// See fleet::LeaseKeeper::Hold and Release.
    std::shared_ptr<LiveRequest> HoldLease(double seconds);
    std::shared_ptr<LiveRequest> ReleaseLease();
    /// Grants the lease to who asks for it now, or keeps it.
    std::shared_ptr<LiveRequest> AnswerAsker(bool isGranted);
    /// See fleet::LeaseKeeper::IsOurs.
    bool IsLeaseOurs() const;

private:
    std::shared_ptr<SharedFleet> Shared() const;
    template <typename Asking>
    std::shared_ptr<LiveRequest> AskForLease(Asking const& asking);

    double const m_limit;
    std::string const m_person;
    mutable std::mutex m_mutex;            ///< guards what follows
    std::shared_ptr<SharedFleet> m_shared; ///< null once it is closed
    CAttributeMap m_last;                  ///< of a sonar that is closed
    std::shared_ptr<FarNews> const m_news;
};

} // namespace qx5::live
