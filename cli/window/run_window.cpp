// `qx5 run` with the operator's window, and pictures of it.
#include "run_window.h"

#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/platform/memory_reserve.h"
#include "cli/plugins.h"
#include "cli/session.h"
#include "cli/window/help_menu.h"
#include "cli/window/operator_panes.h"
#include "cli/window/screen_room.h"
#include "cli/window/shown_view.h"
#include "cli/window/window_session.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/common/log.h"
#include "reference_host/controls/window_thread.h"
#include "reference_host/streams/settings_data.h"
#include "reference_host/window/announcements.h"
#include "reference_host/window/attribute_browser.h"
#include "reference_host/window/device_panel.h"
#include "reference_host/window/record_monitor.h"

#include <protocol/bytes.h>
#include <protocol/records/all.h>
#include <protocol/utf8.h>
#include <simulator/sonar_server.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <vector>

#include <QApplication>
#include <QBuffer>
#include <QElapsedTimer>
#include <QFile>
#include <QFontMetrics>
#include <QPixmap>
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
/// What time brings, such as a sonar that does not answer, is told within 100 ms.
constexpr auto tickInterval = 50ms;
/// What a task on the host thread may take once the window is closed, and when a second signal asks for haste.
constexpr std::chrono::milliseconds endLimit = 5s;
constexpr std::chrono::milliseconds hurriedLimit = 500ms;

/// Group of the ids of other instruments' devices.
constexpr unsigned short otherGroup = 500;

std::string JoinedNames(std::vector<CString> const& names)
{
    std::string text;
    for (CString const& name : names) {
        text += (text.empty() ? "" : ", ") + protocol::EncodeUtf8(name.View());
    }
    return text.empty() ? "none" : text;
}

/// The vessels and devices of the session, as a project; simulated sonars are started.
class Fleet
{
public:
    /// An exit code other than ExitGood after a complaint.
    int Begin(RunOptions const& options, WindowSession& session)
    {
        if (!options.devices.empty()) {
            return BeginDevices(options.devices, session);
        }
        CString const sonarClass = session.SonarClass();
        if (sonarClass.IsEmpty()) {
            return Complain(ExitFailed, fmt::format("no plug-in offers a device class of sonars; --device takes one of "
                                                    "those that there are: {}",
                                                    JoinedNames(session.DeviceClasses())));
        }
        auto const add = [&](unsigned short number, unsigned short vessel, CString const& name) {
            CDataId const id(1, vordal::SonarDataGroup, number, vessel);
            auto const told = options.sonar.empty() ? std::nullopt : std::optional(options.sonar);
            return Add({id, sonarClass, name, {}, true, {}}, "--sonar: ", told);
        };
        if (!options.sonar.empty()) {
            m_project.vessels = {MakeVessel(1, L"Vessel", true)};
            return add(1, 1, L"Sonar");
        }
        m_project.vessels = {MakeVessel(1, L"Survey vessel", false), MakeVessel(2, L"ROV", true)};
        int code = add(1, 1, L"Hull sonar");
        code = code == ExitGood ? add(2, 1, L"Pole sonar") : code;
        return code == ExitGood ? add(1, 2, L"ROV sonar") : code;
    }

    vordal::StoredProject const& Project() const { return m_project; }
    vordal::StoredDevice const& First() const { return m_project.devices.front(); }
    /// The sonars that this program has started.
    std::vector<CDataId> const& Simulated() const { return m_simulated; }

