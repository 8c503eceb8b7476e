// What the reference host consists of, for its own sources: registers, buses, buffers, the host thread.
#pragma once

#include "reference_host/attributes/merged_trees.h"
#include "reference_host/attributes/tree_account.h"
#include "reference_host/bus/notification_bus.h"
#include "reference_host/bus/window_inbox.h"
#include "reference_host/common/current_host.h"
#include "reference_host/common/host_thread.h"
#include "reference_host/core/device_register.h"
#include "reference_host/core/host.h"
#include "reference_host/core/message_service.h"
#include "reference_host/core/project_definition.h"
#include "reference_host/displays/display_register.h"
#include "reference_host/displays/open_displays.h"
#include "reference_host/targets/target_store.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalConfigureR/CPrsConfiguration.h>
#include <VordalDataBlocksR/BaseDataSource.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

namespace vordal {

class Application;
class StreamBuffer;

/// What the host keeps about one device.
struct DeviceInternals
{
    CAttributeMap tree;
    /// The device's lock, which guards the tree and its account.
    CriticalSection* lock = nullptr;
    /// Of what the sonar tells; what others write needs no room in it.
    TreeAccount told;
    MergedTrees mergedTold;
    bool refusalTold = false;
    std::shared_ptr<SubscriptionMap> const subscriptions = std::make_shared<SubscriptionMap>();
    /// What attribute notifications carry; made anew when the id has changed. Guarded by the device's lock.
    std::shared_ptr<DataId_NI const> changeInfo;

    CString name;
    CString driverName;

    mutable std::mutex mutex; ///< guards what follows
    CDataBlock block;
    CString portName;
    CString controlViewType;
    double timeOut = 0.0;

    std::atomic<int> outputStat{0};
    std::atomic<bool> alwaysNotify{false};
    std::atomic<bool> enabled{true};
    std::atomic<bool> timeOutDisabled{false};
    std::atomic<BaseIOHandler*> port{nullptr};
    int uses = 0; ///< see DeviceInUse; guarded by the host's mutex
};

/// A module's control of pings. It knows devices by their addresses, so none goes while it is active.
class PingControl
{
public:
    PingControl() = default;
    PingControl(PingControl const&) = delete;
    PingControl& operator=(PingControl const&) = delete;

    virtual bool IsActive() const = 0;
    /// Whether a device with that number (DeviceRegister::OrderOf) was there when it last looked.
    virtual bool MayKnow(std::uint64_t order) const = 0;
    virtual void Release() = 0;
    virtual void Discover() = 0;

protected:
    ~PingControl() = default;
};

class Computation final : public Compform
{
public:
    explicit Computation(ComputationSetup setup) : m_setup(std::move(setup)) {}

    CDataId const& GetDataId() const override { return m_setup.dataId; }
    int GetType() const override { return m_setup.type; }
    bool GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const override;
    void GetDataSource(CDataId& dataId) const override;
    void GetAttributeMap(CAttributeMap& map) const override;
    void ResetDataSource() override;

    std::vector<CDataId> const& LinkedDevices() const { return m_setup.linkedDevices; }
    void MergeIn(CAttributeMap const& tree);
    SubscriptionMap& Subscriptions() { return m_subscriptions; }

private:
    ComputationSetup m_setup;
    mutable std::mutex m_mutex; ///< guards the attributes
    SubscriptionMap m_subscriptions;
};

/// The computations of a host, which stay as long as it does. One thread at a time.
class ComputationRegister
{
public:
    Computation* Add(std::unique_ptr<Computation> computation);
    /// Of several of one id the first. Null when there is none, as in what follows.
    Computation* Find(std::uint64_t packedId) const;
    int CountOf(unsigned short vessel) const;
    /// Of those of the vessel.
    Computation* At(int index, unsigned short vessel) const;
    /// Of those that the device is linked to.
    Computation* LinkedTo(CDataId const& device, int index) const;
    std::vector<std::unique_ptr<Computation>> const& All() const { return m_all; }

private:
    std::vector<std::unique_ptr<Computation>> m_all;
    std::unordered_map<std::uint64_t, Computation*> m_byId;
    std::unordered_map<unsigned short, std::vector<Computation*>> m_ofVessel;
    std::unordered_map<std::uint64_t, std::vector<Computation*>> m_byDevice;
};

/// A vessel and what the project says of it; it never changes.
class Vessel final : public CBaseVessel, private CPrsConfiguration
{
public:
    explicit Vessel(VesselSetup setup) : m_setup(std::move(setup)) {}

    unsigned short GetVesselNumber() const override { return m_setup.number; }
    CPrsConfiguration const* GetConfiguration() const override { return this; }
    VesselSetup const& Setup() const { return m_setup; }

private:
    bool GetItem(CString const& section, CString const& key, CString& value) const override;
    bool GetItem(CString const& section, CString const& key, bool& value) const override;

    VesselSetup m_setup;
};

struct HostState
{
    explicit HostState(Threading mode);
    HostState(HostState const&) = delete;
    HostState& operator=(HostState const&) = delete;
    ~HostState();

