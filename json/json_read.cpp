// Reads typed values out of JSON documents, with messages that say where and why.
#include "json_read.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <limits>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

[[noreturn]] void Refuse(JsonPath const& path, std::string_view wanted, JsonNode const& value)
{
    throw InvalidDocument(path, std::string(wanted) + " is expected here, not " + std::string(KindName(value)));
}

} // namespace

std::string_view KindName(JsonNode const& value)
{
    switch (value.GetKind()) {
    case Kind::Null:
        return "null";
    case Kind::Bool:
        return value.Boolean() ? "true" : "false";
    case Kind::Number:
        return value.IsIntegerLiteral() ? "an integer" : "a number with a point or an exponent";
    case Kind::Text:
        return "a text";
    case Kind::Array:
        return "an array";
    case Kind::Object:
        return "an object";
    case Kind::Defect:
    case Kind::Written:
        break;
    }
    return "a defect";
}

bool ReadBool(JsonNode const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Bool)) {
        Refuse(path, "true or false", value);
    }
    return value.Boolean();
}

std::int64_t ReadInteger(JsonNode const& value, JsonPath const& path, std::int64_t lowest, std::int64_t highest)
{
    if (!value.IsIntegerLiteral()) {
        Refuse(path, "an integer", value);
    }
    std::int64_t number = 0;
    if (!value.ReadInteger(number) || number < lowest || number > highest) {
        throw InvalidDocument(path, std::string(value.Text().substr(0, 40)) + " is out of range, which is " +
                                        std::to_string(lowest) + " to " + std::to_string(highest));
    }
    return number;
}

int ReadInt32(JsonNode const& value, JsonPath const& path)
{
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<int>(ReadInteger(value, path, Limits::min(), Limits::max()));
}

std::uint16_t ReadUInt16(JsonNode const& value, JsonPath const& path)
{
    return static_cast<std::uint16_t>(ReadInteger(value, path, 0, 65535));
}

std::uint32_t ReadUInt32(JsonNode const& value, JsonPath const& path)
{
    return static_cast<std::uint32_t>(ReadInteger(value, path, 0, std::numeric_limits<std::uint32_t>::max()));
}

double ReadDouble(JsonNode const& value, JsonPath const& path)
{
    double number = 0.0;
    if (value.ReadNumber(number)) {
        return number;
    }
    if (value.Is(Kind::Text)) {
        if (value.Text() == "nan") {
            return std::numeric_limits<double>::quiet_NaN();
        }
        if (value.Text() == "inf") {
            return std::numeric_limits<double>::infinity();
        }
        if (value.Text() == "-inf") {
            return -std::numeric_limits<double>::infinity();
        }
    }
    Refuse(path, "a number, or \"nan\", \"inf\" or \"-inf\",", value);
}

std::string_view ReadText(JsonNode const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Text)) {
        Refuse(path, "a text", value);
    }
    return value.Text();
}

CString ReadWideText(JsonNode const& value, JsonPath const& path)
{
    return CString(protocol::DecodeUtf8(ReadText(value, path)));
}

CDataId ReadDataId(JsonNode const& value, JsonPath const& path)
{
    std::array<JsonNode, 4> items;
    if (value.Items().Into(items) != items.size()) {
        throw InvalidDocument(path, "an id is four integers, [a, b, c, d]");
    }
    std::array<std::uint16_t, 4> fields{};
    for (std::size_t i = 0; i < fields.size(); ++i) {
        fields[i] = ReadUInt16(items[i], JsonPath(path, i));
    }
    return CDataId(fields[0], fields[1], fields[2], fields[3]);
}

JsonItems ReadArray(JsonNode const& value, JsonPath const& path, std::size_t count)
{
    if (!value.Is(Kind::Array)) {
        Refuse(path, "an array", value);
    }
    if (auto const size = count != 0 ? value.Items().size() : 0; size != count) {
        throw InvalidDocument(path, "an array of " + std::to_string(count) + " is expected here, not of " +
                                        std::to_string(size));
    }
    return value.Items();
}

JsonMembers ReadObject(JsonNode const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Object)) {
        Refuse(path, "an object", value);
    }
    return value.Members();
}

JsonValue WriteDataId(CDataId const& id)
{
    return JsonValue::Array({JsonValue::Unsigned(id.GetType()), JsonValue::Unsigned(id.GetGroupId()),
                             JsonValue::Unsigned(id.GetDeviceNum()), JsonValue::Unsigned(id.GetVessel())});
}

MemberReader::MemberReader(JsonNode const& object, JsonPath const& path) : m_object(object), m_path(path)
{
    ReadObject(object, path);
}

std::optional<JsonNode> MemberReader::Find(std::string_view key)
{
    Know(key);
    auto const own = m_object.Find(key);
    return !own && m_fallback ? m_fallback->Find(key) : own;
}

void MemberReader::FallBackTo(JsonNode const& object, JsonPath const& path)
{
    ReadObject(object, path);
    m_fallback = object;
    m_fallbackPath = &path;
}

JsonPath MemberReader::At(std::string_view key) const
{
    bool const isFallback = m_fallback && !m_object.Find(key) && m_fallback->Find(key);
    return {isFallback ? *m_fallbackPath : m_path, key};
}

JsonNode MemberReader::Get(std::string_view key)
{
    auto const value = Find(key);
    if (!value) {
        throw InvalidDocument(m_path, QuoteForMessage(key) + " is missing");
    }
    return *value;
}

void MemberReader::Know(std::string_view key)
{
    if (m_firstCount < m_firstKnown.size()) {
        m_firstKnown[m_firstCount++] = key;
    } else {
        m_furtherKnown.push_back(key);
    }
}

bool MemberReader::IsKnown(std::string_view key) const
{
    auto const* const firstEnd = m_firstKnown.data() + m_firstCount;
    return std::find(m_firstKnown.data(), firstEnd, key) != firstEnd ||
           std::find(m_furtherKnown.begin(), m_furtherKnown.end(), key) != m_furtherKnown.end();
}

void MemberReader::RefuseUnknown() const
{
    auto const check = [this](JsonNode const& object, JsonPath const& path) {
        for (auto const& member : object.Members()) {
            if (!IsKnown(member.key)) {
                throw InvalidDocument(path, "unknown key " + QuoteForMessage(member.key));
            }
        }
    };
    check(m_object, m_path);
    if (m_fallback) {
        check(*m_fallback, *m_fallbackPath);
    }
}

bool MemberReader::Bool(std::string_view key, bool absent)
{
    auto const value = Find(key);
    return value ? ReadBool(*value, At(key)) : absent;
}

double MemberReader::Double(std::string_view key, double absent)
{
    auto const value = Find(key);
    return value ? ReadDouble(*value, At(key)) : absent;
}

int MemberReader::Int32(std::string_view key, int absent)
{
    auto const value = Find(key);
    return value ? ReadInt32(*value, At(key)) : absent;
}

std::uint16_t MemberReader::UInt16(std::string_view key, std::uint16_t absent)
{
    auto const value = Find(key);
    return value ? ReadUInt16(*value, At(key)) : absent;
}

std::uint32_t MemberReader::UInt32(std::string_view key, std::uint32_t absent)
{
    auto const value = Find(key);
    return value ? ReadUInt32(*value, At(key)) : absent;
}

CString MemberReader::WideText(std::string_view key, std::wstring_view absent)
{
    auto const value = Find(key);
    return value ? ReadWideText(*value, At(key)) : CString(absent);
}

} // namespace qx5
