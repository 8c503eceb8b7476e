// Bytes as tests write them: hexadecimal, with blanks as one likes.
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace qx5::test {

inline std::string Bytes(std::string_view hex)
{
    std::string digits;
    for (char const c : hex) {
        if (c != ' ') {
            digits += c;
        }
    }
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

inline std::string Hex(std::string_view bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::string hex;
    for (char const c : bytes) {
        auto const byte = static_cast<unsigned char>(c);
        hex += hex.empty() ? "" : " ";
        hex += digits[byte >> 4U];
        hex += digits[byte & 15U];
    }
    return hex;
}

} // namespace qx5::test
