// The first difference of two lists of events, told for people.
#include "json/event_difference.h"

#include "json/json_path.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <string_view>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

/// A value on one line, cut when it is long.
std::string Excerpt(JsonNode const& value)
{
    constexpr std::size_t limit = 400;
    std::string text = WriteJson(value.Copy());
    if (text.size() > limit) {
        std::size_t cut = limit;
        while ((static_cast<unsigned char>(text[cut]) & 0xC0U) == 0x80U) {
            --cut;
        }
        text.resize(cut);
        text += "...";
    }
    return text;
}

bool SameNumber(JsonNode const& expected, JsonNode const& got)
{
    std::int64_t expectedInteger = 0;
    std::int64_t gotInteger = 0;
    if (expected.ReadInteger(expectedInteger) && got.ReadInteger(gotInteger)) {
        return expectedInteger == gotInteger;
    }
    double expectedNumber = 0.0;
    double gotNumber = 0.0;
    return expected.ReadNumber(expectedNumber) && got.ReadNumber(gotNumber) &&
           std::bit_cast<std::uint64_t>(expectedNumber) == std::bit_cast<std::uint64_t>(gotNumber);
}

std::optional<std::vector<unsigned char>> BytesOfHex(std::string_view hex)
{
    std::vector<unsigned char> bytes;
    for (std::size_t i = 0; i < hex.size(); ++i) {
        char const c = hex[i];
        bool const isDigit = c >= '0' && c <= '9';
        if (!isDigit && (c < 'a' || c > 'f')) {
            return std::nullopt;
        }
        auto const value = static_cast<unsigned>(isDigit ? c - '0' : c - 'a' + 10);
        if (i % 2 == 0) {
            bytes.push_back(static_cast<unsigned char>(value << 4));
        } else {
            bytes.back() = static_cast<unsigned char>(bytes.back() | value);
        }
    }
    return hex.size() % 2 == 0 ? std::optional(std::move(bytes)) : std::nullopt;
}

/// Whether the byte at `at` is the highest of a quiet NaN without further bits, of either width.
bool EndsQuietNaN(std::vector<unsigned char> const& bytes, std::size_t at)
{
    auto const zeros = [&](std::size_t count) {
        return std::all_of(bytes.begin() + static_cast<std::ptrdiff_t>(at - count - 1),
                           bytes.begin() + static_cast<std::ptrdiff_t>(at - 1), [](auto byte) { return byte == 0; });
    };
    if (at < 3 || (bytes[at] & 0x7FU) != 0x7F) {
        return false;
    }
    return (bytes[at - 1] == 0xC0 && zeros(2)) || (at >= 7 && bytes[at - 1] == 0xF8 && zeros(6));
}

std::string HexByte(unsigned char byte)
{
    static constexpr char digits[] = "0123456789abcdef";
    return {digits[byte >> 4], digits[byte & 0xFU]};
}

std::optional<std::string> PayloadDifference(JsonNode const& expected, JsonNode const& got, std::string const& path)
{
    auto const expectedBytes = BytesOfHex(expected.Text());
    auto const gotBytes = BytesOfHex(got.Text());
    if (!expectedBytes.has_value() || !gotBytes.has_value()) {
        return "at " + path + ": the expected payload is not lower-case hex of whole bytes";
    }
    auto const common = std::min(expectedBytes->size(), gotBytes->size());
    for (std::size_t i = 0; i < common; ++i) {
        if ((*expectedBytes)[i] != (*gotBytes)[i] && !(EndsQuietNaN(*expectedBytes, i) && EndsQuietNaN(*gotBytes, i))) {
            return "at " + path + ": byte " + std::to_string(i) + ": expected " + HexByte((*expectedBytes)[i]) +
                   ", got " + HexByte((*gotBytes)[i]);
        }
    }
    if (expectedBytes->size() != gotBytes->size()) {
        return "at " + path + ": expected " + std::to_string(expectedBytes->size()) + " bytes, got " +
               std::to_string(gotBytes->size()) + " (the same up to byte " + std::to_string(common) + ")";
    }
    return std::nullopt;
}

