// Drawing into a picture's pixels.
#include "canvas.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace picture {

int GlyphSheet::WidthOf(std::string_view text) const
{
    int width = 0;
    for (char const c : text) {
        width += glyphs[static_cast<unsigned char>(c)].advance;
    }
    return width;
}

Label& Label::operator<<(std::string_view text)
{
    std::size_t const fits = std::min(text.size(), m_text.size() - m_size);
    std::copy_n(text.data(), fits, m_text.data() + m_size);
    m_size += fits;
    return *this;
}

Label& Label::Number(double value, int decimals)
{
    if (!std::isfinite(value) || std::abs(value) >= 1e15) {
        return *this << "-";
    }
    // No "-0.0".
    double const least = 0.5 * std::pow(10.0, -decimals);
    std::array<char, 40> digits{};
    auto const end = std::to_chars(digits.data(), digits.data() + digits.size(), std::abs(value) < least ? 0.0 : value,
                                   std::chars_format::fixed, decimals);
    return *this << std::string_view(digits.data(), static_cast<std::size_t>(end.ptr - digits.data()));
}

void Canvas::Cover(int x, int y, double part, Colour colour)
{
    if (x >= 0 && x < m_width && y >= 0 && y < m_height && part > 0.0) {
        Colour& pixel = Row(y)[x];
        pixel = Mix(pixel, colour, static_cast<unsigned>(std::min(part, 1.0) * 256.0));
    }
}

void Canvas::FillBox(int x, int y, int width, int height, Colour colour)
{
    int const left = std::clamp(x, 0, m_width);
    int const right = std::clamp(x + width, left, m_width);
    int const bottom = std::clamp(y + height, 0, m_height);
    for (int row = std::clamp(y, 0, m_height); row < bottom; ++row) {
        std::fill(Row(row) + left, Row(row) + right, colour);
    }
}

void Canvas::Line(double x0, double y0, double x1, double y1, double width, Colour colour)
{
    if (!std::isfinite(x0) || !std::isfinite(y0) || !std::isfinite(x1) || !std::isfinite(y1)) {
        return;
    }
    // What lies beyond the picture is cut first: a line may reach much farther.
    double const margin = width + 2.0;
    double from = 0.0;
    double to = 1.0;
    auto const cut = [&](double start, double along, double least, double most) {
        if (along == 0.0) {
            return start >= least && start <= most;
        }
        double first = (least - start) / along;
        double second = (most - start) / along;
        if (first > second) {
            std::swap(first, second);
        }
        from = std::max(from, first);
        to = std::min(to, second);
        return from <= to;
    };
    if (!cut(x0, x1 - x0, -margin, m_width + margin) || !cut(y0, y1 - y0, -margin, m_height + margin)) {
        return;
    }
    double const startX = x0 + from * (x1 - x0);
    double const startY = y0 + from * (y1 - y0);
    double const alongX = (to - from) * (x1 - x0);
    double const alongY = (to - from) * (y1 - y0);
    bool const isSteep = std::abs(alongY) > std::abs(alongX);
    double const length = std::hypot(alongX, alongY);
    if (length < 1e-6) {
        return;
    }
    double const slope = isSteep ? alongX / alongY : alongY / alongX;
    // From a pixel's centre to the line, across it and not along an axis.
    double const across = 1.0 / std::sqrt(1.0 + slope * slope);
    double const majorStart = isSteep ? startY : startX;
    double const minorStart = isSteep ? startX : startY;
    double const majorEnd = majorStart + (isSteep ? alongY : alongX);
    int const first = static_cast<int>(std::floor(std::min(majorStart, majorEnd)));
    int const last = static_cast<int>(std::floor(std::max(majorStart, majorEnd)));
    double const reach = (width / 2.0 + 0.5) / across;
    for (int major = first; major <= last; ++major) {
        double const minor = minorStart + slope * (major + 0.5 - majorStart);
        int const least = static_cast<int>(std::floor(minor - reach));
        int const most = static_cast<int>(std::floor(minor + reach));
        for (int i = least; i <= most; ++i) {
            double const part = width / 2.0 + 0.5 - std::abs(i + 0.5 - minor) * across;
            isSteep ? Cover(i, major, part, colour) : Cover(major, i, part, colour);
        }
    }
}

void Canvas::Disc(double x, double y, double radius, Colour colour, Colour rim)
{
    if (!(x > -1e6 && x < 1e6 && y > -1e6 && y < 1e6)) {
        return;
    }
    int const bottom = static_cast<int>(std::ceil(y + radius + 1.0));
    int const right = static_cast<int>(std::ceil(x + radius + 1.0));
    for (int row = static_cast<int>(std::floor(y - radius - 1.0)); row <= bottom; ++row) {
        for (int column = static_cast<int>(std::floor(x - radius - 1.0)); column <= right; ++column) {
            double const distance = std::hypot(column + 0.5 - x, row + 0.5 - y);
            Cover(column, row, radius + 1.0 - distance, rim);
            Cover(column, row, radius - distance, colour);
        }
    }
}

void Canvas::Convex(std::span<std::array<double, 2> const> points, Colour colour)
{
    double top = 1e9;
    double bottom = -1e9;
    for (auto const& point : points) {
        if (!std::isfinite(point[0]) || !std::isfinite(point[1])) {
            return;
        }
        top = std::min(top, point[1]);
        bottom = std::max(bottom, point[1]);
    }
    int const last = static_cast<int>(std::min(bottom, m_height - 1.0));
    for (int y = static_cast<int>(std::max(top, 0.0)); y <= last; ++y) {
        double left = 1e9;
        double right = -1e9;
        for (std::size_t i = 0; i < points.size(); ++i) {
            auto const& a = points[i];
            auto const& b = points[(i + 1) % points.size()];
            if ((a[1] <= y + 0.5) != (b[1] <= y + 0.5)) {
                double const x = a[0] + (y + 0.5 - a[1]) / (b[1] - a[1]) * (b[0] - a[0]);
                left = std::min(left, x);
                right = std::max(right, x);
            }
        }
        int const end = static_cast<int>(std::clamp(right + 0.5, 0.0, static_cast<double>(m_width)));
        for (int x = static_cast<int>(std::clamp(left + 0.5, 0.0, static_cast<double>(m_width))); x < end; ++x) {
            Row(y)[x] = colour;
        }
    }
}

void Canvas::Text(GlyphSheet const& glyphs, int x, int y, std::string_view text, Colour colour)
{
    for (char const c : text) {
        auto const& glyph = glyphs.glyphs[static_cast<unsigned char>(c)];
        auto const* cover = glyphs.cover.data() + glyph.first;
        for (int row = 0; row < glyphs.height; ++row, cover += glyph.width) {
            for (int column = 0; column < glyph.width; ++column) {
                if (cover[column] != 0) {
                    Cover(x + glyph.left + column, y + row, cover[column] / 255.0, colour);
                }
            }
        }
        x += glyph.advance;
    }
}

void Canvas::TextBox(GlyphSheet const& glyphs, int x, int y, std::string_view text, Colour colour, Colour ground)
{
    constexpr int margin = 3;
    int const width = glyphs.WidthOf(text) + 2 * margin;
    int const height = glyphs.height + 2 * margin;
    int const left = std::max(0, std::min(x, m_width - width));
    int const top = std::max(0, std::min(y, m_height - height));
    FillBox(left, top, width, height, ground);
    Text(glyphs, left + margin, top + margin, text, colour);
}

} // namespace picture
