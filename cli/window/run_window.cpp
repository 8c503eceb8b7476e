// `qx5 run` with the operator's window, and pictures of it.
#include "run_window.h"

#include "cli/key_values.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/session.h"
#include "cli/window/window_session.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/controls/window_thread.h"
#include "reference_host/host/log.h"
#include "reference_host/window/attribute_browser.h"
#include "reference_host/window/device_panel.h"
#include "reference_host/window/record_monitor.h"
#include "reference_host/window/view_frame.h"

#include <protocol/bytes.h>
#include <protocol/records/all.h>
#include <simulator/sonar_server.h>
#include <vordalhostdllR/DataManager.h>

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
#include <QPixmap>
#include <QSocketNotifier>
#include <QTabBar>
#include <QTimer>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

using namespace std::chrono_literals;

constexpr wchar_t const* viewClass = L"QX5SonarConfigurationView";
constexpr int darkMode = 2;
constexpr int lightMode = 4;

/// The vessels and sonars of the session; simulated ones are started. Empty, and a complaint made, when that fails.
class Fleet
{
public:
    /// An exit code other than ExitGood after a complaint.
    int Begin(std::string const& endpoint)
    {
        if (!endpoint.empty()) {
            FleetSonar sonar{CDataId(1, 78, 1, 1), L"Sonar", {}, 0};
            std::string error;
            if (!ParseEndpoint(endpoint, sonar.host, sonar.port, error)) {
                return Complain(ExitWrong, "--sonar: " + error);
            }
            m_vessels = {{.number = 1, .name = L"Vessel", .detectsPipes = true, .sonars = {sonar}}};
            return ExitGood;
        }
        m_vessels = {{.number = 1,
                      .name = L"Survey vessel",
                      .detectsPipes = false,
                      .sonars = {{CDataId(1, 78, 1, 1), L"Hull sonar", "127.0.0.1", 0},
                                 {CDataId(1, 78, 2, 1), L"Pole sonar", "127.0.0.1", 0}}},
                     {.number = 2,
                      .name = L"ROV",
                      .detectsPipes = true,
                      .sonars = {{CDataId(1, 78, 1, 2), L"ROV sonar", "127.0.0.1", 0}}}};
        for (FleetVessel& vessel : m_vessels) {
            for (FleetSonar& sonar : vessel.sonars) {
                simulator::ServerOptions onFreePort;
                onFreePort.address = sonar.host;
                auto& server = m_servers.emplace_back(std::make_unique<simulator::SonarServer>(onFreePort));
                if (auto const problem = server->Start()) {
                    return Complain(ExitFailed, problem->text);
                }
                sonar.port = server->Port();
            }
        }
        return ExitGood;
    }

    std::vector<FleetVessel> const& Vessels() const { return m_vessels; }
    bool IsSimulated() const { return !m_servers.empty(); }

    /// "simulated sonars listen on 127.0.0.1:40001, 127.0.0.1:40002"
    std::string Where() const
    {
        std::string text;
        for (FleetVessel const& vessel : m_vessels) {
            for (FleetSonar const& sonar : vessel.sonars) {
                text += fmt::format("{}{}:{}", text.empty() ? "" : ", ", sonar.host, sonar.port);
            }
        }
        return (IsSimulated() ? "simulated sonars listen on " : "its sonar is ") + text;
    }

private:
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

/// What stands above a view that has given itself no title yet.
QString TitleOf(std::vector<vordal::ListedVessel> const& vessels, CDataId const& device)
{
    for (vordal::ListedVessel const& vessel : vessels) {
        for (vordal::ListedDevice const& listed : vessel.devices) {
            if (listed.id == device) {
                return listed.name + QStringLiteral(" - ") + vessel.name;
            }
        }
    }
    return {};
}

/// False, and why, when the picture could not be written whole.
bool WritePicture(QPixmap const& picture, QString const& file, std::string& error)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    bool const isMade = buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "PNG");
    QFile target(file);
    // Without a buffer of its own, which would swallow what a full disk says.
    if (isMade && target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && target.write(bytes) == bytes.size()) {
        return true;
    }
    error = fmt::format("{} cannot be written: {}", file.toStdString(),
                        isMade ? target.errorString().toStdString() : "there is no picture");
    return false;
}

