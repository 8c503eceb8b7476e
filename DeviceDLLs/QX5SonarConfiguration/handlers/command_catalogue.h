// The chain's rows with their commands, for whoever tells about them: `qx5 keys`, `qx5 explain`, the manual; and what
// the chain itself knows of a row before it calls its handler.
#pragma once

#include "command.h"

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace qx5 {

/// One row of the chain as a command.
struct ChainEntry {
    int row;                  ///< 1 to 133
    std::string_view handler; ///< the handler's name; "RequestValue" for a scalar
    Command const* command;
    protocol::Key const* told; ///< the key that the handler is told by its row, or null
};

/// All 133 rows in order.
std::span<ChainEntry const> Chain();

/// The rows that read this key from a request, in the order in which they take effect.
std::vector<ChainEntry const*> RowsOfKey(protocol::Key const& key);

/// Whether the operand can be given in a request to this command.
bool IsRequestable(Operand const& operand);

/// The filters (AttributeKey::Filter) of all keys that a row's command names, as a part of RowKeyFilters.
struct RowFilter {
    std::uint64_t any = 0;   ///< their union
    std::uint16_t first = 0; ///< where they begin
    std::uint16_t count = 0; ///< 0: the handler is to be called whatever the request holds
};

/// One for each row of Chain, in order.
std::span<RowFilter const> RowFilters();
std::span<std::uint64_t const> RowKeyFilters();

/// Whether the row can have anything to do with a request of this filter (CAttributeMap::KeyFilter): false is certain.
inline bool MayAct(RowFilter const& row, std::span<std::uint64_t const> keyFilters, std::uint64_t request)
{
    if (row.count == 0) {
        return true;
    }
    if ((row.any & request) == 0) {
        return false;
    }
    for (std::uint64_t const filter : keyFilters.subspan(row.first, row.count)) {
        if ((filter & request) == filter) {
            return true;
        }
    }
    return false;
}

} // namespace qx5
