// Numbers as the pages' labels show them, whatever the locale.
#include "value_text.h"

#include <array>
#include <charconv>

namespace qx5 {

QString FixedText(double value, int decimals, int width)
{
    // The greatest double has 309 digits before the point.
    std::array<char, 400> buffer;
    auto const result =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, decimals);
    return QString::fromLatin1(buffer.data(), result.ptr - buffer.data()).rightJustified(width);
}

} // namespace qx5
