// The kinds of steps that a scenario may have, by name.
#pragma once

#include <array>
#include <string_view>

namespace qx5::cli {

enum class StepKind
{
    Request,
    HostRequest,
    Attributes,
    ReplaceAttributes,
    Load,
    Apply,
    Connected,
    Logger,
    TargetChange,
    Block,
    BufferStatus,
    Terminal,
    Discover,
    Clear,
    Clock,
    Settle,
    Call,
    SelectedSonar,
    ActiveVessel,
    View,
    Tab,
    Slider,
    Click,
    Choose,
    Type,
    PressReturn,
    Look,
    ViewUpdate,
    Resize,
};

/// The name by which a step is written. Its argument is the value of that key.
constexpr std::string_view NameOf(StepKind kind)
{
    constexpr std::array<std::string_view, 29> names{
        "request",       "host-request",   "attributes",    "replace-attributes",
        "load",          "apply",          "connected",     "logger",
        "target-change", "block",          "buffer-status", "terminal",
        "discover",      "clear",          "clock",         "settle",
        "call",          "selected-sonar", "active-vessel", "view",
        "tab",           "slider",         "click",         "choose",
        "type",          "press-return",   "look",          "view-update",
        "resize",
    };
    return names[static_cast<std::size_t>(kind)];
}

inline constexpr int StepKindCount = 29;

} // namespace qx5::cli
