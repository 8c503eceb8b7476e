// What other threads have to say to a part of the window.
#include "window_answers.h"

#include <utility>

namespace qx5::cli {

WindowAnswers::WindowAnswers() : m_raised(m_queue->wake.Handle(), QSocketNotifier::Read)
{
    QObject::connect(&m_raised, &QSocketNotifier::activated, &m_raised, [this] { Take(); });
}

std::function<void(WindowAnswers::Answer)> WindowAnswers::Poster() const
{
    return [queue = m_queue](Answer answer) {
        {
            std::lock_guard const lock(queue->mutex);
            queue->waiting.push_back(std::move(answer));
        }
        queue->wake.Raise();
    };
}

void WindowAnswers::Take()
{
    // An answer may end the part of the window that this belongs to.
    auto const queue = m_queue;
    queue->wake.Clear();
    std::vector<Answer> answers;
    {
        std::lock_guard const lock(queue->mutex);
        answers.swap(queue->waiting);
    }
    for (Answer const& answer : answers) {
        answer();
    }
}

} // namespace qx5::cli
