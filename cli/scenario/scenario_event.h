// An event of a scenario, as its result has it.
#pragma once

#include "cli/scenario/event_kinds.h"
#include "json/json_text.h"
#include "json/json_value.h"
#include "json/tree_json.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>

#include <concepts>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// What one event tells, written as it is told: {"kind": what, "member": ..., ...}.
class ScenarioEvent
{
public:
    template <typename What>
    ScenarioEvent(EventKind kind, What const& what) : m_kind(kind)
    {
        constexpr std::size_t most = 240; // of nearly every event
        m_json.reserve(most);
        m_json += '{';
        Append(NameOf(kind), what);
    }

    /// Adds a member.
    template <typename What>
    ScenarioEvent& With(std::string_view key, What const& what)
    {
        m_json += ',';
        Append(key, what);
        return *this;
    }

    EventKind Kind() const { return m_kind; }
    /// Appends its JSON.
    void AppendTo(std::string& out) const
    {
        out += m_json;
        out += '}';
    }

private:
    template <typename What>
    void Append(std::string_view key, What const& what)
    {
        AppendQuoted(m_json, key);
        m_json += ':';
        Put(what);
    }

    template <std::integral Number>
    void Put(Number number)
    {
        AppendInteger(m_json, number);
    }
    void Put(char const*) = delete; // it would be taken for a truth value
    void Put(bool truth) { m_json += truth ? "true" : "false"; }
    void Put(double number) { AppendDouble(m_json, number); }
    void Put(std::string_view text) { AppendQuoted(m_json, text); }
    void Put(CString const& text) { AppendQuoted(m_json, text.View()); }
    void Put(CAttributeMap const& tree) { AppendTree(m_json, tree); }
    void Put(CDataId const& id);
    /// Of a payload.
    void Put(std::span<unsigned char const> bytes);
    void Put(JsonValue const& value) { AppendJson(m_json, value); }

    EventKind m_kind;
    std::string m_json;
};

/// Appends them as an array.
void AppendEvents(std::string& out, std::vector<ScenarioEvent> const& events);

} // namespace qx5::cli
