// Values compared as precisely as the wire carries them.
#include "same_value.h"

#include <values/vordal_value.h>

#include <algorithm>
#include <cmath>
#include <type_traits>
#include <variant>
#include <vector>

namespace qx5::operation {

namespace {

/// How much of a number may be lost on the wire.
constexpr double wirePrecision = 1e-6;

} // namespace

bool IsNear(double asked, double has)
{
    if (!std::isfinite(asked) || !std::isfinite(has)) {
        return asked == has || (std::isnan(asked) && std::isnan(has));
    }
    return std::abs(asked - has) <= wirePrecision * std::max(std::abs(asked), std::abs(has));
}

bool IsSameValue(protocol::Value const& asked, protocol::Value const& has)
{
    return std::visit(
        [&](auto const& held) {
            using Held = std::decay_t<decltype(held)>;
            auto const* const other = std::get_if<Held>(&has);
            if constexpr (std::is_same_v<Held, double>) {
                return other != nullptr && IsNear(held, *other);
            } else if constexpr (std::is_same_v<Held, std::pair<double, double>>) {
                return other != nullptr && IsNear(held.first, other->first) && IsNear(held.second, other->second);
            } else if constexpr (std::is_same_v<Held, std::vector<double>> ||
                                 std::is_same_v<Held, std::array<double, 3>>) {
                return other != nullptr && std::equal(held.begin(), held.end(), other->begin(), other->end(), IsNear);
            } else {
                return other != nullptr && held == *other;
            }
        },
        asked);
}

bool IsSameValue(CVordalType const& asked, CVordalType const& has)
{
    return asked.IsSame(has) || IsSameValue(ValueOf(asked), ValueOf(has));
}

} // namespace qx5::operation
