// The window thread's end of the host: it is woken when something waits and takes it at a pace that leaves it free.
#include "window_thread.h"

#include "reference_host/host/host.h"

#include <QCoreApplication>
#include <QEvent>

#include <chrono>
#include <mutex>

namespace vordal {
namespace {

constexpr std::chrono::milliseconds Pace{15};

QEvent::Type WakeEvent()
{
    static auto const type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace

/// What the host rings, on any thread; it may ring a moment after the window thread has gone.
class WindowThread::Bell
{
public:
    explicit Bell(QObject* target) : m_target(target) {}

    void Ring()
    {
        std::lock_guard const lock(m_mutex);
        if (m_target != nullptr) {
            QCoreApplication::postEvent(m_target, new QEvent(WakeEvent()));
        }
    }
    void TakeOff()
    {
        std::lock_guard const lock(m_mutex);
        m_target = nullptr;
    }

private:
    std::mutex m_mutex;
    QObject* m_target;
};

WindowThread::WindowThread(Host& host) : m_host(host), m_bell(std::make_shared<Bell>(this))
{
    m_pause.setSingleShot(true);
    connect(&m_pause, &QTimer::timeout, this, [this] {
        if (m_waiting) {
            Deliver();
        }
    });
    static_cast<void>(WakeEvent()); // registered before any other thread asks for it
    m_host.SetWindowThread([bell = m_bell] { bell->Ring(); });
}

WindowThread::~WindowThread()
{
    m_bell->TakeOff();
    m_host.EndWindowThread();
}

bool WindowThread::event(QEvent* event)
{
    if (event->type() != WakeEvent()) {
        return QObject::event(event);
    }
    m_waiting = true;
    if (!m_pause.isActive()) {
        Deliver();
    }
    return true;
}

void WindowThread::Deliver()
{
    m_waiting = false;
    m_host.DeliverToWindow();
    m_pause.start(Pace);
    Q_EMIT Delivered();
}

} // namespace vordal
