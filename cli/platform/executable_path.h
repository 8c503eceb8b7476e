// Where this program lies on disk.
#pragma once

#include <filesystem>

namespace qx5::cli {

/// The file of the running program; empty when the system does not tell.
std::filesystem::path ExecutablePath();

} // namespace qx5::cli
