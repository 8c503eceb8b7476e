// Speckle from a counter that is mixed: no state beyond 64 bits.
#include "speckle.h"

#include "chance.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace qx5::acoustics {

namespace {

/// Values of a normal distribution at the middles of as many equal shares of it, brought to a variance of one half.
struct NormalTable
{
    static constexpr std::size_t Size = 4096;
    std::array<float, Size> values;

    NormalTable()
    {
        double sum = 0.0;
        std::array<double, Size> exact{};
        for (std::size_t i = 0; i < Size; ++i) {
            double const share = (static_cast<double>(i) + 0.5) / Size;
            // Where the distribution function is `share`: Newton's steps from the logistic's answer, which is near.
            double x = 0.6 * std::log(share / (1.0 - share));
            for (int step = 0; step < 20; ++step) {
                double const below = 0.5 * std::erfc(-x / std::numbers::sqrt2);
                double const density = std::exp(-0.5 * x * x) / std::sqrt(2.0 * std::numbers::pi);
                x -= std::clamp((below - share) / density, -0.5, 0.5);
            }
            exact[i] = x;
            sum += x * x;
        }
        double const scale = std::sqrt(0.5 * Size / sum);
        for (std::size_t i = 0; i < Size; ++i) {
            values[i] = static_cast<float>(exact[i] * scale);
        }
    }
};

} // namespace

Speckle::Speckle(std::uint64_t seed, std::uint64_t ping, std::uint64_t beam) : m_state(MixedOf(seed, ping, beam)) {}

double Speckle::NextIntensity()
{
    m_state += ChanceIncrement;
    return -std::log(Uniform(Mixed(m_state)));
}

void Speckle::Fill(std::span<float> intensities, std::size_t together, std::vector<float>& scratch)
{
    static NormalTable const normal;
    together = std::clamp<std::size_t>(together, 1, std::max<std::size_t>(intensities.size(), 1));
    // Scatterers by chance as the real and the imaginary part of a sum, two of each from one number.
    std::size_t const drawn = (intensities.size() + together) / 2 * 2;
    scratch.resize(2 * drawn);
    float* const real = scratch.data();
    float* const imaginary = real + drawn;
    for (std::size_t i = 0; i < drawn; i += 2) {
        m_state += ChanceIncrement;
        std::uint64_t const bits = Mixed(m_state);
        real[i] = normal.values[bits >> 52];
        imaginary[i] = normal.values[(bits >> 40) & 0xFFF];
        real[i + 1] = normal.values[(bits >> 28) & 0xFFF];
        imaginary[i + 1] = normal.values[(bits >> 16) & 0xFFF];
    }
    if (together == 1) {
        for (std::size_t i = 0; i < intensities.size(); ++i) {
            intensities[i] = real[i] * real[i] + imaginary[i] * imaginary[i];
        }
        return;
    }
    float sumReal = 0.0F;
    float sumImaginary = 0.0F;
    for (std::size_t i = 0; i + 1 < together; ++i) {
        sumReal += real[i];
        sumImaginary += imaginary[i];
    }
    float const share = 1.0F / static_cast<float>(together);
    for (std::size_t i = 0; i < intensities.size(); ++i) {
        sumReal += real[i + together - 1];
        sumImaginary += imaginary[i + together - 1];
        intensities[i] = (sumReal * sumReal + sumImaginary * sumImaginary) * share;
        sumReal -= real[i];
        sumImaginary -= imaginary[i];
    }
}

} // namespace qx5::acoustics
