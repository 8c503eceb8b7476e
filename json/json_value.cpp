// A JSON value that is made to be written or compared, and its text.
#include "json_value.h"

#include "json_number.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <cmath>
#include <utility>

namespace qx5 {

namespace {

JsonValue OfKind(JsonValue::Kind kind, std::string text)
{
    JsonValue json;
    json.kind = kind;
    json.text = std::move(text);
    return json;
}

template <typename Number>
JsonValue OfInteger(Number value)
{
    JsonValue json;
    json.kind = JsonValue::Kind::Number;
    AppendInteger(json.text, value);
    return json;
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
    return OfInteger(value);
}

JsonValue JsonValue::Unsigned(std::uint64_t value)
{
    return OfInteger(value);
}

JsonValue JsonValue::Double(double value)
{
    return OfKind(std::isfinite(value) ? Kind::Number : Kind::Text, DoubleText(value));
}

JsonValue JsonValue::Text(std::string value)
{
    return OfKind(Kind::Text, std::move(value));
}

JsonValue JsonValue::Text(std::wstring_view value)
{
    return Text(protocol::EncodeUtf8(value));
}

JsonValue JsonValue::Written(std::string json)
{
    return OfKind(Kind::Written, std::move(json));
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

void AppendJson(std::string& out, JsonValue const& value)
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
    case Kind::Written:
        out += value.text;
        break;
    case Kind::Text:
        AppendQuoted(out, std::string_view(value.text));
        break;
    case Kind::Array:
        out += '[';
        for (auto const& item : value.items) {
            if (&item != value.items.data()) {
                out += ',';
            }
            AppendJson(out, item);
        }
        out += ']';
        break;
    case Kind::Object:
        out += '{';
        for (auto const& member : value.members) {
            if (&member != value.members.data()) {
                out += ',';
            }
            AppendQuoted(out, std::string_view(member.first));
            out += ':';
            AppendJson(out, member.second);
        }
        out += '}';
        break;
    }
}

std::string WriteJson(JsonValue const& value)
{
    std::string out;
    AppendJson(out, value);
    return out;
}

} // namespace qx5
