// The soak's dice: the same seed gives the same throws on every machine.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <random>

namespace qx5::soak {

/// For one thread.
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_engine(seed) {}

    /// 0 to `count` - 1; `count` is not 0.
    std::size_t Below(std::size_t count) { return static_cast<std::size_t>(m_engine() % count); }
    bool OneIn(std::size_t count) { return Below(count) == 0; }
    /// One of a list that is not empty.
    template <typename List>
    auto const& Pick(List const& list)
    {
        return *(std::begin(list) + static_cast<std::ptrdiff_t>(Below(std::size(list))));
    }

private:
    std::mt19937_64 m_engine;
};

} // namespace qx5::soak
