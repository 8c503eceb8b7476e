// The ranges that a sonar offers before it has told its own.
#pragma once

#include <array>

namespace qx5 {

/// Metres, rising.
inline constexpr auto DefaultRanges = std::to_array<double>({
    2.5,  5,    8,    10,   15,   20,   25,   30,   35,   40,   50,   75,    100,   125,
    150,  175,  200,  250,  300,  350,  400,  500,  750,  1000, 1250, 1500,  1750,  2000,
    2500, 3000, 3500, 4000, 4500, 5000, 5500, 6000, 6500, 7000, 7500, 10000, 12500, 15000,
});

} // namespace qx5
