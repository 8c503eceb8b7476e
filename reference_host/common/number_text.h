// Numbers as texts of the host's fields, independent of the locale.
#pragma once

#include <string>
#include <string_view>

namespace vordal {

/// The number with `decimals` decimals, correctly rounded, ties to even; "inf" and "nan" with their sign.
std::string FixedNumberText(double value, int decimals);
/// The least of 6 to 17 significant digits that read back to the same double, without zeros at the end.
std::string ShortNumberText(double value);
/// The number that the text begins with, after white space: a sign, digits with a point, an exponent; 0 when it begins
/// with none. Hexadecimal, infinities and NaN are none. Beyond the range of a double come infinity and 0.
double LeadingNumber(std::wstring_view text);
/// Whether the text is such a number to its end, white space around it aside.
bool IsNumber(std::wstring_view text);

} // namespace vordal
