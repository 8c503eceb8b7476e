// Values that people write.
#include "value.h"

#include "utf8.h"

#include <charconv>

namespace qx5::protocol {

namespace {

std::string_view Trim(std::string_view text)
{
    auto const begin = text.find_first_not_of(' ');
    auto const end = text.find_last_not_of(' ');
    return begin == std::string_view::npos ? std::string_view() : text.substr(begin, end - begin + 1);
}

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text)
{
    text = Trim(text);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    Number number{};
    auto const [end, problem] = std::from_chars(text.data(), text.data() + text.size(), number);
    return problem == std::errc() && end == text.data() + text.size() ? std::optional(number) : std::nullopt;
}

template <typename Number>
std::optional<std::vector<Number>> ParseList(std::string_view text, char separator = ',')
{
    std::vector<Number> list;
    if (Trim(text).empty()) {
        return list;
    }
    for (;;) {
        std::size_t const comma = text.find(separator);
        auto const number = ParseNumber<Number>(text.substr(0, comma));
        if (!number) {
            return std::nullopt;
        }
        list.push_back(*number);
        if (comma == std::string_view::npos) {
            return list;
        }
        text.remove_prefix(comma + 1);
    }
}

std::optional<bool> ParseTruth(std::string_view text)
{
    text = Trim(text);
    if (text == "true" || text == "1" || text == "on") {
        return true;
    }
    if (text == "false" || text == "0" || text == "off") {
        return false;
    }
    return std::nullopt;
}

template <typename T>
std::optional<Value> AsValue(std::optional<T> parsed)
{
    return parsed ? std::optional<Value>(std::move(*parsed)) : std::nullopt;
}

} // namespace

std::optional<Value> ParseValue(Kind kind, std::string_view text)
{
    switch (kind) {
    case Kind::Int:
        return AsValue(ParseNumber<std::int32_t>(text));
    case Kind::UInt:
        return AsValue(ParseNumber<std::uint32_t>(text));
    case Kind::Int64:
        return AsValue(ParseNumber<std::int64_t>(text));
    case Kind::Bool:
        return AsValue(ParseTruth(text));
    case Kind::Double:
        return AsValue(ParseNumber<double>(text));
    case Kind::Pair:
        if (auto const list = ParseList<double>(text); list && list->size() == 2) {
            return std::pair(list->front(), list->back());
        }
        return std::nullopt;
    case Kind::Offset:
        if (auto const list = ParseList<double>(text); list && list->size() == 3) {
            return std::array{(*list)[0], (*list)[1], (*list)[2]};
        }
        return std::nullopt;
    case Kind::DataId:
        if (auto const list = ParseList<std::uint16_t>(text, '.'); list && list->size() == 4) {
            return DataReference{(*list)[0], (*list)[1], (*list)[2], (*list)[3], 65535, 65535};
        }
        return std::nullopt;
    case Kind::String:
        return DecodeUtf8(text);
    case Kind::IntList:
        return AsValue(ParseList<std::int32_t>(text));
    case Kind::DoubleList:
        return AsValue(ParseList<double>(text));
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return std::nullopt;
}

Value ValueOfKind(Kind kind, double number)
{
    Value value;
    [&]<std::size_t... I>(std::index_sequence<I...>)
    {
        static_cast<void>(((I == static_cast<std::size_t>(kind) + 1 && (value.emplace<I>(), true)) || ...));
    }
    (std::make_index_sequence<std::variant_size_v<Value>>());
    std::visit(
        [number](auto& held) {
            using Held = std::decay_t<decltype(held)>;
            if constexpr (std::is_same_v<Held, bool>) {
                held = number != 0.0;
            } else if constexpr (std::is_arithmetic_v<Held>) {
                held = static_cast<Held>(number);
            } else if constexpr (std::is_same_v<Held, std::pair<double, double>>) {
                held = {number, number};
            }
        },
        value);
    return value;
}

Value ExampleOf(Kind kind)
{
    return kind == Kind::Any ? Value(true) : ParseValue(kind, RowOf(kind).example).value_or(Value());
}

} // namespace qx5::protocol
