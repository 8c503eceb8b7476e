// Trees as lists of metrics, and back: what births, requests and results have in common.
#pragma once

#include "sparkplug/metric_name.h"
#include "sparkplug/payload.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <protocol/value.h>

#include <string_view>
#include <vector>

namespace qx5::sparkplug {

/// Where a metric of that name stands in a tree. An occurrence whose forerunner is not there is none: others number as
/// they like.
std::vector<NameLevel> PlaceIn(CAttributeMap const& tree, std::string_view name);
/// Gives the attribute at that place a value, with all that it stands below.
void SetAt(CAttributeMap& tree, std::vector<NameLevel> const& place, protocol::Value const& value, unsigned flags);

/// Appends one metric for each attribute of the tree, in its order, as a birth tells them but without aliases, times
/// and units; each name has `prefix` before it.
void AppendMetrics(CAttributeMap const& tree, std::string_view prefix, std::vector<Metric>& metrics);
/// Gives the tree the attribute that the metric tells below that prefix. False, and nothing done, when its name is the
/// prefix alone, or its value none that an attribute has.
bool TakeMetric(CAttributeMap& tree, std::string_view prefix, Metric const& metric);

} // namespace qx5::sparkplug
