// What surrounds the requests of a session, shown in its window: events, history, banner, transmit lock, presets.
#pragma once

#include "budget_pane.h"
#include "event_pane.h"
#include "history_pane.h"
#include "preset_menu.h"
#include "view_banner.h"

#include "reference_host/controls/field_text.h"
#include "reference_host/window/main_window.h"

#include <QElapsedTimer>
#include <QSocketNotifier>
#include <QTimer>

#include <cstdint>
#include <optional>
#include <string>

class QAction;
class QLabel;
class QMenu;

namespace qx5::cli {

class WindowSession;

/// Looks at the session's desk some twenty times a second, and at its events at once. Window thread; session and window
/// outlive it. Made before the window restores what it remembers.
class OperatorPanes
{
public:
    OperatorPanes(WindowSession& session, vordal::MainWindow& window);
    OperatorPanes(OperatorPanes const&) = delete;
    OperatorPanes& operator=(OperatorPanes const&) = delete;

    /// A field that was rewritten under the operator's hands, or whose text is no number, is an event.
    void Note(vordal::FieldNotice const& notice);
    /// Takes over what there is. Its timer calls it.
    void Look();

    EventPane& Events() { return *m_events; }
    QMenu& SonarMenu() { return *m_sonarMenu; }
    HistoryPane& History() { return *m_history; }

private:
    void MakeMenus();
    void TakeEvents();
    void ShowHistory();
    void ShowSonars();
    /// A word in the status bar for as long as something is refused.
    QLabel* AddMark(QString const& text, char const* name, QString const& explanation);
    QAction* AddSwitch(QMenu& menu, QString const& text, char const* name, QLabel const& mark);
    void ShowLock();
    void ShowLease();
    void ShowBudget();
    /// What the operator calls the device; empty for one that is not listed.
    QString NameOf(CDataId const& device, bool marksSimulated) const;

    WindowSession& m_session;
    vordal::MainWindow& m_window;
    EventPane* m_events;
    HistoryPane* m_history;
    BudgetPane* m_budget;
    ViewBanner* m_banner;
    QLabel* m_lock;
    QLabel* m_lease;
    QMenu* m_sonarMenu = nullptr;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QAction* m_lockAction = nullptr;
    QAction* m_leaseAction = nullptr;
    std::optional<PresetMenu> m_presets;
    std::uint64_t m_historyVersion = 0;
    int m_looks = 0;
    QTimer m_timer;
    QSocketNotifier m_eventsWait;
    QElapsedTimer m_sinceTaken;
};

} // namespace qx5::cli
