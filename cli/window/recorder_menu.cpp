// The menu of the flight recorder, and the light that shows what it does.
#include "recorder_menu.h"

#include "cli/window/window_session.h"
#include "recording/recording_time.h"
#include "reference_host/common/path_text.h"
#include "reference_host/controls/qt_text.h"
#include "reference_host/window/appearance.h"
#include "reference_host/window/main_window.h"
#include "reference_host/window/mark.h"

#include <QAction>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QPainter>
#include <QStatusBar>

#include <utility>

#include <fmt/chrono.h>
#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr std::chrono::milliseconds lightInterval{250};

QString const recordingSuffix = QStringLiteral("mcap");

QString FileNameOf(std::filesystem::path const& file)
{
    return QString::fromStdString(vordal::Utf8Of(file.filename()));
}

RecorderQuestions RecorderDialogs(QWidget& window)
{
    RecorderQuestions questions;
    questions.file = [&window](QString const& proposed) {
        // A file that is there is refused when it is made, whoever has made it meanwhile.
        return QFileDialog::getSaveFileName(&window, QObject::tr("Record into"), proposed,
                                            QObject::tr("Recordings (*.mcap)"), nullptr,
                                            QFileDialog::DontConfirmOverwrite);
    };
    questions.word = [&window](QString const& time) {
        return QInputDialog::getText(&window, QObject::tr("Mark"), QObject::tr("A &word for %1:").arg(time));
    };
    return questions;
}

/// A round lamp, or a triangle that warns.
QPixmap LampOf(QPalette const& palette, bool isWarning, qreal ratio)
{
    auto const colour = vordal::SignalColour(palette, isWarning ? vordal::Signal::Caution : vordal::Signal::Bad);
    auto const icon = vordal::DrawnMark(palette, colour, ratio, [isWarning](QPainter& painter, QColor const& ink) {
        constexpr double size = vordal::MarkSize;
        painter.setPen(Qt::NoPen);
        painter.setBrush(ink);
        if (isWarning) {
            painter.drawPolygon(QPolygonF{{size / 2, 1}, {size - 1, size - 1}, {1, size - 1}});
        } else {
            painter.drawEllipse(QRectF(1, 1, size - 2, size - 2));
        }
    });
    return icon.pixmap(QSize(vordal::MarkSize, vordal::MarkSize), ratio);
}

QString SizeText(std::uint64_t bytes)
{
    constexpr double mebibyte = 1048576.0;
    return QString::number(static_cast<double>(bytes) / mebibyte, 'f', 1) + QStringLiteral(" MiB");
}

} // namespace

std::filesystem::path ProposedRecording(std::filesystem::path const& project, std::time_t time)
{
    auto const stem = project.empty() ? std::string("qx5") : project.stem().string();
    return project.parent_path() / fmt::format("{}-{:%Y%m%dT%H%M%SZ}.mcap", stem, fmt::gmtime(time));
}

bool IsWarning(RecordingState const& state)
{
    return !state.problem.empty() || state.counts.lost != 0;
}

QString LightText(RecordingState const& state, std::chrono::steady_clock::time_point now)
{
    auto const name = FileNameOf(state.file);
    if (!state.problem.empty()) {
        return QObject::tr("%1 is not recorded any more").arg(name);
    }
    auto const seconds = std::chrono::duration_cast<std::chrono::seconds>(now - state.since).count();
    auto const time =
        QString::fromStdString(fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60));
    auto const text = QObject::tr("Recording %1, %2, %3").arg(name, time, SizeText(state.counts.bytes));
    return state.counts.lost == 0 ? text : QObject::tr("%1, %2 messages lost").arg(text).arg(state.counts.lost);
}

