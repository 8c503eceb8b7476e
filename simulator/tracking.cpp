// The tracker of the simulated sonar: what its switches and limits are, and how what it proposes becomes the sonar's
// own settings.
#include <simulator/tracking.h>

namespace qx5::simulator {

namespace keys = protocol::keys;

namespace {

constexpr std::int32_t trackerMode = 1; // of x5SystemMode
constexpr std::int32_t fixedGain = 2;

bool IsOn(SonarState const& sonar, protocol::Key const& key)
{
    auto const* const value = sonar.Find(key);
    auto const* const flag = value != nullptr ? std::get_if<bool>(value) : nullptr;
    return flag != nullptr && *flag;
}

acoustics::Interval IntervalOf(Limits limits)
{
    return {limits.least, limits.greatest};
}

} // namespace

std::optional<Tracking> TrackingOf(SonarState const& sonar)
{
    acoustics::TrackerSwitches const switches{
        .on = sonar.IntOf(keys::x5SystemMode) == trackerMode,
        .range = IsOn(sonar, keys::x5TrackerRangeEnabled),
        .powerAndGain = IsOn(sonar, keys::x5TrackerPowerGainEnabled),
        .pulseLength = IsOn(sonar, keys::x5TrackerPulseLengthEnabled),
        .coverage = IsOn(sonar, keys::x5TrackerCoverageAngleEnabled),
        .fixedSwath = IsOn(sonar, keys::x5TrackerFixedSwathEnabled),
        .swathWidth = sonar.DoubleOf(keys::x5TrackerFixedSwathWidth),
        .limitCoverage = IsOn(sonar, keys::x5TrackerLimitCoverage),
        .greatestCoverage = sonar.DoubleOf(keys::x5TrackerMaxCoverageAngle),
    };
    if (!switches.on || !(switches.range || switches.powerAndGain || switches.pulseLength || switches.coverage)) {
        return std::nullopt;
    }
    OperationMode const& mode = sonar.Mode();
    auto const ranges = mode.sampleRates[static_cast<std::size_t>(sonar.IntOf(keys::x5SampleRateSelection))].ranges;
    auto const pulseLengths = sonar.PulseLengths();
    acoustics::TrackerLimits limits;
    limits.ranges.assign(ranges.begin(), ranges.end());
    limits.pulseLengths.assign(pulseLengths.begin(), pulseLengths.end());
    limits.power = IntervalOf(mode.power);
    limits.gain = IntervalOf(sonar.IntOf(keys::x5GainMode) == fixedGain ? mode.fixedGain : mode.gain);
    limits.greatestAbsorption = mode.greatestAbsorption;
    limits.greatestSpreading = mode.greatestSpreading;
    return Tracking{switches, std::move(limits)};
}

bool TakeUp(acoustics::TrackedSettings const& proposed, acoustics::PingSettings const& settings, SonarState& sonar)
{
    bool isOther = false;
    auto const take = [&](protocol::Key const& key, double before, double now) {
        if (now != before && sonar.DoubleOf(key) == before) {
            sonar.SetOwn(key, now);
            isOther = true;
        }
    };
    if (TrackingOf(sonar)) {
        take(keys::x5Range, settings.range, proposed.range);
        if (settings.power > 0.0) {
            take(keys::x5Power, settings.power, proposed.power);
        }
        take(keys::x5Gain, settings.receiver.gain, proposed.gain);
        take(keys::x5Absorption, settings.receiver.absorption, proposed.absorption);
        take(keys::x5SpreadingLoss, settings.receiver.spreading, proposed.spreading);
        take(keys::x5PulseLength, settings.pulseLength, proposed.pulseLength);
        take(keys::x5CoverageAngle, settings.coverage, proposed.coverage);
    }
    return isOther;
}

} // namespace qx5::simulator
