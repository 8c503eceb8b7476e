// The chain's rows with their commands, for whoever tells about them: `qx5 keys`, `qx5 explain`, the manual; and what
// the chain itself knows of a row before it calls its handler.
#pragma once

#include "command.h"

#include <array>
#include <bit>
#include <cstddef>
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

/// A set of rows of the chain, counted from 0.
class RowSet {
public:
    static constexpr std::size_t None = ~std::size_t{0};

    constexpr void Add(std::size_t row) { m_words[row / 64] |= std::uint64_t{1} << (row % 64); }
    constexpr void Unite(RowSet const& other)
    {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] |= other.m_words[i];
        }
    }
    constexpr void Intersect(RowSet const& other)
    {
        for (std::size_t i = 0; i < m_words.size(); ++i) {
            m_words[i] &= other.m_words[i];
        }
    }
    /// The first row of the set that is not before `row`, or None.
    constexpr std::size_t NextFrom(std::size_t row) const
    {
        for (std::size_t word = row / 64; word < m_words.size(); ++word, row = word * 64) {
            if (std::uint64_t const rest = m_words[word] >> (row % 64); rest != 0) {
                return row + static_cast<std::size_t>(std::countr_zero(rest));
            }
        }
        return None;
    }

private:
    std::array<std::uint64_t, 3> m_words{};
};

/// The rows that can have anything to do with a request of this filter (CAttributeMap::KeyFilter); all others certainly
/// have not, since none of the keys that their commands name is there. Handlers that are written by hand from end to
/// end are always among them.
RowSet RowsThatMayAct(std::uint64_t keyFilter);

} // namespace qx5
