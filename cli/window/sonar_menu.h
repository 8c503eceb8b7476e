// The part of the window's Sonar menu that changes the list of sonars.
#pragma once

#include <VordalBaseR/CDataId.h>

#include <QString>

#include <functional>
#include <optional>

class QAction;
class QMenu;

namespace vordal {
class MainWindow;
}

namespace qx5::cli {

class ShownView;
class WindowSession;

/// Add, change, remove, in the menu and in the menu of the list of devices; the last two are about the sonar that is
/// shown. Window thread; session, window, view and menu outlive it.
class SonarMenu
{
public:
    /// Asks whether to go on, after saying what that does; empty: by a dialog.
    using Question = std::function<bool(QString const& text)>;

    SonarMenu(WindowSession& session, vordal::MainWindow& window, ShownView& view, QMenu& menu, Question question = {});
    SonarMenu(SonarMenu const&) = delete;
    SonarMenu& operator=(SonarMenu const&) = delete;
    ~SonarMenu();

    /// Open the form.
    void Add();
    void Change();
    /// Asks once, and closes the view of the sonar before it goes; the next one is shown then.
    void Remove();

private:
    void OpenForm(std::optional<CDataId> const& sonar);
    /// The window lists the sonars as they are now, and shows that one, or the first when it is none.
    void ShowList(std::optional<CDataId> const& shown);
    void Enable();

    WindowSession& m_session;
    vordal::MainWindow& m_window;
    ShownView& m_view;
    Question m_question;
    QAction* m_add;
    QAction* m_change;
    QAction* m_remove;
};

} // namespace qx5::cli
