// A signal that an event loop can watch beside its other events: an event of Windows.
#include "reference_host/platform/wake_handle.h"

#include <windows.h>

#include <cstdint>
#include <system_error>

namespace vordal::platform {

namespace {

/// Handles have 32 bits that count, whatever the system's width.
HANDLE EventOf(int handle)
{
    return reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(handle));
}

} // namespace

WakeHandle::WakeHandle()
    : m_handle(static_cast<int>(reinterpret_cast<std::intptr_t>(CreateEventW(nullptr, TRUE, FALSE, nullptr))))
{
    if (m_handle == 0) {
        throw std::system_error(static_cast<int>(GetLastError()), std::system_category(),
                                "no handle to wake the window thread with");
    }
}

WakeHandle::~WakeHandle()
{
    CloseHandle(EventOf(m_handle));
}

int WakeHandle::Handle() const
{
    return m_handle;
}

void WakeHandle::Raise()
{
    SetEvent(EventOf(m_handle));
}

void WakeHandle::Clear()
{
    ResetEvent(EventOf(m_handle));
}

} // namespace vordal::platform
