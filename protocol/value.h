// A value that a key carries, outside of any tree: what packing takes and unpacking gives.
#pragma once

#include "kinds.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace qx5::protocol {

/// One alternative for each kind of key that has a value; monostate where there is none.
using Value =
    std::variant<std::monostate, std::int32_t, std::uint32_t, std::int64_t, bool, double, std::pair<double, double>,
                 std::wstring, std::vector<std::int32_t>, std::vector<double>, std::array<double, 3>>;

/// Whether the value is none at all.
inline bool IsEmpty(Value const& value)
{
    return std::holds_alternative<std::monostate>(value);
}

/// The value that a person has written, as the kind's row tells its form; blanks around a number and a plus before it
/// do not count, "on" and "off" are truth values, too. Nothing when the text is no such value, and for the kinds Branch
/// and Any. Numbers are read the same whatever the locale.
std::optional<Value> ParseValue(Kind kind, std::string_view text);

} // namespace qx5::protocol
