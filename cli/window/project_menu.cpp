// The menu of a window's project: new, open, open recent, save, save as, share.
#include "project_menu.h"

#include "cli/window/window_session.h"
#include "reference_host/common/path_text.h"
#include "reference_host/window/main_window.h"

#include <QAction>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenu>
#include <QMessageBox>

#include <system_error>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

QString const suffix = QStringLiteral("qx5");

QString NameOf(std::filesystem::path const& file)
{
    return QString::fromStdString(vordal::Utf8Of(file));
}

std::filesystem::path PathOf(QString const& file)
{
    return std::filesystem::path(file.toStdString());
}

QString Filter()
{
    return QObject::tr("Projects (*.qx5);;All files (*)");
}

QString FolderFor(QString const& present)
{
    return present.isEmpty() ? QDir::currentPath() : QFileInfo(present).absolutePath();
}

ProjectQuestions AskedByDialogs(QWidget& window)
{
    ProjectQuestions questions;
    questions.fileToOpen = [&window](QString const& present) {
        return QFileDialog::getOpenFileName(&window, QObject::tr("Open a project"), FolderFor(present), Filter());
    };
    questions.fileToSave = [&window](QString const& present) {
        // Whether a file may be replaced is asked once the name is whole.
        return QFileDialog::getSaveFileName(&window, QObject::tr("Save the project as"),
                                            present.isEmpty() ? FolderFor(present) : present, Filter(), nullptr,
                                            QFileDialog::DontConfirmOverwrite);
    };
    questions.mayReplace = [&window](QString const& file) {
        return QMessageBox::question(&window, QObject::tr("Replace the project"),
                                     QObject::tr("%1 is there already. What it holds is lost if it is replaced.\n\n"
                                                 "Replace it?")
                                         .arg(QDir::toNativeSeparators(file)),
                                     QMessageBox::Yes | QMessageBox::No, QMessageBox::No) == QMessageBox::Yes;
    };
    questions.saveFirst = [&window] {
        auto const answer =
            QMessageBox::question(&window, QObject::tr("No project yet"),
                                  QObject::tr("The list of sonars or the transmit lock was changed, and no project "
                                              "keeps that.\n\nSave it in a project?"),
                                  QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
        return answer == QMessageBox::Save      ? ProjectQuestions::Answer::Yes
               : answer == QMessageBox::Discard ? ProjectQuestions::Answer::No
                                                : ProjectQuestions::Answer::Cancel;
    };
    return questions;
}

} // namespace

ProjectMenu::ProjectMenu(WindowSession& session, vordal::MainWindow& window, NextSession& next,
                         ProjectQuestions questions)
    : m_session(session), m_window(window), m_next(next),
      m_questions(questions.saveFirst ? std::move(questions) : AskedByDialogs(window))
{
    auto* const menu = m_menu = m_window.AddFirstMenu(QObject::tr("&Project"));
    auto const add = [&](QString const& text, char const* name, QKeySequence const& shortcut, auto act) {
        auto* const action = menu->addAction(text);
        action->setObjectName(QString::fromLatin1(name));
        action->setShortcut(shortcut);
        QObject::connect(action, &QAction::triggered, menu, [this, act] { (this->*act)(); });
        return action;
    };
    add(QObject::tr("&New"), "newProject", QKeySequence(QStringLiteral("Ctrl+N")), &ProjectMenu::New);
    add(QObject::tr("&Open\u2026"), "openProject", QKeySequence(QStringLiteral("Ctrl+O")), &ProjectMenu::Open);
    m_recentMenu = menu->addMenu(QObject::tr("Open &recent"));
    m_recentMenu->setObjectName(QStringLiteral("recentProjects"));
    menu->addSeparator();
    add(QObject::tr("&Save"), "saveProject", QKeySequence(QStringLiteral("Ctrl+S")), &ProjectMenu::Save);
    add(QObject::tr("Save &as\u2026"), "saveProjectAs", QKeySequence(QStringLiteral("Ctrl+Shift+S")),
        &ProjectMenu::SaveAs);
    // Files come and go while the window is open.
    QObject::connect(m_recentMenu, &QMenu::aboutToShow, m_recentMenu, [this] { FillRecent(); });
    m_window.SetMayClose([this] { return MayClose(); });
    ShowName();
    FillRecent();
}

ProjectMenu::~ProjectMenu()
{
    m_window.SetMayClose({});
}

void ProjectMenu::AddShare(std::function<void()> open)
{
    m_menu->addSeparator();
    auto* const action = m_menu->addAction(QObject::tr("S&hare\u2026"));
    action->setObjectName(QStringLiteral("shareProject"));
    action->setToolTip(QObject::tr("Those ashore see the sonars of this project by way of a broker"));
    QObject::connect(action, &QAction::triggered, m_menu, [open = std::move(open)] { open(); });
}

QString ProjectMenu::Present() const
{
    return NameOf(m_session.ProjectFile());
}

void ProjectMenu::ShowName()
{
    auto const present = Present();
    m_window.SetProjectName(present.isEmpty() ? QString() : QFileInfo(present).fileName());
}

