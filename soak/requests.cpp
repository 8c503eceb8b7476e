// Requests made of the commands' tables.
#include "requests.h"

#include <commands/sample_request.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <array>
#include <limits>
#include <set>

namespace qx5::soak {

namespace {

using protocol::Key;
using protocol::Kind;
using protocol::Value;

constexpr auto infinity = std::numeric_limits<double>::infinity();
constexpr std::array sensibleIntegers{0, 1, 1, 2};
constexpr std::array sensibleDoubles{0.5, 1.0, 5.0, 12.5, 30.0, 100.0, 190.0, 1500.0};
constexpr std::array senselessIntegers{-1, 3, 255, 65536, 2147483647, std::numeric_limits<int>::min(), 100000, -7125};
constexpr std::array senselessDoubles{-1.0,   0.0,      -0.0,      1e-320,
                                      1e9,    1e38,     1e39,      1e308,
                                      -1e308, infinity, -infinity, std::numeric_limits<double>::quiet_NaN()};

Value SensibleValue(Random& random, Kind kind)
{
    switch (kind) {
    case Kind::Int:
        return std::int32_t(random.Pick(sensibleIntegers));
    case Kind::UInt:
        return static_cast<std::uint32_t>(random.Pick(sensibleIntegers));
    case Kind::Int64:
        return std::int64_t(random.Pick(sensibleIntegers));
    case Kind::Bool:
    case Kind::Any:
        return random.OneIn(2);
    case Kind::Double:
        return random.Pick(sensibleDoubles);
    case Kind::Pair: {
        double const first = random.Pick(sensibleDoubles);
        return std::pair<double, double>(first, -random.Pick(sensibleDoubles));
    }
    case Kind::String:
        // A number as well as a name.
        return std::wstring(random.OneIn(2) ? L"16" : L"1");
    case Kind::IntList:
        return std::vector<std::int32_t>{7000, 7002};
    case Kind::DoubleList:
        return std::vector<double>{0.5, random.Pick(sensibleDoubles)};
    case Kind::Offset:
        return std::array{1.0, random.Pick(sensibleDoubles), 3.0};
    case Kind::DataId:
    case Kind::Branch:
        break;
    }
    return {};
}

std::wstring SenselessText(Random& random)
{
    switch (random.Below(6)) {
    case 0:
        return {};
    case 1:
        return std::wstring(20000, L'x');
    case 2:
        return L"line\r\nline\t\x1b[31m\x7f";
    case 3:
        return L"../../../../etc/passwd";
    case 4:
        return std::wstring(300, L'\u6c34');
    default:
        return L"99999999999999999999,-,1e999;%s%n";
    }
}

Value SenselessValue(Random& random, Kind kind)
{
    switch (kind) {
    case Kind::Int:
        return std::int32_t(random.Pick(senselessIntegers));
    case Kind::UInt:
        return static_cast<std::uint32_t>(random.Pick(senselessIntegers));
    case Kind::Int64:
        return random.OneIn(2) ? std::numeric_limits<std::int64_t>::min() : std::int64_t{1} << 60;
    case Kind::Bool:
    case Kind::Any:
        return random.OneIn(2);
    case Kind::Double:
        return random.Pick(senselessDoubles);
    case Kind::Pair: {
        double const first = random.Pick(senselessDoubles);
        return std::pair<double, double>(first, random.Pick(senselessDoubles));
    }
    case Kind::String:
        return SenselessText(random);
    case Kind::IntList:
        return std::vector<std::int32_t>(random.OneIn(2) ? 0 : 2000, random.Pick(senselessIntegers));
    case Kind::DoubleList:
        return std::vector<double>(random.OneIn(2) ? 0 : 2000, random.Pick(senselessDoubles));
    case Kind::Offset:
        return std::array{infinity, random.Pick(senselessDoubles), 0.0};
    case Kind::DataId:
    case Kind::Branch:
        break;
    }
    return {};
}

constexpr std::array kinds{Kind::Int,    Kind::UInt,    Kind::Int64,      Kind::Bool,   Kind::Double, Kind::Pair,
                           Kind::String, Kind::IntList, Kind::DoubleList, Kind::Offset, Kind::Branch};

/// Whether an echo of that operand is promised once the request holds it with a value of its kind and all that the
/// command needs: not where the handler decides by a rule of its own, or by the value.
bool IsEchoed(Command const& command, Operand const& operand)
{
    bool const isPlain = command.form == Form::Direct || command.form == Form::Strict || command.form == Form::Lax ||
                         command.form == Form::AllRequired || command.form == Form::Presence;
    if (!isPlain || command.echoFlags == NoEcho || operand.options.source == Source::Branch) {
        return false;
    }
    if (operand.options.echo != Echo::AsRead && operand.options.echo != Echo::AsSent) {
        return false;
    }
    return command.echoes.empty() || std::any_of(command.echoes.begin(), command.echoes.end(),
                                                 [&](Operand const* echo) { return echo->key == operand.key; });
}

std::string TextOf(ChainEntry const& entry, Operand const& operand)
{
    return std::string(entry.handler) + " " + protocol::EncodeUtf8(operand.key->text);
}

} // namespace

RequestMaker::RequestMaker(Random& random) : m_random(random)
{
    for (ChainEntry const& entry : Chain()) {
        std::set<Key const*> ofCommand;
        for (Operand const& operand : entry.command->operands) {
            if (IsRequestable(operand) && ofCommand.insert(operand.key).second) {
                m_uses.push_back({&entry, &operand});
            }
        }
    }
    for (std::size_t i = m_uses.size(); i > 1; --i) {
        std::swap(m_uses[i - 1], m_uses[m_random.Below(i)]);
    }
}

RequestMaker::Use const& RequestMaker::Next(std::size_t& at)
{
    return m_uses[at++ % m_uses.size()];
}

MadeRequest RequestMaker::Sensible()
{
    auto const [entry, operand] = Next(m_sensible);
    Command const& command = *entry->command;
    MadeRequest made;
    made.text = TextOf(*entry, *operand);
    PutOperand(made.request, command, *operand, SensibleValue(m_random, operand->key->kind));
    for (Operand const* const other : NeededBeside(command, *operand)) {
        PutOperand(made.request, command, *other, SensibleValue(m_random, other->key->kind));
        made.text += " " + protocol::EncodeUtf8(other->key->text);
    }
    if (IsEchoed(command, *operand)) {
        made.echoed.push_back(operand->key);
    }
    return made;
}

MadeRequest RequestMaker::Senseless()
{
    auto const [entry, operand] = Next(m_senseless);
    Command const& command = *entry->command;
    MadeRequest made;
    made.text = TextOf(*entry, *operand);
    // Mostly of the right kind, which gets furthest.
    auto const anything = [this](Kind kind) {
        return SenselessValue(m_random, m_random.OneIn(4) ? m_random.Pick(kinds) : kind);
    };
    PutOperand(made.request, command, *operand, anything(operand->key->kind));
    for (Operand const* const other : NeededBeside(command, *operand)) {
        if (!m_random.OneIn(4)) {
            PutOperand(made.request, command, *other, anything(other->key->kind));
        }
    }
    return made;
}

} // namespace qx5::soak
