// Values of metrics made and read: whole numbers in two's complement, arrays as little-endian bytes.
#include "sparkplug/metric_value.h"

#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace qx5::sparkplug {

namespace {

using protocol::Kind;
using protocol::Value;

/// In the order of the kinds.
constexpr std::array<DataType, protocol::KindRows.size()> typesOfKinds{
    DataType::Int32,       DataType::UInt32,      DataType::Int64,  DataType::Boolean,    DataType::Double,
    DataType::DoubleArray, DataType::UInt16Array, DataType::String, DataType::Int32Array, DataType::DoubleArray,
    DataType::DoubleArray, DataType::String,      DataType::String};

template <typename Number>
using BitsOf =
    std::conditional_t<sizeof(Number) == 1, std::uint8_t,
                       std::conditional_t<sizeof(Number) == 2, std::uint16_t,
                                          std::conditional_t<sizeof(Number) == 4, std::uint32_t, std::uint64_t>>>;

template <typename Number>
std::vector<unsigned char> Packed(std::span<Number const> numbers)
{
    std::vector<unsigned char> bytes;
    bytes.reserve(numbers.size() * sizeof(Number));
    for (Number const number : numbers) {
        auto const bits = std::bit_cast<BitsOf<Number>>(number);
        for (unsigned i = 0; i < sizeof(Number); ++i) {
            bytes.push_back(static_cast<unsigned char>(bits >> (8 * i)));
        }
    }
    return bytes;
}

/// Nothing when the bytes are no whole number of numbers.
template <typename Number, typename Made = Number>
std::optional<std::vector<Made>> Unpacked(WireValue const& value)
{
    auto const* const bytes = std::get_if<std::vector<unsigned char>>(&value);
    if (bytes == nullptr || bytes->size() % sizeof(Number) != 0) {
        return std::nullopt;
    }
    std::vector<Made> numbers;
    numbers.reserve(bytes->size() / sizeof(Number));
    for (std::size_t at = 0; at < bytes->size(); at += sizeof(Number)) {
        std::uint64_t bits = 0;
        for (unsigned i = 0; i < sizeof(Number); ++i) {
            bits |= std::uint64_t{(*bytes)[at + i]} << (8 * i);
        }
        numbers.push_back(static_cast<Made>(std::bit_cast<Number>(static_cast<BitsOf<Number>>(bits))));
    }
    return numbers;
}

struct WireMaker
{
    WireValue operator()(std::monostate) const { return std::monostate(); }
    WireValue operator()(std::int32_t number) const { return static_cast<std::uint32_t>(number); }
    // Programs of others read 32 bits without a sign from the wide field.
    WireValue operator()(std::uint32_t number) const { return std::uint64_t{number}; }
    WireValue operator()(std::int64_t number) const { return static_cast<std::uint64_t>(number); }
    WireValue operator()(bool flag) const { return flag; }
    WireValue operator()(double number) const { return number; }
    WireValue operator()(std::pair<double, double> const& pair) const
    {
        return Packed<double>(std::array{pair.first, pair.second});
    }
    WireValue operator()(protocol::DataReference const& parts) const { return Packed<std::uint16_t>(parts); }
    WireValue operator()(std::wstring const& text) const { return protocol::EncodeUtf8(text); }
    WireValue operator()(std::vector<std::int32_t> const& list) const { return Packed<std::int32_t>(list); }
    WireValue operator()(std::vector<double> const& list) const { return Packed<double>(list); }
    WireValue operator()(std::array<double, 3> const& axes) const { return Packed<double>(axes); }
};

/// Whole numbers are taken from either field: programs differ in which they use.
std::optional<std::uint64_t> WholeOf(WireValue const& value)
{
    if (auto const* const narrow = std::get_if<std::uint32_t>(&value)) {
        return *narrow;
    }
    if (auto const* const wide = std::get_if<std::uint64_t>(&value)) {
        return *wide;
    }
    return std::nullopt;
}

/// A number of that many bits with a sign.
template <typename Number>
std::optional<Value> Signed(WireValue const& value)
{
    auto const whole = WholeOf(value);
    return whole ? std::optional<Value>(std::int32_t{static_cast<Number>(*whole)}) : std::nullopt;
}

template <typename Number>
std::optional<Value> Unsigned(WireValue const& value)
{
    auto const whole = WholeOf(value);
    if (!whole || *whole > std::numeric_limits<Number>::max()) {
        return std::nullopt;
    }
    return Value(static_cast<std::uint32_t>(*whole));
}

std::optional<Value> WithoutSign64(WireValue const& value)
{
    auto const whole = WholeOf(value);
    if (!whole || *whole > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
        return std::nullopt;
    }
    return Value(static_cast<std::int64_t>(*whole));
}

template <typename Held>
std::optional<Value> As(std::optional<std::vector<Held>> list)
{
    return list ? std::optional<Value>(std::move(*list)) : std::nullopt;
}

std::optional<Value> Doubles(WireValue const& value, std::string_view kindText)
{
    auto list = Unpacked<double>(value);
    if (!list) {
        return std::nullopt;
    }
    if (kindText == KindText(Kind::Pair)) {
        return list->size() == 2 ? std::optional<Value>(std::pair((*list)[0], (*list)[1])) : std::nullopt;
    }
    if (kindText == KindText(Kind::Offset)) {
        return list->size() == 3 ? std::optional<Value>(std::array{(*list)[0], (*list)[1], (*list)[2]}) : std::nullopt;
    }
    return Value(std::move(*list));
}

std::optional<Value> Words(WireValue const& value, std::string_view kindText)
{
    if (kindText != KindText(Kind::DataId)) {
        return As(Unpacked<std::uint16_t, std::int32_t>(value));
    }
    auto const list = Unpacked<std::uint16_t>(value);
    protocol::DataReference parts{};
    if (!list || list->size() != parts.size()) {
        return std::nullopt;
    }
    std::copy(list->begin(), list->end(), parts.begin());
    return Value(parts);
}

} // namespace

