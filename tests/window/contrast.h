// How far two colours stand out from one another.
#pragma once

#include <QColor>

#include <algorithm>
#include <cmath>

namespace qx5::test {

/// The ratio of two colours' luminances, 1 to 21.
inline double Contrast(QColor const& a, QColor const& b)
{
    auto const luminance = [](QColor const& colour) {
        auto const linear = [](double part) {
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
    };
    auto const brighter = std::max(luminance(a), luminance(b));
    auto const darker = std::min(luminance(a), luminance(b));
    return (brighter + 0.05) / (darker + 0.05);
}

} // namespace qx5::test
