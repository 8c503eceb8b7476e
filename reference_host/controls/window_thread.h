// The window thread of a host: the thread of the toolkit's event loop.
#pragma once

#include <VordalBaseR/Export.h>

#include <memory>

namespace vordal {

class Host;

/// While it lives, the thread that made it is the host's window thread, and its event loop delivers what waits there.
/// Needs an application object of the toolkit; goes before the host does, on the same thread, with all displays closed.
class VORDAL_API WindowThread
{
public:
    explicit WindowThread(Host& host);
    WindowThread(WindowThread const&) = delete;
    WindowThread& operator=(WindowThread const&) = delete;
    ~WindowThread();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace vordal
