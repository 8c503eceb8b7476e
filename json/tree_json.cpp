// Attribute trees as JSON and back.
#include "json/tree_json.h"

#include "json/json_read.h"
#include "json/value_json.h"

#include <values/vordal_value.h>

#include <array>
#include <stdexcept>
#include <string>
#include <utility>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

void ReadNodes(CAttributeMap& parent, JsonNode const& value, JsonPath const& path);

void ReadNode(CAttributeMap& parent, JsonNode const& value, JsonPath const& path)
{
    std::array<JsonNode, 4> items;
    auto const count = value.Items().Into(items);
    if (count < 2 || count > items.size()) {
        throw InvalidDocument(path, "a node is [key, type, value], [key, [nodes]], [key, type, value, [nodes]] or "
                                    "[key, \"none\"]");
    }
    JsonPath const typePath(path, 1);
    CString const key = ReadWideText(items[0], JsonPath(path, 0));
    CAttributeMap& node = *parent.Add(key);
    if (items[1].Is(Kind::Array)) {
        if (count != 2) {
            throw InvalidDocument(path, "nothing may follow the children of a branch");
        }
        ReadNodes(node, items[1], typePath);
        return;
    }
    auto const type = ReadText(items[1], typePath);
    if (type == "none") {
        if (count != 2) {
            throw InvalidDocument(path, "nothing may follow the type \"none\"");
        }
        return;
    }
    auto const kind = protocol::FindKind(type);
    if (!kind || *kind == protocol::Kind::Branch || *kind == protocol::Kind::Any) {
        throw InvalidDocument(typePath, "unknown type " + QuoteForMessage(type));
    }
    if (count < 3) {
        throw InvalidDocument(path, "the value is missing");
    }
    node.ReplaceValue(MakeVordal(ReadValueOfKind(*kind, items[2], JsonPath(path, 2))).release());
    if (count == 4) {
        ReadNodes(node, items[3], JsonPath(path, 3));
    }
}

void ReadNodes(CAttributeMap& parent, JsonNode const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array)) {
        throw InvalidDocument(path, "a tree is an array of nodes, not " + std::string(KindName(value)));
    }
    for (std::size_t i = 0; auto const& item : value.Items()) {
        ReadNode(parent, item, JsonPath(path, i++));
    }
}

void AppendNodes(std::string& out, CAttributeMap const& parent, int depth)
{
    if (depth > TreeDepthLimit) {
        throw std::length_error("a tree is nested deeper than " + std::to_string(TreeDepthLimit) + " levels");
    }
    out += '[';
    for (char const* between = ""; CAttributeMap const& child : parent) {
        out += between;
        between = ",";
        out += '[';
        AppendQuoted(out, child.KeyText());
        if (child.HasValue()) {
            out += ",\"";
            out += NameOf(KindOf(child.Value().Kind()));
            out += "\",";
            AppendValue(out, ValueOf(child.Value()));
        }
        if (child.Count() > 0) {
            out += ',';
            AppendNodes(out, child, depth + 1);
        } else if (!child.HasValue()) {
            out += ",\"none\"";
        }
        out += ']';
    }
    out += ']';
}

} // namespace

CAttributeMap ReadTree(JsonNode const& value, JsonPath const& path)
{
    CAttributeMap tree;
    ReadNodes(tree, value, path);
    return tree;
}

void AppendTree(std::string& out, CAttributeMap const& tree)
{
    AppendNodes(out, tree, 1);
}

JsonValue WriteTree(CAttributeMap const& tree)
{
    std::string json;
    AppendTree(json, tree);
    return JsonValue::Written(std::move(json));
}

} // namespace qx5
