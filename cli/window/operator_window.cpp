// The operator's window, put together.
#include "cli/window/operator_window.h"

#include <chrono>

namespace qx5::cli {

namespace {

/// What time brings, such as a sonar that does not answer, is told within 100 ms.
constexpr std::chrono::milliseconds tickInterval{50};

} // namespace

OperatorWindow::OperatorWindow(WindowSession& session, std::shared_ptr<vordal::WindowFeed> const& feed, int lightMode,
                               CDataId const& first)
    : m_thread(session.Host()), m_main({.vessels = session.Listed(),
                                        .lightMode = lightMode,
                                        .activeVessel = session.ActiveVessel(),
                                        .shownDevice = first},
                                       feed, session.Requests()),
      m_panes(session, m_main), m_displays(session, m_main), m_view(session, m_main),
      m_sonars(session, m_main, m_view, m_panes.SonarMenu())
{
    m_view.SetClosedHandler([this] { m_displays.Close(); });
    m_thread.SetDeliveredHandler([this] { m_view.Follow(); });
    vordal::SetFieldListener([this](vordal::FieldNotice const& notice) { m_panes.Note(notice); });
    QObject::connect(&m_ticking, &QTimer::timeout, &m_ticking, [&session] { session.Tick(); });
    m_ticking.start(tickInterval);
}

OperatorWindow::~OperatorWindow()
{
    m_view.Close();
    vordal::SetFieldListener({});
}

} // namespace qx5::cli
