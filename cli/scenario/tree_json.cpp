// Attribute trees as JSON and back.
#include "cli/scenario/tree_json.h"

#include "cli/scenario/json_read.h"

#include <values/vordal_value.h>

#include <array>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qx5::cli {

namespace {

using Kind = JsonValue::Kind;

std::vector<int> ReadIntegers(JsonValue const& value, JsonPath const& path)
{
    std::vector<int> numbers;
    for (auto const& item : ReadArray(value, path)) {
        numbers.push_back(ReadInt32(item, JsonPath(path, numbers.size())));
    }
    return numbers;
}

std::vector<double> ReadDoubles(JsonValue const& value, JsonPath const& path, std::size_t count = 0)
{
    std::vector<double> numbers;
    for (auto const& item : ReadArray(value, path, count)) {
        numbers.push_back(ReadDouble(item, JsonPath(path, numbers.size())));
    }
    return numbers;
}

protocol::Value ReadValue(protocol::Kind kind, JsonValue const& value, JsonPath const& path)
{
    using protocol::Kind;
    using Widest = std::numeric_limits<std::int64_t>;
    switch (kind) {
    case Kind::Int:
        return ReadInt32(value, path);
    case Kind::UInt:
        return ReadUInt32(value, path);
    case Kind::Int64:
        return ReadInteger(value, path, Widest::min(), Widest::max());
    case Kind::Bool:
        return ReadBool(value, path);
    case Kind::Double:
        return ReadDouble(value, path);
    case Kind::Pair: {
        auto const numbers = ReadDoubles(value, path, 2);
        return std::pair(numbers[0], numbers[1]);
    }
    case Kind::DataId: {
        auto const id = ReadDataId(value, path);
        return protocol::DataReference{id.GetType(), id.GetGroupId(), id.GetDeviceNum(), id.GetVessel(), 65535, 65535};
    }
    case Kind::String:
        return std::wstring(ReadWideText(value, path).View());
    case Kind::IntList:
        return ReadIntegers(value, path);
    case Kind::DoubleList:
        return ReadDoubles(value, path);
    case Kind::Offset: {
        auto const axes = ReadDoubles(value, path, 3);
        return std::array{axes[0], axes[1], axes[2]};
    }
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return {};
}

void ReadNodes(CAttributeMap& parent, JsonValue const& value, JsonPath const& path);

void ReadNode(CAttributeMap& parent, JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array) || value.items.size() < 2 || value.items.size() > 4) {
        throw InvalidScenario(path, "a node is [key, type, value], [key, [nodes]], [key, type, value, [nodes]] or "
                                    "[key, \"none\"]");
    }
    auto const& items = value.items;
    JsonPath const typePath(path, 1);
    CString const key = ReadWideText(items[0], JsonPath(path, 0));
    CAttributeMap& node = *parent.Add(key);
    if (items[1].Is(Kind::Array)) {
        if (items.size() != 2) {
            throw InvalidScenario(path, "nothing may follow the children of a branch");
        }
        ReadNodes(node, items[1], typePath);
        return;
    }
    auto const& type = ReadText(items[1], typePath);
    if (type == "none") {
        if (items.size() != 2) {
            throw InvalidScenario(path, "nothing may follow the type \"none\"");
        }
        return;
    }
    auto const kind = protocol::FindKind(type);
    if (!kind || *kind == protocol::Kind::Branch || *kind == protocol::Kind::Any) {
        throw InvalidScenario(typePath, "unknown type " + QuoteForMessage(type));
    }
    if (items.size() < 3) {
        throw InvalidScenario(path, "the value is missing");
    }
    node.ReplaceValue(MakeVordal(ReadValue(*kind, items[2], JsonPath(path, 2))).release());
    if (items.size() == 4) {
        ReadNodes(node, items[3], JsonPath(path, 3));
    }
}

void ReadNodes(CAttributeMap& parent, JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array)) {
        throw InvalidScenario(path, "a tree is an array of nodes, not " + std::string(KindName(value)));
    }
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        ReadNode(parent, value.items[i], JsonPath(path, i));
    }
}

template <typename Elements>
JsonValue WriteList(Elements const& elements);

/// The value of a node that has one.
struct ValueWriter
{
    JsonValue operator()(std::monostate) const { return {}; }
    JsonValue operator()(std::int32_t number) const { return JsonValue::Integer(number); }
    JsonValue operator()(std::uint32_t number) const { return JsonValue::Unsigned(number); }
    JsonValue operator()(std::int64_t number) const { return JsonValue::Integer(number); }
    JsonValue operator()(bool truth) const { return JsonValue::Bool(truth); }
    JsonValue operator()(double number) const { return JsonValue::Double(number); }
    JsonValue operator()(std::pair<double, double> const& pair) const
    {
        return WriteList(std::array{pair.first, pair.second});
    }
    JsonValue operator()(protocol::DataReference const& parts) const
    {
        return WriteDataId({parts[0], parts[1], parts[2], parts[3]});
    }
    JsonValue operator()(std::wstring const& text) const { return JsonValue::Text(text); }
    template <typename Elements>
    JsonValue operator()(Elements const& elements) const
    {
        return WriteList(elements);
    }
};

template <typename Elements>
JsonValue WriteList(Elements const& elements)
{
    JsonValue array = JsonValue::Array();
    for (auto const element : elements) {
        array.items.push_back(ValueWriter()(element));
    }
    return array;
}

JsonValue WriteNodes(CAttributeMap const& parent, int depth)
{
    if (depth > TreeDepthLimit) {
        throw std::length_error("a tree is nested deeper than " + std::to_string(TreeDepthLimit) + " levels");
    }
    JsonValue nodes = JsonValue::Array();
    for (CAttributeMap const& child : parent) {
        JsonValue node = JsonValue::Array({JsonValue::Text(child.KeyText())});
        if (child.HasValue()) {
            node.items.push_back(JsonValue::Text(std::string(NameOf(KindOf(child.Value().Kind())))));
            node.items.push_back(std::visit(ValueWriter(), ValueOf(child.Value())));
        }
        if (child.Count() > 0) {
            node.items.push_back(WriteNodes(child, depth + 1));
        } else if (node.items.size() == 1) {
            node.items.push_back(JsonValue::Text("none"));
        }
        nodes.items.push_back(std::move(node));
    }
    return nodes;
}

} // namespace

CAttributeMap ReadTree(JsonValue const& value, JsonPath const& path)
{
    CAttributeMap tree;
    ReadNodes(tree, value, path);
    return tree;
}

JsonValue WriteTree(CAttributeMap const& tree)
{
    return WriteNodes(tree, 1);
}

} // namespace qx5::cli
