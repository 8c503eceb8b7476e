// The handlers for beam geometry: mode, flex sector, spacing, number and width of beams, coverage, system mode.
#include "../QX5SonarConfigurationControlDevice.h"
#include "command_values.h"
#include "echo_map.h"
#include "reading.h"
#include <commands/beam_geometry.h>

#include <HalvaneX5InterfaceR/QX5Utils.h>

#include <cmath>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;
namespace records = qx5::protocol::records;

namespace {

/// "x5BeamSpacingMode" of a sonar that spaces its beams evenly on the bottom.
constexpr int constantSpacingMode = 3;

// "x5DualHeadMode" as far as the limits of the swath go.
constexpr int singleHead = 0;
constexpr int overlapLimitsUpperAngle = 1;
constexpr int overlapLimitsLowerAngle = 2;

// Not std::max and std::min: here a NaN gives way to nothing and displaces nothing, whichever side it stands on.

/// The first, unless the second is truly greater.
double GreaterOf(double first, double second)
{
    return second > first ? second : first;
}

/// The first, unless the second is truly smaller.
double SmallerOf(double first, double second)
{
    return second < first ? second : first;
}

/// The value under the key, or 0.
template <protocol::Key const& K>
double NumberIn(CAttributeMap const& tree)
{
    double value = 0.0;
    Read(tree, At<K>, value);
    return value;
}

/// How many beams the switch turns on.
double StoredBeamCount(CAttributeMap const& stored)
{
    double wanted = NumberIn<keys::x5CustomBeams>(stored);
    double const least = NumberIn<keys::x5MinBeams>(stored);
    double const most = NumberIn<keys::x5MaxBeams>(stored);
    if (wanted == 0.0) {
        wanted = most;
    }
    // The lower limit wins when the limits cross.
    return least > wanted ? least : SmallerOf(most, wanted);
}

void Replace(CAttributeMap& request, AttributeKey const& key, double value)
{
    request.FindCreate(key, 0).ReplaceValue(VordalTypeCreator::MakeValue(value));
}

} // namespace

void ControlDevice::RequestBeamMode(CAttributeMap* request)
{
    int beamMode = 0;
    if (!Read(*request, At<keys::x5BeamModeSelection>, beamMode)) {
        return;
    }
    protocol::RecordLayout const record = records::BeamMode;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5BeamModeSelection, beamMode, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    echo.Tell(At<keys::x5BeamModeSelection>, beamMode);
    QX5Utils::AddBeamModeAttribs(Stored(), echo.Tree());
    Report(echo.Tree(), commands::RequestBeamMode.echoFlags);

    // Another beam mode needs the spacing anew: RequestConstantSpacing, further down, finds its key. Where the caller
    // gave the key too, this is a second occurrence and the caller's counts.
    bool constantSpacing = false;
    Read(Stored(), At<keys::x5ConstantSpacingEnabled>, constantSpacing);
    request->Add(At<keys::x5ConstantSpacingEnabled>, CVordalBool(constantSpacing), 0);
}

void ControlDevice::RequestConstantSpacing(CAttributeMap* request)
{
    constexpr auto& spacingKey = At<keys::x5ConstantSpacing>;
    constexpr auto& enabledKey = At<keys::x5ConstantSpacingEnabled>;
    constexpr auto& reduceKey = At<keys::x5ConstantSpacingReduceCoverage>;
    constexpr double shareOfRange = 0.01;

    if (!HasAny(*request, spacingKey, enabledKey, reduceKey)) {
        return;
    }
    double spacing = 0.0;
    bool enabled = false;
    bool reduceCoverage = false;
    Complete(*request, Stored(), spacingKey, spacing);
    Complete(*request, Stored(), enabledKey, enabled);
    Complete(*request, Stored(), reduceKey, reduceCoverage);
    int spacingMode = 0;
    Read(Stored(), At<keys::x5BeamSpacingMode>, spacingMode);

    if (!enabled && spacingMode != constantSpacingMode) {
        spacing = 0.0;
    } else if (!(spacing > 0.0)) {
        spacing = NumberIn<keys::x5Range>(Stored()) * shareOfRange;
    }

    protocol::RecordLayout const record = records::ConstantSpacing;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5ConstantSpacing, spacing, payload);
    PackKey(record, keys::x5ConstantSpacingReduceCoverage, reduceCoverage, payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    // Turned off, the last spacing stays in the stored tree, ready for the next time.
    if (spacing > 0.0) {
        echo.Tell(spacingKey, spacing);
    }
    echo.Tell(enabledKey, enabled);
    echo.Tell(reduceKey, reduceCoverage);
    Report(echo.Tree(), commands::RequestConstantSpacing.echoFlags);
}

void ControlDevice::RequestCustomBeams(CAttributeMap* request)
{
    double count = 0.0;
    bool enabled = false;
    if (Read(*request, At<keys::x5CustomBeams>, count)) {
        enabled = count != 0.0;
    } else if (Read(*request, At<keys::x5CustomBeamsEnabled>, enabled)) {
        count = enabled ? StoredBeamCount(Stored()) : 0.0;
    } else {
        return;
    }

    protocol::RecordLayout const record = records::CustomBeams;
    protocol::Payload payload(record.size);
    PackKey(record, keys::x5CustomBeams, std::floor(count + 0.5), payload);
    SendRemote(record.id, payload, OwnSonar);

    EchoMap echo;
    if (enabled) {
        echo.Tell(At<keys::x5CustomBeams>, count);
    }
    echo.Tell(At<keys::x5CustomBeamsEnabled>, enabled);
    Report(echo.Tree(), commands::RequestCustomBeams.echoFlags);
}

void ControlDevice::RequestResetCoverage(CAttributeMap* request)
{
    constexpr double flexSectorCoverage = 45.0; // degrees

    bool ignored = false;
    if (!Read(*request, At<keys::x5ResetCoverage>, ignored)) {
        return;
    }
    double const coverage = NumberIn<keys::x5StdCoverage>(Stored());
    double const leastAngle = NumberIn<keys::GUIMinAngle>(Stored());
    double const greatestAngle = NumberIn<keys::GUIMaxAngle>(Stored());
    double const roll = NumberIn<keys::ATTR_ROLLCOR>(Stored());
    double const overlap = NumberIn<keys::x5Overlap>(Stored());
    int dualHeadMode = singleHead;
    Read(Stored(), At<keys::x5DualHeadMode>, dualHeadMode);

    double lower = -coverage * 0.5;
    double upper = coverage * 0.5;
    if (dualHeadMode != singleHead) {
        lower += roll;
        upper += roll;
    }
    double lowerLimit = -180.0;
    double upperLimit = 180.0;
    if (dualHeadMode == overlapLimitsUpperAngle) {
        upperLimit = overlap + roll;
    } else if (dualHeadMode == overlapLimitsLowerAngle) {
        lowerLimit = roll - overlap;
    }
    double const start = GreaterOf(GreaterOf(lower, leastAngle), lowerLimit);
    double const end = SmallerOf(SmallerOf(upper, greatestAngle), upperLimit);

    Replace(*request, At<keys::x5CoverageAngle>, end - start);
    Replace(*request, At<keys::x5RxSteeringAngle>, (start + end) * 0.5);
    Replace(*request, At<keys::x5FlexSectorCoverage>, flexSectorCoverage);
    Replace(*request, At<keys::x5FlexSectorSteering>, 0.0);
}
