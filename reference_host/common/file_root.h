// Where the full names of files lead to.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <filesystem>

namespace vordal {

/// The file of that full name: as it stands, or below the host's file root, which no name leads out of. Empty for a
/// name that no file can have. Any thread.
VORDAL_API std::filesystem::path PathOfFile(CString const& fullName);

enum class FileUse
{
    Read,
    Remove,
};

/// As PathOfFile, for what a contact names: empty, with a line in the log, also for a file that does not lie where the
/// host lets it (Host::SetFileFolders), whatever links lead to it. A link is removed itself. Any thread.
VORDAL_API std::filesystem::path PathOfNamedFile(CString const& fullName, FileUse use);

} // namespace vordal
