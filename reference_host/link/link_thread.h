// The one thread that serves all links of a process.
#pragma once

#include <VordalBaseR/Export.h>

#include <functional>
#include <memory>

namespace vordal {

/// The one thread on which all links connect, read and drain their queues. Make it before the links; it must outlive
/// them. Nothing that runs on it may wait. An exception there, such as memory that runs out, ends the connection whose
/// it is: that is told, and it begins anew.
class VORDAL_API LinkThread
{
public:
    LinkThread();
    LinkThread(LinkThread const&) = delete;
    LinkThread& operator=(LinkThread const&) = delete;
    /// Ends the thread. Bounded: nothing on the thread blocks, and name look-ups run elsewhere and are abandoned.
    ~LinkThread();

    /// Runs `task` on the link thread; any thread.
    void Post(std::function<void()> task);
    bool IsCurrent() const;

    struct Core;
    Core& GetCore() { return *m_core; }
    std::shared_ptr<Core> ShareCore() { return m_core; }

private:
    std::shared_ptr<Core> m_core;
};

} // namespace vordal
