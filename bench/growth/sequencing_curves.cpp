// How what a ping costs grows with the sonars of its group that share a port.
#include "curve.h"

#include "bench/stage.h"
#include "reference_host/common/host_observer.h"

#include <VordalDataBlocksR/CDataBlock.h>
#include <protocol/bytes.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>

#include <array>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace bench {

namespace {

namespace keys = qx5::protocol::keys;

using Clock = std::chrono::steady_clock;

constexpr std::size_t pingBytes = 92;

/// Times each ping from the first device of a port that is told of it until the ping leaves.
class PingWatch final : public vordal::SonarTraffic, public vordal::HostObserver
{
public:
    bool SendRemoteControl(Sender const&, std::uint32_t, std::span<unsigned char const>, int, int) override
    {
        return true;
    }
    bool AskForRecord(Sender const&, std::uint32_t, int, int) override { return true; }
    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const>, double, int, int) override
    {
        return true;
    }
    bool SendRaw(Sender const&, std::string_view frame, bool) override
    {
        auto const now = Clock::now();
        if (frame.size() != pingBytes) {
            return true;
        }
        {
            std::lock_guard const lock(m_mutex);
            m_took.push_back(std::chrono::duration<double, std::nano>(now - m_begun).count());
        }
        m_isBegun = false;
        m_changed.notify_one();
        return true;
    }
    void OnDisableTimeOut(BaseDevice&, bool) override
    {
        // One thread alone sends the pings of a group.
        if (!m_isBegun) {
            m_isBegun = true;
            m_begun = Clock::now();
        }
    }

    void WaitFor(std::size_t pings)
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return m_took.size() >= pings; });
    }
    std::vector<double> const& Took() const { return m_took; }

private:
    bool m_isBegun = false;
    Clock::time_point m_begun;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<double> m_took;
};

CDataId IdOf(std::size_t sonar)
{
    return CDataId(1, 78, static_cast<unsigned short>(5000 + sonar), 1);
}

void TimePings(Stage& stage, std::size_t members, std::size_t devices, std::vector<double>& nanoseconds)
{
    vordal::StoredProject project;
    project.ports.push_back({L"shared", L"127.0.0.1", 9, {}});
    for (std::size_t i = 0; i < devices; ++i) {
        vordal::StoredDevice sonar{IdOf(i), L"QX5Device", {}, L"shared", true, {}};
        sonar.attributes.Add(AttributeKey(keys::PingMode.text), CVordalInt(i < members ? 1 : 0), 0);
        sonar.attributes.Add(AttributeKey(keys::DeviceId.text), CVordalInt(7125), 0);
        sonar.attributes.Add(AttributeKey(keys::DeviceEnum.text), CVordalInt(static_cast<int>(i)), 0);
        project.devices.push_back(std::move(sonar));
    }
    auto& host = stage.Host();
    PingWatch watch;
    host.SetMainWindow(true);
    host.SetTraffic(&watch);
    {
        vordal::OpenProject open(host, host.Links(), std::move(project));
        open.Start(host.LoadedPlugIns());
        std::array<unsigned char, 4> range{};
        qx5::protocol::PutF32LE(range, 0, 100.0F);
        CDataBlock settings;
        settings.AddItem(699, DATA_FLOAT, range, 4, 0);
        // An overhead of 0 leaves no pause: with the settings of one the next one pings.
        host.PutBlock(IdOf(0), settings);
        watch.WaitFor(1);
        for (std::size_t i = 1; i < members; ++i) {
            host.PutBlock(IdOf(i), settings);
        }
        host.SetObserver(&watch);
        constexpr std::size_t rounds = 200;
        for (std::size_t ping = 0; ping < rounds; ++ping) {
            host.PutBlock(IdOf(ping % members), settings);
            watch.WaitFor(ping + 2);
        }
        host.LoadedPlugIns().ReleaseDevices();
        host.SetObserver(nullptr);
        nanoseconds.insert(nanoseconds.end(), watch.Took().begin() + 1, watch.Took().end());
    }
    host.SetTraffic(&stage.Live());
}

} // namespace

// Before a ping each member has its say for every device on its port, in order, which the port's watchers see: that
// many words are said whatever is done, and the curves tell that nothing else grows.
std::vector<Curve> SequencingCurves(Stage& stage)
{
    constexpr std::size_t devices = 256;
    constexpr std::size_t members = 16;
    constexpr double before = 97'000.0; // of 16 members among 256 devices, with a lock for each word
    return {
        {"group-members-on-one-port",
         "a ping in a group of N sonars on a port with 256 devices, from the first that is told of it until it leaves",
         {4, 16, 64, 256},
         1.0,
         {{members, before}},
         [&stage](std::size_t size, std::vector<double>& nanoseconds) {
             TimePings(stage, size, devices, nanoseconds);
         }},
        {"group-devices-on-one-port",
         "the same in a group of 16 on a port with N devices",
         {16, 64, 256, 1024},
         1.0,
         {{devices, before}},
         [&stage](std::size_t size, std::vector<double>& nanoseconds) {
             TimePings(stage, members, size, nanoseconds);
         }}};
}

} // namespace bench
