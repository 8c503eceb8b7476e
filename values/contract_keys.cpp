// Holds the keys that the host contract tells plug-ins against those of the protocol: each text is the same.
#include <HalvaneX5InterfaceR/X5Keys.h>

#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

namespace {

namespace keys = qx5::protocol::keys;

constexpr bool IsSame(AttributeKey const& told, qx5::protocol::Key const& own)
{
    return told.Text() == own.text;
}

static_assert(IsSame(X5Keys::Request, keys::Request));
static_assert(IsSame(X5Keys::x5Range, keys::x5Range));
static_assert(IsSame(X5Keys::x5CoverageAngle, keys::x5CoverageAngle));
static_assert(IsSame(X5Keys::x5RxSteeringAngle, keys::x5RxSteeringAngle));
static_assert(IsSame(X5Keys::x5BeamSteer, keys::x5BeamSteer));
static_assert(IsSame(X5Keys::x5ProjBeamAngleVer, keys::x5ProjBeamAngleVer));
static_assert(IsSame(X5Keys::x5ProjBeamAngleHor, keys::x5ProjBeamAngleHor));
static_assert(IsSame(X5Keys::GUIMinAngle, keys::GUIMinAngle));
static_assert(IsSame(X5Keys::GUIMaxAngle, keys::GUIMaxAngle));
static_assert(IsSame(X5Keys::x5RangeFilterEnabled, keys::x5RangeFilterEnabled));
static_assert(IsSame(X5Keys::x5MinRangeGate, keys::x5MinRangeGate));
static_assert(IsSame(X5Keys::x5MaxRangeGate, keys::x5MaxRangeGate));
static_assert(IsSame(X5Keys::x5DepthFilterEnabled, keys::x5DepthFilterEnabled));
static_assert(IsSame(X5Keys::x5MinDepthGate, keys::x5MinDepthGate));
static_assert(IsSame(X5Keys::x5MaxDepthGate, keys::x5MaxDepthGate));
static_assert(IsSame(X5Keys::x5DepthGateTilt, keys::x5DepthGateTilt));
static_assert(IsSame(X5Keys::x5AdaptiveGateEnabled, keys::x5AdaptiveGateEnabled));
static_assert(IsSame(X5Keys::x5AGSearchMin, keys::x5AGSearchMin));
static_assert(IsSame(X5Keys::x5AGSearchMax, keys::x5AGSearchMax));
static_assert(IsSame(X5Keys::DeviceEnum, keys::DeviceEnum));
static_assert(IsSame(X5Keys::x5SonarSettings, keys::x5SonarSettings));
static_assert(IsSame(X5Keys::x5SampleRateSelection, keys::x5SampleRateSelection));
static_assert(IsSame(X5Keys::x5SampleRateSet, keys::x5SampleRateSet));
static_assert(IsSame(X5Keys::x5RangeSet, keys::x5RangeSet));
static_assert(IsSame(X5Keys::x5Max, keys::x5Max));
static_assert(IsSame(X5Keys::x5RangeGate, keys::x5RangeGate));
static_assert(IsSame(X5Keys::x5DepthGate, keys::x5DepthGate));
static_assert(IsSame(X5Keys::x5NadirGate, keys::x5NadirGate));
static_assert(IsSame(X5Keys::x5MinValue, keys::x5MinValue));
static_assert(IsSame(X5Keys::x5MinWindow, keys::x5MinWindow));
static_assert(IsSame(X5Keys::x5MinX, keys::x5MinX));
static_assert(IsSame(X5Keys::x5MaxX, keys::x5MaxX));

} // namespace
