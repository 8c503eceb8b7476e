// `qx5 replay` in the operator's window.
#include "replay_window.h"

#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/plugins.h"
#include "cli/window/help_menu.h"
#include "cli/window/picture_file.h"
#include "cli/window/replay_in_window.h"
#include "cli/window/run_until.h"
#include "cli/window/screen_room.h"
#include "cli/window/window_application.h"
#include "operation/steady_seconds.h"
#include "recording/recording_error.h"
#include "recording/recording_text.h"
#include "recording/recording_time.h"
#include "reference_host/common/path_text.h"
#include "reference_host/window/record_monitor.h"

#include <QAction>
#include <QApplication>
#include <QMenu>
#include <QSocketNotifier>
#include <QTimer>

#include <stdexcept>
#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

constexpr int replayInTheDark = 2;
constexpr int replayByDay = 4;

} // namespace

ReplayWindow::ReplayWindow(ReplaySetup setup)
    : m_session(m_feed, setup.lightMode, {.steadyClock = [this] { return m_clock.Now(); }})
{
    m_session.Host().SetClock(&m_clock);
    auto const sonars = recording::RecordedSession(setup.file).Sonars();
    std::string error;
    if (!m_session.LoadPlugins(setup.plugIns, setup.toldPlugIns, error)) {
        throw std::runtime_error(error);
    }
    auto fleet = RecordedFleet(sonars, m_session.SonarClass());
    if (fleet.devices.empty()) {
        throw recording::RecordingError(fmt::format("{}: tells of no sonar", setup.file.string()));
    }
    auto const first = fleet.devices.front().dataId;
    if (!m_session.Begin(std::move(fleet), {}, error)) {
        throw std::runtime_error(error);
    }
    m_window.emplace(m_session, m_feed, setup.lightMode, first);
    m_control.emplace(m_session, m_feed, m_clock, setup.file, std::move(setup.steadyClock), [this] { Clear(); });
    // Whatever it would do is done at sonars that are not there.
    m_window->Panes().SonarMenu().menuAction()->setVisible(false);
    Main().SetProjectName(
        QObject::tr("Replay of %1").arg(QString::fromStdString(vordal::Utf8Of(setup.file.filename()))));
    m_timeLine.emplace(*m_control, Main());
    m_window->View().OpenFirst(first);
}

ReplayWindow::~ReplayWindow()
{
    m_timeLine.reset();
    if (m_control) {
        m_control->End();
    }
    m_window.reset();
    m_control.reset();
    if (std::string error; !m_session.End(error)) {
        Complain(ExitFailed, error);
    }
}

void ReplayWindow::Clear()
{
    Main().Records().Model().Clear();
    m_window->Panes().Events().Clear();
    // What they have drawn is of another time; open again before it comes, for they are shown what they follow.
    m_window->Displays().Close();
    m_window->Displays().Look();
}

namespace {

/// Shows the window until it is closed, or a signal comes.
void RunReplay(ReplayWindow& replay)
{
    EndSignals const signals;
    QSocketNotifier const notifier(signals.Descriptor(), QSocketNotifier::Read);
    auto& window = replay.Main();
    QObject::connect(&notifier, &QSocketNotifier::activated, &window, [&window] { window.close(); });
    window.FitInto(RoomFor(window));
    window.show();
    QTimer::singleShot(0, &window, [] { Say("The replay is open; nothing in it reaches a sonar.\n"); });
    QApplication::exec();
}

int PictureOfReplay(ReplayWindow& replay, std::string const& file)
{
    replay.Main().show();
    // What devices told comes to the panes in pieces.
    RunUntil([] { return false; }, 1500ms);
    std::string error;
    return WritePicture(replay.Main().grab(), QString::fromStdString(file), error) ? ExitGood
                                                                                   : Complain(ExitFailed, error);
}

} // namespace

int ReplayInWindow(ReplayOptions const& options)
{
    try {
        bool const isPicture = !options.screenshot.empty();
        auto const start = recording::RecordedSession(options.file).File().Start().value_or(0);
        auto const from = options.from.empty() ? std::optional(start) : recording::ReadMoment(options.from, start);
        if (!from) {
            return Complain(ExitWrong,
                            fmt::format("--from: '{}' is no time; write for example 2026-11-21T01:26:24.5Z, or +12.5 "
                                        "for so many seconds from the start",
                                        recording::Printable(options.from)));
        }
        WindowApplication const application(isPicture);
        if (!application.CanBegin()) {
            return ExitFailed;
        }
        std::vector<std::string> told;
        if (!options.plugin.empty()) {
            told.push_back(options.plugin);
        }
        int const mode = options.dark ? replayInTheDark : replayByDay;
        ReplayWindow replay({options.file, PluginFiles(told), told.size(), mode, operation::SteadySeconds});
        AddHelpMenu(replay.Main(),
                    {.program = options.facts, .plugIns = [&replay] { return replay.Session().PlugIns(); }});
        replay.Control().SetSpeed(options.speed);
        replay.Control().MoveTo(*from);
        if (isPicture) {
            return PictureOfReplay(replay, options.screenshot);
        }
        RunReplay(replay);
        return ExitGood;
    } catch (std::runtime_error const& problem) {
        return Complain(ExitFailed, recording::Printable(problem.what()));
    }
}

} // namespace qx5::cli