    Threading const threading;
    std::thread::id const owner = std::this_thread::get_id();
    std::atomic<Clock const*> clock{nullptr};
    std::atomic<SonarTraffic*> traffic{nullptr};
    std::atomic<HostObserver*> observer{nullptr};
    std::atomic<RequestObserver*> requestObserver{nullptr};
    std::atomic<RequestGuard*> requestGuard{nullptr};
    std::atomic<bool> areFollowersWatched{false};
    std::atomic<bool> followersChange{false}; ///< the watchers are about to be told, and will be told of that, too
    std::atomic<RequestFailures> failures{RequestFailures::Contain};

    std::shared_ptr<NotificationBus> const activeVesselBus = std::make_shared<NotificationBus>();
    std::shared_ptr<NotificationBus> const bufferStatusBus = std::make_shared<NotificationBus>();
    std::shared_ptr<NotificationBus> const generalBus = std::make_shared<NotificationBus>();
    std::shared_ptr<NotificationBus> const streamBus = std::make_shared<NotificationBus>(TellFollowersChanged);

    ProjectDefinition project;
    DisplayRegister displays;
    OpenDisplays openDisplays;
    MessageService messages;
    /// What waits for the window thread; joints that were made there hold on to it.
    std::shared_ptr<WindowInbox> const window;
    /// Null until it is set up; stays until the host goes.
    std::unique_ptr<Application> application;

    /// Guards the registers below; never held while calling out.
    mutable std::mutex mutex;
    std::unordered_map<std::uint64_t, std::unique_ptr<StreamBuffer>> buffers;
    std::vector<std::unique_ptr<Vessel>> vessels;
    std::unordered_map<unsigned short, Vessel const*> vesselsByNumber; ///< of several the first
    std::size_t activeVessel = 0;
    ComputationRegister computations;
    DeviceRegister devices;
    /// Of devices that have gone: others may still be about to leave or to join them.
    std::vector<std::shared_ptr<SubscriptionMap>> formerSubscriptions;
    std::vector<PingControl*> pingControls;
    std::map<std::uint64_t, FollowersWatcher*> followersWatchers; ///< in the order in which they came
    std::unordered_map<FollowersWatcher const*, std::uint64_t> followersWatcherOrders;
    std::uint64_t nextFollowersWatcher = 0;
    /// Where GetNextDevice stands, by vessel.
    std::map<unsigned short, int> nextDevice;
    std::map<CString, std::unique_ptr<DevICreator>> creators;
    std::filesystem::path fileRoot;
    std::vector<std::filesystem::path> fileFolders;
    CString appInstanceGuid;

    std::atomic<bool> userIsOperator{true};
    std::atomic<bool> aScanOn{false};
    std::unique_ptr<TargetStore> targets;

    /// Given up when memory runs out within a request; null until there is enough for it again. Host thread.
    std::unique_ptr<std::byte[]> reserve;
    /// Null in a host that runs on the threads of its callers.
    std::unique_ptr<HostThread> thread;
    /// Tells that a device is not in use any more (see DeviceInUse).
    std::condition_variable useEnded;

    Device* FindDevice(CDataId const& id) const { return FindDevice(PackedId(id)); }
    Device* FindDevice(std::uint64_t packedId) const;
    Computation* FindComputation(CDataId const& id) const;
    /// Null when it is missing and not to be made.
    StreamBuffer* FindBuffer(CDataId const& id, bool create);
    /// Host thread.
    void TellFollowersWatchers();
    /// Every bus that subscriptions may be joined to.
    std::vector<std::shared_ptr<NotificationBus>> AllBuses() const;
    /// The device has another id now; the register follows.
    void ChangeDeviceId(BaseDevice const& device, CDataId const& id);
};

/// A device that was looked up and stays until the end of its use, whoever removes it meanwhile. Any thread; for short
/// uses, which the removal waits for.
class DeviceInUse
{
public:
    DeviceInUse(HostState& host, CDataId const& id);
    DeviceInUse(DeviceInUse const&) = delete;
    DeviceInUse& operator=(DeviceInUse const&) = delete;
    ~DeviceInUse();

    /// Null when there is no such device.
    Device* Get() const { return m_device; }

private:
    HostState& m_host;
    Device* m_device;
};

/// The state of the host that lives; null when there is none.
HostState* CurrentState();

// For the subscription classes. Null without a host or for another kind.
std::shared_ptr<NotificationBus> BusOfKind(int kind);
BaseDataSource* FindBuffer(CDataId const& id);

/// Merges into the device's tree under its lock and then tells the subscribers; false when nothing was given.
bool MergeAndNotify(DeviceInternals& internals, CDataId const& id, CAttributeMap const& tree);
/// The same within the account of what the sonar tells, with the tree's number for MergedTrees. True when something was
/// refused for the first time.
bool MergeToldAndNotify(DeviceInternals& internals, CDataId const& id, CAttributeMap const& tree, std::uint64_t number);

} // namespace vordal
