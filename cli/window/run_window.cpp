// `qx5 run` with the operator's window, and pictures of it.
#include "run_window.h"

#include "cli/first_fleet.h"
#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/platform/memory_reserve.h"
#include "cli/plugins.h"
#include "cli/window/help_menu.h"
#include "cli/window/operator_window.h"
#include "cli/window/picture_file.h"
#include "cli/window/project_menu.h"
#include "cli/window/project_share.h"
#include "cli/window/recorder_menu.h"
#include "cli/window/run_until.h"
#include "cli/window/screen_room.h"
#include "cli/window/share_bar.h"
#include "cli/window/share_dialog.h"
#include "cli/window/window_application.h"
#include "cli/window/window_session.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/window/attribute_browser.h"
#include "reference_host/window/device_panel.h"
#include "reference_host/window/record_monitor.h"
#include "shell/shell_server.h"

#include <protocol/bytes.h>
#include <protocol/records/all.h>
#include <protocol/utf8.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <QApplication>
#include <QSocketNotifier>
#include <QTabBar>
#include <QTimer>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

constexpr int darkMode = 2;
constexpr int lightMode = 4;

/// From one look at what has changed to the next; what the operator did is on the disk within 5 s.
constexpr auto saveInterval = 2s;
/// Of a display that is rendered.
constexpr QSize displaySize(1000, 640);
/// What a task on the host thread may take once the window is closed, and when a second signal asks for haste.
constexpr std::chrono::milliseconds endLimit = 5s;
constexpr std::chrono::milliseconds hurriedLimit = 500ms;

/// Until the device is connected and has told of itself what it has to.
int AwaitDevice(vordal::StoredDevice const& shown, vordal::MainWindow& window)
{
    bool const isSonar = IsSonar(shown.dataId);
    auto const isConnected = [&] { return window.Devices().StateOf(shown.dataId) == vordal::LinkState::Connected; };
    auto const hasAttributes = [&] { return window.Attributes().Model().NodeCount() > 0; };
    if (!shown.portName.IsEmpty()) {
        if (!RunUntil(isConnected, 10s)) {
            return Complain(ExitFailed,
                            fmt::format("no picture: {} is not connected", isSonar ? "the sonar" : "the device"));
        }
        // Another instrument need not have anything to tell.
        if (!RunUntil(hasAttributes, 10s) && isSonar) {
            return Complain(ExitFailed, "no picture: the sonar tells nothing of itself");
        }
    }
    return ExitGood;
}

/// Renders a display that goes with the sonar's view.
int TakeDisplayPicture(RunOptions const& options, WindowSession& session, vordal::StoredDevice const& shown,
                       vordal::MainWindow& window)
{
    auto const names = session.OtherDisplays();
    CString const wanted(protocol::DecodeUtf8(options.display));
    if (std::find(names.begin(), names.end(), wanted) == names.end()) {
        std::string list;
        for (CString const& name : names) {
            list += (list.empty() ? "; there are " : ", ") + protocol::EncodeUtf8(name.View());
        }
        return Complain(ExitFailed, fmt::format("no picture: there is no display \"{}\"{}", options.display, list));
    }
    if (int const code = AwaitDevice(shown, window); code != ExitGood) {
        return code;
    }
    vordal::ViewFrame frame;
    frame.resize(displaySize);
    std::string error;
    if (!frame.Open({.viewClass = wanted, .name = L"", .attributes = {}}, error)) {
        return Complain(ExitFailed, error);
    }
    frame.SelectDevice(shown.dataId);
    frame.show();
    // A sonar that has no echoes to tell is pictured without them; others need some pings for a waterfall or a map.
    if (RunUntil([&] { return HasEchoes(shown.dataId); }, 3s)) {
        RunUntil([] { return false; }, 3s);
    }
    return WritePicture(frame.grab(), QString::fromStdString(options.screenshot), error) ? ExitGood
                                                                                         : Complain(ExitFailed, error);
}

/// Renders the view, or the whole window, with that tab in front, or with each in turn.
int TakePicture(RunOptions const& options, vordal::StoredDevice const& shown, vordal::MainWindow& window,
                vordal::ViewFrame& frame)
{
    if (frame.Shown() == nullptr) {
        return Complain(ExitFailed, "no picture: there is no view");
    }
    if (int const code = AwaitDevice(shown, window); code != ExitGood) {
        return code;
    }
    bool const isSonar = IsSonar(shown.dataId);
    QWidget* target = &window;
    if (!options.wholeWindow) {
        window.SetView(nullptr);
        frame.resize(frame.sizeHint());
        frame.show();
        target = &frame;
    }
    auto* const tabs = frame.findChild<QTabBar*>();
    int const count = tabs != nullptr ? tabs->count() : 1;
    if (options.tab >= count) {
        return Complain(ExitFailed, fmt::format("no picture: the view has no tab {}", options.tab));
    }
    int const first = options.allTabs ? 0 : options.tab;
    int const end = options.allTabs ? count : options.tab + 1;
    int code = ExitGood;
    for (int tab = first; tab < end && code == ExitGood; ++tab) {
        QString caption;
        if (tabs != nullptr) {
            tabs->setCurrentIndex(tab);
            caption = tabs->tabText(tab);
        }
        // What a device tells of itself arrives in pieces.
        RunUntil([] { return false; }, 500ms);
        if (options.wholeWindow && isSonar) {
            window.Records().ChooseNewest(protocol::records::BeamSteer.Id());
        }
        auto file = QString::fromStdString(options.screenshot);
        if (options.allTabs) {
            file.replace(QLatin1Char('%'), caption.toLower().replace(QLatin1Char(' '), QLatin1Char('-')));
        }
        if (std::string error; !WritePicture(target->grab(), file, error)) {
            code = Complain(ExitFailed, error);
        }
    }
    if (!options.wholeWindow) {
        window.SetView(&frame);
    }
    return code;
}

