// One host's connection to the simulated sonar: what it sends is taken apart, what it is told leaves in order.
#include <simulator/host_connection.h>

#include <algorithm>
#include <span>
#include <utility>

#include <simulator/hosts.h>
#include <simulator/platform/socket_filter.h>
#include <simulator/plural.h>

namespace qx5::simulator {

using Clock = std::chrono::steady_clock;

HostConnection::HostConnection(Hosts& hosts, asio::ip::tcp::socket socket, std::uint64_t number)
    : m_hosts(hosts), m_failures(hosts.Failures()), m_number(number), m_socket(std::move(socket)),
      m_sendTimer(hosts.Context()), m_idleTimer(hosts.Context()), m_quietTimer(hosts.Context()),
      m_arriving(protocol::IdleLimit(hosts.Options().idleLimit, hosts.Options().frameShare))
{
}

void HostConnection::Close(std::string_view why)
{
    if (!std::exchange(m_isOpen, false)) {
        return;
    }
    asio::error_code ignored;
    m_socket.close(ignored);
    m_sendTimer.cancel();
    m_idleTimer.cancel();
    m_quietTimer.cancel();
    m_queue.clear();
    m_queuedBytes = 0;
    m_echoes.clear();
    m_echoBytes = 0;
    m_hosts.OnClosed(*this, why);
}

void HostConnection::CloseWhereOverflown()
{
    if (m_isOverflown) {
        Close("the host does not read");
    }
}

bool HostConnection::DropWhatArrives(bool drop)
{
    return simulator::DropWhatArrives(static_cast<int>(m_socket.native_handle()), drop);
}

void HostConnection::AddTo(ServerCounts& counts) const
{
    counts.bytesReceived += m_bytesReceived;
    counts.bytesSent += m_bytesSent;
    counts.recordsReceived += m_arriving.Reader().GoodFrames();
    counts.framesSent += m_framesSent;
    counts.skippedBytes += m_arriving.Reader().SkippedBytes();
}

std::string HostConnection::CarriedText() const
{
    return Plural(m_arriving.Reader().GoodFrames(), "record") + " received, " + Plural(m_framesSent, "frame") +
           " sent, " + Plural(m_arriving.Reader().SkippedBytes(), "byte") + " of no frame";
}

std::string HostConnection::StatusText() const
{
    return "connection " + std::to_string(m_number) + ": " + Plural(m_bytesReceived, "byte") + " and " +
           Plural(m_arriving.Reader().GoodFrames(), "record") + " received, " + Plural(m_bytesSent, "byte") + " and " +
           Plural(m_framesSent, "frame") + " sent, " + Plural(m_queuedBytes + m_echoBytes, "byte") + " waiting";
}

void HostConnection::AwaitFirstFrame()
{
    if (!m_isOpen) {
        return;
    }
    m_quietTimer.expires_after(m_hosts.Options().quietLimit);
    m_quietTimer.async_wait([this, self = shared_from_this()](asio::error_code const& error) {
        if (error || !m_isOpen || IsKnown()) {
            return;
        }
        if (m_hosts.MayBeQuiet(*this)) {
            AwaitFirstFrame();
        } else {
            Close("it has sent no record");
        }
    });
}

void HostConnection::Read()
{
    if (!m_isOpen || m_isReading || m_failures.stall) {
        return;
    }
    if (std::size_t const held = std::exchange(m_held, 0); held > 0) {
        TakeBytes(held);
        if (!m_isOpen) {
            return;
        }
    }
    m_isReading = true;
    m_socket.async_read_some(asio::buffer(m_arrived),
                             [this, self = shared_from_this()](asio::error_code const& error, std::size_t count) {
                                 m_isReading = false;
                                 if (!m_isOpen) {
                                     return;
                                 }
                                 if (error) {
                                     Close(error == asio::error::eof ? "the host closed the link" : error.message());
                                     return;
                                 }
                                 m_bytesReceived += count;
                                 if (m_failures.stall) {
                                     m_held = count;
                                     return;
                                 }
                                 TakeBytes(count);
                                 Read();
                             });
}

void HostConnection::TakeBytes(std::size_t count)
{
    m_arriving.Feed(std::span(m_arrived).first(count));
    TakeFrames();
    if (m_isOpen) {
        m_arriving.Heard(Clock::now());
        WatchIdle();
    }
}

void HostConnection::TakeFrames()
{
    while (m_isOpen) {
        auto const frame = m_arriving.Next();
        if (!frame) {
            break;
        }
        m_heard = Clock::now();
        m_hosts.Sonar().OnFrame(*this, *frame);
    }
    m_arriving.Feed({}); // gives back what a large frame took
    if (auto const damage = m_arriving.NewDamage(); m_isOpen && damage != protocol::Damage::None) {
        m_hosts.Sonar().OnDamage(*this, damage);
    }
    m_hosts.OnFramesTaken();
}

// One timer at a time, and what moves the limit back leaves the timer alone: it looks and waits again.
void HostConnection::WatchIdle()
{
    auto const due = m_arriving.Due();
    if (!m_isOpen || !due || (m_idleWatched && *due >= m_idleTimer.expiry())) {
        return;
    }
    m_idleWatched = true;
    m_idleTimer.expires_at(*due);
    m_idleTimer.async_wait([this, self = shared_from_this()](asio::error_code const& error) {
        if (error || !m_isOpen) {
            return;
        }
        m_idleWatched = false;
        LookForIdle();
    });
}

void HostConnection::LookForIdle()
{
    auto const now = Clock::now();
    if (m_failures.stall || m_held > 0) {
        // It is this side that keeps the rest waiting.
        m_arriving.Restart(now);
    } else {
        asio::error_code ignored;
        while (m_isOpen && m_arriving.LookAgain(now, m_socket.available(ignored) > 0)) {
            TakeFrames();
        }
    }
    WatchIdle();
}

void HostConnection::Send(SharedBytes const& bytes)
{
    if (!bytes || !m_isOpen || m_failures.silent) {
        return;
    }
    if (m_queuedBytes + bytes->size() > m_hosts.Options().greatestSendQueue) {
        // An end would leave, too.
        if (m_failures.vanish) {
            m_isOverflown = true;
        } else {
            Close("the host does not read");
        }
        return;
    }
    // An answer never overtakes an earlier one, even when the delay has become shorter.
    SteadyTime due = Clock::now() + m_failures.answerLate;
    if (!m_queue.empty()) {
        due = std::max(due, m_queue.back().due);
    }
    m_queue.push_back({bytes, due});
    m_queuedBytes += bytes->size();
    PumpWrites();
}

void HostConnection::SetWish(std::int32_t head, protocol::EchoWish wish)
{
    auto const at = static_cast<std::size_t>(head);
    m_wishes.resize(std::max(m_wishes.size(), at + 1));
    m_wishes[at] = wish;
}

protocol::EchoWish HostConnection::WishFor(std::int32_t head) const
{
    auto const at = static_cast<std::size_t>(head);
    return at < m_wishes.size() ? m_wishes[at] : protocol::EchoWish{};
}

bool HostConnection::SendEchoes(SharedBytes const& bytes, std::int32_t head, EchoKind kind)
{
    auto const waiting = std::span(m_echoes).subspan(m_areEchoesLeaving ? 1 : 0);
    bool const isBefore = std::any_of(waiting.begin(), waiting.end(),
                                      [&](Echoes const& before) { return before.head == head && before.kind == kind; });
    bool const isTooMuch = !m_echoes.empty() && m_echoBytes + bytes->size() > m_hosts.Options().greatestEchoQueue;
    if (!m_isOpen || isBefore || isTooMuch) {
        return false;
    }
    m_echoes.push_back({bytes, head, kind});
    m_echoBytes += bytes->size();
    if (m_isAwaitingDue) {
        m_sendTimer.cancel(); // there is something to leave before it
    }
    PumpWrites();
    return true;
}

/// What leaves next; nothing while there is nothing, or it is not due yet. Echoes and floods wait for whatever else is
/// to leave, and are made as the line takes them.
SharedBytes HostConnection::NextFrame()
{
    if (!m_queue.empty() && m_queue.front().due <= Clock::now()) {
        SharedBytes next = std::move(m_queue.front().bytes);
        m_queue.pop_front();
        m_queuedBytes -= next->size();
        return next;
    }
    if (!m_echoes.empty()) {
        m_areEchoesLeaving = true;
        return m_echoes.front().bytes;
    }
    return m_failures.silent ? SharedBytes() : m_hosts.Sonar().NextFlood(*this);
}

void HostConnection::PumpWrites()
{
    if (!m_isOpen || m_isWriting || m_failures.vanish) {
        return;
    }
    SharedBytes const next = NextFrame();
    if (!next) {
        if (m_queue.empty()) {
            return;
        }
        m_isWriting = true;
        m_isAwaitingDue = true;
        m_sendTimer.expires_at(m_queue.front().due);
        m_sendTimer.async_wait([this, self = shared_from_this()](asio::error_code const&) {
            m_isWriting = false;
            m_isAwaitingDue = false;
            PumpWrites();
        });
        return;
    }
    m_isWriting = true;
    m_leaving.clear();
    m_closeAfterWrite = !m_hosts.Spoiler().Spoil(*next, m_leaving);
    m_left = 0;
    Write();
}

void HostConnection::Write()
{
    if (!m_isOpen) {
        return;
    }
    if (m_failures.vanish) {
        m_isHeldBack = true;
        return;
    }
    if (m_failures.slowDrip.count() > 0) {
        m_sendTimer.expires_after(m_failures.slowDrip);
        m_sendTimer.async_wait([this, self = shared_from_this()](asio::error_code const&) {
            if (!m_isOpen) {
                return;
            }
            if (m_failures.vanish) {
                m_isHeldBack = true;
            } else {
                WriteBytes(1);
            }
        });
        return;
    }
    WriteBytes(m_failures.split ? 1 : m_leaving.size() - m_left);
}

/// At least one byte is left.
void HostConnection::WriteBytes(std::size_t count)
{
    asio::async_write(m_socket, asio::buffer(m_leaving.data() + m_left, count),
                      [this, self = shared_from_this()](asio::error_code const& error, std::size_t written) {
                          if (!m_isOpen) {
                              return;
                          }
                          if (error) {
                              Close(error.message());
                              return;
                          }
                          m_bytesSent += written;
                          m_left += written;
                          if (m_left < m_leaving.size()) {
                              Write();
                              return;
                          }
                          if (m_closeAfterWrite) {
                              Close("dropped on demand after half a frame");
                              return;
                          }
                          ++m_framesSent;
                          m_isWriting = false;
                          if (std::exchange(m_areEchoesLeaving, false)) {
                              m_echoBytes -= m_echoes.front().bytes->size();
                              m_echoes.erase(m_echoes.begin());
                          }
                          PumpWrites();
                      });
}

void HostConnection::WriteOn()
{
    m_sendTimer.cancel();
    if (m_failures.vanish) {
        return;
    }
    if (std::exchange(m_isHeldBack, false)) {
        Write();
    } else {
        PumpWrites();
    }
}

} // namespace qx5::simulator
