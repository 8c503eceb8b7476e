// Reads typed values out of JSON values, with messages that say where and why.
#include "json_read.h"

#include <protocol/utf8.h>

#include <limits>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

[[noreturn]] void Refuse(JsonPath const& path, std::string_view wanted, JsonValue const& value)
{
    throw InvalidDocument(path, std::string(wanted) + " is expected here, not " + std::string(KindName(value)));
}

} // namespace

std::string_view KindName(JsonValue const& value)
{
    switch (value.kind) {
    case Kind::Null:
        return "null";
    case Kind::Bool:
        return value.boolean ? "true" : "false";
    case Kind::Number:
        return value.IsIntegerLiteral() ? "an integer" : "a number with a point or an exponent";
    case Kind::Text:
        return "a text";
    case Kind::Array:
        return "an array";
    case Kind::Object:
        return "an object";
    case Kind::Defect:
        break;
    }
    return "a defect";
}

bool ReadBool(JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Bool)) {
        Refuse(path, "true or false", value);
    }
    return value.boolean;
}

std::int64_t ReadInteger(JsonValue const& value, JsonPath const& path, std::int64_t lowest, std::int64_t highest)
{
    if (!value.IsIntegerLiteral()) {
        Refuse(path, "an integer", value);
    }
    std::int64_t number = 0;
    if (!value.ReadInteger(number) || number < lowest || number > highest) {
        throw InvalidDocument(path, value.text.substr(0, 40) + " is out of range, which is " + std::to_string(lowest) +
                                        " to " + std::to_string(highest));
    }
    return number;
}

int ReadInt32(JsonValue const& value, JsonPath const& path)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<int>(ReadInteger(value, path, Limits::min(), Limits::max()));
}

std::uint16_t ReadUInt16(JsonValue const& value, JsonPath const& path)
{
    return static_cast<std::uint16_t>(ReadInteger(value, path, 0, 65535));
}

std::uint32_t ReadUInt32(JsonValue const& value, JsonPath const& path)
{
    return static_cast<std::uint32_t>(ReadInteger(value, path, 0, std::numeric_limits<std::uint32_t>::max()));
}

double ReadDouble(JsonValue const& value, JsonPath const& path)
{
    double number = 0.0;
    if (value.ReadNumber(number)) {
        return number;
    }
    if (value.Is(Kind::Text)) {
        if (value.text == "nan") {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (value.text == "inf") {
            return std::numeric_limits<double>::infinity();
        }
        if (value.text == "-inf") {
            return -std::numeric_limits<double>::infinity();
        }
    }
    Refuse(path, "a number, or \"nan\", \"inf\" or \"-inf\",", value);
}

std::string const& ReadText(JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Text)) {
        Refuse(path, "a text", value);
    }
    return value.text;
}

CString ReadWideText(JsonValue const& value, JsonPath const& path)
{
    return CString(protocol::DecodeUtf8(ReadText(value, path)));
}

CDataId ReadDataId(JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array) || value.items.size() != 4) {
        throw InvalidDocument(path, "an id is four integers, [a, b, c, d]");
    }
    std::uint16_t fields[4];
    for (std::size_t i = 0; i < 4; ++i) {
        fields[i] = ReadUInt16(value.items[i], JsonPath(path, i));
    }
    return CDataId(fields[0], fields[1], fields[2], fields[3]);
}

std::vector<JsonValue> const& ReadArray(JsonValue const& value, JsonPath const& path, std::size_t count)
{
    if (!value.Is(Kind::Array)) {
        Refuse(path, "an array", value);
    }
    if (count != 0 && value.items.size() != count) {
        throw InvalidDocument(path, "an array of " + std::to_string(count) + " is expected here, not of " +
                                        std::to_string(value.items.size()));
    }
    return value.items;
}

std::vector<JsonValue::Member> const& ReadObject(JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Object)) {
        Refuse(path, "an object", value);
    }
    return value.members;
}

JsonValue WriteDataId(CDataId const& id)
{
    return JsonValue::Array({JsonValue::Unsigned(id.GetType()), JsonValue::Unsigned(id.GetGroupId()),
                             JsonValue::Unsigned(id.GetDeviceNum()), JsonValue::Unsigned(id.GetVessel())});
}

MemberReader::MemberReader(JsonValue const& object, JsonPath const& path) : m_object(object), m_path(path)
{
    ReadObject(object, path);
}

JsonValue const* MemberReader::Find(std::string_view key)
{
    m_known.insert(key);
    auto const* const own = m_object.Find(key);
    return own == nullptr && m_fallback != nullptr ? m_fallback->Find(key) : own;
}

void MemberReader::FallBackTo(JsonValue const& object, JsonPath const& path)
{
    ReadObject(object, path);
    m_fallback = &object;
    m_fallbackPath = &path;
}

JsonPath MemberReader::At(std::string_view key) const
{
    bool const isFallback = m_fallback != nullptr && m_object.Find(key) == nullptr && m_fallback->Find(key) != nullptr;
    return {isFallback ? *m_fallbackPath : m_path, key};
}

JsonValue const& MemberReader::Get(std::string_view key)
{
    auto const* value = Find(key);
    if (value == nullptr) {
        throw InvalidDocument(m_path, QuoteForMessage(key) + " is missing");
    }
    return *value;
}

void MemberReader::RefuseUnknown() const
{
    auto const check = [this](JsonValue const& object, JsonPath const& path) {
        for (auto const& [key, value] : object.members) {
            if (m_known.count(key) == 0) {
                throw InvalidDocument(path, "unknown key " + QuoteForMessage(key));
            }
        }
    };
    check(m_object, m_path);
    if (m_fallback != nullptr) {
        check(*m_fallback, *m_fallbackPath);
    }
}

bool MemberReader::Bool(std::string_view key, bool absent)
{
    auto const* value = Find(key);
    return value != nullptr ? ReadBool(*value, At(key)) : absent;
}

double MemberReader::Double(std::string_view key, double absent)
{
    auto const* value = Find(key);
    return value != nullptr ? ReadDouble(*value, At(key)) : absent;
}

int MemberReader::Int32(std::string_view key, int absent)
{
    auto const* value = Find(key);
    return value != nullptr ? ReadInt32(*value, At(key)) : absent;
}

std::uint16_t MemberReader::UInt16(std::string_view key, std::uint16_t absent)
{
    auto const* value = Find(key);
    return value != nullptr ? ReadUInt16(*value, At(key)) : absent;
}

std::uint32_t MemberReader::UInt32(std::string_view key, std::uint32_t absent)
{
    auto const* value = Find(key);
    return value != nullptr ? ReadUInt32(*value, At(key)) : absent;
}

CString MemberReader::WideText(std::string_view key, std::wstring_view absent)
{
    auto const* value = Find(key);
    return value != nullptr ? ReadWideText(*value, At(key)) : CString(absent);
}

} // namespace qx5
