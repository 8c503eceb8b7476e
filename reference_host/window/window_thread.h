// The window thread's end of the host: it is woken when something waits and takes it at a pace that leaves it free.
#pragma once

#include <QObject>
#include <QTimer>

#include <memory>

namespace vordal {

class Host;

/// While it lives, the thread that made it is the host's window thread. What waits is delivered in the event loop, at
/// most some sixty times a second, so that a burst of notifications keeps nobody from a mouse or a key. Make it before
/// the views, destroy it after them; the host must outlive it. Window thread.
class WindowThread final : public QObject
{
    Q_OBJECT

public:
    explicit WindowThread(Host& host);
    ~WindowThread() override;

Q_SIGNALS:
    /// Notifications have been delivered.
    void Delivered();

protected:
    bool event(QEvent* event) override;

private:
    class Bell;

    void Deliver();

    Host& m_host;
    std::shared_ptr<Bell> m_bell;
    /// Runs while it is too early for the next delivery.
    QTimer m_pause;
    bool m_waiting = false;
};

} // namespace vordal
