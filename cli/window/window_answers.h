// What other threads have to say to a part of the window, called on its thread.
#pragma once

#include "reference_host/platform/wake_handle.h"

#include <QSocketNotifier>

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace qx5::cli {

/// Answers are called in the order in which they were posted, as long as this lives; those that come later are dropped.
/// They go through a queue of our own, not the toolkit's, so that a thread sanitizer sees what is handed over. Made and
/// destroyed on the window thread.
class WindowAnswers
{
public:
    using Answer = std::function<void()>;

    WindowAnswers();
    WindowAnswers(WindowAnswers const&) = delete;
    WindowAnswers& operator=(WindowAnswers const&) = delete;

    /// To be copied to other threads, and called on any; it may outlive this.
    std::function<void(Answer)> Poster() const;

private:
    struct Queue
    {
        vordal::platform::WakeHandle wake;
        std::mutex mutex; ///< guards what follows
        std::vector<Answer> waiting;
    };

    void Take();

    std::shared_ptr<Queue> const m_queue = std::make_shared<Queue>();
    QSocketNotifier m_raised;
};

} // namespace qx5::cli
