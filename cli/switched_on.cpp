// Switches of a sonar as its commands and its own reports tell them.
#include "cli/switched_on.h"

#include "cli/output.h"
#include "cli/sonar_frames.h"

#include <VordalAttributesR/CVordalType.h>
#include <protocol/records/all.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>
#include <string_view>
#include <variant>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

namespace keys = protocol::keys;
namespace records = protocol::records;

/// How long after a command the sonar may still tell what was before it, in seconds.
constexpr double TellsOfBeforeFor = 1.0;

/// Something of a sonar that is on or off. Either two commands switch it, or the value of its key in one.
struct Switch
{
    std::string_view what;
    protocol::Key const* key;     ///< by which the sonar tells it and a request switches it
    std::string_view off;         ///< the key's value that switches it off
    std::uint32_t commandOn;      ///< with `field` the command that carries the value
    std::uint32_t commandOff;     ///< 0 with `field`
    protocol::Field const* field; ///< null: the commands alone say it
};

constexpr Switch switches[]{
    {"its pings", &keys::x5PingOnOffState, "0", records::PingsOn.Id(), records::PingsOff.Id(), nullptr},
    {"its transmit power", &keys::x5Power, "0", records::Power.Id(), 0, &records::Power.FieldOf(keys::x5Power)},
    {"its recording", &keys::x5DataRecording, "0", records::StartRecording.Id(), records::StopRecording.Id(), nullptr},
    {"its ASD recording", &keys::ASDRecordingEnabled, "false", records::AsdRecording.Id(), 0,
     &records::AsdRecording.FieldOf(keys::ASDRecordingEnabled)},
    {"its stave recording", &keys::StaveRecordingEnabled, "false", records::StaveRecording.Id(), 0,
     &records::StaveRecording.FieldOf(keys::StaveRecordingEnabled)},
};

/// Whether a number or flag is other than 0.
bool IsOn(protocol::Value const& value)
{
    return std::visit(
        [](auto const& held) {
            if constexpr (requires { held != 0; }) {
                return held != 0;
            } else {
                return false;
            }
        },
        value);
}

std::optional<bool> IsOn(CVordalType const& value)
{
    int whole = 0;
    double number = 0.0;
    bool flag = false;
    if (value.Get(whole)) {
        return whole != 0;
    }
    if (value.Get(number)) {
        return number != 0.0;
    }
    return value.Get(flag) ? std::optional(flag) : std::nullopt;
}

/// Whether the command switches it on or off; nothing when it does neither.
std::optional<bool> Switches(SonarCommand const& command, Switch const& what)
{
    if (what.field != nullptr) {
        return command.id == what.commandOn
                   ? std::optional(IsOn(protocol::UnpackField(*what.field, command.payload).wire))
                   : std::nullopt;
    }
    if (command.id == what.commandOn || command.id == what.commandOff) {
        return command.id == what.commandOn;
    }
    return std::nullopt;
}

} // namespace

void SwitchedOn::Take(bool outgoing, std::span<unsigned char const> frame, double time)
{
    static_assert(std::size(switches) == SwitchCount);
    if (outgoing) {
        auto const command = CommandOf(frame);
        if (!command) {
            return;
        }
        // Neither pings nor records after that, until somebody switches it on again.
        bool const ends = command->id == records::Shutdown.Id() || command->id == records::Reboot.Id();
        std::lock_guard const lock(m_mutex);
        for (std::size_t i = 0; i < SwitchCount; ++i) {
            State& state = m_states[i];
            auto const on = ends ? std::optional(false) : Switches(*command, switches[i]);
            if (on.has_value()) {
                Known const before = state.changed < time ? state.told : state.before;
                state.isOurs = *on && (state.isOurs || before != Known::On);
                state.commanded = time;
                state.wasSeenOn = state.told == Known::On && state.changed >= time;
            }
        }
        return;
    }
    auto const tree = ToldAttributes(frame);
    if (!tree) {
        return;
    }
    std::lock_guard const lock(m_mutex);
    for (std::size_t i = 0; i < SwitchCount; ++i) {
        auto const* const node = std::as_const(*tree).GetAttrMap(AttributeKey(switches[i].key->text));
        auto const on = node != nullptr ? IsOn(node->Value()) : std::nullopt;
        if (!on.has_value()) {
            continue;
        }
        State& state = m_states[i];
        Known const told = *on ? Known::On : Known::Off;
        if (state.told != told) {
            state.before = state.told;
            state.told = told;
            state.changed = time;
        }
        state.toldAt = time;
        state.wasSeenOn = state.wasSeenOn || *on;
    }
}

bool SwitchedOn::State::IsLeftOn() const
{
    return isOurs && (told != Known::Off || !(wasSeenOn || toldAt >= commanded + TellsOfBeforeFor));
}

std::vector<std::string> SwitchedOn::Lines(std::string const& name, std::string const& endpoint) const
{
    std::vector<std::string> lines;
    std::lock_guard const lock(m_mutex);
    for (std::size_t i = 0; i < SwitchCount; ++i) {
        if (m_states[i].IsLeftOn()) {
            lines.push_back(fmt::format("{} is left with {} on; `qx5 send --sonar {} {}={}` switches that off", name,
                                        switches[i].what, endpoint, protocol::EncodeUtf8(switches[i].key->text),
                                        switches[i].off));
        }
    }
    return lines;
}

void SayLeftOn(std::vector<std::string> const& lines, bool isApart) noexcept
{
    for (std::string const& line : lines) {
        if (!isApart && !HasOutputFailed()) {
            Say(line + "\n");
        }
        if (isApart || HasOutputFailed()) {
            SayError(line + "\n");
        }
    }
}

} // namespace qx5::cli
