// How handlers read keys: from the request, completed from the stored tree, by mere presence.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <commands/command.h>
#include <values/vordal_value.h>

namespace qx5 {

/// Reads a value of the out argument's kind; on failure the argument keeps what it held.
template <typename T>
bool Read(CAttributeMap const& tree, AttributeKey const& key, T& value)
{
    auto const* const child = tree.GetAttrMap(key, 0);
    return child != nullptr && child->Value().Get(value);
}

inline bool Read(CAttributeMap const& tree, AttributeKey const& key, double& first, double& second)
{
    auto const* const child = tree.GetAttrMap(key, 0);
    return child != nullptr && child->Value().Get(first, second);
}

/// Reads from the request and, failing that, under the same key from the stored tree.
template <typename T>
bool Complete(CAttributeMap const& request, CAttributeMap const& stored, AttributeKey const& key, T& value)
{
    return Read(request, key, value) || Read(stored, key, value);
}

/// Whether the tree has at least one of the keys, whatever the value.
template <typename... Keys>
bool HasAny(CAttributeMap const& tree, Keys const&... keys)
{
    return (tree.Has(keys, 0) || ...);
}

/// The key by which the request asked for something that `missing` is needed for: that itself where the request has it,
/// otherwise the first of `keys` that it has. One of them must be there.
template <typename... Keys>
AttributeKey const& AskedBy(CAttributeMap const& request, AttributeKey const& missing, Keys const&... keys)
{
    AttributeKey const* asked = &missing;
    if (!request.Has(missing, 0)) {
        static_cast<void>(((request.Has(keys, 0) && (asked = &keys) != nullptr) || ...));
    }
    return *asked;
}

/// Reads a value of the kind that the key carries; leaves `value` alone on failure. Of the kinds Any and Branch there is
/// nothing to read.
inline bool ReadKey(CAttributeMap const& tree, protocol::Key const& key, AttributeKey const& attribute,
                    protocol::Value& value)
{
    auto const* const child = tree.GetAttrMap(attribute, 0);
    return child != nullptr && ReadVordal(child->Value(), key.kind, value);
}

} // namespace qx5
