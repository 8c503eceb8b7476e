// The TCP connection to one sonar, and the thread that serves all such connections.
#include "sonar_link.h"

#include "name_look_up.h"
#include "send_gathering.h"
#include "sent_frames.h"

#include "reference_host/platform/large_pages.h"

#include <protocol/frame_reader.h>

#include <asio/buffer.hpp>
#include <asio/connect.hpp>
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <utility>

namespace vordal {
namespace {

using asio::ip::tcp;

constexpr std::size_t ReadBytes = std::size_t{64} << 10;
constexpr std::size_t DrainBytes = std::size_t{64} << 10;
// A queue that grew beyond this gives its memory back once it is empty.
constexpr std::size_t KeptQueueBytes = std::size_t{64} << 10;

// How much of a frame is queued before the system is asked again whether it takes more from the front.
constexpr std::size_t QueuedPieceBytes = std::size_t{64} << 10;

// Frames are held back up to so many bytes and for so long, even if the sender forgets about them.
constexpr std::size_t GatheredBytes = std::size_t{16} << 10;
constexpr std::chrono::milliseconds HeldTime{1};

/// Memory that holds nothing in particular until it is written: a long queue would otherwise be filled twice.
template <typename T>
struct UnsetAllocator : std::allocator<T>
{
    template <typename U>
    struct rebind
    {
        using other = UnsetAllocator<U>;
    };
    template <typename U>
    void construct(U* place) noexcept
    {
        ::new (static_cast<void*>(place)) U;
    }
    template <typename U, typename... Arguments>
    void construct(U* place, Arguments&&... arguments)
    {
        ::new (static_cast<void*>(place)) U(std::forward<Arguments>(arguments)...);
    }
};
using Queue = std::vector<unsigned char, UnsetAllocator<unsigned char>>;

double SystemTime()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

std::uint64_t SeedFor(void const* link)
{
    return static_cast<std::uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()) ^
           static_cast<std::uint64_t>(std::hash<void const*>{}(link));
}

/// The way back to the link thread for those who may outlive it.
class Gate
{
public:
    explicit Gate(asio::io_context& context) : m_context(&context) {}
    void Shut()
    {
        std::lock_guard const lock(m_mutex);
        m_context = nullptr;
    }
    template <typename Task>
    void Post(Task task)
    {
        std::lock_guard const lock(m_mutex);
        if (m_context != nullptr) {
            asio::post(*m_context, std::move(task));
        }
    }

private:
    std::mutex m_mutex;
    asio::io_context* m_context;
};

/// What the link thread looks after when nothing could be posted to it, because there was no memory: telling it takes
/// none.
class AttendedLink
{
public:
    AttendedLink() = default;
    AttendedLink(AttendedLink const&) = delete;
    AttendedLink& operator=(AttendedLink const&) = delete;

    /// Keeps it alive; null when it is going already.
    virtual std::shared_ptr<AttendedLink> Hold() noexcept = 0;
    /// Does what it has noted. False: again in a moment. Link thread.
    virtual bool Attend() noexcept = 0;

protected:
    ~AttendedLink() = default;

private:
    friend LinkThread::Core;
    AttendedLink* m_next = nullptr;
    bool m_called = false;
    bool m_again = false;
};

} // namespace

struct LinkThread::Core
{
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
    std::shared_ptr<Gate> gate = std::make_shared<Gate>(context);
    std::thread thread;
    std::atomic<bool> ending{false};
    /// Guards the list of links.
    std::mutex linksMutex;
    AttendedLink* links = nullptr;

    void Join(AttendedLink& link)
    {
        std::lock_guard const lock(linksMutex);
        link.m_next = std::exchange(links, &link);
    }
    void Leave(AttendedLink const& link)
    {
        std::lock_guard const lock(linksMutex);
        auto** place = &links;
        while (*place != &link) {
            place = &(*place)->m_next;
        }
        *place = link.m_next;
    }
    /// Has the link thread attend to the link. Any thread; takes no memory.
    void Call(AttendedLink& link) noexcept
    {
        {
            std::lock_guard const lock(linksMutex);
            link.m_called = true;
        }
        context.stop();
    }

    void Run()
    {
        bool again = false;
        while (!ending.load()) {
            try {
                if (again) {
                    context.run_for(AttendAgainAfter);
                } else {
                    context.run();
                }
            } catch (...) {
                // The links let nothing go, and nobody else posts anything that could fail.
            }
            context.restart();
            again = AttendAll();
        }
    }

private:
    static constexpr std::chrono::milliseconds AttendAgainAfter{20};

