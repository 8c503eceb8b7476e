// Counts in sentences.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qx5::simulator {

/// "1 frame", "2 frames".
inline std::string Plural(std::uint64_t count, std::string_view what)
{
    return std::to_string(count) + " " + std::string(what) + (count == 1 ? "" : "s");
}

} // namespace qx5::simulator
