// The façade of the sonar record protocol: hands what a device sends to the host's traffic.
#include <HalvaneX5InterfaceR/QX5Device.h>
#include <HalvaneX5InterfaceR/QX5SocketIoHandler.h>

#include "reference_host/common/request_observer.h"
#include "reference_host/common/request_sends.h"
#include "reference_host/core/host_state.h"

#include <limits>
#include <span>

using vordal::RequestSends;
using vordal::SendMark;

namespace {

vordal::SonarTraffic* Traffic()
{
    auto* const host = vordal::CurrentState();
    return host != nullptr ? host->traffic.load(std::memory_order_acquire) : nullptr;
}

/// Says whether `payload` and `size` can be meant, and gives them as bytes.
bool AsBytes(void const* payload, std::uint64_t size, std::span<unsigned char const>& bytes)
{
    if (size > std::numeric_limits<std::uint32_t>::max() || (payload == nullptr && size != 0)) {
        return false;
    }
    bytes = std::span(static_cast<unsigned char const*>(payload), static_cast<std::size_t>(size));
    return true;
}

/// Sends once within a request, and tells who follows requests; without traffic nothing leaves.
template <typename Send>
bool SendOnce(SendMark const& mark, std::span<unsigned char const> payload, Send send)
{
    auto* const traffic = Traffic();
    bool const taken = traffic != nullptr && RequestSends::Once(mark, [&] { return send(*traffic); });
    return vordal::TellSend(mark, payload, taken);
}

} // namespace

QX5SocketIoHandler::~QX5SocketIoHandler() = default;

QX5Device::QX5Device() = default;
QX5Device::~QX5Device() = default;

bool QX5Device::SendRemoteControlRecord(std::uint32_t recordId, void const* payload, std::uint64_t size, int deviceId,
                                        int enumerator)
{
    std::span<unsigned char const> bytes;
    return AsBytes(payload, size, bytes) &&
           SendOnce(
               {SendMark::Kind::RemoteControl, recordId, size, deviceId, enumerator}, bytes,
               [&](vordal::SonarTraffic& traffic) {
                   return traffic.SendRemoteControl({m_dataId, GetPortPtr()}, recordId, bytes, deviceId, enumerator);
               });
}

bool QX5Device::SingleRecordRequest(std::uint32_t recordId, int deviceId, int enumerator)
{
    return SendOnce({SendMark::Kind::RecordRequest, recordId, 0, deviceId, enumerator}, {},
                    [&](vordal::SonarTraffic& traffic) {
                        return traffic.AskForRecord({m_dataId, GetPortPtr()}, recordId, deviceId, enumerator);
                    });
}

bool QX5Device::SendRecord(std::uint32_t recordId, void const* payload, std::uint32_t size, double time, int deviceId,
                           int enumerator)
{
    std::span<unsigned char const> bytes;
    return AsBytes(payload, size, bytes) &&
           SendOnce({SendMark::Kind::Data, recordId, size, deviceId, enumerator}, bytes,
                    [&](vordal::SonarTraffic& traffic) {
                        return traffic.SendData({m_dataId, GetPortPtr()}, recordId, bytes, time, deviceId, enumerator);
                    });
}

bool QX5Device::DoOutput(long output, CDataId const& dataId)
{
    return Device::DoOutput(output, dataId);
}
bool QX5Device::ProcessMessage(char* message, int size)
{
    return Device::ProcessMessage(message, size);
}
unsigned long long QX5Device::GetTrackingNumber()
{
    return Device::GetTrackingNumber();
}
void QX5Device::HandlePortConnect()
{
    Device::HandlePortConnect();
}
void QX5Device::HandlePortDisConnect()
{
    Device::HandlePortDisConnect();
}
void QX5Device::SetPortPtr(BaseIOHandler* port)
{
    Device::SetPortPtr(port);
}
bool QX5Device::Create()
{
    return Device::Create();
}
void QX5Device::ApplyAttribs(bool changed)
{
    Device::ApplyAttribs(changed);
}
