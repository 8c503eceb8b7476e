// Attribute trees as JSON and back.
#include "json/tree_json.h"

#include "json/json_read.h"
#include "json/value_json.h"

#include <values/vordal_value.h>

#include <stdexcept>
#include <string>
#include <utility>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

void ReadNodes(CAttributeMap& parent, JsonValue const& value, JsonPath const& path);

void ReadNode(CAttributeMap& parent, JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array) || value.items.size() < 2 || value.items.size() > 4) {
        throw InvalidDocument(path, "a node is [key, type, value], [key, [nodes]], [key, type, value, [nodes]] or "
                                    "[key, \"none\"]");
    }
    auto const& items = value.items;
    JsonPath const typePath(path, 1);
    CString const key = ReadWideText(items[0], JsonPath(path, 0));
    CAttributeMap& node = *parent.Add(key);
    if (items[1].Is(Kind::Array)) {
        if (items.size() != 2) {
            throw InvalidDocument(path, "nothing may follow the children of a branch");
        }
        ReadNodes(node, items[1], typePath);
        return;
    }
    auto const& type = ReadText(items[1], typePath);
    if (type == "none") {
        if (items.size() != 2) {
            throw InvalidDocument(path, "nothing may follow the type \"none\"");
        }
        return;
    }
    auto const kind = protocol::FindKind(type);
    if (!kind || *kind == protocol::Kind::Branch || *kind == protocol::Kind::Any) {
        throw InvalidDocument(typePath, "unknown type " + QuoteForMessage(type));
    }
    if (items.size() < 3) {
        throw InvalidDocument(path, "the value is missing");
    }
    node.ReplaceValue(MakeVordal(ReadValueOfKind(*kind, items[2], JsonPath(path, 2))).release());
    if (items.size() == 4) {
        ReadNodes(node, items[3], JsonPath(path, 3));
    }
}

void ReadNodes(CAttributeMap& parent, JsonValue const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array)) {
        throw InvalidDocument(path, "a tree is an array of nodes, not " + std::string(KindName(value)));
    }
    for (std::size_t i = 0; i < value.items.size(); ++i) {
        ReadNode(parent, value.items[i], JsonPath(path, i));
    }
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
            node.items.push_back(WriteValue(ValueOf(child.Value())));
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

} // namespace qx5
