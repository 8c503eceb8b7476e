// The operator's window on a session that has begun: all that belongs together, made and ended in the right order.
#pragma once

#include "cli/window/display_pane.h"
#include "cli/window/operator_panes.h"
#include "cli/window/shown_view.h"
#include "cli/window/sonar_menu.h"
#include "cli/window/window_session.h"
#include "reference_host/controls/window_thread.h"
#include "reference_host/window/main_window.h"

#include <QTimer>

#include <memory>

namespace qx5::cli {

/// Main window, panes around the view, the menu of sonars, and the view, which is not open yet; the session is told
/// that time passes. The thread that makes it is the host's window thread until it goes, and it goes before the session
/// ends. Window thread.
class OperatorWindow
{
public:
    OperatorWindow(WindowSession& session, std::shared_ptr<vordal::WindowFeed> const& feed, int lightMode,
                   CDataId const& first);
    OperatorWindow(OperatorWindow const&) = delete;
    OperatorWindow& operator=(OperatorWindow const&) = delete;
    /// Closes the view.
    ~OperatorWindow();

    vordal::MainWindow& Main() { return m_main; }
    OperatorPanes& Panes() { return m_panes; }
    ShownView& View() { return m_view; }
    DisplayPane& Displays() { return m_displays; }

private:
    vordal::WindowThread m_thread;
    vordal::MainWindow m_main;
    OperatorPanes m_panes;
    DisplayPane m_displays;
    ShownView m_view;
    SonarMenu m_sonars;
    QTimer m_ticking;
};

} // namespace qx5::cli
