// The vocabulary in which records of the sonar protocol are written down as tables: keys, fields, layouts.
#pragma once

#include "kinds.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <type_traits>

namespace qx5::protocol {

/// What a number of a key or of a wire field is counted in.
enum class Unit : std::uint8_t
{
    None,
    Metre,
    MetrePerSecond,
    Degree,
    Radian,
    Celsius,
    Second,
    Millisecond,
    Microsecond,
    Nanosecond,
    Hertz,
    Kilohertz,
    Decibel,
    DecibelPerKilometre,
    PingPerSecond,
    Percent,
    BitPerSecond,
    Byte,
};

/// One request key: its text stands here and nowhere else. Keys are constants of static storage and are compared
/// by address.
struct Key
{
    std::wstring_view text;
    Kind kind = Kind::Any;
    Unit unit = Unit::None;
    std::string_view meaning = {}; ///< a few words for the manual and for `qx5 keys`
};

/// Points to a key or to none. It stands for a plain pointer and remembers by itself whether there is a key, and
/// compares texts in constant expressions: a compiler that instruments null pointers compares no addresses there.
class KeyPointer
{
public:
    constexpr KeyPointer() = default;
    constexpr KeyPointer(std::nullptr_t) {}
    constexpr KeyPointer(Key const* key) : m_key(key), m_present(std::is_constant_evaluated() || key != nullptr) {}

