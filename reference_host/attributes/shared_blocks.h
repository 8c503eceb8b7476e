// An array whose copies share what neither of them changes.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

namespace vordal {

/// Entries in blocks, the blocks in tables, these in tables again, as high as the array's fixed size takes. A copy
/// shares all of it; changing an entry copies the block and the tables that lead to it where they are shared: of four
/// million entries of 16 bytes some 3 kB. Reading is for any thread as long as nobody changes this copy. A block has
/// 2^BlockBits entries.
template <typename Entry, std::uint32_t BlockBits = 7>
class SharedBlocks
{
public:
    /// So many entries, each as a new one is; a power of two.
    explicit SharedBlocks(std::uint32_t capacity) : m_capacity(capacity)
    {
        for (std::uint32_t blocks = capacity >> BlockBits; blocks > 1; blocks = (blocks + tableMask) >> tableBits) {
            ++m_height;
        }
        m_root = Make(m_height, capacity);
    }
    SharedBlocks(SharedBlocks const& other)
        : m_capacity(other.m_capacity), m_height(other.m_height), m_root(other.m_root)
    {
        m_root->references.fetch_add(1, std::memory_order_relaxed);
    }
    SharedBlocks& operator=(SharedBlocks other) noexcept
    {
        std::swap(m_capacity, other.m_capacity);
        std::swap(m_height, other.m_height);
        std::swap(m_root, other.m_root);
        return *this;
    }
    ~SharedBlocks() { Drop(m_root, m_height); }

    std::uint32_t Capacity() const { return m_capacity; }

    Entry const& operator[](std::uint32_t at) const
    {
        Counted const* piece = m_root;
        for (std::uint32_t height = m_height; height > 0; --height) {
            piece = static_cast<Table const*>(piece)->below[SlotOf(at, height)];
        }
        return static_cast<Block const*>(piece)->entries[at & blockMask];
    }

    /// Whether the entry does not follow the one before it in memory.
    static bool BeginsBlock(std::uint32_t at) { return (at & blockMask) == 0; }

    /// The entry for writing.
    Entry& Own(std::uint32_t at)
    {
        Counted** piece = &m_root;
        for (std::uint32_t height = m_height; height > 0; --height) {
            piece = &static_cast<Table*>(Alone(*piece, height))->below[SlotOf(at, height)];
        }
        return static_cast<Block*>(Alone(*piece, 0))->entries[at & blockMask];
    }

private:
    static constexpr std::uint32_t blockMask = (1U << BlockBits) - 1;
    static constexpr std::uint32_t tableBits = 5;
    static constexpr std::uint32_t tableMask = (1U << tableBits) - 1;

    struct Counted
    {
        std::atomic<std::uint32_t> references{1};

        Counted() = default;
        Counted(Counted const&) = delete;
        Counted& operator=(Counted const&) = delete;
    };
    struct Table : Counted
    {
        Counted* below[tableMask + 1] = {};
    };
    struct Block : Counted
    {
        Entry entries[blockMask + 1];
    };

    static std::uint32_t SlotOf(std::uint32_t at, std::uint32_t height)
    {
        return (at >> (BlockBits + (height - 1) * tableBits)) & tableMask;
    }

    /// A piece for the first `capacity` entries below it.
    static Counted* Make(std::uint32_t height, std::uint32_t capacity)
    {
        if (height == 0) {
            return new Block;
        }
        Counted* const table = new Table;
        std::uint32_t const each = 1U << (BlockBits + (height - 1) * tableBits);
        try {
            for (std::uint32_t slot = 0; slot <= tableMask && slot * each < capacity; ++slot) {
                static_cast<Table*>(table)->below[slot] = Make(height - 1, std::min(each, capacity - slot * each));
            }
        } catch (...) {
            Drop(table, height);
            throw;
        }
        return table;
    }

    static void Drop(Counted* piece, std::uint32_t height)
    {
        // Whoever is alone needs no locked instruction.
        if (piece == nullptr || (piece->references.load(std::memory_order_acquire) != 1 &&
                                 piece->references.fetch_sub(1, std::memory_order_acq_rel) != 1)) {
            return;
        }
        if (height == 0) {
            delete static_cast<Block*>(piece);
            return;
        }
        auto* const table = static_cast<Table*>(piece);
        for (Counted* const below : table->below) {
            Drop(below, height - 1);
        }
        delete table;
    }

    /// The piece, or a copy of it in its place when others have it, too.
    static Counted* Alone(Counted*& piece, std::uint32_t height)
    {
        if (piece->references.load(std::memory_order_acquire) == 1) {
            return piece;
        }
        Counted* copy = nullptr;
        if (height == 0) {
            auto* const block = new Block;
            std::copy_n(static_cast<Block const*>(piece)->entries, blockMask + 1, block->entries);
            copy = block;
        } else {
            auto* const table = new Table;
            for (std::uint32_t slot = 0; slot <= tableMask; ++slot) {
                if (auto* const below = static_cast<Table const*>(piece)->below[slot]; below != nullptr) {
                    below->references.fetch_add(1, std::memory_order_relaxed);
                    table->below[slot] = below;
                }
            }
            copy = table;
        }
        // The others may have let go meanwhile.
        Drop(std::exchange(piece, copy), height);
        return piece;
    }

    std::uint32_t m_capacity;
    std::uint32_t m_height = 0; ///< of tables above a block
    Counted* m_root = nullptr;
};

} // namespace vordal
