// Attribute trees as JSON and back.
#include "cli/scenario/tree_json.h"

#include "cli/scenario/json_read.h"

#include "reference_host/attributes/kind_names.h"

#include <VordalAttributesR/CVordalType.h>

#include <limits>
#include <stdexcept>
#include <string>
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

CVordalType* MakePair(JsonValue const& value, JsonPath const& path)
{
    auto const numbers = ReadDoubles(value, path, 2);
    return VordalTypeCreator::MakeValue(std::pair(numbers[0], numbers[1]));
}

CVordalType* MakeOffset(JsonValue const& value, JsonPath const& path)
{
    auto const numbers = ReadDoubles(value, path, 3);
    return VordalTypeCreator::MakeValue(CCompOffset(numbers[0], numbers[1], numbers[2]));
}

CVordalType* MakeInt64(JsonValue const& value, JsonPath const& path)
{
    using Limits = std::numeric_limits<std::int64_t>;
    return VordalTypeCreator::MakeValue(ReadInteger(value, path, Limits::min(), Limits::max()));
}

CVordalType* MakeUInt(JsonValue const& value, JsonPath const& path)
{
    return VordalTypeCreator::MakeValue(static_cast<unsigned int>(ReadUInt32(value, path)));
}

CVordalType* MakeDataInfo(JsonValue const& value, JsonPath const& path)
{
    return VordalTypeCreator::MakeValue(CDataInfo(ReadDataId(value, path), 65535, 65535));
}

struct TypeTag
{
    VordalKind kind;
    /// Gives a value that the caller owns.
    CVordalType* (*make)(JsonValue const& value, JsonPath const& path);
};

using Creator = VordalTypeCreator;

constexpr TypeTag typeTags[] = {
    {VordalKind::Int, [](auto const& value, auto const& path) { return Creator::MakeValue(ReadInt32(value, path)); }},
    {VordalKind::UInt, MakeUInt},
    {VordalKind::Int64, MakeInt64},
    {VordalKind::Bool, [](auto const& value, auto const& path) { return Creator::MakeValue(ReadBool(value, path)); }},
    {VordalKind::Double,
     [](auto const& value, auto const& path) { return Creator::MakeValue(ReadDouble(value, path)); }},
    {VordalKind::Pair, MakePair},
    {VordalKind::String,
     [](auto const& value, auto const& path) { return Creator::MakeValue(ReadWideText(value, path)); }},
    {VordalKind::IntList,
     [](auto const& value, auto const& path) { return Creator::MakeValue(ReadIntegers(value, path)); }},
    {VordalKind::DoubleList,
     [](auto const& value, auto const& path) { return Creator::MakeValue(ReadDoubles(value, path)); }},
    {VordalKind::DataInfo, MakeDataInfo},
    {VordalKind::Offset, MakeOffset},
};

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
    for (auto const& tag : typeTags) {
        if (vordal::NameOf(tag.kind) == type) {
            if (items.size() < 3) {
                throw InvalidScenario(path, "the value is missing");
            }
            node.ReplaceValue(tag.make(items[2], JsonPath(path, 2)));
            if (items.size() == 4) {
                ReadNodes(node, items[3], JsonPath(path, 3));
            }
            return;
        }
    }
    throw InvalidScenario(typePath, "unknown type " + QuoteForMessage(type));
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

template <typename Numbers>
JsonValue WriteDoubles(Numbers const& numbers)
{
    JsonValue array = JsonValue::Array();
    for (double const number : numbers) {
        array.items.push_back(JsonValue::Double(number));
    }
    return array;
}

/// The value of a node that has one.
JsonValue WriteValue(CVordalType const& value)
{
    int integer = 0;
    unsigned int natural = 0;
    std::int64_t wide = 0;
    bool truth = false;
    double numbers[3] = {};
    CDataInfo reference;
    CString text;
    CCompOffset offset;
    std::vector<int> integers;
    std::vector<double> doubles;
    switch (value.Kind()) {
    case VordalKind::None:
        break;
    case VordalKind::Int:
        value.Get(integer);
        return JsonValue::Integer(integer);
    case VordalKind::UInt:
        value.Get(natural);
        return JsonValue::Unsigned(natural);
    case VordalKind::Int64:
        value.Get(wide);
        return JsonValue::Integer(wide);
    case VordalKind::Bool:
        value.Get(truth);
        return JsonValue::Bool(truth);
    case VordalKind::Double:
        value.Get(numbers[0]);
        return JsonValue::Double(numbers[0]);
    case VordalKind::Pair:
        value.Get(numbers[0], numbers[1]);
        return JsonValue::Array({JsonValue::Double(numbers[0]), JsonValue::Double(numbers[1])});
    case VordalKind::DataInfo:
        value.Get(reference);
        return WriteDataId(reference.GetDataId());
    case VordalKind::String:
        value.Get(text);
        return JsonValue::Text(text.View());
    case VordalKind::IntList: {
        value.Get(integers);
        JsonValue array = JsonValue::Array();
        for (int const number : integers) {
            array.items.push_back(JsonValue::Integer(number));
        }
        return array;
    }
    case VordalKind::DoubleList:
        value.Get(doubles);
        return WriteDoubles(doubles);
    case VordalKind::Offset:
        value.Get(offset);
        offset.GetOffset(numbers[0], numbers[1], numbers[2]);
        return WriteDoubles(numbers);
    }
    return JsonValue();
}

JsonValue WriteNodes(CAttributeMap const& parent, int depth)
{
    if (depth > TreeDepthLimit) {
        throw std::length_error("a tree is nested deeper than " + std::to_string(TreeDepthLimit) + " levels");
    }
    JsonValue nodes = JsonValue::Array();
    for (CAttributeMap const& child : parent) {
        JsonValue node = JsonValue::Array({JsonValue::Text(child.KeyText())});
        for (auto const& tag : typeTags) {
            if (child.HasValue() && tag.kind == child.Value().Kind()) {
                node.items.push_back(JsonValue::Text(std::string(vordal::NameOf(tag.kind))));
                node.items.push_back(WriteValue(child.Value()));
            }
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
