// The commands for pan, tilt, hoist and ray tracer, as tables; what goes into the hoist's data block.
#pragma once

#include "command.h"
#include <protocol/records/pan_tilt_hoist.h>

namespace qx5::commands {

namespace pan_tilt_hoist {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand raytracerKeys[]{keys::RaytracerMode, keys::RaytracerManualRange, keys::RaytracerManualDepth,
                                         keys::RaytracerManualTilt};
inline constexpr Sending raytracerSends[]{{records::RaytracerSetup, Processor}};

inline constexpr Operand panTiltKeys[]{keys::CmdRotate, keys::CmdRoll, keys::CmdTilt};
inline constexpr Sending panTiltSends[]{{records::PanTiltPosition}};

inline constexpr Operand hoistKeys[]{keys::CmdRaiseLower};
inline constexpr Sending hoistSends[]{{records::HoistRaiseLower}};

} // namespace pan_tilt_hoist

QX5_COMMAND(RequestRaytracerSetupMode) = {
    .form = Form::AllRequired,
    .operands = pan_tilt_hoist::raytracerKeys,
    .sends = pan_tilt_hoist::raytracerSends,
    .note = "The range is taken from the project's unit of distance; depth and tilt go out as they stand.",
};

QX5_COMMAND(RequestSetPanTiltRotate) = {
    .form = Form::AllRequired,
    .operands = pan_tilt_hoist::panTiltKeys,
    .sends = pan_tilt_hoist::panTiltSends,
};

QX5_COMMAND(RequestHoistActive) = {
    .form = Form::AllRequired,
    .operands = pan_tilt_hoist::hoistKeys,
    .sends = pan_tilt_hoist::hoistSends,
};

} // namespace qx5::commands
