// The window thread of a host: the thread of the toolkit's event loop.
#include "reference_host/controls/window_thread.h"

#include "reference_host/host/host.h"
#include "reference_host/platform/wake_handle.h"

#include <QSocketNotifier>

namespace vordal {

struct WindowThread::State
{
    explicit State(Host& of) : host(of) {}

    Host& host;
    /// Shared with the host's threads, which may raise it a moment longer.
    std::shared_ptr<platform::WakeHandle> signal = std::make_shared<platform::WakeHandle>();
    QSocketNotifier notifier{signal->Handle(), QSocketNotifier::Read};
};

WindowThread::WindowThread(Host& host) : m_state(std::make_unique<State>(host))
{
    auto* const state = m_state.get();
    QObject::connect(&state->notifier, &QSocketNotifier::activated, &state->notifier, [state] {
        state->signal->Clear();
        state->host.DeliverToWindow();
    });
    host.SetWindowThread([signal = state->signal] { signal->Raise(); });
}

WindowThread::~WindowThread()
{
    m_state->host.EndWindowThread();
}

} // namespace vordal
