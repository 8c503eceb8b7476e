// The devices on a port, for ports of every kind.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/BaseIOHandler.h>

#include <mutex>
#include <vector>

class BaseDevice;

namespace vordal {

/// The devices that are attached to one port, in order of attachment. Any thread. Host::SetPort keeps it.
class VORDAL_API AttachedDevices
{
public:
    virtual ~AttachedDevices();

    /// Twice is once.
    void Attach(BaseDevice* device);
    void Detach(BaseDevice* device);
    bool IsAttached(BaseDevice const* device) const;
    int Count() const;
    /// Null beyond either end.
    BaseDevice* At(int index) const;

private:
    mutable std::mutex m_mutex;
    std::vector<BaseDevice*> m_devices;
};

/// A port of the contract's class `Handler` (BaseIOHandler, QX5SocketIoHandler) with its devices.
template <typename Handler>
class PortWithDevices : public Handler, public AttachedDevices
{
public:
    int GetDeviceCount() const override { return Count(); }
    BaseDevice* GetDevice(int index) const override { return At(index); }
};

/// A port that is no sonar's.
class VORDAL_API PlainPort final : public PortWithDevices<BaseIOHandler>
{
public:
    ~PlainPort() override;
};

} // namespace vordal