void ProjectMenu::NoteOpened()
{
    if (auto const present = Present(); !present.isEmpty()) {
        m_recent.Note(present);
    }
}

void ProjectMenu::FillRecent()
{
    m_recentMenu->clear();
    auto const list = m_recent.List();
    for (QString const& file : list) {
        auto text = QDir::toNativeSeparators(file);
        text.replace(QLatin1Char('&'), QStringLiteral("&&"));
        if (!QFileInfo::exists(file)) {
            text = QObject::tr("%1 (is not there)").arg(text);
        }
        auto* const action = m_recentMenu->addAction(text);
        QObject::connect(action, &QAction::triggered, m_recentMenu, [this, file] { OpenFile(file); });
    }
    if (list.isEmpty()) {
        m_recentMenu->addAction(QObject::tr("None yet"))->setEnabled(false);
        return;
    }
    m_recentMenu->addSeparator();
    QObject::connect(m_recentMenu->addAction(QObject::tr("&Clear this list")), &QAction::triggered, m_recentMenu,
                     [this] { m_recent.Clear(); });
}

void ProjectMenu::New()
{
    SaveBefore([this] { Leave({.kind = NextSession::Kind::New, .project = nullptr}); });
}

void ProjectMenu::Open()
{
    if (auto const file = m_questions.fileToOpen(Present()); !file.isEmpty()) {
        OpenFile(file);
    }
}

void ProjectMenu::OpenFile(QString const& file)
{
    std::error_code ignored;
    if (auto const present = m_session.ProjectFile();
        !present.empty() && std::filesystem::equivalent(present, PathOf(file), ignored)) {
        Tell(fmt::format("\"{}\" is the project that is open", file.toStdString()));
        return;
    }
    std::string error;
    auto const project = std::make_shared<std::unique_ptr<HeldProject>>(
        HeldProject::Open(PathOf(file), vordal::ProjectStore::Missing::Refuse, error));
    if (*project == nullptr) {
        Tell(error);
        return;
    }
    SaveBefore([this, project] { Leave({.kind = NextSession::Kind::Open, .project = std::move(*project)}); });
}

void ProjectMenu::Save()
{
    if (Present().isEmpty()) {
        SaveAs();
    } else {
        SaveBefore([this] { SaySaved(); });
    }
}

void ProjectMenu::SaveAs()
{
    auto const file = m_questions.fileToSave(Present());
    if (!file.isEmpty()) {
        SaveInto(file, [this] { SaySaved(); });
    }
}

void ProjectMenu::SaveInto(QString const& name, Then then)
{
    auto const file = QFileInfo(name).suffix().isEmpty() ? name + QLatin1Char('.') + suffix : name;
    std::error_code ignored;
    if (auto const present = m_session.ProjectFile();
        !present.empty() && std::filesystem::equivalent(present, PathOf(file), ignored)) {
        SaveBefore(std::move(then));
        return;
    }
    if (QFileInfo::exists(file) && !m_questions.mayReplace(file)) {
        return;
    }
    m_session.SaveAs(PathOf(QFileInfo(file).absoluteFilePath()),
                     OnWindow([this, then = std::move(then)](std::string const& problem) {
                         ShowName();
                         NoteOpened();
                         problem.empty() ? then() : Tell(problem);
                     }));
}

void ProjectMenu::SaveBefore(Then then)
{
    if (!Present().isEmpty()) {
        m_session.Save(OnWindow(
            [this, then = std::move(then)](std::string const& problem) { problem.empty() ? then() : Tell(problem); }));
        return;
    }
    if (m_session.IsUnsaved()) {
        auto const answer = m_questions.saveFirst();
        if (answer == ProjectQuestions::Answer::Cancel) {
            return;
        }
        if (answer == ProjectQuestions::Answer::Yes) {
            if (auto const file = m_questions.fileToSave({}); !file.isEmpty()) {
                SaveInto(file, std::move(then));
            }
            return;
        }
    }
    then();
}

bool ProjectMenu::MayClose()
{
    if (m_closesAtOnce || !m_session.IsUnsaved()) {
        return true;
    }
    auto const answer = m_questions.saveFirst();
    if (answer == ProjectQuestions::Answer::Yes) {
        if (auto const file = m_questions.fileToSave({}); !file.isEmpty()) {
            SaveInto(file, [this] { Leave({}); });
        }
        return false;
    }
    return answer == ProjectQuestions::Answer::No;
}

void ProjectMenu::Leave(NextSession next)
{
    m_next = std::move(next);
    m_closesAtOnce = true;
    m_window.close();
}

std::function<void(std::string const&)> ProjectMenu::OnWindow(std::function<void(std::string const&)> then)
{
    return [post = m_answers.Poster(), then = std::move(then)](std::string const& text) {
        post([then, text] { then(text); });
    };
}

void ProjectMenu::SaySaved()
{
    m_window.ShowLine(QObject::tr("Saved: %1").arg(QDir::toNativeSeparators(Present())));
}

void ProjectMenu::Tell(std::string const& line)
{
    m_session.Tell(line);
}

} // namespace qx5::cli
