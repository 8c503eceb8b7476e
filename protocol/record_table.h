// Record tables of static storage, checked when they are compiled: a table with a slip does not build.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include <protocol/record_layout.h>

namespace qx5::protocol {

/// What is wrong with a record table.
enum class LayoutError : std::uint8_t
{
    None,
    BeyondSize,        ///< a field ends after the payload or the item
    Overlap,           ///< two fields share a bit
    TextWithoutExtent, ///< a Text or Bytes field of no width
    BitOutOfRange,     ///< a bit number, or a run of bits, outside its word
    StrayExtent,       ///< `extent` or `bitCount` on a field that has no use for it
    KindMismatch,      ///< the key's kind does not fit the wire form and conversion
    ConvertMismatch,   ///< the conversion does not fit the wire form
    PartOutOfRange,    ///< `part` outside the key's numbers
    Unnamed,           ///< neither key, name nor constant
    ConstantMisplaced, ///< a constant on a field with a key, on a text or time, or too wide for its field
    TailMismatch,      ///< items without size or fields, or item fields without a tail of items; arrays likewise
    ArrayMismatch,     ///< an array without name or of no numbers, or that no whole number of the fixed fields counts
};

namespace detail {

constexpr bool IsBit(Wire wire)
{
    return wire == Wire::BitOfU16 || wire == Wire::BitOfU32 || wire == Wire::BitOfU64;
}
constexpr bool IsInteger(Wire wire)
{
    return wire == Wire::U8 || wire == Wire::U16 || wire == Wire::U32 || wire == Wire::I32;
}
constexpr bool IsFloating(Wire wire)
{
    return wire == Wire::F32 || wire == Wire::F64;
}
constexpr bool IsText(Wire wire)
{
    return wire == Wire::Text || wire == Wire::Bytes;
}

constexpr bool ConvertFitsWire(Wire wire, Convert convert)
{
    switch (convert) {
    case Convert::None:
    case Convert::Computed:
        return true;
    case Convert::Radians:
    case Convert::NegatedRadians:
    case Convert::RadiansByFactor:
    case Convert::NegatedRadiansByFactor:
    case Convert::Negated:
    case Convert::TimesThousand:
    case Convert::Thousandth:
        return IsFloating(wire);
    case Convert::TimesTwenty:
        return wire == Wire::U16;
    case Convert::FifthOfFloat:
        return wire == Wire::F32;
    case Convert::Truncated:
    case Convert::PlusOne:
        return IsInteger(wire);
    case Convert::SetWhenZero:
    case Convert::SetWhenOne:
        return IsBit(wire);
    }
    return false;
}

constexpr bool KindFits(Kind kind, Wire wire, Convert convert)
{
    bool const whole = kind == Kind::Int || kind == Kind::UInt;
    bool const real = kind == Kind::Double || kind == Kind::Pair || kind == Kind::Offset;
    switch (convert) {
    case Convert::Computed:
        return true;
    case Convert::None:
        if (IsBit(wire)) {
            return kind == Kind::Bool;
        }
        if (IsInteger(wire) || wire == Wire::BitsOfU32) {
            return whole || kind == Kind::Bool;
        }
        if (IsFloating(wire)) {
            return real;
        }
        if (IsText(wire)) {
            return kind == Kind::String;
        }
        return wire == Wire::TimeX5 && kind == Kind::Double;
    case Convert::Radians:
    case Convert::NegatedRadians:
    case Convert::RadiansByFactor:
    case Convert::NegatedRadiansByFactor:
    case Convert::Negated:
    case Convert::TimesThousand:
    case Convert::Thousandth:
    case Convert::Truncated:
        return real;
    case Convert::TimesTwenty:
    case Convert::FifthOfFloat:
    case Convert::SetWhenZero:
    case Convert::SetWhenOne:
    case Convert::PlusOne:
        return whole;
    }
    return false;
}

constexpr bool ExtentIsRight(Field const& field, LayoutError& error)
{
    error = LayoutError::None;
    if (IsText(field.wire)) {
        if (field.extent == 0) {
            error = LayoutError::TextWithoutExtent;
        }
    } else if (IsBit(field.wire)) {
        if (field.extent >= 8 * WidthOf(field)) {
            error = LayoutError::BitOutOfRange;
        }
    } else if (field.wire == Wire::BitsOfU32) {
        if (field.bitCount == 0 || field.extent + field.bitCount > 32) {
            error = LayoutError::BitOutOfRange;
        }
    } else if (field.extent != 0) {
        error = LayoutError::StrayExtent;
    }
    if (error == LayoutError::None && field.bitCount != 0 && field.wire != Wire::BitsOfU32) {
        error = LayoutError::StrayExtent;
    }
    return error == LayoutError::None;
}

constexpr LayoutError LintConstant(Field const& field)
{
    if (field.constant == 0) {
        return LayoutError::None;
    }
    if (field.key != nullptr || IsText(field.wire) || field.wire == Wire::TimeX5) {
        return LayoutError::ConstantMisplaced;
    }
    std::size_t bits = 8 * WidthOf(field);
    if (IsBit(field.wire)) {
        bits = 1;
    }
    if (field.wire == Wire::BitsOfU32) {
        bits = field.bitCount;
    }
    if (bits < 32 && (field.constant >> bits) != 0) {
        return LayoutError::ConstantMisplaced;
    }
    return LayoutError::None;
}

constexpr LayoutError LintField(Field const& field, std::size_t size)
{
    LayoutError error = LayoutError::None;
    if (!ExtentIsRight(field, error)) {
        return error;
    }
    if (field.offset > size || WidthOf(field) > size - field.offset) {
        return LayoutError::BeyondSize;
    }
    if (field.key == nullptr && field.name.empty() && field.constant == 0) {
        return LayoutError::Unnamed;
    }
    if (error = LintConstant(field); error != LayoutError::None) {
        return error;
    }
    if (!ConvertFitsWire(field.wire, field.convert)) {
        return LayoutError::ConvertMismatch;
    }
    if (field.key == nullptr) {
        return field.part == 0 ? LayoutError::None : LayoutError::PartOutOfRange;
    }
    if (!KindFits(field.key->kind, field.wire, field.convert)) {
        return LayoutError::KindMismatch;
    }
    unsigned const parts = field.key->kind == Kind::Offset ? 3U : field.key->kind == Kind::Pair ? 2U : 1U;
    return field.part < parts ? LayoutError::None : LayoutError::PartOutOfRange;
}

/// First bit of the field, counted from the start of the payload. Because all words are little-endian, a bit has the
/// same number whatever the width of the word that it is seen in.
constexpr std::size_t FirstBit(Field const& field)
{
    bool const within = IsBit(field.wire) || field.wire == Wire::BitsOfU32;
    return std::size_t{field.offset} * 8 + (within ? field.extent : 0U);
}
constexpr std::size_t BitLength(Field const& field)
{
    if (IsBit(field.wire)) {
        return 1;
    }
    return field.wire == Wire::BitsOfU32 ? field.bitCount : 8 * WidthOf(field);
}

} // namespace detail

/// Checks the fields of a payload or of an item of `size` bytes; gives the first error found.
constexpr LayoutError LintFields(std::span<Field const> fields, std::size_t size)
{
    for (Field const& field : fields) {
        if (auto const error = detail::LintField(field, size); error != LayoutError::None) {
            return error;
        }
    }
    for (std::size_t i = 0; i < fields.size(); ++i) {
        std::size_t const begin = detail::FirstBit(fields[i]);
        std::size_t const end = begin + detail::BitLength(fields[i]);
        for (std::size_t j = i + 1; j < fields.size(); ++j) {
            std::size_t const otherBegin = detail::FirstBit(fields[j]);
            if (begin < otherBegin + detail::BitLength(fields[j]) && otherBegin < end) {
                return LayoutError::Overlap;
            }
        }
    }
    return LayoutError::None;
}

/// The place of the fixed field without key that tells a whole number under that name; beyond the last, if there is
/// none.
constexpr std::size_t PlaceOfCount(std::span<Field const> fields, std::string_view name)
{
    for (std::size_t i = 0; i < fields.size(); ++i) {
        Field const& field = fields[i];
        if (field.key == nullptr && field.name == name && detail::IsInteger(field.wire) && field.wire != Wire::I32) {
            return i;
        }
    }
    return fields.size();
}

constexpr LayoutError LintArrays(std::span<ArrayField const> arrays, std::span<Field const> fields)
{
    for (ArrayField const& array : arrays) {
        bool const isOfNumbers = detail::IsInteger(array.wire) || detail::IsFloating(array.wire);
        bool const isCounted = PlaceOfCount(fields, array.count) < fields.size() &&
                               (array.rows.empty() || PlaceOfCount(fields, array.rows) < fields.size());
        if (array.name.empty() || !isOfNumbers || !isCounted) {
            return LayoutError::ArrayMismatch;
        }
    }
    return LayoutError::None;
}

/// Checks a whole record; gives the first error found.
constexpr LayoutError LintRecord(RecordLayout const& layout)
{
    if (auto const error = LintFields(layout.fields, layout.size); error != LayoutError::None) {
        return error;
    }
    bool const items = layout.tail == Tail::Items;
    if (items != (layout.itemSize != 0) || items != !layout.itemFields.empty()) {
        return LayoutError::TailMismatch;
    }
    if (layout.tail == Tail::None && (layout.tailKey != nullptr || !layout.tailName.empty())) {
        return LayoutError::TailMismatch;
    }
    if ((layout.tail == Tail::Arrays) != !layout.arrays.empty()) {
        return LayoutError::TailMismatch;
    }
    if (auto const error = LintArrays(layout.arrays, layout.fields); error != LayoutError::None) {
        return error;
    }
    return LintFields(layout.itemFields, layout.itemSize);
}

/// The less usual properties of a record; name what differs: `{.carrier = Carrier::Data}`.
struct RecordOptions
{
    Carrier carrier = Carrier::RemoteControl;
    Tail tail = Tail::None; ///< Items comes by itself with RepeatedItems
    std::string_view tailName = {};
    KeyPointer tailKey = nullptr;
    std::span<ArrayField const> arrays = {}; ///< of static storage, for a tail of arrays
};

/// Fields that several records begin with, and those that follow in one of them.
template <std::size_t N>
struct JoinedFields
{
    template <std::size_t A, std::size_t B>
    constexpr JoinedFields(std::array<Field, A> const& first, Field const (&more)[B])
    {
        std::size_t at = 0;
        for (Field const& field : first) {
            all[at++] = field;
        }
        for (Field const& field : more) {
            all[at++] = field;
        }
    }
    std::array<Field, N> all = {};
};
template <std::size_t A, std::size_t B>
JoinedFields(std::array<Field, A> const&, Field const (&)[B]) -> JoinedFields<A + B>;

/// The items that follow the fixed fields: `RepeatedItems{40, {Field{...}, ...}}`.
template <std::size_t M>
struct RepeatedItems
{
    constexpr RepeatedItems(std::uint32_t sizeOfItem, Field const (&rows)[M]) : itemSize(sizeOfItem)
    {
        for (std::size_t i = 0; i < M; ++i) {
            fields[i] = rows[i];
        }
    }
    std::uint32_t itemSize = 0; ///< bytes
    std::array<Field, M> fields = {};
};

/// One record with its rows (the `N == 0 ? 1 : N` below only keeps the unused constructors well-formed), meant for
/// `inline constexpr` variables: N fixed fields and M fields of a repeated item. Constructing one checks it, so that a
/// wrong table is a compile error that names what is wrong. A RecordLayout made of it points into it.
template <std::size_t N, std::size_t M = 0>
class RecordTable
{
public:
    /// A record without fixed fields: no payload, or nothing but a tail.
    constexpr RecordTable(std::uint32_t id, std::string_view name,
                          RecordOptions options = {}) requires(N == 0 && M == 0)
        : m_id(id), m_name(name), m_options(options)
    {
        Check();
    }

