// A fleet as one command uses it.
#include "cli/fleet_use.h"

#include "broker/certificate_name.h"
#include "broker/line_diagnosis.h"
#include "cli/platform/waiting.h"
#include "outbox/entry.h"
#include "shell/shell_client.h"
#include "sparkplug/topic.h"

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Each vessel is heard once a second.
constexpr auto toHearAll = 2500ms;
/// After a vessel's birth those of its sonars come, each within so long, and all within so long.
constexpr auto betweenSonars = 300ms;
constexpr auto toTellAll = 2000ms;
/// What time alone brings is looked at so often.
constexpr auto lookInterval = 100ms;

/// What the system calls who runs this.
std::string UserName()
{
    for (char const* const name : {"USER", "LOGNAME"}) {
        if (char const* const value = std::getenv(name); value != nullptr && *value != '\0') {
            return value;
        }
    }
    return "somebody";
}

} // namespace

std::optional<fleet::FleetOptions> FleetOptionsOf(FleetLine const& line, std::string& error)
{
    fleet::FleetOptions options;
    auto const address = broker::ParseBrokerUrl(line.broker, error);
    if (!address) {
        error = "--broker: " + error;
        return std::nullopt;
    }
    options.line.address = *address;
    options.line.files = {line.authority, line.certificate, line.key};
    options.group = line.group;
    if (address->isSecure) {
        if (line.certificate.empty()) {
            error = "--cert: a broker by TLS goes by the certificate of whoever comes; tell it, and its key with --key";
            return std::nullopt;
        }
        error = broker::WhatIsWrongWith(options.line.files);
        if (!error.empty()) {
            return std::nullopt;
        }
        options.person = broker::CommonNameOf(options.line.files, error);
    } else {
        options.person = line.person.empty() ? UserName() : line.person;
    }
    if (error.empty()) {
        error = sparkplug::WhyNoName("group", options.group);
    }
    if (error.empty()) {
        error = sparkplug::WhyNoName("person", options.person);
    }
    return error.empty() ? std::optional(options) : std::nullopt;
}

fleet::Place PlaceIn(std::string const& text)
{
    std::string error;
    auto const place = fleet::ReadPlace(text, error);
    return place ? *place : throw shell::ShellError(error);
}

FleetUse::FleetUse(FleetLine const& line, fleet::Place const& place, FleetNeeds const& needs)
{
    std::string error;
    auto options = FleetOptionsOf(line, error);
    if (!options) {
        throw shell::ShellError(error);
    }
    options->vessel = place.vessel;
    options->wantsHistory = needs.history;
    options->archive = needs.archive;
    options->isRoll = needs.roll;
    m_isRoll = needs.roll;
    try {
        m_fleet = std::make_unique<fleet::Fleet>(*std::move(options), Hooks());
    } catch (outbox::OutboxError const& problem) {
        throw shell::ShellError(problem.what());
    }
    m_fleet->Start();
}

FleetUse::~FleetUse()
{
    m_fleet.reset();
}

fleet::FleetHooks FleetUse::Hooks()
{
    fleet::FleetHooks hooks;
    hooks.line = [this](auto const&) { Raise(); };
    hooks.changed = [this](auto const&) { Raise(); };
    hooks.persons = [this] { Raise(); };
    hooks.history = [this](std::vector<outbox::Received> const& items) {
        {
            std::lock_guard const lock(m_mutex);
            m_history.insert(m_history.end(), items.begin(), items.end());
        }
        Raise();
    };
    return hooks;
}

std::vector<outbox::Received> FleetUse::TakeHistory()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_history, {});
}

bool FleetUse::Await(std::function<bool()> const& condition, std::chrono::milliseconds limit)
{
    auto const deadline = Clock::now() + limit;
    for (;;) {
        Clear();
        if (condition()) {
            return true;
        }
        auto const left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        WaitForAny(Handle(), -1, std::min<std::chrono::milliseconds>(left, lookInterval));
    }
}

void FleetUse::RefuseLine() const
{
    if (auto const line = m_fleet->Line(); line.state == broker::LineState::Waiting) {
        throw shell::ShellError(line.reason);
    }
}

fleet::Place FleetUse::AwaitSonar(fleet::Place const& place, std::chrono::milliseconds limit)
{
    std::vector<fleet::Place> found;
    std::optional<Clock::time_point> vesselThere;
    auto const isKnown = [&] {
        RefuseLine();
        auto const vessel = m_fleet->Vessel(place.vessel);
        if (!vessel || vessel->freshness != fleet::Freshness::Current) {
            return false;
        }
        vesselThere = vesselThere.value_or(Clock::now());
        auto const since = Clock::now() - *vesselThere;
        found.clear();
        for (fleet::Place const& sonar : m_fleet->Sonars()) {
            auto const state = m_fleet->Sonar(sonar);
            if (sonar.vessel == place.vessel && (place.sonar.empty() || sonar == place) &&
                state->freshness == fleet::Freshness::Current) {
                found.push_back(sonar);
            }
        }
        // Its sonars follow it, one after another.
        return place.sonar.empty() ? !found.empty() && since >= betweenSonars : !found.empty() || since >= toTellAll;
    };
    if (!Await(isKnown, limit) || found.size() != 1) {
        throw shell::ShellError(WhyNot(place));
    }
    return found.front();
}

std::string FleetUse::WhyNot(fleet::Place const& place) const
{
    if (m_fleet->Line().state != broker::LineState::Connected) {
        return "there is no connection to the broker yet";
    }
    auto const vessel = m_fleet->Vessel(place.vessel);
    if (!vessel || vessel->freshness == fleet::Freshness::Unknown) {
        return fmt::format("nothing is heard of a vessel {}", place.vessel);
    }
    if (vessel->freshness != fleet::Freshness::Current) {
        return vessel->reason;
    }
    auto const state = place.sonar.empty() ? std::nullopt : m_fleet->Sonar(place);
    if (state) {
        return state->reason;
    }
    if (vessel->sonars.empty()) {
        return fmt::format("{} has no sonars", place.vessel);
    }
    return place.sonar.empty() ? fmt::format("{} has several sonars: say {}/{}", place.vessel, place.vessel,
                                             fmt::join(vessel->sonars, fmt::format(" or {}/", place.vessel)))
                               : fmt::format("there is no sonar {} aboard {}, which has {}", place.sonar, place.vessel,
                                             fmt::join(vessel->sonars, ", "));
}

void FleetUse::AwaitAll(std::chrono::milliseconds limit)
{
    auto const deadline = Clock::now() + limit;
    auto const isConnected = [&] {
        RefuseLine();
        return m_fleet->Line().state == broker::LineState::Connected;
    };
    if (!Await(isConnected, limit)) {
        throw shell::ShellError(WhyNot({}));
    }
    auto const left = [&] { return std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()); };
    Await([] { return false; }, std::min<std::chrono::milliseconds>(toHearAll, left()));
    // Those that have been heard of tell what they have a moment later; programs of others say nothing of who commands.
    if (m_isRoll) {
        Await([&] { return m_fleet->IsRollWhole(); }, std::min<std::chrono::milliseconds>(toTellAll, left()));
        return;
    }
    Await(
        [&] {
            auto const vessels = m_fleet->Vessels();
            return std::none_of(vessels.begin(), vessels.end(), [](fleet::VesselState const& vessel) {
                return vessel.freshness == fleet::Freshness::Unknown;
            });
        },
        left());
}

} // namespace qx5::cli
