// Where the full names of files lead to.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <filesystem>

namespace vordal {

/// The file of that full name: as it stands, or below the host's file root, which no name leads out of. Empty for a
/// name that no file can have. Any thread.
VORDAL_API std::filesystem::path PathOfFile(CString const& fullName);

} // namespace vordal
