// A value of a tree as shells are told of it.
#include "shell/told_value.h"

#include "operation/action_log.h"
#include "operation/action_values.h"
#include "json/json_parser.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/catalogue.h>
#include <protocol/print.h>
#include <values/vordal_value.h>

#include <fmt/format.h>

namespace qx5::shell {

std::string UnitOf(std::wstring_view key)
{
    protocol::Key const* const known = protocol::FindKey(key);
    return known != nullptr ? std::string(protocol::UnitText(known->unit)) : std::string();
}

ToldValue Tell(std::string const& sonar, double time, ValueRow const& row)
{
    return {operation::IsoTime(time),       sonar,           row.path,
            operation::JsonText(row.value), UnitOf(row.key), std::string(protocol::NameOf(KindOf(row.value->Kind())))};
}

Outcome OutcomeOf(operation::Action const& action)
{
    Outcome outcome{std::string(operation::ToText(action.result)), action.reason, {}};
    for (operation::ActionValue const& value : operation::ValuesOf(action)) {
        outcome.values.push_back({value.path, operation::JsonText(value.asked), operation::JsonText(value.before),
                                  operation::JsonText(value.got), UnitOf(value.key)});
    }
    return outcome;
}

std::string ValueText(std::string const& json, std::string const& unit)
{
    JsonValue value;
    try {
        value = ParseJson(json).Root().Copy();
    } catch (InvalidDocument const&) {
        value = JsonValue::Text(json);
    }
    std::string text;
    switch (value.kind) {
    case JsonValue::Kind::Null:
        return "none";
    case JsonValue::Kind::Array:
        for (JsonValue const& item : value.items) {
            text += (text.empty() ? "" : ", ") + (item.text.empty() ? WriteJson(item) : item.text);
        }
        break;
    case JsonValue::Kind::Number:
    case JsonValue::Kind::Text:
        text = value.text;
        break;
    case JsonValue::Kind::Bool:
    case JsonValue::Kind::Object:
    case JsonValue::Kind::Defect:
    case JsonValue::Kind::Written:
        text = json;
        break;
    }
    return unit.empty() ? text : text + " " + unit;
}

std::string TextOf(ToldValue const& told)
{
    return fmt::format("{} = {}", told.key, ValueText(told.value, told.unit));
}

} // namespace qx5::shell
