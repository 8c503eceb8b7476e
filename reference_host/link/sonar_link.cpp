// The TCP connection to one sonar: opened, lost, waited for, closed, and told of.
#include "sonar_link.h"

#include "connecting.h"
#include "frame_receiving.h"
#include "frame_sending.h"

#include <asio/steady_timer.hpp>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <utility>

namespace vordal {
namespace {

double SystemTime()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::uint64_t SeedFor(void const* link)
{
    return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
           static_cast<std::uint64_t>(std::hash<void const*>{}(link));
}

} // namespace

std::string_view ToText(LinkState state)
{
    switch (state) {
    case LinkState::Closed:
        return "closed";
    case LinkState::Connecting:
        return "connecting";
    case LinkState::Connected:
        return "connected";
    case LinkState::Lost:
        return "lost";
    case LinkState::Waiting:
        return "waiting";
    }
    return "";
}

// Private functions run on the link thread, but for Trace. A listener that is called may end the attempt at hand: who
// calls it looks whether the number is another before going on.
class SonarLink::Impl final : public LinkHandlers, private Connecting::Listener, private FrameReceiving::Listener
{
public:
    Impl(LinkThread& thread, LinkOptions options, SonarLinkListener& listener)
        : LinkHandlers(thread), m_thread(thread), m_options(std::move(options)), m_listener(&listener),
          m_backOff(m_options.backOff, SeedFor(this)), m_retryTimer(Context()), m_connecting(*this, m_options, *this),
          m_sending(*this, m_options.queueBytes, m_options.greatestFrame),
          m_receiving(*this, m_sending.Socket(), m_options, *this)
    {
        if (m_options.clock == nullptr) {
            m_options.clock = SystemTime;
        }
    }
    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;
    ~Impl()
    {
        if (auto const core = Core()) {
            core->Leave(*this);
        }
    }

    void Open()
    {
        m_openWanted.store(true);
        m_needsClosing.store(true);
        Need(Opening);
    }

    void BeginClose()
    {
        m_sending.SendHeld();
        m_openWanted.store(false);
        // One that was not opened since its last end has nothing under way that the link thread would have to end.
        std::lock_guard const lock(m_closeMutex);
        if (m_needsClosing.exchange(false)) {
            ++m_closesWanted;
            Need(Closing);
        }
    }

    void Close()
    {
        if (m_thread.IsCurrent()) {
            m_sending.SendHeld();
            m_openWanted.store(false);
            CloseNow();
            return;
        }
        BeginClose();
        std::unique_lock lock(m_closeMutex);
        m_closed.wait(lock, [&] { return m_closesDone >= m_closesWanted; });
    }

    void ForgetListener() { m_forgetListener.store(true); }

    bool Send(std::span<unsigned char const> frame) { return Traced(m_sending.Send(frame), frame); }
    bool SendOwned(OwnedBytes const& frame) { return Traced(m_sending.Send(frame), frame.bytes); }

    /// Tells who looks on of a frame that was accepted under that number; false for 0, when it was not.
    bool Traced(std::uint64_t number, std::span<unsigned char const> frame)
    {
        if (number == 0) {
            m_refused.fetch_add(1, std::memory_order_relaxed);
            return false;
        }
        if (m_options.framed && m_observed.load(std::memory_order_acquire)) {
            try {
                Trace({true, m_options.clock(), number, frame});
            } catch (...) {
                // Whoever looks on has missed one; the frame has left.
            }
        }
        return true;
    }

    bool IsConnected() const { return m_sending.IsOpen(); }

    LinkStatus GetStatus() const
    {
        std::lock_guard const lock(m_statusMutex);
        return m_status;
    }

    LinkCounters GetCounters() const
    {
        LinkCounters counters;
        counters.connections = m_connections.load(std::memory_order_relaxed);
        counters.refused = m_refused.load(std::memory_order_relaxed);
        m_receiving.Count(counters);
        m_sending.Count(counters.framesOut, counters.bytesOut);
        return counters;
    }

    std::size_t GetQueuedBytes() const { return m_sending.QueuedBytes(); }

    void SetReadingPaused(bool paused)
    {
        m_receiving.SetPaused(paused);
        if (!paused) {
            Post(Resuming, Always([this] { m_receiving.Resume(); }));
        }
    }

    void SetObserver(std::shared_ptr<LinkObserver> observer)
    {
        std::lock_guard const lock(m_observerMutex);
        m_observed.store(observer != nullptr, std::memory_order_release);
        m_observer.swap(observer);
    }

