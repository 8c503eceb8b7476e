// Frames that leave for a sonar though no request asks for them.
#pragma once

#include <span>
#include <string_view>

namespace qx5::cli {

enum class Unasked
{
    None,   ///< of a request
    Echoes, ///< the host asks for echoes as displays come and go (90020)
    Turns,  ///< sonars in turn are told when to ping (1107), and not to ping by themselves (1004 with a rate of 0)
};

/// What a frame is by itself. Commands of turns name a device, which the same commands of requests do not.
Unasked UnaskedOf(std::span<unsigned char const> frame);

/// "requests for echoes (90020), which the host sends as displays come and go".
std::string_view ToText(Unasked unasked);

/// Whether today's program would build the same bytes for it, times apart.
bool IsAsTodays(Unasked unasked, std::span<unsigned char const> frame);

} // namespace qx5::cli
