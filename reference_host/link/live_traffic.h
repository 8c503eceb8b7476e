// Sends of sonar devices as frames on their live connections.
#pragma once

#include "reference_host/common/sonar_traffic.h"

#include <VordalBaseR/Export.h>

namespace vordal {

class SonarLink;

/// Frames what devices send and gives it to the X5Port that the sender is attached to; a sender without one, or with a
/// port of another kind, is not connected. Raw bytes leave by a RawPort, too. Device id and enumerator are written as
/// given, the enumerator's low 16 bits. Remote-control records bear the command id as ticket and 0 as tracking number,
/// and the host's time. A record request is this project's own remote-control command. Any thread; frames up to 1 KiB
/// cost no allocation.
class VORDAL_API LiveTraffic final : public SonarTraffic
{
public:
    bool SendRemoteControl(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                           int deviceId, int enumerator) override;
    bool AskForRecord(Sender const& sender, std::uint32_t recordId, int deviceId, int enumerator) override;
    bool SendData(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload, double time,
                  int deviceId, int enumerator) override;
    bool SendRaw(Sender const& sender, std::string_view bytes, bool flag) override;
};

/// Sends one remote-control record with the host's time over the link; see LiveTraffic.
bool SendRemoteControlRecord(SonarLink& link, std::uint32_t commandId, std::span<unsigned char const> payload,
                             int deviceId, int enumerator);

} // namespace vordal
