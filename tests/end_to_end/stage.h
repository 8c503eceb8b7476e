// What the end-to-end tests play on: a simulated sonar that keeps every frame, and a host with the plug-in module.
#pragma once

#include <reference_host/common/clock.h>
#include <reference_host/common/host_observer.h>
#include <reference_host/common/log.h>
#include <reference_host/link/x5_port.h>
#include <reference_host/project/live_host.h>
#include <simulator/sonar_server.h>

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace qx5::test {

using Bytes = std::vector<unsigned char>;

/// How long a condition may take on any machine under any sanitizer; a test that works never comes near it.
inline constexpr std::chrono::seconds patience{60};

/// Where the host's clock stands: 2023-11-14 22:13:20 UTC.
inline constexpr double standingTime = 1700000000.0;

/// Asks again and again until it holds; false when patience is over.
template <typename Condition>
bool Eventually(Condition condition)
{
    auto const deadline = std::chrono::steady_clock::now() + patience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

/// The frame that asks for a range, 96 bytes, of which bytes 88 to 91 are the range as a 32-bit float.
Bytes RangeFrame(float range);
/// The range that such a frame asks for; nothing for any other frame.
std::optional<float> RangeOf(Bytes const& frame);
std::string ToHex(Bytes const& bytes);

/// The simulated sonar, and every frame that reached it. Any thread.
class FarEnd
{
public:
    /// Throws when the sonar cannot listen.
    explicit FarEnd(simulator::ServerOptions options = {});

    std::uint16_t Port() const { return m_server.Port(); }
    simulator::SonarServer& Server() { return m_server; }
    /// A command that must be taken; its answer.
    std::string Command(std::string_view line);

    struct Arrival
    {
        std::uint64_t connection;
        Bytes frame;
    };
    std::vector<Arrival> Arrivals() const;
    /// The ranges asked for so far, in the order in which they arrived.
    std::vector<float> Ranges() const;
    /// Waits until such a frame has arrived.
    bool WaitForRange(float range);
    /// Waits until at least so many requests for a range have arrived.
    bool WaitForRanges(std::size_t count);
    /// What the sonar said that it told, in order: "2 changed attributes: x5Range x5Gain".
    std::vector<std::string> Answers() const;

private:
    void OnEvent(simulator::SonarEvent const& event);

    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Arrival> m_arrivals;
    std::vector<std::string> m_answers;
    simulator::SonarServer m_server; ///< last: its thread uses what stands above
};

/// The host with the plug-in, one sonar device on a port, and a subscriber of "x5Range". Used from the test's thread
/// unless something else is said.
class NearEnd
{
public:
    explicit NearEnd(std::uint16_t port, std::function<void(vordal::LinkOptions&)> const& change = {},
                     vordal::VesselSetup vessel = {.number = 1, .name = L"Vessel", .configuration = {}});
    NearEnd(NearEnd const&) = delete;
    NearEnd& operator=(NearEnd const&) = delete;
    ~NearEnd();

    /// Begins to connect.
    void Open() { m_host.Start(); }
    /// The same, and waits for the connection and for what the sonar tells of itself.
    bool Connect();
    bool WaitForConnection()
    {
        return Eventually([this] { return m_port->GetLink().IsConnected(); });
    }
    bool WaitForLoss()
    {
        return Eventually([this] { return !m_port->GetLink().IsConnected(); });
    }

    /// A request as a view makes it. Any thread; carried out later on the host thread.
    void Post(CAttributeMap const& request);
    void PostRange(double range);
    /// The same, and waits until it was carried out.
    void Ask(CAttributeMap const& request);
    void AskRange(double range);
    /// What the record façade says to a range; nothing is echoed.
    bool Send(float range);

    /// "x5Range" as the subscriber read it in the tree at each notification.
    std::vector<double> SeenRanges() const;
    /// The ranges that the device echoed.
    std::vector<double> EchoedRanges() const;
    bool WaitUntilSeen(double range);
    /// A double of the device's tree; nothing when there is none.
    std::optional<double> Value(wchar_t const* key);
    std::vector<std::string> LogLines() const;

    vordal::Host& Host() { return m_host; }
    vordal::X5Port& Port() { return *m_port; }
    QX5Device& Sonar() { return *m_device; }

private:
    class Watcher;
    void OnRangeTold();

    vordal::FixedClock m_clock{standingTime};
    std::unique_ptr<Watcher> m_watcher;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<double> m_seen;
    std::vector<double> m_echoed;
    std::vector<std::string> m_lines;
    vordal::LiveHost m_host;
    vordal::X5Port* m_port = nullptr;
    QX5Device* m_device = nullptr;
    std::unique_ptr<Subscription> m_subscription;
};

} // namespace qx5::test
