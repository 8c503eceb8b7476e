// The bar under the window that always says how far away the shown sonar is, how old what is seen, and who commands it.
#pragma once

#include "cli/window/command_bar.h"
#include "fleet/fleet.h"

#include <VordalBaseR/CDataId.h>

#include <QString>
#include <QTimer>

#include <functional>
#include <optional>
#include <string>

namespace qx5::cli {

class WindowSession;

/// "Vega/Bow    current, 0.3 s old    round trip 820 ms    detections 4.8/s, 0.2 s old    clock +0.1 s"
QString FleetText(fleet::SonarState const& sonar, std::optional<fleet::LookState> const& look,
                  std::optional<fleet::PingsState> const& pings, std::optional<double> clockAhead, QString const& line);
/// A bar at the bottom of the window and a menu with the same. Looks some five times a second, and tells the vessel
/// that somebody looks at the shown sonar. Window thread; session, fleet and window outlive it.
class FleetBar
{
public:
    using PlaceOf = std::function<std::optional<fleet::Place>(CDataId const& device)>;
    FleetBar(WindowSession& session, fleet::Fleet& fleet, vordal::MainWindow& window, PlaceOf placeOf);
    FleetBar(FleetBar const&) = delete;
    FleetBar& operator=(FleetBar const&) = delete;

    /// Shows how it stands. Its timer calls it.
    void Look();

private:
    void Ask(authority::LeaseVerb verb);

    WindowSession& m_session;
    fleet::Fleet& m_fleet;
    vordal::MainWindow& m_window;
    PlaceOf const m_placeOf;
    std::optional<fleet::Place> m_lookedAt;
    CommandBar m_bar;
    QTimer m_timer;
};

} // namespace qx5::cli
