// The threads of the reference host: where tasks run, and where the window is told.
#include "reference_host/core/host_threads.h"

#include "reference_host/common/request_origin.h"
#include "reference_host/core/host_state.h"

#include <future>
#include <utility>

namespace vordal {
namespace {

/// The end of a task that somebody waits for: its result, its exception, or that it was dropped.
struct Completion
{
    Completion() = default;
    Completion(Completion const&) = delete;
    Completion& operator=(Completion const&) = delete;
    ~Completion()
    {
        if (!answered) {
            promise.set_value(false);
        }
    }

    void Run(HostThreads::Task const& task)
    {
        try {
            task();
            answered = true;
            promise.set_value(true);
        } catch (...) {
            answered = true;
            promise.set_exception(std::current_exception());
        }
    }

    std::promise<bool> promise;
    bool answered = false;
};

} // namespace

bool HostThreads::IsHostThread() const
{
    return m_state.thread != nullptr ? m_state.thread->IsThisThread() : std::this_thread::get_id() == m_state.owner;
}

bool HostThreads::Post(HostTask task)
{
    if (m_state.threading == Threading::Inline) {
        task();
        return true;
    }
    return m_state.thread != nullptr && m_state.thread->Post(std::move(task));
}

bool HostThreads::PostTo(TaskLane& lane, std::size_t weight, HostTask task)
{
    if (m_state.threading == Threading::Inline) {
        task();
        return true;
    }
    return m_state.thread != nullptr && m_state.thread->PostTo(lane, weight, std::move(task));
}

void HostThreads::EmptyLane(TaskLane& lane)
{
    if (m_state.thread != nullptr) {
        m_state.thread->EmptyLane(lane);
    }
}

std::size_t HostThreads::LaneWeight() const
{
    return m_state.thread != nullptr ? m_state.thread->LaneWeight() : 0;
}

bool HostThreads::RunAndWait(Task const& task)
{
    if (m_state.threading == Threading::Inline || IsHostThread()) {
        task();
        return true;
    }
    // The queued task holds the one reference: however it goes, the answer is given. It refers to `task`, which is safe
    // because this call does not return before.
    auto completion = std::make_shared<Completion>();
    auto answer = completion->promise.get_future();
    Post([&task, owned = std::exchange(completion, nullptr)] { owned->Run(task); });
    return answer.get();
}

bool HostThreads::Stop(std::chrono::milliseconds limit)
{
    return m_state.thread == nullptr || m_state.thread->Stop(limit);
}

void HostThreads::SetWindowThread(std::function<void()> wake)
{
    m_state.window->Attach(std::move(wake));
    SetThreadOrigin(RequestOrigin::View);
}

void HostThreads::EndWindowThread()
{
    SetThreadOrigin(RequestOrigin::Program);
    m_state.window->Detach();
}

void HostThreads::DeliverToWindow()
{
    m_state.window->Deliver();
}

} // namespace vordal
