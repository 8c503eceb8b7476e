// The values that generated requests and trees hold, by kind of key.
#pragma once

#include <commands/command.h>

#include <VordalAttributesR/CVordalType.h>
#include <values/vordal_value.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

namespace qx5::conformance {

/// The generated values of one kind of key, and one of another kind.
struct Pool
{
    std::vector<protocol::Value> values;
    std::vector<std::unique_ptr<CVordalType>> vordal;
    std::unique_ptr<CVordalType> wrong;
};

Pool const& PoolOf(protocol::Kind kind);
/// At least two.
std::size_t CountOfValues(protocol::Key const& key);

/// As it stands in a tree; the empty value for none.
std::unique_ptr<CVordalType> Vordal(protocol::Value const& value);
/// A number, or a truth as 1 or 0.
std::optional<double> AsNumber(protocol::Value const& value);
bool HasNumber(protocol::Kind kind);
/// What an operand of that kind is where it is found nowhere.
protocol::Value FallbackOf(Operand const& operand);

} // namespace qx5::conformance
