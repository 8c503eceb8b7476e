// What given values may be, and the line that refuses one which is not.
#pragma once

#include "result.h"

#include <initializer_list>
#include <optional>
#include <string_view>

namespace qx5::acoustics {

/// A value that was given, and what it may be; both ends belong to it.
struct GivenValue
{
    std::string_view quantity; ///< "range"
    std::string_view unit;     ///< "m"; empty: a plain number
    double value = 0.0;
    double least = 0.0;
    double most = 0.0;
};

/// The first that lies outside of what it may be, infinite ones and NaN among them: "range 0 m lies outside of 0.1 to
/// 50000 m". `holder` names what is good for no more than that: "depth 9000 m lies outside of 0 to 8000 m, where
/// Mackenzie's sound speed holds". Nothing when all are good.
std::optional<Failure> FirstOutside(std::initializer_list<GivenValue> values, std::string_view holder = {});

} // namespace qx5::acoustics
