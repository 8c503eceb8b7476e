// Standard streams and the command line, on POSIX systems.
#include "cli/platform/standard_streams.h"

#include <csignal>

namespace qx5::cli {

void PrepareStandardStreams()
{
    std::signal(SIGPIPE, SIG_IGN);
}

ProgramArguments::ProgramArguments(int count, char** words) : m_words(words, words + count)
{
    m_words.push_back(nullptr);
}

} // namespace qx5::cli
