// Patterns of line arrays in closed form.
#include "line_array.h"

#include "decibel.h"
#include "valid_range.h"

#include <algorithm>
#include <cmath>

namespace qx5::acoustics {

namespace {

/// What the weights make of an array of a given length. With u = length in wavelengths times difference of sines, the
/// pattern is sin(pi u) / (pi u), for the raised cosine divided by 1 - u^2.
struct TaperFacts
{
    double halfPower;  ///< u at which the pattern has half its power
    double noiseWidth; ///< how much more noise it takes than a uniform one
};

constexpr TaperFacts FactsOf(Taper taper)
{
    return taper == Taper::Hann ? TaperFacts{0.7202912900601338, 1.5} : TaperFacts{0.4429464706894522, 1.0};
}

} // namespace

Result<LineArray> LineArray::OfWidth(double width, Taper taper, double steering)
{
    if (auto failure = FirstOutside(
            {{"beam width", "degrees", width, 0.01, 180.0}, {"steering", "degrees", steering, -90.0, 90.0}})) {
        return *std::move(failure);
    }
    return LineArray(FactsOf(taper).halfPower / std::sin(Radians(width / 2.0)), taper, std::sin(Radians(steering)));
}

Result<LineArray> LineArray::OfLength(double wavelengths, Taper taper)
{
    if (auto failure = FirstOutside({{"length", "wavelengths", wavelengths, 0.5, 1e5}})) {
        return *std::move(failure);
    }
    return LineArray(wavelengths, taper, 0.0);
}

double LineArray::Amplitude(double sine) const
{
    double const u = m_length * (sine - m_sineOfSteering);
    double const x = std::numbers::pi * u;
    // Near the axis the series tells more than a quotient of two small numbers.
    double const uniform = std::abs(x) < 1e-4 ? 1.0 - x * x / 6.0 : std::sin(x) / x;
    if (m_taper == Taper::Uniform) {
        return uniform;
    }
    double const rest = 1.0 - u * u;
    // At u = 1 both are 0; the quotient's limit is a half, and it falls by 3/4 of what u goes beyond.
    return std::abs(rest) < 1e-6 ? 0.5 - 0.75 * (std::abs(u) - 1.0) : uniform / rest;
}

double LineArray::Level(double sine) const
{
    return 20.0 * std::log10(std::abs(Amplitude(sine)));
}

double LineArray::Width() const
{
    double const half = FactsOf(m_taper).halfPower / m_length;
    return Degrees(std::asin(std::clamp(m_sineOfSteering + half, -1.0, 1.0)) -
                   std::asin(std::clamp(m_sineOfSteering - half, -1.0, 1.0)));
}

double LineArray::DirectivityIndex() const
{
    return std::max(0.0, Decibels(2.0 * m_length / FactsOf(m_taper).noiseWidth));
}

} // namespace qx5::acoustics
