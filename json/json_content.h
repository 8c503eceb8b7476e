// How a JSON document that was read lies in memory: for its parser and its nodes alone.
#pragma once

#include "json_value.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace qx5 {

/// A value, or the key of a member, which its value follows. An array or object is followed by what is in it.
class JsonEntry
{
public:
    JsonEntry() = default; ///< nothing is filled
    JsonEntry(JsonValue::Kind kind, std::uint64_t at, std::uint64_t extent, bool isBeside)
        : m_at(static_cast<std::uint32_t>(at)), m_extent(static_cast<std::uint32_t>(extent)),
          m_atHigh((at >> 32) & 0xFFFU), m_extentHigh((extent >> 32) & 0xFFFFU),
          m_kind(static_cast<unsigned>(kind) & 7U), m_isBeside(isBeside ? 1 : 0)
    {
    }

    JsonValue::Kind Kind() const { return static_cast<JsonValue::Kind>(m_kind); }
    /// Where it begins in the text of the document.
    std::size_t At() const { return (std::size_t{m_atHigh} << 32) | m_at; }
    /// A text is not in the document as it stands, but in `beside`.
    bool IsBeside() const { return m_isBeside != 0; }
    /// Array, object: the place of the entry past all that is in it. Text, number: its length, or where it is in
    /// `beside`, as is the reason of a defect. Truth value: 0 or 1.
    std::size_t Extent() const { return (std::size_t{m_extentHigh} << 32) | m_extent; }
    void SetExtent(std::uint64_t extent)
    {
        m_extent = static_cast<std::uint32_t>(extent);
        m_extentHigh = (extent >> 32) & 0xFFFFU;
    }

    friend bool operator==(JsonEntry const&, JsonEntry const&) = default;

private:
    std::uint32_t m_at;
    std::uint32_t m_extent;
    std::uint32_t m_atHigh : 12;
    std::uint32_t m_extentHigh : 16;
    std::uint32_t m_kind : 3;
    std::uint32_t m_isBeside : 1;
};
static_assert(sizeof(JsonEntry) == 12);

/// The entries of a document: they grow without being copied, in blocks of which each is twice as large as the one
/// before.
class JsonEntries
{
public:
    std::size_t size() const { return m_size; }
    JsonEntry& operator[](std::size_t place) { return *At(place); }
    JsonEntry const& operator[](std::size_t place) const { return *At(place); }
    void push_back(JsonEntry const& entry)
    {
        if (m_size == m_room) {
            AddBlock();
        }
        *At(m_size++) = entry;
    }
    void clear()
    {
        m_blocks.clear();
        m_size = 0;
        m_room = 0;
    }

private:
    static constexpr std::size_t FirstBlock = 64;

    JsonEntry* At(std::size_t place) const
    {
        // Blocks begin at 0, 1, 3, 7, ... times the size of the first.
        auto const shifted = place + FirstBlock;
        auto const block = static_cast<std::size_t>(std::bit_width(shifted / FirstBlock)) - 1;
        return m_blocks[block].get() + (shifted - (FirstBlock << block));
    }
    void AddBlock()
    {
        auto const size = FirstBlock << m_blocks.size();
        // Not filled: what is not used yet takes no memory.
        m_blocks.push_back(std::make_unique_for_overwrite<JsonEntry[]>(size));
        m_room += size;
    }

    std::vector<std::unique_ptr<JsonEntry[]>> m_blocks;
    std::size_t m_size = 0;
    std::size_t m_room = 0;
};

/// What a document is made of; its parser fills it.
struct JsonContent
{
    std::string text;
    JsonEntries entries;
    std::deque<std::string> beside;
    bool hasDefects = false;
};

} // namespace qx5
