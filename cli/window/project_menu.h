// The menu of a window's project: new, open, open recent, save, save as, share.
#pragma once

#include "cli/window/held_project.h"
#include "cli/window/recent_projects.h"
#include "cli/window/window_answers.h"

#include <QString>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

class QMenu;

namespace vordal {
class MainWindow;
}

namespace qx5::cli {

class WindowSession;

/// The session that begins in the same process once the window has been closed.
struct NextSession
{
    enum class Kind
    {
        None, ///< the program ends
        New,  ///< a vessel without sonars, and no project
        Open, ///< the project
    };
    Kind kind = Kind::None;
    std::unique_ptr<HeldProject> project; ///< of Open
};

/// What the operator is asked. Each returns once it is answered.
struct ProjectQuestions
{
    enum class Answer
    {
        Yes,
        No,
        Cancel,
    };
    /// A file to be opened, or to be saved as, `present` being the one that is open; empty: none.
    std::function<QString(QString const& present)> fileToOpen;
    std::function<QString(QString const& present)> fileToSave;
    /// Whether the file that is there is to be replaced.
    std::function<bool(QString const& file)> mayReplace;
    /// Whether to save what no project keeps.
    std::function<Answer()> saveFirst;
};

/// Another project is opened in a session of its own: the file is opened and checked first, the present project is
/// saved, the window closes as always, and whoever runs it begins the next session. What goes wrong before leaves all
/// as it is, with one line. Window thread; session and window outlive it.
class ProjectMenu
{
public:
    /// Empty questions are asked by dialogs. `next` is set before the window is closed for another session.
    ProjectMenu(WindowSession& session, vordal::MainWindow& window, NextSession& next, ProjectQuestions questions = {});
    ProjectMenu(ProjectMenu const&) = delete;
    ProjectMenu& operator=(ProjectMenu const&) = delete;
    ~ProjectMenu();

    /// The menu has a line by which the project is shared, `open` being what it does.
    void AddShare(std::function<void()> open);
    /// The project that is open is the newest of the recent ones from here on.
    void NoteOpened();
    void New();
    void Open();
    void OpenFile(QString const& file);
    /// Asks for a name where there is none yet.
    void Save();
    void SaveAs();
    /// The window closes without a question from here on.
    void CloseAtOnce() { m_closesAtOnce = true; }

private:
    using Then = std::function<void()>;

    void FillRecent();
    /// Whether the window may be closed now; where something is to be saved first, it closes by itself afterwards.
    bool MayClose();
    /// Saves what there is to save, asks where that has no name, and goes on with `then` unless it failed.
    void SaveBefore(Then then);
    void SaveInto(QString const& file, Then then);
    /// A function for any thread that has `then` called with what it is given, on the window thread, as long as this
    /// lives.
    std::function<void(std::string const&)> OnWindow(std::function<void(std::string const&)> then);
    void Leave(NextSession next);
    /// What went wrong, as an event.
    void Tell(std::string const& line);
    void SaySaved();
    void ShowName();
    QString Present() const;

    WindowSession& m_session;
    vordal::MainWindow& m_window;
    NextSession& m_next;
    ProjectQuestions m_questions;
    RecentProjects m_recent;
    QMenu* m_menu = nullptr;
    QMenu* m_recentMenu = nullptr;
    bool m_closesAtOnce = false;
    WindowAnswers m_answers;
};

} // namespace qx5::cli
