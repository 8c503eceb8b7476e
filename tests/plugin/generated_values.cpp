// The generated values: among those of each kind some that switch branches, one that no field is wide enough for.
#include "generated_values.h"

#include <VordalBaseR/CCompOffset.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>

namespace qx5::conformance {

using protocol::Key;
using protocol::Kind;
using protocol::Value;

namespace {

std::vector<Value> MakeValues(Kind kind)
{
    switch (kind) {
    case Kind::Int:
        return {1, 0, 2, 3, -1, 4, 1002, 1000, 40000, 5};
    case Kind::UInt:
        return {1U, 0U, 2U, 3U, 40000U};
    case Kind::Int64:
        return {std::int64_t{1}, std::int64_t{0}, std::int64_t{-5000000000}};
    case Kind::Bool:
        return {true, false};
    case Kind::Double:
        return {12.6, 0.0, 1.0, -7.3, 0.1, 250.7, -1.0};
    case Kind::Pair:
        return {std::pair(10.1, -10.3), std::pair(0.0, 0.0), std::pair(1.0, 2.0)};
    case Kind::String:
        // Some texts are read as numbers; the last is longer than any field.
        return {std::wstring(L"16"),   std::wstring(L"5"), std::wstring(L"a\u00e4c"),
                std::wstring(L"0x1F"), std::wstring(),     std::wstring(2000, L'7')};
    case Kind::IntList:
        return {std::vector<std::int32_t>{7000, 7002}, std::vector<std::int32_t>{}, std::vector<std::int32_t>{-1}};
    case Kind::DoubleList:
        return {std::vector<double>{0.5, 1.1}, std::vector<double>{}, std::vector<double>{-1.3}};
    case Kind::Offset:
        return {std::array<double, 3>{1.1, 2.2, 3.3}, std::array<double, 3>{}, std::array<double, 3>{-1.0, 0.1, 9.0}};
    case Kind::DataId:
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return {Value(), Value(), Value()};
}

} // namespace

std::unique_ptr<CVordalType> Vordal(Value const& value)
{
    auto made = MakeVordal(value);
    return made ? std::move(made) : std::make_unique<CVordalType>();
}

Pool const& PoolOf(Kind kind)
{
    static std::map<Kind, Pool> pools;
    Pool& pool = pools[kind];
    if (pool.values.empty()) {
        pool.values = MakeValues(kind);
        for (Value const& value : pool.values) {
            pool.vordal.push_back(Vordal(value));
        }
        pool.wrong = kind == Kind::String ? MakeVordal(std::int32_t{3}) : MakeVordal(std::wstring(L"other"));
    }
    return pool;
}

std::size_t CountOfValues(Key const& key)
{
    return PoolOf(key.kind).values.size();
}

std::optional<double> AsNumber(Value const& value)
{
    return std::visit(
        [](auto const& held) -> std::optional<double> {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(held)>>) {
                return static_cast<double>(held);
            } else {
                return std::nullopt;
            }
        },
        value);
}

bool HasNumber(Kind kind)
{
    return kind == Kind::Int || kind == Kind::UInt || kind == Kind::Int64 || kind == Kind::Bool || kind == Kind::Double;
}

Value FallbackOf(Operand const& operand)
{
    double const number = operand.options.fallback;
    switch (operand.key->kind) {
    case Kind::Int:
        return static_cast<std::int32_t>(number);
    case Kind::UInt:
        return static_cast<std::uint32_t>(number);
    case Kind::Int64:
        return static_cast<std::int64_t>(number);
    case Kind::Bool:
        return number != 0.0;
    case Kind::Double:
        return number;
    case Kind::Pair:
        return std::pair(number, number);
    case Kind::String:
        return std::wstring();
    case Kind::IntList:
        return std::vector<std::int32_t>();
    case Kind::DoubleList:
        return std::vector<double>();
    case Kind::Offset:
        return std::array<double, 3>{};
    case Kind::DataId:
    case Kind::Branch:
    case Kind::Any:
        break;
    }
    return {};
}

} // namespace qx5::conformance
