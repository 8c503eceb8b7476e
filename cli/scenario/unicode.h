// Conversions between UTF-8 and the host's wide texts.
#pragma once

#include <VordalBaseR/CString.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace qx5::cli {

/// Length in bytes of the valid UTF-8 sequence at `at` (1 to 4), or 0 when there is none: overlong forms, surrogates
/// and anything past U+10FFFF count as invalid. `codePoint` is set when there is one.
std::size_t DecodeUtf8(std::string_view text, std::size_t at, char32_t& codePoint);

/// Appends the code point; surrogates and what lies past U+10FFFF become U+FFFD.
void AppendUtf8(std::string& text, char32_t codePoint);

/// A wide text from UTF-8; each byte that is not part of a valid sequence becomes U+FFFD.
CString WideFromUtf8(std::string_view text);

/// UTF-8 of a wide text; whatever is no code point becomes U+FFFD.
std::string Utf8FromWide(std::wstring_view text);

} // namespace qx5::cli
