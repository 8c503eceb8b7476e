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

std::vector<int> ReadIntegers(JsonNode const& value, JsonPath const& path)
{
    std::vector<int> numbers;
    for (auto const& item : ReadArray(value, path)) {
        numbers.push_back(ReadInt32(item, JsonPath(path, numbers.size())));
    }
    return numbers;
}

std::vector<double> ReadDoubles(JsonNode const& value, JsonPath const& path, std::size_t count = 0)
{
    std::vector<double> numbers;
    for (auto const& item : ReadArray(value, path, count)) {
        numbers.push_back(ReadDouble(item, JsonPath(path, numbers.size())));
    }
    return numbers;
}

template <typename Elements>
void AppendList(std::string& out, Elements const& elements);

struct ValueWriter
{
    std::string& out;

    void operator()(std::monostate) const { out += "null"; }
    void operator()(std::int32_t number) const { AppendInteger(out, number); }
    void operator()(std::uint32_t number) const { AppendInteger(out, number); }
    void operator()(std::int64_t number) const { AppendInteger(out, number); }
    void operator()(bool truth) const { out += truth ? "true" : "false"; }
    void operator()(double number) const { AppendDouble(out, number); }
    void operator()(std::pair<double, double> const& pair) const
    {
        AppendList(out, std::array{pair.first, pair.second});
    }
    void operator()(protocol::DataReference const& parts) const
    {
        AppendList(out, std::array<std::int32_t, 4>{parts[0], parts[1], parts[2], parts[3]});
    }
    void operator()(std::wstring const& text) const { AppendQuoted(out, std::wstring_view(text)); }
    template <typename Elements>
    void operator()(Elements const& elements) const
    {
        AppendList(out, elements);
    }
};

template <typename Elements>
void AppendList(std::string& out, Elements const& elements)
{
    char before = '[';
    for (auto const element : elements) {
        out += before;
        ValueWriter{out}(element);
        before = ',';
    }
    out += before == '[' ? "[]" : "]";
}

} // namespace

protocol::Value ReadValueOfKind(protocol::Kind kind, JsonNode const& value, JsonPath const& path)
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

void AppendValue(std::string& out, protocol::Value const& value)
{
    std::visit(ValueWriter{out}, value);
}

JsonValue WriteValue(protocol::Value const& value)
{
    std::string json;
    AppendValue(json, value);
    return JsonValue::Written(std::move(json));
}

} // namespace qx5
