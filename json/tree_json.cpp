// Attribute trees as JSON and back.
#include "json/tree_json.h"

#include "json/json_read.h"
#include "json/value_json.h"

#include <protocol/utf8.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

namespace qx5 {

namespace {

using Kind = JsonValue::Kind;

/// A wide text that is used at once: of the usual length without memory of its own.
class WideKey
{
public:
    explicit WideKey(std::string_view text)
    {
        bool const isPlain = text.size() <= m_room.size() && std::all_of(text.begin(), text.end(), [](char c) {
                                 return static_cast<unsigned char>(c) < 0x80;
                             });
        if (isPlain) {
            std::copy(text.begin(), text.end(), m_room.begin());
            m_view = {m_room.data(), text.size()};
        } else {
            m_decoded = protocol::DecodeUtf8(text);
            m_view = m_decoded;
        }
    }
    WideKey(WideKey const&) = delete;
    WideKey& operator=(WideKey const&) = delete;

    std::wstring_view View() const { return m_view; }

private:
    std::array<wchar_t, 48> m_room; // filled as far as it is used
    std::wstring m_decoded;
    std::wstring_view m_view;
};

/// Makes a tree of what is read.
struct Building
{
    CAttributeMap& parent;

    CAttributeMap Begin(std::string_view key) const { return {WideKey(key).View(), nullptr}; }
    static void Put(CAttributeMap& node, protocol::Value const& value)
    {
        node.ReplaceValue(MakeVordal(value).release());
    }
    static Building Below(CAttributeMap& node) { return {node}; }
    /// Without a reference that could be written through: the tree stays one whose copies cost nothing.
    void End(CAttributeMap const& node) const { parent.Append(node); }
};

/// Finds what is wrong, and makes nothing.
struct Checking
{
    struct Nothing
    {
    };

    static Nothing Begin(std::string_view) { return {}; }
    static void Put(Nothing, protocol::Value const&) {}
    static Checking Below(Nothing) { return {}; }
    static void End(Nothing) {}
};

template <typename Use>
void ReadNodes(Use const& use, JsonNode const& value, JsonPath const& path);

template <typename Use>
void ReadNode(Use const& use, JsonNode const& value, JsonPath const& path)
{
    std::array<JsonNode, 4> items;
    auto const count = value.Items().Into(items);
    if (count < 2 || count > items.size()) {
        throw InvalidDocument(path, "a node is [key, type, value], [key, [nodes]], [key, type, value, [nodes]] or "
                                    "[key, \"none\"]");
    }
    JsonPath const typePath(path, 1);
    auto node = use.Begin(ReadText(items[0], JsonPath(path, 0)));
    if (items[1].Is(Kind::Array)) {
        if (count != 2) {
            throw InvalidDocument(path, "nothing may follow the children of a branch");
        }
        ReadNodes(Use::Below(node), items[1], typePath);
        use.End(node);
        return;
    }
    auto const type = ReadText(items[1], typePath);
    if (type == "none") {
        if (count != 2) {
            throw InvalidDocument(path, "nothing may follow the type \"none\"");
        }
        use.End(node);
        return;
    }
    auto const kind = protocol::FindKind(type);
    if (!kind || *kind == protocol::Kind::Branch || *kind == protocol::Kind::Any) {
        throw InvalidDocument(typePath, "unknown type " + QuoteForMessage(type));
    }
    if (count < 3) {
        throw InvalidDocument(path, "the value is missing");
    }
    Use::Put(node, ReadValueOfKind(*kind, items[2], JsonPath(path, 2)));
    if (count == 4) {
        ReadNodes(Use::Below(node), items[3], JsonPath(path, 3));
    }
    use.End(node);
}

template <typename Use>
void ReadNodes(Use const& use, JsonNode const& value, JsonPath const& path)
{
    if (!value.Is(Kind::Array)) {
        throw InvalidDocument(path, "a tree is an array of nodes, not " + std::string(KindName(value)));
    }
    for (std::size_t i = 0; auto const& item : value.Items()) {
        ReadNode(use, item, JsonPath(path, i++));
    }
}

void AppendNodes(std::string& out, CAttributeMap const& parent, int depth)
{
    if (depth > TreeDepthLimit) {
        throw std::length_error("a tree is nested deeper than " + std::to_string(TreeDepthLimit) + " levels");
    }
    out += '[';
    for (char const* between = "["; CAttributeMap const& child : parent) {
        out += between;
        between = ",[";
        AppendQuoted(out, child.KeyText());
        if (child.HasValue()) {
            auto const& value = child.Value();
            if (double number = 0.0; value.Get(number)) {
                out += ",\"double\",";
                AppendDouble(out, number); // as nearly all are, without a value between
            } else {
                out += ",\"";
                out += NameOf(KindOf(value.Kind()));
                out += "\",";
                AppendValue(out, ValueOf(value));
            }
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
    ReadNodes(Building{tree}, value, path);
    return tree;
}

void CheckTree(JsonNode const& value, JsonPath const& path)
{
    ReadNodes(Checking(), value, path);
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
