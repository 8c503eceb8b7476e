// One request of each command, for whoever shows or checks what the command sends.
#pragma once

#include "command.h"
#include <VordalAttributesR/CAttributeMap.h>
#include <protocol/value.h>

#include <string>

namespace qx5 {

/// A request that lets the command start, and what the device's tree must hold for it.
struct SampleRequest
{
    CAttributeMap request;
    CAttributeMap stored;
    std::string asked; ///< the keys of the request, with blanks between them
};

/// Puts the operand where the command looks for it, unless something stands there already.
void PutOperand(CAttributeMap& tree, Command const& command, Operand const& operand, protocol::Value const& value);

/// With plausible values. Of a command that completes, one key is asked for and the tree holds the others.
SampleRequest SampleOf(Command const& command);

} // namespace qx5
