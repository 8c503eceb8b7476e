// The window thread of a host: the thread of the toolkit's event loop.
#pragma once

#include <VordalBaseR/Export.h>

#include <functional>
#include <memory>

namespace vordal {

class Host;

/// While it lives, the thread that made it is the host's window thread. What waits is delivered in its event loop, at
/// most some sixty times a second, so that a burst of notifications keeps nobody from a mouse or a key. Needs an
/// application object of the toolkit; goes before the host does, on the same thread, with all displays closed.
class VORDAL_API WindowThread
{
public:
    explicit WindowThread(Host& host);
    WindowThread(WindowThread const&) = delete;
    WindowThread& operator=(WindowThread const&) = delete;
    ~WindowThread();

    /// Called on the window thread whenever something was delivered. Empty for none.
    void SetDeliveredHandler(std::function<void()> handler);

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace vordal