    constexpr RecordTable(std::uint32_t id, std::string_view name, std::uint32_t size,
                          Field const (&fields)[N == 0 ? 1 : N], RecordOptions options = {}) requires(N != 0 && M == 0)
        : m_id(id), m_size(size), m_name(name), m_options(options)
    {
        for (std::size_t i = 0; i < N; ++i) {
            m_fields[i] = fields[i];
        }
        Check();
    }

    /// The same with fields some of which begin other records, too.
    constexpr RecordTable(std::uint32_t id, std::string_view name, std::uint32_t size, JoinedFields<N> const& fields,
                          RecordOptions options = {}) requires(N != 0 && M == 0)
        : m_id(id), m_size(size), m_name(name), m_options(options), m_fields(fields.all)
    {
        Check();
    }

    constexpr RecordTable(std::uint32_t id, std::string_view name, std::uint32_t size,
                          Field const (&fields)[N == 0 ? 1 : N], RepeatedItems<M == 0 ? 1 : M> const& items,
                          RecordOptions options = {}) requires(N != 0 && M != 0)
        : m_id(id), m_size(size), m_itemSize(items.itemSize), m_name(name), m_options(options),
          m_itemFields(items.fields)
    {
        for (std::size_t i = 0; i < N; ++i) {
            m_fields[i] = fields[i];
        }
        m_options.tail = Tail::Items;
        Check();
    }

