// Sonars under ping control behind a scripted connection or on real sockets.
#include "fleet.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalAttributesR/CVordalType.h>
#include <protocol/bytes.h>
#include <protocol/frame.h>

#include <array>
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

bool ScriptedTraffic::SendRaw(Sender const& sender, std::string_view bytes, bool)
{
    auto const sonar = IndexOf(sender.device);
    auto const command = CommandOf(bytes);
    auto const time = Clock::now();
    if (command == pingCommand && onPing) {
        onPing(sonar);
    }
    m_arrivals.Add({sonar, command, std::string(bytes), time});
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

LiveFleet::LiveFleet(std::vector<SonarSetup> const& sonars) : m_pinged(sonars.size())
{
    host.SetClock(&clock);
    host.SetTraffic(&traffic);
    host.SetMainWindow(true);
    host.AddVessel({.number = 1, .name = L"Vessel", .configuration = {}});
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        auto const sink = [this, i](simulator::SonarEvent const& event) {
            if (event.kind == simulator::EventKind::Record) {
                std::string const frame(event.frame->bytes.begin(), event.frame->bytes.end());
                arrivals.Add({i, CommandOf(frame), frame, Clock::now()});
            } else if (event.kind == simulator::EventKind::Pinged) {
                std::lock_guard const lock(m_pingedMutex);
                m_pinged[i].push_back(Clock::now());
            }
        };
        m_servers.push_back(std::make_unique<simulator::SonarServer>(simulator::ServerOptions{}, sink));
        if (auto const problem = m_servers.back()->Start()) {
            throw std::runtime_error(problem->text);
        }
        Command(i, "set x5Range=" + std::to_string(sonars[i].range));
        Command(i, "set x5SoundVelocity=" + std::to_string(sonars[i].soundSpeed));
        vordal::LinkOptions options;
        options.host = "127.0.0.1";
        options.port = m_servers.back()->Port();
        m_ports.push_back(
            std::make_unique<vordal::X5Port>(host, m_linkThread, CString(L"port-" + std::to_wstring(i)), options));
        host.RunAndWait([&] {
            auto* const device = host.AddDevice(std::make_unique<QX5Device>(), IdOfSonar(i));
            host.ReplaceAttributes(*device, AttributesOf(sonars[i], i));
            host.SetPort(*device, m_ports.back().get());
        });
    }
    host.RunAndWait([] { QX5SonarConfigurationInfo::Instance().Init(); });
    for (std::size_t i = 0; i < sonars.size(); ++i) {
        m_ports[i]->Open();
        // The sonar introduces itself with settings data, and is told to ping on command alone.
        bool const joined = Eventually([&] {
            for (Arrival const& arrival : arrivals.All()) {
                if (arrival.sonar == i && arrival.command == 1004) {
                    return true;
                }
            }
            return false;
        });
        if (!joined) {
            throw std::runtime_error("a sonar did not join its group");
        }
    }
}

LiveFleet::~LiveFleet()
{
    host.RunAndWait([] { QX5SonarConfigurationInfo::Instance().Exit(); });
    for (auto const& port : m_ports) {
        port->Close();
    }
    host.RunAndWait([this] { host.RemoveAllDevices(); });
    host.Stop();
    m_ports.clear();
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

} // namespace qx5::test
