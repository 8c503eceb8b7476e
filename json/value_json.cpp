// Values of keys as JSON and back.
#include "value_json.h"

#include "json_read.h"

#include <array>
#include <limits>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace qx5 {

namespace {

std::vector<int> ReadIntegers(JsonValue const& value, JsonPath const& path)
{
    std::vector<int> numbers;
    for (auto const& item : ReadArray(value, path)) {
        numbers.push_back(ReadInt32(item, JsonPath(path, numbers.size())));
    }
    return numbers;
}

std::vector<double> ReadDoubles(JsonValue const& value, JsonPath const& path, std::size_t count = 0)
{
    std::vector<double> numbers;
    for (auto const& item : ReadArray(value, path, count)) {
        numbers.push_back(ReadDouble(item, JsonPath(path, numbers.size())));
    }
    return numbers;
}

template <typename Elements>
JsonValue WriteList(Elements const& elements);

/// The value of a node that has one.
struct ValueWriter
{
    JsonValue operator()(std::monostate) const { return {}; }
    JsonValue operator()(std::int32_t number) const { return JsonValue::Integer(number); }
    JsonValue operator()(std::uint32_t number) const { return JsonValue::Unsigned(number); }
    JsonValue operator()(std::int64_t number) const { return JsonValue::Integer(number); }
    JsonValue operator()(bool truth) const { return JsonValue::Bool(truth); }
    JsonValue operator()(double number) const { return JsonValue::Double(number); }
    JsonValue operator()(std::pair<double, double> const& pair) const
    {
        return WriteList(std::array{pair.first, pair.second});
    }
    JsonValue operator()(protocol::DataReference const& parts) const
    {
        return WriteDataId({parts[0], parts[1], parts[2], parts[3]});
    }
    JsonValue operator()(std::wstring const& text) const { return JsonValue::Text(text); }
    template <typename Elements>
    JsonValue operator()(Elements const& elements) const
    {
        return WriteList(elements);
    }
};

template <typename Elements>
JsonValue WriteList(Elements const& elements)
{
    JsonValue array = JsonValue::Array();
    for (auto const element : elements) {
        array.items.push_back(ValueWriter()(element));
    }
    return array;
}

} // namespace

protocol::Value ReadValueOfKind(protocol::Kind kind, JsonValue const& value, JsonPath const& path)
{
    using protocol::Kind;
    using Widest = std::numeric_limits<std::int64_t>;
    switch (kind) {
    case Kind::Int:
        return ReadInt32(value, path);
    case Kind::UInt:
        return ReadUInt32(value, path);
    case Kind::Int64:
        return ReadInteger(value, path, Widest::min(), Widest::max());
    case Kind::Bool:
        return ReadBool(value, path);
    case Kind::Double:
        return ReadDouble(value, path);
    case Kind::Pair: {
        auto const numbers = ReadDoubles(value, path, 2);
        return std::pair(numbers[0], numbers[1]);
    }
    case Kind::DataId: {
        auto const id = ReadDataId(value, path);
        return protocol::DataReference{id.GetType(), id.GetGroupId(), id.GetDeviceNum(), id.GetVessel(), 65535, 65535};
    }
    case Kind::String:
        return std::wstring(ReadWideText(value, path).View());
    case Kind::IntList:
        return ReadIntegers(value, path);
    case Kind::DoubleList:
        return ReadDoubles(value, path);
    case Kind::Offset: {
        auto const axes = ReadDoubles(value, path, 3);
        return std::array{axes[0], axes[1], axes[2]};
    }
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return {};
}

JsonValue WriteValue(protocol::Value const& value)
{
    return std::visit(ValueWriter(), value);
}

} // namespace qx5