    bool Attend() noexcept override
    {
        auto const noted = TakeNoted();
        if ((noted & Closing) != 0) {
            std::uint64_t wanted = 0;
            {
                std::lock_guard const lock(m_closeMutex);
                wanted = m_closesWanted;
            }
            CloseNow();
            std::lock_guard const lock(m_closeMutex);
            m_closesDone = wanted;
            m_closed.notify_all();
        }
        try {
            AttendTo(noted);
            return true;
        } catch (...) {
            // What follows from a connection that is given up needs nothing else of this.
            GiveUp();
            Note(BeginningAnew | (noted & Opening));
            return false;
        }
    }

private:
    void AttendTo(unsigned noted)
    {
        if ((noted & Opening) != 0 && m_openWanted.load() && !m_open && m_listener != nullptr) {
            m_open = true;
            m_backOff.Reset();
            TryToConnect();
        }
        if ((noted & BeginningAnew) != 0 && m_open) {
            auto const reason = Where() + ": memory ran out at this end, the connection begins anew";
            auto const attempt = Attempt();
            if (m_connectedTold) {
                Tell({LinkState::Lost, reason, {}});
                m_connectedTold = false;
            }
            if (attempt == Attempt()) {
                m_listener->OnLinkReport(reason);
            }
            if (attempt == Attempt()) {
                TryAgainLater(reason);
            }
        }
        if (!m_isConnected) {
            return;
        }
        if ((noted & Breaking) != 0) {
            Lose(m_sending.Failure());
            return;
        }
        if ((noted & SendingHeld) != 0) {
            m_sending.EndHolding();
        }
        if ((noted & Draining) != 0) {
            m_sending.Drain();
        }
        if ((noted & Resuming) != 0) {
            m_receiving.Resume();
        }
    }

    std::string Where() const { return m_options.host + ":" + std::to_string(m_options.port); }

    // Connecting.

    void TryToConnect()
    {
        auto const attempt = NextAttempt();
        Tell({LinkState::Connecting, Where(), {}});
        if (attempt == Attempt()) {
            m_connecting.Start();
        }
    }

    void OnConnection(asio::ip::tcp::socket socket) override
    {
        m_backOff.Connected(std::chrono::steady_clock::now());
        m_isConnected = true;
        m_receiving.Begin();
        m_sending.Begin(std::move(socket));
        m_connections.fetch_add(1, std::memory_order_relaxed);
        m_connectedTold = true;
        auto const attempt = Attempt();
        Tell({LinkState::Connected, Where(), {}});
        if (attempt == Attempt()) {
            m_receiving.Read();
        }
    }

    void OnNoConnection(std::string const& reason) override
    {
        NextAttempt();
        TryAgainLater(Where() + ": " + reason);
    }

    // Receiving.

    void OnFrame(qx5::protocol::FrameView const& frame, std::uint64_t number, double time) override
    {
        if (m_observed.load(std::memory_order_acquire)) {
            Trace({false, time, number, frame.bytes});
        }
        m_listener->OnLinkFrame(frame, time);
    }

    void OnBytes(std::span<unsigned char const> bytes, double time) override { m_listener->OnLinkBytes(bytes, time); }

    void OnDamage(qx5::protocol::Damage damage) override
    {
        auto const what = damage == qx5::protocol::Damage::Garbage
                              ? std::string(" sends bytes that are no frame; they are skipped and counted")
                              : " began a frame and sent no further byte of it for " +
                                    std::to_string(m_options.idleLimit.count()) +
                                    " ms; it is skipped and its bytes are counted";
        m_listener->OnLinkReport(Where() + what + ", and this is said once for this connection");
    }

    // Losing, waiting, closing.

    /// Why a connection that stood is gone.
    std::string ReasonOf(asio::error_code error) const
    {
        if (error == asio::error::eof) {
            return "the sonar closed the connection";
        }
        if (error == asio::error::timed_out && m_options.watch.unacknowledged.count() > 0) {
            return "the sonar acknowledged nothing for " + std::to_string(m_options.watch.unacknowledged.count()) +
                   " ms";
        }
        return error.message();
    }

    /// Takes the socket away from senders and closes it.
    void Disconnect() noexcept
    {
        m_isConnected = false;
        m_connecting.Stop();
        m_sending.End();
        m_receiving.End();
    }

