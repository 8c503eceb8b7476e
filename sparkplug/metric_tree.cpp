// Trees as lists of metrics, and back.
#include "sparkplug/metric_tree.h"

#include "sparkplug/metric_table.h"
#include "sparkplug/metric_value.h"

#include <reference_host/attributes/tree_merge.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <string>
#include <utility>

namespace qx5::sparkplug {

std::vector<NameLevel> PlaceIn(CAttributeMap const& tree, std::string_view name)
{
    auto levels = LevelsOfName(name);
    CAttributeMap const* parent = &tree;
    for (NameLevel& level : levels) {
        if (level.occurrence > parent->Count(AttributeKey(level.key))) {
            level.key += L"[" + std::to_wstring(level.occurrence + 1) + L"]";
            level.occurrence = 0;
        }
        parent = &parent->Find(AttributeKey(level.key), level.occurrence);
    }
    return levels;
}

void SetAt(CAttributeMap& tree, std::vector<NameLevel> const& place, protocol::Value const& value, unsigned flags)
{
    auto made = MakeVordal(value);
    if (place.size() == 1 && place.front().occurrence == 0) {
        vordal::SetChildValue(tree, AttributeKey(place.front().key), made ? *made : CVordalType::Empty(), flags);
        return;
    }
    auto* node = &tree;
    for (NameLevel const& level : place) {
        node = &node->FindCreate(AttributeKey(level.key), level.occurrence);
    }
    node->ReplaceValue(made.release());
    node->SetFlags(flags);
}

void AppendMetrics(CAttributeMap const& tree, std::string_view prefix, std::vector<Metric>& metrics)
{
    MetricTable table(TreeNames::Attributes, {}, std::chrono::milliseconds(0));
    table.See(tree, {}, 0);
    auto const first = static_cast<std::ptrdiff_t>(metrics.size());
    std::uint64_t alias = 0;
    table.AppendBirth(metrics, 0, alias);
    std::for_each(metrics.begin() + first, metrics.end(), [prefix](Metric& metric) {
        metric.name.insert(0, prefix);
        metric.alias.reset();
        metric.timestamp.reset();
    });
}

bool TakeMetric(CAttributeMap& tree, std::string_view prefix, Metric const& metric)
{
    std::string_view name = metric.name;
    if (name.size() <= prefix.size() || !name.starts_with(prefix)) {
        return false;
    }
    name.remove_prefix(prefix.size());
    auto const value = ValueOfWire(metric.value, metric.type, KindTextOf(metric.properties));
    if (value) {
        SetAt(tree, PlaceIn(tree, name), *value, FlagsIn(metric.properties).value_or(0));
    }
    return value.has_value();
}

} // namespace qx5::sparkplug
