// Payloads back into values: what stands on the wire and which attribute it was.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include <protocol/record_layout.h>
#include <protocol/value.h>

namespace qx5::protocol {

/// One field as found in a payload.
struct FieldValue
{
    Field const* field = nullptr; ///< a row of static storage
    /// As it stands on the wire: uint32 for unsigned numbers, int32, double for both floats, bool for a bit, text,
    /// seconds since 1970 for a time stamp; none for a time stamp that holds no time.
    Value wire;
    /// The value of the field's key that gives this wire value, of the key's kind (for one part of a pair or an offset
    /// a double). None without key, and where the handler computes the field in its own way.
    Value attribute;
};

/// One array of a tail of arrays.
struct UnpackedArray
{
    ArrayField const* array = nullptr; ///< a row of static storage
    std::size_t count = 0;             ///< numbers of a row
    std::size_t rows = 1;
    std::size_t offset = 0; ///< from the start of the payload
    std::size_t size = 0;   ///< bytes of all rows
};

/// Where the arrays lie of a payload that holds the fixed fields, `places` having room for one each; how long the
/// payload then is. Nothing where a frame cannot be so long. Allocates nothing.
std::optional<std::size_t> PlaceArrays(RecordLayout const& layout, std::span<unsigned char const> payload,
                                       std::span<UnpackedArray> places);

/// A payload taken apart. Views point into the payload.
struct UnpackedRecord
{
    std::vector<FieldValue> fields;             ///< the fixed fields that the payload holds, in the layout's order
    std::vector<std::vector<FieldValue>> items; ///< of a tail of items, complete ones only
    std::vector<UnpackedArray> arrays;          ///< of a tail of arrays that is whole
    Value tail;                                 ///< a list as int32s (unsigned words by their bits) or a text
    std::span<unsigned char const> tailBytes;   ///< all bytes behind the fixed fields, if the layout has a tail
    /// How much the payload is too short for the fixed fields and the arrays that these count; the greatest number when
    /// no frame holds so many.
    std::size_t missingBytes = 0;
    std::size_t excessBytes = 0; ///< at the end, belonging to nothing
};

/// The value of one field; monostates when the payload does not hold it.
FieldValue UnpackField(Field const& field, std::span<unsigned char const> payload);

/// Takes any payload, also one too short or too long; never reads beyond it. The layout's rows must outlive the result.
UnpackedRecord Unpack(RecordLayout const& layout, std::span<unsigned char const> payload);

/// Keys with their values, in the order of the fields; the parts of a pair or an offset joined into one value at the
/// place of the first. Fields without an attribute value are left out.
std::vector<std::pair<Key const*, Value>> KeyValues(std::span<FieldValue const> fields);

} // namespace qx5::protocol
