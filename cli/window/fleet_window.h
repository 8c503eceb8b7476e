// `qx5 run --broker`: the operator's window with the sonars of a fleet.
#pragma once

#include "cli/commands.h"
#include "cli/window/fleet_bar.h"
#include "cli/window/fleet_host.h"
#include "cli/window/operator_window.h"
#include "cli/window/window_answers.h"
#include "cli/window/window_session.h"
#include "fleet/fleet.h"

#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace qx5::cli {

struct FleetSetup
{
    fleet::FleetOptions fleet;
    std::vector<std::filesystem::path> plugIns;
    std::size_t toldPlugIns = 0; ///< see WindowSession::LoadPlugins
    int lightMode = 4;
    std::chrono::milliseconds firstSonarLimit{15'000}; ///< until one must have been heard of
};

/// Which vessels and sonars have changed, between the threads of a fleet and those that show it. However often one
/// changes, it waits once. Any thread.
class FleetMarks
{
public:
    /// `wake` is called, with nothing locked, when something begins to wait.
    void SetWake(std::function<void()> wake);
    void Put(fleet::Place const& place);
    std::set<fleet::Place> Take();
    /// Waits until something does; false when the limit is over.
    bool Await(std::chrono::steady_clock::time_point until);

private:
    std::mutex m_mutex;
    std::condition_variable m_hasSome;
    std::set<fleet::Place> m_places;
    std::function<void()> m_wake;
};

/// The window on a fleet: each sonar is a device of its vessel, live, with the bar that says how far away it is. What
/// would change the list of sonars is not there; sonars that come later are added to it. Window thread.
class FleetWindow
{
public:
    /// Waits until sonars are heard of. Throws std::runtime_error with one line.
    explicit FleetWindow(FleetSetup setup);
    FleetWindow(FleetWindow const&) = delete;
    FleetWindow& operator=(FleetWindow const&) = delete;
    ~FleetWindow();

    vordal::MainWindow& Main() { return m_window->Main(); }
    OperatorWindow& Whole() { return *m_window; }
    WindowSession& Session() { return m_session; }
    fleet::Fleet& Vessels() { return *m_fleet; }
    FleetBar& Bar() { return *m_bar; }
    /// The device that stands for a sonar.
    std::optional<CDataId> DeviceOf(fleet::Place const& place) const;

private:
    fleet::FleetHooks Hooks();
    std::vector<fleet::Place> AwaitSonars(std::chrono::milliseconds limit);
    vordal::StoredDevice NewDevice(fleet::Place const& place);
    vordal::VesselSetup VesselOf(std::string const& name);
    std::optional<fleet::Place> PlaceOf(CDataId const& device) const;
    /// Window thread: a sonar that was not there before.
    void AddSonar(fleet::Place const& place);
    /// Host thread.
    void Update();

    std::shared_ptr<vordal::WindowFeed> const m_feed = std::make_shared<vordal::WindowFeed>();
    FleetMarks m_marks;
    std::map<std::string, unsigned short> m_vessels; ///< their numbers
    std::map<fleet::Place, CDataId> m_devices;
    WindowSession m_session;
    std::unique_ptr<fleet::Fleet> m_fleet;
    std::unique_ptr<FleetHost> m_host; ///< of the host thread, as is the next
    std::set<fleet::Place> m_shown;    ///< that the window has been asked to add
    std::optional<OperatorWindow> m_window;
    std::optional<FleetBar> m_bar;
    std::optional<WindowAnswers> m_answers;
    std::function<void(WindowAnswers::Answer)> m_toWindow;
};

} // namespace qx5::cli
