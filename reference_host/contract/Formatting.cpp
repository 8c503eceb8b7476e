// Texts of numbers as the host's displays show them.
#include <VordalBaseR/Formatting.h>

#include "reference_host/common/number_text.h"

#include <array>
#include <string>

namespace {

CString Widened(std::string const& ascii)
{
    return CString(std::wstring(ascii.begin(), ascii.end()));
}

} // namespace

CString FormatDouble(double value, int, int)
{
    return Widened(vordal::FixedNumberText(value, 1));
}

CString FormatByteSize(std::int64_t bytes)
{
    constexpr std::int64_t step = 1024;
    if (bytes < step) {
        return Widened(std::to_string(bytes) + " B");
    }
    constexpr std::array<char const*, 4> units{"kB", "MB", "GB", "TB"};
    std::size_t unit = 0;
    double size = static_cast<double>(bytes) / static_cast<double>(step);
    for (std::int64_t rest = bytes / step; rest >= step && unit + 1 < units.size(); rest /= step) {
        size /= static_cast<double>(step);
        ++unit;
    }
    return Widened(vordal::FixedNumberText(size, 1) + " " + units[unit]);
}
