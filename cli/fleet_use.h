// A fleet as one command uses it: connected, looked at, waited for.
#pragma once

#include "fleet/fleet.h"
#include "fleet/fleet_line.h"
#include "reference_host/platform/wake_handle.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace qx5::cli {

/// Where the broker is and who we are, of a fleet's options; the rest is as it is by default. Nothing, and one line in
/// `error`, when it cannot be so.
std::optional<fleet::FleetOptions> FleetOptionsOf(fleet::FleetLine const& line, std::string& error);

/// "Vega/Bow" or "Vega". Throws shell::ShellError when it is none.
fleet::Place PlaceIn(std::string const& text);

/// What a command needs beside values.
struct FleetNeeds
{
    bool history = false;
    std::string archive = {}; ///< file that keeps it; empty: none
    bool roll = false;        ///< only who is there, see fleet::Roll
};

/// One thread.
class FleetUse
{
public:
    /// Begins to connect. `place`: of its vessel alone is heard; empty: of all. Throws shell::ShellError, with one
    /// line, when the line is none.
    explicit FleetUse(fleet::FleetLine const& line, fleet::Place const& place = {}, FleetNeeds const& needs = {});
    FleetUse(FleetUse const&) = delete;
    FleetUse& operator=(FleetUse const&) = delete;
    ~FleetUse();

    fleet::Fleet& Get() { return *m_fleet; }
    /// Readable when something may have changed.
    int Handle() const { return m_wake.Handle(); }
    void Clear() { m_wake.Clear(); }
    /// What a handler of an answer calls.
    void Raise() { m_wake.Raise(); }

    /// Waits until the condition holds; false when the limit is over.
    bool Await(std::function<bool()> const& condition, std::chrono::milliseconds limit);
    /// Waits until what the sonar has is known. Of a vessel with one sonar, that. Throws shell::ShellError that says
    /// why it is not.
    fleet::Place AwaitSonar(fleet::Place const& place, std::chrono::milliseconds limit);
    /// Waits for vessels to be heard of. Throws shell::ShellError where there is no connection.
    void AwaitAll(std::chrono::milliseconds limit);
    /// New entries of history since the last call.
    std::vector<outbox::Received> TakeHistory();

private:
    fleet::FleetHooks Hooks();
    /// Throws shell::ShellError where an attempt to connect has failed.
    void RefuseLine() const;

    bool m_isRoll = false;
    vordal::platform::WakeHandle m_wake;
    std::mutex m_mutex; ///< guards what follows
    std::vector<outbox::Received> m_history;
    std::unique_ptr<fleet::Fleet> m_fleet; // the last: its hooks use all the others
};

} // namespace qx5::cli
