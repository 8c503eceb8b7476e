// The log of actions: how rows are made, written and shown.
#include "operation/action_log.h"

#include "operation/action_values.h"

#include <VordalAttributesR/CVordalType.h>
#include <tvcoreR/Utf8.h>

#include <array>
#include <chrono>
#include <cmath>
#include <iterator>
#include <utility>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace qx5::operation {

namespace {

using Json = nlohmann::ordered_json;

constexpr std::size_t greatestValue = 4000;
constexpr double greatestWhole = 9007199254740992.0;

Json Number(double value)
{
    if (!std::isfinite(value)) {
        return CVordalDouble(value).ToText();
    }
    // Whole numbers as people write them; beyond this not each of them is a double.
    bool const isWhole = std::trunc(value) == value && std::abs(value) < greatestWhole;
    bool const isNegativeZero = value == 0.0 && std::signbit(value);
    return isWhole && !isNegativeZero ? Json(static_cast<std::int64_t>(value)) : Json(value);
}

Json List(std::vector<double> const& values)
{
    Json list = Json::array();
    for (double const value : values) {
        list.push_back(Number(value));
    }
    return list;
}

template <typename T>
T Held(CVordalType const& value)
{
    T held{};
    value.Get(held);
    return held;
}

Json ToJson(CVordalType const& value)
{
    switch (value.Kind()) {
    case VordalKind::None:
        return nullptr;
    case VordalKind::Int:
        return Held<int>(value);
    case VordalKind::UInt:
        return Held<unsigned int>(value);
    case VordalKind::Int64:
        return Held<std::int64_t>(value);
    case VordalKind::Bool:
        return Held<bool>(value);
    case VordalKind::Double:
        return Number(Held<double>(value));
    case VordalKind::Pair: {
        double first = 0.0;
        double second = 0.0;
        value.Get(first, second);
        return List({first, second});
    }
    case VordalKind::String:
        return tvcore::ToUtf8(Held<CString>(value));
    case VordalKind::IntList:
        return Held<std::vector<int>>(value);
    case VordalKind::DoubleList:
        return List(Held<std::vector<double>>(value));
    case VordalKind::DataInfo:
    case VordalKind::Offset:
        break;
    }
    return value.ToText();
}

/// What is no UTF-8 becomes U+FFFD: nothing that is kept can make this fail.
std::string Dump(Json const& json)
{
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

/// A value as it was kept; a text where that is no JSON.
Json Parsed(std::string const& kept)
{
    auto json = Json::parse(kept, nullptr, false);
    return json.is_discarded() ? Json(kept) : json;
}

/// For people and for tables.
std::string Plain(std::string const& kept)
{
    auto const json = Parsed(kept);
    return json.is_string() ? json.get<std::string>() : json.is_null() ? std::string() : kept;
}

/// "view", "ashore: anna".
std::string WhoText(Action const& action)
{
    std::string who(ToText(action.who));
    return action.person.empty() ? who : who + ": " + action.person;
}

std::string ResultText(Action const& action, ActionValue const& value)
{
    if (action.who == vordal::RequestOrigin::OtherHost) {
        return "changed by others";
    }
    if (action.result == Result::Differs) {
        // Of several keys each has its own.
        return value.Differs() ? "differs: the sonar has " + ValueText(value.key, value.got)
               : value.got != nullptr || action.reason.empty() ? std::string(ToText(Result::Agrees))
                                                               : "differs: " + action.reason;
    }
    std::string const result(ToText(action.result));
    return action.reason.empty() ? result : result + ": " + action.reason;
}

} // namespace

std::string JsonText(CVordalType const* value)
{
    std::string text = value != nullptr ? Dump(ToJson(*value)) : "null";
    return text.size() <= greatestValue ? text : Dump(text.substr(0, greatestValue) + "...");
}

std::string PlainText(CVordalType const* value)
{
    return value != nullptr ? Plain(Dump(ToJson(*value))) : std::string();
}

std::string CsvField(std::string const& text)
{
    if (text.find_first_of(",\"\r\n") == std::string::npos) {
        return text;
    }
    std::string field = "\"";
    for (char const character : text) {
        field += character;
        field += character == '"' ? "\"" : "";
    }
    return field + "\"";
}

void ActionLog::SetName(CDataId const& sonar, std::string name)
{
    std::lock_guard const lock(m_mutex);
    m_names[sonar.GetKey()] = std::move(name);
}

std::size_t ActionLog::Waiting() const
{
    std::lock_guard const lock(m_mutex);
    return m_rows.size();
}

std::uint64_t ActionLog::Lost() const
{
    std::lock_guard const lock(m_mutex);
    return m_lost;
}

std::vector<vordal::StoredAction> RowsOf(Action const& action, std::string const& sonarName)
{
    std::vector<vordal::StoredAction> rows;
    for (ActionValue const& value : ValuesOf(action)) {
        rows.push_back({.time = std::isfinite(action.time) ? action.time : 0.0,
                        .who = WhoText(action),
                        .sonar = action.sonar,
                        .sonarName = sonarName,
                        .key = value.path,
                        .before = JsonText(value.before),
                        .asked = JsonText(value.asked),
                        .result = ResultText(action, value)});
    }
    return rows;
}

void ActionLog::OnActionStands(Action const& action)
{
    std::string name;
    {
        std::lock_guard const lock(m_mutex);
        auto const found = m_names.find(action.sonar.GetKey());
        name = found != m_names.end() ? found->second : tvcore::ToUtf8(action.sonar.GetKey());
    }
    auto rows = RowsOf(action, name);
    std::lock_guard const lock(m_mutex);
    std::move(rows.begin(), rows.end(), std::back_inserter(m_rows));
    while (m_rows.size() > GreatestWaiting) {
        m_rows.pop_front();
        ++m_first;
        ++m_lost;
    }
}

void ActionLog::WriteTo(vordal::ProjectStore& store)
{
    std::vector<vordal::StoredAction> rows;
    std::uint64_t end = 0;
    {
        std::lock_guard const lock(m_mutex);
        rows.assign(m_rows.begin(), m_rows.end());
        end = m_first + m_rows.size();
    }
    store.AppendActions(rows);
    std::lock_guard const lock(m_mutex);
    while (m_first < end) {
        m_rows.pop_front();
        ++m_first;
    }
}

std::string IsoTime(double seconds)
{
    constexpr double yearOne = -62135596800.0;
    constexpr double yearTenThousand = 253402300800.0;
    if (!(seconds >= yearOne && seconds < yearTenThousand)) {
        return "unknown";
    }
    using namespace std::chrono;
    sys_time<milliseconds> const time(milliseconds(static_cast<std::int64_t>(std::floor(seconds * 1000.0 + 0.5))));
    auto const day = floor<days>(time);
    year_month_day const date(day);
    hh_mm_ss const clock(time - day);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", static_cast<int>(date.year()),
                       static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()), clock.hours().count(),
                       clock.minutes().count(), clock.seconds().count(), clock.subseconds().count());
}

std::string JsonLine(vordal::StoredAction const& action)
{
    Json line;
    line["time"] = IsoTime(action.time);
    line["who"] = action.who;
    line["sonar"] = action.sonarName;
    line["key"] = action.key;
    line["old"] = Parsed(action.before);
    line["new"] = Parsed(action.asked);
    line["result"] = action.result;
    return Dump(line);
}

std::string CsvHeader()
{
    return "time,who,sonar,key,old,new,result";
}

std::string CsvLine(vordal::StoredAction const& action)
{
    std::string line;
    for (std::string const& field : std::array{IsoTime(action.time), action.who, action.sonarName, action.key,
                                               Plain(action.before), Plain(action.asked), action.result}) {
        line += (line.empty() ? "" : ",") + CsvField(field);
    }
    return line;
}

std::string PlainLine(vordal::StoredAction const& action)
{
    return fmt::format("{}  {}  {}  {}  {} -> {}  {}", IsoTime(action.time), action.who, action.sonarName, action.key,
                       action.before, action.asked, action.result);
}

} // namespace qx5::operation
