// A tree held against the one before, node by node and side by side.
#include "sparkplug/metric_table.h"

#include "sparkplug/metric_name.h"

#include <reference_host/attributes/tree_merge.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <map>
#include <utility>

namespace qx5::sparkplug {

namespace {

bool IsMetric(CAttributeMap const& node)
{
    return node.HasValue() || node.GetFlags() != 0 || node.begin() == node.end();
}

bool HaveSameValue(CAttributeMap const& a, CAttributeMap const& b)
{
    return &a.Value() == &b.Value() || a.Value().IsSame(b.Value());
}

/// What a value takes in a payload, roughly: the rest of a metric takes some 20 bytes.
std::size_t RoughBytes(WireValue const& value)
{
    std::size_t const rest = 32;
    if (auto const* const text = std::get_if<std::string>(&value)) {
        return rest + text->size();
    }
    if (auto const* const bytes = std::get_if<std::vector<unsigned char>>(&value)) {
        return rest + bytes->size();
    }
    return rest;
}

Property FlagsOf(std::uint32_t flags)
{
    return {std::string(FlagsProperty), DataType::UInt32, std::uint64_t{flags}};
}

void AppendFacts(MetricFacts const& facts, std::vector<Property>& properties)
{
    if (!facts.unit.empty()) {
        properties.push_back({std::string(UnitProperty), DataType::String, facts.unit});
    }
    if (facts.low) {
        properties.push_back({std::string(LowProperty), DataType::Double, *facts.low});
    }
    if (facts.high) {
        properties.push_back({std::string(HighProperty), DataType::Double, *facts.high});
    }
}

/// A node whose children are walked.
struct WalkedNode
{
    CAttributeMap const* node;
    CAttributeMap::const_iterator next;
    std::size_t nameLength; ///< of its own name, which those of its children begin with
    std::uint32_t row;      ///< its own
    std::map<std::wstring_view, int> passed;
};

} // namespace

MetricTable::MetricTable(TreeNames names, FactsOf facts, std::chrono::milliseconds pace)
    : m_names(names), m_facts(std::move(facts)), m_pace(pace)
{
}

bool MetricTable::See(CAttributeMap const& tree, Time now, std::uint64_t utc)
{
    m_isNew = m_isNew || !Compare(tree, now, utc);
    m_tree = tree;
    return !m_isNew;
}

bool MetricTable::Compare(CAttributeMap const& tree, Time now, std::uint64_t utc)
{
    struct SideBySide
    {
        CAttributeMap::const_iterator was, wasEnd, is, isEnd;
    };
    if (vordal::ShareOneNode(m_tree, tree)) {
        return true;
    }
    std::vector<SideBySide> levels{{m_tree.begin(), m_tree.end(), tree.begin(), tree.end()}};
    std::uint32_t row = 0;
    while (!levels.empty()) {
        auto& level = levels.back();
        if (level.was == level.wasEnd || level.is == level.isEnd) {
            if (level.was != level.wasEnd || level.is != level.isEnd) {
                return false;
            }
            levels.pop_back();
            continue;
        }
        CAttributeMap const& was = *level.was;
        CAttributeMap const& is = *level.is;
        ++level.was;
        ++level.is;
        if (vordal::ShareOneNode(was, is)) {
            row = m_rows[row].end;
            continue;
        }
        if (was.KeyText() != is.KeyText()) {
            return false;
        }
        if (was.GetFlags() != is.GetFlags() || !HaveSameValue(was, is)) {
            auto const kind = KindOf(is.Value().Kind());
            Row const& told = m_rows[row];
            if (told.name.empty() || (kind != protocol::Kind::Branch && kind != told.kind)) {
                return false;
            }
            Note(row, is, now, utc);
        }
        levels.push_back({was.begin(), was.end(), is.begin(), is.end()});
        ++row;
    }
    return true;
}

void MetricTable::Note(std::uint32_t number, CAttributeMap const& node, Time now, std::uint64_t utc)
{
    auto& row = m_rows[number];
    row.value = WireOf(ValueOf(node.Value()));
    row.utc = utc;
    row.hasNewFlags = row.hasNewFlags || row.flags != node.GetFlags();
    row.flags = node.GetFlags();
    if (!row.isWaiting) {
        row.isWaiting = true;
        auto const due = row.taken == Time::min() ? now : std::max(now, row.taken + m_pace);
        m_waiting.emplace(due, number);
    }
}

void MetricTable::Rebuild()
{
    m_rows.clear();
    m_metricCount = 0;
    std::string name;
    std::vector<WalkedNode> levels;
    levels.push_back({&m_tree, m_tree.begin(), 0, 0, {}});
    while (!levels.empty()) {
        auto& level = levels.back();
        if (level.next == level.node->end()) {
            if (levels.size() > 1) {
                m_rows[level.row].end = static_cast<std::uint32_t>(m_rows.size());
            }
            levels.pop_back();
            continue;
        }
        CAttributeMap const& child = *level.next;
        ++level.next;
        name.resize(level.nameLength);
        AppendLevel(name, child.KeyText(), level.passed[child.KeyText()]++, m_names == TreeNames::Attributes);
        auto const number = static_cast<std::uint32_t>(m_rows.size());
        auto& row = m_rows.emplace_back();
        if (IsMetric(child)) {
            row.name = name;
            row.kind = KindOf(child.Value().Kind());
            row.flags = child.GetFlags();
            ++m_metricCount;
        }
        levels.push_back({&child, child.begin(), name.size(), number, {}});
    }
}

template <typename Visit>
void MetricTable::ForEachMetric(Visit const& visit) const
{
    std::vector<std::pair<CAttributeMap::const_iterator, CAttributeMap::const_iterator>> levels{
        {m_tree.begin(), m_tree.end()}};
    std::uint32_t number = 0;
    while (!levels.empty()) {
        auto& [next, end] = levels.back();
        if (next == end) {
            levels.pop_back();
            continue;
        }
        CAttributeMap const& node = *next;
        ++next;
        if (!m_rows[number].name.empty()) {
            visit(number, node);
        }
        ++number;
        levels.emplace_back(node.begin(), node.end());
    }
}

void MetricTable::AppendBirth(std::vector<Metric>& metrics, std::uint64_t utc, std::uint64_t& nextAlias)
{
    if (m_isNew) {
        Rebuild();
        for (Row& row : m_rows) {
            if (!row.name.empty()) {
                row.alias = nextAlias++;
            }
        }
        m_isNew = false;
    }
    for (Row& row : m_rows) {
        row.isWaiting = row.hasNewFlags = false;
        row.value = std::monostate();
    }
    m_waiting = {};
    m_offered.clear();
    m_byName.clear();
    m_byAlias.clear();

    metrics.reserve(metrics.size() + m_metricCount);
    ForEachMetric([&](std::uint32_t number, CAttributeMap const& node) {
        Row const& row = m_rows[number];
        auto& metric = metrics.emplace_back();
        metric.name = row.name;
        metric.alias = row.alias;
        metric.timestamp = utc;
        metric.type = DataTypeOf(row.kind);
        metric.value = WireOf(ValueOf(node.Value()));
        auto const kind = KindText(row.kind);
        if (!kind.empty()) {
            metric.properties.push_back({std::string(KindProperty), DataType::String, std::string(kind)});
        }
        if (m_facts) {
            AppendFacts(m_facts(node.KeyText()), metric.properties);
        }
        if (node.GetFlags() != 0) {
            metric.properties.push_back(FlagsOf(node.GetFlags()));
        }
    });
}

void MetricTable::SeeAgain(Time now, std::uint64_t utc)
{
    if (m_isNew) {
        return;
    }
    ForEachMetric([&](std::uint32_t number, CAttributeMap const& node) { Note(number, node, now, utc); });
}

void MetricTable::AppendDue(std::vector<Metric>& metrics, Time now, std::size_t bytes)
{
    std::size_t taken = 0;
    while (!m_isNew && !m_waiting.empty() && m_waiting.top().first <= now && taken < bytes) {
        auto const number = m_waiting.top().second;
        m_waiting.pop();
        m_offered.push_back(number);
        Row const& row = m_rows[number];
        auto& metric = metrics.emplace_back();
        metric.alias = row.alias;
        metric.timestamp = row.utc;
        metric.type = DataTypeOf(row.kind);
        metric.value = row.value;
        if (row.hasNewFlags) {
            metric.properties.push_back(FlagsOf(row.flags));
        }
        taken += RoughBytes(row.value);
    }
}

void MetricTable::Taken(Time now)
{
    for (auto const number : m_offered) {
        auto& row = m_rows[number];
        row.isWaiting = row.hasNewFlags = false;
        row.value = std::monostate();
        row.taken = now;
    }
    m_offered.clear();
}

void MetricTable::Refused(Time later)
{
    for (auto const number : m_offered) {
        m_waiting.emplace(later, number);
    }
    m_offered.clear();
}

std::optional<MetricTable::Time> MetricTable::NextDue() const
{
    return m_isNew || m_waiting.empty() ? std::nullopt : std::optional(m_waiting.top().first);
}

void MetricTable::Index() const
{
    if (!m_byName.empty()) {
        return;
    }
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
        if (!m_rows[i].name.empty()) {
            m_byName.emplace(m_rows[i].name, static_cast<std::uint32_t>(i));
            m_byAlias.emplace(m_rows[i].alias, static_cast<std::uint32_t>(i));
        }
    }
}

MetricTable::Known MetricTable::Find(Metric const& asked) const
{
    if (m_isNew) {
        return {};
    }
    Index();
    std::uint32_t number = 0;
    if (!asked.name.empty()) {
        auto const found = m_byName.find(asked.name);
        if (found == m_byName.end()) {
            return {};
        }
        number = found->second;
    } else if (asked.alias) {
        auto const found = m_byAlias.find(*asked.alias);
        if (found == m_byAlias.end()) {
            return {};
        }
        number = found->second;
    } else {
        return {};
    }
    return {&m_rows[number].name, m_rows[number].kind};
}

} // namespace qx5::sparkplug
