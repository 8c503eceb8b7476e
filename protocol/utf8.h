// Wide text to UTF-8 and back, for any input: the one place that knows of sequences of bytes and of surrogates.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>

namespace qx5::protocol {

/// UTF-8 of a wide text: code points where `wchar_t` has 32 bits, UTF-16 where it has 16. A lone surrogate and a
/// number beyond U+10FFFF become U+FFFD.
std::string EncodeUtf8(std::wstring_view text);

/// The number of bytes that EncodeUtf8 would give; allocates nothing.
std::size_t Utf8Length(std::wstring_view text);

/// Writes the UTF-8 of `text` from the start of `bytes`, cut where the bytes end, be it inside of a character. Gives
/// the number of bytes written; allocates nothing.
std::size_t EncodeUtf8Into(std::wstring_view text, std::span<unsigned char> bytes);

/// Wide text of UTF-8; each byte that is not part of a valid sequence becomes one U+FFFD. Overlong forms, surrogates
/// and numbers beyond U+10FFFF are not valid.
std::wstring DecodeUtf8(std::string_view bytes);
std::wstring DecodeUtf8(std::span<unsigned char const> bytes);

/// Where the first byte stands that is not part of a valid sequence; the length of `bytes` when all are.
std::size_t FindInvalidUtf8(std::string_view bytes);

// One code point at a time. It may be any number: text that must come back as it was keeps what is no character, too.

constexpr bool IsHighSurrogate(char32_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}

constexpr bool IsLowSurrogate(char32_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

/// Appends UTF-8; a surrogate and a number beyond U+10FFFF become U+FFFD.
void AppendUtf8(std::string& text, char32_t codePoint);

/// Takes what stands at `at`, which must be before the end, and moves `at` past it: a pair of UTF-16 joined where
/// `wchar_t` has 16 bits, otherwise the unit as it is.
char32_t NextCodePoint(std::wstring_view text, std::size_t& at);

/// How many code points NextCodePoint reads: the number of characters, which is the same on every platform.
std::size_t CountCodePoints(std::wstring_view text);

/// Where the code point of that number stands, from 0 on; the text's size where it has no more than that.
std::size_t FindCodePoint(std::wstring_view text, std::size_t number);

/// Appends as NextCodePoint reads; where `wchar_t` has 16 bits, a number beyond U+10FFFF becomes U+FFFD.
void AppendCodePoint(std::wstring& text, char32_t codePoint);

} // namespace qx5::protocol
