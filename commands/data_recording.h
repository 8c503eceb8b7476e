// The commands for recording by the sonar processor, as tables.
#pragma once

#include "command.h"
#include <protocol/records/data_recording.h>

namespace qx5 {

// Events of the host's logger, on the general bus.
inline constexpr wchar_t const* StartLoggingEvent = L"$VordalHostloggerStartLogging$";
inline constexpr wchar_t const* StopLoggingEvent = L"$VordalHostloggerStopLogging$";

} // namespace qx5

namespace qx5::commands {

namespace data_recording {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand onOffKeys[]{{keys::x5DataRecording, {.source = Source::Request}}};
inline constexpr Sending onOffSends[]{{records::StartRecording, Processor, "the value is not 0"},
                                      {records::StopRecording, Processor, "the value is 0"}};

inline constexpr Operand syncKeys[]{{keys::SyncDataRecording, {.source = Source::Request}}};
inline constexpr Sending syncSends[]{
    {records::StartRecording, OwnSonar, "the value is true and the host's logger runs"},
    {records::StopRecording, OwnSonar, "the value is true and the host's logger does not run"}};

} // namespace data_recording

QX5_COMMAND(RequestOnOffDataRecording) = {
    .form = Form::Own,
    .operands = data_recording::onOffKeys,
    .sends = data_recording::onOffSends,
    .echoFlags = 0,
    .note = "Direct. The recording gets no name: the sonar chooses one.",
};

QX5_COMMAND(RequestSyncDataRecording) = {
    .form = Form::Own,
    .operands = data_recording::syncKeys,
    .sends = data_recording::syncSends,
    .echoFlags = 0,
    .note = "Direct. The recording is named after the local time. While the value is true, the start and the stop of "
            "the host's logger send the same records; false leaves the recording as it is.",
};

} // namespace qx5::commands
