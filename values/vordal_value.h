// Between the values of the protocol and those of the host: the one place that knows both.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/value.h>

#include <memory>

namespace qx5 {

/// What the host calls that kind; None for the kinds Branch and Any.
constexpr VordalKind VordalKindOf(protocol::Kind kind)
{
    return kind < protocol::Kind::Branch ? static_cast<VordalKind>(static_cast<int>(kind) + 1) : VordalKind::None;
}
/// What the protocol calls that kind; Branch for None, as only a branch has no value.
constexpr protocol::Kind KindOf(VordalKind kind)
{
    return kind != VordalKind::None ? static_cast<protocol::Kind>(static_cast<int>(kind) - 1) : protocol::Kind::Branch;
}
static_assert(VordalKindOf(protocol::Kind::Int) == VordalKind::Int &&
              VordalKindOf(protocol::Kind::UInt) == VordalKind::UInt &&
              VordalKindOf(protocol::Kind::Int64) == VordalKind::Int64 &&
              VordalKindOf(protocol::Kind::Bool) == VordalKind::Bool &&
              VordalKindOf(protocol::Kind::Double) == VordalKind::Double &&
              VordalKindOf(protocol::Kind::Pair) == VordalKind::Pair &&
              VordalKindOf(protocol::Kind::DataId) == VordalKind::DataInfo &&
              VordalKindOf(protocol::Kind::String) == VordalKind::String &&
              VordalKindOf(protocol::Kind::IntList) == VordalKind::IntList &&
              VordalKindOf(protocol::Kind::DoubleList) == VordalKind::DoubleList &&
              VordalKindOf(protocol::Kind::Offset) == VordalKind::Offset);

/// The value as the host's trees take it; null for none.
std::unique_ptr<CVordalType> MakeVordal(protocol::Value const& value);

/// Adds a node at the end of the parent's children.
CAttributeMap& AddValue(CAttributeMap& parent, AttributeKey const& key, protocol::Value const& value);

/// Reads a value of that kind; leaves `read` alone and gives false when the value is of another. Of the kinds Branch
/// and Any there is nothing to read. Nothing converts.
bool ReadVordal(CVordalType const& value, protocol::Kind kind, protocol::Value& read);

/// What the value holds, in its own kind; none of the empty value.
protocol::Value ValueOf(CVordalType const& value);

} // namespace qx5
