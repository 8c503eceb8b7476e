// The port of a device whose frames are its own: what arrives goes to the device byte for byte.
#include "raw_port.h"

#include "reference_host/common/log.h"

#include <VordalDataBlocksR/BaseDevice.h>
#include <tvcoreR/Utf8.h>

#include <exception>
#include <string>
#include <utility>
#include <vector>

namespace vordal {
namespace {

LinkOptions WithoutFrames(LinkOptions options)
{
    options.framed = false;
    return options;
}

} // namespace

RawPort::RawPort(Host& host, LinkThread& thread, CString name, LinkOptions options)
    : LivePort(host, thread, std::move(name), WithoutFrames(std::move(options)), *this, *this)
{
}

RawPort::~RawPort()
{
    End();
}

void RawPort::OnLinkFrame(qx5::protocol::FrameView const&, double) {}

void RawPort::OnLinkBytes(std::span<unsigned char const> bytes, double)
{
    PostPiece(bytes.size(), [this, copy = std::vector<char>(bytes.begin(), bytes.end())]() mutable { Deliver(copy); });
}

void RawPort::OnDevicesTold(bool)
{
    m_told = false;
}

void RawPort::Deliver(std::span<char> bytes)
{
    for (int index = 0; auto* const device = GetDevice(index); ++index) {
        // Devices may write into what they are given.
        std::vector<char> own(bytes.begin(), bytes.end());
        std::string problem = "had no use for what arrived";
        try {
            if (device->ProcessMessage(own.data(), static_cast<int>(own.size()))) {
                continue;
            }
        } catch (std::exception const& thrown) {
            problem = std::string("failed at what arrived: ") + thrown.what();
        } catch (...) {
            problem = "failed at what arrived";
        }
        m_unusedBytes.fetch_add(bytes.size());
        TellOnce(*device, problem);
    }
}

void RawPort::TellOnce(BaseDevice const& device, std::string_view what)
{
    if (!std::exchange(m_told, true)) {
        Log(LogLevel::Warning, tvcore::ToUtf8(GetName()) + ": the device \"" + tvcore::ToUtf8(device.GetDeviceName()) +
                                   "\" " + std::string(what) + "; said once for this connection");
    }
}

} // namespace vordal
