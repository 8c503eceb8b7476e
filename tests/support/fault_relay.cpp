// A TCP relay for tests that cuts, delays, splits, corrupts and stalls what passes through it, on command.
#include "fault_relay.h"

#include <asio/buffer.hpp>
#include <asio/executor_work_guard.hpp>
#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>
#include <asio/write.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <optional>
#include <thread>
#include <utility>

namespace vordal {
namespace {

using asio::ip::tcp;

struct Session;

/// The faults of one direction; relay thread alone.
struct Faults
{
    bool stalled = false;
    std::optional<std::uint64_t> corruptIn;
    unsigned char corruptMask = 0;
    std::optional<std::uint64_t> cutIn;
};

} // namespace

struct FaultRelay::Core
{
    asio::io_context context{1};
    asio::executor_work_guard<asio::io_context::executor_type> work{context.get_executor()};
    tcp::acceptor acceptor{context};
    std::uint16_t targetPort = 0;
    std::uint16_t port = 0;
    std::array<Faults, 2> faults;
    std::chrono::milliseconds delay{0};
    std::size_t pieceSize = 0;
    std::vector<std::weak_ptr<Session>> sessions;
    std::atomic<std::uint64_t> connections{0};
    std::thread thread;

    void Listen();
    void Accept();
    void CutAll();

    /// Runs the command on the relay thread and waits, so that it is in force afterwards.
    template <typename Command>
    void Do(Command command)
    {
        std::promise<void> done;
        asio::post(context, [&] {
            command();
            done.set_value();
        });
        done.get_future().wait();
    }
};

namespace {

/// One client and its connection to the target; lives as long as an operation of it is under way.
struct Session : std::enable_shared_from_this<Session>
{
    using Core = FaultRelay::Core;

    struct Pipe
    {
        Pipe(tcp::socket& fromSocket, tcp::socket& toSocket, asio::io_context& context)
            : from(fromSocket), to(toSocket), timer(context)
        {
        }
        tcp::socket& from;
        tcp::socket& to;
        asio::steady_timer timer;
        std::array<unsigned char, 16384> buffer{};
        std::vector<unsigned char> held;
        std::vector<unsigned char> injected;
        std::size_t written = 0;
        bool cutAtEnd = false;
        std::shared_ptr<Session> heldByStall; ///< keeps it alive where no operation does
        bool idle = true;
    };

    Session(Core& owner, tcp::socket accepted)
        : core(owner), client(std::move(accepted)),
          target(owner.context), pipes{Pipe(client, target, owner.context), Pipe(target, client, owner.context)}
    {
    }

    void Start()
    {
        target.async_connect(tcp::endpoint(asio::ip::address_v4::loopback(), core.targetPort),
                             [self = shared_from_this()](asio::error_code error) {
                                 if (error) {
                                     self->Close();
                                     return;
                                 }
                                 asio::error_code ignored;
                                 self->client.set_option(tcp::no_delay(true), ignored);
                                 self->target.set_option(tcp::no_delay(true), ignored);
                                 self->open = true;
                                 self->number = self->core.connections.fetch_add(1);
                                 self->Pump(0);
                                 self->Pump(1);
                             });
    }

    void Close()
    {
        open = false;
        asio::error_code ignored;
        client.close(ignored);
        target.close(ignored);
        for (auto& pipe : pipes) {
            pipe.timer.cancel();
            asio::post(core.context, [held = std::exchange(pipe.heldByStall, nullptr)] {});
        }
    }

    void Pump(std::size_t which)
    {
        auto& pipe = pipes[which];
        if (!open || !pipe.idle || IsStalled(which)) {
            return;
        }
        pipe.idle = false;
        if (!pipe.injected.empty()) {
            pipe.held = std::exchange(pipe.injected, {});
            Forward(which);
            return;
        }
        pipe.from.async_read_some(asio::buffer(pipe.buffer),
                                  [self = shared_from_this(), which](asio::error_code error, std::size_t count) {
                                      self->Arrived(which, error, count);
                                  });
    }

    void Inject(std::size_t which, std::vector<unsigned char> const& bytes)
    {
        auto& pipe = pipes[which];
        pipe.injected.insert(pipe.injected.end(), bytes.begin(), bytes.end());
        if (open && pipe.held.empty() && !IsStalled(which)) {
            // Nothing is being written, only read: what tests inject is short, so this does not hold up the relay.
            asio::error_code error;
            asio::write(pipe.to, asio::buffer(std::exchange(pipe.injected, {})), error);
        }
    }

    void Arrived(std::size_t which, asio::error_code error, std::size_t count)
    {
        auto& pipe = pipes[which];
        if (!open) {
            return;
        }
        if (error && count == 0) {
            Close();
            return;
        }
        pipe.held.assign(pipe.buffer.begin(), pipe.buffer.begin() + static_cast<std::ptrdiff_t>(count));
        auto& faults = core.faults[which];
        if (faults.corruptIn && *faults.corruptIn < count) {
            auto& byte = pipe.held[static_cast<std::size_t>(*faults.corruptIn)];
            byte = static_cast<unsigned char>(byte ^ faults.corruptMask);
            faults.corruptIn.reset();
        } else if (faults.corruptIn) {
            *faults.corruptIn -= count;
        }
        if (faults.cutIn && *faults.cutIn <= count) {
            pipe.held.resize(static_cast<std::size_t>(*faults.cutIn));
            faults.cutIn.reset();
            pipe.cutAtEnd = true;
        } else if (faults.cutIn) {
            *faults.cutIn -= count;
        }
        if (core.delay.count() == 0) {
            Forward(which);
            return;
        }
        pipe.timer.expires_after(core.delay);
        pipe.timer.async_wait([self = shared_from_this(), which](asio::error_code) { self->Forward(which); });
    }

