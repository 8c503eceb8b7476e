// The tree with which a handler reports what was asked for.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <commands/command.h>
#include <values/vordal_value.h>

#include <cstdint>
#include <utility>
#include <vector>

namespace qx5 {

/// An echo under construction: keys in the order in which they are told. Lives on a handler's stack.
class EchoMap
{
public:
    void Tell(AttributeKey const& key, int value) { m_tree.Add(key, CVordalInt(value), 0); }
    void Tell(AttributeKey const& key, unsigned value) { m_tree.Add(key, CVordalUInt(value), 0); }
    void Tell(AttributeKey const& key, std::int64_t value) { m_tree.Add(key, CVordalInt64(value), 0); }
    void Tell(AttributeKey const& key, bool value) { m_tree.Add(key, CVordalBool(value), 0); }
    void Tell(AttributeKey const& key, double value) { m_tree.Add(key, CVordalDouble(value), 0); }
    void Tell(AttributeKey const& key, double first, double second)
    {
        m_tree.Add(key, CVordalDouble2D(first, second), 0);
    }
    void Tell(AttributeKey const& key, CString const& value) { m_tree.Add(key, CVordalText(value), 0); }
    void Tell(AttributeKey const& key, CCompOffset const& value) { m_tree.Add(key, CVordalOffset(value), 0); }
    void Tell(AttributeKey const& key, std::vector<int> const& value) { m_tree.Add(key, CVordalIntList(value), 0); }
    void Tell(AttributeKey const& key, std::vector<double> const& value)
    {
        m_tree.Add(key, CVordalDoubleList(value), 0);
    }
    /// A narrow text as it stands in a record: UTF-8, each byte that is no part of a character becomes U+FFFD.
    void TellNarrow(AttributeKey const& key, char const* utf8)
    {
        m_tree.Append(new CAttributeMap(key, VordalTypeCreator::MakeValue(utf8), 0));
    }
    /// A value in the kind that it is held in; no value tells nothing.
    void TellValue(AttributeKey const& key, protocol::Value const& value)
    {
        if (!protocol::IsEmpty(value)) {
            AddValue(m_tree, key, value);
        }
    }
    /// Without this a pointer would be told as a bool.
    void Tell(AttributeKey const& key, void const* value) = delete;

    CAttributeMap& Tree() { return m_tree; }
    CAttributeMap const& Tree() const { return m_tree; }

private:
    CAttributeMap m_tree;
};

} // namespace qx5
