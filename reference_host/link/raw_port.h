// The port of a device whose frames are its own: what arrives goes to the device byte for byte.
#pragma once

#include "live_port.h"

#include <VordalBaseR/Export.h>

#include <atomic>
#include <cstdint>
#include <span>
#include <string_view>

namespace vordal {

/// A TCP connection as devices of other instruments see it: all bytes that arrive go to BaseDevice::ProcessMessage of
/// every attached device, and what a device sends (BaseDevice::SendMessageW) leaves as it stands. A device that throws
/// from ProcessMessage loses those bytes, with one line in the log for each connection.
class VORDAL_API RawPort final : public PortWithDevices<BaseIOHandler>, public LivePort
{
public:
    RawPort(Host& host, LinkThread& thread, CString name, LinkOptions options);
    ~RawPort() override;

    /// Bytes that a device had no use for.
    std::uint64_t UnusedBytes() const { return m_unusedBytes.load(); }

private:
    void OnLinkFrame(qx5::protocol::FrameView const& frame, double time) override;
    void OnLinkBytes(std::span<unsigned char const> bytes, double time) override;
    void OnDevicesTold(bool connected) override;

    void Deliver(std::span<char> bytes);
    void TellOnce(BaseDevice const& device, std::string_view what);

    std::atomic<std::uint64_t> m_unusedBytes{0};
    bool m_told = false; ///< in this connection; host thread alone
};

} // namespace vordal
