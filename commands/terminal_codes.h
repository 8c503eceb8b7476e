// The codes of an operator terminal, as one table.
#pragma once

#include <cstdint>
#include <string_view>

namespace qx5::terminal {

/// What a code does at once.
enum class Action : std::uint8_t
{
    None, ///< it only selects what the step codes act on
    Stop,
    PowerOff,
    DisplayHint,
    ToggleDisplay,
    Preset,
    StepDown,
    StepUp,
};

/// What the step codes act on while a code is the one selected.
enum class Steps : std::uint8_t
{
    None,
    Display,
    Gain,
    PulseLength,
    Range,
    Power,
    Projector,
    LightMode,
    PingRate,
};

/// One code. `meaning` is for an operator.
struct Code
{
    std::uint32_t number;
    Action action;
    bool selects; ///< the code becomes the mode that the step codes go by
    Steps steps;
    std::string_view meaning;
};

inline constexpr std::uint32_t FirstPreset = 20;

// clang-format off
inline constexpr Code Codes[]{
    { 1, Action::Stop,          true,  Steps::None,        "stop pinging"},
    { 2, Action::PowerOff,      false, Steps::None,        "shut the sonar processor down"},
    // Selects only while the snapshot display is down.
    { 3, Action::DisplayHint,   true,  Steps::None,        "tell the displays, unless the snapshot display is up"},
    { 4, Action::ToggleDisplay, true,  Steps::Display,     "change between bathymetry and snapshot display"},
    { 5, Action::None,          true,  Steps::Gain,        "select the gain"},
    { 6, Action::None,          true,  Steps::PulseLength, "select the pulse length"},
    { 7, Action::None,          true,  Steps::Range,       "select the range"},
    { 8, Action::None,          true,  Steps::Power,       "select the power"},
    { 9, Action::None,          true,  Steps::Projector,   "select the projector"},
    {10, Action::None,          true,  Steps::LightMode,   "select the light mode of the displays"},
    {11, Action::None,          true,  Steps::PingRate,    "select the ping rate"},
    {20, Action::Preset,        true,  Steps::None,        "preset 0"},
    {21, Action::Preset,        true,  Steps::None,        "preset 1"},
    {22, Action::Preset,        true,  Steps::None,        "preset 2"},
    {23, Action::Preset,        true,  Steps::None,        "preset 3"},
    {24, Action::Preset,        true,  Steps::None,        "preset 4"},
    {40, Action::StepDown,      false, Steps::None,        "one step down of what is selected"},
    {41, Action::StepUp,        false, Steps::None,        "one step up of what is selected"},
};
// clang-format on

/// Null for a code that means nothing.
constexpr Code const* FindCode(std::uint32_t number)
{
    for (Code const& code : Codes) {
        if (code.number == number) {
            return &code;
        }
    }
    return nullptr;
}

/// The group of the terminal's stream and attributes: the sonar's id with this group.
inline constexpr unsigned short Group = 82;
/// The item of a terminal's block that holds the code, an integer of 32 bits.
inline constexpr unsigned short CodeItem = 2607;

} // namespace qx5::terminal
