// Conversions between UTF-8 and the host's wide texts.
#include "cli/scenario/unicode.h"

#include <cstdint>

namespace qx5::cli {

namespace {

constexpr char32_t Replacement = 0xFFFD;

constexpr bool IsSurrogate(char32_t codePoint)
{
    return codePoint >= 0xD800 && codePoint <= 0xDFFF;
}

} // namespace

std::size_t DecodeUtf8(std::string_view text, std::size_t at, char32_t& codePoint)
{
    if (at >= text.size()) {
        return 0;
    }
    auto const lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
        codePoint = lead;
        return 1;
    }
    std::size_t const length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || at + length > text.size()) {
        return 0;
    }
    char32_t value = lead & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        auto const byte = static_cast<unsigned char>(text[at + i]);
        if ((byte & 0xC0U) != 0x80U) {
            return 0;
        }
        value = (value << 6) | (byte & 0x3FU);
    }
    bool const overlong = (length == 3 && value < 0x800) || (length == 4 && value < 0x10000);
    if (overlong || IsSurrogate(value) || value > 0x10FFFF) {
        return 0;
    }
    codePoint = value;
    return length;
}

void AppendUtf8(std::string& text, char32_t codePoint)
{
    if (IsSurrogate(codePoint) || codePoint > 0x10FFFF) {
        codePoint = Replacement;
    }
    auto const tail = [&](unsigned shift) { text += static_cast<char>(0x80U | ((codePoint >> shift) & 0x3FU)); };
    if (codePoint < 0x80) {
        text += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        text += static_cast<char>(0xC0U | (codePoint >> 6));
        tail(0);
    } else if (codePoint < 0x10000) {
        text += static_cast<char>(0xE0U | (codePoint >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0U | (codePoint >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

CString WideFromUtf8(std::string_view text)
{
    std::wstring wide;
    wide.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        char32_t codePoint = Replacement;
        std::size_t const length = DecodeUtf8(text, at, codePoint);
        at += length != 0 ? length : 1;
        if constexpr (sizeof(wchar_t) == 2) {
            if (codePoint >= 0x10000) {
                wide += static_cast<wchar_t>(0xD800 + ((codePoint - 0x10000) >> 10));
                wide += static_cast<wchar_t>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
                continue;
            }
        }
        wide += static_cast<wchar_t>(codePoint);
    }
    return CString(std::move(wide));
}

std::string Utf8FromWide(std::wstring_view text)
{
    std::string narrow;
    narrow.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        auto codePoint = static_cast<char32_t>(text[i]);
        if constexpr (sizeof(wchar_t) == 2) {
            codePoint &= 0xFFFF;
            if (codePoint >= 0xD800 && codePoint < 0xDC00 && i + 1 < text.size()) {
                auto const low = static_cast<char32_t>(text[i + 1]) & 0xFFFF;
                if (low >= 0xDC00 && low < 0xE000) {
                    codePoint = 0x10000 + ((codePoint - 0xD800) << 10) + (low - 0xDC00);
                    ++i;
                }
            }
        }
        AppendUtf8(narrow, codePoint);
    }
    return narrow;
}

} // namespace qx5::cli
