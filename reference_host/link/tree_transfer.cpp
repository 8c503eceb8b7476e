// Between trees of attributes as records carry them and as the host keeps them.
#include "tree_transfer.h"

#include "reference_host/attributes/tree_merge.h"

#include <array>
#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace vordal {
namespace {

using qx5::protocol::TreeNode;
using qx5::protocol::Value;

void AddNodes(CAttributeMap& parent, std::span<TreeNode const> nodes)
{
    for (auto const& node : nodes) {
        auto* const child = parent.Add(AttributeKey(std::wstring_view(node.key)));
        child->ReplaceValue(MakeValue(node.value));
        AddNodes(*child, node.children);
    }
}

} // namespace

CVordalType* MakeValue(Value const& value)
{
    return std::visit(
        [](auto const& held) -> CVordalType* {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, std::monostate>) {
                return nullptr;
            } else if constexpr (std::is_same_v<Held, std::wstring>) {
                return VordalTypeCreator::MakeValue(CString(held));
            } else if constexpr (std::is_same_v<Held, std::array<double, 3>>) {
                return VordalTypeCreator::MakeValue(CCompOffset(held[0], held[1], held[2]));
            } else {
                return VordalTypeCreator::MakeValue(held);
            }
        },
        value);
}

std::size_t CountKeys(std::span<TreeNode const> nodes)
{
    auto count = nodes.size();
    for (auto const& node : nodes) {
        count += CountKeys(node.children);
    }
    return count;
}

CAttributeMap ToAttributeMap(std::span<TreeNode const> nodes)
{
    CAttributeMap root;
    AddNodes(root, nodes);
    ForgetReferences(root);
    return root;
}

} // namespace vordal
