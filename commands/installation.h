// The commands for how the sonar is mounted and how it starts up, as tables.
#pragma once

#include "command.h"
#include <protocol/records/installation.h>

namespace qx5::commands {

namespace installation {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// Inside of a bracket of the request or, failing that, of the stored one; found nowhere it is 0.
inline constexpr OperandOptions withinBracket{.source = Source::Branch, .optional = true};
/// Read from the stored tree, never requested or echoed here.
inline constexpr OperandOptions storedOnly{.source = Source::Stored, .echo = Echo::None, .optional = true};

/// From the request or the stored tree; found nowhere it is 0.
inline constexpr OperandOptions completed{.source = Source::Completed, .optional = true};

inline constexpr Operand identifiersKeys[]{
    {keys::x5Bracket, completed},
    {keys::x5BracketSelected, withinBracket},
    {keys::x5BracketX, withinBracket},
    {keys::x5BracketY, withinBracket},
    {keys::x5BracketZ, withinBracket},
    {keys::ATTR_DEVICEOFFSET, completed},
    {keys::ATTR_ROLLCOR, completed},
    {keys::ATTR_PITCHCOR, completed},
    {keys::ATTR_CABLELENGTH, completed},
    {keys::x5SonarSettings, storedOnly},
    {keys::x5RxNumber, storedOnly},
    {keys::x5TxName, storedOnly},
    {keys::x5MBesXYZList, storedOnly},
    {keys::x5MBesXYZInfo, storedOnly},
    {keys::x5MBesXYZSonarId, storedOnly},
    {keys::x5MBesXYZTXUnitID, storedOnly},
    {keys::x5MBesXYZRXUnitID, storedOnly},
    {keys::x5MBesXYZNumber, storedOnly},
    {keys::x5MBesXYZFixedParams, storedOnly},
    {keys::x5MBesXYZFrequency, storedOnly},
    {keys::x5MBesXYZ, storedOnly},
    {keys::x5MBesXYZLength, storedOnly},
    {keys::x5MBesXYZWidth, storedOnly},
    {keys::x5MBesXYZHeight, storedOnly},
    {keys::x5MBesXYZRadius, storedOnly},
    {keys::x5MBesXYZOffsetX, storedOnly},
    {keys::x5MBesXYZOffsetY, storedOnly},
    {keys::x5MBesXYZOffsetZ, storedOnly},
    {keys::x5MBesXYZOffsetRoll, storedOnly},
    {keys::x5MBesXYZOffsetPitch, storedOnly},
    {keys::x5MBesXYZOffsetYaw, storedOnly},
};
inline constexpr Sending identifiersSends[]{
    {records::SonarInstallationIdentifiers, OwnSonar, "a bracket is stored, once for each"}};

inline constexpr Operand startupKeys[]{keys::x5StartupNormalization, keys::x5RestorePingrate, keys::x5RestorePower,
                                       keys::x5SVInterlock,          keys::x5IgnorePpsErrors, keys::x5RestoreRecording,
                                       keys::x5RestoreTracker,       keys::PowerModeSelection};
inline constexpr Sending startupSends[]{{records::StartupConfiguration, Processor}};

} // namespace installation

QX5_COMMAND(UpdateSonarInstallationIdentifiers) = {
    .form = Form::Own,
    .operands = installation::identifiersKeys,
    .sends = installation::identifiersSends,
    .echoFlags = 0,
    .note = "A bracket or one of the installation's values triggers. The request's brackets change the stored ones "
            "key by key; brackets of one physical head (receiver and transmitter alike) share what is said about any "
            "of them. What is found nowhere is 0. The echo tells all brackets and the installation's values.",
};

QX5_COMMAND(RequestAuvConfig) = {
    .form = Form::Strict,
    .keeps = Keeps::Settings,
    .operands = installation::startupKeys,
    .sends = installation::startupSends,
    .echoFlags = 0,
};

} // namespace qx5::commands
