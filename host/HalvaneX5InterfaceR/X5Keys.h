// Keys of a sonar's attribute tree for plug-ins that show what it does, and that ask it for something else.
#pragma once

#include <VordalAttributesR/AttributeKey.h>

/// The text of each is the constant's own name. A setting stands at the top of the tree as the sonar has it, and is
/// asked for under the same key in a branch "Request" (DataManager::SetAttributeMap); distances are in metres from the
/// sonar, angles in degrees, both doubles, where nothing else is said.
namespace X5Keys {

inline constexpr AttributeKey Request{L"Request"}; ///< branch: what is asked for

inline constexpr AttributeKey x5Range{L"x5Range"};                       ///< that the sonar listens to
inline constexpr AttributeKey x5CoverageAngle{L"x5CoverageAngle"};       ///< opening angle of the swath
inline constexpr AttributeKey x5RxSteeringAngle{L"x5RxSteeringAngle"};   ///< of the swath's middle, + to starboard
inline constexpr AttributeKey x5BeamSteer{L"x5BeamSteer"};               ///< asked for: pair, along track and across
inline constexpr AttributeKey x5ProjBeamAngleVer{L"x5ProjBeamAngleVer"}; ///< told: the pair's first, + forward
inline constexpr AttributeKey x5ProjBeamAngleHor{L"x5ProjBeamAngleHor"}; ///< told: the pair's second
inline constexpr AttributeKey GUIMinAngle{L"GUIMinAngle"};               ///< told: limits of the swath's ends
inline constexpr AttributeKey GUIMaxAngle{L"GUIMaxAngle"};               ///< told: the end to starboard

inline constexpr AttributeKey x5RangeFilterEnabled{L"x5RangeFilterEnabled"}; ///< bool: the range gate acts
inline constexpr AttributeKey x5MinRangeGate{L"x5MinRangeGate"};             ///< nearest echo that it lets through
inline constexpr AttributeKey x5MaxRangeGate{L"x5MaxRangeGate"};             ///< farthest
inline constexpr AttributeKey x5DepthFilterEnabled{L"x5DepthFilterEnabled"}; ///< bool: the depth gate acts
inline constexpr AttributeKey x5MinDepthGate{L"x5MinDepthGate"}; ///< least depth that it lets through, below the sonar
inline constexpr AttributeKey x5MaxDepthGate{L"x5MaxDepthGate"}; ///< greatest
inline constexpr AttributeKey x5DepthGateTilt{L"x5DepthGateTilt"}; ///< of the depth gate, + deeper to starboard
inline constexpr AttributeKey x5AdaptiveGateEnabled{L"x5AdaptiveGateEnabled"}; ///< bool: the adaptive gate acts
inline constexpr AttributeKey x5AGSearchMin{L"x5AGSearchMin"};                 ///< depths between which it searches
inline constexpr AttributeKey x5AGSearchMax{L"x5AGSearchMax"};                 ///< the deeper of them

// What the sonar offers: a branch "x5SonarSettings" for each operation mode, the active one at the index DeviceEnum.
inline constexpr AttributeKey DeviceEnum{L"DeviceEnum"};                       ///< int
inline constexpr AttributeKey x5SonarSettings{L"x5SonarSettings"};             ///< branch
inline constexpr AttributeKey x5SampleRateSelection{L"x5SampleRateSelection"}; ///< int: the set that is in use
inline constexpr AttributeKey x5SampleRateSet{L"x5SampleRateSet"};             ///< branch, one for each sample rate
inline constexpr AttributeKey x5RangeSet{L"x5RangeSet"};                       ///< in a set, doubles: ranges, ascending
inline constexpr AttributeKey x5Max{L"x5Max"};                                 ///< in a set's "x5Range": the greatest
inline constexpr AttributeKey x5RangeGate{L"x5RangeGate"};                     ///< branches: limits of the gates
inline constexpr AttributeKey x5DepthGate{L"x5DepthGate"};                     ///< the same of the depth gate
inline constexpr AttributeKey x5NadirGate{L"x5NadirGate"};                     ///< the same of the adaptive gate
inline constexpr AttributeKey x5MinValue{L"x5MinValue"};                       ///< in these: least value
inline constexpr AttributeKey x5MinWindow{L"x5MinWindow"};                     ///< in these: least opening
inline constexpr AttributeKey x5MinX{L"x5MinX"}; ///< in the branch "x5BeamSteer": limits of the first angle
inline constexpr AttributeKey x5MaxX{L"x5MaxX"}; ///< the greatest

} // namespace X5Keys
