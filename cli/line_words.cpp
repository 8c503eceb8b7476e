// What is said of a line to a broker while it is kept up.
#include "cli/line_words.h"

#include <utility>

#include <fmt/format.h>

namespace qx5::cli {

LineWords::LineWords(std::string where, Say say) : m_where(std::move(where)), m_say(std::move(say)) {}

void LineWords::Take(broker::LineStatus const& status)
{
    bool const isConnected = status.state == broker::LineState::Connected;
    if (!isConnected && status.state != broker::LineState::Waiting) {
        return;
    }
    {
        std::lock_guard const lock(m_mutex);
        if (!isConnected && status.reason == m_told) {
            return;
        }
        m_told = status.reason; // of a connection none
    }
    if (isConnected) {
        m_say(false, fmt::format("connected to {}", m_where));
    } else {
        m_say(true, fmt::format("{}; it is tried again", status.reason));
    }
}

} // namespace qx5::cli
