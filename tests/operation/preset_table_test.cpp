// What a preset would change at a sonar: states by hand from what the sonar tells, and the request that comes of it.
#include "operation/preset_table.h"

#include <values/vordal_value.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

namespace qx5::operation {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Doubles = std::vector<double>;

constexpr double noNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double endless = std::numeric_limits<double>::infinity();

AttributeKey Key(std::wstring_view text)
{
    return AttributeKey(text);
}

CAttributeMap& Branch(CAttributeMap& parent, std::wstring_view key)
{
    return *parent.Add(Key(key));
}

void AddMinMax(CAttributeMap& parent, std::wstring_view key, double least, double greatest)
{
    auto& branch = Branch(parent, key);
    AddValue(branch, Key(L"x5Min"), least);
    AddValue(branch, Key(L"x5Max"), greatest);
}

/// One operation mode, with the limits that a sonar tells of it.
void AddMode(CAttributeMap& tree, double greatestRange, double greatestPower)
{
    auto& mode = Branch(tree, L"x5SonarSettings");
    for (double const share : {1.0, 0.5}) {
        auto& rate = Branch(mode, L"x5SampleRateSet");
        AddMinMax(rate, L"x5Range", 5.0, greatestRange * share);
    }
    for (auto const& lengths : {Doubles{33e-6, 300e-6}, Doubles{300e-6, 20e-3}}) {
        AddValue(Branch(mode, L"x5PulseLengthSet"), Key(L"x5PulseLengthValues"), lengths);
    }
    AddMinMax(mode, L"x5Power", 170.0, greatestPower);
    AddMinMax(mode, L"x5SoundVelocity", 1350.0, 1650.0);
    AddMinMax(mode, L"x5PingRate", 0.0, 50.0);
    AddMinMax(mode, L"x5Frequency", 190e3, 220e3);
    AddMinMax(mode, L"x5Gain", 0.0, 83.0);
    auto& fixedGain = Branch(*mode.GetAttrMap(Key(L"x5Gain")), L"x5Fixed");
    AddValue(fixedGain, Key(L"x5Min"), 0.0);
    AddValue(fixedGain, Key(L"x5Max"), 40.0);
    auto& widths = Branch(mode, L"x5BeamWidthSetX");
    AddValue(widths, Key(L"x5Variable"), true);
    AddValue(widths, Key(L"x5BeamWidthList"), Doubles{1.0, 2.0, 4.0});
    auto& steer = Branch(mode, L"x5BeamSteer");
    AddValue(steer, Key(L"x5MinX"), -10.0);
    AddValue(steer, Key(L"x5MaxX"), 10.0);
    AddValue(steer, Key(L"x5MinZ"), 0.0);
    AddValue(steer, Key(L"x5MaxZ"), 0.0);
    AddValue(mode, Key(L"MaxAbsorption"), 120.0);
    AddValue(mode, Key(L"MaxSpreading"), 60.0);
    AddValue(Branch(mode, L"x5RangeGate"), Key(L"x5MinValue"), 0.5);
}

/// A sonar of two modes, in the first.
CAttributeMap SonarTree()
{
    CAttributeMap tree;
    AddMode(tree, 500.0, 220.0);
    AddMode(tree, 200.0, 210.0);
    for (std::wstring_view const mode : {L"Equi-angle", L"Equi-distant"}) {
        AddValue(tree, Key(L"x5BeamModes"), std::wstring(mode));
    }
    AddValue(tree, Key(L"DeviceEnum"), std::int32_t{0});
    AddValue(tree, Key(L"x5EnumIsFixed"), false);
    AddValue(tree, Key(L"x5SampleRateSelection"), std::int32_t{0});
    AddValue(tree, Key(L"x5PulseType"), std::int32_t{0});
    AddValue(tree, Key(L"x5GainMode"), std::int32_t{0});
    AddValue(tree, Key(L"x5Range"), 100.0);
    AddValue(tree, Key(L"x5Power"), 190.0);
    AddValue(tree, Key(L"x5Gain"), 20.0);
    AddValue(tree, Key(L"x5MaxPingRate"), 10.0);
    AddValue(tree, Key(L"x5PulseLength"), 100e-6);
    AddValue(tree, Key(L"x5BeamWidthX"), 2.0);
    AddValue(tree, Key(L"x5BeamSteer"), std::pair(0.0, 0.0));
    AddValue(tree, Key(L"x5SoundVelocity"), 1500.0);
    AddValue(tree, Key(L"x5Absorption"), 70.0);
    AddValue(tree, Key(L"x5SpreadingLoss"), 30.0);
    AddValue(tree, Key(L"x5CenterFrequency"), 200e3);
    AddValue(tree, Key(L"x5MinRangeGate"), 1.0);
    AddValue(tree, Key(L"x5BeamModeSelection"), std::int32_t{0});
    AddValue(tree, Key(L"x5DepthFilterEnabled"), false);
    AddValue(tree, Key(L"x5PingOnOffState"), std::int32_t{0});
    AddValue(tree, Key(L"x5StorageFileNamePrefix"), std::wstring(L"a"));
    AddValue(tree, Key(L"x5StorageFileNamePostfix"), std::wstring(L"b"));
    return tree;
}

Preset PresetOf(std::initializer_list<std::pair<std::wstring_view, protocol::Value>> values)
{
    Preset preset{"p", "", "", "", {}};
    for (auto const& [key, value] : values) {
        preset.settings.push_back({std::wstring(key), value, ""});
    }
    return preset;
}

/// The state of the one value at the sonar above.
RowState StateOf(std::wstring_view key, protocol::Value const& value)
{
    auto const table = PresetTable::ForSonar(SonarTree(), PresetOf({{key, value}}));
    EXPECT_EQ(table.Rows().size(), 1U);
    return table.Rows().front().state;
}

std::vector<std::string> States(PresetTable const& table)
{
    std::vector<std::string> states;
    for (PresetRow const& row : table.Rows()) {
        states.push_back(std::string(row.key.begin(), row.key.end()) + " " + std::string(NameOf(row.state)));
    }
    return states;
}

bool Always(PresetRow const&)
{
    return true;
}

std::vector<std::string> KeysOf(CAttributeMap const& tree)
{
    std::vector<std::string> keys;
    for (CAttributeMap const& child : tree) {
        keys.emplace_back(child.KeyText().begin(), child.KeyText().end());
    }
    return keys;
}

TEST(PresetTable, TellsHowEachValueStands)
{
    auto const table = PresetTable::ForSonar(SonarTree(), PresetOf({{L"x5Range", 50.0},
                                                                    {L"x5Power", 190.0},
                                                                    {L"x5Gain", 84.0},
                                                                    {L"later", 1.0},
                                                                    {L"x5PingOnOffState", std::int32_t{1}},
                                                                    {L"x5CoverageAngle", 140.0}}));
    EXPECT_THAT(States(table), ElementsAre("x5Range different", "x5Power equal", "x5Gain beyond", "later unknown",
                                           "x5PingOnOffState unknown", "x5CoverageAngle missing"));
    EXPECT_EQ(table.Rows()[0].now, protocol::Value(100.0));
    EXPECT_EQ(table.Rows()[0].then, protocol::Value(50.0));
    EXPECT_TRUE(protocol::IsEmpty(table.Rows()[5].now));
    EXPECT_EQ(table.Count(RowState::Different), 1U);
    EXPECT_EQ(table.Count(RowState::Equal), 1U);
    EXPECT_EQ(table.Count(RowState::Beyond), 1U);
    EXPECT_EQ(table.Count(RowState::Unknown), 2U);
    EXPECT_EQ(table.Count(RowState::Missing), 1U);
}

TEST(PresetTable, SaysWhyARowCannotBeTickedAndCountsInOneLine)
{
    auto const table = PresetTable::ForSonar(SonarTree(), PresetOf({{L"x5Range", 50.0},
                                                                    {L"x5Power", 190.0},
                                                                    {L"x5Gain", 84.0},
                                                                    {L"x5SoundVelocity", noNumber},
                                                                    {L"later", 1.0},
                                                                    {L"x5CoverageAngle", 140.0}}));
    std::vector<std::string> why;
    for (PresetRow const& row : table.Rows()) {
        why.emplace_back(WhyNotTicked(row));
    }
    EXPECT_THAT(why, ElementsAre("", "", "the sonar does not take this value", "this is no finite number",
                                 "no setting that this program knows", "the sonar tells none"));
    EXPECT_EQ(table.CountsText(), "1 equal, 1 different, 2 beyond, 1 unknown, 1 missing");
    EXPECT_FALSE(table.IsAsPreset());
    EXPECT_FALSE(table.IsSameOnBothSides());
    EXPECT_TRUE(PresetTable::ForSonar(SonarTree(), PresetOf({{L"x5Power", 190.0}, {L"later", 1.0}})).IsAsPreset());
    EXPECT_EQ(WhyNotTicked(PresetTable::Between(PresetOf({{L"x5Range", 50.0}}), PresetOf({})).Rows()[0]),
              "the preset has none");
}

TEST(PresetTable, WhatTheWireTakesIsNoDifference)
{
    EXPECT_EQ(StateOf(L"x5Range", double{100.00001F}), RowState::Equal);
    EXPECT_EQ(StateOf(L"x5Range", 100.001), RowState::Different);
    EXPECT_EQ(StateOf(L"x5BeamSteer", std::pair(0.0, 0.0)), RowState::Equal);
    EXPECT_EQ(StateOf(L"x5BeamSteer", std::pair(1.0, 0.0)), RowState::Different);
    EXPECT_EQ(StateOf(L"x5DepthFilterEnabled", true), RowState::Different);
    EXPECT_EQ(StateOf(L"x5StorageFileNamePrefix", std::wstring(L"A")), RowState::Different);
}

TEST(PresetTable, KnowsTheLimitsThatTheSonarTells)
{
    struct Case
    {
        wchar_t const* key;
        protocol::Value within;
        protocol::Value beyond;
    };
    std::vector<Case> const cases{
        {L"x5Range", 500.0, 500.1},
        {L"x5Range", 5.0, 4.9},
        {L"x5Power", 220.0, 220.1},
        {L"x5Power", 0.0, 1.0}, // 0 is off
        {L"x5Gain", 83.0, -0.1},
        {L"x5MaxPingRate", 50.0, 51.0},
        {L"x5PulseLength", 300e-6, 301e-6},
        {L"x5PulseLength", 33e-6, 32e-6},
        {L"x5BeamWidthX", 4.0, 4.1},
        {L"x5BeamSteer", std::pair(-10.0, 0.0), std::pair(0.0, 1.0)},
        {L"x5BeamSteer", std::pair(10.0, 0.0), std::pair(-10.1, 0.0)},
        {L"x5SoundVelocity", 1350.0, 1349.0},
        {L"x5Absorption", 120.0, 121.0},
        {L"x5Absorption", 0.0, -1.0},
        {L"x5SpreadingLoss", 60.0, 61.0},
        {L"x5CenterFrequency", 220e3, 221e3},
        {L"x5MinRangeGate", 0.5, 0.4},
        {L"DeviceEnum", std::int32_t{1}, std::int32_t{2}},
        {L"x5SampleRateSelection", std::int32_t{1}, std::int32_t{-1}},
        {L"x5PulseType", std::int32_t{1}, std::int32_t{2}},
        {L"x5BeamModeSelection", std::int32_t{1}, std::int32_t{2}},
    };
    for (Case const& each : cases) {
        std::wstring const key = each.key;
        EXPECT_EQ(StateOf(key, each.within), RowState::Different) << std::string(key.begin(), key.end());
        EXPECT_EQ(StateOf(key, each.beyond), RowState::Beyond) << std::string(key.begin(), key.end());
    }
    // On the limit once it has passed the wire.
    EXPECT_EQ(StateOf(L"x5PulseLength", double{300e-6F}), RowState::Different);
}

TEST(PresetTable, TakesTheLimitsOfWhatThePresetAsksFor)
{
    auto const state = [](std::initializer_list<std::pair<std::wstring_view, protocol::Value>> values) {
        return PresetTable::ForSonar(SonarTree(), PresetOf(values)).Rows().front().state;
    };
    EXPECT_EQ(state({{L"x5Range", 300.0}}), RowState::Different);
    EXPECT_EQ(state({{L"x5Range", 300.0}, {L"DeviceEnum", std::int32_t{1}}}), RowState::Beyond);
    EXPECT_EQ(state({{L"x5Range", 300.0}, {L"DeviceEnum", std::int32_t{7}}}), RowState::Different); // no such mode
    EXPECT_EQ(state({{L"x5Range", 300.0}, {L"x5SampleRateSelection", std::int32_t{1}}}), RowState::Beyond);
    EXPECT_EQ(state({{L"x5PulseLength", 5e-3}}), RowState::Beyond);
    EXPECT_EQ(state({{L"x5PulseLength", 5e-3}, {L"x5PulseType", std::int32_t{1}}}), RowState::Different);
    EXPECT_EQ(state({{L"x5Gain", 60.0}}), RowState::Different);
    EXPECT_EQ(state({{L"x5Gain", 60.0}, {L"x5GainMode", std::int32_t{2}}}), RowState::Beyond);
}

TEST(PresetTable, ASonarThatTellsNoLimitsRefusesNoNumber)
{
    CAttributeMap tree;
    AddValue(tree, Key(L"x5Range"), 100.0);
    AddValue(tree, Key(L"DeviceEnum"), std::int32_t{0});
    auto const table = PresetTable::ForSonar(tree, PresetOf({{L"x5Range", 1e9}, {L"DeviceEnum", std::int32_t{3}}}));
    EXPECT_THAT(States(table), ElementsAre("x5Range different", "DeviceEnum different"));
    EXPECT_EQ(PresetTable::ForSonar(tree, PresetOf({{L"x5Range", endless}})).Rows().front().state, RowState::Beyond);
}

TEST(PresetTable, AFixedOperationModeCannotBeChanged)
{
    auto tree = SonarTree();
    tree.Remove(Key(L"x5EnumIsFixed"));
    AddValue(tree, Key(L"x5EnumIsFixed"), true);
    auto const state = [&](int mode) {
        return PresetTable::ForSonar(tree, PresetOf({{L"DeviceEnum", std::int32_t{mode}}})).Rows().front().state;
    };
    EXPECT_EQ(state(1), RowState::Beyond);
    EXPECT_EQ(state(0), RowState::Equal);
}

TEST(PresetTable, AsksForWhatIsTickedAndCanBeAsked)
{
    auto const table = PresetTable::ForSonar(SonarTree(), PresetOf({{L"x5Range", 50.0},
                                                                    {L"x5Power", 190.0},                    // equal
                                                                    {L"x5Gain", 84.0},                      // beyond
                                                                    {L"x5MaxPingRate", endless},            // no number
                                                                    {L"later", 1.0},                        // unknown
                                                                    {L"x5PingOnOffState", std::int32_t{1}}, // an act
                                                                    {L"x5CoverageAngle", 140.0},            // missing
                                                                    {L"x5DepthFilterEnabled", true}}));
    auto const request = table.Request(Always);
    EXPECT_THAT(KeysOf(request), ElementsAre("x5Range", "x5Gain", "x5DepthFilterEnabled"));
    double range = 0.0;
    EXPECT_TRUE(request.FindValue(Key(L"x5Range")).Get(range));
    EXPECT_EQ(range, 50.0);
    bool isEnabled = false;
    EXPECT_TRUE(request.FindValue(Key(L"x5DepthFilterEnabled")).Get(isEnabled));
    EXPECT_TRUE(isEnabled);
    EXPECT_THAT(KeysOf(table.Request([](PresetRow const& row) { return row.state == RowState::Different; })),
                ElementsAre("x5Range", "x5DepthFilterEnabled"));
    EXPECT_THAT(KeysOf(table.Request([](PresetRow const&) { return false; })), IsEmpty());
}

TEST(PresetTable, SendsWhatACommandNeedsBeside)
{
    auto const text = [](CAttributeMap const& request, std::wstring_view key) {
        CString value;
        request.FindValue(Key(key)).Get(value);
        return std::wstring(value.View());
    };
    // Both parts of the name go out or none.
    auto const one = PresetTable::ForSonar(SonarTree(), PresetOf({{L"x5StorageFileNamePrefix", std::wstring(L"new")}}))
                         .Request(Always);
    EXPECT_EQ(text(one, L"x5StorageFileNamePrefix"), L"new");
    EXPECT_EQ(text(one, L"x5StorageFileNamePostfix"), L"b");
    // One that was not ticked stays as the sonar has it.
    auto const half =
        PresetTable::ForSonar(SonarTree(), PresetOf({{L"x5StorageFileNamePrefix", std::wstring(L"new")},
                                                     {L"x5StorageFileNamePostfix", std::wstring(L"new")}}))
            .Request([](PresetRow const& row) { return row.key == L"x5StorageFileNamePrefix"; });
    EXPECT_EQ(text(half, L"x5StorageFileNamePrefix"), L"new");
    EXPECT_EQ(text(half, L"x5StorageFileNamePostfix"), L"b");
}

TEST(PresetTable, KeepsOnlyTheRowsNamed)
{
    auto table = PresetTable::ForSonar(
        SonarTree(), PresetOf({{L"x5Range", 50.0}, {L"x5Power", 180.0}, {L"x5CoverageAngle", 140.0}}));
    EXPECT_THAT(table.KeepOnly({L"x5Power", L"x5Gain"}), ElementsAre(L"x5Gain"));
    EXPECT_THAT(States(table), ElementsAre("x5Power different"));
    EXPECT_THAT(KeysOf(table.Request(Always)), ElementsAre("x5Power"));
}

TEST(PresetTable, ComparesTwoPresetsBothWays)
{
    auto const now = PresetOf({{L"x5Range", 50.0}, {L"x5Power", 180.0}, {L"x5Gain", 3.0}, {L"odd", 1.0}});
    auto const then = PresetOf({{L"x5Gain", 4.0}, {L"x5Range", 50.0}, {L"x5MaxPingRate", 900.0}, {L"odd", 1.0}});
    auto const table = PresetTable::Between(now, then);
    EXPECT_THAT(States(table), ElementsAre("x5Gain different", "x5Range equal", "x5MaxPingRate missing", "odd unknown",
                                           "x5Power missing"));
    EXPECT_TRUE(protocol::IsEmpty(table.Rows()[2].now));
    EXPECT_TRUE(protocol::IsEmpty(table.Rows()[4].then));
}

TEST(PresetTable, OfTenThousandKeysIsReadQuickly)
{
    Preset many{"many", "", "", "", {}};
    for (int i = 0; i < 10000; ++i) {
        many.settings.push_back({L"later" + std::to_wstring(i), 1.0, ""});
    }
    auto const table = PresetTable::ForSonar(SonarTree(), many);
    EXPECT_EQ(table.Count(RowState::Unknown), 10000U);
    EXPECT_THAT(KeysOf(table.Request(Always)), IsEmpty());
}

} // namespace
} // namespace qx5::operation
