// Which values the simulated sonar takes, and the limits that it brings them into.
#include <simulator/admission.h>

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace qx5::simulator {

namespace keys = protocol::keys;
using protocol::Key;
using protocol::Value;

namespace {

bool HoldsNan(Value const& value)
{
    return std::visit(
        [](auto const& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, double>) {
                return std::isnan(held);
            } else if constexpr (std::is_same_v<Held, std::pair<double, double>>) {
                return std::isnan(held.first) || std::isnan(held.second);
            } else if constexpr (std::is_same_v<Held, std::vector<double>> ||
                                 std::is_same_v<Held, std::array<double, 3>>) {
                return std::any_of(held.begin(), held.end(), [](double number) { return std::isnan(number); });
            } else {
                return false;
            }
        },
        value);
}

bool Clamp(Value& value, Limits limits)
{
    auto* const number = std::get_if<double>(&value);
    if (number == nullptr) {
        return false;
    }
    *number = std::clamp(*number, limits.least, limits.greatest);
    return true;
}

bool IsIndex(Value const& value, std::size_t count)
{
    auto const* const number = std::get_if<std::int32_t>(&value);
    return number != nullptr && *number >= 0 && static_cast<std::size_t>(*number) < count;
}

} // namespace

bool Admit(SonarState const& sonar, Key const& key, Value& value)
{
    if (HoldsNan(value)) {
        return false;
    }
    if (&key == &keys::DeviceEnum) {
        return sonar.Heads() == 1 && IsIndex(value, model::Modes.size());
    }
    if (&key == &keys::x5SampleRateSelection) {
        return IsIndex(value, sonar.Mode().sampleRates.size());
    }
    if (&key == &keys::x5PulseType) {
        return IsIndex(value, sonar.Mode().pulseLengths.size());
    }
    if (&key == &keys::x5BeamModeSelection) {
        return IsIndex(value, model::BeamModes.size());
    }
    if (&key == &keys::DeviceId || &key == &keys::x5PulseLengthValues) {
        return false;
    }
    if (&key == &keys::x5Range) {
        auto const selection = static_cast<std::size_t>(sonar.IntOf(keys::x5SampleRateSelection));
        return Clamp(value, LimitsOf(sonar.Mode().sampleRates[selection].ranges));
    }
    if (&key == &keys::x5Power) {
        auto const* const power = std::get_if<double>(&value);
        return power != nullptr && (*power == 0.0 || Clamp(value, sonar.Mode().power));
    }
    if (&key == &keys::x5Gain) {
        return Clamp(value, sonar.IntOf(keys::x5GainMode) == 2 ? sonar.Mode().fixedGain : sonar.Mode().gain);
    }
    if (&key == &keys::x5MaxPingRate) {
        return Clamp(value, sonar.Mode().pingRate);
    }
    if (&key == &keys::x5PulseLength) {
        return Clamp(value, LimitsOf(sonar.PulseLengths()));
    }
    if (&key == &keys::x5SoundVelocity) {
        return Clamp(value, model::SoundVelocity);
    }
    if (&key == &keys::x5CenterFrequency) {
        return Clamp(value, sonar.Mode().frequency);
    }
    if (&key == &keys::x5Absorption) {
        return Clamp(value, {0.0, sonar.Mode().greatestAbsorption});
    }
    if (&key == &keys::x5SpreadingLoss) {
        return Clamp(value, {0.0, sonar.Mode().greatestSpreading});
    }
    return true;
}

} // namespace qx5::simulator
