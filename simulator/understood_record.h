// What a record that arrived says, in the simulated sonar's terms.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include <protocol/echo_records.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/record_layout.h>
#include <protocol/value.h>
#include <simulator/sonar_model.h>

namespace qx5::simulator {

/// What a record asks for beyond its attributes.
enum class Effect : std::uint8_t
{
    None,
    AnswerRecord, ///< send `requestedRecord`
    Ping,         ///< ping once
    TellEchoes,   ///< tell the host those of `echoes` from now on
    ShutDown,
    Reboot,
};

/// One record as the sonar took it. Views point into the frame that it came in.
struct Understood
{
    protocol::Carrier carrier = protocol::Carrier::RemoteControl;
    std::uint32_t id = 0;
    std::string_view name;                          ///< empty for an unknown record
    protocol::RecordLayout const* layout = nullptr; ///< null for a record without table
    protocol::Target target;                        ///< of the frame, or of a pass-through command
    std::span<unsigned char const> payload;
    std::vector<std::pair<protocol::Key const*, protocol::Value>> values; ///< attributes that it sets, as it gives them
    std::vector<std::pair<std::string_view, protocol::Value>> fields;     ///< what it carries beside attributes
    std::size_t missingBytes = 0; ///< of a payload too short; such a record changes nothing
    bool damaged = false;         ///< a remote-control record or a wrapped command that does not hold together
    Effect effect = Effect::None;
    std::uint32_t requestedRecord = 0; ///< of AnswerRecord
    protocol::EchoWish echoes;         ///< of TellEchoes
};

inline constexpr std::size_t MaximumKeptTail = 65536; ///< bytes of a text or list; a longer one is not kept

/// What the record in that frame says to a sonar in that operation mode. Nothing of it is done, and `effect` is None.
Understood Understand(protocol::FrameView const& frame, OperationMode const& mode);

} // namespace qx5::simulator
