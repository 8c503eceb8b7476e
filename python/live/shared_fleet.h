// One connection to a fleet's broker that all sonars of a vessel share, and who of this process works with which.
#pragma once

#include "fleet/fleet.h"
#include "fleet/lease_keeper.h"
#include "python/live/any_sonar.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <vector>

namespace qx5::live {

/// What is told of a sonar far away to one who works with it. Any thread.
class FarNews final : public SonarNews
{
public:
    FarNews(fleet::Place place, std::shared_ptr<fleet::LeaseKeeper> lease)
        : m_place(std::move(place)), m_lease(std::move(lease))
    {
    }

    fleet::Place const& Place() const { return m_place; }
    /// That of all who work with the sonar.
    fleet::LeaseKeeper& Lease() const { return *m_lease; }

    /// False when it has ended.
    bool Follow(std::shared_ptr<EchoFeed> const& feed);
    void Leave(EchoFeed const* feed);
    bool WantsDetections() const;
    /// What waits for its result.
    void Await(std::shared_ptr<LiveRequest> const& request);
    void StandsNow(std::shared_ptr<LiveRequest> const& request, RequestState told);

    // For the fleet.
    void TakePing(authority::DetectionsMessage const& message);
    /// The sonar was closed here.
    void TakeEnd();

private:
    fleet::Place const m_place;
    std::shared_ptr<fleet::LeaseKeeper> const m_lease;
    mutable std::mutex m_mutex; ///< guards what follows
    bool m_hasEnded = false;
    std::vector<std::shared_ptr<EchoFeed>> m_echoes;
    std::set<std::shared_ptr<LiveRequest>> m_requests;
};

/// Any thread, but none of the fleet's own.
class SharedFleet
{
public:
    /// The one that is there with the same line, group and vessel, or a new one, which begins to connect. Who lets go
    /// of it last ends it. Throws std::invalid_argument, one line, when a name cannot be one.
    static std::shared_ptr<SharedFleet> Take(fleet::FleetOptions const& options);

    explicit SharedFleet(fleet::FleetOptions options);
    SharedFleet(SharedFleet const&) = delete;
    SharedFleet& operator=(SharedFleet const&) = delete;
    ~SharedFleet();

    fleet::Fleet& Get() { return *m_fleet; }
    /// Until something has changed of the vessel or the line, and not longer than the limit.
    void WaitForNews(std::chrono::milliseconds limit);

    /// Somebody works with the sonar from here on.
    std::shared_ptr<FarNews> Add(fleet::Place const& place);
    /// He does no more: what waits is told so; where he was the last, a lease that was taken is given back.
    void Remove(std::shared_ptr<FarNews> const& sonar);
    /// Whether detections are wanted has changed.
    void Look(fleet::Place const& place);
    /// What follows it looks at it.
    void See(FarNews& sonar);

private:
    std::vector<std::shared_ptr<FarNews>> SonarsAt(fleet::Place const& place) const;
    /// Nothing where nobody works with it.
    std::optional<bool> WantsDetections(fleet::Place const& place) const;
    fleet::FleetHooks Hooks();
    std::shared_ptr<fleet::LeaseKeeper> MakeKeeper(fleet::Place const& place);
    void OnChanged(fleet::Place const& place);
    void OnLine();
    void Ring();

    mutable std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    std::uint64_t m_news = 0;
    std::vector<std::shared_ptr<FarNews>> m_sonars;
    std::map<fleet::Place, std::shared_ptr<fleet::LeaseKeeper>> m_keepers;

    std::unique_ptr<fleet::Fleet> m_fleet; // the last: its hooks use all the others
};

} // namespace qx5::live
