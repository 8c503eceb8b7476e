// A signal that an event loop can watch beside its other events.
#pragma once

#include <VordalBaseR/Export.h>

#include <memory>

namespace vordal::platform {

/// Raised by any thread; readable through a handle of the system while it is raised.
class VORDAL_API WakeHandle
{
public:
    /// Throws std::system_error when the system has no handle left.
    WakeHandle();
    WakeHandle(WakeHandle const&) = delete;
    WakeHandle& operator=(WakeHandle const&) = delete;
    ~WakeHandle();

    /// What an event loop watches for reading.
    int Handle() const;
    void Raise();
    /// Takes the signal back. What the raising threads did before is seen after this.
    void Clear();

private:
    int m_handle;
};

} // namespace vordal::platform
