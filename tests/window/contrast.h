// How far two colours stand out from one another, and what stands out in a picture.
#pragma once

#include <QColor>
#include <QImage>
#include <QPixmap>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <map>

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

inline QImage PictureOf(QWidget& widget)
{
    return widget.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

/// The colour that most of a picture has.
inline QColor GroundOf(QImage const& picture)
{
    std::map<QRgb, int> counts;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            ++counts[picture.pixel(x, y)];
        }
    }
    return QColor(std::max_element(counts.begin(), counts.end(), [](auto const& a, auto const& b) {
                      return a.second < b.second;
                  })->first);
}

/// The greatest contrast of anything in the picture to its ground.
inline double GreatestContrast(QImage const& picture)
{
    auto const ground = GroundOf(picture);
    double greatest = 1.0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            greatest = std::max(greatest, Contrast(QColor(picture.pixel(x, y)), ground));
        }
    }
    return greatest;
}

} // namespace qx5::test
