// A JSON value, its numbers, and its text.
#include "json_value.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <system_error>

namespace qx5 {

namespace {

template <typename T>
std::string Digits(T value)
{
    char buffer[40];
    auto const end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
    return std::string(buffer, end);
}

/// Whether a literal that std::from_chars found out of range is too large rather than too small.
bool IsOverflow(std::string_view literal)
{
    // The place of the first digit that is not 0 (1 for units, 0 for tenths), shifted by the exponent.
    long long place = 0;
    bool seenDigit = false;
    bool afterPoint = false;
    std::size_t i = 0;
    for (; i < literal.size() && literal[i] != 'e' && literal[i] != 'E'; ++i) {
        char const c = literal[i];
        if (c == '.') {
            afterPoint = true;
        } else if (c != '-') {
            seenDigit = seenDigit || c != '0';
            if (!afterPoint && seenDigit) {
                ++place;
            } else if (afterPoint && !seenDigit) {
                --place;
            }
        }
    }
    if (!seenDigit) {
        return false;
    }
    if (i == literal.size()) {
        return place > 0;
    }
    bool const negative = literal[i + 1] == '-';
    auto const digits = literal.substr(i + ((negative || literal[i + 1] == '+') ? 2 : 1));
    long long exponent = 0;
    auto const parsed = std::from_chars(digits.data(), digits.data() + digits.size(), exponent);
    if (parsed.ec != std::errc()) {
        return !negative;
    }
    return place > (negative ? exponent : -exponent);
}

void AppendQuoted(std::string& out, std::string_view text)
{
    static constexpr char hex[] = "0123456789abcdef";
    out += '"';
    auto const wide = protocol::DecodeUtf8(text);
    for (std::size_t at = 0; at < wide.size();) {
        auto const codePoint = protocol::NextCodePoint(wide, at);
        if (codePoint == '"' || codePoint == '\\') {
            out += '\\';
            out += static_cast<char>(codePoint);
        } else if (codePoint == '\n') {
            out += "\\n";
        } else if (codePoint == '\t') {
            out += "\\t";
        } else if (codePoint < 0x20 || codePoint == 0x7F || codePoint == 0x2028 || codePoint == 0x2029 ||
                   codePoint == 0x85) {
            // Besides what must be escaped, everything that some tool takes for the end of a line.
            out += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4) {
                out += hex[(codePoint >> shift) & 0xFU];
            }
        } else {
            protocol::AppendUtf8(out, codePoint);
        }
    }
    out += '"';
}

void Append(std::string& out, JsonValue const& value)
{
    using Kind = JsonValue::Kind;
    switch (value.kind) {
    case Kind::Null:
    case Kind::Defect:
        out += "null";
        break;
    case Kind::Bool:
        out += value.boolean ? "true" : "false";
        break;
    case Kind::Number:
        out += value.text;
        break;
    case Kind::Text:
        AppendQuoted(out, value.text);
        break;
    case Kind::Array:
        out += '[';
        for (auto const& item : value.items) {
            if (&item != value.items.data()) {
                out += ',';
            }
            Append(out, item);
        }
        out += ']';
        break;
    case Kind::Object:
        out += '{';
        for (auto const& member : value.members) {
            if (&member != value.members.data()) {
                out += ',';
            }
            AppendQuoted(out, member.first);
            out += ':';
            Append(out, member.second);
        }
        out += '}';
        break;
    }
}

} // namespace

JsonValue JsonValue::Bool(bool value)
{
    JsonValue json;
    json.kind = Kind::Bool;
    json.boolean = value;
    return json;
}

JsonValue JsonValue::Integer(std::int64_t value)
{
    JsonValue json;
    json.kind = Kind::Number;
    json.text = Digits(value);
    return json;
}

JsonValue JsonValue::Unsigned(std::uint64_t value)
{
    JsonValue json;
    json.kind = Kind::Number;
    json.text = Digits(value);
    return json;
}

JsonValue JsonValue::Double(double value)
{
    JsonValue json;
    json.kind = std::isfinite(value) ? Kind::Number : Kind::Text;
    json.text = DoubleText(value);
    return json;
}

JsonValue JsonValue::Text(std::string value)
{
    JsonValue json;
    json.kind = Kind::Text;
    json.text = std::move(value);
    return json;
}

JsonValue JsonValue::Text(std::wstring_view value)
{
    return Text(protocol::EncodeUtf8(value));
}

JsonValue JsonValue::Array(std::vector<JsonValue> items)
{
    JsonValue json;
    json.kind = Kind::Array;
    json.items = std::move(items);
    return json;
}

JsonValue JsonValue::Object(std::vector<Member> members)
{
    JsonValue json;
    json.kind = Kind::Object;
    json.members = std::move(members);
    return json;
}

JsonValue const* JsonValue::Find(std::string_view key) const
{
    auto const found =
        std::find_if(members.begin(), members.end(), [&](auto const& each) { return each.first == key; });
    return found != members.end() ? &found->second : nullptr;
}

bool JsonValue::IsIntegerLiteral() const
{
    return kind == Kind::Number && text.find_first_of(".eE") == std::string::npos;
}

bool JsonValue::ReadInteger(std::int64_t& value) const
{
    if (!IsIntegerLiteral()) {
        return false;
    }
    std::int64_t parsed = 0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return false;
    }
    value = parsed;
    return true;
}

bool JsonValue::ReadNumber(double& value) const
{
    if (kind != Kind::Number) {
        return false;
    }
    double parsed = 0.0;
    auto const result = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (result.ec == std::errc::result_out_of_range) {
        if (IsOverflow(text)) {
            return false;
        }
        parsed = text.front() == '-' ? -0.0 : 0.0;
    } else if (result.ec != std::errc() || result.ptr != text.data() + text.size()) {
        return false;
    }
    value = parsed;
    return true;
}

std::string DoubleText(double value)
{
    if (std::isnan(value)) {
        return "nan";
    }
    if (std::isinf(value)) {
        return value > 0.0 ? "inf" : "-inf";
    }
    std::string text = Digits(value);
    if (text.find_first_of(".e") == std::string::npos) {
        text += ".0";
    }
    return text;
}

std::string WriteJson(JsonValue const& value)
{
    std::string out;
    Append(out, value);
    return out;
}

std::string LineAndColumn(std::string_view document, std::size_t at)
{
    auto const before = document.substr(0, at);
    auto const line = 1 + std::count(before.begin(), before.end(), '\n');
    auto const column = before.size() - (before.rfind('\n') + 1) + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column);
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
