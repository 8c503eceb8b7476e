// How what one link has to do on the link thread gets there and is carried out.
#pragma once

#include "link_thread_core.h"

#include <asio/error_code.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

namespace vordal {

/// What the parts of a link share: the number of the attempt at hand, and handlers that own the link, let nothing
/// leave, and mean nothing any more once the attempt that they belong to is over.
///
/// Memory may run out anywhere. A handler that fails gives its connection up, which takes none, and the link thread
/// begins it anew. What cannot be posted is noted, and the link thread called to it.
class LinkHandlers : public AttendedLink, public std::enable_shared_from_this<LinkHandlers>
{
public:
    /// What the link thread is to do when it is called.
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

    explicit LinkHandlers(LinkThread& thread)
        : m_core(thread.ShareCore()), m_context(thread.GetCore().context), m_gate(thread.GetCore().gate)
    {
    }

    std::shared_ptr<AttendedLink> Hold() noexcept override { return weak_from_this().lock(); }

    asio::io_context& Context() const { return m_context; }
    /// What a handler needs alive that is carried out elsewhere; null once the thread has ended. Any thread.
    std::shared_ptr<LinkThread::Core> Core() const { return m_core.lock(); }
    std::shared_ptr<LinkThreadGate> const& Gate() const { return m_gate; }

    /// Calls the link thread to the link. Any thread.
    void Need(Needs what) noexcept
    {
        m_noted.fetch_or(what);
        if (auto const core = m_core.lock()) {
            core->Call(*this);
        }
    }

    /// Has the link thread run a handler made by one of the operations below, or called to `what` where there is no
    /// memory to post it. Any thread.
    template <typename Handler>
    void Post(Needs what, Handler handler) noexcept
    {
        try {
            asio::post(m_context, std::move(handler));
        } catch (...) {
            Need(what);
        }
    }

    /// A handler whatever the attempt. Any thread.
    template <typename Handler>
    auto Always(Handler handler)
    {
        return [self = shared_from_this(), handler = std::move(handler)](auto&&... results) mutable noexcept {
            try {
                handler(results...);
            } catch (...) {
                self->GiveUp();
                self->Need(BeginningAnew);
            }
        };
    }

    /// A handler of that attempt. Any thread.
    template <typename Handler>
    auto During(std::uint64_t attempt, Handler handler)
    {
        return Always([this, attempt, handler = std::move(handler)](auto&&... results) mutable {
            if (attempt == m_attempt) {
                handler(results...);
            }
        });
    }

    /// A handler of the attempt at hand. Link thread.
    template <typename Handler>
    auto DuringThis(Handler handler)
    {
        return During(m_attempt, std::move(handler));
    }

    /// Grows with each attempt and with each end of one. Link thread.
    std::uint64_t Attempt() const { return m_attempt; }

    /// The connection that stands is broken: tells so, and tries again after a while. Link thread.
    virtual void Lose(asio::error_code error) = 0;

protected:
    ~LinkHandlers() = default;

    /// Ends what is under way and the attempt, and tells nobody. Takes no memory. Link thread.
    virtual void GiveUp() noexcept = 0;

    /// The one before is over. Its number. Link thread.
    std::uint64_t NextAttempt() { return ++m_attempt; }

    /// Of Needs, each once; and puts back what could not be done.
    unsigned TakeNoted() { return m_noted.exchange(0); }
    void Note(unsigned needs) { m_noted.fetch_or(needs); }

private:
    /// Weakly: what waits in the core's context may own this.
    std::weak_ptr<LinkThread::Core> m_core;
    asio::io_context& m_context;
    std::shared_ptr<LinkThreadGate> m_gate;
    std::atomic<unsigned> m_noted{0};
    std::uint64_t m_attempt = 0;
};

} // namespace vordal
