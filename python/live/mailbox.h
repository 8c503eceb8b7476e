// What native threads leave for the one thread that tells Python of it: signs of what has news, lines of the log.
#pragma once

#include "reference_host/common/log.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace qx5::live {

/// Any thread puts, one takes. Nobody waits to put. Bounded: a sign is put once until it is taken by those who put it,
/// of lines GreatestLines wait, later ones are counted.
class Mailbox
{
public:
    static constexpr std::size_t GreatestLines = 1000;

    struct Line
    {
        vordal::LogLevel level;
        std::string text; ///< UTF-8
    };
    struct Post
    {
        std::vector<std::uint64_t> signs; ///< in the order in which they were put
        std::vector<Line> lines;
        std::uint64_t lostLines = 0;
        bool isClosed = false; ///< nothing more comes
    };

    void Put(std::uint64_t sign);
    void PutLine(vordal::LogLevel level, std::string_view text);
    /// All that has come; empty when nothing came within the limit.
    Post Take(std::chrono::milliseconds limit);
    /// Whoever takes is woken; what comes from now on is dropped.
    void Close();

private:
    bool HasSomething() const { return m_isClosed || !m_post.signs.empty() || !m_post.lines.empty(); }

    std::mutex m_mutex; ///< guards what follows
    std::condition_variable m_changed;
    Post m_post;
    bool m_isClosed = false;
};

} // namespace qx5::live
