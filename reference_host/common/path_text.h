// Paths and the host's wide texts: the one place where one becomes the other.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <filesystem>
#include <string>

namespace vordal {

// A file's name is UTF-8, whatever the locale says; the standard library's own conversion to wide text asks the locale
// and throws on what that does not know. Any thread.

/// The path as wide text. A byte that is no UTF-8 becomes U+FFFD: such a text is to be shown, and leads to no file.
VORDAL_API CString TextOf(std::filesystem::path const& path);

/// The path as UTF-8: its very bytes where the system's names are bytes.
VORDAL_API std::string Utf8Of(std::filesystem::path const& path);

/// The path of that text.
VORDAL_API std::filesystem::path PathOf(CString const& text);
/// Of UTF-8, as files are named on a command line and in documents.
VORDAL_API std::filesystem::path PathOf(std::string_view utf8);

/// The folder that a file lies in, from the root on and ended by the separator, as Host::SetProjectFolder takes it.
VORDAL_API CString FolderOf(std::filesystem::path const& file);

} // namespace vordal
