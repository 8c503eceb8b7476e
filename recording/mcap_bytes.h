// Putting together and taking apart the content of MCAP records.
#pragma once

#include "mcap_format.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <protocol/bytes.h>

namespace qx5::recording {

/// Appends to bytes of the caller. Throws std::bad_alloc.
class McapPut
{
public:
    explicit McapPut(std::vector<unsigned char>& bytes) : m_bytes(bytes) {}

    void U8(std::uint8_t value) { m_bytes.push_back(value); }
    void U16(std::uint16_t value) { protocol::PutU16LE(Room(2), 0, value); }
    void U32(std::uint32_t value) { protocol::PutU32LE(Room(4), 0, value); }
    void U64(std::uint64_t value) { protocol::PutU64LE(Room(8), 0, value); }
    void Bytes(std::span<unsigned char const> bytes) { m_bytes.insert(m_bytes.end(), bytes.begin(), bytes.end()); }
    void Text(std::string_view text);
    void Texts(McapTexts const& texts);

    /// Begins a record; EndRecord with what this gave writes its length.
    std::size_t BeginRecord(McapRecord kind);
    void EndRecord(std::size_t begin);
    /// Begins what has its length in 32 bits before it; EndSized with what this gave writes that.
    std::size_t BeginSized();
    void EndSized(std::size_t begin);

private:
    std::span<unsigned char> Room(std::size_t size)
    {
        auto const at = m_bytes.size();
        m_bytes.resize(at + size);
        return std::span(m_bytes).subspan(at);
    }

    std::vector<unsigned char>& m_bytes;
};

void PutSchema(std::vector<unsigned char>& bytes, McapSchema const& schema);
void PutChannel(std::vector<unsigned char>& bytes, McapChannel const& channel);
void PutMetadata(std::vector<unsigned char>& bytes, McapMetadata const& metadata);

/// Takes numbers and texts from bytes of the caller, in order; what is not there is 0 or empty, and IsGood false.
class McapTake
{
public:
    explicit McapTake(std::span<unsigned char const> bytes) : m_bytes(bytes) {}

    std::uint8_t U8() { return Has(1) ? protocol::GetU8(Next(1), 0) : std::uint8_t{0}; }
    std::uint16_t U16() { return Has(2) ? protocol::GetU16LE(Next(2), 0) : std::uint16_t{0}; }
    std::uint32_t U32() { return Has(4) ? protocol::GetU32LE(Next(4), 0) : 0; }
    std::uint64_t U64() { return Has(8) ? protocol::GetU64LE(Next(8), 0) : 0; }
    std::span<unsigned char const> Bytes(std::uint64_t size);
    std::string Text();
    McapTexts Texts();
    std::span<unsigned char const> Rest() { return Bytes(m_bytes.size() - m_at); }

    bool IsAtEnd() const { return m_at == m_bytes.size(); }
    bool IsGood() const { return m_isGood; }

private:
    bool Has(std::uint64_t size)
    {
        m_isGood = m_isGood && size <= m_bytes.size() - m_at;
        return m_isGood;
    }
    std::span<unsigned char const> Next(std::size_t size)
    {
        m_at += size;
        return m_bytes.subspan(m_at - size, size);
    }

    std::span<unsigned char const> m_bytes;
    std::size_t m_at = 0;
    bool m_isGood = true;
};

/// One record of a sequence.
struct McapRecordView
{
    std::uint8_t kind = 0; ///< a McapRecord, or one that is not known here
    std::span<unsigned char const> content;
};
/// The next record; nothing at the end, and where what follows is no whole record, which `take` then tells.
std::optional<McapRecordView> NextRecord(McapTake& take);

// Nothing when the content is none.
std::optional<McapSchema> GetSchema(std::span<unsigned char const> content);
std::optional<McapChannel> GetChannel(std::span<unsigned char const> content);
std::optional<McapMetadata> GetMetadata(std::span<unsigned char const> content);

/// The checksum of all parts of the format.
std::uint32_t McapCrc(std::span<unsigned char const> bytes);

} // namespace qx5::recording
