// Numbers as the pages' labels show them, whatever the locale.
#pragma once

#include <QString>

namespace qx5 {

/// The number with so many decimals, as C's "%.<decimals>f" gives it: exact, halves to even. `width` is the least
/// number of characters; spaces fill it up on the left.
QString FixedText(double value, int decimals, int width = 0);

} // namespace qx5
