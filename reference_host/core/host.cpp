// The reference host as a whole: how it comes and goes, and its surroundings.
#include "reference_host/core/host.h"

#include "reference_host/common/clock.h"
#include "reference_host/core/application.h"
#include "reference_host/core/host_state.h"
#include "reference_host/streams/stream_buffer.h"

#include <vordalhostdllR/SonarTargetsManager.h>

#include <atomic>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>

namespace vordal {
namespace {

std::atomic<Host*> currentHost{nullptr};

/// A text in the form of a GUID, by chance.
CString MakeGuid()
{
    std::random_device random;
    std::wstring text;
    for (int i = 0; i < 32; ++i) {
        if (i == 8 || i == 12 || i == 16 || i == 20) {
            text += L'-';
        }
        text += L"0123456789abcdef"[random() & 0xFU];
    }
    return CString(std::move(text));
}

} // namespace

HostState* CurrentState()
{
    auto* const host = currentHost.load(std::memory_order_acquire);
    return host != nullptr ? &host->State() : nullptr;
}

Host::Host(Threading threading) : Host(std::make_unique<HostState>(threading), threading) {}

Host::Host(std::unique_ptr<HostState> state, Threading threading)
    : HostThreads(*state), HostDevices(*state), HostRequests(*state), HostStreams(*state), HostProject(*state),
      HostApplication(*state), m_state(std::move(state))
{
    Host* none = nullptr;
    if (!currentHost.compare_exchange_strong(none, this)) {
        throw std::logic_error("a host is alive in this process already");
    }
    m_state->appInstanceGuid = MakeGuid();
    m_state->targets =
        std::make_unique<TargetStore>([this](auto const& task) { RunAndWait(task); }, [this] { return Now(); });
    SonarTargetsManager::Instance().geoTiffOutputEnabled = false;
    if (threading == Threading::Threaded) {
        m_state->thread = std::make_unique<HostThread>();
    }
}

Host::~Host()
{
    if (m_state->thread != nullptr) {
        m_state->thread->Finish();
    }
    m_state->window->Detach();
    RemoveAllDevices();
    currentHost.store(nullptr, std::memory_order_release);
}

Host& Host::Current()
{
    auto* const host = CurrentOrNull();
    if (host == nullptr) {
        throw std::logic_error("no host is alive in this process");
    }
    return *host;
}

Host* Host::CurrentOrNull()
{
    return currentHost.load(std::memory_order_acquire);
}

void Host::SetClock(Clock const* clock)
{
    m_state->clock.store(clock, std::memory_order_release);
}

double Host::Now() const
{
    auto const* const clock = m_state->clock.load(std::memory_order_acquire);
    return clock != nullptr ? clock->Now() : SystemClock().Now();
}

void Host::SetTraffic(SonarTraffic* traffic)
{
    m_state->traffic.store(traffic, std::memory_order_release);
}
SonarTraffic* Host::Traffic() const
{
    return m_state->traffic.load(std::memory_order_acquire);
}
void Host::SetObserver(HostObserver* observer)
{
    m_state->observer.store(observer, std::memory_order_release);
}
HostObserver* Host::Observer() const
{
    return m_state->observer.load(std::memory_order_acquire);
}
TargetStore& Host::Targets()
{
    return *m_state->targets;
}

} // namespace vordal
