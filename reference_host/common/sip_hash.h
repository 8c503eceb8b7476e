// SipHash, a short keyed hash: without its key nobody finds inputs that share a result.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace vordal {

/// SipHash with `Rounds` for each eight bytes and `LastRounds` at the end, of bytes read as little-endian words.
template <int Rounds, int LastRounds>
std::uint64_t SipHash(std::array<std::uint64_t, 2> const& key, std::span<unsigned char const> bytes)
{
    std::uint64_t v0 = key[0] ^ 0x736f6d6570736575U;
    std::uint64_t v1 = key[1] ^ 0x646f72616e646f6dU;
    std::uint64_t v2 = key[0] ^ 0x6c7967656e657261U;
    std::uint64_t v3 = key[1] ^ 0x7465646279746573U;
    auto const turn = [&](int rounds) {
        for (int i = 0; i < rounds; ++i) {
            v0 += v1;
            v2 += v3;
            v1 = std::rotl(v1, 13) ^ v0;
            v3 = std::rotl(v3, 16) ^ v2;
            v0 = std::rotl(v0, 32);
            v2 += v1;
            v0 += v3;
            v1 = std::rotl(v1, 17) ^ v2;
            v3 = std::rotl(v3, 21) ^ v0;
            v2 = std::rotl(v2, 32);
        }
    };
    auto const wordAt = [&bytes](std::size_t at, std::size_t count) {
        std::uint64_t word = 0;
        std::memcpy(&word, bytes.data() + at, count);
        if constexpr (std::endian::native == std::endian::big) {
            word = __builtin_bswap64(word);
        }
        return word;
    };
    std::size_t at = 0;
    for (; bytes.size() - at >= 8; at += 8) {
        auto const word = wordAt(at, 8);
        v3 ^= word;
        turn(Rounds);
        v0 ^= word;
    }
    auto const rest = bytes.size() - at;
    auto const last = (rest > 0 ? wordAt(at, rest) : 0) | (std::uint64_t{bytes.size()} << 56);
    v3 ^= last;
    turn(Rounds);
    v0 ^= last;
    v2 ^= 0xFF;
    turn(LastRounds);
    return v0 ^ v1 ^ v2 ^ v3;
}

} // namespace vordal
