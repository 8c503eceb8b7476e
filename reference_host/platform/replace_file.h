// Puts one file in the place of another.
#pragma once

#include <VordalBaseR/Export.h>

#include <filesystem>
#include <system_error>

namespace vordal::platform {

/// `file` takes the name of `target`, which it replaces if it is there; that is on the disk when the call returns. Both
/// lie in one folder. When it fails, both are as they were.
VORDAL_API std::error_code PutInPlace(std::filesystem::path const& file, std::filesystem::path const& target);

} // namespace vordal::platform
