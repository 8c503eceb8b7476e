// The commands for target lists, detection-unit settings, user role and system events, as tables.
#pragma once

#include "command.h"
#include <protocol/records/target_exchange.h>

namespace qx5::commands {

namespace target_exchange {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Target TargetExchangeUnit{7003, 0}; ///< hands on between the applications of one sonar system
inline constexpr Target DetectionUnit{7006, 0};

inline constexpr OperandOptions fromRequest{.source = Source::Request};

inline constexpr Operand listRequestKeys[]{{keys::RequestTargetList, fromRequest}, {keys::RequesterAppId, fromRequest}};
inline constexpr Sending listRequestSends[]{{records::TargetListRequest, TargetExchangeUnit}};

inline constexpr Operand listKeys[]{{keys::SendTargetList, fromRequest}};
inline constexpr Sending listSends[]{{records::TargetList, TargetExchangeUnit}};

inline constexpr Operand aScanKeys[]{{keys::SendAScanStatus, fromRequest},
                                     {keys::AScanBeamStart, fromRequest},
                                     {keys::AScanBeamEnd, fromRequest},
                                     {keys::AScanPingNumber, fromRequest}};
inline constexpr Sending aScanSends[]{{records::AScanStatus, TargetExchangeUnit}};

inline constexpr Operand enhancementKeys[]{keys::CadImageEnhancement};
inline constexpr Sending enhancementSends[]{{records::ImageEnhancement, DetectionUnit}};

inline constexpr Operand sensitivityKeys[]{keys::CadDetectorSensitivity};
inline constexpr Sending sensitivitySends[]{{records::DetectionSensitivity, DetectionUnit}};

inline constexpr Operand algorithmKeys[]{keys::CadOnnxIndex};
inline constexpr Sending algorithmSends[]{{records::DetectorAlgorithm, DetectionUnit}};

inline constexpr Operand beamSettingKeys[]{keys::CADStreamIndex, keys::x5NumberOfBeams, keys::x5NumberOfPixels};
inline constexpr Sending beamSettingSends[]{{records::BeamAndSampleSetting, DetectionUnit}};

inline constexpr Operand userRoleKeys[]{keys::RequesterAppId, keys::UserRole, keys::UserRoleType};
inline constexpr Sending userRoleSends[]{{records::UserRole}};

inline constexpr Operand systemEventKeys[]{{keys::X5SystemEventType, fromRequest},
                                           {keys::X5SystemEventMessage, fromRequest},
                                           {keys::X5SystemEventTime, fromRequest}};
inline constexpr Sending systemEventSends[]{{records::SystemEvent, OwnSonar, "the user is an operator"}};

} // namespace target_exchange

QX5_COMMAND(SychronizeTargetManagersHandler) = {
    .form = Form::Own,
    .operands = target_exchange::listRequestKeys,
    .sends = target_exchange::listRequestSends,
    .note = "RequestTargetList by its presence, RequesterAppId from the request. The open target file keeps when the "
            "list was asked for, even if the request then goes nowhere.",
};

QX5_COMMAND(SendTargetList) = {
    .form = Form::Own,
    .operands = target_exchange::listKeys,
    .sends = target_exchange::listSends,
    .note = "Presence. One item for each contact of the open target file that is still found by its GUID; the record "
            "bears the time of the device's last data.",
};

QX5_COMMAND(RequestAScanSetupMonitorerStatus) = {
    .form = Form::Own,
    .operands = target_exchange::aScanKeys,
    .sends = target_exchange::aScanSends,
    .note = "SendAScanStatus by its presence, the others from the request. The beams from the first to the last go "
            "out, none when the first lies beyond the last; their numbers and their count as 16 bits. Of more than a "
            "frame holds, 67108810, none goes out. The record bears the time of the device's last data.",
};

QX5_COMMAND(SendImageEnhancementMode) = {
    .form = Form::Direct,
    .operands = target_exchange::enhancementKeys,
    .sends = target_exchange::enhancementSends,
};

QX5_COMMAND(SendDetectionSensitivity) = {
    .form = Form::Direct,
    .operands = target_exchange::sensitivityKeys,
    .sends = target_exchange::sensitivitySends,
};

QX5_COMMAND(SendDetectorAlgorithm) = {
    .form = Form::Direct,
    .operands = target_exchange::algorithmKeys,
    .sends = target_exchange::algorithmSends,
};

QX5_COMMAND(SendCADBeamAndSampleSetting) = {
    .form = Form::AllRequired,
    .operands = target_exchange::beamSettingKeys,
    .sends = target_exchange::beamSettingSends,
};

QX5_COMMAND(SendUserRole) = {
    .form = Form::AllRequired,
    .operands = target_exchange::userRoleKeys,
    .sends = target_exchange::userRoleSends,
};

QX5_COMMAND(SendSystemEvent) = {
    .form = Form::Own,
    .operands = target_exchange::systemEventKeys,
    .sends = target_exchange::systemEventSends,
    .note = "All three are required in the request. The time goes nowhere; the text goes out whole with a 0 at its "
            "end, its length as 16 bits.",
};

} // namespace qx5::commands
