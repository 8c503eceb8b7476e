// Base64 text to bytes.
#include "cli/scenario/base64.h"

#include <cstdint>

namespace qx5::cli {

namespace {

/// The six bits of a character, or -1.
int BitsOf(char c)
{
    if (c >= 'A' && c <= 'Z') {
        return c - 'A';
    }
    if (c >= 'a' && c <= 'z') {
        return c - 'a' + 26;
    }
    if (c >= '0' && c <= '9') {
        return c - '0' + 52;
    }
    return c == '+' ? 62 : c == '/' ? 63 : -1;
}

} // namespace

std::optional<std::vector<unsigned char>> DecodeBase64(std::string_view text)
{
    if (text.size() % 4 != 0) {
        return std::nullopt;
    }
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t at = 0; at < text.size(); at += 4) {
        bool const last = at + 4 == text.size();
        std::size_t const padding = !last ? 0 : text.substr(at + 2) == "==" ? 2 : text[at + 3] == '=' ? 1 : 0;
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 4; ++i) {
            int const six = i >= 4 - padding ? 0 : BitsOf(text[at + i]);
            if (six < 0) {
                return std::nullopt;
            }
            bits = (bits << 6) | static_cast<std::uint32_t>(six);
        }
        // Bits that no byte takes must be 0, so that each content has one text.
        if ((padding == 1 && (bits & 0xFFU) != 0) || (padding == 2 && (bits & 0xFFFFU) != 0)) {
            return std::nullopt;
        }
        for (std::size_t i = 0; i < 3 - padding; ++i) {
            bytes.push_back(static_cast<unsigned char>(bits >> (16 - 8 * i)));
        }
    }
    return bytes;
}

} // namespace qx5::cli