/// A simulated probe beside each simulated sonar, which measures the sound velocity once a second.
class SoundVelocityProbes
{
public:
    explicit SoundVelocityProbes(WindowSession& session) : m_session(session)
    {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { Measure(); });
        m_timer.start(1s);
        Measure();
    }

private:
    static constexpr unsigned short streamGroup = 40;
    static constexpr unsigned short velocityItem = 801;

    void Measure()
    {
        // Slowly up and down within half a metre per second.
        double const velocity = 1496.5 + 0.5 * std::sin(static_cast<double>(m_count++) / 10.0);
        std::array<unsigned char, 8> bytes{};
        protocol::PutF64LE(bytes, 0, velocity);
        for (CDataId stream : m_session.Simulators().Ids()) {
            stream.SetGroupId(streamGroup);
            m_session.Host().Post([&host = m_session.Host(), stream, bytes] {
                CDataBlock block;
                block.SetTime(host.Now());
                block.AddItem(velocityItem, DATA_DOUBLE, bytes, bytes.size(), 0);
                host.PutBlock(stream, block);
            });
        }
    }

    WindowSession& m_session;
    QTimer m_timer;
    int m_count = 0;
};

/// Requests of an operator at work, so that a picture of the whole window has something to show.
void AskForSomething(CDataId const& sonar)
{
    for (char const* keyValues :
         {"x5Range=75", "x5MaxPingRate=99", "x5Power=210", "x5BeamSteer=10,-5", "x5PingOnOffState=1"}) {
        CAttributeMap request;
        std::string error;
        CAttributeMap tree;
        if (AddKeyValue(request, keyValues, error)) {
            *tree.Add(vordal::keys::Request) = request;
            DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
        }
    }
}

/// Whether the window opens on sonars that nobody has asked for, to show what there is.
bool IsNothingTold(RunOptions const& options, NextSession const& begun)
{
    return begun.kind == NextSession::Kind::None && options.project.empty() && options.sonar.empty() &&
           !options.sonars.has_value() && options.devices.empty();
}

/// Begins the session's sonars: as the options tell, or, without any, as the project keeps them.
int BeginFleet(Fleet& fleet, RunOptions const& options, NextSession const& begun)
{
    if (begun.kind == NextSession::Kind::New) {
        fleet.BeginEmpty();
        return ExitGood;
    }
    bool const isTold =
        begun.kind == NextSession::Kind::None && (!options.sonar.empty() || options.sonars || !options.devices.empty());
    bool const isKept = begun.project != nullptr && !begun.project->IsEmpty();
    if (begun.kind == NextSession::Kind::Open || (isKept && !isTold)) {
        return fleet.BeginAsKept(begun.project->Loaded());
    }
    return fleet.BeginAsTold(options);
}

