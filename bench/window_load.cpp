// The operator's window on many sonars that ping.
#include "window_load.h"

#include "cli/window/operator_window.h"
#include "cli/window/run_until.h"
#include "reference_host/attributes/host_keys.h"
#include "reference_host/streams/settings_data.h"
#include "reference_host/window/attribute_browser.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <simulator/sonar_server.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <ctime>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include <QApplication>
#include <QElapsedTimer>
#include <QEvent>
#include <QLabel>
#include <QProcess>

#include <fmt/format.h>

namespace bench {

namespace {

using namespace std::chrono_literals;
using qx5::cli::RunUntil;

constexpr int changesInASecond = 60;

double ProcessorTime(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) * 1e9 + static_cast<double>(time.tv_nsec);
}

/// The sonars, each of which pings.
std::vector<std::unique_ptr<qx5::simulator::SonarServer>> PingingSonars(int count)
{
    std::vector<std::unique_ptr<qx5::simulator::SonarServer>> sonars;
    for (int i = 0; i < count; ++i) {
        qx5::simulator::ServerOptions options;
        options.announcePings = true;
        options.reportLatency = 2ms; // else two changes are told as one
        auto& sonar = sonars.emplace_back(std::make_unique<qx5::simulator::SonarServer>(options));
        if (auto const problem = sonar->Start()) {
            throw std::runtime_error(problem->text);
        }
        std::string answer;
        // A range near enough for 50 pings a second.
        for (char const* line : {"set x5Range=5", "set x5MaxPingRate=50", "set x5PingOnOffState=1"}) {
            if (!sonar->Command(line, answer)) {
                throw std::runtime_error(answer);
            }
        }
    }
    return sonars;
}

vordal::StoredProject ProjectOf(std::vector<std::unique_ptr<qx5::simulator::SonarServer>> const& sonars,
                                CString const& sonarClass)
{
    vordal::StoredProject project;
    project.vessels = {qx5::cli::MakeVessel(1, L"Survey vessel", false)};
    unsigned short number = 0;
    for (auto const& sonar : sonars) {
        ++number;
        vordal::AddConnected(project,
                             {CDataId(1, vordal::SonarDataGroup, number, 1),
                              sonarClass,
                              CString(L"Sonar " + std::to_wstring(number)),
                              {},
                              true,
                              {}},
                             L"127.0.0.1", sonar->Port());
    }
    return project;
}

/// Changes a value of the sonar 60 times a second, on a thread of its own.
class Changes
{
public:
    explicit Changes(qx5::simulator::SonarServer& sonar)
    {
        m_thread = std::thread([this, &sonar] {
            auto next = std::chrono::steady_clock::now();
            std::string answer;
            while (!m_ends) {
                next += std::chrono::nanoseconds(1000000000 / changesInASecond);
                std::this_thread::sleep_until(next);
                // Each with a text of its own in the view.
                sonar.Command(fmt::format("set x5Power={}", 170 + m_made % 50), answer);
                ++m_made;
            }
        });
    }
    Changes(Changes const&) = delete;
    Changes& operator=(Changes const&) = delete;
    ~Changes()
    {
        m_ends = true;
        m_thread.join();
    }
    int Made() const { return m_made; }

private:
    std::atomic<bool> m_ends{false};
    std::atomic<int> m_made{0};
    std::thread m_thread;
};

/// Counts the texts that the label is painted with.
class ShownChanges final : public QObject
{
public:
    explicit ShownChanges(QLabel& label) : m_label(label) { label.installEventFilter(this); }
    int Count() const { return m_count; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint && m_label.text() != m_last) {
            m_last = m_label.text();
            ++m_count;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    QLabel const& m_label;
    QString m_last;
    int m_count = 0;
};

/// Asks for what the transmit lock refuses; ns until the operator sees a line of it.
double TimeOfRefusal(qx5::cli::OperatorPanes& panes, CDataId const& sonar)
{
    static constexpr AttributeKey pings{qx5::protocol::keys::x5PingOnOffState.text};
    auto const& events = panes.Events().Model();
    auto const isRefusal = [&](int row) {
        return events.index(row, qx5::cli::EventModel::Kind).data().toString() == QStringLiteral("refused");
    };
    CAttributeMap tree;
    tree.Add(vordal::keys::Request)->Add(pings, CVordalInt(1));
    int seen = events.rowCount();
    QElapsedTimer timer;
    timer.start();
    DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
    bool const isTold = RunUntil(
        [&] {
            while (seen < events.rowCount() && !isRefusal(seen)) {
                ++seen;
            }
            return seen < events.rowCount();
        },
        10s);
    if (!isTold) {
        throw std::runtime_error("a refused request is no event");
    }
    return static_cast<double>(timer.nsecsElapsed());
}

} // namespace

WindowLoad MeasureWindowLoad(int count, double seconds)
{
    int argc = 1;
    char name[] = "qx5-bench";
    char* argv[] = {name, nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    auto const sonars = PingingSonars(count);
    auto const feed = std::make_shared<vordal::WindowFeed>();
    qx5::cli::WindowSession session(feed, 4);
    std::string error;
    auto const fail = [&](std::string const& what) { throw std::runtime_error(what); };
    if (!session.LoadPlugins({PLUGIN_FILE}, 1, error)) {
        fail(error);
    }
    auto const project = ProjectOf(sonars, session.SonarClass());
    if (!session.Begin(project, {}, error)) {
        fail(error);
    }
    WindowLoad load;
    {
        double const begun = ProcessorTime(CLOCK_THREAD_CPUTIME_ID);
        qx5::cli::OperatorWindow window(session, feed, 4, project.devices.front().dataId);
        window.View().OpenFirst(project.devices.front().dataId);
        window.Main().show();
        window.Main().grab(); // painted, as the first event loop would
        load.firstShow = ProcessorTime(CLOCK_THREAD_CPUTIME_ID) - begun;

        // The view has painted what it shows of the sonar's power.
        auto& power = *window.View().Frame().findChild<QLabel*>(QStringLiteral("powerValue"));
        ShownChanges shown(power);
        auto const allPing = [&] {
            auto const states = session.Desk().Watch().States();
            return std::count_if(states.begin(), states.end(),
                                 [](auto const& state) { return state.pingRate.value_or(0.0) > 1.0; }) == count;
        };
        if (!RunUntil(allPing, 60s)) {
            fail("not all sonars ping");
        }
        auto const pings = [&] {
            double sum = 0.0;
            for (auto const& state : session.Desk().Watch().States()) {
                sum += static_cast<double>(state.pings);
            }
            return sum;
        };
        Changes const changes(*sonars.front());
        RunUntil([] { return false; }, 1s); // until it goes evenly
        double const window0 = ProcessorTime(CLOCK_THREAD_CPUTIME_ID);
        double const process0 = ProcessorTime(CLOCK_PROCESS_CPUTIME_ID);
        double const pings0 = pings();
        int const shown0 = shown.Count();
        int const made0 = changes.Made();
        QElapsedTimer timer;
        timer.start();
        RunUntil([] { return false; }, std::chrono::milliseconds(static_cast<int>(seconds * 1000.0)));
        double const took = static_cast<double>(timer.nsecsElapsed()) * 1e-9;
        load.perSecond = (ProcessorTime(CLOCK_THREAD_CPUTIME_ID) - window0) / took;
        load.processPerSecond = (ProcessorTime(CLOCK_PROCESS_CPUTIME_ID) - process0) / took;
        load.pings = (pings() - pings0) / took;
        load.shown = (shown.Count() - shown0) / took;
        load.told = (changes.Made() - made0) / took;
        if (seconds > 0.0) {
            session.SetTransmitLock(true);
            for (int i = 0; i < 20; ++i) {
                load.event = std::max(load.event, TimeOfRefusal(window.Panes(), project.devices.back().dataId));
            }
        }
    }
    session.End(error);
    return load;
}

std::string TextOf(WindowLoad const& load)
{
    return fmt::format("{} {} {} {} {} {} {}", load.firstShow, load.perSecond, load.processPerSecond, load.told,
                       load.shown, load.event, load.pings);
}

WindowLoad WindowLoadElsewhere(int sonars, double seconds)
{
    QProcess child;
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QStringLiteral("/proc/self/exe"),
                {QStringLiteral("--window-load"), QString::number(sonars), QString::number(seconds)});
    child.waitForFinished(-1);
    std::istringstream text(child.readAllStandardOutput().toStdString());
    WindowLoad load;
    if (!(text >> load.firstShow >> load.perSecond >> load.processPerSecond >> load.told >> load.shown >> load.event >>
          load.pings)) {
        throw std::runtime_error("the window on many sonars did not run to its end");
    }
    return load;
}

} // namespace bench
