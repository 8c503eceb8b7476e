// Numbers of Sparkplug that go from 0 to 255 and around.
#pragma once

#include <cstdint>

namespace qx5::sparkplug {

constexpr std::uint8_t Next(std::uint8_t number)
{
    return static_cast<std::uint8_t>(number + 1U);
}

} // namespace qx5::sparkplug
