// The kinds of values that keys carry, by name.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace qx5::protocol {

/// The kind of value that a key carries in a request, in a device's tree and in an echo.
enum class Kind : std::uint8_t
{
    Int,   ///< signed 32-bit integer
    UInt,  ///< unsigned 32-bit integer
    Int64, ///< signed 64-bit integer
    Bool,
    Double,
    Pair,   ///< two doubles
    DataId, ///< a reference to a data item; no key of the sonar carries one
    String, ///< wide text
    IntList,
    DoubleList,
    Offset, ///< three axes
    Branch, ///< no value of its own, children instead
    Any,    ///< only the key's presence counts
};

/// A kind, what it is called wherever people read or write it, and what its value looks like.
struct KindRow
{
    Kind kind;
    std::string_view name;
    std::uint8_t onLink;        ///< its number in trees that go over the link; 0 for none
    std::string_view example;   ///< a plausible value, as people write it
    std::string_view form = {}; ///< completes "takes ..."; empty where any text will do, or none is taken
};

inline constexpr std::array<KindRow, 13> KindRows{{
    {Kind::Int, "int", 1, "1", "a whole number from -2147483648 to 2147483647"},
    {Kind::UInt, "uint", 2, "1", "a whole number from 0 to 4294967295"},
    {Kind::Int64, "int64", 10, "1", "a whole number from -9223372036854775808 to 9223372036854775807"},
    {Kind::Bool, "bool", 3, "true", "true or false"},
    {Kind::Double, "double", 4, "12.5", "a number"},
    {Kind::Pair, "pair", 5, "10,-10", "two numbers, such as 10,-10"},
    {Kind::DataId, "dataid", 0, "1.78.1.1", "type, group, device and vessel, such as 1.78.1.1"},
    // Some texts are read as numbers, some as names; this is both.
    {Kind::String, "string", 6, "16"},
    {Kind::IntList, "ints", 7, "7000,7002", "whole numbers separated by commas, such as 7000,7002"},
    {Kind::DoubleList, "doubles", 8, "0.5,1", "numbers separated by commas, such as 0.5,1"},
    {Kind::Offset, "offset", 9, "1,2,3", "three numbers, such as 1.5,0,-2"},
    {Kind::Branch, "branch", 0, {}},
    {Kind::Any, "any", 0, {}},
}};

constexpr KindRow const& RowOf(Kind kind)
{
    return KindRows[static_cast<std::size_t>(kind)];
}
static_assert(
    [] {
        for (KindRow const& row : KindRows) {
            if (&RowOf(row.kind) != &row) {
                return false;
            }
        }
        return true;
    }(),
    "the rows stand in the order of the kinds");

constexpr std::string_view NameOf(Kind kind)
{
    return RowOf(kind).name;
}

/// Nothing when no kind is called so.
constexpr std::optional<Kind> FindKind(std::string_view name)
{
    for (KindRow const& row : KindRows) {
        if (row.name == name) {
            return row.kind;
        }
    }
    return std::nullopt;
}

} // namespace qx5::protocol
