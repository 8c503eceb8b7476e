// The UTF-8 coder, on utf8cpp, which says what is valid and what the bytes of a code point are.
#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

#include <utf8.h>

namespace qx5::protocol {

namespace {

constexpr char32_t Replacement = 0xFFFD;

constexpr std::uint32_t OrReplacement(char32_t codePoint)
{
    return IsHighSurrogate(codePoint) || IsLowSurrogate(codePoint) || codePoint > 0x10FFFF ? Replacement : codePoint;
}

template <typename Sink>
void EncodeEach(std::wstring_view text, Sink sink)
{
    for (std::size_t at = 0; at < text.size();) {
        std::array<unsigned char, 4> bytes = {};
        auto const* const end = utf8::unchecked::append(OrReplacement(NextCodePoint(text, at)), bytes.data());
        for (auto const* byte = bytes.data(); byte != end; ++byte) {
            sink(*byte);
        }
    }
}

} // namespace

std::string EncodeUtf8(std::wstring_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    EncodeEach(text, [&](unsigned char byte) { bytes += static_cast<char>(byte); });
    return bytes;
}

std::size_t Utf8Length(std::wstring_view text)
{
    std::size_t length = 0;
    EncodeEach(text, [&](unsigned char) { ++length; });
    return length;
}

std::size_t EncodeUtf8Into(std::wstring_view text, std::span<unsigned char> bytes)
{
    std::size_t written = 0;
    // Each unit makes a byte at least: what stands further behind finds no room, and a text may be long.
    EncodeEach(text.substr(0, bytes.size() + 1), [&](unsigned char byte) {
        if (written < bytes.size()) {
            bytes[written++] = byte;
        }
    });
    return written;
}

std::wstring DecodeUtf8(std::string_view bytes)
{
    // Nearly every text is ASCII.
    auto const isAscii = [](char each) { return static_cast<unsigned char>(each) < 0x80; };
    auto const other = std::find_if_not(bytes.begin(), bytes.end(), isAscii);
    std::wstring text(bytes.begin(), other);
    bytes.remove_prefix(text.size());
    if (bytes.empty()) {
        return text;
    }
    text.reserve(text.size() + bytes.size());
    for (;;) {
        auto const valid = bytes.substr(0, FindInvalidUtf8(bytes));
        if constexpr (sizeof(wchar_t) == 2) {
            utf8::unchecked::utf8to16(valid.begin(), valid.end(), std::back_inserter(text));
        } else {
            utf8::unchecked::utf8to32(valid.begin(), valid.end(), std::back_inserter(text));
        }
        if (valid.size() == bytes.size()) {
            return text;
        }
        AppendCodePoint(text, Replacement);
        bytes.remove_prefix(valid.size() + 1);
    }
}

std::wstring DecodeUtf8(std::span<unsigned char const> bytes)
{
    return DecodeUtf8(std::string_view(reinterpret_cast<char const*>(bytes.data()), bytes.size()));
}

std::size_t FindInvalidUtf8(std::string_view bytes)
{
    // Most are ASCII.
    auto const other =
        std::find_if(bytes.begin(), bytes.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; });
    return static_cast<std::size_t>(utf8::find_invalid(other, bytes.end()) - bytes.begin());
}

void AppendUtf8(std::string& text, char32_t codePoint)
{
    utf8::unchecked::append(OrReplacement(codePoint), std::back_inserter(text));
}

char32_t NextCodePoint(std::wstring_view text, std::size_t& at)
{
    auto const unit = static_cast<char32_t>(text[at++]);
    if constexpr (sizeof(wchar_t) == 2) {
        if (IsHighSurrogate(unit) && at < text.size() && IsLowSurrogate(static_cast<char32_t>(text[at]))) {
            return 0x10000 + ((unit & 0x3FFU) << 10) + (static_cast<char32_t>(text[at++]) & 0x3FFU);
        }
    }
    return unit;
}

std::size_t CountCodePoints(std::wstring_view text)
{
    if constexpr (sizeof(wchar_t) > 2) {
        return text.size();
    } else {
        std::size_t count = 0;
        for (std::size_t at = 0; at < text.size(); ++count) {
            NextCodePoint(text, at);
        }
        return count;
    }
}

std::size_t FindCodePoint(std::wstring_view text, std::size_t number)
{
    if constexpr (sizeof(wchar_t) > 2) {
        return std::min(number, text.size());
    } else {
        std::size_t at = 0;
        for (; number > 0 && at < text.size(); --number) {
            NextCodePoint(text, at);
        }
        return at;
    }
}

void AppendCodePoint(std::wstring& text, char32_t codePoint)
{
    if constexpr (sizeof(wchar_t) == 2) {
        if (codePoint > 0x10FFFF) {
            codePoint = Replacement;
        }
        if (codePoint >= 0x10000) {
            text += static_cast<wchar_t>(0xD7C0 + (codePoint >> 10));
            codePoint = 0xDC00 + (codePoint & 0x3FFU);
        }
    }
    text += static_cast<wchar_t>(codePoint);
}

} // namespace qx5::protocol
