// Where the sends of a sonar device go: the live link, or a recorder.
#pragma once

#include <VordalBaseR/CDataId.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

class BaseIOHandler;

namespace vordal {

/// Everything that the record façade and the port of a sonar can be asked to send. One object serves all devices of
/// a host. Each operation is called on the caller's thread, must not wait and must not throw; false means that
/// nothing was sent. Payloads belong to the caller and are valid during the call only.
class SonarTraffic
{
public:
    virtual ~SonarTraffic() = default;

    /// Who sends, and the port that the device is attached to (null for none).
    struct Sender
    {
        CDataId const& device;
        BaseIOHandler* port;
    };

    virtual bool SendRemoteControl(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                                   int deviceId, int enumerator) = 0;
    virtual bool AskForRecord(Sender const& sender, std::uint32_t recordId, int deviceId, int enumerator) = 0;
    virtual bool SendData(Sender const& sender, std::uint32_t recordId, std::span<unsigned char const> payload,
                          double time, int deviceId, int enumerator) = 0;
    /// A finished frame, as it stands.
    virtual bool SendRaw(Sender const& sender, std::string_view bytes, bool flag) = 0;
};

} // namespace vordal
