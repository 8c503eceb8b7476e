// Writes JSON text: what every writer of it appends.
#pragma once

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>

namespace qx5 {

/// A text in quotes; `text` is valid UTF-8. What must be escaped is, and everything that some tool takes for the end of
/// a line.
void AppendQuoted(std::string& out, std::string_view text);
/// The same of code points.
void AppendQuoted(std::string& out, std::wstring_view text);

template <std::integral Number>
void AppendInteger(std::string& out, Number number)
{
    char digits[24];
    out.append(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
}

/// The shortest literal that reads back to the same double, always with a point or an exponent; "nan", "inf" and "-inf"
/// as texts.
void AppendDouble(std::string& out, double number);

/// The text of a double as AppendDouble writes it, but without quotes around "nan", "inf" and "-inf".
std::string DoubleText(double value);

/// A text in quotes, escaped, cut after about `limit` bytes: for messages, which are one line each.
std::string QuoteForMessage(std::string_view text, std::size_t limit = 60);

} // namespace qx5
