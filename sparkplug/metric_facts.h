// What is told of an attribute beside its value.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::sparkplug {

struct MetricFacts
{
    std::string unit;           ///< empty for none
    std::optional<double> low;  ///< the least value that the sonar takes, in that unit
    std::optional<double> high; ///< the greatest one
};

/// Of the key of an attribute, wherever it stands.
using FactsOf = std::function<MetricFacts(std::wstring_view key)>;

/// The unit as the tables have it; they know no limits. Nothing of a key that is in no table.
MetricFacts FactsFromTables(std::wstring_view key);

} // namespace qx5::sparkplug
