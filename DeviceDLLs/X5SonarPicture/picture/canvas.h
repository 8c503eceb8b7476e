// Drawing into a picture's pixels: areas, lines and texts, without taking memory.
#pragma once

#include "palette.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace picture {

/// The characters of a font (Latin 1) as they are drawn: how much of each pixel they cover.
struct GlyphSheet
{
    struct Glyph
    {
        std::size_t first = 0; ///< of its pixels in `cover`, row after row
        int width = 0;         ///< pixels
        int left = 0;          ///< from where the character begins to where its pixels do
        int advance = 0;       ///< to where the next one begins
    };
    int height = 0; ///< of every glyph, pixels
    std::array<Glyph, 256> glyphs{};
    std::vector<std::uint8_t> cover;

    int WidthOf(std::string_view text) const;
};

/// A text (Latin 1) that is put together in place; what does not fit is left out.
class Label
{
public:
    Label& operator<<(std::string_view text);
    /// A number with so many decimals, whatever the locale; a dash where it is not finite.
    Label& Number(double value, int decimals);
    std::string_view Text() const { return {m_text.data(), m_size}; }
    void Clear() { m_size = 0; }

private:
    std::array<char, 160> m_text{};
    std::size_t m_size = 0;
};

/// Pixels of somebody else's, row after row. Whatever is drawn is cut at the edges; coordinates that are no numbers
/// draw nothing. Pixel (0, 0) lies between 0 and 1 on both axes.
class Canvas
{
public:
    Canvas() = default;
    /// `stride`: pixels from one row to the next.
    Canvas(Colour* pixels, int width, int height, std::ptrdiff_t stride)
        : m_pixels(pixels), m_width(width), m_height(height), m_stride(stride)
    {
    }

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    Colour* Row(int y) const { return m_pixels + y * m_stride; }
    Colour At(int x, int y) const { return Row(y)[x]; }

    void Fill(Colour colour) { FillBox(0, 0, m_width, m_height, colour); }
    void FillBox(int x, int y, int width, int height, Colour colour);
    /// Smooth, `width` pixels wide.
    void Line(double x0, double y0, double x1, double y1, double width, Colour colour);
    /// A filled disc with a rim of `rim` around it.
    void Disc(double x, double y, double radius, Colour colour, Colour rim);
    /// An area of points that turn one way around.
    void Convex(std::span<std::array<double, 2> const> points, Colour colour);
    /// The text's upper left corner is at (x, y).
    void Text(GlyphSheet const& glyphs, int x, int y, std::string_view text, Colour colour);
    /// The same on a ground of its own, moved so far that it is whole where it can be.
    void TextBox(GlyphSheet const& glyphs, int x, int y, std::string_view text, Colour colour, Colour ground);

private:
    void Cover(int x, int y, double part, Colour colour);

    Colour* m_pixels = nullptr;
    int m_width = 0;
    int m_height = 0;
    std::ptrdiff_t m_stride = 0;
};

} // namespace picture
