// The commands for beam geometry: mode, flex sector, spacing, number and width of beams, coverage, system mode, as
// tables.
#pragma once

#include "command.h"
#include <protocol/records/beam_geometry.h>
#include <protocol/settings_keys.h>

namespace qx5::commands {

namespace beam_geometry {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// Read from the stored tree to work something out, never requested or echoed here; found nowhere it is 0.
inline constexpr OperandOptions storedOnly{.source = Source::Stored, .echo = Echo::None, .optional = true};

inline constexpr Operand beamModeKeys[]{{keys::x5BeamModeSelection, {.source = Source::Request}},
                                        {keys::x5BeamModes, {.source = Source::Stored, .optional = true}},
                                        {keys::x5ConstantSpacingEnabled, storedOnly}};
inline constexpr Sending beamModeSends[]{{records::BeamMode}};

inline constexpr Operand flexModeKeys[]{keys::x5FlexSectorCoverage,
                                        keys::x5FlexSectorSteering,
                                        {keys::x5FlexOutsideSpacing, {.triggers = false, .optional = true}}};
inline constexpr Sending flexModeSends[]{{records::FlexMode}};

/// From the request or the stored tree; the handler goes on without it.
inline constexpr OperandOptions completed{.source = Source::Completed, .optional = true};

inline constexpr Operand constantSpacingKeys[]{{keys::x5ConstantSpacing, completed},
                                               {keys::x5ConstantSpacingEnabled, completed},
                                               {keys::x5ConstantSpacingReduceCoverage, completed},
                                               {keys::x5BeamSpacingMode, storedOnly},
                                               {keys::x5Range, storedOnly}};
inline constexpr Sending constantSpacingSends[]{{records::ConstantSpacing}};

inline constexpr Operand customBeamsKeys[]{{keys::x5CustomBeams, completed},
                                           {keys::x5CustomBeamsEnabled, {.source = Source::Request, .optional = true}},
                                           {keys::x5MinBeams, storedOnly},
                                           {keys::x5MaxBeams, storedOnly}};
inline constexpr Sending customBeamsSends[]{{records::CustomBeams}};

inline constexpr Operand beamWidthsKeys[]{keys::x5BeamWidthX, keys::x5BeamWidthZ};
inline constexpr Sending beamWidthsSends[]{{records::ProjectorBeamWidths}};

inline constexpr Operand resetCoverageKeys[]{
    {keys::x5ResetCoverage, {.source = Source::Request, .echo = Echo::None}},
    {keys::x5StdCoverage, storedOnly},
    {keys::GUIMinAngle, storedOnly},
    {keys::GUIMaxAngle, storedOnly},
    {keys::ATTR_ROLLCOR, storedOnly},
    {keys::x5DualHeadMode, storedOnly},
    {keys::x5Overlap, storedOnly},
};

inline constexpr Operand systemModeKeys[]{keys::x5SystemMode};
inline constexpr Sending systemModeSends[]{{records::SystemMode}};

} // namespace beam_geometry

QX5_COMMAND(RequestBeamMode) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = beam_geometry::beamModeKeys,
    .sends = beam_geometry::beamModeSends,
    .echoFlags = 0,
    .note = "Direct. The echo also tells the beam modes. The stored switch of constant spacing is then added to the "
            "request, so that the spacing goes out anew for the new beam mode.",
};

QX5_COMMAND(RequestFlexModeParams) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = beam_geometry::flexModeKeys,
    .sends = beam_geometry::flexModeSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestConstantSpacing) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = beam_geometry::constantSpacingKeys,
    .sends = beam_geometry::constantSpacingSends,
    .echoFlags = 4,
    .note = "Lax. While switched on, or with the stored spacing mode 3, a spacing that is not above 0 becomes a "
            "hundredth of the stored range; otherwise 0 is sent. The spacing is echoed, as sent, only when above 0.",
};

QX5_COMMAND(RequestCustomBeams) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = beam_geometry::customBeamsKeys,
    .sends = beam_geometry::customBeamsSends,
    .echoFlags = 4,
    .note = "A number in the request is taken as it stands, 0 for off. Without one the switch counts: on takes the "
            "stored number, or the stored maximum when that is 0, within the stored limits, the lower of which wins. "
            "The record holds the number rounded. The number is echoed, unrounded, only when on, the switch always.",
};

QX5_COMMAND(RequestProjectorBeamWidths) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = beam_geometry::beamWidthsKeys,
    .sends = beam_geometry::beamWidthsSends,
    .echoFlags = 0,
};

QX5_COMMAND(RequestResetCoverage) = {
    .form = Form::Own,
    .operands = beam_geometry::resetCoverageKeys,
    .note = "Direct, whatever the value. Sends nothing of its own: it writes opening angle and steering of the swath "
            "and of the flex sector into the request, for the commands further down that set them. The swath is the "
            "standard one, within the limits of the system and, with two heads, of the overlap.",
};

QX5_COMMAND(RequestSystemMode) = {
    .form = Form::Direct,
    .keeps = Keeps::Settings,
    .operands = beam_geometry::systemModeKeys,
    .sends = beam_geometry::systemModeSends,
    .echoFlags = 0,
};

} // namespace qx5::commands
