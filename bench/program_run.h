// Programs that are measured from outside.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace bench {

/// As posix_spawn wants them; good while `arguments` stay as they are.
std::vector<char*> RawArguments(std::vector<std::string>& arguments);

/// Runs the program, whose file the first argument names, to its end, without its output. The most bytes that it has
/// had in memory at once, or that this process had as it began if those were more; 0, and a line on standard error,
/// when it does not end well.
std::size_t RunProgram(std::vector<std::string> arguments);

} // namespace bench
