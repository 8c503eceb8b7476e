// Numbers that operators type as text: addresses and port numbers.
#pragma once

#include <cstdint>
#include <string_view>

namespace qx5 {

/// Reads the number at the start of the text as `std::stoul` with base 0 does where an unsigned long has 32 bits: white
/// space is skipped, a sign may follow, "0x" begins a hexadecimal number and "0" an octal one, and what follows the
/// number is ignored. A negative number counts down from 2^32. White space and digits are those of the C locale alone.
/// Throws std::invalid_argument when there is no number, std::out_of_range when its magnitude needs more than 32 bits.
std::uint32_t ParseUnsigned(std::wstring_view text);

} // namespace qx5
