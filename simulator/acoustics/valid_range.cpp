// The line that refuses a value, written without the locale.
#include "valid_range.h"

#include <array>
#include <charconv>
#include <cmath>
#include <string>

namespace qx5::acoustics {

namespace {

std::string Text(double value)
{
    double const size = std::abs(value);
    // A frequency reads better with its zeros than as a power of ten.
    bool const isPlain = size == 0.0 || (size >= 1e-3 && size < 1e9);
    std::array<char, 64> digits{};
    char* const end = digits.data() + digits.size();
    auto const written = isPlain ? std::to_chars(digits.data(), end, value, std::chars_format::fixed)
                                 : std::to_chars(digits.data(), end, value);
    return {digits.data(), written.ptr};
}

} // namespace

std::optional<Failure> FirstOutside(std::initializer_list<GivenValue> values, std::string_view holder)
{
    for (GivenValue const& given : values) {
        // So written that NaN is refused.
        if (given.value >= given.least && given.value <= given.most) {
            continue;
        }
        std::string const unit = given.unit.empty() ? std::string{} : " " + std::string(given.unit);
        std::string line = std::string(given.quantity) + " " + Text(given.value) + unit + " lies outside of " +
                           Text(given.least) + " to " + Text(given.most) + unit;
        if (!holder.empty()) {
            line += ", where " + std::string(holder) + " holds";
        }
        return Failure{std::move(line)};
    }
    return std::nullopt;
}

} // namespace qx5::acoustics
