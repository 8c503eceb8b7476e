// Wide text to UTF-8 and back, for any input.
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

} // namespace qx5::protocol
