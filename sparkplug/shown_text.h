// A text from outside as part of a line for people.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>

namespace qx5::sparkplug {

/// Printable, and not endless.
inline std::string ShownText(std::string_view text)
{
    constexpr std::size_t most = 120;
    std::string shown(text.substr(0, most));
    std::replace_if(
        shown.begin(), shown.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; }, '?');
    return text.size() > most ? shown + "..." : shown;
}

} // namespace qx5::sparkplug
