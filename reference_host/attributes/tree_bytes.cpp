// Attribute trees written and read node by node, with no other tree in between.
#include "tree_bytes.h"

#include "tree_merge.h"

#include <values/vordal_value.h>

#include <cstdint>
#include <utility>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

void WriteList(protocol::TreeWriter& writer, CAttributeMap const& parent)
{
    writer.OpenList(static_cast<std::size_t>(parent.Count()));
    for (CAttributeMap const& child : parent) {
        writer.Node(child.KeyText(), child.GetFlags(), qx5::ValueOf(child.Value()));
        WriteList(writer, child);
    }
    writer.CloseList();
}

class MapSink final : public protocol::TreeSink
{
public:
    void Group(std::wstring&& group) override { m_root.SetGroup(CString(std::move(group))); }
    void Open(std::wstring&& key, std::uint32_t flags, protocol::Value&& value) override
    {
        auto& child = qx5::AddValue(*m_open.back(), AttributeKey(std::wstring_view(key)), value);
        child.SetFlags(flags);
        m_open.push_back(&child);
    }
    void Close() override { m_open.pop_back(); }
    CAttributeMap Take()
    {
        ForgetReferences(m_root);
        return std::move(m_root);
    }

private:
    CAttributeMap m_root;
    std::vector<CAttributeMap*> m_open{&m_root};
};

} // namespace

std::vector<unsigned char> EncodeTree(CAttributeMap const& tree, protocol::TreeForm const& form,
                                      std::vector<unsigned char> room)
{
    protocol::TreeWriter writer(form, tree.GetGroup(), std::move(room));
    WriteList(writer, tree);
    return writer.Take();
}

std::optional<std::size_t> DecodeTree(std::span<unsigned char const> bytes, protocol::TreeForm const& form,
                                      CAttributeMap& tree, std::string& error)
{
    MapSink sink;
    auto const keys = protocol::ReadTree(bytes, form, sink, error);
    if (keys) {
        tree = sink.Take();
    }
    return keys;
}

} // namespace vordal
