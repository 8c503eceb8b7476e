// The displays that go with a sonar's view, in a dock beside it: pictures of what the sonar hears, for one.
#pragma once

#include "reference_host/window/main_window.h"
#include "reference_host/window/view_frame.h"

#include <VordalBaseR/CString.h>

#include <QTimer>

#include <memory>
#include <vector>

class QDockWidget;
class QStackedWidget;
class QTabBar;

namespace qx5::cli {

class WindowSession;

/// One tab for each display that plug-ins without devices of their own offer (WindowSession::OtherDisplays); without
/// any, nothing is made. A display is opened when its tab is first in front, and follows the selected sonar by itself.
/// The dock comes up when the shown sonar's echoes arrive, once; an operator who closes it closes the displays, and
/// what is in the View menu opens them again. Window thread; session and window outlive it. Made before the window
/// restores what it remembers.
class DisplayPane
{
public:
    DisplayPane(WindowSession& session, vordal::MainWindow& window);
    DisplayPane(DisplayPane const&) = delete;
    DisplayPane& operator=(DisplayPane const&) = delete;
    /// Closes the displays.
    ~DisplayPane();

    /// No display shows any sonar when it returns; they come back with the next look.
    void Close();
    /// Hands the session what the open displays have to store, and which is in front.
    void Keep();
    /// Opens what is to be open. Its timer calls it.
    void Look();
    /// Null where no display is offered.
    QDockWidget* Dock() const { return m_dock; }

private:
    struct Tab
    {
        CString name;
        vordal::ViewFrame* frame; ///< of the stack
    };

    /// Of a pane with displays.
    Tab& Front();
    void Open(Tab& tab);

    WindowSession& m_session;
    vordal::MainWindow& m_window;
    QDockWidget* m_dock = nullptr; ///< the window's
    QTabBar* m_tabs = nullptr;
    QStackedWidget* m_stack = nullptr;
    std::vector<Tab> m_displays;
    bool m_hasComeUp = false;
    bool m_isDismissed = false; ///< the operator has closed the dock
    QTimer m_timer;
};

} // namespace qx5::cli
