// A JSON value that is made to be written or compared.
#pragma once

#include "json_text.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5 {

/// A JSON value that stands for itself: one that is put together to be written, or a copy out of a JsonDocument that is
/// compared. A value type; nesting is bounded by whoever makes it.
struct JsonValue
{
    /// What a value is, here and in a document.
    enum class Kind : unsigned char
    {
        Null,
        Bool,
        Number, ///< `text` is the literal
        Text,   ///< `text` is valid UTF-8; of a document without U+0000
        Array,
        Object,
        Defect,  ///< of a document alone: `text` is the reason why no value can be read here
        Written, ///< never of a document: `text` is the JSON of a value that was written already
    };
    using Member = std::pair<std::string, JsonValue>;

    Kind kind = Kind::Null;
    bool boolean = false;
    std::string text;
    std::vector<JsonValue> items;
    std::vector<Member> members;

    static JsonValue Bool(bool value);
    static JsonValue Integer(std::int64_t value);
    static JsonValue Unsigned(std::uint64_t value);
    /// As AppendDouble writes it.
    static JsonValue Double(double value);
    static JsonValue Text(std::string value);
    static JsonValue Text(std::wstring_view value);
    static JsonValue Array(std::vector<JsonValue> items = {});
    static JsonValue Object(std::vector<Member> members = {});
    static JsonValue Written(std::string json);

    bool Is(Kind wanted) const { return kind == wanted; }
    /// The member, or null when it is absent (or this is no object).
    JsonValue const* Find(std::string_view key) const;
};

/// Compact JSON on one line; texts as UTF-8, control characters escaped.
void AppendJson(std::string& out, JsonValue const& value);
std::string WriteJson(JsonValue const& value);

} // namespace qx5