    bool AttendAll()
    {
        while (auto const link = NextCalled()) {
            if (!link->Attend()) {
                std::lock_guard const lock(linksMutex);
                link->m_again = true;
            }
        }
        bool again = false;
        std::lock_guard const lock(linksMutex);
        for (auto* link = links; link != nullptr; link = link->m_next) {
            link->m_called = link->m_called || link->m_again;
            link->m_again = false;
            again = again || link->m_called;
        }
        return again;
    }

    std::shared_ptr<AttendedLink> NextCalled()
    {
        std::lock_guard const lock(linksMutex);
        for (auto* link = links; link != nullptr; link = link->m_next) {
            if (std::exchange(link->m_called, false)) {
                if (auto held = link->Hold()) {
                    return held;
                }
            }
        }
        return nullptr;
    }
};

LinkThread::LinkThread() : m_core(std::make_shared<Core>())
{
    m_core->thread = std::thread([core = m_core.get()] { core->Run(); });
}

LinkThread::~LinkThread()
{
    m_core->gate->Shut();
    m_core->ending.store(true);
    m_core->context.stop();
    m_core->thread.join();
}

void LinkThread::Post(std::function<void()> task)
{
    asio::post(m_core->context, std::move(task));
}

bool LinkThread::IsCurrent() const
{
    return std::this_thread::get_id() == m_core->thread.get_id();
}

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

// Functions whose name ends in OnLinkThread, and all completion handlers, run on the link thread. `m_attempt` grows
// with each attempt and with Close, so that a handler of an older attempt finds that it means nothing any more.
//
// The socket is used by two sides: senders write to it under m_sendMutex, the link thread reads from it without. It is
// replaced and closed on the link thread under m_sendMutex, which is all that the two could disturb each other in.
//
// Memory may run out anywhere. A handler that fails gives its connection up, which takes none, and the link thread
// begins it anew. A sender that fails has sent nothing of its frame, or ends the connection. What cannot be posted is
// noted, and the link thread called to it (Need).
class SonarLink::Impl final : public GatheringLink,
                              public AttendedLink,
                              public std::enable_shared_from_this<SonarLink::Impl>
{
public:
    Impl(LinkThread& thread, LinkOptions options, SonarLinkListener& listener)
        : m_thread(thread), m_core(thread.ShareCore()), m_context(thread.GetCore().context),
          m_gate(thread.GetCore().gate), m_options(std::move(options)), m_listener(&listener),
          m_backOff(m_options.backOff, SeedFor(this)), m_timer(m_context), m_heldTimer(m_context),
          m_idleTimer(m_context), m_candidate(m_context), m_socket(m_context)
    {
        if (m_options.clock == nullptr) {
            m_options.clock = SystemTime;
        }
        thread.GetCore().Join(*this);
    }
    Impl(Impl const&) = delete;
    Impl& operator=(Impl const&) = delete;
    ~Impl()
    {
        if (auto const core = m_core.lock()) {
            core->Leave(*this);
        }
    }

    void Open()
    {
        m_openWanted.store(true);
        Need(Opening);
    }

    void Close()
    {
        SendHeld();
        m_openWanted.store(false);
        if (m_thread.IsCurrent()) {
            CloseOnLinkThread();
            return;
        }
        std::unique_lock lock(m_closeMutex);
        auto const wanted = ++m_closesWanted;
        Need(Closing);
        m_closed.wait(lock, [&] { return m_closesDone >= wanted; });
    }

    void ForgetListener() { m_forgetListener.store(true); }

    bool Send(std::span<unsigned char const> frame)
    {
        auto const accepted = Accept(frame);
        if (!accepted) {
            m_refused.fetch_add(1, std::memory_order_relaxed);
            return false;
        }
        // The frame has left, or will: nothing that fails from here on may look as if it had not.
        if (SendGathering::IsMoreAnnounced()) {
            try {
                // Also when this frame left at once: that is rare and costs nothing.
                SendGathering::Hold(weak_from_this(), m_core.lock());
            } catch (...) {
                SendHeld();
            }
        }
        if (m_options.framed && m_observed.load(std::memory_order_acquire)) {
            try {
                Trace({true, m_options.clock(), accepted, frame});
            } catch (...) {
                // Whoever looks on has missed one.
            }
        }
        return true;
    }

    void SendHeld() override
    {
        std::lock_guard const lock(m_sendMutex);
        if (m_connected.load(std::memory_order_relaxed) && !m_draining) {
            SendQueueLocked();
        }
    }

    bool IsConnected() const { return m_connected.load(std::memory_order_acquire); }

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
        counters.framesIn = m_framesIn.load(std::memory_order_relaxed);
        counters.bytesIn = m_bytesIn.load(std::memory_order_relaxed);
        counters.bytesSkipped = m_bytesSkipped.load(std::memory_order_relaxed);
        std::lock_guard const lock(m_sendMutex);
        counters.framesOut = m_sent.Frames();
        counters.bytesOut = m_sent.Bytes();
        return counters;
    }

    std::size_t GetQueuedBytes() const
    {
        std::lock_guard const lock(m_sendMutex);
        return QueuedLocked();
    }

    void SetReadingPaused(bool paused)
    {
        m_paused.store(paused, std::memory_order_release);
        if (!paused) {
            PostOrNeed(Resuming, [self = shared_from_this()] { self->ResumeOnLinkThread(); });
        }
    }

    void SetObserver(std::shared_ptr<LinkObserver> observer)
    {
        std::lock_guard const lock(m_observerMutex);
        m_observed.store(observer != nullptr, std::memory_order_release);
        m_observer.swap(observer);
    }

    std::shared_ptr<AttendedLink> Hold() noexcept override { return weak_from_this().lock(); }

    bool Attend() noexcept override
    {
        auto const noted = m_noted.exchange(0);
        if ((noted & Closing) != 0) {
            std::uint64_t wanted = 0;
            {
                std::lock_guard const lock(m_closeMutex);
                wanted = m_closesWanted;
            }
            CloseOnLinkThread();
            std::lock_guard const lock(m_closeMutex);
            m_closesDone = wanted;
            m_closed.notify_all();
        }
        try {
            AttendOnLinkThread(noted);
            return true;
        } catch (...) {
            // What follows from a connection that is given up needs nothing else of this.
            GiveUpOnLinkThread();
            m_noted.fetch_or(BeginningAnew | (noted & Opening));
            return false;
        }
    }

