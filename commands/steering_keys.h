// Keys of the computation that steers the sonar's swath, and where the host says what it offers of it.
#pragma once

#include <VordalAttributesR/AttributeKey.h>

namespace qx5::steering {

inline constexpr AttributeKey SonarSteering{L"SonarSteering"};                   ///< int: route steering is on
inline constexpr AttributeKey RouteSteering{L"RouteSteering"};                   ///< int: 0 active route, 1 local route
inline constexpr AttributeKey SteeringMode{L"SteeringMode"};                     ///< int: 0 horizontal, 1 flex
inline constexpr AttributeKey RouteName{L"RouteName"};                           ///< string: the route's file
inline constexpr AttributeKey PipeRouteSonarSteering{L"PipeRouteSonarSteering"}; ///< int: pipe steering is on
inline constexpr AttributeKey PipeRouteSteeringDelay{L"PipeRouteSteeringDelay"}; ///< int: 2 to 10
inline constexpr AttributeKey PipeRouteSteeringDiff{L"PipeRouteSteeringDiff"};   ///< double: degrees, 0 to 5

// In a vessel's configuration: two numbers, such as "1,1".
inline constexpr wchar_t const* PipeDetectionSection = L"PipeDetection";
inline constexpr wchar_t const* EnablePipeDetectionItem = L"EnablePipeDetection";

} // namespace qx5::steering
