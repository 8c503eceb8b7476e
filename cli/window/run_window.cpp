// `qx5 run` with the operator's window, and pictures of it.
#include "run_window.h"

#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/platform/memory_reserve.h"
#include "cli/plugins.h"
#include "cli/session.h"
#include "cli/window/shown_view.h"
#include "cli/window/window_session.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/controls/window_thread.h"
#include "reference_host/host/log.h"
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
/// What a task on the host thread may take once the window is closed, and when a second signal asks for haste.
constexpr std::chrono::milliseconds endLimit = 5s;
constexpr std::chrono::milliseconds hurriedLimit = 500ms;

/// Groups of ids: of sonars, and of the devices of other instruments.
constexpr unsigned short sonarGroup = 78;
constexpr unsigned short otherGroup = 500;

std::string JoinedNames(std::vector<CString> const& names)
{
    std::string text;
    for (CString const& name : names) {
        text += (text.empty() ? "" : ", ") + protocol::EncodeUtf8(name.View());
    }
    return text.empty() ? "none" : text;
}

/// The vessels and devices of the session; simulated sonars are started.
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
        auto const sonar = [&](unsigned short number, unsigned short vessel, CString const& name) {
            return FleetDevice{CDataId(1, sonarGroup, number, vessel), sonarClass, name, {}, 0, true};
        };
        if (!options.sonar.empty()) {
            FleetDevice told = sonar(1, 1, L"Sonar");
            std::string error;
            if (!ParseEndpoint(options.sonar, told.host, told.port, error)) {
                return Complain(ExitWrong, "--sonar: " + error);
            }
            m_vessels = {{.number = 1, .name = L"Vessel", .detectsPipes = true, .devices = {told}}};
            return ExitGood;
        }
        m_vessels = {{.number = 1,
                      .name = L"Survey vessel",
                      .detectsPipes = false,
                      .devices = {sonar(1, 1, L"Hull sonar"), sonar(2, 1, L"Pole sonar")}},
                     {.number = 2, .name = L"ROV", .detectsPipes = true, .devices = {sonar(1, 2, L"ROV sonar")}}};
        return StartSimulated();
    }

    std::vector<FleetVessel> const& Vessels() const { return m_vessels; }
    FleetDevice const& First() const { return m_vessels.front().devices.front(); }
    bool IsSimulated() const { return !m_servers.empty(); }

    /// "simulated sonars listen on 127.0.0.1:40001, 127.0.0.1:40002"
    std::string Where() const
    {
        std::string simulated;
        std::string told;
        for (FleetVessel const& vessel : m_vessels) {
            for (FleetDevice const& device : vessel.devices) {
                if (device.port == 0) {
                    continue;
                }
                std::string& text = device.isSimulated ? simulated : told;
                text += fmt::format("{}{}:{}", text.empty() ? "" : ", ", device.host, device.port);
            }
        }
        if (simulated.empty() && told.empty()) {
            return "its devices have no connection";
        }
        std::string const of = m_vessels.front().devices.front().isSonar ? "its sonar is " : "its device is at ";
        return simulated.empty()
                   ? of + told
                   : "simulated sonars listen on " + simulated + (told.empty() ? "" : ", others at " + told);
    }

