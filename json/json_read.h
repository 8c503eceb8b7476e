// Reads typed values out of JSON documents, with messages that say where and why.
#pragma once

#include "json_document.h"
#include "json_path.h"

#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qx5 {

// Each of these throws InvalidDocument at `path` when the value is of another kind or out of range.

bool ReadBool(JsonNode const& value, JsonPath const& path);
/// An integer written without point and exponent, within the limits, both included.
std::int64_t ReadInteger(JsonNode const& value, JsonPath const& path, std::int64_t lowest, std::int64_t highest);
int ReadInt32(JsonNode const& value, JsonPath const& path);
std::uint16_t ReadUInt16(JsonNode const& value, JsonPath const& path);
std::uint32_t ReadUInt32(JsonNode const& value, JsonPath const& path);
/// A number, or "nan", "inf", "-inf".
double ReadDouble(JsonNode const& value, JsonPath const& path);
std::string_view ReadText(JsonNode const& value, JsonPath const& path);
CString ReadWideText(JsonNode const& value, JsonPath const& path);
/// Four integers of 16 bits.
CDataId ReadDataId(JsonNode const& value, JsonPath const& path);
/// The items of an array; `count` of them when it is not 0.
JsonItems ReadArray(JsonNode const& value, JsonPath const& path, std::size_t count = 0);
/// The members of an object.
JsonMembers ReadObject(JsonNode const& value, JsonPath const& path);

/// The id as four numbers.
JsonValue WriteDataId(CDataId const& id);

/// What kind of value this is, in words, for messages: "a text", "an integer".
std::string_view KindName(JsonNode const& value);

/// Reads the members of an object one by one and knows which keys were asked for. The document and the path must
/// outlive it.
class MemberReader
{
public:
    /// Throws InvalidDocument when the value is no object.
    MemberReader(JsonNode const& object, JsonPath const& path);

    /// What the object lacks is looked for in this one; its document and path must outlive the reader, too.
    void FallBackTo(JsonNode const& object, JsonPath const& path);

    /// The member; nothing when it is absent. Either way the key, a text that outlives the reader, is known from now
    /// on.
    std::optional<JsonNode> Find(std::string_view key);
    /// The member. Throws InvalidDocument when it is absent.
    JsonNode Get(std::string_view key);
    /// Where the member stands, or would stand.
    JsonPath At(std::string_view key) const;
    JsonPath const& Path() const { return m_path; }
    /// Throws InvalidDocument for the first member that nobody asked for.
    void RefuseUnknown() const;

    bool Bool(std::string_view key, bool absent);
    double Double(std::string_view key, double absent);
    int Int32(std::string_view key, int absent);
    std::uint16_t UInt16(std::string_view key, std::uint16_t absent);
    std::uint32_t UInt32(std::string_view key, std::uint32_t absent);
    CString WideText(std::string_view key, std::wstring_view absent = {});

private:
    void Know(std::string_view key);
    bool IsKnown(std::string_view key) const;

    JsonNode m_object;
    JsonPath const& m_path;
    std::optional<JsonNode> m_fallback;
    JsonPath const* m_fallbackPath = nullptr;
    // Most objects have few.
    std::array<std::string_view, 6> m_firstKnown{};
    std::size_t m_firstCount = 0;
    std::vector<std::string_view> m_furtherKnown;
};

} // namespace qx5
