// The devices of the reference host: their register, their ports and their attributes.
#include "reference_host/core/host_devices.h"

#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/log.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host_state.h"
#include "reference_host/core/port.h"
#include "reference_host/streams/settings_data.h"
#include "reference_host/streams/stream_buffer.h"

#include <HalvaneX5InterfaceR/QX5Device.h>
#include <VordalBaseR/FileObject.h>
#include <tvcoreR/Utf8.h>

#include <algorithm>
#include <string>
#include <utility>

namespace vordal {

std::vector<CString> HostDevices::DeviceClasses() const
{
    std::lock_guard const lock(m_state.mutex);
    std::vector<CString> names;
    for (auto const& [name, creator] : m_state.creators) {
        names.push_back(name);
    }
    return names;
}

namespace {

std::unique_ptr<Device> MakeDeviceOf(CString const& className)
{
    if (className == L"QX5Device") {
        return std::make_unique<QX5Device>();
    }
    if (className == L"Device") {
        return std::make_unique<Device>();
    }
    std::unique_ptr<BaseDevice> made(CDevList::GetDevList().MakeDevice(className));
    auto* const device = dynamic_cast<Device*>(made.get());
    if (device == nullptr) {
        return nullptr;
    }
    static_cast<void>(made.release()); // the same object as `device`
    return std::unique_ptr<Device>(device);
}

} // namespace

std::unique_ptr<Device> HostDevices::MakeDevice(CString const& className)
{
    auto device = MakeDeviceOf(className);
    if (device != nullptr) {
        device->SetDeviceDriverName(className);
    }
    return device;
}

Device* HostDevices::AddDevice(std::unique_ptr<Device> device, CDataId const& dataId, CString const& name)
{
    auto* const added = device.get();
    if (added == nullptr || dataId.IsUndefined()) {
        return nullptr;
    }
    auto* const buffer = m_state.FindBuffer(dataId, true);
    {
        std::lock_guard const lock(m_state.mutex);
        if (!m_state.devices.Add(dataId, device)) {
            return nullptr;
        }
    }
    added->SetDeviceName(name);
    added->Create(dataId, buffer);
    return added;
}

void HostDevices::SetPort(BaseDevice& device, BaseIOHandler* port)
{
    auto* const before = device.GetPortPtr();
    if (before == port) {
        return;
    }
    if (auto* devices = dynamic_cast<AttachedDevices*>(before)) {
        devices->Detach(&device);
    }
    device.SetPortPtr(port);
    if (auto* devices = dynamic_cast<AttachedDevices*>(port)) {
        devices->Attach(&device);
    }
    TellFollowersChanged();
}

bool HostDevices::RemoveDevice(BaseDevice* device)
{
    bool isKnown = false;
    {
        std::lock_guard const lock(m_state.mutex);
        auto const order = m_state.devices.OrderOf(device);
        if (!order.has_value()) {
            return false;
        }
        isKnown = std::any_of(m_state.pingControls.begin(), m_state.pingControls.end(),
                              [&](PingControl const* control) { return control->MayKnow(*order); });
    }
    if (!isKnown) {
        return TakeOut(device);
    }
    bool isGone = false;
    auto const takeOut = [&] { isGone = TakeOut(device); };
    // By reference: a device goes also while there is no memory, in whose destructors nothing may throw.
    DiscoverAnew(std::ref(takeOut));
    return isGone;
}

std::size_t HostDevices::RemoveDevices(std::span<Device* const> devices)
{
    std::size_t count = 0;
    auto const takeOut = [&] {
        for (Device* const device : devices) {
            count += TakeOut(device) ? 1 : 0;
        }
    };
    DiscoverAnew(std::ref(takeOut));
    return count;
}

void HostDevices::DiscoverAnew(std::function<void()> const& change)
{
    std::vector<PingControl*> released;
    {
        std::lock_guard const lock(m_state.mutex);
        released = m_state.pingControls;
    }
    std::erase_if(released, [](PingControl const* control) { return !control->IsActive(); });
    for (PingControl* const control : released) {
        control->Release();
    }
    change();
    for (PingControl* const control : released) {
        control->Discover();
    }
    if (!released.empty()) {
        TellSettingsAgain();
    }
}

bool HostDevices::TakeOut(BaseDevice* device)
{
    std::unique_ptr<Device> removed;
    {
        std::unique_lock lock(m_state.mutex);
        removed = m_state.devices.Take(device);
        if (removed == nullptr) {
            return false;
        }
        m_state.formerSubscriptions.push_back(removed->Internals().subscriptions);
        // Nobody finds it any more; who found it before is waited for.
        m_state.useEnded.wait(lock, [&] { return removed->Internals().uses == 0; });
    }
    removed->StopDevice();
    SetPort(*removed, nullptr);
    return true;
}

void HostDevices::TellSettingsAgain()
{
    // A sonar that pings on command alone says nothing by itself, and joins its group with its settings.
    for (Device* const device : Devices()) {
        CDataId const& id = device->GetDataId();
        auto* const buffer = id.GetGroupId() == SonarDataGroup ? m_state.FindBuffer(id, false) : nullptr;
        unsigned short state = 0;
        unsigned short status = 0;
        if (buffer == nullptr || !buffer->GetStatus(state, status) || state == 0) {
            continue;
        }
        if (status == 0) {
            buffer->Announce();
        } else {
            // It would be pinged and awaited though it cannot answer.
            buffer->AnnounceWhenWell();
        }
    }
}

void HostDevices::RemoveAllDevices()
{
    // A host ends also when there is no memory: nothing is copied here.
    auto const firstActive = [this]() -> PingControl* {
        std::lock_guard const lock(m_state.mutex);
        auto const found = std::find_if(m_state.pingControls.begin(), m_state.pingControls.end(),
                                        [](PingControl const* control) { return control->IsActive(); });
        return found != m_state.pingControls.end() ? *found : nullptr;
    };
    while (PingControl* const control = firstActive()) {
        control->Release(); // which makes it inactive
    }
    while (true) {
        Device* first = nullptr;
        {
            std::lock_guard const lock(m_state.mutex);
            if (m_state.devices.IsEmpty()) {
                return;
            }
            first = m_state.devices.First();
        }
        TakeOut(first);
    }
}

std::vector<Device*> HostDevices::Devices() const
{
    std::lock_guard const lock(m_state.mutex);
    std::vector<Device*> devices;
    devices.reserve(m_state.devices.Count());
    m_state.devices.ForEach([&](Device& device) { devices.push_back(&device); });
    return devices;
}

void HostDevices::ReplaceAttributes(BaseDevice& device, CAttributeMap const& tree)
{
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    internals.tree = tree;
    internals.told.CountAnew(internals.tree);
}

void HostDevices::MergeDecoded(BaseDevice& device, CAttributeMap const& tree, std::uint64_t number)
{
    if (auto* const observer = CurrentRequestObserver()) {
        observer->OnTold(device, tree);
    }
    if (!MergeToldAndNotify(device.Internals(), device.GetDataId(), tree, number)) {
        return;
    }
    auto const told = Told(device);
    Log(LogLevel::Warning, "the device \"" + tvcore::ToUtf8(device.GetDeviceName()) + "\" (" +
                               tvcore::ToUtf8(device.GetDataId().GetKey()) + "): its sonar tells more than " +
                               std::to_string(told.Limits().keys) + " keys or " + std::to_string(told.Limits().bytes) +
                               " bytes of texts and lists; the rest is refused and counted, values of known keys go "
                               "on, and this is said once");
    if (auto* const observer = CurrentObserver()) {
        observer->OnAttributesRefused(device);
    }
}

void HostDevices::SetToldLimits(BaseDevice& device, TreeLimits const& limits)
{
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    internals.told.SetLimits(limits);
    internals.mergedTold.Forget();
    internals.refusalTold = false;
}

TreeAccount HostDevices::Told(BaseDevice const& device) const
{
    auto const& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    return internals.told;
}

bool HostDevices::LoadDevice(Device& device, CAttributeMap const& tree)
{
    auto const& name = device.GetDeviceName();
    FileObject file;
    file.CreateSection(name);
    file.SetAttributeMap(name, tree);
    bool const loaded = device.LoadAttribs(name, &file);
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    ForgetReferences(internals.tree);
    internals.told.CountAnew(internals.tree);
    return loaded;
}

void HostDevices::ApplyDevice(Device& device, bool changed)
{
    device.ApplyAttribs(changed);
    auto& internals = device.Internals();
    std::lock_guard const lock(*internals.lock);
    ForgetReferences(internals.tree);
    internals.told.NoteOthersWrote();
}

} // namespace vordal
