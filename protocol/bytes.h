// Reading and writing numbers in byte sequences, little-endian on every machine.
#pragma once

#include <bit>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>

namespace qx5::protocol {

namespace detail {

template <typename Unsigned>
constexpr void PutUnsignedLE(std::span<unsigned char> bytes, std::size_t offset, Unsigned value)
{
    assert(offset <= bytes.size() && sizeof(Unsigned) <= bytes.size() - offset);
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        bytes[offset + i] = static_cast<unsigned char>((value >> (8 * i)) & 0xFFU);
    }
}

template <typename Unsigned>
constexpr Unsigned GetUnsignedLE(std::span<unsigned char const> bytes, std::size_t offset)
{
    assert(offset <= bytes.size() && sizeof(Unsigned) <= bytes.size() - offset);
    Unsigned value = 0;
    for (std::size_t i = 0; i < sizeof(Unsigned); ++i) {
        value = static_cast<Unsigned>(value | (static_cast<Unsigned>(bytes[offset + i]) << (8 * i)));
    }
    return value;
}

} // namespace detail

/// Whether `width` bytes from `offset` on lie within `size` bytes; never overflows.
constexpr bool Fits(std::size_t size, std::size_t offset, std::size_t width)
{
    return offset <= size && width <= size - offset;
}

// All of these require that the number lies within the bytes (see Fits); they take any alignment.

constexpr void PutU8(std::span<unsigned char> bytes, std::size_t offset, std::uint8_t value)
{
    detail::PutUnsignedLE(bytes, offset, value);
}
constexpr void PutU16LE(std::span<unsigned char> bytes, std::size_t offset, std::uint16_t value)
{
    detail::PutUnsignedLE(bytes, offset, value);
}
constexpr void PutU32LE(std::span<unsigned char> bytes, std::size_t offset, std::uint32_t value)
{
    detail::PutUnsignedLE(bytes, offset, value);
}
constexpr void PutU64LE(std::span<unsigned char> bytes, std::size_t offset, std::uint64_t value)
{
    detail::PutUnsignedLE(bytes, offset, value);
}
constexpr void PutI32LE(std::span<unsigned char> bytes, std::size_t offset, std::int32_t value)
{
    detail::PutUnsignedLE(bytes, offset, static_cast<std::uint32_t>(value));
}
constexpr void PutF32LE(std::span<unsigned char> bytes, std::size_t offset, float value)
{
    detail::PutUnsignedLE(bytes, offset, std::bit_cast<std::uint32_t>(value));
}
constexpr void PutF64LE(std::span<unsigned char> bytes, std::size_t offset, double value)
{
    detail::PutUnsignedLE(bytes, offset, std::bit_cast<std::uint64_t>(value));
}

constexpr std::uint8_t GetU8(std::span<unsigned char const> bytes, std::size_t offset)
{
    return detail::GetUnsignedLE<std::uint8_t>(bytes, offset);
}
constexpr std::uint16_t GetU16LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    return detail::GetUnsignedLE<std::uint16_t>(bytes, offset);
}
constexpr std::uint32_t GetU32LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    return detail::GetUnsignedLE<std::uint32_t>(bytes, offset);
}
constexpr std::uint64_t GetU64LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    return detail::GetUnsignedLE<std::uint64_t>(bytes, offset);
}
constexpr std::int32_t GetI32LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    return static_cast<std::int32_t>(detail::GetUnsignedLE<std::uint32_t>(bytes, offset));
}
constexpr float GetF32LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    return std::bit_cast<float>(detail::GetUnsignedLE<std::uint32_t>(bytes, offset));
}
constexpr double GetF64LE(std::span<unsigned char const> bytes, std::size_t offset)
{
    return std::bit_cast<double>(detail::GetUnsignedLE<std::uint64_t>(bytes, offset));
}

} // namespace qx5::protocol
