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
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace qx5::cli {

/// Appends the members of events as a result has them.
class EventText
{
public:
    /// `"key":what`. Keys are names of this program's own, which need no escapes.
    template <typename What>
    static void AppendMember(std::string& json, std::string_view key, What const& what)
    {
        json += '"';
        json += key;
        json += "\":";
        Put(json, what);
    }

private:
    template <std::integral Number>
    static void Put(std::string& json, Number number)
    {
        AppendInteger(json, number);
    }
    static void Put(std::string& json, char const*) = delete; // it would be taken for a truth value
    static void Put(std::string& json, bool truth) { json += truth ? "true" : "false"; }
    static void Put(std::string& json, double number) { AppendDouble(json, number); }
    static void Put(std::string& json, std::string_view text) { AppendQuoted(json, text); }
    static void Put(std::string& json, CString const& text) { AppendQuoted(json, text.View()); }
    static void Put(std::string& json, CAttributeMap const& tree) { AppendTree(json, tree); }
    static void Put(std::string& json, CDataId const& id);
    /// Of a payload.
    static void Put(std::string& json, std::span<unsigned char const> bytes);
    static void Put(std::string& json, JsonValue const& value) { AppendJson(json, value); }
};

/// What one event tells, written as it is told: {"kind": what, "member": ..., ...}.
class ScenarioEvent
{
public:
    template <typename What>
    ScenarioEvent(EventKind kind, What const& what) : m_kind(kind), m_json("{")
    {
        EventText::AppendMember(m_json, NameOf(kind), what);
    }

    /// Adds a member.
    template <typename What>
    ScenarioEvent& With(std::string_view key, What const& what)
    {
        m_json += ',';
        EventText::AppendMember(m_json, key, what);
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
    EventKind m_kind;
    std::string m_json;
};

/// Events one after the other, in one text: what many are told in, without memory of its own for each.
class ScenarioEvents
{
public:
    /// Adds an event: {"kind": what}.
    template <typename What>
    ScenarioEvents& Add(EventKind kind, What const& what)
    {
        m_json += m_events.empty() ? "{" : ",{";
        EventText::AppendMember(m_json, NameOf(kind), what);
        m_json += '}';
        m_events.push_back({kind, m_json.size()});
        return *this;
    }
    /// Adds a member to the event that was added last.
    template <typename What>
    ScenarioEvents& With(std::string_view key, What const& what)
    {
        m_json.back() = ',';
        EventText::AppendMember(m_json, key, what);
        m_json += '}';
        m_events.back().end = m_json.size();
        return *this;
    }
    /// Calls `put(*this)`, which adds an event; nothing of that is there when it throws, as it does for a tree that is
    /// nested too deep.
    template <typename Put>
    void AddWholly(Put const& put)
    {
        auto const before = m_events.size();
        try {
            put(*this);
        } catch (...) {
            m_events.resize(before);
            m_json.resize(before == 0 ? 0 : m_events.back().end);
            throw;
        }
    }
    /// Adds all of `others`, which is empty afterwards.
    void Take(ScenarioEvents& others);
    void Clear()
    {
        m_json.clear();
        m_events.clear();
    }

    /// Appends all of them as an array, or those of the kinds alone.
    void AppendTo(std::string& out) const
    {
        out += '[';
        out += m_json;
        out += ']';
    }
    void AppendTo(std::string& out, std::span<EventKind const> kinds) const;

private:
    struct Place
    {
        EventKind kind{};
        std::size_t end = 0; ///< in `m_json`; it begins where the one before ends, with a comma unless it is the first
    };

    std::string m_json;
    std::vector<Place> m_events;
};

} // namespace qx5::cli
