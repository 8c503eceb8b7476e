// A fleet as one command uses it.
#include "cli/fleet_use.h"

#include "cli/platform/waiting.h"
#include "fleet/sonar_search.h"
#include "outbox/entry.h"
#include "shell/shell_client.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Each vessel is heard once a second.
constexpr auto toHearAll = 2500ms;
/// Those that were heard tell who commands them within so long.
constexpr auto toTellAll = 2000ms;
/// What time alone brings is looked at so often.
constexpr auto lookInterval = 100ms;

} // namespace

std::optional<fleet::FleetOptions> FleetOptionsOf(fleet::FleetLine const& line, std::string& error)
{
    fleet::LineProblem problem;
    auto options = fleet::OptionsOf(line, problem);
    if (!options) {
        using Part = fleet::LineProblem::Part;
        error = (problem.part == Part::Broker        ? "--broker: "
                 : problem.part == Part::Certificate ? "--cert: "
                                                     : "") +
                problem.text;
    }
    return options;
}

fleet::Place PlaceIn(std::string const& text)
{
    std::string error;
    auto const place = fleet::ReadPlace(text, error);
    return place ? *place : throw shell::ShellError(error);
}

FleetUse::FleetUse(fleet::FleetLine const& line, fleet::Place const& place, FleetNeeds const& needs)
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
    using State = fleet::SonarSearch::State;
    fleet::SonarSearch search(*m_fleet, place);
    auto state = State::Goes;
    Await(
        [&] {
            RefuseLine();
            state = search.Look();
            return state != State::Goes;
        },
        limit);
    if (state != State::Found) {
        throw shell::ShellError(search.WhyNot());
    }
    return search.Found();
}

void FleetUse::AwaitAll(std::chrono::milliseconds limit)
{
    auto const deadline = Clock::now() + limit;
    auto const isConnected = [&] {
        RefuseLine();
        return m_fleet->Line().state == broker::LineState::Connected;
    };
    if (!Await(isConnected, limit)) {
        throw shell::ShellError(fleet::SonarSearch(*m_fleet, {}).WhyNot());
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
