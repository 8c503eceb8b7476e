// The inverse of packing, as far as a conversion has one.
#include <protocol/unpack.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <protocol/bytes.h>
#include <protocol/frame.h>
#include <protocol/numbers.h>
#include <protocol/record_table.h>
#include <protocol/time_stamp.h>
#include <protocol/utf8.h>

namespace qx5::protocol {

namespace {

Value WireText(std::span<unsigned char const> bytes)
{
    auto const end = std::find(bytes.begin(), bytes.end(), static_cast<unsigned char>(0));
    return DecodeUtf8(bytes.first(static_cast<std::size_t>(end - bytes.begin())));
}

bool GetBit(std::span<unsigned char const> payload, std::size_t offset, unsigned number)
{
    return ((static_cast<unsigned>(payload[offset + number / 8]) >> (number % 8)) & 1U) != 0;
}

Value WireValue(Field const& field, std::span<unsigned char const> payload)
{
    switch (field.wire) {
    case Wire::U8:
        return std::uint32_t{GetU8(payload, field.offset)};
    case Wire::U16:
        return std::uint32_t{GetU16LE(payload, field.offset)};
    case Wire::U32:
        return GetU32LE(payload, field.offset);
    case Wire::I32:
        return GetI32LE(payload, field.offset);
    case Wire::F32:
        return static_cast<double>(GetF32LE(payload, field.offset));
    case Wire::F64:
        return GetF64LE(payload, field.offset);
    case Wire::BitOfU16:
    case Wire::BitOfU32:
    case Wire::BitOfU64:
        if (field.extent >= 8 * WidthOf(field)) {
            return {};
        }
        return GetBit(payload, field.offset, field.extent);
    case Wire::BitsOfU32: {
        if (field.bitCount == 0 || field.extent + field.bitCount > 32) {
            return {};
        }
        std::uint32_t const mask = 0xFFFFFFFFU >> (32 - field.bitCount);
        return (GetU32LE(payload, field.offset) >> field.extent) & mask;
    }
    case Wire::Text:
    case Wire::Bytes:
        return WireText(payload.subspan(field.offset, field.extent));
    case Wire::TimeX5:
        if (auto const seconds = FromTimeX5(GetTimeX5LE(payload, field.offset))) {
            return *seconds;
        }
        return {};
    }
    return {};
}

double RealBefore(Convert convert, double wire)
{
    switch (convert) {
    // A float of radians tells degrees no more finely than a float does; its own rounding must not show behind that.
    case Convert::Radians:
    case Convert::RadiansByFactor:
        return NarrowToFloat(RadiansToDegrees(wire));
    case Convert::NegatedRadians:
    case Convert::NegatedRadiansByFactor:
        return -NarrowToFloat(RadiansToDegrees(wire));
    case Convert::Negated:
        return -wire;
    case Convert::TimesThousand:
        return wire / 1000.0;
    case Convert::Thousandth:
        return wire * 1000.0;
    default:
        return wire;
    }
}

/// The integer that the key had, by its bits.
std::uint32_t WholeBefore(Convert convert, Value const& wire)
{
    std::uint32_t bits = 0;
    if (auto const* number = std::get_if<std::uint32_t>(&wire)) {
        bits = *number;
    } else if (auto const* integer = std::get_if<std::int32_t>(&wire)) {
        bits = static_cast<std::uint32_t>(*integer);
    } else if (auto const* set = std::get_if<bool>(&wire)) {
        bits = *set ? 1 : 0;
    } else if (auto const* real = std::get_if<double>(&wire)) {
        bits = static_cast<std::uint32_t>(
            TruncateToInt32(convert == Convert::FifthOfFloat ? std::round(*real * 5.0) : *real));
    }
    switch (convert) {
    case Convert::TimesTwenty:
        return bits / 20;
    case Convert::PlusOne:
        return bits - 1;
    case Convert::SetWhenZero:
        return bits != 0 ? 0 : 1;
    default:
        return bits;
    }
}

Value AttributeValue(Field const& field, Value const& wire)
{
    if (field.key == nullptr || field.convert == Convert::Computed || IsEmpty(wire)) {
        return {};
    }
    switch (field.key->kind) {
    case Kind::Int: {
        std::uint32_t const bits = WholeBefore(field.convert, wire);
        return static_cast<std::int32_t>(bits);
    }
    case Kind::UInt:
        return WholeBefore(field.convert, wire);
    case Kind::Int64: {
        std::uint32_t const bits = WholeBefore(field.convert, wire);
        if (std::holds_alternative<std::uint32_t>(wire)) {
            return std::int64_t{bits};
        }
        return std::int64_t{static_cast<std::int32_t>(bits)};
    }
    case Kind::Bool:
        return WholeBefore(field.convert, wire) != 0;
    case Kind::Double:
    case Kind::Pair:
    case Kind::Offset:
        if (auto const* real = std::get_if<double>(&wire)) {
            return RealBefore(field.convert, *real);
        }
        if (auto const* integer = std::get_if<std::int32_t>(&wire)) {
            return static_cast<double>(*integer);
        }
        if (auto const* number = std::get_if<std::uint32_t>(&wire)) {
            return static_cast<double>(*number);
        }
        return {};
    case Kind::String:
        return std::holds_alternative<std::wstring>(wire) ? wire : Value{};
    case Kind::DataId:
    case Kind::IntList:
    case Kind::DoubleList:
    case Kind::Branch:
    case Kind::Any:
        return {};
    }
    return {};
}

std::vector<FieldValue> UnpackFields(std::span<Field const> fields, std::span<unsigned char const> bytes)
{
    std::vector<FieldValue> values;
    values.reserve(fields.size());
    for (Field const& field : fields) {
        if (Fits(bytes.size(), field.offset, WidthOf(field))) {
            values.push_back(UnpackField(field, bytes));
        }
    }
    return values;
}

void UnpackTail(RecordLayout const& layout, std::span<unsigned char const> payload, UnpackedRecord& record)
{
    auto const bytes = record.tailBytes;
    auto const list = [&](std::size_t width, auto&& get) {
        std::vector<std::int32_t> numbers(bytes.size() / width);
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            numbers[i] = get(i * width);
        }
        record.tail = std::move(numbers);
        record.excessBytes = bytes.size() % width;
    };
    switch (layout.tail) {
    case Tail::None:
    case Tail::Bytes:
        break;
    case Tail::Arrays: {
        record.arrays.resize(layout.arrays.size());
        auto const whole = PlaceArrays(layout, payload, record.arrays);
        if (whole && *whole <= payload.size()) {
            record.excessBytes = payload.size() - *whole;
        } else {
            record.arrays.clear();
            record.missingBytes = whole ? *whole - payload.size() : std::numeric_limits<std::size_t>::max();
        }
        break;
    }
    case Tail::Items:
        if (layout.itemSize == 0) {
            break;
        }
        record.items.reserve(bytes.size() / layout.itemSize);
        for (std::size_t at = 0; bytes.size() - at >= layout.itemSize; at += layout.itemSize) {
            record.items.push_back(UnpackFields(layout.itemFields, bytes.subspan(at, layout.itemSize)));
        }
        record.excessBytes = bytes.size() % layout.itemSize;
        break;
    case Tail::I32List:
    case Tail::U32List:
        list(4, [&](std::size_t at) { return GetI32LE(bytes, at); });
        break;
    case Tail::U16List:
        list(2, [&](std::size_t at) { return std::int32_t{GetU16LE(bytes, at)}; });
        break;
    case Tail::Utf8:
        record.tail = DecodeUtf8(bytes);
        break;
    case Tail::Utf8Z:
        record.tail = WireText(bytes);
        break;
    }
}

} // namespace

