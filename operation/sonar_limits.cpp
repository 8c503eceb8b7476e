// The limits as the sonar's settings tell them.
#include "sonar_limits.h"

#include "same_value.h"

#include <commands/attribute_at.h>
#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace qx5::operation {

namespace {

namespace keys = protocol::keys;
using protocol::Key;
using protocol::Value;

/// A value of x5GainMode: the gain does not vary with time.
constexpr int fixedGain = 2;

std::optional<double> Number(CAttributeMap const& branch, Key const& key)
{
    double number = 0.0;
    return branch.FindValue(AttributeKey(key.text)).Get(number) ? std::optional(number) : std::nullopt;
}

int Integer(CAttributeMap const& asked, CAttributeMap const& tree, AttributeKey const& key)
{
    int number = 0;
    if (!asked.FindValue(key).Get(number)) {
        tree.FindValue(key).Get(number);
    }
    return number;
}

LimitRange MinMax(CAttributeMap const& branch)
{
    return {Number(branch, keys::x5Min), Number(branch, keys::x5Max)};
}

/// Of ascending values to choose from.
LimitRange FirstToLast(CAttributeMap const& branch, Key const& list)
{
    std::vector<double> values;
    if (!branch.FindValue(AttributeKey(list.text)).Get(values) || values.empty()) {
        return {};
    }
    return {values.front(), values.back()};
}

/// Of the number of one of so many; of none told any is as good.
LimitRange OneOf(int count)
{
    return count > 0 ? LimitRange{0.0, count - 1.0} : LimitRange{};
}

/// Where a key's limits stand in the settings of an operation mode.
struct LimitRow
{
    enum class Form
    {
        MinMax,   ///< x5Min and x5Max of the branch
        OrOff,    ///< the same, or 0
        UpTo,     ///< from 0 to the number of that key
        Widths,   ///< the list of the branch, where it can be chosen from
        LeastGate ///< x5MinValue of the branch
    };
    Key const* key;
    Form form;
    Key const* where;
};

constexpr LimitRow limitRows[]{
    {&keys::x5Power, LimitRow::Form::OrOff, &keys::x5Power},
    {&keys::x5MaxPingRate, LimitRow::Form::MinMax, &keys::x5PingRate},
    {&keys::x5CenterFrequency, LimitRow::Form::MinMax, &keys::x5Frequency},
    {&keys::x5SoundVelocity, LimitRow::Form::MinMax, &keys::x5SoundVelocity},
    {&keys::x5Absorption, LimitRow::Form::UpTo, &keys::MaxAbsorption},
    {&keys::x5SpreadingLoss, LimitRow::Form::UpTo, &keys::MaxSpreading},
    {&keys::x5BeamWidthX, LimitRow::Form::Widths, &keys::x5BeamWidthSetX},
    {&keys::x5BeamWidthZ, LimitRow::Form::Widths, &keys::x5BeamWidthSetZ},
    {&keys::x5MinRangeGate, LimitRow::Form::LeastGate, &keys::x5RangeGate},
    {&keys::x5MinDepthGate, LimitRow::Form::LeastGate, &keys::x5DepthGate},
    {&keys::x5AGSearchMin, LimitRow::Form::LeastGate, &keys::x5NadirGate},
};

LimitRow const* FindRow(Key const& key)
{
    auto const* const row = std::find_if(std::begin(limitRows), std::end(limitRows),
                                         [&](LimitRow const& each) { return each.key == &key; });
    return row != std::end(limitRows) ? row : nullptr;
}

LimitRange RangeOfRow(LimitRow const& row, CAttributeMap const& settings)
{
    CAttributeMap const& branch = settings.Find(AttributeKey(row.where->text));
    switch (row.form) {
    case LimitRow::Form::MinMax:
    case LimitRow::Form::OrOff:
        return MinMax(branch);
    case LimitRow::Form::UpTo: {
        auto const greatest = Number(settings, *row.where);
        return greatest ? LimitRange{0.0, greatest} : LimitRange{};
    }
    case LimitRow::Form::Widths: {
        bool isVariable = false;
        branch.FindValue(At<keys::x5Variable>).Get(isVariable);
        return isVariable ? FirstToLast(branch, keys::x5BeamWidthList) : LimitRange{};
    }
    case LimitRow::Form::LeastGate:
        return {Number(branch, keys::x5MinValue), std::nullopt};
    }
    return {};
}

/// Those whose limits stand elsewhere than a row can tell.
constexpr Key const* otherLimits[]{
    &keys::x5BeamSteer,         &keys::DeviceEnum, &keys::x5SampleRateSelection, &keys::x5PulseType,
    &keys::x5BeamModeSelection, &keys::x5Range,    &keys::x5PulseLength,         &keys::x5Gain};

bool IsFinite(Value const& value)
{
    return std::visit(
        [](auto const& held) {
            using Held = std::decay_t<decltype(held)>;
            auto const isFinite = [](double number) { return std::isfinite(number); };
            if constexpr (std::is_same_v<Held, double>) {
                return isFinite(held);
            } else if constexpr (std::is_same_v<Held, std::pair<double, double>>) {
                return isFinite(held.first) && isFinite(held.second);
            } else if constexpr (std::is_same_v<Held, std::vector<double>> ||
                                 std::is_same_v<Held, std::array<double, 3>>) {
                return std::all_of(held.begin(), held.end(), isFinite);
            } else {
                return true;
            }
        },
        value);
}

/// A single number of whatever kind.
std::optional<double> NumberOf(Value const& value)
{
    if (auto const* const integer = std::get_if<std::int32_t>(&value)) {
        return *integer;
    }
    auto const* const number = std::get_if<double>(&value);
    return number != nullptr ? std::optional(*number) : std::nullopt;
}

} // namespace

