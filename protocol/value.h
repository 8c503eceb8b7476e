// A value that a key carries, outside of any tree: what packing takes and unpacking gives.
#pragma once

#include "kinds.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace qx5::protocol {

/// A reference to a data item: type, group, device and vessel of its stream, item and index within; 65535 for both of
/// the last means the whole stream.
using DataReference = std::array<std::uint16_t, 6>;

/// Monostate for none, then one alternative for each kind of key that has a value, in the order of the kinds.
using Value =
    std::variant<std::monostate, std::int32_t, std::uint32_t, std::int64_t, bool, double, std::pair<double, double>,
                 DataReference, std::wstring, std::vector<std::int32_t>, std::vector<double>, std::array<double, 3>>;

/// What a value of that kind holds.
template <Kind kind>
using HeldBy = std::variant_alternative_t<static_cast<std::size_t>(kind) + 1, Value>;
static_assert(std::is_same_v<HeldBy<Kind::Int64>, std::int64_t> &&
              std::is_same_v<HeldBy<Kind::DataId>, DataReference> &&
              std::is_same_v<HeldBy<Kind::Offset>, std::array<double, 3>>);

/// Whether the value is none at all.
inline bool IsEmpty(Value const& value)
{
    return std::holds_alternative<std::monostate>(value);
}

/// The value that a person has written, as the kind's row tells its form; blanks around a number and a plus before it
/// do not count, "on" and "off" are truth values, too. Nothing when the text is no such value, and for the kinds Branch
/// and Any. Numbers are read the same whatever the locale.
std::optional<Value> ParseValue(Kind kind, std::string_view text);

/// A value of that kind: truth and numbers as `number`, texts and lists empty. None for the kinds Branch and Any.
Value ValueOfKind(Kind kind, double number = 0.0);

/// What a button or an example would tell: the row's example, true where only the key's presence counts, none of a
/// branch.
Value ExampleOf(Kind kind);

} // namespace qx5::protocol
