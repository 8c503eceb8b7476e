// Counts and numbers that come from outside, checked before anything relies on them; places are checked by Fits in
// bytes.h.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace qx5::protocol {

/// Whether `count` things of at least `width` bytes each, which is not 0, lie within `left` bytes. Nothing overflows,
/// whatever the count.
constexpr bool HoldCount(std::size_t left, std::uint64_t count, std::size_t width)
{
    return count <= left / width;
}

/// The same number in another type; nothing when that type does not have it.
template <std::integral To, std::integral From>
constexpr std::optional<To> SameNumber(From number)
{
    return std::in_range<To>(number) ? std::optional(static_cast<To>(number)) : std::nullopt;
}

} // namespace qx5::protocol
