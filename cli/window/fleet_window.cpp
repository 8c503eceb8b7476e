// The operator's window with the sonars of a fleet.
#include "cli/window/fleet_window.h"

#include "cli/fleet_use.h"
#include "cli/output.h"
#include "cli/platform/end_signals.h"
#include "cli/plugins.h"
#include "cli/window/fleet_in_window.h"
#include "cli/window/help_menu.h"
#include "cli/window/picture_file.h"
#include "cli/window/run_until.h"
#include "cli/window/screen_room.h"
#include "cli/window/window_application.h"
#include "reference_host/streams/settings_data.h"

#include <protocol/utf8.h>

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

constexpr int fleetInTheDark = 2;
constexpr int fleetByDay = 4;
/// When the first sonar has been heard of, others follow.
constexpr auto forTheOthers = 1500ms;
/// A picture is taken when the round trip has been measured.
constexpr auto beforePicture = 3000ms;

} // namespace

void FleetMarks::SetWake(std::function<void()> wake)
{
    std::lock_guard const lock(m_mutex);
    m_wake = std::move(wake);
}

void FleetMarks::Put(fleet::Place const& place)
{
    std::function<void()> wake;
    {
        std::lock_guard const lock(m_mutex);
        bool const isFirst = m_places.empty();
        m_places.insert(place);
        if (isFirst) {
            wake = m_wake;
        }
    }
    m_hasSome.notify_all();
    if (wake) {
        wake();
    }
}

std::set<fleet::Place> FleetMarks::Take()
{
    std::lock_guard const lock(m_mutex);
    return std::exchange(m_places, {});
}

bool FleetMarks::Await(std::chrono::steady_clock::time_point until)
{
    std::unique_lock lock(m_mutex);
    return m_hasSome.wait_until(lock, until, [this] { return !m_places.empty(); });
}

FleetWindow::FleetWindow(FleetSetup setup) : m_session(m_feed, setup.lightMode)
{
    std::string error;
    if (!m_session.LoadPlugins(setup.plugIns, setup.toldPlugIns, error)) {
        throw std::runtime_error(error);
    }
    setup.fleet.isPresent = true;
    setup.fleet.wantsDetections = true;
    m_fleet = std::make_unique<fleet::Fleet>(std::move(setup.fleet), Hooks());
    m_fleet->Start();
    vordal::StoredProject project;
    for (auto const& place : AwaitSonars(setup.firstSonarLimit)) {
        if (!m_vessels.contains(place.vessel)) {
            project.vessels.push_back(VesselOf(place.vessel));
        }
        project.devices.push_back(NewDevice(place));
        m_shown.insert(place);
    }
    auto const first = project.devices.front().dataId;
    if (!m_session.Begin(std::move(project), {}, error)) {
        throw std::runtime_error(error);
    }
    for (auto const& [place, device] : m_devices) {
        m_session.Desk().SetName(device, TextOf(place));
    }
    m_toWindow = m_answers.emplace().Poster();
    m_session.Host().RunAndWait([this] {
        m_host = std::make_unique<FleetHost>(m_session, m_feed, *m_fleet);
        for (auto const& [place, device] : m_devices) {
            m_host->Add(device, place);
        }
    });
    m_window.emplace(m_session, m_feed, setup.lightMode, first);
    // What it would do is done at sonars of this machine.
    m_window->Panes().SonarMenu().menuAction()->setVisible(false);
    m_bar.emplace(m_session, *m_fleet, Main(), [this](CDataId const& device) { return PlaceOf(device); });
    m_marks.SetWake([this] { m_session.Host().Post([this] { Update(); }); });
    m_session.Host().Post([this] { Update(); }); // what has changed before
    m_window->View().OpenFirst(first);
}

FleetWindow::~FleetWindow()
{
    m_bar.reset();
    if (m_fleet != nullptr) {
        m_fleet->End();
    }
    m_session.Host().RunAndWait([this] { m_host.reset(); });
    m_window.reset();
    m_answers.reset();
    if (std::string error; !m_session.End(error)) {
        Complain(ExitFailed, error);
    }
}

fleet::FleetHooks FleetWindow::Hooks()
{
    fleet::FleetHooks hooks;
    hooks.line = [this](broker::LineStatus const& status) {
        if (status.state == broker::LineState::Waiting) {
            m_session.Tell(status.reason);
        } else if (status.state == broker::LineState::Connected) {
            m_session.Tell(operation::Severity::Information, "connected to the broker");
        }
    };
    hooks.changed = [this](fleet::Place const& place) { m_marks.Put(place); };
    hooks.detections = [this](fleet::Place const& place, authority::DetectionsMessage const& message) {
        m_session.Host().Post([this, place, message] {
            if (m_host != nullptr) {
                m_host->PutDetections(place, message);
            }
        });
    };
    hooks.tell = [this](std::string const& line) { m_session.Tell(line); };
    return hooks;
}

