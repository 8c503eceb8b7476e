// Events and results as lines of JSON.
#include "vessel/history_text.h"

#include "operation/action_log.h"
#include "json/json_value.h"

#include <utility>
#include <vector>

namespace qx5::vessel {

namespace {

JsonValue::Member TextMember(char const* name, std::string text)
{
    return {name, JsonValue::Text(std::move(text))};
}

std::string_view SeverityText(operation::Severity severity)
{
    switch (severity) {
    case operation::Severity::Information:
        return "information";
    case operation::Severity::Warning:
        return "warning";
    case operation::Severity::Error:
        return "error";
    }
    return "";
}

} // namespace

std::string JsonOf(operation::Event const& event)
{
    return WriteJson(
        JsonValue::Object({TextMember("time", operation::IsoTime(event.time)), TextMember("sonar", event.sonarName),
                           TextMember("event", std::string(ToText(event.kind))),
                           TextMember("severity", std::string(SeverityText(event.severity))),
                           TextMember("who", std::string(vordal::ToText(event.who))), TextMember("key", event.what),
                           TextMember("asked", event.asked), TextMember("got", event.got),
                           TextMember("text", operation::StatusLine(event))}));
}

std::string JsonOf(authority::RequestReply const& reply, std::string const& sonar, std::string const& person,
                   double utc)
{
    return WriteJson(JsonValue::Object({TextMember("time", operation::IsoTime(utc)),
                                        TextMember("who", "ashore: " + person),
                                        TextMember("sonar", sonar),
                                        {"sender", JsonValue::Unsigned(reply.sender)},
                                        {"number", JsonValue::Unsigned(reply.number)},
                                        TextMember("result", reply.outcome),
                                        TextMember("reason", reply.reason)}));
}

} // namespace qx5::vessel
