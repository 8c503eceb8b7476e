// The ways in which the simulated sonar can misbehave on demand, by name.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include <simulator/flood.h>

namespace qx5::simulator {

/// How a sonar is that takes no connections.
enum class Refusal : std::uint8_t
{
    None,
    Close,        ///< accepts and closes at once
    NotListening, ///< the system refuses
};

/// All that is wrong with the sonar at the moment. The failures add up.
struct Misbehaviour
{
    std::optional<std::uint64_t> recordsUntilDrop; ///< the connection that brings the last of them is cut; happens once
    std::chrono::milliseconds answerLate{0};
    Refusal refusal = Refusal::None;
    std::size_t garbageBytes = 0; ///< sent before each frame
    bool split = false;           ///< bytes leave one by one
    bool silent = false;          ///< takes everything, tells nothing
    bool halfFrame = false;       ///< of the next frame only the first half leaves, then the link is cut; happens once
    bool stall = false;           ///< reads nothing
    bool vanish = false;          ///< nothing that arrives is acknowledged, and nothing leaves
    /// Before each third frame a copy of it leaves whose size word claims so much.
    std::optional<std::uint32_t> claimedSize;
    FloodKind const* flood = nullptr;      ///< leaves whenever nothing else does
    std::size_t collidingKeys = 0;         ///< of a tree that leaves once on each connection
    std::chrono::milliseconds slowDrip{0}; ///< bytes leave one by one, each after this time
};

/// One row of the list of failures.
struct MisbehaviourName
{
    std::string_view name;
    std::string_view argument; ///< what may follow, in brackets when it may be left out; empty for nothing
    std::string_view meaning;
};
std::span<MisbehaviourName const> MisbehaviourNames();

/// Adds the failure of that name to `current`; `argument` is empty when none was given. "drop-link" without argument
/// cuts all links at once, which is the caller's to do: `dropNow` tells it. False, and one line in `error`, for an
/// unknown name or a wrong argument; nothing has changed then.
bool AddMisbehaviour(std::string_view name, std::string_view argument, Misbehaviour& current, bool& dropNow,
                     std::string& error);

/// "answer-late 200 ms, split"; "none".
std::string Describe(Misbehaviour const& current);

} // namespace qx5::simulator
