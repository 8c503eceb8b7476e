// An event of a scenario, as its result has it.
#include "cli/scenario/scenario_event.h"

#include <algorithm>
#include <initializer_list>

namespace qx5::cli {

void EventText::Put(std::string& json, CDataId const& id)
{
    json += '[';
    for (char const* between = "";
         unsigned const number : {id.GetType(), id.GetGroupId(), id.GetDeviceNum(), id.GetVessel()}) {
        json += between;
        AppendInteger(json, number);
        between = ",";
    }
    json += ']';
}

void EventText::Put(std::string& json, std::span<unsigned char const> bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    auto at = json.size();
    json.resize(at + bytes.size() * 2 + 2, '"');
    for (unsigned char const byte : bytes) {
        json[++at] = digits[byte >> 4];
        json[++at] = digits[byte & 0xFU];
    }
}

void ScenarioEvents::Take(ScenarioEvents& others)
{
    if (!others.m_events.empty()) {
        m_json += m_events.empty() ? "" : ",";
        auto const begin = m_json.size();
        m_json += others.m_json;
        for (Place const& place : others.m_events) {
            m_events.push_back({place.kind, begin + place.end});
        }
    }
    others.Clear();
}

void ScenarioEvents::AppendTo(std::string& out, std::span<EventKind const> kinds) const
{
    out += '[';
    char const* between = "";
    std::size_t begin = 0;
    for (Place const& place : m_events) {
        if (std::find(kinds.begin(), kinds.end(), place.kind) != kinds.end()) {
            auto const comma = std::size_t{begin == 0 ? 0U : 1U};
            out += between;
            out.append(m_json, begin + comma, place.end - begin - comma);
            between = ",";
        }
        begin = place.end;
    }
    out += ']';
}

} // namespace qx5::cli
