// The bar under the window that says how the project is shared and who commands the shown sonar, while it is shared.
#pragma once

#include "cli/window/command_bar.h"
#include "cli/window/project_share.h"

#include <QString>
#include <QTimer>

#include <map>
#include <string>

class QMenu;

namespace qx5::cli {

/// "Shared by mqtts://broker.example:8883 as north/Vega", or in capitals that it is not connected, and why.
QString ShareText(ShareState const& state);

/// What people ashore do with leases is told as events, also of sonars that are not shown. Looks some five times a
/// second. Window thread; what it is made with outlives it.
class ShareBar
{
public:
    ShareBar(WindowSession& session, ProjectShare& share, vordal::MainWindow& window, QMenu& menu);
    ShareBar(ShareBar const&) = delete;
    ShareBar& operator=(ShareBar const&) = delete;

    /// Shows how it stands. Its timer calls it.
    void Look();

private:
    /// Who ashore commands a sonar and who asks for it, as it was told last.
    struct Told
    {
        std::string holder;
        std::string asker;
    };

    void Tell(SonarLease const& sonar);

    WindowSession& m_session;
    ProjectShare& m_share;
    vordal::MainWindow& m_window;
    CommandBar m_bar;
    std::map<CString, Told> m_told; ///< by the texts of the sonars' ids
    QTimer m_timer;
};

} // namespace qx5::cli
