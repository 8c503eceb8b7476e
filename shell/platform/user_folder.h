// The folder in which programs of one user find one another, and who is at the other end of a socket there.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

namespace qx5::shell::platform {

/// Where this user's programs have their sockets: "qx5" in the folder that XDG_RUNTIME_DIR names (a whole path), else
/// "qx5-UID" in the system's temporary folder. It need not be there.
std::filesystem::path UserFolder();

/// Makes the folder where it is missing, for this user alone. False, and why in one line, when it cannot be made or is
/// not this user's alone.
bool MakePrivate(std::filesystem::path const& folder, std::string& error);

/// Whether the folder is there and this user's alone: no link, nobody else may look into it. False, and why in one
/// line, when it is not; with an empty line when there is none.
bool IsPrivate(std::filesystem::path const& folder, std::string& error);

/// Whether the other end of a connected socket is a program of this user.
bool IsOfSameUser(int socket);

/// This program's number in the system.
std::uint64_t ProcessNumber();

} // namespace qx5::shell::platform
