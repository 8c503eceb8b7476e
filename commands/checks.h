// What is checked of a command when it is compiled: whoever looks its keys and records up finds them.
#pragma once

#include "command.h"

#include <protocol/catalogue_tables.h>

#include <algorithm>

namespace qx5 {

/// Whether every key that the command reads is in the list of its family, or of what a sonar reports of itself.
constexpr bool EveryKeyIsListed(Command const& command)
{
    return std::all_of(command.operands.begin(), command.operands.end(), [](Operand const& operand) {
        protocol::KeyPointer const key = operand.key;
        return protocol::catalogue::IsListed(key) ||
               std::any_of(protocol::SettingsKeys.begin(), protocol::SettingsKeys.end(),
                           [&](protocol::Key const* reported) { return key == reported; });
    });
}

/// Whether every record that the command sends is in the list of its family.
constexpr bool EveryRecordIsListed(Command const& command)
{
    return std::all_of(command.sends.begin(), command.sends.end(),
                       [](Sending const& sending) { return protocol::catalogue::IsListed(sending.record); });
}

/// Whether what hangs on the value of the first key finds one that can be switched on and off there.
constexpr bool ConditionsHaveAValue(Command const& command)
{
    auto const hangsOnValue = [](auto const& part) {
        return part.when.kind == Condition::Kind::Set || part.when.kind == Condition::Kind::Clear;
    };
    bool const anyHangs = std::any_of(command.sends.begin(), command.sends.end(), hangsOnValue) ||
                          std::any_of(command.followUps.begin(), command.followUps.end(), hangsOnValue);
    return !anyHangs || (!command.operands.empty() && (command.operands.front().key->kind == protocol::Kind::Int ||
                                                       command.operands.front().key->kind == protocol::Kind::Bool));
}

/// The command, once it has passed; the compiler names the one that does not.
template <Command const& C>
constexpr Command const* Checked()
{
    static_assert(EveryKeyIsListed(C), "this command reads a key that is not in the list at the end of its family's "
                                       "file in protocol/records, or that list is not in protocol/catalogue_tables.h: "
                                       "`qx5 explain` would not know it");
    static_assert(EveryRecordIsListed(C), "this command sends a record that is not in the list at the end of its "
                                          "family's file in protocol/records, or that list is not in "
                                          "protocol/catalogue_tables.h: `qx5 decode` would not know it");
    static_assert(ConditionsHaveAValue(C), "WhenTrue, WhenNot0 and When0 hang on the value of the command's first key, "
                                           "which must be an int or a bool: any other would never count as set");
    return &C;
}

} // namespace qx5