private:
    // What the link thread is to do when it is called.
    enum Needs : unsigned
    {
        Opening = 1,
        Closing = 2,
        Resuming = 4,
        Draining = 8,
        SendingHeld = 16,
        Breaking = 32,
        BeginningAnew = 64,
    };

    void Need(Needs what) noexcept
    {
        m_noted.fetch_or(what);
        if (auto const core = m_core.lock()) {
            core->Call(*this);
        }
    }

    template <typename Task>
    void PostOrNeed(Needs what, Task task) noexcept
    {
        try {
            asio::post(m_context, Contained(std::move(task)));
        } catch (...) {
            Need(what);
        }
    }

    /// A handler, which owns this link, so that nothing leaves it.
    template <typename Handler>
    auto Contained(Handler handler)
    {
        return [this, handler = std::move(handler)](auto&&... results) mutable noexcept {
            try {
                handler(results...);
            } catch (...) {
                GiveUpOnLinkThread();
                Need(BeginningAnew);
            }
        };
    }

    /// Takes no memory.
    void GiveUpOnLinkThread() noexcept
    {
        DisconnectOnLinkThread();
        m_reader.Reset();
        m_lookingUp = false;
        ++m_attempt;
    }

    void AttendOnLinkThread(unsigned noted)
    {
        if ((noted & Opening) != 0 && m_openWanted.load() && !m_open && m_listener != nullptr) {
            m_open = true;
            m_backOff.Reset();
            AttemptOnLinkThread();
        }
        if ((noted & BeginningAnew) != 0 && m_open) {
            auto const reason = Where() + ": memory ran out at this end, the connection begins anew";
            auto const attempt = m_attempt;
            if (m_connectedTold) {
                Tell({LinkState::Lost, reason, {}});
                m_connectedTold = false;
            }
            if (attempt == m_attempt) {
                m_listener->OnLinkReport(reason);
            }
            if (attempt == m_attempt) {
                WaitOnLinkThread(reason);
            }
        }
        if (!m_isConnected) {
            return;
        }
        if ((noted & Breaking) != 0) {
            LoseOnLinkThread(m_attempt, asio::error_code(m_breakError.load(), asio::system_category()));
            return;
        }
        if ((noted & SendingHeld) != 0) {
            SendHeld();
        }
        if ((noted & Draining) != 0) {
            WaitToDrainOnLinkThread(m_attempt);
        }
        if ((noted & Resuming) != 0) {
            ResumeOnLinkThread();
        }
    }

    void ResumeOnLinkThread()
    {
        // The pause was ours: the sonar has its whole limit from here on.
        m_idleLimit.Restart(m_reader, std::chrono::steady_clock::now());
        ReadOnLinkThread();
    }

    // Sending.

    /// The frame's sequence number, 0 when it was refused.
    std::uint64_t Accept(std::span<unsigned char const> frame) noexcept
    {
        std::lock_guard const lock(m_sendMutex);
        auto const queued = QueuedLocked();
        try {
            return AcceptLocked(frame);
        } catch (...) {
            // There was no memory to queue it in. Where a part of it has left already, the connection has to go.
            if (QueuedLocked() > queued || m_frameBegun) {
                BreakLocked(asio::error::no_memory);
            }
            return 0;
        }
    }

    std::uint64_t AcceptLocked(std::span<unsigned char const> frame)
    {
        m_frameBegun = false;
        if (!m_connected.load(std::memory_order_relaxed) || frame.empty() || frame.size() > m_options.greatestFrame) {
            return 0;
        }
        bool const gather = SendGathering::IsMoreAnnounced();
        if (!m_draining && (QueuedLocked() != 0 || gather)) {
            if (frame.size() <= GatheredBytes && HasRoomLocked(frame.size())) {
                Enqueue(frame);
                if (gather && QueuedLocked() < GatheredBytes) {
                    WatchHeldLocked();
                } else if (!SendQueueLocked()) {
                    return 0;
                }
                return CountAcceptedLocked(frame);
            }
            if (!SendQueueLocked()) {
                return 0;
            }
        }
        if (m_draining) {
            if (!HasRoomLocked(frame.size())) {
                return 0;
            }
            Enqueue(frame);
        } else {
            asio::error_code error;
            SendOrQueueLocked(frame, error);
            if (error) {
                BreakLocked(error);
                return 0;
            }
            if (QueuedLocked() != 0) {
                DrainLocked();
            }
        }
        return CountAcceptedLocked(frame);
    }

    std::size_t QueuedLocked() const { return m_queue.size() - m_queueHead; }

    /// One frame beyond the queue's size may wait, and does not take the room of the others.
    bool HasRoomLocked(std::size_t size) const
    {
        return size > m_options.queueBytes ? m_largeRest == 0
                                           : QueuedLocked() - m_largeRest <= m_options.queueBytes - size;
    }

    /// The system has taken so much from the head of the queue.
    void SpendLocked(std::size_t sent)
    {
        m_queueHead += sent;
        m_largeRest -= std::min(m_largeRest, sent);
    }

    std::uint64_t CountAcceptedLocked(std::span<unsigned char const> frame)
    {
        m_sent.Add(frame);
        return m_sent.Frames();
    }

    /// How much the system took, which may be nothing; `error` only when the connection is broken.
    std::size_t SendSome(std::span<unsigned char const> bytes, asio::error_code& error)
    {
        auto const sent = m_socket.send(asio::buffer(bytes.data(), bytes.size()), 0, error);
        if (error == asio::error::would_block || error == asio::error::try_again) {
            error.clear();
            return 0;
        }
        return error ? 0 : sent;
    }

    /// With nothing queued: sends what the system takes and queues the rest.
    ///
    /// The system takes a long frame no faster than the sonar does. The time between is used to bring the frame's end
    /// into the queue, piece by piece, until both meet: so most of an image is never copied when the sonar is quick,
    /// and all of it is queued at once when the sonar is slow.
    void SendOrQueueLocked(std::span<unsigned char const> frame, asio::error_code& error)
    {
        auto sent = SendSome(frame, error);
        if (error || sent == frame.size()) {
            return;
        }
        m_frameBegun = sent > 0;
        ReserveQueueLocked(frame.size());
        m_queue.resize(frame.size());
        for (auto queued = frame.size(); sent < queued && !error;) {
            auto const piece = std::min(queued - sent, QueuedPieceBytes);
            queued -= piece;
            std::copy_n(frame.data() + queued, piece, m_queue.data() + queued);
            if (sent < queued) {
                sent += SendSome(frame.subspan(sent, queued - sent), error);
            }
        }
        m_queueHead = sent;
        m_largeRest = QueuedLocked() > m_options.queueBytes ? QueuedLocked() : 0;
    }

    /// Sends what is held; what the system does not take is left to the link thread. False when the connection is
    /// broken.
    bool SendQueueLocked()
    {
        if (QueuedLocked() == 0) {
            return true;
        }
        asio::error_code error;
        SpendLocked(SendSome(std::span(m_queue).subspan(m_queueHead), error));
        if (error) {
            BreakLocked(error);
            return false;
        }
        if (QueuedLocked() == 0) {
            DropQueueLocked();
        } else {
            DrainLocked();
        }
        return true;
    }

    void DrainLocked()
    {
        m_draining = true;
        PostOrNeed(Draining,
                   [self = shared_from_this(), attempt = m_socketAttempt] { self->WaitToDrainOnLinkThread(attempt); });
    }

    /// Sees to it that held frames leave in time, whatever keeps their sender busy.
    void WatchHeldLocked()
    {
        if (std::exchange(m_heldWatched, true)) {
            return;
        }
        PostOrNeed(SendingHeld, [self = shared_from_this()] {
            self->m_heldTimer.expires_after(HeldTime);
            self->m_heldTimer.async_wait(self->Contained([self](asio::error_code) {
                {
                    std::lock_guard const lock(self->m_sendMutex);
                    self->m_heldWatched = false;
                }
                self->SendHeld();
            }));
        });
    }

    /// Room for a long frame, and for those that follow, which must not make it move.
    void ReserveQueueLocked(std::size_t bytes)
    {
        if (bytes > m_options.queueBytes) {
            m_queue.reserve(m_queue.size() + bytes + m_options.queueBytes);
            platform::PreferLargePages(m_queue.data() + m_queue.size(), m_queue.capacity() - m_queue.size());
        }
    }

    void Enqueue(std::span<unsigned char const> bytes)
    {
        // Moving the rest to the front only once half is spent keeps the cost of a byte constant.
        if (m_queueHead > 0 && m_queueHead >= m_queue.size() - m_queueHead) {
            m_queue.erase(m_queue.begin(), m_queue.begin() + static_cast<std::ptrdiff_t>(m_queueHead));
            m_queueHead = 0;
        }
        ReserveQueueLocked(bytes.size());
        m_queue.insert(m_queue.end(), bytes.begin(), bytes.end());
        if (bytes.size() > m_options.queueBytes) {
            m_largeRest = QueuedLocked();
        }
    }

    void WaitToDrainOnLinkThread(std::uint64_t attempt)
    {
        if (attempt != m_attempt) {
            return;
        }
        m_socket.async_wait(tcp::socket::wait_write,
                            Contained([self = shared_from_this(), attempt](asio::error_code error) {
                                if (attempt != self->m_attempt) {
                                    return;
                                }
                                if (error || !self->DrainOnLinkThread(error)) {
                                    self->LoseOnLinkThread(attempt, error);
                                }
                            }));
    }

    /// Writes what the system takes; false with the reason when the connection is broken.
    bool DrainOnLinkThread(asio::error_code& error)
    {
        auto const attempt = m_attempt;
        for (;;) {
            // The lock is let go after each piece: a sender waits for one system call at most.
            std::unique_lock lock(m_sendMutex);
            auto const size = std::min(QueuedLocked(), DrainBytes);
            auto const sent = SendSome(std::span(m_queue).subspan(m_queueHead, size), error);
            if (error) {
                return false;
            }
            SpendLocked(sent);
            if (QueuedLocked() == 0) {
                DropQueueLocked();
                return true;
            }
            if (sent == 0) {
                lock.unlock();
                WaitToDrainOnLinkThread(attempt);
                return true;
            }
        }
    }

    void DropQueueLocked()
    {
        m_draining = false;
        m_queue.clear();
        m_queueHead = 0;
        m_largeRest = 0;
        if (m_queue.capacity() > KeptQueueBytes) {
            Queue().swap(m_queue);
        }
    }

    /// A sender found the connection broken: nothing is sent from here on, the link thread does the rest.
    void BreakLocked(asio::error_code error) noexcept
    {
        m_connected.store(false, std::memory_order_release);
        m_breakError.store(error.value());
        PostOrNeed(Breaking, [self = shared_from_this(), attempt = m_socketAttempt, error] {
            self->LoseOnLinkThread(attempt, error);
        });
    }

    // Connecting.

    std::string Where() const { return m_options.host + ":" + std::to_string(m_options.port); }

    void AttemptOnLinkThread()
    {
        auto const attempt = ++m_attempt;
        Tell({LinkState::Connecting, Where(), {}});
        if (attempt != m_attempt) {
            return;
        }
        m_timer.expires_after(m_options.connectTimeout);
        m_timer.async_wait(Contained([self = shared_from_this(), attempt](asio::error_code error) {
            if (!error && attempt == self->m_attempt && !self->m_isConnected) {
                self->FailOnLinkThread(attempt,
                                       self->m_lookingUp ? "the look-up of the name gave no answer" : "no answer");
            }
        }));

        asio::error_code notNumeric;
        auto const address = asio::ip::make_address(m_options.host, notNumeric);
        if (!notNumeric) {
            ConnectOnLinkThread(attempt, {tcp::endpoint(address, m_options.port)});
            return;
        }
        m_lookingUp = true;
        // A look-up of an earlier attempt that is still under way will answer this one: asking again helps nobody.
        if (m_lookUpPending) {
            return;
        }
        auto const started = StartNameLookUp(
            m_options.host, m_options.lookUp, [weak = weak_from_this(), gate = m_gate](NameLookUpResult result) {
                gate->Post([weak, result = std::move(result)] {
                    if (auto const self = weak.lock()) {
                        self->Contained([&] { self->TakeLookUpOnLinkThread(result); })();
                    }
                });
            });
        m_lookUpPending = started;
        if (!started) {
            FailOnLinkThread(attempt, "too many name look-ups are under way");
        }
    }

    void TakeLookUpOnLinkThread(NameLookUpResult const& result)
    {
        m_lookUpPending = false;
        if (!m_open || !m_lookingUp) {
            return;
        }
        m_lookingUp = false;
        if (!result.failure.empty()) {
            FailOnLinkThread(m_attempt, result.failure);
            return;
        }
        std::vector<tcp::endpoint> endpoints;
        for (auto const& text : result.addresses) {
            asio::error_code error;
            auto const address = asio::ip::make_address(text, error);
            if (!error) {
                endpoints.emplace_back(address, m_options.port);
            }
        }
        ConnectOnLinkThread(m_attempt, std::move(endpoints));
    }

    void ConnectOnLinkThread(std::uint64_t attempt, std::vector<tcp::endpoint> endpoints)
    {
        if (endpoints.empty()) {
            FailOnLinkThread(attempt, "the name has no address");
            return;
        }
        m_candidate = tcp::socket(m_context);
        // What keeps a socket from being made at all, the connection below does not tell.
        asio::error_code failed;
        m_candidate.open(endpoints.front().protocol(), failed);
        if (failed) {
            FailOnLinkThread(attempt, failed.message());
            return;
        }
        // Shared, because the operation walks the list after this returns.
        auto const list = std::make_shared<std::vector<tcp::endpoint>>(std::move(endpoints));
        asio::async_connect(m_candidate, list->begin(), list->end(),
                            Contained([self = shared_from_this(), attempt, list](asio::error_code error, auto) {
                                if (attempt != self->m_attempt || self->m_isConnected) {
                                    return;
                                }
                                if (error) {
                                    self->FailOnLinkThread(attempt, error.message());
                                } else {
                                    self->ConnectedOnLinkThread(attempt);
                                }
                            }));
    }

    void ConnectedOnLinkThread(std::uint64_t attempt)
    {
        asio::error_code error;
        m_candidate.non_blocking(true, error);
        if (error) {
            FailOnLinkThread(attempt, error.message());
            return;
        }
        // A socket without this works, only slower to send.
        asio::error_code ignored;
        m_candidate.set_option(tcp::no_delay(true), ignored);
        platform::WatchLine(m_candidate.native_handle(), m_options.watch);
        if (m_options.systemBufferBytes > 0) {
            m_candidate.set_option(asio::socket_base::send_buffer_size(m_options.systemBufferBytes), ignored);
            m_candidate.set_option(asio::socket_base::receive_buffer_size(m_options.systemBufferBytes), ignored);
        }
        m_timer.cancel();
        m_reader = qx5::protocol::FrameReader(m_options.greatestIncomingFrame);
        m_idleLimit = qx5::protocol::IdleLimit(m_options.idleLimit, m_options.frameShare);
        m_idleWatched = false;
        m_garbageTold = false;
        m_unfinishedTold = false;
        m_skippedBefore = 0;
        m_proven = false;
        m_reading = false;
        m_connectedAt = std::chrono::steady_clock::now();
        m_isConnected = true;
        {
            std::lock_guard const lock(m_sendMutex);
            m_socket = std::move(m_candidate);
            m_socketAttempt = attempt;
            DropQueueLocked();
            m_connected.store(true, std::memory_order_release);
        }
        m_connections.fetch_add(1, std::memory_order_relaxed);
        m_connectedTold = true;
        Tell({LinkState::Connected, Where(), {}});
        if (attempt == m_attempt) {
            ReadOnLinkThread();
        }
    }

    // Receiving.

    void ReadOnLinkThread()
    {
        if (!m_isConnected || m_reading || m_paused.load(std::memory_order_acquire)) {
            return;
        }
        m_reading = true;
        m_socket.async_read_some(asio::buffer(m_readBuffer), Contained([self = shared_from_this(), attempt = m_attempt](
                                                                           asio::error_code error, std::size_t count) {
                                     if (attempt != self->m_attempt) {
                                         return;
                                     }
                                     self->m_reading = false;
                                     if (count > 0) {
                                         self->TakeBytesOnLinkThread(attempt, {self->m_readBuffer.data(), count});
                                         if (attempt != self->m_attempt) {
                                             return;
                                         }
                                     }
                                     if (error) {
                                         self->LoseOnLinkThread(attempt, error);
                                     } else {
                                         self->ReadOnLinkThread();
                                     }
                                 }));
    }

    void TakeBytesOnLinkThread(std::uint64_t attempt, std::span<unsigned char const> bytes)
    {
        m_bytesIn.fetch_add(bytes.size(), std::memory_order_relaxed);
        if (!m_options.framed) {
            m_proven = true;
            m_listener->OnLinkBytes(bytes, m_options.clock());
            return;
        }
        m_reader.Feed(bytes);
        if (!TakeFramesOnLinkThread(attempt) || !TellOfGarbageOnLinkThread(attempt)) {
            return;
        }
        m_idleLimit.Heard(m_reader, std::chrono::steady_clock::now());
        WatchIdleOnLinkThread();
    }

    /// False when the listener has ended the connection meanwhile.
    bool TakeFramesOnLinkThread(std::uint64_t attempt)
    {
        auto const time = m_options.clock();
        while (auto const frame = m_reader.Next()) {
            m_proven = true;
            auto const sequence = m_framesIn.fetch_add(1, std::memory_order_relaxed) + 1;
            if (m_observed.load(std::memory_order_acquire)) {
                Trace({false, time, sequence, frame->bytes});
            }
            m_listener->OnLinkFrame(*frame, time);
            if (attempt != m_attempt) {
                return false;
            }
        }
        auto const skipped = m_reader.SkippedBytes();
        m_bytesSkipped.fetch_add(skipped - m_skippedBefore, std::memory_order_relaxed);
        m_skippedBefore = skipped;
        return true;
    }

    /// False when the listener has ended the connection meanwhile.
    bool TellOfGarbageOnLinkThread(std::uint64_t attempt)
    {
        if (m_skippedBefore > 0 && !m_garbageTold) {
            m_garbageTold = true;
            m_listener->OnLinkReport(Where() + " sends bytes that are no frame; they are skipped and counted, and "
                                               "this is said once for this connection");
        }
        return attempt == m_attempt;
    }

    /// One timer at a time, and what moves the limit back leaves the timer alone: it looks and waits again.
    void WatchIdleOnLinkThread()
    {
        auto const due = m_idleLimit.Due();
        if (!due || (m_idleWatched && *due >= m_idleTimer.expiry())) {
            return;
        }
        m_idleWatched = true;
        m_idleTimer.expires_at(*due);
        m_idleTimer.async_wait(Contained([self = shared_from_this(), attempt = m_attempt](asio::error_code error) {
            if (!error && attempt == self->m_attempt && self->m_isConnected) {
                self->m_idleWatched = false;
                self->LookForIdleOnLinkThread(attempt);
            }
        }));
    }

    void LookForIdleOnLinkThread(std::uint64_t attempt)
    {
        auto const now = std::chrono::steady_clock::now();
        asio::error_code ignored;
        if (m_paused.load(std::memory_order_acquire)) {
            // It is this side that keeps the rest waiting.
            m_idleLimit.Restart(m_reader, now);
            WatchIdleOnLinkThread();
            return;
        }
        if (m_idleLimit.Doubt(m_reader, now)) {
            if (!TakeFramesOnLinkThread(attempt) || !TellOfGarbageOnLinkThread(attempt)) {
                return;
            }
            m_idleLimit.Taken(m_reader, now);
        }
        if (m_socket.available(ignored) > 0) {
            m_idleLimit.Heard(m_reader, now);
        } else if (m_idleLimit.Expire(m_reader, now)) {
            if (!TakeFramesOnLinkThread(attempt)) {
                return;
            }
            m_garbageTold = true;
            if (!std::exchange(m_unfinishedTold, true)) {
                m_listener->OnLinkReport(
                    Where() + " began a frame and sent no further byte of it for " +
                    std::to_string(m_options.idleLimit.count()) +
                    " ms; it is skipped and its bytes are counted, and this is said once for this connection");
                return;
            }
        }
        WatchIdleOnLinkThread();
    }

    // Losing, waiting, closing.

    /// What the sonar has not acknowledged of all that was sent, in one line; empty when it has all.
    std::string UnacknowledgedOnLinkThread()
    {
        std::lock_guard const lock(m_sendMutex);
        return m_sent.TellUnacknowledged(QueuedLocked() + platform::UnacknowledgedBytes(m_socket.native_handle()));
    }

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
    void DisconnectOnLinkThread()
    {
        m_isConnected = false;
        asio::error_code ignored;
        m_candidate.close(ignored);
        std::lock_guard const lock(m_sendMutex);
        m_connected.store(false, std::memory_order_release);
        m_socket.close(ignored);
        DropQueueLocked();
    }

    void LoseOnLinkThread(std::uint64_t attempt, asio::error_code error)
    {
        if (attempt != m_attempt || !m_isConnected) {
            return;
        }
        auto const unacknowledged = UnacknowledgedOnLinkThread();
        DisconnectOnLinkThread();
        m_reader.Reset();
        if (m_proven || std::chrono::steady_clock::now() - m_connectedAt >= m_options.provenAfter) {
            m_backOff.Reset();
        }
        auto const text = Where() + ": " + ReasonOf(error);
        auto const current = ++m_attempt;
        Tell({LinkState::Lost, text, {}});
        m_connectedTold = false;
        if (current == m_attempt && !unacknowledged.empty()) {
            m_listener->OnLinkReport(Where() + ": " + unacknowledged);
        }
        if (current == m_attempt) {
            WaitOnLinkThread(text);
        }
    }

    void FailOnLinkThread(std::uint64_t attempt, std::string const& reason)
    {
        if (attempt != m_attempt) {
            return;
        }
        m_lookingUp = false;
        DisconnectOnLinkThread();
        ++m_attempt;
        WaitOnLinkThread(Where() + ": " + reason);
    }

    void WaitOnLinkThread(std::string reason)
    {
        auto const attempt = m_attempt;
        auto const wait = m_backOff.Next();
        m_timer.expires_after(wait);
        m_timer.async_wait(Contained([self = shared_from_this(), attempt](asio::error_code error) {
            if (!error && attempt == self->m_attempt) {
                self->AttemptOnLinkThread();
            }
        }));
        Tell({LinkState::Waiting, std::move(reason), wait});
    }

    void CloseOnLinkThread()
    {
        m_open = false;
        m_lookingUp = false;
        ++m_attempt;
        m_connectedTold = false;
        m_timer.cancel();
        m_heldTimer.cancel();
        m_idleTimer.cancel();
        DisconnectOnLinkThread();
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
    /// Weakly: what waits in the core's context may own this.
    std::weak_ptr<LinkThread::Core> m_core;
    asio::io_context& m_context;
    std::shared_ptr<Gate> m_gate;
    LinkOptions m_options;

    // Link thread alone.
    SonarLinkListener* m_listener;
    BackOff m_backOff;
    asio::steady_timer m_timer;
    asio::steady_timer m_heldTimer;
    asio::steady_timer m_idleTimer;
    tcp::socket m_candidate;
    std::uint64_t m_attempt = 0;
    bool m_open = false;
    bool m_isConnected = false;
    bool m_connectedTold = false;
    bool m_lookingUp = false;
    bool m_lookUpPending = false;
    bool m_reading = false;
    bool m_proven = false;
    bool m_idleWatched = false;
    bool m_garbageTold = false;
    bool m_unfinishedTold = false;
    std::uint64_t m_skippedBefore = 0;
    std::chrono::steady_clock::time_point m_connectedAt;
    std::array<unsigned char, ReadBytes> m_readBuffer;
    qx5::protocol::FrameReader m_reader{m_options.greatestIncomingFrame};
    qx5::protocol::IdleLimit m_idleLimit{m_options.idleLimit, m_options.frameShare};

    // Guarded by m_sendMutex; see above for the socket.
    mutable std::mutex m_sendMutex;
    tcp::socket m_socket;
    std::uint64_t m_socketAttempt = 0;
    Queue m_queue;
    std::size_t m_queueHead = 0;
    /// Bytes of the queue up to the end of the one large frame in it, 0 when there is none.
    std::size_t m_largeRest = 0;
    /// The link thread waits for the system to take the queue; otherwise what is queued is held back by its sender.
    bool m_draining = false;
    bool m_heldWatched = false;
    /// A part of the frame at hand has left.
    bool m_frameBegun = false;
    SentFrames m_sent;

    mutable std::mutex m_statusMutex;
    LinkStatus m_status;

    std::mutex m_observerMutex;
    std::shared_ptr<LinkObserver> m_observer;
    std::atomic<bool> m_observed{false};

    std::atomic<bool> m_connected{false};
    std::atomic<bool> m_paused{false};
    std::atomic<bool> m_forgetListener{false};
    std::atomic<bool> m_openWanted{false};
    std::atomic<unsigned> m_noted{0}; ///< of Needs
    std::atomic<int> m_breakError{0}; ///< of the system

    std::mutex m_closeMutex;
    std::condition_variable m_closed;
    std::uint64_t m_closesWanted = 0;
    std::uint64_t m_closesDone = 0;
    std::atomic<std::uint64_t> m_connections{0};
    std::atomic<std::uint64_t> m_refused{0};
    std::atomic<std::uint64_t> m_framesIn{0};
    std::atomic<std::uint64_t> m_bytesIn{0};
    std::atomic<std::uint64_t> m_bytesSkipped{0};
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

void SonarLink::Close()
{
    m_impl->Close();
}

bool SonarLink::Send(std::span<unsigned char const> frame)
{
    return m_impl->Send(frame);
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
