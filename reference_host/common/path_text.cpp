// Paths and the host's wide texts: the one place where one becomes the other.
#include "reference_host/common/path_text.h"

#include <protocol/utf8.h>

#include <system_error>

namespace vordal {

CString TextOf(std::filesystem::path const& path)
{
    return qx5::protocol::DecodeUtf8(Utf8Of(path));
}

std::string Utf8Of(std::filesystem::path const& path)
{
    auto const text = path.u8string();
    return {text.begin(), text.end()};
}

std::filesystem::path PathOf(CString const& text)
{
    return PathOf(qx5::protocol::EncodeUtf8(text.View()));
}

std::filesystem::path PathOf(std::string_view utf8)
{
    return std::u8string(utf8.begin(), utf8.end());
}

CString FolderOf(std::filesystem::path const& file)
{
    std::error_code problem;
    auto const whole = std::filesystem::absolute(file, problem);
    return TextOf((problem ? file : whole).parent_path() / "");
}

} // namespace vordal