    constexpr RecordLayout Layout() const
    {
        return RecordLayout{m_id,
                            m_name,
                            m_size,
                            std::span<Field const>(m_fields),
                            m_options.carrier,
                            m_options.tail,
                            m_itemSize,
                            std::span<Field const>(m_itemFields),
                            m_options.tailName,
                            m_options.tailKey,
                            m_options.arrays};
    }
    constexpr operator RecordLayout() const { return Layout(); }

    constexpr std::uint32_t Id() const { return m_id; }
    constexpr std::uint32_t Size() const { return m_size; } ///< bytes of the payload, without the tail
    constexpr std::array<Field, N> const& Fields() const { return m_fields; }
    constexpr std::array<Field, M> const& ItemFields() const { return m_itemFields; }

    /// The row of that key. A key that the table lacks is a compile error in a constant expression, otherwise
    /// std::logic_error.
    constexpr Field const& FieldOf(Key const& key, std::uint8_t part = 0) const
    {
        for (Field const& field : m_fields) {
            if (field.key == &key && field.part == part) {
                return field;
            }
        }
        throw std::logic_error("the record has no field of that key");
    }

private:
    constexpr void Check() const
    {
        switch (LintRecord(Layout())) {
        case LayoutError::None:
            return;
        case LayoutError::BeyondSize:
            throw std::logic_error("record table: a field ends beyond the record");
        case LayoutError::Overlap:
            throw std::logic_error("record table: two fields share a bit");
        case LayoutError::TextWithoutExtent:
            throw std::logic_error("record table: a text without extent");
        case LayoutError::BitOutOfRange:
            throw std::logic_error("record table: a bit outside its word");
        case LayoutError::StrayExtent:
            throw std::logic_error("record table: an extent that means nothing here");
        case LayoutError::KindMismatch:
            throw std::logic_error("record table: the key's kind does not fit the wire form");
        case LayoutError::ConvertMismatch:
            throw std::logic_error("record table: the conversion does not fit the wire form");
        case LayoutError::PartOutOfRange:
            throw std::logic_error("record table: the key has no such part");
        case LayoutError::Unnamed:
            throw std::logic_error("record table: a field without key, name and constant");
        case LayoutError::ConstantMisplaced:
            throw std::logic_error("record table: a constant that its field cannot hold");
        case LayoutError::TailMismatch:
            throw std::logic_error("record table: tail and items do not agree");
        case LayoutError::ArrayMismatch:
            throw std::logic_error("record table: an array that no field counts");
        }
    }

