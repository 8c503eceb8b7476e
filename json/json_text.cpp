// Writes JSON text: what every writer of it appends.
#include "json_text.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace qx5 {

namespace {

/// Stands in a text as it is.
template <typename Character>
bool IsPlain(Character character)
{
    return character >= 0x20 && character < 0x7F && character != '"' && character != '\\';
}

void AppendEscaped(std::string& out, std::wstring_view text)
{
    static constexpr char hex[] = "0123456789abcdef";
    for (std::size_t at = 0; at < text.size();) {
        auto const codePoint = protocol::NextCodePoint(text, at);
        if (codePoint == '"' || codePoint == '\\') {
            out += '\\';
            out += static_cast<char>(codePoint);
        } else if (codePoint == '\n') {
            out += "\\n";
        } else if (codePoint == '\t') {
            out += "\\t";
        } else if (codePoint < 0x20 || codePoint == 0x7F || codePoint == 0x2028 || codePoint == 0x2029 ||
                   codePoint == 0x85) {
            out += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4) {
                out += hex[(codePoint >> shift) & 0xFU];
            }
        } else {
            protocol::AppendUtf8(out, codePoint);
        }
    }
}

} // namespace

void AppendQuoted(std::string& out, std::string_view text)
{
    out += '"';
    auto const special = std::find_if_not(text.begin(), text.end(), [](char each) { return IsPlain(each); });
    out.append(text.begin(), special);
    if (special != text.end()) {
        AppendEscaped(out, protocol::DecodeUtf8(text.substr(static_cast<std::size_t>(special - text.begin()))));
    }
    out += '"';
}

void AppendQuoted(std::string& out, std::wstring_view text)
{
    out += '"';
    // Nearly every text is plain to its end, which is found while it is copied.
    auto const before = out.size();
    out.resize(before + text.size());
    std::size_t plain = 0;
    for (; plain < text.size() && IsPlain(text[plain]); ++plain) {
        out[before + plain] = static_cast<char>(text[plain]);
    }
    if (plain < text.size()) {
        out.resize(before + plain);
        AppendEscaped(out, text.substr(plain));
    }
    out += '"';
}

namespace {

/// Appends a number of no more than five digits before the point and three behind it, as nearly all are. False, and
/// nothing appended, for any other.
bool AppendShortDouble(std::string& out, double number)
{
    // A decimal of up to 15 digits that reads back is the only one so short that does, hence the shortest.
    double const size = std::abs(number);
    if (!(size >= 0.001 && size < 100'000.0)) {
        return false;
    }
    auto const thousandths = static_cast<std::uint32_t>(size * 1000.0 + 0.5);
    if (thousandths / 1000.0 != size) {
        return false;
    }
    char text[24];
    auto* end = text;
    if (number < 0.0) {
        *end++ = '-';
    }
    end = std::to_chars(end, text + sizeof text, thousandths / 1000).ptr;
    *end++ = '.';
    auto fraction = thousandths % 1000;
    do {
        *end++ = static_cast<char>('0' + fraction / 100);
        fraction = fraction % 100 * 10;
    } while (fraction != 0);
    out.append(text, end);
    return true;
}

} // namespace

void AppendDouble(std::string& out, double number)
{
    if (AppendShortDouble(out, number)) {
        return;
    }
    if (std::isfinite(number)) {
        out += DoubleText(number);
    } else {
        AppendQuoted(out, std::string_view(DoubleText(number)));
    }
}

std::string DoubleText(double value)
{
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0.0 ? "inf" : "-inf";
    }
    char digits[40];
    std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    if (text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::string QuoteForMessage(std::string_view text, std::size_t limit)
{
    std::string out;
    if (text.size() <= limit) {
        AppendQuoted(out, text);
        return out;
    }
    std::size_t cut = limit;
    while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0U) == 0x80U) {
        --cut;
    }
    AppendQuoted(out, text.substr(0, cut));
    out += "...";
    return out;
}

} // namespace qx5
