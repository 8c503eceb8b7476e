// Data blocks as JSON and back.
#include "cli/scenario/block_json.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <limits>

namespace qx5::cli {

namespace {

using Kind = JsonValue::Kind;

/// Items of this size and more do not occur in a sonar's data; the limit keeps a slip of the pen from taking all
/// memory.
constexpr std::int64_t LargestItem = 1 << 20;

std::uint32_t SizeOfTag(std::uint16_t tag)
{
    switch (tag) {
    case DATA_INT32:
    case DATA_FLOAT:
        return 4;
    case DATA_DOUBLE:
        return 8;
    case DATA_UINT16:
        return 2;
    case DATA_BYTE:
        return 1;
    default:
        return 0;
    }
}

std::vector<unsigned char> LittleEndianBytes(std::uint64_t bits, std::size_t size)
{
    std::vector<unsigned char> bytes(size);
    for (std::size_t i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    }
    return bytes;
}

/// Past the range of a float comes an infinity; a NaN comes as the positive quiet one.
float NarrowToFloat(double value)
{
    constexpr double largest = std::numeric_limits<float>::max();
    // Half a step past the largest float is where rounding to nearest leaves the range.
    constexpr double limit = largest * (1.0 + 0x1p-25);
    if (value != value) {
        return std::numeric_limits<float>::quiet_NaN();
    }
    if (value >= limit) {
        return std::numeric_limits<float>::infinity();
    }
    if (value <= -limit) {
        return -std::numeric_limits<float>::infinity();
    }
    return static_cast<float>(std::clamp(value, -largest, largest));
}

std::vector<unsigned char> BytesOf(std::uint16_t tag, JsonNode const& value, JsonPath const& path)
{
    auto const size = SizeOfTag(tag);
    switch (tag) {
    case DATA_INT32:
        return LittleEndianBytes(static_cast<std::uint32_t>(ReadInt32(value, path)), size);
    case DATA_DOUBLE:
        return LittleEndianBytes(std::bit_cast<std::uint64_t>(ReadDouble(value, path)), size);
    case DATA_FLOAT:
        return LittleEndianBytes(std::bit_cast<std::uint32_t>(NarrowToFloat(ReadDouble(value, path))), size);
    case DATA_UINT16:
        return LittleEndianBytes(ReadUInt16(value, path), size);
    default:
        return LittleEndianBytes(static_cast<std::uint64_t>(ReadInteger(value, path, 0, 255)), size);
    }
}

ScenarioBlockItem ReadItem(JsonNode const& value, JsonPath const& path)
{
    std::array<JsonNode, 5> fields;
    auto const count = value.Items().Into(fields);
    if (count < 4 || count > fields.size()) {
        throw InvalidDocument(path, "a block item is [item, type tag, size in bytes, value, item status]");
    }
    ScenarioBlockItem item;
    item.item = ReadUInt16(fields[0], JsonPath(path, 0));
    item.type = ReadUInt16(fields[1], JsonPath(path, 1));
    item.size = SizeOfTag(item.type);
    if (item.size == 0) {
        throw InvalidDocument(JsonPath(path, 1), "unknown type tag " + std::to_string(item.type));
    }
    if (!fields[2].Is(Kind::Null)) {
        item.size = static_cast<std::uint32_t>(ReadInteger(fields[2], JsonPath(path, 2), 0, LargestItem));
    }
    if (!fields[3].Is(Kind::Null)) {
        item.bytes = BytesOf(item.type, fields[3], JsonPath(path, 3));
        item.bytes->resize(item.size, 0);
    }
    if (count == fields.size()) {
        item.status = ReadUInt16(fields[4], JsonPath(path, 4));
    }
    return item;
}

JsonValue WriteItemValue(CDataItem const& item)
{
    if (item.data == nullptr) {
        return JsonValue();
    }
    auto const* bytes = static_cast<unsigned char const*>(item.data);
    std::uint64_t bits = 0;
    for (std::uint32_t i = 0; i < std::min(item.size, SizeOfTag(item.type)); ++i) {
        bits |= static_cast<std::uint64_t>(bytes[i]) << (8 * i);
    }
    switch (item.type) {
    case DATA_INT32:
        return JsonValue::Integer(static_cast<std::int32_t>(static_cast<std::uint32_t>(bits)));
    case DATA_DOUBLE:
        return JsonValue::Double(std::bit_cast<double>(bits));
    case DATA_FLOAT:
        return JsonValue::Double(static_cast<double>(std::bit_cast<float>(static_cast<std::uint32_t>(bits))));
    default:
        return JsonValue::Unsigned(bits);
    }
}

} // namespace

ScenarioBlock ReadBlock(MemberReader& members)
{
    ScenarioBlock block;
    block.status = members.UInt16("status", 0);
    if (auto const items = members.Find("items")) {
        JsonPath const path = members.At("items");
        for (auto const& item : ReadArray(*items, path)) {
            block.items.push_back(ReadItem(item, JsonPath(path, block.items.size())));
        }
    }
    return block;
}

CDataBlock MakeBlock(ScenarioBlock const& block, double time)
{
    CDataBlock made;
    made.SetStatus(block.status);
    made.SetTime(time);
    for (auto const& item : block.items) {
        if (item.bytes.has_value()) {
            made.AddItem(item.item, item.type, *item.bytes, item.size, item.status);
        } else {
            made.AddItemWithoutData(item.item, item.type, item.size, item.status);
        }
    }
    return made;
}

JsonValue WriteBlock(CDataBlock const& block)
{
    JsonValue items = JsonValue::Array();
    for (std::uint16_t i = 0; i < block.GetItemCount(); ++i) {
        if (auto const* item = block.GetItem(i); item != nullptr) {
            items.items.push_back(JsonValue::Array({JsonValue::Unsigned(item->item), JsonValue::Unsigned(item->type),
                                                    JsonValue::Unsigned(item->size), WriteItemValue(*item),
                                                    JsonValue::Unsigned(item->status)}));
        }
    }
    return JsonValue::Object({{"status", JsonValue::Unsigned(block.GetStatus())},
                              {"time", JsonValue::Double(block.GetTime())},
                              {"items", std::move(items)}});
}

} // namespace qx5::cli
