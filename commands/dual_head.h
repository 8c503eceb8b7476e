// The commands for two heads that work as one system, as tables.
#pragma once

#include "command.h"
#include <protocol/records/dual_head.h>

namespace qx5::commands {

namespace dual_head {

namespace keys = protocol::keys;
namespace records = protocol::records;

inline constexpr Operand disconnectKeys[]{{keys::x5DualHeadMode, {.source = Source::Request}}};
inline constexpr Sending disconnectSends[]{{records::UncoupleHeads}};

inline constexpr Operand integratedSystem{keys::x5SystemIDH,
                                          {.source = Source::Stored, .echo = Echo::None, .optional = true}};
inline constexpr Operand dualHeadMode{keys::x5DualHeadMode, {.source = Source::Request}};
inline constexpr Operand fullRate{keys::x5FullRateDualHead, {.source = Source::Request, .optional = true}};
inline constexpr Operand slaveAddress{keys::x5DualHeadSlaveIp, {.source = Source::Request, .optional = true}};
inline constexpr Operand connectKeys[]{integratedSystem, dualHeadMode, fullRate, slaveAddress};
inline constexpr Sending connectSends[]{
    {records::FullRate, OwnSonar, "the system is an integrated dual head"},
    {records::DefaultForwarding, OwnSonar, "it is not"},
    {records::CoupleHeads, OwnSonar, "it is not"},
};

inline constexpr FollowUp couplingAsks[]{{7002}, {7503}};

inline constexpr Operand slavedRecordsKeys[]{{keys::x5SlavedRecords, {.source = Source::Request}}};
inline constexpr Sending slavedRecordsSends[]{{records::Forwarding}};

} // namespace dual_head

QX5_COMMAND(RequestDisconnectSlave) = {
    .form = Form::Own,
    .operands = dual_head::disconnectKeys,
    .sends = dual_head::disconnectSends,
    .echoFlags = 0,
    .followUps = dual_head::couplingAsks,
    .note = "Direct, for the mode 0 alone.",
};

QX5_COMMAND(RequestConnectSlave) = {
    .form = Form::Own,
    .operands = dual_head::connectKeys,
    .sends = dual_head::connectSends,
    .echoFlags = 0,
    .followUps = dual_head::couplingAsks,
    .note = "Values come from the request. An integrated dual head knows only the full rate, which must be there, and "
            "echoes it alone. Any other system couples for the mode 1 alone; full rate and slave address are false and "
            "0 when absent, and all three are echoed.",
};

QX5_COMMAND(RequestSetSlavedRecords) = {
    .form = Form::Own,
    .operands = dual_head::slavedRecordsKeys,
    .sends = dual_head::slavedRecordsSends,
    .echoFlags = 0,
    .note = "Direct. The record holds the number of ids, then the ids.",
};

} // namespace qx5::commands
