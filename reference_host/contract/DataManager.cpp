// The register of devices, computations and streams, and the way into a device from a view.
#include <vordalhostdllR/DataManager.h>

#include "reference_host/attributes/host_keys.h"
#include "reference_host/attributes/tree_merge.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/log.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host_state.h"
#include "reference_host/streams/stream_buffer.h"

#include <tvcoreR/Utf8.h>

using vordal::CurrentState;

struct DataManagerAccess
{
    static DataManager instance;
};
DataManager DataManagerAccess::instance;

Compform::~Compform() = default;

DataManager& DataManager::GetDataManager()
{
    return DataManagerAccess::instance;
}

namespace {

bool IsThere(vordal::HostState const& host, CDataId const& id)
{
    return host.FindDevice(id) != nullptr || host.FindComputation(id) != nullptr;
}

bool IsRequest(CAttributeMap const& child)
{
    return child.KeyText() == vordal::keys::Request.Text();
}

/// The children that are not among the `requests`.
CAttributeMap WithoutRequests(CAttributeMap const& map, int requests)
{
    CAttributeMap rest;
    if (requests > map.Count() - requests) {
        for (CAttributeMap const& child : map) {
            if (!IsRequest(child)) {
                rest.Append(child);
            }
        }
        return rest;
    }
    rest = map;
    // From the last on: to take out an earlier one moves all that follow it.
    for (int i = requests; i-- > 0;) {
        rest.Remove(vordal::keys::Request, i);
    }
    return rest;
}

/// What SetAttributeMap does once it is its turn; `device` is the one of that id, or null; `who` asked. The host
/// thread.
bool Apply(vordal::Host& host, Device* device, CDataId const& id, CAttributeMap const& map, unsigned flags,
           vordal::RequestOrigin who)
{
    if (auto* observer = host.Observer()) {
        observer->OnHostSet(id, map, flags);
    }
    if (device != nullptr) {
        int const requests = map.Count(vordal::keys::Request);
        if (requests > 0) {
            for (CAttributeMap const& given : map) {
                if (IsRequest(given)) {
                    CAttributeMap request(given);
                    host.DeliverRequest(*device, &request, &given, who);
                }
            }
        }
        if (map.Count() > requests) {
            auto const rest = WithoutRequests(map, requests);
            if (auto* const observer = vordal::CurrentRequestObserver()) {
                observer->OnWritten(*device, rest);
            }
            vordal::MergeAndNotify(device->Internals(), id, rest);
        }
        return true;
    }
    if (auto* const computation = host.State().FindComputation(id)) {
        if (map.Count() > 0) {
            computation->MergeIn(map);
            DataId_NI const info(id);
            computation->Subscriptions().Bus()->NotifyKeysOf(map, &info);
        }
        return true;
    }
    return false;
}

} // namespace

BaseDevice* DataManager::FindDevice(CDataId const& dataId)
{
    auto const* const host = CurrentState();
    return host != nullptr ? host->FindDevice(dataId) : nullptr;
}

int DataManager::GetDeviceCount(unsigned short vessel)
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return 0;
    }
    std::lock_guard const lock(host->mutex);
    return host->devices.CountOf(vessel);
}

BaseDevice* DataManager::GetDevice(int index, unsigned short vessel)
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return nullptr;
    }
    std::lock_guard const lock(host->mutex);
    return host->devices.At(index, vessel);
}

BaseDevice* DataManager::GetNextDevice(unsigned short vessel)
{
    auto* const host = CurrentState();
    if (host == nullptr) {
        return nullptr;
    }
    std::lock_guard const lock(host->mutex);
    auto& next = host->nextDevice[vessel];
    auto* const device = host->devices.At(next, vessel);
    next = device != nullptr ? next + 1 : 0;
    return device;
}

int DataManager::GetCompsCount(unsigned short vessel)
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return 0;
    }
    std::lock_guard const lock(host->mutex);
    return host->computations.CountOf(vessel);
}

Compform* DataManager::GetComputation(int index, unsigned short vessel)
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return nullptr;
    }
    std::lock_guard const lock(host->mutex);
    return host->computations.At(index, vessel);
}

Compform* DataManager::FindComputation(CDataId const& dataId)
{
    auto const* const host = CurrentState();
    return host != nullptr ? host->FindComputation(dataId) : nullptr;
}

Compform* DataManager::GetLinkedComputation(CDataId const& dataId, int index)
{
    auto const* const host = CurrentState();
    if (host == nullptr) {
        return nullptr;
    }
    std::lock_guard const lock(host->mutex);
    return host->computations.LinkedTo(dataId, index);
}

bool DataManager::SetAttributeMap(CDataId const& dataId, CAttributeMap const& map, unsigned flags, bool unused)
{
    auto* const host = vordal::Host::CurrentOrNull();
    if (host == nullptr) {
        return false;
    }
    if (auto* const observer = host->Observer(); observer != nullptr && unused) {
        observer->OnContractBreach(L"the last argument of DataManager::SetAttributeMap is always false");
    }
    auto const who = vordal::CurrentOrigin();
    if (host->State().threading == vordal::Threading::Inline || host->IsHostThread()) {
        return Apply(*host, host->State().FindDevice(dataId), dataId, map, flags, who);
    }
    bool const there = IsThere(host->State(), dataId);
    // The id travels as its fields: its text would cost an allocation for each request.
    bool const posted =
        host->Post([host, id = vordal::PackedId(dataId), map, flags, who, person = vordal::CurrentPerson()] {
            vordal::OriginScope const scope(who, person);
            if (auto* const device = host->State().FindDevice(id)) {
                Apply(*host, device, device->GetDataId(), map, flags, who);
            } else {
                Apply(*host, nullptr, vordal::UnpackedId(id), map, flags, who);
            }
        });
    return there && posted;
}

bool DataManager::GetAttributeMap(CDataId const& dataId, CAttributeMap& map)
{
    if (auto* const host = CurrentState()) {
        if (vordal::DeviceInUse const device(*host, dataId); device.Get() != nullptr) {
            return device.Get()->GetAttributeMap(map);
        }
        if (auto* const computation = host->FindComputation(dataId)) {
            computation->GetAttributeMap(map);
            return true;
        }
    }
    map = CAttributeMap();
    return false;
}

SubscriptionMap* DataManager::GetAttributeSubscriptionMap(CDataId const& dataId)
{
    if (auto* const host = CurrentState()) {
        if (vordal::DeviceInUse const device(*host, dataId); device.Get() != nullptr) {
            return device.Get()->GetAttributeSubscriptionMap();
        }
        if (auto* const computation = host->FindComputation(dataId)) {
            return &computation->Subscriptions();
        }
    }
    return nullptr;
}

BaseDataSource* DataManager::FindDatablockBuffer(CDataId const& dataId, bool create)
{
    auto* const host = CurrentState();
    return host != nullptr ? host->FindBuffer(dataId, create) : nullptr;
}

VesselManager& DataManager::GetVesselManager()
{
    return VesselManager::GetVesselManager();
}
