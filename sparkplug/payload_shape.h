// How many items a payload's bytes hold, counted before anything is allocated for one.
#pragma once

#include <cstddef>
#include <string_view>

namespace qx5::sparkplug {

/// What the bytes are as far as counting goes.
struct PayloadShape
{
    bool isWhole = false;  ///< every field ends where its message does, and none is a group
    std::size_t items = 0; ///< metrics, keys and values of properties; counting ends behind the limit
};

PayloadShape ShapeOf(std::string_view bytes, std::size_t limit);

} // namespace qx5::sparkplug
