// Whether a person sits at the other end of a standard stream, on each platform.
#include "terminal.h"

#include <cstdio>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace qx5::cli {

bool IsTerminal(Stream stream)
{
#if defined(_WIN32)
    return _isatty(_fileno(stream == Stream::Input ? stdin : stdout)) != 0;
#else
    return isatty(stream == Stream::Input ? STDIN_FILENO : STDOUT_FILENO) != 0;
#endif
}

} // namespace qx5::cli
