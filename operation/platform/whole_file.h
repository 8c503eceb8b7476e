// A file that is replaced as a whole, or not at all.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace qx5::operation {

/// Puts the text in the place of the file, by way of a temporary file beside it; it is on the disk when the call
/// returns. False, and one line in `error`, when that failed; the file is then as it was, and nothing is left beside
/// it.
bool WriteWholeFile(std::filesystem::path const& file, std::string_view text, std::string& error);

} // namespace qx5::operation
