// `qx5 docs --man`: the manual pages as files.
#pragma once

#include "cli/documents/command_text.h"

#include <filesystem>
#include <string>

namespace qx5::cli {

/// Writes a page for the program and for each of its commands into the folder, which is made. An exit code.
int WriteManPages(std::filesystem::path const& folder, CommandText const& program, std::string const& version);

} // namespace qx5::cli