    constexpr operator Key const*() const { return m_key; }
    constexpr Key const* operator->() const { return m_key; }
    constexpr Key const& operator*() const { return *m_key; }
    friend constexpr bool operator==(KeyPointer pointer, std::nullptr_t) { return !pointer.m_present; }
    friend constexpr bool operator==(KeyPointer a, KeyPointer b)
    {
        if (!std::is_constant_evaluated()) {
            return a.m_key == b.m_key;
        }
        return a.m_present == b.m_present && (!a.m_present || a.m_key->text == b.m_key->text);
    }
    friend constexpr bool operator==(KeyPointer a, Key const* b) { return a == KeyPointer(b); }

private:
    Key const* m_key = nullptr;
    bool m_present = false;
};

/// How a field lies on the wire. All numbers are little-endian.
enum class Wire : std::uint8_t
{
    U8,
    U16,
    U32,
    I32,
    F32,
    F64,
    BitOfU16,  ///< one bit of a 16-bit word; `extent` is the bit's number
    BitOfU32,  ///< one bit of a 32-bit word; `extent` is the bit's number
    BitOfU64,  ///< one bit of a 64-bit word; `extent` is the bit's number
    BitsOfU32, ///< `bitCount` bits of a 32-bit word from bit `extent` up; packing shifts and ORs without masking
    Text,      ///< UTF-8 in a fixed field of `extent` bytes, at most `extent` - 1 of them used, rest 0
    Bytes,     ///< UTF-8 in a fixed field of `extent` bytes, all of them usable, rest 0
    TimeX5,    ///< the 10-byte time stamp
};

/// What happens to a value between the tree and the wire. Integers wider than their field lose their high bits.
enum class Convert : std::uint8_t
{
    None,
    Radians,                ///< (value x pi) / 180 in double, then narrowed
    NegatedRadians,         ///< the value negated, then as Radians
    RadiansByFactor,        ///< value x (pi / 180) in double, then narrowed; differs from Radians in the last bit
    NegatedRadiansByFactor, ///< the value negated, then as RadiansByFactor
    Negated,                ///< the value negated, in double
    TimesThousand,          ///< value x 1000 in double, then narrowed (kHz to Hz)
    Thousandth,             ///< value / 1000 in double (ms to s)
    TimesTwenty,            ///< integer x 20 modulo 2^16
    FifthOfFloat,           ///< integer to float, divided by 5 in single precision
    Truncated,              ///< double to signed 32-bit integer: toward zero, saturating, NaN 0
    SetWhenZero,            ///< integer: the bit is set when the value is 0
    SetWhenOne,             ///< integer: the bit is set when the value is exactly 1
    PlusOne,                ///< integer + 1, low bits
    Computed,               ///< the handler works the wire's number or text out of the key's value and packs the result
};

/// One field of a record. A field without key holds a constant or something that its handler computes. A key of two
/// or three numbers (Pair, Offset) has one field for each of them, told apart by `part`.
struct Field
{
    KeyPointer key = nullptr;
    std::uint16_t offset = 0; ///< bytes from the start of the payload (or of the item)
    Wire wire = Wire::U8;
    Convert convert = Convert::None;
    std::uint16_t extent = 0;   ///< bit number of a BitOf... or BitsOf..., width in bytes of Text and Bytes
    Unit unit = Unit::None;     ///< of the number on the wire, where the key's does not tell it
    std::string_view name = {}; ///< what the field is called where it has no key
    std::uint32_t constant = 0; ///< the value of a field without key that never changes
    std::uint8_t part = 0;      ///< which number of a Pair or an Offset this field carries, from 0
    std::uint8_t bitCount = 0;  ///< number of bits of a BitsOf...
};

/// What follows the fixed fields of a record of variable size.
enum class Tail : std::uint8_t
{
    None,
    Items,   ///< repeated items of `itemFields`, `itemSize` bytes each, to the end of the payload
    I32List, ///< signed 32-bit integers to the end
    U32List, ///< unsigned 32-bit integers to the end
    U16List, ///< unsigned 16-bit integers to the end
    Utf8,    ///< UTF-8 text to the end, without terminator
    Utf8Z,   ///< UTF-8 text to the end, the last byte 0
    Bytes,   ///< raw bytes to the end
    Arrays,  ///< `arrays` one after another without gaps, each as long as fixed fields tell
};

/// One array of a tail of arrays.
struct ArrayField
{
    std::string_view name = {};
    Wire wire = Wire::U8; ///< of each number: a whole or a real one
    Unit unit = Unit::None;
    std::string_view count = {}; ///< the name of the fixed field that tells how many numbers there are
    std::string_view rows = {};  ///< of a further one, where there are that many rows of so many; empty for one row
};

/// What the number on the wire is counted in: the key's unit, changed by the conversion.
constexpr Unit WireUnit(Field const& field)
{
    if (field.unit != Unit::None || field.key == nullptr) {
        return field.unit;
    }
    switch (field.convert) {
    case Convert::Radians:
    case Convert::NegatedRadians:
    case Convert::RadiansByFactor:
    case Convert::NegatedRadiansByFactor:
        return Unit::Radian;
    case Convert::TimesThousand:
        return field.key->unit == Unit::Kilohertz ? Unit::Hertz : Unit::None;
    case Convert::Thousandth:
        return field.key->unit == Unit::Millisecond ? Unit::Second : Unit::None;
    case Convert::TimesTwenty:
    case Convert::FifthOfFloat:
    case Convert::SetWhenZero:
    case Convert::SetWhenOne:
    case Convert::PlusOne:
    case Convert::Computed:
        return Unit::None;
    case Convert::None:
    case Convert::Negated:
    case Convert::Truncated:
        return field.key->unit;
    }
    return Unit::None;
}

/// How a record leaves for the sonar.
enum class Carrier : std::uint8_t
{
    RemoteControl, ///< wrapped in a remote-control record (command id = record id)
    Data,          ///< a plain data record with a frame of its own
    PassThrough,   ///< a remote-control command that the sonar processor hands on to another unit
};

/// Number of bytes in the word or field that `field` lies in; 0 for a Text or Bytes without extent.
constexpr std::size_t WidthOf(Field const& field)
{
    switch (field.wire) {
    case Wire::U8:
        return 1;
    case Wire::U16:
    case Wire::BitOfU16:
        return 2;
    case Wire::U32:
    case Wire::I32:
    case Wire::F32:
    case Wire::BitOfU32:
    case Wire::BitsOfU32:
        return 4;
    case Wire::F64:
    case Wire::BitOfU64:
        return 8;
    case Wire::Text:
    case Wire::Bytes:
        return field.extent;
    case Wire::TimeX5:
        return 10;
    }
    return 0;
}

/// Number of bytes of each number of an array.
constexpr std::size_t WidthOf(ArrayField const& array)
{
    return WidthOf(Field{.wire = array.wire});
}

/// One record: its id, its size and its fields. Views into tables of static storage; see RecordTable.
struct RecordLayout
{
    std::uint32_t id = 0;
    std::string_view name = {}; ///< as a hydrographer would say it, lower case: "absolute gates"
    std::uint32_t size = 0;     ///< bytes of the payload, without the tail
    std::span<Field const> fields = {};
    Carrier carrier = Carrier::RemoteControl;
    Tail tail = Tail::None;
    std::uint32_t itemSize = 0;
    std::span<Field const> itemFields = {};
    std::string_view tailName = {};
    KeyPointer tailKey = nullptr; ///< the key whose list, text or branch the tail carries
    std::span<ArrayField const> arrays = {};
};

} // namespace qx5::protocol
