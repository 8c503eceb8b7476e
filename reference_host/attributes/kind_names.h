// What the kinds of a tree's values are called.
#pragma once

#include <VordalAttributesR/CVordalType.h>

#include <protocol/kinds.h>

#include <string_view>

namespace vordal {

/// As the protocol calls them; "dataid" for the one kind that no key carries; empty for None.
constexpr std::string_view NameOf(VordalKind kind)
{
    using qx5::protocol::Kind;
    switch (kind) {
    case VordalKind::None:
        return {};
    case VordalKind::Int:
        return qx5::protocol::NameOf(Kind::Int);
    case VordalKind::UInt:
        return qx5::protocol::NameOf(Kind::UInt);
    case VordalKind::Int64:
        return qx5::protocol::NameOf(Kind::Int64);
    case VordalKind::Bool:
        return qx5::protocol::NameOf(Kind::Bool);
    case VordalKind::Double:
        return qx5::protocol::NameOf(Kind::Double);
    case VordalKind::Pair:
        return qx5::protocol::NameOf(Kind::Pair);
    case VordalKind::DataInfo:
        return "dataid";
    case VordalKind::String:
        return qx5::protocol::NameOf(Kind::String);
    case VordalKind::IntList:
        return qx5::protocol::NameOf(Kind::IntList);
    case VordalKind::DoubleList:
        return qx5::protocol::NameOf(Kind::DoubleList);
    case VordalKind::Offset:
        return qx5::protocol::NameOf(Kind::Offset);
    }
    return {};
}

} // namespace vordal
