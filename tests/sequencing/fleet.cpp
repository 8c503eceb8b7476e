// Sonars under ping control behind a scripted connection or on real sockets.
#include "fleet.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CVordalType.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>

namespace qx5::test {

namespace {

constexpr std::uint32_t pingCommand = 1107;

std::uint32_t CommandOf(std::string_view frame)
{
    std::span const bytes(reinterpret_cast<unsigned char const*>(frame.data()), frame.size());
    return frame.size() >= 92 ? protocol::GetU32LE(bytes, 64) : 0;
}

std::size_t IndexOf(CDataId const& id)
{
    return static_cast<std::size_t>(id.GetDeviceNum()) - 1;
}

} // namespace

CDataId IdOfSonar(std::size_t index)
{
    return CDataId(1, 78, static_cast<unsigned short>(index + 1), 1);
}

CAttributeMap AttributesOf(SonarSetup const& setup, std::size_t index)
{
    CAttributeMap tree;
    tree.Add(L"PingMode", CVordalInt(1), 0);
    tree.Add(L"SonarGroupId", CVordalInt(setup.group), 0);
    tree.Add(L"Overhead", CVordalDouble(setup.overhead), 0);
    tree.Add(L"DeviceId", CVordalInt(7125), 0);
    tree.Add(L"DeviceEnum", CVordalInt(static_cast<int>(index)), 0);
    return tree;
}

CDataBlock SettingsBlock(double range, double soundSpeed)
{
    std::array<unsigned char, 4> rangeBytes{};
    protocol::PutF32LE(rangeBytes, 0, static_cast<float>(range));
    std::array<unsigned char, 8> speedBytes{};
    protocol::PutF64LE(speedBytes, 0, soundSpeed);
    CDataBlock block;
    block.AddItem(699, DATA_FLOAT, rangeBytes, 4, 0);
    block.AddItem(401, DATA_DOUBLE, speedBytes, 8, 0);
    return block;
}

void Arrivals::Add(Arrival arrival)
{
    {
        std::lock_guard const lock(m_mutex);
        m_arrivals.push_back(std::move(arrival));
    }
    m_changed.notify_all();
}

std::vector<Arrival> Arrivals::All() const
{
    std::lock_guard const lock(m_mutex);
    return m_arrivals;
}

std::string Arrivals::Pings() const
{
    std::string pings;
    for (Arrival const& arrival : All()) {
        if (arrival.command == pingCommand) {
            pings += static_cast<char>('A' + arrival.sonar);
        }
    }
    return pings;
}

std::size_t Arrivals::PingCount(std::size_t sonar) const
{
    std::size_t count = 0;
    for (char const letter : Pings()) {
        count += letter == static_cast<char>('A' + sonar) ? 1U : 0U;
    }
    return count;
}

template <typename Condition>
bool Arrivals::WaitFor(Condition condition) const
{
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, patience, condition);
}

bool Arrivals::WaitForPings(std::size_t count) const
{
    return WaitFor([&] {
        std::size_t pings = 0;
        for (Arrival const& arrival : m_arrivals) {
            pings += arrival.command == pingCommand ? 1U : 0U;
        }
        return pings >= count;
    });
}

bool Arrivals::WaitForPingsOf(std::size_t sonar, std::size_t count) const
{
    return WaitFor([&] {
        std::size_t pings = 0;
        for (Arrival const& arrival : m_arrivals) {
            pings += arrival.command == pingCommand && arrival.sonar == sonar ? 1U : 0U;
        }
        return pings >= count;
    });
}

bool ScriptedTraffic::SendRaw(Sender const& sender, std::string_view bytes, bool flag)
{
    auto const sonar = IndexOf(sender.device);
    auto const command = CommandOf(bytes);
    auto const time = Clock::now();
    if (auto const& told = command == pingCommand ? onPing : onSilence) {
        told(sonar);
    }
    m_arrivals.Add({sonar, command, std::string(bytes), flag, time});
    return true;
}