bool LimitRange::Has(double number) const
{
    return (!least || number >= *least || IsNear(number, *least)) &&
           (!greatest || number <= *greatest || IsNear(number, *greatest));
}

SonarLimits::SonarLimits(CAttributeMap const& tree, CAttributeMap const& asked)
    : m_tree(tree), m_sampleRate(Integer(asked, tree, At<keys::x5SampleRateSelection>)),
      m_pulseType(Integer(asked, tree, At<keys::x5PulseType>)),
      m_isGainFixed(Integer(asked, tree, At<keys::x5GainMode>) == fixedGain)
{
    auto const& key = At<keys::x5SonarSettings>;
    int mode = Integer(asked, tree, At<keys::DeviceEnum>);
    if (!tree.Has(key, mode)) {
        mode = Integer({}, tree, At<keys::DeviceEnum>);
    }
    m_settings = tree.Find(key, tree.Has(key, mode) ? mode : 0);
}

bool SonarLimits::IsBeyond(Key const& key, Value const& value) const
{
    if (!IsFinite(value)) {
        return true;
    }
    if (auto const* const pair = std::get_if<std::pair<double, double>>(&value)) {
        return !RangeOf(key, 0).Has(pair->first) || !RangeOf(key, 1).Has(pair->second);
    }
    auto const number = NumberOf(value);
    if (!number) {
        return false;
    }
    if (&key == &keys::DeviceEnum) {
        bool isFixed = false;
        m_tree.FindValue(At<keys::x5EnumIsFixed>).Get(isFixed);
        if (isFixed) {
            return true;
        }
    }
    auto const* const row = FindRow(key);
    bool const isOff = row != nullptr && row->form == LimitRow::Form::OrOff && *number == 0.0;
    return !isOff && !RangeOf(key).Has(*number);
}

LimitRange SonarLimits::RangeOf(Key const& key, std::size_t part) const
{
    if (&key == &keys::x5BeamSteer) {
        CAttributeMap const& steer = m_settings.Find(At<keys::x5BeamSteer>);
        return part == 0 ? LimitRange{Number(steer, keys::x5MinX), Number(steer, keys::x5MaxX)}
                         : LimitRange{Number(steer, keys::x5MinZ), Number(steer, keys::x5MaxZ)};
    }
    if (&key == &keys::DeviceEnum) {
        return OneOf(m_tree.Count(At<keys::x5SonarSettings>));
    }
    if (&key == &keys::x5SampleRateSelection) {
        return OneOf(m_settings.Count(At<keys::x5SampleRateSet>));
    }
    if (&key == &keys::x5PulseType) {
        return OneOf(m_settings.Count(At<keys::x5PulseLengthSet>));
    }
    if (&key == &keys::x5BeamModeSelection) {
        return OneOf(m_tree.Count(At<keys::x5BeamModes>));
    }
    if (&key == &keys::x5Range) {
        CAttributeMap const& rate = m_settings.Find(At<keys::x5SampleRateSet>, m_sampleRate);
        return MinMax(rate.Find(At<keys::x5Range>));
    }
    if (&key == &keys::x5PulseLength) {
        CAttributeMap const& lengths = m_settings.Find(At<keys::x5PulseLengthSet>, m_pulseType);
        return FirstToLast(lengths, keys::x5PulseLengthValues);
    }
    if (&key == &keys::x5Gain) {
        CAttributeMap const& gain = m_settings.Find(At<keys::x5Gain>);
        return MinMax(m_isGainFixed ? gain.Find(At<keys::x5Fixed>) : gain);
    }
    auto const* const row = FindRow(key);
    return row != nullptr ? RangeOfRow(*row, m_settings) : LimitRange{};
}

bool SonarLimits::HasLimits(Key const& key)
{
    return FindRow(key) != nullptr ||
           std::find(std::begin(otherLimits), std::end(otherLimits), &key) != std::end(otherLimits);
}

} // namespace qx5::operation