FieldValue UnpackField(Field const& field, std::span<unsigned char const> payload)
{
    FieldValue value{&field, {}, {}};
    if (Fits(payload.size(), field.offset, WidthOf(field))) {
        value.wire = WireValue(field, payload);
        value.attribute = AttributeValue(field, value.wire);
    }
    return value;
}

UnpackedRecord Unpack(RecordLayout const& layout, std::span<unsigned char const> payload)
{
    UnpackedRecord record;
    record.fields = UnpackFields(layout.fields, payload);
    if (payload.size() < layout.size) {
        record.missingBytes = layout.size - payload.size();
        return record;
    }
    auto const rest = payload.subspan(layout.size);
    if (layout.tail == Tail::None) {
        record.excessBytes = rest.size();
        return record;
    }
    record.tailBytes = rest;
    UnpackTail(layout, payload, record);
    return record;
}

std::optional<std::size_t> PlaceArrays(RecordLayout const& layout, std::span<unsigned char const> payload,
                                       std::span<UnpackedArray> places)
{
    auto const countOf = [&](std::string_view name) {
        Field const& field = layout.fields[PlaceOfCount(layout.fields, name)]; // a table without it does not compile
        std::uint32_t count = 0;
        for (std::size_t i = WidthOf(field); i-- > 0;) {
            count = count << 8 | payload[field.offset + i];
        }
        return std::size_t{count};
    };
    std::size_t end = layout.size;
    for (std::size_t i = 0; i < layout.arrays.size(); ++i) {
        ArrayField const& array = layout.arrays[i];
        UnpackedArray& place = places[i];
        place = {&array, countOf(array.count), array.rows.empty() ? 1 : countOf(array.rows), end, 0};
        std::size_t const room = (MaximumFrameSize - end) / WidthOf(array);
        if (place.rows != 0 && place.count > room / place.rows) {
            return std::nullopt;
        }
        place.size = place.count * place.rows * WidthOf(array);
        end += place.size;
    }
    return end;
}

std::vector<std::pair<Key const*, Value>> KeyValues(std::span<FieldValue const> fields)
{
    std::vector<std::pair<Key const*, Value>> values;
    for (FieldValue const& field : fields) {
        if (field.field == nullptr || IsEmpty(field.attribute)) {
            continue;
        }
        Key const* const key = field.field->key;
        auto const* const real = std::get_if<double>(&field.attribute);
        bool const isPair = key->kind == Kind::Pair && real != nullptr;
        bool const isOffset = key->kind == Kind::Offset && real != nullptr;
        if (!isPair && !isOffset) {
            values.emplace_back(key, field.attribute);
            continue;
        }
        auto at = std::find_if(values.begin(), values.end(), [&](auto const& known) { return known.first == key; });
        if (at == values.end()) {
            Value const empty = isPair ? Value(std::pair<double, double>()) : Value(std::array<double, 3>());
            at = values.insert(values.end(), {key, empty});
        }
        if (auto* pair = std::get_if<std::pair<double, double>>(&at->second)) {
            (field.field->part == 0 ? pair->first : pair->second) = *real;
        } else if (auto* axes = std::get_if<std::array<double, 3>>(&at->second); axes && field.field->part < 3) {
            (*axes)[field.field->part] = *real;
        }
    }
    return values;
}

} // namespace qx5::protocol
