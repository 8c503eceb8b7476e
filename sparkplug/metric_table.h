// The metrics that a tree's attributes make up: what a birth tells of them, and which values are new since.
#pragma once

#include "sparkplug/metric_facts.h"
#include "sparkplug/metric_value.h"
#include "sparkplug/payload.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <queue>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace qx5::sparkplug {

/// Whose names a tree's are: those of attributes keep clear of those that Sparkplug and the lease have.
enum class TreeNames
{
    Attributes,
    Reserved,
};

/// One tree and its metrics. Every attribute is one, but for branches without value and flags, which the names below
/// them tell. What the root itself has, key, value, flags or group, is not told.
///
/// What changes waits until it is taken: at once, or until `pace` has passed since the metric was taken the last time,
/// and then with its newest value. One thread.
class MetricTable
{
public:
    using Time = std::chrono::steady_clock::time_point;

    /// `facts` may be empty.
    MetricTable(TreeNames names, FactsOf facts, std::chrono::milliseconds pace);

    /// The tree as it is now. False when its metrics are others than before, which takes a birth: an attribute came or
    /// went, or has a value of another kind. Until then nothing waits. What the tree shares with the one before costs
    /// nothing.
    bool See(CAttributeMap const& tree, Time now, std::uint64_t utc);

    /// All metrics wait as if they had changed, unless a birth is to tell them.
    void SeeAgain(Time now, std::uint64_t utc);

    /// All metrics, for a birth, with what waited. Those that are others than at the birth before have aliases from
    /// `nextAlias` on, which is moved behind them.
    void AppendBirth(std::vector<Metric>& metrics, std::uint64_t utc, std::uint64_t& nextAlias);
    std::size_t MetricCount() const { return m_metricCount; }

    /// Appends what waits and is due, up to about `bytes` of payload. It counts as taken once Taken is called; Refused
    /// has it wait until `later`.
    void AppendDue(std::vector<Metric>& metrics, Time now, std::size_t bytes);
    void Taken(Time now);
    void Refused(Time later);
    /// When the next one is due; nothing when none waits.
    std::optional<Time> NextDue() const;

    /// The metric of that name or alias and the kind of its values, Branch for none; null for none there.
    struct Known
    {
        std::string const* name = nullptr;
        protocol::Kind kind = protocol::Kind::Branch;
    };
    Known Find(Metric const& asked) const;

    CAttributeMap const& Tree() const { return m_tree; }

private:
    struct Row
    {
        std::string name; ///< empty when it is no metric
        std::uint64_t alias = 0;
        std::uint32_t end = 0;                        ///< the first row that is not below it
        protocol::Kind kind = protocol::Kind::Branch; ///< of the last value that it had
        bool isWaiting = false;
        bool hasNewFlags = false;
        std::uint32_t flags = 0;
        std::uint64_t utc = 0; ///< of what waits
        WireValue value;       ///< which waits
        Time taken = Time::min();
    };
    using Due = std::pair<Time, std::uint32_t>;

    bool Compare(CAttributeMap const& tree, Time now, std::uint64_t utc);
    void Note(std::uint32_t row, CAttributeMap const& node, Time now, std::uint64_t utc);
    void Rebuild();
    /// With the number of its row, parents first.
    template <typename Visit>
    void ForEachMetric(Visit const& visit) const;
    void Index() const;

    TreeNames m_names;
    FactsOf m_facts;
    std::chrono::milliseconds m_pace;
    CAttributeMap m_tree;
    std::vector<Row> m_rows; ///< of all nodes below the root, parents first
    bool m_isNew = true;     ///< the rows are not those of the tree
    std::size_t m_metricCount = 0;
    std::priority_queue<Due, std::vector<Due>, std::greater<>> m_waiting;
    std::vector<std::uint32_t> m_offered;
    /// By name, made when it is first asked for.
    mutable std::unordered_map<std::string_view, std::uint32_t> m_byName;
    mutable std::unordered_map<std::uint64_t, std::uint32_t> m_byAlias;
};

} // namespace qx5::sparkplug
