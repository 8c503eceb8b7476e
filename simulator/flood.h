// What the simulated sonar can flood its hosts with, by name.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <simulator/sonar_state.h>

namespace qx5::simulator {

/// One record of a flood, without its frame.
struct FloodRecord
{
    std::uint32_t id = 0;
    std::vector<unsigned char> payload;
};

/// One row of the list of floods.
struct FloodKind
{
    std::string_view name;
    std::string_view meaning;
    /// The record of that number, from 0; `state` is what the sonar holds, and stays as it is.
    FloodRecord (*make)(std::uint64_t number, SonarState const& state);
};
std::span<FloodKind const> FloodKinds();
/// Null for an unknown name.
FloodKind const* FindFloodKind(std::string_view name);

/// "records, keys, answers": the names in the order of the list.
std::string FloodKindNames();

/// A tree of so many attributes whose keys have one unsalted 64-bit FNV-1a hash. At most MaximumCollidingKeys.
FloodRecord CollidingTree(std::size_t keys);
inline constexpr std::size_t MaximumCollidingKeys = 100000;

} // namespace qx5::simulator
