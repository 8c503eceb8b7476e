// The commands for the sonar's data recorder, as tables.
#pragma once

#include "command.h"
#include <protocol/records/recorder_settings.h>

namespace qx5::commands {

namespace recorder_settings {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand filterKeys[]{{keys::x5RDRFilterList, {.source = Source::Request}}};
inline constexpr Sending filterSends[]{{records::RecorderFilter, Processor}};

inline constexpr Operand fileKeys[]{keys::x5StorageSingleFile, keys::x5StorageHistory};
inline constexpr Sending fileSends[]{{records::RecorderFileHandling}};
inline constexpr Operand const* fileEchoes[]{&fileKeys[1], &fileKeys[0]};

inline constexpr Operand directoryKeys[]{keys::x5DirectoryName};
inline constexpr Sending directorySends[]{{records::RecordingDirectory, Processor}};

inline constexpr Operand fileNameKeys[]{keys::x5StorageFileNamePrefix, keys::x5StorageFileNamePostfix};
inline constexpr Sending fileNameSends[]{{records::RecordingFileNameParts, Processor}};

} // namespace recorder_settings

QX5_COMMAND(RequestRDRFiltering) = {
    .form = Form::Own,
    .keeps = Keeps::Settings,
    .operands = recorder_settings::filterKeys,
    .sends = recorder_settings::filterSends,
    .echoFlags = 0,
    .note = "Direct. The list follows the fixed part of the record, as it stands.",
};

QX5_COMMAND(RequestRDRSettings) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = recorder_settings::fileKeys,
    .sends = recorder_settings::fileSends,
    .echoFlags = 0,
    .echoes = recorder_settings::fileEchoes,
};

QX5_COMMAND(RequestRDRRecordingDirectory) = {
    .form = Form::Direct,
    .operands = recorder_settings::directoryKeys,
    .sends = recorder_settings::directorySends,
    .echoFlags = 0,
    .longTexts = LongTexts::Refused,
};

QX5_COMMAND(RequestRDRRecordingPreAndPostfix) = {
    .form = Form::AllRequired,
    .keeps = Keeps::Settings,
    .operands = recorder_settings::fileNameKeys,
    .sends = recorder_settings::fileNameSends,
    .echoFlags = 0,
    .longTexts = LongTexts::Refused,
};

} // namespace qx5::commands
