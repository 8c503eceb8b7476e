// An event of a scenario, as its result has it.
#include "cli/scenario/scenario_event.h"

#include <initializer_list>

namespace qx5::cli {

void ScenarioEvent::Put(CDataId const& id)
{
    m_json += '[';
    for (char const* between = "";
         unsigned const number : {id.GetType(), id.GetGroupId(), id.GetDeviceNum(), id.GetVessel()}) {
        m_json += between;
        AppendInteger(m_json, number);
        between = ",";
    }
    m_json += ']';
}

void ScenarioEvent::Put(std::span<unsigned char const> bytes)
{
    static constexpr char digits[] = "0123456789abcdef";
    m_json.reserve(m_json.size() + bytes.size() * 2 + 64);
    m_json += '"';
    for (unsigned char const byte : bytes) {
        m_json += digits[byte >> 4];
        m_json += digits[byte & 0xFU];
    }
    m_json += '"';
}

void AppendEvents(std::string& out, std::vector<ScenarioEvent> const& events)
{
    out += '[';
    for (char const* between = ""; ScenarioEvent const& event : events) {
        out += between;
        event.AppendTo(out);
        between = ",";
    }
    out += ']';
}

} // namespace qx5::cli
