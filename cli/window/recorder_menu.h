// The menu of the flight recorder, and the light that shows what it does.
#pragma once

#include "cli/window/window_recorder.h"

#include <QString>
#include <QTimer>

#include <chrono>
#include <ctime>
#include <filesystem>
#include <functional>

class QAction;
class QLabel;
class QWidget;

namespace vordal {
class MainWindow;
}

namespace qx5::cli {

class WindowSession;

/// The light's words: the file's name, for how long it has been recorded and how large it is; of one that lacks
/// something what that is.
QString LightText(RecordingState const& state, std::chrono::steady_clock::time_point now);
/// Whether it lacks something, or is not written any more.
bool IsWarning(RecordingState const& state);

/// "survey-20261122T094500Z.mcap" beside the project, or "qx5-..." in the present folder, of seconds since 1970.
std::filesystem::path ProposedRecording(std::filesystem::path const& project, std::time_t time);

/// What the operator is asked. Each returns once it is answered; an empty answer takes the wish back.
struct RecorderQuestions
{
    std::function<QString(QString const& proposed)> file;
    /// The word for a mark, asked for at that time of day, "09:45:12 UTC".
    std::function<QString(QString const& time)> word;
};

/// Record, Mark, and the light in the status bar, which is there while a file is wanted. Window thread; session and
/// window outlive it.
class RecorderMenu
{
public:
    /// Empty questions are asked by dialogs.
    RecorderMenu(WindowSession& session, vordal::MainWindow& window, RecorderQuestions questions = {});
    RecorderMenu(RecorderMenu const&) = delete;
    RecorderMenu& operator=(RecorderMenu const&) = delete;

    /// Shows how it stands. Its timer calls it.
    void Look();

private:
    void Record(bool isWanted);
    void Mark();

    WindowSession& m_session;
    RecorderQuestions m_questions;
    QAction* m_record;
    QAction* m_mark;
    QWidget* m_light;
    QLabel* m_lamp;
    QLabel* m_text;
    QTimer m_timer;
};

} // namespace qx5::cli