    std::uint32_t m_id = 0;
    std::uint32_t m_size = 0;
    std::uint32_t m_itemSize = 0;
    std::string_view m_name;
    RecordOptions m_options;
    std::array<Field, N> m_fields = {};
    std::array<Field, M> m_itemFields = {};
};

RecordTable(std::uint32_t, std::string_view)->RecordTable<0>;
RecordTable(std::uint32_t, std::string_view, RecordOptions)->RecordTable<0>;
template <std::size_t N>
RecordTable(std::uint32_t, std::string_view, std::uint32_t, Field const (&)[N]) -> RecordTable<N>;
template <std::size_t N>
RecordTable(std::uint32_t, std::string_view, std::uint32_t, Field const (&)[N], RecordOptions) -> RecordTable<N>;
template <std::size_t N>
RecordTable(std::uint32_t, std::string_view, std::uint32_t, JoinedFields<N>, RecordOptions) -> RecordTable<N>;
template <std::size_t N, std::size_t M>
RecordTable(std::uint32_t, std::string_view, std::uint32_t, Field const (&)[N], RepeatedItems<M>) -> RecordTable<N, M>;
template <std::size_t N, std::size_t M>
RecordTable(std::uint32_t, std::string_view, std::uint32_t, Field const (&)[N], RepeatedItems<M>, RecordOptions)
    -> RecordTable<N, M>;

/// The fixed field of a key, or null.
constexpr Field const* FindField(RecordLayout const& layout, Key const& key, std::uint8_t part = 0)
{
    for (Field const& field : layout.fields) {
        if (field.key == &key && field.part == part) {
            return &field;
        }
    }
    return nullptr;
}

} // namespace qx5::protocol
