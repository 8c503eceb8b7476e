// A device that the host creates from its project: its life, and requests that a plain device has no use for.
#include <vordalhostdllR/Device.h>

#include <VordalBaseR/FileObject.h>

#include "reference_host/common/host_observer.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host_state.h"

#include <mutex>
#include <utility>

Device::Device() = default;
Device::~Device() = default;

void Device::SetDeviceDef(DeviceDefinition const*) {}

bool Device::Create()
{
    return GetBuffer() != nullptr;
}

bool Device::Create(CDataId const& dataId, BaseDataSource*)
{
    // The buffer is the host's own for that id; the argument is there for hosts that hand out others.
    SetDataId(dataId);
    return Create();
}

void Device::StopDevice() {}

bool Device::LoadAttribs(CString name, FileObject* file)
{
    CAttributeMap tree;
    if (file == nullptr || !file->GetAttributeMap(name, tree)) {
        return false;
    }
    std::lock_guard const lock(m_criticalSection);
    *m_attributes = std::move(tree);
    return true;
}

void Device::LoadAttribsPostCreate() {}
void Device::ApplyAttribs(bool) {}

void Device::DispatchDataBlock(CDataBlock const& block)
{
    CopyDataBlock(block);
    if (auto* buffer = GetBuffer()) {
        buffer->StoreBlock(block);
        buffer->AnnounceBlock();
    }
}

void Device::StopInputTimer() {}
double Device::AdjustTimeStamp(double seconds) const
{
    return seconds;
}

void Device::DisableTimeOut(bool disable)
{
    if (auto* observer = vordal::CurrentObserver()) {
        observer->OnDisableTimeOut(*this, disable);
    }
    // Most often it is told again what holds already: a group tells all on its ports once for each of its sonars.
    if (auto& isDisabled = Internals().timeOutDisabled; isDisabled.load(std::memory_order_relaxed) != disable) {
        isDisabled.store(disable, std::memory_order_release);
    }
}

void Device::ReportDroppedRequest(AttributeKey const& asked, AttributeKey const& missing)
{
    if (auto* observer = vordal::CurrentObserver()) {
        observer->OnRequestDropped(*this, asked, missing);
    }
    if (auto* const observer = vordal::CurrentRequestObserver()) {
        observer->OnDropped(*this, asked, missing);
    }
}

void Device::HandleRequestMap(CAttributeMap*) {}