/// Renders the view, or the whole window, with that tab in front.
int TakePicture(RunOptions const& options, vordal::MainWindow& window, vordal::ViewFrame& frame)
{
    auto const device = window.ShownDevice();
    auto const isConnected = [&] { return window.Devices().StateOf(device) == vordal::LinkState::Connected; };
    if (!RunUntil([&] { return isConnected() && window.Attributes().Model().NodeCount() > 0; }, 10s)) {
        return Complain(ExitFailed, "no picture: the sonar is not connected");
    }
    QWidget* target = &window;
    if (!options.wholeWindow) {
        window.SetView(nullptr);
        frame.resize(frame.sizeHint());
        frame.show();
        target = &frame;
    }
    auto* const tabs = frame.findChild<QTabBar*>(QStringLiteral("id28075"));
    if (tabs == nullptr || options.tab >= tabs->count()) {
        return Complain(ExitFailed, fmt::format("no picture: the view has no tab {}", options.tab));
    }
    tabs->setCurrentIndex(options.tab);
    // What the sonar tells of itself arrives in pieces.
    RunUntil([] { return false; }, 500ms);
    if (options.wholeWindow) {
        window.Records().ChooseNewest(protocol::records::BeamSteer.Id());
    }
    std::string error;
    bool const saved = WritePicture(target->grab(), QString::fromStdString(options.screenshot), error);
    if (!options.wholeWindow) {
        window.SetView(&frame);
    }
    return saved ? ExitGood : Complain(ExitFailed, error);
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
            for (FleetSonar const& sonar : vessel.sonars) {
                CDataId stream = sonar.id;
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
    Fleet fleet;
    if (int const code = fleet.Begin(options.sonar); code != ExitGood) {
        return code;
    }
    int argc = 1;
    char name[] = "qx5";
    char* argv[] = {name, nullptr};
    qInstallMessageHandler(TakeToolkitMessage);
    QApplication application(argc, argv);
    QApplication::setApplicationName(QStringLiteral("qx5"));

    auto const feed = std::make_shared<vordal::WindowFeed>();
    int const mode = options.dark ? darkMode : lightMode;
    WindowSession session(feed, mode);
    std::string error;
    if (!session.Begin(PluginPath(options.plugin), fleet.Vessels(), options.project, error)) {
        return Complain(ExitFailed, error);
    }

    int code = ExitGood;
    {
        vordal::WindowThread thread(session.Host());
        vordal::MainWindow window({.vessels = session.Listed(),
                                   .lightMode = mode,
                                   .activeVessel = session.ActiveVessel(),
                                   .shownDevice = fleet.Vessels().front().sonars.front().id},
                                  feed, session.Requests());
        vordal::ViewFrame frame;
        auto const follow = [&] {
            if (auto const device = frame.ShownDevice()) {
                window.SetShownDevice(*device);
            }
        };
        QObject::connect(&frame, &vordal::ViewFrame::TitleChanged, &window, &vordal::MainWindow::SetViewTitle);
        QObject::connect(&frame, &vordal::ViewFrame::Removed, &window, [&] { window.SetView(nullptr); });
        thread.SetDeliveredHandler(follow);
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
        // Where no view follows the operator's choice, the attributes do.
        QObject::connect(&window.Devices(), &vordal::DevicePanel::SonarChosen, &window, [&](CDataId const& device) {
            if (frame.Shown() == nullptr) {
                window.SetShownDevice(device);
            }
        });
        QObject::connect(&window, &vordal::MainWindow::Closing, &window, [&] {
            QByteArray const bytes = window.SaveMemory();
            session.WindowMemory().assign(bytes.begin(), bytes.end());
        });
        // A window without a view still shows its sonars and their records.
        if (frame.Open({.viewClass = viewClass, .name = L"", .attributes = session.View()}, error)) {
            window.SetView(&frame);
            follow();
            window.SetViewTitle(TitleOf(session.Listed(), window.ShownDevice()));
        } else {
            window.ShowLine(QString::fromStdString(error));
        }
        std::optional<SoundVelocityProbes> probes;
        if (fleet.IsSimulated()) {
            probes.emplace(session.Host(), fleet.Vessels());
        }
        window.show();
        if (isPicture) {
            if (options.wholeWindow && fleet.IsSimulated()) {
                AskForSomething(window.ShownDevice());
            }
            code = TakePicture(options, window, frame);
        } else {
            EndSignals const signals;
            QSocketNotifier const notifier(signals.Descriptor(), QSocketNotifier::Read);
            QObject::connect(&notifier, &QSocketNotifier::activated, &window, &QWidget::close);
            // From within the event loop, where the window is shown and painted first.
            QTimer::singleShot(0, &window, [&fleet] { Say(fmt::format("The window is open; {}.\n", fleet.Where())); });
            QApplication::exec();
        }
        frame.Close();
        session.View() = frame.StoredAttributes();
        window.SetView(nullptr);
    }
    bool const isSaved = session.End(error);
    if (!fleet.IsSimulated()) {
        SayLeftOn(session.LeftOn());
    }
    return isSaved ? code : Complain(ExitFailed, error);
}

} // namespace qx5::cli