    void Forward(std::size_t which)
    {
        auto& pipe = pipes[which];
        if (!open) {
            return;
        }
        if (IsStalled(which)) {
            pipe.heldByStall = shared_from_this();
            return;
        }
        if (pipe.written == pipe.held.size()) {
            pipe.held.clear();
            pipe.written = 0;
            if (pipe.cutAtEnd) {
                Close();
                return;
            }
            pipe.idle = true;
            Pump(which);
            return;
        }
        auto const rest = pipe.held.size() - pipe.written;
        auto const size = core.pieceSize == 0 ? rest : std::min(rest, core.pieceSize);
        asio::async_write(pipe.to, asio::buffer(pipe.held.data() + pipe.written, size),
                          [self = shared_from_this(), which](asio::error_code error, std::size_t count) {
                              if (error) {
                                  self->Close();
                                  return;
                              }
                              self->pipes[which].written += count;
                              self->Forward(which);
                          });
    }

    bool IsStalled(std::size_t which) const { return isHeld || core.faults[which].stalled; }

    void Resume(std::size_t which)
    {
        if (auto const self = std::exchange(pipes[which].heldByStall, nullptr)) {
            Forward(which);
        } else {
            Pump(which);
        }
    }

    Core& core;
    tcp::socket client;
    tcp::socket target;
    std::array<Pipe, 2> pipes;
    std::uint64_t number = 0;
    bool isHeld = false;
    bool open = false;
};

template <typename Action>
void ForEach(std::vector<std::weak_ptr<Session>> const& sessions, Action action)
{
    for (auto const& weak : sessions) {
        if (auto const session = weak.lock()) {
            action(*session);
        }
    }
}

std::size_t Index(FaultRelay::Direction direction)
{
    return direction == FaultRelay::Direction::ToTarget ? 0 : 1;
}

} // namespace

void FaultRelay::Core::Listen()
{
    acceptor.open(tcp::v4());
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(tcp::endpoint(asio::ip::address_v4::loopback(), port));
    acceptor.listen();
    port = acceptor.local_endpoint().port();
    Accept();
}

void FaultRelay::Core::Accept()
{
    acceptor.async_accept([this](asio::error_code error, tcp::socket socket) {
        if (error == asio::error::operation_aborted || !acceptor.is_open()) {
            return;
        }
        if (!error) {
            std::erase_if(sessions, [](auto const& weak) { return weak.expired(); });
            auto const session = std::make_shared<Session>(*this, std::move(socket));
            sessions.push_back(session);
            session->Start();
        }
        Accept();
    });
}

void FaultRelay::Core::CutAll()
{
    ForEach(sessions, [](Session& session) { session.Close(); });
}

FaultRelay::FaultRelay(std::uint16_t targetPort) : m_core(std::make_unique<Core>())
{
    m_core->targetPort = targetPort;
    m_core->Listen();
    m_core->thread = std::thread([core = m_core.get()] { core->context.run(); });
}

FaultRelay::~FaultRelay()
{
    m_core->Do([this] {
        m_core->acceptor.close();
        m_core->CutAll();
    });
    m_core->work.reset();
    m_core->thread.join();
}

std::uint16_t FaultRelay::Port() const
{
    return m_core->port;
}

std::uint64_t FaultRelay::Connections() const
{
    return m_core->connections.load();
}

void FaultRelay::Cut()
{
    m_core->Do([this] { m_core->CutAll(); });
}

void FaultRelay::SetRefusing(bool refusing)
{
    m_core->Do([this, refusing] {
        if (refusing == !m_core->acceptor.is_open()) {
            return;
        }
        if (refusing) {
            m_core->acceptor.close();
        } else {
            m_core->Listen();
        }
    });
}

void FaultRelay::SetStalled(Direction direction, bool stalled)
{
    m_core->Do([this, direction, stalled] {
        auto const which = Index(direction);
        auto const before = std::exchange(m_core->faults[which].stalled, stalled);
        if (before && !stalled) {
            ForEach(m_core->sessions, [which](Session& session) { session.Resume(which); });
        }
    });
}

void FaultRelay::SetHeld(std::uint64_t number, bool held)
{
    m_core->Do([this, number, held] {
        ForEach(m_core->sessions, [number, held](Session& session) {
            if (session.open && session.number == number && std::exchange(session.isHeld, held) && !held) {
                session.Resume(0);
                session.Resume(1);
            }
        });
    });
}

void FaultRelay::SetDelay(std::chrono::milliseconds delay)
{
    m_core->Do([this, delay] { m_core->delay = delay; });
}

void FaultRelay::SetPieceSize(std::size_t bytes)
{
    m_core->Do([this, bytes] { m_core->pieceSize = bytes; });
}

void FaultRelay::Corrupt(Direction direction, std::uint64_t offset, unsigned char mask)
{
    m_core->Do([this, direction, offset, mask] {
        m_core->faults[Index(direction)].corruptIn = offset;
        m_core->faults[Index(direction)].corruptMask = mask;
    });
}

void FaultRelay::CutAfter(Direction direction, std::uint64_t bytes)
{
    m_core->Do([this, direction, bytes] { m_core->faults[Index(direction)].cutIn = bytes; });
}

void FaultRelay::Inject(Direction direction, std::vector<unsigned char> bytes)
{
    m_core->Do([this, direction, &bytes] {
        ForEach(m_core->sessions, [&](Session& session) { session.Inject(Index(direction), bytes); });
    });
}

} // namespace vordal