ScriptedFleet::ScriptedFleet(std::vector<SonarSetup> const& sonars)
{
    host.SetClock(&clock);
    host.SetTraffic(&traffic);
    host.SetMainWindow(true);
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        auto* const device = host.AddDevice(std::make_unique<QX5Device>(), IdOfSonar(i));
        host.ReplaceAttributes(*device, AttributesOf(sonars[i], i));
    }
}

ScriptedFleet::~ScriptedFleet()
{
    Info().Exit();
    host.RemoveAllDevices();
}

LiveFleet::LiveFleet(std::vector<SonarSetup> const& sonars, Connections connections)
    : m_areHeads(connections == Connections::Shared), m_pinged(sonars.size())
{
    host.SetClock(&clock);
    host.SetMainWindow(true);
    vordal::StoredProject project;
    project.vessels = {{.number = 1, .name = L"Vessel", .configuration = {}}};
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        if (!m_areHeads || i == 0) {
            project.ports.push_back(MakeSonar(sonars[i], m_areHeads ? static_cast<std::int32_t>(sonars.size()) : 1));
        }
        project.devices.push_back(
            {IdOfSonar(i), L"QX5Device", {}, project.ports.back().name, true, AttributesOf(sonars[i], i)});
    }
    auto& open = host.Open(std::move(project));
    open.Start(host.LoadedPlugIns());
    host.RunAndWait([] { QX5SonarConfigurationInfo::Instance().Init(); });
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        if (i < open.Ports().size()) {
            open.Ports()[i]->Open();
        }
        if (!Joins(i)) {
            throw std::runtime_error("a sonar did not join its group");
        }
    }
}

vordal::StoredPort LiveFleet::MakeSonar(SonarSetup const& setup, std::int32_t heads)
{
    std::size_t const index = m_servers.size();
    simulator::ServerOptions server;
    server.heads = heads;
    m_servers.push_back(std::make_unique<simulator::SonarServer>(
        server, [this, index](simulator::SonarEvent const& event) { OnSonar(index, event); }));
    if (auto const problem = m_servers.back()->Start()) {
        throw std::runtime_error(problem->text);
    }
    Command(index, "set x5Range=" + std::to_string(setup.range));
    Command(index, "set x5SoundVelocity=" + std::to_string(setup.soundSpeed));
    return {L"port-" + std::to_wstring(index), L"127.0.0.1", m_servers.back()->Port(), {}};
}

void LiveFleet::OnSonar(std::size_t firstHead, simulator::SonarEvent const& event)
{
    if (event.kind == simulator::EventKind::Record) {
        std::string const frame(event.frame->bytes.begin(), event.frame->bytes.end());
        std::size_t const head = m_areHeads ? event.frame->header.enumerator : 0;
        arrivals.Add({firstHead + head, CommandOf(frame), frame, false, Clock::now()});
    } else if (event.kind == simulator::EventKind::Pinged) {
        std::lock_guard const lock(m_pingedMutex);
        m_pinged[firstHead + static_cast<std::size_t>(std::max(event.head, 0))].push_back(Clock::now());
    }
}

/// The sonar introduces itself with settings data, and is told to ping on command alone.
bool LiveFleet::Joins(std::size_t sonar)
{
    return Eventually([&] {
        auto const all = arrivals.All();
        return std::any_of(all.begin(), all.end(),
                           [&](Arrival const& arrival) { return arrival.sonar == sonar && arrival.command == 1004; });
    });
}

LiveFleet::~LiveFleet()
{
    host.End(std::chrono::seconds(10), [] { QX5SonarConfigurationInfo::Instance().Exit(); });
    for (auto const& server : m_servers) {
        server->Stop();
    }
}

void LiveFleet::Command(std::size_t sonar, std::string_view line)
{
    std::string answer;
    if (!m_servers[sonar]->Command(line, answer)) {
        throw std::runtime_error(answer);
    }
}

std::vector<Clock::time_point> LiveFleet::Pinged(std::size_t sonar) const
{
    std::lock_guard const lock(m_pingedMutex);
    return m_pinged[sonar];
}

bool Waits(pid_t thread)
{
    for (int look = 0; look < 3; ++look) {
        std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
        std::string text;
        std::getline(file, text);
        auto const name = text.rfind(')');
        if (name == std::string::npos || text.substr(name, 3) != ") S") {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace qx5::test
