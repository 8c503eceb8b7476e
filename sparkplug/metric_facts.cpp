// Facts from the tables of records.
#include "sparkplug/metric_facts.h"

#include <protocol/catalogue.h>
#include <protocol/print.h>

namespace qx5::sparkplug {

MetricFacts FactsFromTables(std::wstring_view key)
{
    MetricFacts facts;
    if (auto const* const found = protocol::FindKey(key)) {
        facts.unit = protocol::UnitText(found->unit);
    }
    return facts;
}

} // namespace qx5::sparkplug