    /// "simulated sonars listen on 127.0.0.1:40001, 127.0.0.1:40002"
    std::string Where() const
    {
        if (m_simulatedAt.empty() && m_toldAt.empty()) {
            return "its devices have no connection";
        }
        std::string const of = IsSonar(First().dataId) ? "its sonar is " : "its device is at ";
        return m_simulatedAt.empty() ? of + m_toldAt
                                     : "simulated sonars listen on " + m_simulatedAt +
                                           (m_toldAt.empty() ? "" : ", others at " + m_toldAt);
    }

private:
    /// CLASS or CLASS=HOST:PORT each.
    int BeginDevices(std::vector<std::string> const& devices, WindowSession& session)
    {
        auto const classes = session.DeviceClasses();
        bool hasSonar = false;
        unsigned short number = 0;
        for (std::string const& text : devices) {
            auto const equals = text.find('=');
            CString const className(protocol::DecodeUtf8(text.substr(0, equals)));
            if (std::find(classes.begin(), classes.end(), className) == classes.end()) {
                return Complain(ExitWrong, fmt::format("--device: no plug-in offers the class '{}'; there are: {}",
                                                       text.substr(0, equals), JoinedNames(classes)));
            }
            bool const isSonar = session.MakesSonars(className);
            hasSonar = hasSonar || isSonar;
            ++number;
            CDataId const id(1, isSonar ? vordal::SonarDataGroup : otherGroup, number, 1);
            CString const name = devices.size() == 1 ? className : className + CString(L" " + std::to_wstring(number));
            auto const told = equals == std::string::npos ? std::nullopt : std::optional(text.substr(equals + 1));
            if (int const code = Add({id, className, name, {}, true, {}}, "--device: ", told); code != ExitGood) {
                return code;
            }
        }
        m_project.vessels = {MakeVessel(1, L"Vessel", hasSonar)};
        return ExitGood;
    }
    /// Adds the device, with a connection where it is told one; a sonar that is told none is simulated.
    int Add(vordal::StoredDevice const& device, std::string const& option, std::optional<std::string> const& endpoint)
    {
        std::string host;
        std::uint16_t port = 0;
        if (endpoint.has_value()) {
            if (std::string error; !ParseEndpoint(*endpoint, host, port, error)) {
                return Complain(ExitWrong, option + error);
            }
        } else if (IsSonar(device.dataId)) {
            simulator::ServerOptions onFreePort;
            onFreePort.announcePings = true; // so that their rate is seen
            host = onFreePort.address;
            auto& server = m_servers.emplace_back(std::make_unique<simulator::SonarServer>(onFreePort));
            if (auto const problem = server->Start()) {
                return Complain(ExitFailed, problem->text);
            }
            port = server->Port();
            m_simulated.push_back(device.dataId);
        } else {
            m_project.devices.push_back(device);
            return ExitGood;
        }
        std::string& text = endpoint.has_value() ? m_toldAt : m_simulatedAt;
        text += fmt::format("{}{}:{}", text.empty() ? "" : ", ", host, port);
        vordal::AddConnected(m_project, device, CString(protocol::DecodeUtf8(host)), port);
        return ExitGood;
    }

    vordal::StoredProject m_project;
    std::vector<CDataId> m_simulated;
    std::string m_simulatedAt;
    std::string m_toldAt;
    std::vector<std::unique_ptr<simulator::SonarServer>> m_servers;
};

/// What the toolkit has to say goes where the host's reports go; its remarks on the platform go nowhere.
void TakeToolkitMessage(QtMsgType type, QMessageLogContext const&, QString const& text)
{
    // What went wrong is said before what it comes to.
    thread_local std::string reason;
    if (type == QtWarningMsg) {
        reason = text.simplified().toStdString();
    }
    if (type == QtFatalMsg && !QCoreApplication::startingUp()) {
        Complain(ExitFailed, fmt::format("the window cannot go on: {}", text.simplified().toStdString()));
    } else if (type == QtFatalMsg) {
        // The toolkit would abort: a display that is not there is nothing to leave a core file for.
        Complain(ExitFailed, fmt::format("no window, the display does not open: {}; `qx5 run --guided` needs none",
                                         reason.empty() ? text.simplified().toStdString() : reason));
        std::_Exit(ExitFailed);
    }
    if (type == QtCriticalMsg) {
        vordal::Log(vordal::LogLevel::Error, "window: " + text.toStdString());
    }
}

/// Runs the event loop until the condition holds; false when it does not within the limit.
template <typename Condition>
bool RunUntil(Condition condition, std::chrono::milliseconds limit)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > limit.count()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    }
    return true;
}

/// False, and why, when the picture could not be written whole.
bool WritePicture(QPixmap const& picture, QString const& file, std::string& error)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    bool const isMade = buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "PNG");
    QFile target(file);
    // Without a buffer of its own, in which the error of a full disk would be lost.
    if (isMade && target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && target.write(bytes) == bytes.size()) {
        return true;
    }
    error = fmt::format("{} cannot be written: {}", file.toStdString(),
                        isMade ? target.errorString().toStdString() : "there is no picture");
    return false;
}

/// Renders the view, or the whole window, with that tab in front, or with each in turn.
int TakePicture(RunOptions const& options, vordal::StoredDevice const& shown, vordal::MainWindow& window,
                vordal::ViewFrame& frame)
{
    if (frame.Shown() == nullptr) {
        return Complain(ExitFailed, "no picture: there is no view");
    }
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
    SoundVelocityProbes(vordal::Host& host, std::vector<vordal::StoredDevice> const& devices)
        : m_host(host), m_devices(devices)
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
        for (vordal::StoredDevice const& device : m_devices) {
            if (!IsSonar(device.dataId)) {
                continue;
            }
            CDataId stream = device.dataId;
            stream.SetGroupId(streamGroup);
            m_host.Post([&host = m_host, stream, bytes] {
                CDataBlock block;
                block.SetTime(host.Now());
                block.AddItem(velocityItem, DATA_DOUBLE, bytes, bytes.size(), 0);
                host.PutBlock(stream, block);
            });
        }
    }

    vordal::Host& m_host;
    std::vector<vordal::StoredDevice> const& m_devices;
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

} // namespace

