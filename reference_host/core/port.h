// The devices on a port, for ports of every kind.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/BaseIOHandler.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <vector>

class BaseDevice;

namespace vordal {

/// The devices that are attached to one port, in order of attachment. Any thread. Host::SetPort keeps it. Whoever walks
/// it by index takes no lock, unless a device comes or goes that very moment: a group asks its ports before each ping
/// for each device once for each of its sonars.
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
    using Place = std::atomic<BaseDevice*>;

    void MakeRoomLocked();
    std::size_t IndexLocked(BaseDevice const* device) const;
    BaseDevice* Look(int index) const;

    mutable std::mutex m_mutex;
    /// All there ever were, each twice as many as those before: somebody may just look at former ones.
    std::vector<std::unique_ptr<Place[]>> m_madePlaces;
    std::size_t m_capacity = 0;            ///< of the last of them
    std::atomic<Place*> m_places{nullptr}; ///< the last of them
    std::atomic<std::size_t> m_count{0};
    std::atomic<unsigned> m_version{0}; ///< odd while a change is under way
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
