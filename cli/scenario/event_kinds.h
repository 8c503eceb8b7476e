// The kinds of events that a scenario's result may have, by name.
#pragma once

#include <array>
#include <cstddef>
#include <string_view>

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

constexpr std::string_view NameOf(EventKind kind)
{
    return EventNames[static_cast<std::size_t>(kind)];
}

} // namespace qx5::cli
