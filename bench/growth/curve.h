// What grows with the work, and how fast it may: one cost at several sizes, and the exponent that they make up.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace bench {

/// A promise about one size of a curve.
struct SizeBound
{
    std::size_t size = 0;
    double most = 0.0;
};

/// The exponent of a cost that follows the size's logarithm over three decades: it doubles meanwhile, and caches grow
/// cold.
inline constexpr double logarithmic = 0.15;

/// One cost at several sizes.
struct Curve
{
    std::string name;               ///< short, unique
    std::string work;               ///< what is measured, with N for the size
    std::vector<std::size_t> sizes; ///< ascending, four at least
    double greatestExponent = 1.0;  ///< 0: the cost is the same whatever the size
    std::vector<SizeBound> bounds;
    /// Appends samples of that size.
    std::function<void(std::size_t size, std::vector<double>& samples)> run;
    std::string_view unit = "ns"; ///< of samples and bounds
};

/// The slope of the line through (log size, log cost) that fits best; every cost is more than 0.
double ExponentOf(std::vector<std::pair<std::size_t, double>> const& costs);

/// Runs the curves and prints a line of JSON for each size, {"name", "size", "median_ns"}, and one for each promise,
/// {"name", "exponent", "at_most", "verdict"} or {"name", "size", "median_ns", "at_most_ns", "verdict"}; what is no
/// time has another unit in place of "ns". Each curve's sizes are run in turn, several times, so that all of them see
/// the machine alike.
void RunCurves(std::vector<Curve> const& curves);

class Stage;

std::vector<Curve> TreeCurves();
std::vector<Curve> RequestCurves(Stage& stage);
std::vector<Curve> ContactCurves(Stage& stage);
std::vector<Curve> HostCurves(Stage& stage);
std::vector<Curve> SequencingCurves(Stage& stage);
std::vector<Curve> LinkCurves(Stage& stage);
std::vector<Curve> ScenarioCurves();
#ifdef QX5_VIEW
std::vector<Curve> WindowCurves();
#endif

} // namespace bench
