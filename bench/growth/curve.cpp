// Running curves, and what they come to.
#include "curve.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include <fmt/format.h>

namespace bench {

namespace {

// A machine that does other things, too, moves an exponent by some hundredths.
constexpr double exponentTolerance = 0.15;
constexpr int rounds = 3;

std::string_view VerdictOn(bool isHeld)
{
    return isHeld ? "held" : "missed";
}

} // namespace

double ExponentOf(std::vector<std::pair<std::size_t, double>> const& costs)
{
    double sumX = 0.0;
    double sumY = 0.0;
    for (auto const& [size, cost] : costs) {
        sumX += std::log(static_cast<double>(size));
        sumY += std::log(cost);
    }
    auto const count = static_cast<double>(costs.size());
    double both = 0.0;
    double square = 0.0;
    for (auto const& [size, cost] : costs) {
        double const x = std::log(static_cast<double>(size)) - sumX / count;
        both += x * (std::log(cost) - sumY / count);
        square += x * x;
    }
    return both / square;
}

void RunCurves(std::vector<Curve> const& curves)
{
    for (Curve const& curve : curves) {
        std::vector<std::vector<double>> samples(curve.sizes.size());
        for (int round = 0; round < rounds; ++round) {
            for (std::size_t i = 0; i < curve.sizes.size(); ++i) {
                curve.run(curve.sizes[i], samples[i]);
            }
        }
        std::vector<std::pair<std::size_t, double>> medians;
        for (std::size_t i = 0; i < curve.sizes.size(); ++i) {
            auto& taken = samples[i];
            std::nth_element(taken.begin(), taken.begin() + static_cast<std::ptrdiff_t>(taken.size() / 2), taken.end());
            medians.emplace_back(curve.sizes[i], taken[taken.size() / 2]);
            fmt::print("{{\"name\":\"{}\",\"size\":{},\"median_{}\":{:.1f}}}\n", curve.name, medians.back().first,
                       curve.unit, medians.back().second);
        }
        double const exponent = ExponentOf(medians);
        fmt::print("{{\"name\":\"{}\",\"exponent\":{:.2f},\"at_most\":{:.2f},\"verdict\":\"{}\"}}\n", curve.name,
                   exponent, curve.greatestExponent + exponentTolerance,
                   VerdictOn(exponent <= curve.greatestExponent + exponentTolerance));
        for (SizeBound const& bound : curve.bounds) {
            auto const at = std::find_if(medians.begin(), medians.end(),
                                         [&](auto const& each) { return each.first == bound.size; });
            if (at != medians.end()) {
                fmt::print(
                    "{{\"name\":\"{}\",\"size\":{},\"median_{}\":{:.1f},\"at_most_{}\":{:.1f},\"verdict\":\"{}\"}}"
                    "\n",
                    curve.name, bound.size, curve.unit, at->second, curve.unit, bound.most,
                    VerdictOn(at->second <= bound.most));
            }
        }
        std::fflush(stdout);
    }
}

} // namespace bench
