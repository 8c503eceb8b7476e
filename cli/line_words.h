// What is said of a line to a broker while it is kept up.
#pragma once

#include "broker/connection.h"

#include <functional>
#include <mutex>
#include <string>

namespace qx5::cli {

/// Says how the line is, each thing once. Any thread; `say` is called on the same, with nothing locked.
class LineWords
{
public:
    /// Takes one line, and whether it is a complaint.
    using Say = std::function<void(bool isComplaint, std::string const& line)>;

    /// `where` the line goes to, as in "connected to ...".
    LineWords(std::string where, Say say);

    void Take(broker::LineStatus const& status);

private:
    std::string const m_where;
    Say const m_say;
    std::mutex m_mutex; ///< guards what follows
    std::string m_told;
};

} // namespace qx5::cli
