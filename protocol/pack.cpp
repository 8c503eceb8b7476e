// How one value becomes the bytes or bits of one field.
#include <protocol/pack.h>

#include <algorithm>

#include <protocol/bytes.h>
#include <protocol/numbers.h>
#include <protocol/time_stamp.h>
#include <protocol/utf8.h>

namespace qx5::protocol {

namespace {

bool Holds(Field const& field, std::span<unsigned char const> payload)
{
    return Fits(payload.size(), field.offset, WidthOf(field));
}

/// Bit `number` counted from the least of the byte at `offset`: the same bit in a word of any width.
void PutBit(std::span<unsigned char> payload, std::size_t offset, unsigned number, bool set)
{
    unsigned char& byte = payload[offset + number / 8];
    unsigned const mask = 1U << (number % 8);
    byte = static_cast<unsigned char>(set ? byte | mask : byte & ~mask);
}

double ConvertReal(Convert convert, double value)
{
    switch (convert) {
    case Convert::Radians:
        return DegreesToRadians(value);
    case Convert::NegatedRadians:
        return DegreesToRadians(-value);
    case Convert::RadiansByFactor:
        return value * RadiansPerDegree;
    case Convert::NegatedRadiansByFactor:
        return -value * RadiansPerDegree;
    case Convert::Negated:
        return -value;
    case Convert::TimesThousand:
        return value * 1000.0;
    case Convert::Thousandth:
        return value / 1000.0;
    default:
        return value;
    }
}

bool PutReal(Field const& field, double value, std::span<unsigned char> payload)
{
    switch (field.wire) {
    case Wire::F32:
        PutF32LE(payload, field.offset, NarrowToFloat(value));
        return true;
    case Wire::F64:
        PutF64LE(payload, field.offset, WithPlainNan(value));
        return true;
    case Wire::TimeX5:
        PutTimeX5LE(payload, field.offset, ToTimeX5(value));
        return true;
    default:
        return false;
    }
}

/// `bits` are the value's two's complement, `real` its value.
bool PackInteger(Field const& field, std::uint64_t wideBits, double real, std::span<unsigned char> payload)
{
    if (!Holds(field, payload)) {
        return false;
    }
    auto bits = static_cast<std::uint32_t>(wideBits); // no wire form is wider than that
    switch (field.convert) {
    case Convert::TimesTwenty:
        bits *= 20U; // unsigned, so that it wraps
        break;
    case Convert::PlusOne:
        bits += 1U;
        break;
    default:
        break;
    }
    switch (field.wire) {
    case Wire::U8:
        PutU8(payload, field.offset, Low8Bits(bits));
        return true;
    case Wire::U16:
        PutU16LE(payload, field.offset, Low16Bits(bits));
        return true;
    case Wire::U32:
    case Wire::I32:
        PutU32LE(payload, field.offset, bits);
        return true;
    case Wire::BitOfU16:
    case Wire::BitOfU32:
    case Wire::BitOfU64: {
        bool const set = field.convert == Convert::SetWhenZero  ? wideBits == 0
                         : field.convert == Convert::SetWhenOne ? wideBits == 1
                                                                : wideBits != 0;
        if (field.extent >= 8 * WidthOf(field)) {
            return false;
        }
        PutBit(payload, field.offset, field.extent, set);
        return true;
    }
    case Wire::BitsOfU32:
        if (field.extent >= 32) {
            return false;
        }
        PutU32LE(payload, field.offset, GetU32LE(payload, field.offset) | (bits << field.extent));
        return true;
    case Wire::F32:
        if (field.convert == Convert::FifthOfFloat) {
            PutF32LE(payload, field.offset, static_cast<float>(real) / 5.0F);
            return true;
        }
        return PutReal(field, ConvertReal(field.convert, real), payload);
    case Wire::F64:
    case Wire::TimeX5:
        return PutReal(field, ConvertReal(field.convert, real), payload);
    case Wire::Text:
    case Wire::Bytes:
        return false;
    }
    return false;
}

/// The bytes of a text field that the text itself may take; empty when there is no such field.
std::span<unsigned char> TextBytes(Field const& field, std::span<unsigned char> payload)
{
    if ((field.wire != Wire::Text && field.wire != Wire::Bytes) || field.extent == 0 || !Holds(field, payload)) {
        return {};
    }
    auto const bytes = payload.subspan(field.offset, field.extent);
    std::fill(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    return bytes;
}

std::size_t UsableLength(Field const& field)
{
    return field.wire == Wire::Text ? field.extent - 1U : field.extent;
}

} // namespace

bool PackField(Field const& field, std::int32_t value, std::span<unsigned char> payload)
{
    return PackInteger(field, static_cast<std::uint32_t>(value), value, payload);
}

bool PackField(Field const& field, std::uint32_t value, std::span<unsigned char> payload)
{
    return PackInteger(field, value, value, payload);
}

bool PackField(Field const& field, std::int64_t value, std::span<unsigned char> payload)
{
    return PackInteger(field, static_cast<std::uint64_t>(value), static_cast<double>(value), payload);
}

bool PackField(Field const& field, double value, std::span<unsigned char> payload)
{
    if (field.wire == Wire::F32 || field.wire == Wire::F64 || field.wire == Wire::TimeX5) {
        if (!Holds(field, payload)) {
            return false;
        }
        if (field.convert == Convert::FifthOfFloat) {
            PutF32LE(payload, field.offset, NarrowToFloat(value) / 5.0F);
            return true;
        }
        return PutReal(field, ConvertReal(field.convert, value), payload);
    }
    return PackField(field, TruncateToInt32(value), payload);
}

bool PackField(Field const& field, std::wstring_view text, std::span<unsigned char> payload)
{
    auto const bytes = TextBytes(field, payload);
    if (bytes.empty()) {
        return false;
    }
    EncodeUtf8Into(text, bytes.first(UsableLength(field)));
    return true;
}

bool PackField(Field const& field, std::string_view utf8, std::span<unsigned char> payload)
{
    auto const bytes = TextBytes(field, payload);
    if (bytes.empty()) {
        return false;
    }
    std::size_t const length = std::min(utf8.size(), UsableLength(field));
    for (std::size_t i = 0; i < length; ++i) {
        bytes[i] = static_cast<unsigned char>(utf8[i]);
    }
    return true;
}

bool PackField(Field const& field, Value const& value, std::span<unsigned char> payload)
{
    if (auto const* integer = std::get_if<std::int32_t>(&value)) {
        return PackField(field, *integer, payload);
    }
    if (auto const* number = std::get_if<std::uint32_t>(&value)) {
        return PackField(field, *number, payload);
    }
    if (auto const* wide = std::get_if<std::int64_t>(&value)) {
        return PackField(field, *wide, payload);
    }
    if (auto const* flag = std::get_if<bool>(&value)) {
        return PackField(field, *flag, payload);
    }
    if (auto const* real = std::get_if<double>(&value)) {
        return PackField(field, *real, payload);
    }
    if (auto const* text = std::get_if<std::wstring>(&value)) {
        return PackField(field, std::wstring_view(*text), payload);
    }
    if (auto const* pair = std::get_if<std::pair<double, double>>(&value)) {
        if (field.part > 1) {
            return false;
        }
        return PackField(field, field.part == 0 ? pair->first : pair->second, payload);
    }
    if (auto const* axes = std::get_if<std::array<double, 3>>(&value)) {
        return field.part < axes->size() && PackField(field, (*axes)[field.part], payload);
    }
    return false;
}

void PackConstants(std::span<Field const> fields, std::span<unsigned char> payload)
{
    for (Field const& field : fields) {
        if (field.key == nullptr && field.constant != 0) {
            PackField(field, field.constant, payload);
        }
    }
}

void PackConstants(RecordLayout const& layout, std::span<unsigned char> payload)
{
    PackConstants(layout.fields, payload);
}

} // namespace qx5::protocol