DataType DataTypeOf(Kind kind)
{
    return typesOfKinds[static_cast<std::size_t>(kind)];
}

std::string_view KindText(Kind kind)
{
    return kind == Kind::Pair || kind == Kind::Offset || kind == Kind::DataId ? protocol::NameOf(kind)
                                                                              : std::string_view();
}

std::string_view KindTextOf(std::vector<Property> const& properties)
{
    for (Property const& property : properties) {
        if (auto const* const text = std::get_if<std::string>(&property.value);
            property.key == KindProperty && text != nullptr) {
            return *text;
        }
    }
    return {};
}

std::optional<std::uint32_t> FlagsIn(std::vector<Property> const& properties)
{
    for (Property const& property : properties) {
        if (property.key == FlagsProperty) {
            auto const flags = ValueOfWire(property.value, DataType::UInt32, {});
            auto const* const number = flags ? std::get_if<std::uint32_t>(&*flags) : nullptr;
            return number != nullptr ? *number : 0;
        }
    }
    return std::nullopt;
}

Kind KindOfValue(Value const& value)
{
    return protocol::IsEmpty(value) ? Kind::Branch : static_cast<Kind>(value.index() - 1);
}

WireValue WireOf(Value const& value)
{
    return std::visit(WireMaker(), value);
}

std::optional<Value> ValueOfWire(WireValue const& value, DataType type, std::string_view kindText)
{
    if (std::holds_alternative<std::monostate>(value)) {
        return Value();
    }
    switch (type) {
    case DataType::Int8:
        return Signed<std::int8_t>(value);
    case DataType::Int16:
        return Signed<std::int16_t>(value);
    case DataType::Int32:
        return Signed<std::int32_t>(value);
    case DataType::Int64: {
        auto const whole = WholeOf(value);
        return whole ? std::optional<Value>(static_cast<std::int64_t>(*whole)) : std::nullopt;
    }
    case DataType::UInt8:
        return Unsigned<std::uint8_t>(value);
    case DataType::UInt16:
        return Unsigned<std::uint16_t>(value);
    case DataType::UInt32:
        return Unsigned<std::uint32_t>(value);
    case DataType::UInt64:
    case DataType::DateTime:
        return WithoutSign64(value);
    case DataType::Float: {
        auto const* const number = std::get_if<float>(&value);
        return number != nullptr ? std::optional<Value>(double{*number}) : std::nullopt;
    }
    case DataType::Double: {
        auto const* const number = std::get_if<double>(&value);
        return number != nullptr ? std::optional<Value>(*number) : std::nullopt;
    }
    case DataType::Boolean: {
        auto const* const flag = std::get_if<bool>(&value);
        return flag != nullptr ? std::optional<Value>(*flag) : std::nullopt;
    }
    case DataType::String:
    case DataType::Text:
    case DataType::Uuid: {
        auto const* const text = std::get_if<std::string>(&value);
        return text != nullptr ? std::optional<Value>(protocol::DecodeUtf8(*text)) : std::nullopt;
    }
    case DataType::Int8Array:
        return As(Unpacked<std::int8_t, std::int32_t>(value));
    case DataType::Int16Array:
        return As(Unpacked<std::int16_t, std::int32_t>(value));
    case DataType::Int32Array:
        return As(Unpacked<std::int32_t>(value));
    case DataType::UInt8Array:
        return As(Unpacked<std::uint8_t, std::int32_t>(value));
    case DataType::UInt16Array:
        return Words(value, kindText);
    case DataType::FloatArray:
        return As(Unpacked<float, double>(value));
    case DataType::DoubleArray:
        return Doubles(value, kindText);
    default:
        return std::nullopt;
    }
}

} // namespace qx5::sparkplug