RecorderMenu::RecorderMenu(WindowSession& session, vordal::MainWindow& window, RecorderQuestions questions)
    : m_session(session), m_questions(questions.file ? std::move(questions) : RecorderDialogs(window)),
      m_light(new QWidget), m_lamp(new QLabel), m_text(new QLabel)
{
    auto* const menu = window.AddMenu(QObject::tr("&Recorder"));
    m_record = menu->addAction(QObject::tr("&Record\u2026"));
    m_record->setObjectName(QStringLiteral("record"));
    m_record->setCheckable(true);
    m_record->setShortcut(QKeySequence(QStringLiteral("Ctrl+R")));
    m_record->setToolTip(QObject::tr("All that passes between host and sonars goes into a file"));
    QObject::connect(m_record, &QAction::triggered, m_light, [this](bool isWanted) { Record(isWanted); });
    m_mark = menu->addAction(QObject::tr("&Mark this moment\u2026"));
    m_mark->setObjectName(QStringLiteral("markMoment"));
    m_mark->setShortcut(QKeySequence(QStringLiteral("Ctrl+M")));
    m_mark->setToolTip(QObject::tr("A word that stands in the recording and in the black box"));
    QObject::connect(m_mark, &QAction::triggered, m_light, [this] { Mark(); });

    auto* const row = new QHBoxLayout(m_light);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_lamp);
    row->addWidget(m_text);
    m_light->setObjectName(QStringLiteral("recorderLight"));
    m_text->setObjectName(QStringLiteral("recorderText"));
    m_text->setTextFormat(Qt::PlainText);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    m_text->setFocusPolicy(Qt::StrongFocus);
    window.statusBar()->addPermanentWidget(m_light);
    m_light->hide(); // the status bar shows what it takes

    QObject::connect(&m_timer, &QTimer::timeout, m_light, [this] { Look(); });
    m_timer.start(lightInterval);
    Look();
}

void RecorderMenu::Record(bool isWanted)
{
    auto& recorder = m_session.Recorder();
    if (!isWanted) {
        recorder.Stop();
    } else if (auto file = m_questions.file(QString::fromStdString(
                   vordal::Utf8Of(ProposedRecording(m_session.ProjectFile(), std::time(nullptr)))));
               !file.isEmpty()) {
        if (QFileInfo(file).suffix().isEmpty()) {
            file += QLatin1Char('.') + recordingSuffix;
        }
        recorder.Start(std::filesystem::path(QFileInfo(file).absoluteFilePath().toStdString()));
    }
    Look();
}

void RecorderMenu::Mark()
{
    auto const asked = std::time(nullptr);
    auto const time = fmt::format("{:%H:%M:%S} UTC", fmt::gmtime(asked));
    auto const word = m_questions.word(QString::fromStdString(time)).simplified();
    if (word.isEmpty()) {
        return;
    }
    // A recording's times never go back: what was typed for longer says for when it is.
    auto const text = word.toStdString() + (std::time(nullptr) - asked > 1 ? " (at " + time + ")" : std::string());
    if (m_session.Recorder().Mark(text)) {
        m_session.Tell(operation::Severity::Information, "marked: " + text);
    } else {
        m_session.Tell("nothing is recorded, and there is no project with a black box: the mark \"" + text +
                       "\" stands nowhere");
    }
}

void RecorderMenu::Look()
{
    auto const state = m_session.Recorder().State();
    bool const isThere = !state.file.empty();
    m_record->setChecked(isThere);
    m_light->setVisible(isThere);
    if (!isThere) {
        return;
    }
    bool const isWarning = IsWarning(state);
    m_lamp->setPixmap(LampOf(m_lamp->palette(), isWarning, m_lamp->devicePixelRatioF()));
    m_text->setText(LightText(state, std::chrono::steady_clock::now()));
    // Without the time, which would be read aloud four times a second.
    auto const name = isWarning ? QObject::tr("Recording %1: something is missing").arg(FileNameOf(state.file))
                                : QObject::tr("Recording %1").arg(FileNameOf(state.file));
    if (m_text->accessibleName() != name) {
        m_text->setAccessibleName(name);
    }
    auto const tip = state.problem.empty() ? QString::fromStdString(vordal::Utf8Of(state.file))
                                           : QString::fromStdString(state.problem);
    m_text->setToolTip(vordal::PlainToolTip(tip));
    m_text->setAccessibleDescription(tip);
}

} // namespace qx5::cli
