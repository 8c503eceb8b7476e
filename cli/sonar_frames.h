// What a frame between host and sonar says, as far as the sessions of the command go by it.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>

#include <cstdint>
#include <optional>
#include <span>

namespace qx5::cli {

/// The attributes that a frame from the sonar tells; nothing when it is another record, or damaged.
std::optional<CAttributeMap> ToldAttributes(std::span<unsigned char const> frame);

/// A command to the sonar itself.
struct SonarCommand
{
    std::uint32_t id = 0;
    std::span<unsigned char const> payload; ///< within the frame
};
/// Nothing when the frame is no remote-control record.
std::optional<SonarCommand> CommandOf(std::span<unsigned char const> frame);

} // namespace qx5::cli
