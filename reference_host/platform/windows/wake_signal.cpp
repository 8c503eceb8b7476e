// A signal for which one thread sleeps, at the least cost that the platform has: a semaphore of Windows.
#include "reference_host/platform/wake_signal.h"

#include <windows.h>

#include <limits>
#include <system_error>

namespace vordal::platform {

struct WakeSignal::State
{
    HANDLE semaphore;
};

WakeSignal::WakeSignal() : m_state(std::make_unique<State>())
{
    m_state->semaphore = CreateSemaphoreW(nullptr, 0, std::numeric_limits<LONG>::max(), nullptr);
    if (m_state->semaphore == nullptr) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                "no semaphore for the host thread");
    }
}

WakeSignal::~WakeSignal()
{
    CloseHandle(m_state->semaphore);
}

void WakeSignal::Raise()
{
    ReleaseSemaphore(m_state->semaphore, 1, nullptr);
}

void WakeSignal::Wait()
{
    WaitForSingleObject(m_state->semaphore, INFINITE);
}

} // namespace vordal::platform