std::optional<std::string> Difference(JsonNode const& expected, JsonNode const& got, std::string const& path);

std::optional<std::string> ObjectDifference(JsonNode const& expected, JsonNode const& got, std::string const& path)
{
    for (auto const& [key, value] : expected.Members()) {
        auto memberPath = path;
        JsonPath::AppendKey(memberPath, key);
        auto const other = got.Find(key);
        if (!other) {
            return "at " + memberPath + ": expected " + Excerpt(value) + ", got nothing";
        }
        bool const isPayload = path == "$" && (key == "payload" || key == "raw") && value.Is(Kind::Text) &&
                               other->Is(Kind::Text) && value.Text() != other->Text();
        if (auto found =
                isPayload ? PayloadDifference(value, *other, memberPath) : Difference(value, *other, memberPath)) {
            return found;
        }
    }
    for (auto const& [key, value] : got.Members()) {
        if (!expected.Find(key)) {
            auto memberPath = path;
            JsonPath::AppendKey(memberPath, key);
            return "at " + memberPath + ": expected nothing, got " + Excerpt(value);
        }
    }
    return std::nullopt;
}

std::optional<std::string> ArrayDifference(JsonNode const& expected, JsonNode const& got, std::string const& path)
{
    auto const expectedItems = expected.Items();
    auto const gotItems = got.Items();
    auto wanted = expectedItems.begin();
    auto happened = gotItems.begin();
    std::size_t index = 0;
    for (; wanted != expectedItems.end() && happened != gotItems.end(); ++wanted, ++happened) {
        auto itemPath = path;
        JsonPath::AppendIndex(itemPath, index++);
        if (auto found = Difference(*wanted, *happened, itemPath)) {
            return found;
        }
    }
    if (wanted == expectedItems.end() && happened == gotItems.end()) {
        return std::nullopt;
    }
    auto itemPath = path;
    JsonPath::AppendIndex(itemPath, index);
    return "at " + itemPath + ": expected " + (wanted != expectedItems.end() ? Excerpt(*wanted) : "nothing") +
           ", got " + (happened != gotItems.end() ? Excerpt(*happened) : "nothing");
}

std::optional<std::string> Difference(JsonNode const& expected, JsonNode const& got, std::string const& path)
{
    bool same = expected.GetKind() == got.GetKind();
    if (same) {
        switch (expected.GetKind()) {
        case Kind::Object:
            return ObjectDifference(expected, got, path);
        case Kind::Array:
            return ArrayDifference(expected, got, path);
        case Kind::Number:
            same = SameNumber(expected, got);
            break;
        case Kind::Bool:
            same = expected.Boolean() == got.Boolean();
            break;
        case Kind::Text:
            same = expected.Text() == got.Text();
            break;
        case Kind::Null:
        case Kind::Defect:
        case Kind::Written:
            break;
        }
    }
    if (same) {
        return std::nullopt;
    }
    return "at " + path + ": expected " + Excerpt(expected) + ", got " + Excerpt(got);
}

} // namespace

std::optional<std::string> FindDifference(std::vector<JsonNode> const& expected, std::vector<JsonNode> const& got)
{
    auto const counts =
        " (" + std::to_string(expected.size()) + " expected, " + std::to_string(got.size()) + " happened)";
    for (std::size_t i = 0; i < std::max(expected.size(), got.size()); ++i) {
        auto const event = "event " + std::to_string(i + 1);
        if (i >= got.size()) {
            return event + " did not happen" + counts + "\n  expected " + Excerpt(expected[i]);
        }
        if (i >= expected.size()) {
            return event + " was not expected" + counts + "\n  got      " + Excerpt(got[i]);
        }
        if (auto const found = Difference(expected[i], got[i], "$")) {
            return event + " differs" + (expected.size() != got.size() ? counts : "") + " " + *found + "\n  expected " +
                   Excerpt(expected[i]) + "\n  got      " + Excerpt(got[i]);
        }
    }
    return std::nullopt;
}

} // namespace qx5
