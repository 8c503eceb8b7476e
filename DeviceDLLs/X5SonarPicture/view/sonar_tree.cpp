// Settings and limits out of a tree, and requests into one.
#include "sonar_tree.h"

#include <HalvaneX5InterfaceR/X5Keys.h>

#include <algorithm>
#include <cmath>

namespace picture {

namespace {

std::optional<double> NumberIn(CAttributeMap const& tree, AttributeKey const& key)
{
    double value = 0.0;
    return tree.FindValue(key).Get(value) && std::isfinite(value) ? std::optional(value) : std::nullopt;
}

bool IsOn(CAttributeMap const& tree, AttributeKey const& key, bool otherwise = false)
{
    bool value = otherwise;
    tree.FindValue(key).Get(value);
    return value;
}

int IndexIn(CAttributeMap const& tree, AttributeKey const& key)
{
    int value = 0;
    tree.FindValue(key).Get(value);
    return value;
}

std::optional<Gate> GateIn(CAttributeMap const& tree, AttributeKey const& least, AttributeKey const& greatest,
                           AttributeKey const& acts)
{
    auto const from = NumberIn(tree, least);
    auto const to = NumberIn(tree, greatest);
    return from && to ? std::optional(Gate{*from, *to, IsOn(tree, acts)}) : std::nullopt;
}

/// The branch at that index, otherwise the first.
CAttributeMap const& BranchAt(CAttributeMap const& tree, AttributeKey const& key, int index)
{
    return tree.Find(key, tree.Has(key, index) ? index : 0);
}

AttributeKey const& KeyOf(Setting setting)
{
    switch (setting) {
    case Setting::Range:
        return X5Keys::x5Range;
    case Setting::Coverage:
        return X5Keys::x5CoverageAngle;
    case Setting::Steering:
        return X5Keys::x5RxSteeringAngle;
    case Setting::FanTilt:
        return X5Keys::x5BeamSteer;
    case Setting::MinRangeGate:
        return X5Keys::x5MinRangeGate;
    case Setting::MaxRangeGate:
        return X5Keys::x5MaxRangeGate;
    case Setting::MinDepthGate:
        return X5Keys::x5MinDepthGate;
    case Setting::MaxDepthGate:
        return X5Keys::x5MaxDepthGate;
    case Setting::DepthGateTilt:
        return X5Keys::x5DepthGateTilt;
    case Setting::MinSearch:
        return X5Keys::x5AGSearchMin;
    case Setting::MaxSearch:
        break;
    }
    return X5Keys::x5AGSearchMax;
}

} // namespace

std::vector<CString> FollowedKeys()
{
    using namespace X5Keys;
    std::vector<CString> keys;
    for (AttributeKey const& key : {x5Range,
                                    x5CoverageAngle,
                                    x5RxSteeringAngle,
                                    x5ProjBeamAngleVer,
                                    x5ProjBeamAngleHor,
                                    GUIMinAngle,
                                    GUIMaxAngle,
                                    x5RangeFilterEnabled,
                                    x5MinRangeGate,
                                    x5MaxRangeGate,
                                    x5DepthFilterEnabled,
                                    x5MinDepthGate,
                                    x5MaxDepthGate,
                                    x5DepthGateTilt,
                                    x5AdaptiveGateEnabled,
                                    x5AGSearchMin,
                                    x5AGSearchMax,
                                    DeviceEnum,
                                    x5SonarSettings,
                                    x5SampleRateSelection}) {
        keys.push_back(key.ToString());
    }
    return keys;
}

FanSettings ReadSettings(CAttributeMap const& tree)
{
    using namespace X5Keys;
    FanSettings settings;
    settings.range = NumberIn(tree, x5Range);
    settings.coverage = NumberIn(tree, x5CoverageAngle);
    settings.steering = NumberIn(tree, x5RxSteeringAngle);
    settings.fanTilt = NumberIn(tree, x5ProjBeamAngleVer);
    settings.fanTurn = NumberIn(tree, x5ProjBeamAngleHor).value_or(0.0);
    settings.rangeGate = GateIn(tree, x5MinRangeGate, x5MaxRangeGate, x5RangeFilterEnabled);
    settings.depthGate = GateIn(tree, x5MinDepthGate, x5MaxDepthGate, x5DepthFilterEnabled);
    settings.depthGateTilt = NumberIn(tree, x5DepthGateTilt).value_or(0.0);
    settings.search = GateIn(tree, x5AGSearchMin, x5AGSearchMax, x5AdaptiveGateEnabled);
    return settings;
}

FanLimits ReadLimits(CAttributeMap const& tree)
{
    using namespace X5Keys;
    FanLimits limits;
    limits.leastAngle = NumberIn(tree, GUIMinAngle).value_or(limits.leastAngle);
    limits.greatestAngle = NumberIn(tree, GUIMaxAngle).value_or(limits.greatestAngle);
    CAttributeMap const& mode = BranchAt(tree, x5SonarSettings, IndexIn(tree, DeviceEnum));
    CAttributeMap const& rate = BranchAt(mode, x5SampleRateSet, IndexIn(tree, x5SampleRateSelection));
    rate.FindValue(x5RangeSet).Get(limits.ranges);
    std::erase_if(limits.ranges, [](double range) { return !std::isfinite(range) || range <= 0.0; });
    std::sort(limits.ranges.begin(), limits.ranges.end());
    limits.greatestRange = NumberIn(rate.Find(x5Range), x5Max).value_or(0.0);
    limits.leastTilt = NumberIn(mode.Find(x5BeamSteer), x5MinX).value_or(0.0);
    limits.greatestTilt = NumberIn(mode.Find(x5BeamSteer), x5MaxX).value_or(0.0);
    auto const gate = [&](AttributeKey const& key) {
        CAttributeMap const& branch = mode.Find(key);
        return GateLimits{NumberIn(branch, x5MinValue).value_or(0.0), NumberIn(branch, x5MinWindow).value_or(0.0)};
    };
    limits.rangeGate = gate(x5RangeGate);
    limits.depthGate = gate(x5DepthGate);
    limits.search = gate(x5NadirGate);
    return limits;
}

CAttributeMap RequestOf(std::span<Wish const> wishes)
{
    CAttributeMap tree;
    CAttributeMap& request = *tree.Add(X5Keys::Request);
    for (Wish const& wish : wishes) {
        if (wish.setting == Setting::FanTilt) {
            request.Add(KeyOf(wish.setting), CVordalDouble2D(wish.value, wish.second));
        } else {
            request.Add(KeyOf(wish.setting), CVordalDouble(wish.value));
        }
    }
    return tree;
}

} // namespace picture
