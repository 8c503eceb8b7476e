// A signal that an event loop can watch beside its other events.
#include "reference_host/platform/wake_handle.h"

#include <cerrno>
#include <cstdint>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace vordal::platform {

WakeHandle::WakeHandle() : m_handle(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC))
{
    if (m_handle < 0) {
        throw std::system_error(errno, std::generic_category(), "no handle to wake the window thread with");
    }
}

WakeHandle::~WakeHandle()
{
    close(m_handle);
}

int WakeHandle::Handle() const
{
    return m_handle;
}

void WakeHandle::Raise()
{
    // The only failure is a counter at its end, and then it is raised.
    std::uint64_t const one = 1;
    while (write(m_handle, &one, sizeof one) < 0 && errno == EINTR) {
    }
}

void WakeHandle::Clear()
{
    // Without a signal there is nothing to read, which is as good.
    std::uint64_t count = 0;
    while (read(m_handle, &count, sizeof count) < 0 && errno == EINTR) {
    }
}

} // namespace vordal::platform
