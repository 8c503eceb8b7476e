// Values into payloads: one field at a time, as its row says.
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include <protocol/record_layout.h>
#include <protocol/value.h>

namespace qx5::protocol {

/// The bytes of one payload, zero at first. Up to InlineSize bytes take no memory from the heap.
class Payload
{
public:
    static constexpr std::size_t InlineSize = 1024;

    explicit Payload(std::size_t size) : m_size(size)
    {
        if (size > InlineSize) {
            m_heap.resize(size);
        } else {
            for (std::size_t i = 0; i < size; ++i) {
                m_inline[i] = 0;
            }
        }
    }

    std::span<unsigned char> Bytes() { return {m_size > InlineSize ? m_heap.data() : m_inline.data(), m_size}; }
    std::span<unsigned char const> Bytes() const
    {
        return {m_size > InlineSize ? m_heap.data() : m_inline.data(), m_size};
    }
    std::size_t Size() const { return m_size; }
    /// Null when there are no bytes: what the record façade takes for a record without payload.
    unsigned char const* Data() const { return m_size == 0 ? nullptr : Bytes().data(); }

    operator std::span<unsigned char>() { return Bytes(); }
    operator std::span<unsigned char const>() const { return Bytes(); }

private:
    std::size_t m_size;
    std::array<unsigned char, InlineSize> m_inline; // only the first m_size are set
    std::vector<unsigned char> m_heap;
};

/// The operations below convert the value as the field's row says and write it, leaving all other bits alone; the
/// payload is zero to begin with. A number need not be of the key's kind: an integer goes into a float field as its
/// value, a double into an integer field truncated, saturating at 32 bits, then cut to the field. They give false, and
/// write nothing, when the field lies beyond the payload or when the wire form cannot take such a value (a text in a
/// number's field, a number in a text's). They allocate nothing.
bool PackField(Field const& field, std::int32_t value, std::span<unsigned char> payload);
bool PackField(Field const& field, std::uint32_t value, std::span<unsigned char> payload);
bool PackField(Field const& field, std::int64_t value, std::span<unsigned char> payload);
bool PackField(Field const& field, double value, std::span<unsigned char> payload);
/// A bool is 1 or 0 in a field of any width.
template <std::same_as<bool> Bool> // not by conversion: a pointer must not pass for a bool
bool PackField(Field const& field, Bool value, std::span<unsigned char> payload)
{
    return PackField(field, std::int32_t{value ? 1 : 0}, payload);
}
/// A text too long is cut at the field's usable bytes, be it inside of a character.
bool PackField(Field const& field, std::wstring_view text, std::span<unsigned char> payload);
/// The same for a text that is UTF-8 already.
bool PackField(Field const& field, std::string_view utf8, std::span<unsigned char> payload);
/// Any value; of a pair or an offset the part that the field names. False also for lists and for no value.
bool PackField(Field const& field, Value const& value, std::span<unsigned char> payload);

/// Writes the fields that never change, those with a constant, into a payload.
void PackConstants(std::span<Field const> fields, std::span<unsigned char> payload);
void PackConstants(RecordLayout const& layout, std::span<unsigned char> payload);

} // namespace qx5::protocol
