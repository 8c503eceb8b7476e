// What can be taken hold of in a fan, where it lies, and what becomes of the settings when it is drawn somewhere else.
#pragma once

#include "fan_settings.h"
#include "ping.h"

#include <array>
#include <optional>
#include <string_view>
#include <vector>

namespace picture {

/// In the order in which the keyboard goes through them.
enum class Handle
{
    Range,
    SectorPort,
    SectorMiddle,
    SectorStarboard,
    MinRangeGate,
    MaxRangeGate,
    MinDepthGate,
    MaxDepthGate,
    DepthGateTilt,
    MinSearch,
    MaxSearch,
    FanTilt,
};
inline constexpr std::array<Handle, 12> allHandles{Handle::Range,           Handle::SectorPort,   Handle::SectorMiddle,
                                                   Handle::SectorStarboard, Handle::MinRangeGate, Handle::MaxRangeGate,
                                                   Handle::MinDepthGate,    Handle::MaxDepthGate, Handle::DepthGateTilt,
                                                   Handle::MinSearch,       Handle::MaxSearch,    Handle::FanTilt};

/// What an operator calls it.
std::string_view TextOf(Handle handle);
/// Unit of its value, Latin 1: metres or degrees.
std::string_view UnitOf(Handle handle);

/// Port and starboard end of the swath, degrees.
struct Sector
{
    double port = -60.0;
    double starboard = 60.0;
};
/// As the settings tell; where they do not, from the angles of the beams, and without beams 120 degrees.
Sector SectorOf(FanSettings const& settings, BeamFan const& beams);

/// What the handle sets, as it stands; nothing when the settings do not have it or their gate does not act.
std::optional<double> ValueOf(FanSettings const& settings, Handle handle);

/// Where the handle lies; nothing where it is not there, and for Handle::FanTilt, which has a place of its own beside
/// the fan. `range` is that of the picture, m.
std::optional<Place> PlaceOfHandle(FanSettings const& settings, Sector const& sector, double range, Handle handle);

/// The handle at a place: one that is nearer than `reach` metres, else one whose line or arc is. Not Handle::FanTilt.
std::optional<Handle> HandleAt(FanSettings const& settings, Sector const& sector, double range, Place place,
                               double reach);

/// What the handle would be set to if it were at that place.
double ValueAt(FanSettings const& settings, Handle handle, Place place);

/// The settings with the handle at that value, brought to what the sonar can do: the side that is drawn holds, the
/// other one gives way, by the rule of the gates' page. Values are rounded as the pages' sliders and fields have them.
FanSettings WithValue(FanSettings settings, FanLimits const& limits, Handle handle, double value);

/// One step of the keyboard: the next range that is offered, 0.1 m of a gate, 0.5 degrees of the sector, 1 degree of
/// the gate's tilt, 0.25 of the fan's; ten of them with `isLarge`.
FanSettings WithStep(FanSettings const& settings, FanLimits const& limits, Handle handle, int steps, bool isLarge);

/// What is asked for when the handle is let go: of everything that it may have moved, in the order of Setting.
std::vector<Wish> WishesOf(FanSettings const& settings, Handle handle);

} // namespace picture
