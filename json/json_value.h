// A JSON value that keeps what its readers depend on: number texts, the order of members, where it stood and where a
// defect sits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5 {

/// A JSON value. A value type; nesting is bounded by whoever makes it (the parser: JsonNestingLimit).
///
/// A general reader turns 50 and 50.0, -0 and 0, or a number past 64 bits into one another, and gives up a whole file
/// for one bad text. Here a number is its literal, and a value that is sound JSON but not usable (see Kind::Defect)
/// stands in its place with the reason, so that one bad scenario of a file spoils no other.
struct JsonValue
{
    enum class Kind
    {
        Null,
        Bool,
        Number, ///< `text` is the literal
        Text,   ///< `text` is valid UTF-8 without U+0000
        Array,
        Object,
        Defect, ///< `text` is the reason: no value can be read here
    };
    using Member = std::pair<std::string, JsonValue>;

    Kind kind = Kind::Null;
    bool boolean = false;
    std::size_t at = 0; ///< of one that was read: where it begins in its document, in bytes
    std::string text;
    std::vector<JsonValue> items;
    std::vector<Member> members;

    static JsonValue Bool(bool value);
    static JsonValue Integer(std::int64_t value);
    static JsonValue Unsigned(std::uint64_t value);
    /// The shortest literal that reads back to the same double, always with a point or an exponent; "nan", "inf" and
    /// "-inf" as texts.
    static JsonValue Double(double value);
    static JsonValue Text(std::string value);
    static JsonValue Text(std::wstring_view value);
    static JsonValue Array(std::vector<JsonValue> items = {});
    static JsonValue Object(std::vector<Member> members = {});

    bool Is(Kind wanted) const { return kind == wanted; }
    /// The member, or null when it is absent (or this is no object).
    JsonValue const* Find(std::string_view key) const;
    /// Whether this is a number written without point and exponent.
    bool IsIntegerLiteral() const;
    /// False, and nothing written, when this is no integer literal or is out of range.
    bool ReadInteger(std::int64_t& value) const;
    /// A number of any form, correctly rounded; too small ones give a zero of their sign. False, and nothing written,
    /// when this is no number or lies beyond the range of a double.
    bool ReadNumber(double& value) const;
};

/// The text of a double as JsonValue::Double writes it, but without quotes around "nan", "inf" and "-inf".
std::string DoubleText(double value);

/// Compact JSON on one line; texts as UTF-8, control characters escaped.
std::string WriteJson(JsonValue const& value);
/// "line 3, column 7" of a place in a document, each from 1; columns count bytes.
std::string LineAndColumn(std::string_view document, std::size_t at);
/// A text in quotes, escaped, cut after about `limit` bytes: for messages, which are one line each.
std::string QuoteForMessage(std::string_view text, std::size_t limit = 60);

} // namespace qx5