    void GiveUp() noexcept override
    {
        Disconnect();
        NextAttempt();
    }

    void Lose(asio::error_code error) override
    {
        if (!m_isConnected) {
            return;
        }
        auto const unacknowledged = m_sending.TellUnacknowledged();
        GiveUp();
        m_backOff.Lost(std::chrono::steady_clock::now(), m_receiving.IsProven());
        auto const text = Where() + ": " + ReasonOf(error);
        auto const attempt = Attempt();
        Tell({LinkState::Lost, text, {}});
        m_connectedTold = false;
        if (attempt == Attempt() && !unacknowledged.empty()) {
            m_listener->OnLinkReport(Where() + ": " + unacknowledged);
        }
        if (attempt == Attempt()) {
            TryAgainLater(text);
        }
    }

    void TryAgainLater(std::string reason)
    {
        auto const wait = m_backOff.Next();
        m_retryTimer.expires_after(wait);
        m_retryTimer.async_wait(DuringThis([this](asio::error_code error) {
            if (!error) {
                TryToConnect();
            }
        }));
        Tell({LinkState::Waiting, std::move(reason), wait});
    }

    void CloseNow()
    {
        m_open = false;
        m_connectedTold = false;
        NextAttempt();
        m_retryTimer.cancel();
        Disconnect();
        {
            std::lock_guard const lock(m_statusMutex);
            m_status = {};
        }
        if (m_forgetListener.load()) {
            m_listener = nullptr;
        }
    }

    void Tell(LinkStatus const& status)
    {
        {
            std::lock_guard const lock(m_statusMutex);
            m_status = status;
        }
        m_listener->OnLinkStatus(status);
    }

    void Trace(LinkTrace const& trace)
    {
        std::shared_ptr<LinkObserver> observer;
        {
            std::lock_guard const lock(m_observerMutex);
            observer = m_observer;
        }
        if (observer) {
            observer->OnTrace(trace);
        }
    }

    LinkThread& m_thread;
    LinkOptions m_options;

    // Link thread alone.
    SonarLinkListener* m_listener;
    BackOff m_backOff;
    asio::steady_timer m_retryTimer;
    Connecting m_connecting;
    bool m_open = false;
    bool m_isConnected = false;
    bool m_connectedTold = false;

    FrameSending m_sending;
    FrameReceiving m_receiving;

    mutable std::mutex m_statusMutex;
    LinkStatus m_status;

    std::mutex m_observerMutex;
    std::shared_ptr<LinkObserver> m_observer;
    std::atomic<bool> m_observed{false};

    std::atomic<bool> m_forgetListener{false};
    std::atomic<bool> m_needsClosing{false};
    std::atomic<bool> m_openWanted{false};

    std::mutex m_closeMutex;
    std::condition_variable m_closed;
    std::uint64_t m_closesWanted = 0;
    std::uint64_t m_closesDone = 0;
    std::atomic<std::uint64_t> m_connections{0};
    std::atomic<std::uint64_t> m_refused{0};
};

SonarLink::SonarLink(LinkThread& thread, LinkOptions options, SonarLinkListener& listener)
    : m_impl(std::make_shared<Impl>(thread, std::move(options), listener))
{
}

SonarLink::~SonarLink()
{
    m_impl->ForgetListener();
    m_impl->Close();
}

void SonarLink::Open()
{
    m_impl->Open();
}

void SonarLink::BeginClose()
{
    m_impl->BeginClose();
}

void SonarLink::Close()
{
    m_impl->Close();
}

bool SonarLink::Send(std::span<unsigned char const> frame)
{
    return m_impl->Send(frame);
}

bool SonarLink::SendOwned(OwnedBytes const& frame)
{
    return m_impl->SendOwned(frame);
}

bool SonarLink::IsConnected() const
{
    return m_impl->IsConnected();
}

LinkStatus SonarLink::GetStatus() const
{
    return m_impl->GetStatus();
}

LinkCounters SonarLink::GetCounters() const
{
    return m_impl->GetCounters();
}

std::size_t SonarLink::GetQueuedBytes() const
{
    return m_impl->GetQueuedBytes();
}

void SonarLink::SetReadingPaused(bool paused)
{
    m_impl->SetReadingPaused(paused);
}

void SonarLink::SetObserver(std::shared_ptr<LinkObserver> observer)
{
    m_impl->SetObserver(std::move(observer));
}

} // namespace vordal