private:
    /// CLASS or CLASS=HOST:PORT each.
    int BeginDevices(std::vector<std::string> const& devices, WindowSession& session)
    {
        FleetVessel vessel{.number = 1, .name = L"Vessel", .detectsPipes = false, .devices = {}};
        auto const classes = session.DeviceClasses();
        unsigned short number = 0;
        for (std::string const& text : devices) {
            auto const equals = text.find('=');
            FleetDevice device;
            device.className = CString(protocol::DecodeUtf8(text.substr(0, equals)));
            if (std::find(classes.begin(), classes.end(), device.className) == classes.end()) {
                return Complain(ExitWrong, fmt::format("--device: no plug-in offers the class '{}'; there are: {}",
                                                       text.substr(0, equals), JoinedNames(classes)));
            }
            std::string error;
            if (equals != std::string::npos &&
                !ParseEndpoint(text.substr(equals + 1), device.host, device.port, error)) {
                return Complain(ExitWrong, "--device: " + error);
            }
            device.isSonar = session.MakesSonars(device.className);
            vessel.detectsPipes = vessel.detectsPipes || device.isSonar;
            ++number;
            device.id = CDataId(1, device.isSonar ? sonarGroup : otherGroup, number, vessel.number);
            device.name =
                devices.size() == 1 ? device.className : device.className + CString(L" " + std::to_wstring(number));
            vessel.devices.push_back(device);
        }
        m_vessels = {vessel};
        return StartSimulated();
    }

    /// Starts a simulated sonar for each sonar that is not told where it is.
    int StartSimulated()
    {
        for (FleetVessel& vessel : m_vessels) {
            for (FleetDevice& device : vessel.devices) {
                if (!device.isSonar || device.port != 0) {
                    continue;
                }
                simulator::ServerOptions onFreePort;
                device.host = onFreePort.address;
                auto& server = m_servers.emplace_back(std::make_unique<simulator::SonarServer>(onFreePort));
                if (auto const problem = server->Start()) {
                    return Complain(ExitFailed, problem->text);
                }
                device.port = server->Port();
                device.isSimulated = true;
            }
        }
        return ExitGood;
    }

    std::vector<FleetVessel> m_vessels;
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
    if (type == QtFatalMsg) {
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
int TakePicture(RunOptions const& options, FleetDevice const& shown, vordal::MainWindow& window,
                vordal::ViewFrame& frame)
{
    if (frame.Shown() == nullptr) {
        return Complain(ExitFailed, "no picture: there is no view");
    }
    auto const isConnected = [&] { return window.Devices().StateOf(shown.id) == vordal::LinkState::Connected; };
    auto const hasAttributes = [&] { return window.Attributes().Model().NodeCount() > 0; };
    if (shown.port != 0) {
        if (!RunUntil(isConnected, 10s)) {
            return Complain(ExitFailed,
                            fmt::format("no picture: {} is not connected", shown.isSonar ? "the sonar" : "the device"));
        }
        // Another instrument need not have anything to tell.
        if (!RunUntil(hasAttributes, 10s) && shown.isSonar) {
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
        if (options.wholeWindow && shown.isSonar) {
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
    SoundVelocityProbes(vordal::Host& host, std::vector<FleetVessel> const& vessels) : m_host(host), m_vessels(vessels)
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
        for (FleetVessel const& vessel : m_vessels) {
            for (FleetDevice const& device : vessel.devices) {
                if (!device.isSonar) {
                    continue;
                }
                CDataId stream = device.id;
                stream.SetGroupId(streamGroup);
                m_host.Post([&host = m_host, stream, bytes] {
                    CDataBlock block;
                    block.SetTime(host.Now());
                    block.AddItem(velocityItem, DATA_DOUBLE, bytes, bytes.size(), 0);
                    host.PutBlock(stream, block);
                });
            }
        }
    }

    vordal::Host& m_host;
    std::vector<FleetVessel> const& m_vessels;
    QTimer m_timer;
    int m_count = 0;
};

/// Requests of an operator at work, so that a picture of the whole window has something to show.
void AskForSomething(CDataId const& sonar)
{
    for (char const* keyValues : {"x5Range=75", "x5Power=210", "x5BeamSteer=10,-5", "x5PingOnOffState=1"}) {
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
    if (!session.Begin(fleet.Vessels(), options.project, error)) {
        return Complain(ExitFailed, error);
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
                                   .shownDevice = fleet.First().id},
                                  feed, session.Requests());
        ShownView view(session, window);
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
        view.OpenFirst(fleet.First().id);
        std::optional<SoundVelocityProbes> probes;
        if (fleet.IsSimulated()) {
            probes.emplace(session.Host(), fleet.Vessels());
        }
        window.show();
        if (isPicture) {
            auto const* const shown = session.Find(window.ShownDevice());
            if (options.wholeWindow && shown != nullptr && shown->isSimulated) {
                AskForSomething(shown->id);
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
    }
    bool const isSaved = session.End(error, EndSignals::Count() > 1 ? hurriedLimit : endLimit);
    SayLeftOn(session.LeftOn());
    return isSaved ? code : Complain(ExitFailed, error);
}

} // namespace qx5::cli
