// The chain's rows with their commands, for whoever tells about them: `qx5 keys`, `qx5 explain`, the manual.
#pragma once

#include "command.h"

#include <span>
#include <string_view>
#include <vector>

namespace qx5 {

/// One row of the chain as a command.
struct ChainEntry
{
    int row;                  ///< from 1
    std::string_view handler; ///< the handler's name; "RequestValue" for a scalar
    Command const* command;
    protocol::Key const* told; ///< the key that the handler is told by its row, or null
};

/// All rows in order.
std::span<ChainEntry const> Chain();

/// The rows that read this key from a request, in the order in which they take effect.
std::vector<ChainEntry const*> RowsOfKey(protocol::Key const& key);

/// Whether the command also looks for the operand in the device's stored tree, if only there.
bool IsCompleted(Command const& command, Operand const& operand);

/// The operands that a request to the command must hold beside this one, or nothing comes of it.
std::vector<Operand const*> NeededBeside(Command const& command, Operand const& operand);

/// Whether the operand can be given in a request to this command.
bool IsRequestable(Operand const& operand);

} // namespace qx5
