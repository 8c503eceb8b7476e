// What comes from a broker, handed to those who work with its sonars.
#include "python/live/shared_fleet.h"

#include "fleet/detection_block.h"
#include "operation/steady_seconds.h"
#include "reference_host/common/log.h"

#include <algorithm>
#include <iterator>
#include <tuple>
#include <utility>

namespace qx5::live {

namespace {

double UtcNow()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// By what connections are told apart.
using Key = std::tuple<std::string, std::string, std::string, std::string, std::string, std::string, std::string>;

Key KeyOf(fleet::FleetOptions const& options)
{
    auto const& files = options.line.files;
    return {options.line.address.Text(), options.group,     options.vessel, options.person, files.authority.native(),
            files.certificate.native(),  files.key.native()};
}

struct Known
{
    std::mutex mutex; ///< guards what follows
    std::map<Key, std::weak_ptr<SharedFleet>> fleets;
};

Known& TheKnown()
{
    static Known known;
    return known;
}

} // namespace

bool FarNews::Follow(std::shared_ptr<EchoFeed> const& feed)
{
    std::lock_guard const lock(m_mutex);
    if (m_hasEnded) {
        return false;
    }
    m_echoes.push_back(feed);
    return true;
}

void FarNews::Leave(EchoFeed const* feed)
{
    std::lock_guard const lock(m_mutex);
    std::erase_if(m_echoes, [&](auto const& each) { return each.get() == feed; });
}

bool FarNews::WantsDetections() const
{
    std::lock_guard const lock(m_mutex);
    return !m_echoes.empty();
}

void FarNews::Await(std::shared_ptr<LiveRequest> const& request)
{
    std::lock_guard const lock(m_mutex);
    m_requests.insert(request);
}

void FarNews::StandsNow(std::shared_ptr<LiveRequest> const& request, RequestState told)
{
    {
        std::lock_guard const lock(m_mutex);
        m_requests.erase(request);
    }
    request->Stands(std::move(told));
}

void FarNews::TakePing(authority::DetectionsMessage const& message)
{
    std::vector<std::shared_ptr<EchoFeed>> echoes;
    {
        std::lock_guard const lock(m_mutex);
        echoes = m_echoes;
    }
    if (echoes.empty()) {
        return;
    }
    CDataBlock const block = fleet::BlockOf(message);
    for (auto const& feed : echoes) {
        feed->Put(block);
    }
}

void FarNews::TakeEnd()
{
    std::vector<std::shared_ptr<EchoFeed>> echoes;
    std::set<std::shared_ptr<LiveRequest>> requests;
    {
        std::lock_guard const lock(m_mutex);
        m_hasEnded = true;
        echoes = std::exchange(m_echoes, {});
        requests = std::exchange(m_requests, {});
    }
    for (auto const& feed : echoes) {
        feed->End();
    }
    for (auto const& request : requests) {
        request->Stands(operation::Result::Unanswered, "the sonar was closed; whether it was done is not known", {},
                        true);
    }
    End();
}

std::shared_ptr<SharedFleet> SharedFleet::Take(fleet::FleetOptions const& options)
{
    Known& known = TheKnown();
    std::lock_guard const lock(known.mutex);
    std::erase_if(known.fleets, [](auto const& each) { return each.second.expired(); });
    auto& found = known.fleets[KeyOf(options)];
    auto fleet = found.lock();
    if (fleet == nullptr) {
        fleet = std::make_shared<SharedFleet>(options);
        found = fleet;
    }
    return fleet;
}

SharedFleet::SharedFleet(fleet::FleetOptions options)
    : m_fleet(std::make_unique<fleet::Fleet>(std::move(options), Hooks()))
{
    m_fleet->Start();
}

SharedFleet::~SharedFleet()
{
    m_fleet->End();
}

fleet::FleetHooks SharedFleet::Hooks()
{
    fleet::FleetHooks hooks;
    hooks.line = [this](broker::LineStatus const&) { OnLine(); };
    hooks.changed = [this](fleet::Place const& place) { OnChanged(place); };
    hooks.persons = [this] { OnLine(); };
    hooks.detections = [this](fleet::Place const& place, authority::DetectionsMessage const& message) {
        for (auto const& sonar : SonarsAt(place)) {
            sonar->TakePing(message);
        }
    };
    hooks.tell = [](std::string const& line) { vordal::Log(vordal::LogLevel::Warning, line); };
    return hooks;
}

std::vector<std::shared_ptr<FarNews>> SharedFleet::SonarsAt(fleet::Place const& place) const
{
    std::vector<std::shared_ptr<FarNews>> sonars;
    std::lock_guard const lock(m_mutex);
    std::copy_if(m_sonars.begin(), m_sonars.end(), std::back_inserter(sonars), [&](auto const& sonar) {
        return sonar->Place().vessel == place.vessel && (place.sonar.empty() || sonar->Place() == place);
    });
    return sonars;
}

void SharedFleet::Ring()
{
    {
        std::lock_guard const lock(m_mutex);
        ++m_news;
    }
    m_changed.notify_all();
}

void SharedFleet::WaitForNews(std::chrono::milliseconds limit)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait_for(lock, limit, [&, seen = m_news] { return m_news != seen; });
}

