// The one thread of the simulated sonar.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>

#include <asio.hpp>

namespace qx5::simulator {

/// Runs what is posted to its context. Whatever fails in a handler, such as memory that runs out, costs what was under
/// way, not the sonar: it begins anew. Start and Stop are for one thread, Call is for any, the rest is for this one.
class SonarThread
{
public:
    /// What lives on the thread.
    class Sonar
    {
    public:
        /// A handler has failed.
        virtual void BeginAnew() = 0;
        /// The thread ends when nothing is left to be done: leaves nothing. Once more where it failed.
        virtual void CloseAll() = 0;

    protected:
        ~Sonar() = default;
    };
    enum class Called : std::uint8_t
    {
        Done,
        NotRunning,
        Failed,
    };

    explicit SonarThread(Sonar& sonar) : m_sonar(sonar), m_work(asio::make_work_guard(m_context)) {}

    asio::io_context& Context() { return m_context; }
    bool IsEnding() const { return m_isEnding; }
    void Start();
    /// Commands called before are carried out before; none come after. Bounded: no operation of the thread waits.
    void Stop();
    /// Runs `task` on the thread and waits for it.
    Called Call(std::function<void()> const& task);

private:
    void Run() noexcept;
    void End();

    Sonar& m_sonar;
    asio::io_context m_context{1};
    asio::executor_work_guard<asio::io_context::executor_type> m_work;
    bool m_isEnding = false;
    std::atomic<bool> m_stopWanted{false}; // where the end could not be posted
    std::thread m_thread;
    std::mutex m_runningMutex; // no task is posted after the last one; guards m_thread's id while m_isRunning
    bool m_isRunning = false;
};

} // namespace qx5::simulator
