// Attributes of the simulated sonar as settings of a ping.
#include <simulator/ping_settings_of.h>

#include <algorithm>
#include <array>
#include <cmath>

#include <protocol/numbers.h>
#include <simulator/acoustics/line_array.h>

namespace qx5::simulator {

namespace keys = protocol::keys;
using protocol::Key;

namespace {

constexpr std::int32_t sweptPulse = 1;
constexpr std::int32_t fixedGain = 2;
constexpr std::int32_t manualDepth = 1;
constexpr std::int32_t constantSpacing = 3; // of x5BeamSpacingMode
constexpr double nominalSoundSpeed = 1500.0;

constexpr auto readKeys = std::to_array<Key const*>({
    &keys::DeviceEnum,
    &keys::x5SampleRateSelection,
    &keys::x5Range,
    &keys::x5SoundVelocity,
    &keys::SystemDepthSource,
    &keys::SystemDepthManual,
    &keys::x5Power,
    &keys::x5CenterFrequency,
    &keys::x5PulseType,
    &keys::x5PulseLength,
    &keys::x5FMSweep,
    &keys::x5GainMode,
    &keys::x5Gain,
    &keys::x5SpreadingLoss,
    &keys::x5Absorption,
    &keys::x5CoverageAngle,
    &keys::x5RxSteeringAngle,
    &keys::x5BeamModeSelection,
    &keys::x5FlexSectorCoverage,
    &keys::x5FlexSectorSteering,
    &keys::x5FlexOutsideSpacing,
    &keys::x5ConstantSpacing,
    &keys::x5ConstantSpacingEnabled,
    &keys::x5ConstantSpacingReduceCoverage,
    &keys::x5BeamSpacingMode,
    &keys::x5CustomBeams,
    &keys::x5CustomBeamsEnabled,
    &keys::x5MinBeams,
    &keys::x5MaxBeams,
    &keys::x5BeamWidthX,
    &keys::x5BeamWidthZ,
    &keys::x5BeamSteer,
    &keys::x5ProjBeamAngleVer,
    &keys::x5ProjBeamAngleHor,
    &keys::x5MotionCompensationRoll,
    &keys::x5MotionCompensationPitch,
    &keys::x5RangeFilterEnabled,
    &keys::x5MinRangeGate,
    &keys::x5MaxRangeGate,
    &keys::x5DepthFilterEnabled,
    &keys::x5MinDepthGate,
    &keys::x5MaxDepthGate,
    &keys::x5DepthGateTilt,
    &keys::x5DepthFilterFollow,
    &keys::x5AdaptiveGateEnabled,
    &keys::x5AGDepthFilterEnabled,
    &keys::x5AGDepthFilterFixed,
    &keys::x5AGWindowSize,
    &keys::x5AGSearchMin,
    &keys::x5AGSearchMax,
    &keys::x5MultiDetectEnabled,
    &keys::x5MultiDetectObjectSize,
    &keys::x5MultiDetectSensitivity,
    &keys::x5MultiDetectMaxDetections,
});

bool FlagOf(SonarState const& sonar, Key const& key)
{
    auto const* const value = sonar.Find(key);
    auto const* const flag = value != nullptr ? std::get_if<bool>(value) : nullptr;
    return flag != nullptr && *flag;
}

int WholeOf(SonarState const& sonar, Key const& key)
{
    return protocol::TruncateToInt32(std::round(sonar.DoubleOf(key)));
}

/// What the receiving array makes of the frequency: degrees.
double ReceiveWidth(double frequency)
{
    auto const* const length =
        std::find_if(model::ArrayNumbers.begin(), model::ArrayNumbers.end(),
                     [](model::ArrayNumber const& number) { return number.key == &keys::x5MBesXYZLength; });
    double const wavelengths = length->values[1] * frequency / nominalSoundSpeed;
    auto const array = acoustics::LineArray::OfLength(wavelengths, acoustics::Taper::Hann);
    return array ? array->Width() : 0.0;
}

acoustics::BeamMode BeamModeOf(SonarState const& sonar)
{
    if (sonar.DoubleOf(keys::x5ConstantSpacing) > 0.0 || FlagOf(sonar, keys::x5ConstantSpacingEnabled) ||
        sonar.IntOf(keys::x5BeamSpacingMode) == constantSpacing) {
        return acoustics::BeamMode::ConstantSpacing;
    }
    return static_cast<acoustics::BeamMode>(sonar.IntOf(keys::x5BeamModeSelection)); // Admit lets no other in
}

int BeamsOf(SonarState const& sonar)
{
    auto const* const enabled = sonar.Find(keys::x5CustomBeamsEnabled);
    // The records do not carry the switch: without it the number tells.
    bool const isOff = enabled != nullptr && !FlagOf(sonar, keys::x5CustomBeamsEnabled);
    return isOff ? 0 : WholeOf(sonar, keys::x5CustomBeams);
}

acoustics::GateSettings GatesOf(SonarState const& sonar)
{
    return {
        .byRange = FlagOf(sonar, keys::x5RangeFilterEnabled),
        .range = {sonar.DoubleOf(keys::x5MinRangeGate), sonar.DoubleOf(keys::x5MaxRangeGate)},
        .byDepth = FlagOf(sonar, keys::x5DepthFilterEnabled),
        .depth = {sonar.DoubleOf(keys::x5MinDepthGate), sonar.DoubleOf(keys::x5MaxDepthGate)},
        .tilt = sonar.DoubleOf(keys::x5DepthGateTilt),
        .depthFollows = FlagOf(sonar, keys::x5DepthFilterFollow),
        .adaptive = FlagOf(sonar, keys::x5AdaptiveGateEnabled),
        .adaptiveFollows = !FlagOf(sonar, keys::x5AGDepthFilterFixed),
        .window = sonar.DoubleOf(keys::x5AGWindowSize),
        .searchLimited = FlagOf(sonar, keys::x5AGDepthFilterEnabled),
        .search = {sonar.DoubleOf(keys::x5AGSearchMin), sonar.DoubleOf(keys::x5AGSearchMax)},
    };
}

} // namespace

std::span<Key const* const> KeysOfPingSettings()
{
    return readKeys;
}

acoustics::PingSettings PingSettingsOf(SonarState const& sonar)
{
    auto const selection = static_cast<std::size_t>(sonar.IntOf(keys::x5SampleRateSelection));
    double const frequency = sonar.DoubleOf(keys::x5CenterFrequency);
    bool const sweeps = sonar.IntOf(keys::x5PulseType) == sweptPulse;
    acoustics::PingSettings settings;
    settings.range = sonar.DoubleOf(keys::x5Range);
    settings.sampleRate = sonar.Mode().sampleRates[selection].rate;
    settings.soundSpeed = sonar.DoubleOf(keys::x5SoundVelocity);
    settings.depth = sonar.DoubleOf(keys::SystemDepthManual);
    settings.depthIsFixed = sonar.IntOf(keys::SystemDepthSource) == manualDepth;
    settings.power = sonar.DoubleOf(keys::x5Power);
    settings.frequency = frequency;
    settings.pulseLength = sonar.DoubleOf(keys::x5PulseLength);
    settings.sweep = sweeps ? std::abs(sonar.DoubleOf(keys::x5FMSweep)) * 1000.0 : 0.0;
    settings.receiver = {.mode = sonar.IntOf(keys::x5GainMode) == fixedGain ? acoustics::GainMode::Fixed
                                                                            : acoustics::GainMode::TimeVaried,
                         .gain = sonar.DoubleOf(keys::x5Gain),
                         .spreading = sonar.DoubleOf(keys::x5SpreadingLoss),
                         .absorption = sonar.DoubleOf(keys::x5Absorption)};
    settings.coverage = sonar.DoubleOf(keys::x5CoverageAngle);
    settings.sectorSteering = sonar.DoubleOf(keys::x5RxSteeringAngle);
    settings.mode = BeamModeOf(sonar);
    settings.flexCoverage = sonar.DoubleOf(keys::x5FlexSectorCoverage);
    settings.flexSteering = sonar.DoubleOf(keys::x5FlexSectorSteering);
    settings.outsideSpacing = sonar.DoubleOf(keys::x5FlexOutsideSpacing);
    settings.constantSpacing = sonar.DoubleOf(keys::x5ConstantSpacing);
    settings.reduceCoverage = FlagOf(sonar, keys::x5ConstantSpacingReduceCoverage);
    settings.beams = BeamsOf(sonar);
    settings.leastBeams = WholeOf(sonar, keys::x5MinBeams);
    settings.mostBeams = WholeOf(sonar, keys::x5MaxBeams);
    settings.widthAlong = sonar.DoubleOf(keys::x5BeamWidthX);
    settings.fanWidth = sonar.DoubleOf(keys::x5BeamWidthZ);
    settings.receiveWidth = ReceiveWidth(frequency);
    settings.tilt = sonar.DoubleOf(keys::x5ProjBeamAngleVer);
    settings.fanSteering = sonar.DoubleOf(keys::x5ProjBeamAngleHor);
    settings.compensateRoll = FlagOf(sonar, keys::x5MotionCompensationRoll);
    settings.compensatePitch = FlagOf(sonar, keys::x5MotionCompensationPitch);
    settings.gates = GatesOf(sonar);
    settings.multiDetect = {.enabled = FlagOf(sonar, keys::x5MultiDetectEnabled),
                            .objectSize = sonar.IntOf(keys::x5MultiDetectObjectSize),
                            .sensitivity = sonar.IntOf(keys::x5MultiDetectSensitivity),
                            .greatest = sonar.IntOf(keys::x5MultiDetectMaxDetections)};
    return settings;
}

} // namespace qx5::simulator