bool HasDisplay()
{
    return !qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") || !qEnvironmentVariableIsEmpty("DISPLAY") ||
           !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

int RunWindow(RunOptions const& options)
{
    bool const isPicture = !options.screenshot.empty();
    if (isPicture) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        qputenv("QT_SCALE_FACTOR", QByteArray::number(options.scale / 100.0));
    }
    int argc = 1;
    char name[] = "qx5";
    char* argv[] = {name, nullptr};
    qInstallMessageHandler(TakeToolkitMessage);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("qx5"));
    vordal::LimitedAnnouncements const announcements;
    if (!QFontMetrics(QApplication::font()).inFont(u'A')) {
        constexpr char const* remedy = "there is no font on this system; install one, such as fonts-dejavu-core";
        if (isPicture) {
            return Complain(ExitFailed, std::string("no picture: ") + remedy);
        }
        vordal::Log(vordal::LogLevel::Warning, std::string("window: its texts are empty boxes, ") + remedy);
    }

    auto const feed = std::make_shared<vordal::WindowFeed>();
    int const mode = options.dark ? darkMode : lightMode;
    WindowSession session(feed, mode);
    std::string error;
    if (!session.LoadPlugins(PluginFiles(options.plugins), options.plugins.size(), error)) {
        return Complain(ExitFailed, error);
    }
    Fleet fleet;
    if (int const code = fleet.Begin(options, session); code != ExitGood) {
        return code;
    }
    if (!session.Begin(fleet.Project(), options.project, error)) {
        return Complain(ExitFailed, error);
    }

    for (CDataId const& sonar : fleet.Simulated()) {
        session.SetSimulated(sonar);
    }

    // Also while it ends: a second signal changes nothing, and nothing is left unsaved.
    std::optional<EndSignals> signals;
    if (!isPicture) {
        signals.emplace();
    }
    int code = ExitGood;
    {
        vordal::WindowThread thread(session.Host());
        vordal::MainWindow window({.vessels = session.Listed(),
                                   .lightMode = mode,
                                   .activeVessel = session.ActiveVessel(),
                                   .shownDevice = fleet.First().dataId},
                                  feed, session.Requests());
        OperatorPanes panes(session, window);
        ShownView view(session, window);
        AddHelpMenu(window, {.program = options.facts, .plugIns = [&session] { return session.PlugIns(); }});
        thread.SetDeliveredHandler([&] { view.Follow(); });
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
        }
        vordal::SetFieldListener([&](vordal::FieldNotice const& notice) { panes.Note(notice); });
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
            session.SaveSoon();
        });
        QTimer ticking;
        QObject::connect(&ticking, &QTimer::timeout, &window, [&] { session.Tick(); });
        ticking.start(tickInterval);
        view.OpenFirst(fleet.First().dataId);
        std::optional<SoundVelocityProbes> probes;
        if (!fleet.Simulated().empty()) {
            probes.emplace(session.Host(), fleet.Project().devices);
        }
        window.show();
        if (isPicture) {
            auto const* const shown = session.Find(window.ShownDevice());
            auto const& simulated = fleet.Simulated();
            if (options.wholeWindow &&
                std::find(simulated.begin(), simulated.end(), window.ShownDevice()) != simulated.end()) {
                AskForSomething(window.ShownDevice());
            }
            code = TakePicture(options, shown != nullptr ? *shown : fleet.First(), window, view.Frame());
        } else {
            QSocketNotifier const notifier(signals->Descriptor(), QSocketNotifier::Read);
            QObject::connect(&notifier, &QSocketNotifier::activated, &window, &QWidget::close);
            saving.start(saveInterval);
            // From within the event loop, where the window is shown and painted first.
            QTimer::singleShot(0, &window, [&fleet] { Say(fmt::format("The window is open; {}.\n", fleet.Where())); });
            QApplication::exec();
        }
        view.Close();
        vordal::SetFieldListener({});
    }
    bool const isSaved = session.End(error, EndSignals::Count() > 1 ? hurriedLimit : endLimit);
    SayLeftOn(session.LeftOn(fleet.Simulated()));
    return isSaved ? code : Complain(ExitFailed, error);
}

} // namespace qx5::cli
