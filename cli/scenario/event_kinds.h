// The kinds of events that a scenario's result may have, by name.
#pragma once

#include "json/json_value.h"

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qx5::cli {

enum class EventKind
{
    Remote,
    Ask,
    Record,
    Through,
    Raw,
    Playback,
    Echo,
    HostSet,
    Throws,
    OutputStat,
    ResetBuffer,
    DisableTimeout,
    Store,
    Announce,
    DisplayUpdate,
    DisplaySelect,
    DisplayEnable,
    DisplayAdd,
    DisplayRemove,
    LightMode,
    Message,
    Title,
    NotifyApp,
    RemoveFile,
    OpenTargets,
    CloseTargets,
    SyncStamp,
    ViewType,
    Controls,
    Breach,
};

inline constexpr std::array<std::string_view, 30> EventNames{
    "remote",
    "ask",
    "record",
    "through",
    "raw",
    "playback",
    "echo",
    "host-set",
    "throws",
    "output-stat",
    "reset-buffer",
    "disable-timeout",
    "store",
    "announce",
    "display-update",
    "display-select",
    "display-enable",
    "display-add",
    "display-remove",
    "light-mode",
    "message",
    "title",
    "notify-app",
    "remove-file",
    "open-targets",
    "close-targets",
    "sync-stamp",
    "view-type",
    "controls",
    "breach",
};

static_assert(static_cast<std::size_t>(EventKind::Breach) + 1 == EventNames.size());

/// Its first member tells the kind.
inline JsonValue Event(EventKind kind, JsonValue value, std::vector<JsonValue::Member> more = {})
{
    more.emplace(more.begin(), EventNames[static_cast<std::size_t>(kind)], std::move(value));
    return JsonValue::Object(std::move(more));
}

/// What kind an event is of; empty when it has no members.
inline std::string_view KindOfEvent(JsonValue const& event)
{
    return event.members.empty() ? std::string_view() : std::string_view(event.members.front().first);
}

} // namespace qx5::cli
