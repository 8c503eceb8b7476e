// Lets go of large trees on a thread of its own: taking one apart holds its thread for as long as it is large.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace vordal {

class TreeDisposal
{
public:
    TreeDisposal() = default;
    TreeDisposal(TreeDisposal const&) = delete;
    TreeDisposal& operator=(TreeDisposal const&) = delete;
    /// Waits until all that was taken is gone.
    ~TreeDisposal();

    /// Any thread; the thread for it begins with the first tree.
    void Take(CAttributeMap tree);

private:
    void Run();

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_news;
    std::vector<CAttributeMap> m_waiting;
    bool m_ending = false;
    std::thread m_thread;
};

} // namespace vordal
