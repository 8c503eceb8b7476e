// Bytes written as hexadecimal text, for expectations that can be read beside a record's table.
#pragma once

#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::protocol::test {

/// "05 00 3c" as bytes; blanks between digits mean nothing.
inline std::vector<unsigned char> Bytes(std::string_view hex)
{
    std::vector<unsigned char> bytes;
    int high = -1;
    for (char const c : hex) {
        if (c == ' ' || c == '\n') {
            continue;
        }
        std::size_t const digit = std::string_view("0123456789abcdef").find(c);
        if (digit == std::string_view::npos) {
            throw std::invalid_argument("not a hexadecimal digit");
        }
        if (high < 0) {
            high = static_cast<int>(digit);
        } else {
            bytes.push_back(static_cast<unsigned char>(high * 16 + static_cast<int>(digit)));
            high = -1;
        }
    }
    if (high >= 0) {
        throw std::invalid_argument("half a byte");
    }
    return bytes;
}

inline std::vector<unsigned char> Copy(std::span<unsigned char const> bytes)
{
    return {bytes.begin(), bytes.end()};
}

inline std::vector<unsigned char> Zeros(std::size_t count)
{
    return std::vector<unsigned char>(count);
}

inline std::vector<unsigned char> Text(std::string_view text)
{
    return {text.begin(), text.end()};
}

inline std::vector<unsigned char> Join(std::initializer_list<std::vector<unsigned char>> parts)
{
    std::vector<unsigned char> all;
    for (auto const& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

} // namespace qx5::protocol::test
