// A sonar of a fleet, asked and followed.
#include "python/live/fleet_sonar.h"

#include <utility>

#include <fmt/format.h>

namespace qx5::live {

namespace {

using operation::Result;

SonarConnection ConnectionBy(fleet::Fleet const& fleet, fleet::Place const& place)
{
    using broker::LineState;
    auto const line = fleet.Line();
    if (line.state == LineState::Connecting) {
        return {"connecting", "to the broker"};
    }
    if (line.state != LineState::Connected) {
        return {line.state == LineState::Waiting ? "waiting" : "closed", line.reason};
    }
    auto const sonar = fleet.Sonar(place);
    auto const why = sonar ? fleet::WhyNotLive(*sonar) : std::string("nothing is heard of it");
    return why.empty() ? SonarConnection{"connected", {}} : SonarConnection{"lost", why};
}

SonarConnection const closedConnection{"closed", "it was closed"};
char const* const closedReason = "the sonar was closed";

/// Answers come while the fleet lives, and perhaps when who asked has gone.
void AskFleet(fleet::Fleet& fleet, std::shared_ptr<FarNews> const& news, std::shared_ptr<LiveRequest> const& followed,
              CAttributeMap const& request, double limit, bool isFirst)
{
    news->Lease().Need(limit);
    fleet.Request(news->Place(), request, limit, [=, &fleet](authority::RequestReply const& reply) {
        RequestState told;
        told.result = fleet::ResultOf(reply);
        told.isCarriedOut = true;
        told.reason = reply.reason;
        told.echoed = reply.echoed;
        told.got = reply.has;
        if (told.result == Result::Refused) {
            told.holder = authority::HolderInRefusal(reply.reason, news->Place().sonar);
        }
        if (told.holder) {
            news->Lease().Lost();
            if (told.holder->empty() && isFirst) {
                // It was given back, or ended, between what was told of it and now.
                AskFleet(fleet, news, followed, request, limit, false);
                return;
            }
        }
        if (told.result == Result::NotSent || told.result == Result::Unanswered) {
            auto const connection = ConnectionBy(fleet, news->Place());
            told.isConnectionLost = !connection.Stands();
            told.reason += told.isConnectionLost
                               ? fmt::format("; the connection is {}: {}", connection.state, connection.reason)
                               : std::string();
        }
        news->StandsNow(followed, std::move(told));
    });
}

} // namespace

FleetSonar::FleetSonar(std::shared_ptr<SharedFleet> fleet, fleet::Place const& place, double limit)
    : m_limit(limit), m_person(fleet->Get().Person()), m_shared(std::move(fleet)), m_news(m_shared->Add(place))
{
}

FleetSonar::~FleetSonar()
{
    Close();
}

std::shared_ptr<SharedFleet> FleetSonar::Shared() const
{
    std::lock_guard const lock(m_mutex);
    return m_shared;
}

void FleetSonar::Close()
{
    CAttributeMap const last = Attributes();
    std::shared_ptr<SharedFleet> shared;
    {
        std::lock_guard const lock(m_mutex);
        shared = std::exchange(m_shared, nullptr);
        if (shared != nullptr) {
            m_last = last;
        }
    }
    if (shared != nullptr) {
        shared->Remove(m_news);
    }
}

SonarConnection FleetSonar::Connection() const
{
    auto const shared = Shared();
    return shared != nullptr ? ConnectionBy(shared->Get(), Place()) : closedConnection;
}

operation::SonarCondition FleetSonar::Condition() const
{
    using operation::SonarCondition;
    auto const shared = Shared();
    if (shared == nullptr) {
        return SonarCondition::NotConnected;
    }
    if (ConnectionBy(shared->Get(), Place()).Stands()) {
        return SonarCondition::Well;
    }
    auto const state = shared->Get().Sonar(Place());
    bool const isSilent =
        state && state->freshness == fleet::Freshness::Current && state->link == authority::SonarLink::NoAnswer;
    return isSilent ? SonarCondition::Silent : SonarCondition::NotConnected;
}

CAttributeMap FleetSonar::Attributes() const
{
    std::shared_ptr<SharedFleet> shared;
    {
        std::lock_guard const lock(m_mutex);
        if (m_shared == nullptr) {
            return m_last;
        }
        shared = m_shared;
    }
    auto const state = shared->Get().Sonar(Place());
    return state ? state->tree : CAttributeMap();
}

std::shared_ptr<LiveRequest> FleetSonar::Request(CAttributeMap const& request)
{
    auto followed = std::make_shared<LiveRequest>(request);
    if (auto const shared = Shared()) {
        m_news->Await(followed);
        AskFleet(shared->Get(), m_news, followed, request, m_limit, true);
    } else {
        followed->Stands(Result::NotSent, closedReason, {}, true);
    }
    return followed;
}

std::shared_ptr<ChangeFeed> FleetSonar::Follow(std::vector<std::wstring> keys, std::function<void()> ready)
{
    auto const shared = Shared();
    if (shared == nullptr) {
        auto feed = std::make_shared<ChangeFeed>(std::move(keys), CAttributeMap(), std::move(ready));
        feed->End();
        return feed;
    }
    auto feed = std::make_shared<ChangeFeed>(std::move(keys), Attributes(), std::move(ready));
    m_news->Add(feed);
    // What changed before it was added is seen now, and otherwise nothing.
    shared->See(*m_news);
    return feed;
}

std::shared_ptr<EchoFeed> FleetSonar::FollowEchoes(SonarEchoGroup group)
{
    auto const shared = Shared();
    if (shared == nullptr || group != SONAR_DETECTIONS_GROUP) {
        return nullptr;
    }
    auto feed = std::make_shared<EchoFeed>();
    if (!m_news->Follow(feed)) {
        return nullptr;
    }
    shared->Look(Place());
    return feed;
}

void FleetSonar::Leave(std::shared_ptr<EchoFeed> const& feed)
{
    m_news->Leave(feed.get());
    feed->End();
    if (auto const shared = Shared()) {
        shared->Look(Place());
    }
}

FarState FleetSonar::Far() const
{
    FarState far;
    auto const shared = Shared();
    if (shared == nullptr) {
        far.freshness = fleet::Freshness::Gone;
        return far;
    }
    auto& fleet = shared->Get();
    if (auto const state = fleet.Sonar(Place())) {
        far.freshness = state->freshness;
        far.age = state->age;
    }
    if (auto const look = fleet.LookOf(Place())) {
        far.roundTrip = look->roundTrip;
    }
    if (auto const vessel = fleet.Vessel(Place().vessel)) {
        far.clockAhead = vessel->clockAhead;
    }
    return far;
}

authority::LeaseNews FleetSonar::Lease() const
{
    auto const shared = Shared();
    auto const state = shared != nullptr ? shared->Get().Sonar(Place()) : std::nullopt;
    return state ? state->lease : authority::LeaseNews();
}

std::vector<std::string> FleetSonar::Persons() const
{
    auto const shared = Shared();
    return shared != nullptr ? shared->Get().Persons() : std::vector<std::string>();
}

template <typename Asking>
std::shared_ptr<LiveRequest> FleetSonar::AskForLease(Asking const& asking)
{
    auto followed = std::make_shared<LiveRequest>(CAttributeMap());
    m_news->Await(followed);
    fleet::LeaseKeeper::Done const done = [news = m_news, followed](fleet::LeaseOutcome const& outcome) {
        RequestState told;
        told.result = outcome.isGranted ? Result::Agrees : outcome.isAnswered ? Result::Refused : Result::Unanswered;
        told.reason = outcome.reason;
        told.isConnectionLost = told.result == Result::Unanswered;
        news->StandsNow(followed, std::move(told));
    };
    if (auto const shared = Shared()) {
        asking(shared->Get(), done);
    } else {
        done({false, false, closedReason});
    }
    return followed;
}

std::shared_ptr<LiveRequest> FleetSonar::HoldLease(double seconds)
{
    return AskForLease([&](fleet::Fleet&, auto const& done) { m_news->Lease().Hold(seconds, done); });
}

std::shared_ptr<LiveRequest> FleetSonar::ReleaseLease()
{
    return AskForLease([&](fleet::Fleet&, auto const& done) { m_news->Lease().Release(done); });
}

std::shared_ptr<LiveRequest> FleetSonar::AnswerAsker(bool isGranted)
{
    return AskForLease([&](fleet::Fleet& fleet, auto const& done) {
        auto const asker = Lease().asker;
        if (asker.empty()) {
            done({false, true, fmt::format("nobody asks for the lease of {}", TextOf(Place()))});
            return;
        }
        auto const verb = isGranted ? authority::LeaseVerb::Grant : authority::LeaseVerb::Refuse;
        fleet.AskLease(Place(), {verb, 0.0, asker}, fleet::LeaseKeeper::AskLimit,
                       [done](authority::LeaseReply const& reply) { done(fleet::OutcomeOf(reply)); });
    });
}

bool FleetSonar::IsLeaseOurs() const
{
    return m_news->Lease().IsOurs();
}

} // namespace qx5::live
