// What a fuzzer's bytes are taken apart with where a target wants more than a stretch of bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace fuzz {

/// Reads from the front; behind the end everything is 0 and empty.
class Input
{
public:
    Input(std::uint8_t const* data, std::size_t size) : m_bytes(data, size) {}

    bool IsEmpty() const { return m_bytes.empty(); }
    std::uint8_t Byte()
    {
        auto const byte = Take(1);
        return byte.empty() ? std::uint8_t{0} : byte.front();
    }
    std::uint16_t Short()
    {
        auto const low = Byte();
        return static_cast<std::uint16_t>(low + Byte() * 256);
    }
    std::int64_t Long()
    {
        std::uint64_t value = 0;
        for (unsigned shift = 0; shift < 64; shift += 8) {
            value |= std::uint64_t{Byte()} << shift;
        }
        return static_cast<std::int64_t>(value);
    }
    /// At most so many.
    std::span<std::uint8_t const> Take(std::size_t count)
    {
        auto const taken = m_bytes.first(std::min(count, m_bytes.size()));
        m_bytes = m_bytes.subspan(taken.size());
        return taken;
    }
    /// A byte that tells the length, then the text.
    std::string Text()
    {
        auto const bytes = Take(Byte());
        return {bytes.begin(), bytes.end()};
    }
    std::span<std::uint8_t const> Rest() { return Take(m_bytes.size()); }

private:
    std::span<std::uint8_t const> m_bytes;
};

} // namespace fuzz
