// The sockets of programs that answer shells: where they lie, and which programs there are.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace qx5::shell {

/// The socket of that program in this folder.
std::filesystem::path SocketOf(std::filesystem::path const& folder, std::uint64_t process);
/// The program that a socket is named by; nothing for other files.
std::optional<std::uint64_t> ProcessOf(std::filesystem::path const& socket);

/// All sockets in the folder, of programs that run and of such that have died, by number. None where there is no
/// folder.
std::vector<std::filesystem::path> SocketsIn(std::filesystem::path const& folder);

} // namespace qx5::shell
