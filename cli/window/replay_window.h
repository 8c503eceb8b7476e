// `qx5 replay` in the operator's window.
#pragma once

#include "cli/commands.h"
#include "cli/window/operator_window.h"
#include "cli/window/replay_control.h"
#include "cli/window/time_line.h"
#include "cli/window/window_session.h"
#include "reference_host/common/clock.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx5::cli {

struct ReplaySetup
{
    std::filesystem::path file;
    std::vector<std::filesystem::path> plugIns;
    std::size_t toldPlugIns = 0; ///< see WindowSession::LoadPlugins
    int lightMode = 4;
    std::function<double()> steadyClock; ///< seconds; by it the replay goes on
};

/// The operator's window with the sonars of a recording, and the time line under it. What would reach a sonar, or
/// change the list of them, is refused or not there. Window thread.
class ReplayWindow
{
public:
    /// Nothing is shown until the control has moved to a moment. Throws std::runtime_error with one line.
    explicit ReplayWindow(ReplaySetup setup);
    ReplayWindow(ReplayWindow const&) = delete;
    ReplayWindow& operator=(ReplayWindow const&) = delete;
    ~ReplayWindow();

    vordal::MainWindow& Main() { return m_window->Main(); }
    OperatorWindow& Whole() { return *m_window; }
    WindowSession& Session() { return m_session; }
    ReplayControl& Control() { return *m_control; }
    /// The moment that is shown by the host's clock, seconds since 1970 UTC. Any thread.
    double Now() const { return m_clock.Now(); }

private:
    void Clear();

    vordal::FixedClock m_clock{0.0};
    std::shared_ptr<vordal::WindowFeed> const m_feed = std::make_shared<vordal::WindowFeed>();
    WindowSession m_session;
    std::optional<OperatorWindow> m_window;
    std::optional<ReplayControl> m_control;
    std::optional<TimeLine> m_timeLine;
};

} // namespace qx5::cli
