// The one thread of the simulated sonar.
#include <simulator/sonar_thread.h>

#include <chrono>
#include <future>
#include <memory>
#include <new>

namespace qx5::simulator {

void SonarThread::Start()
{
    std::lock_guard const lock(m_runningMutex);
    m_thread = std::thread([this] { Run(); });
    m_isRunning = true;
}

void SonarThread::Stop()
{
    {
        std::lock_guard const lock(m_runningMutex);
        if (!m_isRunning) {
            return;
        }
        m_isRunning = false;
        try {
            asio::post(m_context, [this] { End(); });
        } catch (std::bad_alloc const&) {
            m_stopWanted.store(true);
            m_context.stop();
        }
    }
    m_thread.join();
}

SonarThread::Called SonarThread::Call(std::function<void()> const& task)
{
    auto const done = std::make_shared<std::promise<Called>>();
    bool isOwnThread = false;
    {
        std::lock_guard const lock(m_runningMutex);
        if (!m_isRunning) {
            return Called::NotRunning;
        }
        isOwnThread = std::this_thread::get_id() == m_thread.get_id();
        if (!isOwnThread) {
            asio::post(m_context, [&task, done] {
                try {
                    task();
                } catch (...) {
                    done->set_value(Called::Failed);
                    throw;
                }
                done->set_value(Called::Done);
            });
        }
    }
    if (!isOwnThread) {
        return done->get_future().get();
    }
    task();
    return Called::Done;
}

void SonarThread::Run() noexcept
{
    for (bool anew = false;;) {
        try {
            if (m_stopWanted.load() || (anew && m_isEnding)) {
                End();
            } else if (anew) {
                m_sonar.BeginAnew();
            }
            anew = false;
            m_context.run();
            if (m_isEnding) {
                return;
            }
        } catch (...) {
            anew = true;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        m_context.restart();
    }
}

void SonarThread::End()
{
    m_isEnding = true;
    m_sonar.CloseAll();
    m_work.reset();
}

} // namespace qx5::simulator
