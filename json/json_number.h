// Number literals of JSON: what they tell to the last bit.
#pragma once

#include <cstdint>
#include <string_view>

namespace qx5 {

/// Whether a literal is written without point and exponent.
bool IsIntegerLiteral(std::string_view literal);
/// False, and nothing written, when this is no integer literal or is out of range.
bool ReadIntegerLiteral(std::string_view literal, std::int64_t& value);
/// A number of any form, correctly rounded; too small ones give a zero of their sign. False, and nothing written, when
/// it lies beyond the range of a double.
bool ReadNumberLiteral(std::string_view literal, double& value);

/// Whether it is beyond the range of a double.
bool IsBeyondDouble(std::string_view literal);

} // namespace qx5
