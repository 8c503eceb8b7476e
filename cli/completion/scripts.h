// The scripts that make shells complete command lines of qx5.
#pragma once

#include <string>
#include <vector>

namespace qx5::cli {

/// Those that there is a script for.
std::vector<std::string> CompletionShells();

/// `qx5 completion`: prints the script of one of them. An exit code.
int PrintCompletion(std::string const& shell);

} // namespace qx5::cli
