// A preset loaded into a sonar of the session: one request, and what the sonar then has.
#include "preset_load.h"

#include "preset_table.h"

#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_merge.h"

#include <commands/settings.h>
#include <protocol/print.h>
#include <values/vordal_value.h>
#include <vordalhostdllR/DataManager.h>

#include <algorithm>
#include <iterator>
#include <utility>

namespace qx5::operation {

namespace {

bool IsThere(CDataId const& sonar)
{
    return DataManager::GetDataManager().FindDevice(sonar) != nullptr;
}

CAttributeMap TreeOf(CDataId const& sonar)
{
    CAttributeMap tree;
    DataManager::GetDataManager().GetAttributeMap(sonar, tree);
    return tree;
}

/// The tree holds echoes, too: of what was asked for only what the sonar told counts.
Preset SettingsAfter(Action const& action)
{
    Preset has = TakePreset(TreeOf(action.sonar), {.name = "now"});
    std::erase_if(has.settings, [&](PresetSetting const& setting) {
        return action.asked.Has(AttributeKey(std::wstring_view(setting.key)));
    });
    for (CAttributeMap const& child : action.asked) {
        auto const* const setting = FindSetting(child.KeyText());
        protocol::Value value;
        if (setting != nullptr &&
            ReadVordal(action.got.FindValue(AttributeKey(child.KeyText())), setting->Key().kind, value)) {
            has.settings.push_back({std::wstring(child.KeyText()), std::move(value),
                                    std::string(protocol::UnitText(setting->Key().unit))});
        }
    }
    return has;
}

} // namespace

void PresetLoads::Load(CDataId const& sonar, Preset const& preset, Keys const& keys, Done done)
{
    PresetLoadOutcome outcome;
    if (!IsThere(sonar)) {
        outcome.result = Result::NotSent;
        outcome.reason = "the sonar is not there any more";
        done(outcome);
        return;
    }
    auto const now = TreeOf(sonar);
    auto const request = PresetTable::ForSonar(now, preset).Request([&](PresetRow const& row) {
        return row.state == RowState::Different && keys.contains(row.key);
    });
    if (request.Count() == 0) {
        outcome.has = TakePreset(now, {.name = "now"});
        done(outcome);
        return;
    }
    m_awaited.push_back({sonar, request, std::move(done)});
    CAttributeMap tree;
    *tree.Add(vordal::keys::Request) = request;
    vordal::OriginScope const scope(vordal::RequestOrigin::Preset);
    DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
}

void PresetLoads::OnActionBegins(Action const& action)
{
    if (action.who != vordal::RequestOrigin::Preset) {
        return;
    }
    auto const found = std::find_if(m_awaited.begin(), m_awaited.end(), [&](Awaited const& each) {
        return each.number == 0 && each.sonar == action.sonar && vordal::TreesEqual(each.request, action.asked);
    });
    if (found != m_awaited.end()) {
        found->number = action.number;
    }
}

void PresetLoads::OnActionStands(Action const& action)
{
    auto const found = std::find_if(m_awaited.begin(), m_awaited.end(),
                                    [&](Awaited const& each) { return each.number == action.number; });
    if (found != m_awaited.end()) {
        // The device's tree gets the answer after those who listen.
        found->standing = action;
    }
}

void PresetLoads::Tick()
{
    auto const isOver = [](Awaited const& each) {
        return each.standing.has_value() || (each.number == 0 && !IsThere(each.sonar));
    };
    auto const waiting = std::stable_partition(m_awaited.begin(), m_awaited.end(), std::not_fn(isOver));
    // Whoever is told may load the next one.
    std::vector<Awaited> const over(std::make_move_iterator(waiting), std::make_move_iterator(m_awaited.end()));
    m_awaited.erase(waiting, m_awaited.end());
    for (Awaited const& each : over) {
        PresetLoadOutcome outcome;
        outcome.asked = each.request;
        if (each.standing) {
            outcome.result = each.standing->result;
            outcome.reason = each.standing->reason;
            outcome.has = SettingsAfter(*each.standing);
        } else {
            outcome.result = Result::NotSent;
            outcome.reason = "the sonar is not there any more";
        }
        each.done(outcome);
    }
}

} // namespace qx5::operation
