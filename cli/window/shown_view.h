// The display in the middle of the window: which view it is follows from the device that the operator chooses.
#pragma once

#include "reference_host/window/main_window.h"
#include "reference_host/window/view_frame.h"

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

#include <functional>
#include <utility>

namespace qx5::cli {

class WindowSession;

/// Opens the view of a device's plug-in and tells it which device to show; sonars of one view are told to it by the
/// host, as the selected sonar. What a view stores goes into the session when the display is closed. Window thread;
/// session and window outlive it.
class ShownView
{
public:
    ShownView(WindowSession& session, vordal::MainWindow& window);
    ShownView(ShownView const&) = delete;
    ShownView& operator=(ShownView const&) = delete;
    /// Closes the display.
    ~ShownView();

    /// Opens the view of that device: on the device that it showed when it was stored, if any, otherwise on this one.
    void OpenFirst(CDataId const& device);
    /// The operator has chosen the device.
    void Choose(CDataId const& device);
    /// The shown device or its vessel has another name.
    void Rename() { SetTitle(); }
    /// The window marks the device that the view shows now. To be called when notifications were delivered.
    void Follow();
    void Close();
    /// Called whenever the view was closed: the sonar that it showed may go now. Before the view is opened.
    void SetClosedHandler(std::function<void()> handler) { m_onClosed = std::move(handler); }
    /// What the view would store if it were closed now goes into the session.
    void Keep();

    vordal::ViewFrame& Frame() { return m_frame; }

private:
    void Open(CDataId const& device, bool isChosen);
    /// The device is what the window is about, whatever shows it.
    void Name(CDataId const& device);
    void SetTitle();

    WindowSession& m_session;
    vordal::MainWindow& m_window;
    vordal::ViewFrame m_frame;
    std::function<void()> m_onClosed;
    CString m_viewClass; ///< of the display, also once the host has removed it
};

} // namespace qx5::cli
