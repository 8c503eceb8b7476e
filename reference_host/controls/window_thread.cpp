// The window thread of a host: woken when something waits, at a pace that leaves it free.
#include "reference_host/controls/window_thread.h"

#include "reference_host/core/host.h"
#include "reference_host/platform/wake_handle.h"

#include <QSocketNotifier>
#include <QTimer>

#include <chrono>
#include <utility>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds pace{15};

} // namespace

struct WindowThread::State
{
    explicit State(Host& of) : host(of)
    {
        pause.setSingleShot(true);
        QObject::connect(&notifier, &QSocketNotifier::activated, &notifier, [this] {
            signal->Clear();
            isWaiting = true;
            if (!pause.isActive()) {
                Deliver();
            }
        });
        QObject::connect(&pause, &QTimer::timeout, &pause, [this] {
            if (isWaiting) {
                Deliver();
            }
        });
    }

    void Deliver()
    {
        isWaiting = false;
        host.DeliverToWindow();
        pause.start(pace);
        if (delivered) {
            delivered();
        }
    }

    Host& host;
    /// Shared with the host's threads, which may raise it a moment longer.
    std::shared_ptr<platform::WakeHandle> signal = std::make_shared<platform::WakeHandle>();
    QSocketNotifier notifier{signal->Handle(), QSocketNotifier::Read};
    /// Runs while it is too early for the next delivery.
    QTimer pause;
    bool isWaiting = false;
    std::function<void()> delivered;
};

WindowThread::WindowThread(Host& host) : m_state(std::make_unique<State>(host))
{
    host.SetWindowThread([signal = m_state->signal] { signal->Raise(); });
}

WindowThread::~WindowThread()
{
    m_state->host.EndWindowThread();
}

void WindowThread::SetDeliveredHandler(std::function<void()> handler)
{
    m_state->delivered = std::move(handler);
}

} // namespace vordal
