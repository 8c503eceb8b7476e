// The façade of the sonar record protocol: a device that speaks records.
#pragma once

#include <vordalhostdllR/Device.h>

#include <cstdint>

/// A sonar. Sends are queued and return at once: true when the record is on its way, false when there is no
/// connection or its queue is full; nothing is sent then and nothing else changes.
///
/// Device id 0 with enumerator -1 means the device's own configured sonar. An explicit device id selects another unit
/// of the sonar system, with enumerator 0: 7000 is the sonar processor. Payloads are copied before a call returns.
class VORDAL_API QX5Device : public Device
{
public:
    QX5Device();
    ~QX5Device() override;

    /// Wraps `size` bytes of payload into a remote-control record and sends it. Null with size 0 is a command
    /// without data.
    bool SendRemoteControlRecord(std::uint32_t recordId, void const* payload, std::uint64_t size, int deviceId,
                                 int enumerator);
    /// Asks the sonar to send that record once.
    bool SingleRecordRequest(std::uint32_t recordId, int deviceId, int enumerator);
    /// Sends a plain data record with the given time stamp (seconds, see CExTime).
    bool SendRecord(std::uint32_t recordId, void const* payload, std::uint32_t size, double time, int deviceId,
                    int enumerator);

    using Device::DoOutput;
    bool DoOutput(long output, CDataId const& dataId) override;
    bool ProcessMessage(char* message, int size) override;
    unsigned long long GetTrackingNumber() override;
    void HandlePortConnect() override;
    void HandlePortDisConnect() override;
    void SetPortPtr(BaseIOHandler* port) override;
    using Device::Create;
    bool Create() override;
    void ApplyAttribs(bool changed) override;
};