std::vector<fleet::Place> FleetWindow::AwaitSonars(std::chrono::milliseconds limit)
{
    using Clock = std::chrono::steady_clock;
    auto until = Clock::now() + limit;
    std::vector<fleet::Place> sonars;
    while (m_marks.Await(until)) {
        m_marks.Take();
        if (sonars.empty() && !m_fleet->Sonars().empty()) {
            until = Clock::now() + forTheOthers;
        }
        sonars = m_fleet->Sonars();
    }
    if (sonars.empty()) {
        auto const line = m_fleet->Line();
        throw std::runtime_error(line.state != broker::LineState::Connected && !line.reason.empty()
                                     ? line.reason
                                     : "nothing is heard of any sonar");
    }
    return sonars;
}

vordal::VesselSetup FleetWindow::VesselOf(std::string const& name)
{
    auto const number = m_vessels.try_emplace(name, static_cast<unsigned short>(m_vessels.size() + 1)).first->second;
    return MakeVessel(number, CString(protocol::DecodeUtf8(name)), false);
}

vordal::StoredDevice FleetWindow::NewDevice(fleet::Place const& place)
{
    auto const vessel = VesselOf(place.vessel).number;
    unsigned short number = 1;
    for (auto const& [each, device] : m_devices) {
        number = static_cast<unsigned short>(number + (each.vessel == place.vessel ? 1 : 0));
    }
    auto const id = m_devices[place] = CDataId(1, vordal::SonarDataGroup, number, vessel);
    return {id, m_session.SonarClass(), CString(protocol::DecodeUtf8(place.sonar)), {}, true, {}};
}

std::optional<fleet::Place> FleetWindow::PlaceOf(CDataId const& device) const
{
    for (auto const& [place, id] : m_devices) {
        if (id == device) {
            return place;
        }
    }
    return std::nullopt;
}

std::optional<CDataId> FleetWindow::DeviceOf(fleet::Place const& place) const
{
    auto const found = m_devices.find(place);
    return found != m_devices.end() ? std::optional(found->second) : std::nullopt;
}

void FleetWindow::Update()
{
    if (m_host == nullptr) {
        return;
    }
    for (auto const& place : m_marks.Take()) {
        m_host->Update(place);
        if (!place.sonar.empty() && m_shown.insert(place).second) {
            m_toWindow([this, place] { AddSonar(place); });
        }
    }
}

void FleetWindow::AddSonar(fleet::Place const& place)
{
    auto const device = NewDevice(place);
    auto const vessel = VesselOf(place.vessel);
    std::string error;
    if (!m_session.AddUnconnected(device, vessel, error)) {
        m_session.Tell(fmt::format("{} is not shown: {}", TextOf(place), error));
        return;
    }
    m_session.Desk().SetName(device.dataId, TextOf(place));
    m_session.Host().Post([this, place, id = device.dataId] {
        if (m_host != nullptr) {
            m_host->Add(id, place);
        }
    });
    Main().SetVessels(m_session.Listed());
}

namespace {

/// Shows the window until it is closed, or a signal comes.
void ShowFleet(FleetWindow& fleet)
{
    EndSignals const signals;
    QSocketNotifier const notifier(signals.Descriptor(), QSocketNotifier::Read);
    auto& window = fleet.Main();
    QObject::connect(&notifier, &QSocketNotifier::activated, &window, [&window] { window.close(); });
    window.FitInto(RoomFor(window));
    window.show();
    QTimer::singleShot(0, &window, [] { Say("The window is open on the fleet.\n"); });
    QApplication::exec();
}

int PictureOfFleet(FleetWindow& fleet, std::string const& file)
{
    fleet.Main().show();
    RunUntil([] { return false; }, beforePicture);
    std::string error;
    return WritePicture(fleet.Main().grab(), QString::fromStdString(file), error) ? ExitGood
                                                                                  : Complain(ExitFailed, error);
}

} // namespace

int FleetInWindow(RunOptions const& options)
{
    try {
        std::string error;
        auto fleetOptions = FleetOptionsOf(options.fleet, error);
        if (!fleetOptions) {
            return Complain(ExitWrong, error);
        }
        bool const isPicture = !options.screenshot.empty();
        WindowApplication const application(isPicture, options.scale);
        if (!application.CanBegin()) {
            return ExitFailed;
        }
        int const mode = options.dark ? fleetInTheDark : fleetByDay;
        FleetWindow fleet({.fleet = *std::move(fleetOptions),
                           .plugIns = PluginFiles(options.plugins),
                           .toldPlugIns = options.plugins.size(),
                           .lightMode = mode});
        fleet.Main().SetProjectName(QObject::tr("Fleet %1").arg(QString::fromStdString(options.fleet.group)));
        AddHelpMenu(fleet.Main(),
                    {.program = options.facts, .plugIns = [&fleet] { return fleet.Session().PlugIns(); }});
        if (isPicture) {
            return PictureOfFleet(fleet, options.screenshot);
        }
        ShowFleet(fleet);
        return ExitGood;
    } catch (std::runtime_error const& problem) {
        return Complain(ExitFailed, problem.what());
    }
}

} // namespace qx5::cli
