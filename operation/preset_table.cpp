// Presets compared, and the request that is made of it.
#include "preset_table.h"

#include "same_value.h"

#include <commands/catalogue.h>
#include <commands/settings.h>
#include <protocol/print.h>
#include <values/vordal_value.h>

#include <algorithm>
#include <set>
#include <utility>

#include <fmt/format.h>

namespace qx5::operation {

namespace {

RowState StateOf(PresetRow const& row, SonarLimits const& limits)
{
    Setting const* const setting = FindSetting(row.key);
    if (setting == nullptr) {
        return RowState::Unknown;
    }
    if (protocol::IsEmpty(row.now) || protocol::IsEmpty(row.then)) {
        return RowState::Missing;
    }
    if (IsSameValue(row.then, row.now)) {
        return RowState::Equal;
    }
    return limits.IsBeyond(setting->Key(), row.then) ? RowState::Beyond : RowState::Different;
}

} // namespace

std::string_view NameOf(RowState state)
{
    constexpr std::array<std::string_view, RowStates.size()> names{"equal", "different", "beyond", "unknown",
                                                                   "missing"};
    return names[static_cast<std::size_t>(state)];
}

std::string_view WhyNotTicked(PresetRow const& row)
{
    switch (row.state) {
    case RowState::Equal:
    case RowState::Different:
        return {};
    case RowState::Beyond:
        return PresetTable::CanBeAsked(row) ? "the sonar does not take this value" : "this is no finite number";
    case RowState::Unknown:
        return "no setting that this program knows";
    case RowState::Missing:
        return protocol::IsEmpty(row.now) ? "the sonar tells none" : "the preset has none";
    }
    return {};
}

std::string ShownValue(protocol::Value const& value)
{
    return protocol::IsEmpty(value) ? "-" : protocol::ValueText(value);
}

PresetTable PresetTable::Of(Preset const& now, Preset const& then, SonarLimits const& limits, Extent extent)
{
    PresetTable table;
    for (PresetSetting const& setting : now.settings) {
        table.m_others.emplace(setting.key, setting.value);
    }
    for (PresetSetting const& setting : then.settings) {
        auto const present = table.m_others.extract(setting.key);
        table.m_rows.push_back({setting.key, present.empty() ? protocol::Value() : present.mapped(), setting.value,
                                setting.unit, RowState::Unknown});
    }
    if (extent == Extent::Both) {
        for (PresetSetting const& setting : now.settings) {
            if (table.m_others.contains(setting.key)) {
                table.m_rows.push_back({setting.key, setting.value, {}, setting.unit, RowState::Unknown});
            }
        }
    }
    for (PresetRow& row : table.m_rows) {
        row.state = StateOf(row, limits);
    }
    return table;
}

PresetTable PresetTable::ForSonar(CAttributeMap const& tree, Preset const& then)
{
    return Of(TakePreset(tree, {.name = "now"}), then, SonarLimits(tree, then.Tree()), Extent::Then);
}

PresetTable PresetTable::Between(Preset const& now, Preset const& then, SonarLimits const& limits)
{
    return Of(now, then, limits, Extent::Both);
}

PresetTable PresetTable::Between(PresetSide const& now, PresetSide const& then)
{
    return Between(now.preset, then.preset, now.tree ? SonarLimits(*now.tree, then.preset.Tree()) : SonarLimits());
}

std::string PresetTable::CountsText() const
{
    std::string text;
    for (RowState const state : RowStates) {
        text += fmt::format("{}{} {}", text.empty() ? "" : ", ", Count(state), NameOf(state));
    }
    return text;
}

bool PresetTable::IsAsPreset() const
{
    return Count(RowState::Equal) + Count(RowState::Unknown) == m_rows.size();
}

bool PresetTable::IsSameOnBothSides() const
{
    return std::all_of(m_rows.begin(), m_rows.end(),
                       [](PresetRow const& row) { return IsSameValue(row.then, row.now); });
}

std::size_t PresetTable::Count(RowState state) const
{
    return static_cast<std::size_t>(
        std::count_if(m_rows.begin(), m_rows.end(), [&](PresetRow const& row) { return row.state == state; }));
}

std::vector<std::wstring> PresetTable::KeepOnly(std::vector<std::wstring> const& keys)
{
    std::set<std::wstring_view> left(keys.begin(), keys.end());
    std::vector<PresetRow> kept;
    for (PresetRow& row : m_rows) {
        if (left.erase(row.key) != 0) {
            kept.push_back(std::move(row));
        } else if (!protocol::IsEmpty(row.now)) {
            m_others.emplace(row.key, std::move(row.now));
        }
    }
    m_rows = std::move(kept);
    return {left.begin(), left.end()};
}

bool PresetTable::CanBeAsked(PresetRow const& row)
{
    // Limits that nobody tells leave what is no number at all.
    return row.state == RowState::Different ||
           (row.state == RowState::Beyond && !SonarLimits().IsBeyond(FindSetting(row.key)->Key(), row.then));
}

CAttributeMap PresetTable::Request(std::function<bool(PresetRow const&)> const& isTicked) const
{
    CAttributeMap request;
    std::vector<Setting const*> asked;
    for (PresetRow const& row : m_rows) {
        if (CanBeAsked(row) && isTicked(row)) {
            Setting const& setting = *FindSetting(row.key);
            asked.push_back(&setting);
            AddValue(request, setting.operand->attribute, row.then);
        }
    }
    for (Setting const* const setting : asked) {
        for (Operand const* const needed : NeededBeside(*setting->command, *setting->operand)) {
            std::wstring_view const key = needed->key->text;
            if (request.Has(needed->attribute)) {
                continue;
            }
            auto const row =
                std::find_if(m_rows.begin(), m_rows.end(), [&](PresetRow const& each) { return each.key == key; });
            auto const other = m_others.find(key);
            // Where the preset asks for another value that was not ticked, the sonar keeps its own.
            if (row != m_rows.end() && !protocol::IsEmpty(row->now)) {
                AddValue(request, needed->attribute, row->now);
            } else if (other != m_others.end()) {
                AddValue(request, needed->attribute, other->second);
            } else if (row != m_rows.end()) {
                AddValue(request, needed->attribute, row->then);
            }
        }
    }
    return request;
}

} // namespace qx5::operation