void SharedFleet::OnChanged(fleet::Place const& place)
{
    for (auto const& sonar : SonarsAt(place)) {
        sonar->Lease().See();
        See(*sonar);
    }
    Ring();
}

void SharedFleet::See(FarNews& sonar)
{
    sonar.TakeChange(
        [this, &sonar] {
            auto const state = m_fleet->Sonar(sonar.Place());
            return state ? state->tree : CAttributeMap();
        },
        UtcNow());
}

void SharedFleet::OnLine()
{
    std::vector<std::shared_ptr<FarNews>> sonars;
    {
        std::lock_guard const lock(m_mutex);
        sonars = m_sonars;
    }
    for (auto const& sonar : sonars) {
        sonar->TakeNews();
    }
    Ring();
}

std::shared_ptr<fleet::LeaseKeeper> SharedFleet::MakeKeeper(fleet::Place const& place)
{
    fleet::LeaseLine line;
    line.ask = [this, place](fleet::LeaseAsk const& ask, double limit, fleet::LeaseDone done) {
        m_fleet->AskLease(place, ask, limit, std::move(done));
    };
    line.news = [this, place]() -> std::optional<authority::LeaseNews> {
        auto const state = m_fleet->Sonar(place);
        return state && state->freshness == fleet::Freshness::Current ? std::optional(state->lease) : std::nullopt;
    };
    line.now = operation::SteadySeconds;
    line.person = m_fleet->Person();
    return std::make_shared<fleet::LeaseKeeper>(std::move(line));
}

std::shared_ptr<FarNews> SharedFleet::Add(fleet::Place const& place)
{
    std::shared_ptr<FarNews> sonar;
    {
        std::lock_guard const lock(m_mutex);
        auto& keeper = m_keepers[place];
        if (keeper == nullptr) {
            keeper = MakeKeeper(place);
        }
        sonar = std::make_shared<FarNews>(place, keeper);
        m_sonars.push_back(sonar);
    }
    Look(place);
    return sonar;
}

void SharedFleet::Remove(std::shared_ptr<FarNews> const& sonar)
{
    bool isLast = false;
    {
        std::lock_guard const lock(m_mutex);
        std::erase(m_sonars, sonar);
        isLast = std::none_of(m_sonars.begin(), m_sonars.end(),
                              [&](auto const& each) { return each->Place() == sonar->Place(); });
        if (isLast) {
            m_keepers.erase(sonar->Place());
        }
    }
    if (isLast) {
        sonar->Lease().Close();
    }
    sonar->TakeEnd();
    Look(sonar->Place());
}

std::optional<bool> SharedFleet::WantsDetections(fleet::Place const& place) const
{
    auto const sonars = SonarsAt(place);
    if (sonars.empty()) {
        return std::nullopt;
    }
    return std::any_of(sonars.begin(), sonars.end(), [](auto const& each) { return each->WantsDetections(); });
}

void SharedFleet::Look(fleet::Place const& place)
{
    // What another thread changes meanwhile is told by whoever is the last to have told.
    std::optional<bool> told;
    do {
        told = WantsDetections(place);
        if (told) {
            m_fleet->Look(place, *told);
        } else {
            m_fleet->EndLook(place);
        }
    } while (told != WantsDetections(place));
}

} // namespace qx5::live