/// A session from its beginning to its end. `begun` is what it begins with: None stands for what the options tell. An
/// exit code; what the operator asked for then stands in `next`.
int RunSession(RunOptions const& options, NextSession begun, std::optional<EndSignals>& signals, NextSession& next)
{
    bool const isPicture = !options.screenshot.empty();
    auto const feed = std::make_shared<vordal::WindowFeed>();
    int const mode = options.dark ? darkMode : lightMode;
    WindowSession session(feed, mode);
    std::string error;
    if (!session.LoadPlugins(PluginFiles(options.plugins), options.plugins.size(), error)) {
        return Complain(ExitFailed, error);
    }
    if (begun.kind == NextSession::Kind::None && !options.project.empty()) {
        begun.project = HeldProject::Open(options.project, vordal::ProjectStore::Missing::Create, error);
        if (begun.project == nullptr) {
            return Complain(ExitFailed, error);
        }
    }
    if (options.pingRate.has_value()) {
        session.Simulators().SetPingRate(*options.pingRate);
    } else if (!isPicture && IsNothingTold(options, begun)) {
        session.Simulators().SetSurveying();
    }
    Fleet fleet(session);
    if (int const code = BeginFleet(fleet, options, begun); code != ExitGood) {
        return code;
    }
    if (!isPicture) {
        // The file that the options tell is that of the first session: nothing is ever written over it.
        session.SetRecording({.program = options.facts,
                              .file = begun.kind == NextSession::Kind::None ? options.record : std::string(),
                              .blackBoxBytes = options.blackBox});
    }
    if (!session.BeginWith(fleet.Project(), std::move(begun.project), error)) {
        return Complain(ExitFailed, error);
    }
    for (std::string const& line : fleet.LeftOut()) {
        session.Tell(line);
    }
    std::unique_ptr<shell::ShellServer> shells;
    if (!isPicture) {
        shells = shell::ShellServer::Begin(session.Host(), session.Desk(), VersionOf(options.facts));
    }
    CDataId const first = fleet.First() != nullptr ? fleet.First()->dataId : CDataId();

    // Also while it ends: a second signal changes nothing, and nothing is left unsaved.
    if (!isPicture && !signals) {
        signals.emplace();
    }
    int code = ExitGood;
    // Ends when the window is closed: its last words take their time.
    std::optional<ProjectShare> share(std::in_place, session, VersionOf(options.facts));
    {
        OperatorWindow whole(session, feed, mode, first);
        auto& window = whole.Main();
        auto& view = whole.View();
        AddHelpMenu(window, {.program = options.facts, .plugIns = [&session] { return session.PlugIns(); }});
        ProjectMenu project(session, window, next);
        RecorderMenu const recorder(session, window);
        ShareBar const shareBar(session, *share, window, whole.Panes().SonarMenu());
        ShareDialog sharing(*share, &window);
        project.AddShare([&sharing] {
            sharing.show();
            sharing.raise();
            sharing.activateWindow();
        });
        auto const& memory = session.WindowMemory();
        if (!memory.empty() && !isPicture) {
            window.RestoreMemory(
                QByteArray(reinterpret_cast<char const*>(memory.data()), static_cast<qsizetype>(memory.size())));
        }
        if (options.dark) {
            // By way of the host, whose newest mode the window follows.
            window.SetLightMode(darkMode);
            session.Requests().setLightMode(darkMode);
        }
        if (!isPicture) {
            window.FitInto(RoomFor(window));
            project.NoteOpened();
        }
        auto const remember = [&] {
            QByteArray const bytes = window.SaveMemory();
            session.WindowMemory().assign(bytes.begin(), bytes.end());
        };
        QObject::connect(&window, &vordal::MainWindow::Closing, &window, remember);
        QTimer saving;
        QObject::connect(&saving, &QTimer::timeout, &window, [&] {
            MemoryReserve::FillUp();
            remember();
            view.Keep();
            whole.Displays().Keep();
            session.SaveSoon();
        });
        if (fleet.First() != nullptr) {
            view.OpenFirst(first);
        } else {
            window.ShowLine(QObject::tr("There is no sonar; the Sonar menu adds one."));
        }
        SoundVelocityProbes const probes(session);
        window.show();
        if (isPicture) {
            auto const* const shown = session.Find(window.ShownDevice());
            if (options.wholeWindow && session.Simulators().IsSimulated(window.ShownDevice())) {
                AskForSomething(window.ShownDevice());
            }
            code = shown == nullptr          ? Complain(ExitFailed, "no picture: there is no sonar")
                   : options.display.empty() ? TakePicture(options, *shown, window, view.Frame())
                                             : TakeDisplayPicture(options, session, *shown, window);
        } else {
            QSocketNotifier const notifier(signals->Descriptor(), QSocketNotifier::Read);
            QObject::connect(&notifier, &QSocketNotifier::activated, &window, [&] {
                // Whoever sends it answers no questions.
                project.CloseAtOnce();
                window.close();
            });
            saving.start(saveInterval);
            // From within the event loop, where the window is shown and painted first.
            QTimer::singleShot(0, &window, [&fleet] { Say(fmt::format("The window is open; {}.\n", fleet.Where())); });
            QApplication::exec();
        }
    }
    share.reset();
    shells.reset();
    bool const isSaved = session.End(error, EndSignals::Count() > 1 ? hurriedLimit : endLimit);
    SayLeftOn(session.LeftOn(session.Simulators().Ids()));
    for (std::string const& line : session.LackingRecordings()) {
        code = Complain(ExitFailed, line);
    }
    return isSaved ? code : Complain(ExitFailed, error);
}

} // namespace

bool HasDisplay()
{
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int RunWindow(RunOptions const& options)
{
    WindowApplication const application(!options.screenshot.empty(), options.scale);
    if (!application.CanBegin()) {
        return ExitFailed;
    }

    std::optional<EndSignals> signals;
    NextSession begun;
    while (true) {
        NextSession next;
        int const code = RunSession(options, std::move(begun), signals, next);
        // A signal ends the program, whatever was asked for before.
        if (next.kind == NextSession::Kind::None || EndSignals::Count() > 0) {
            return code;
        }
        begun = std::move(next);
    }
}

} // namespace qx5::cli
