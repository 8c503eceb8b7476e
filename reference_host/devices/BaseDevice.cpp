// The base of all devices: identity, attributes under their lock, and neutral answers for what a device may lack.
#include <VordalDataBlocksR/BaseDevice.h>

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalDataBlocksR/BaseIOHandler.h>

#include "reference_host/attributes/tree_merge.h"
#include "reference_host/data/stream_buffer.h"
#include "reference_host/host/host_observer.h"
#include "reference_host/host/host_state.h"
#include "reference_host/host/request_sends.h"

#include <utility>

namespace vordal {
namespace {

/// What attribute notifications of the device carry. The device's lock is held.
std::shared_ptr<DataId_NI const> ChangeInfo(DeviceInternals& internals, CDataId const& id)
{
    if (internals.changeInfo == nullptr || !(internals.changeInfo->GetDataId() == id)) {
        internals.changeInfo = std::make_shared<DataId_NI const>(id);
    }
    return internals.changeInfo;
}

} // namespace

bool MergeAndNotify(DeviceInternals& internals, CDataId const& id, CAttributeMap const& tree)
{
    if (tree.Count() == 0) {
        return false;
    }
    std::shared_ptr<DataId_NI const> info;
    {
        std::lock_guard const lock(*internals.lock);
        Merge(internals.tree, tree);
        internals.told.NoteOthersWrote();
        info = ChangeInfo(internals, id);
    }
    internals.subscriptions->Bus()->NotifyKeysOf(tree, info.get());
    return true;
}

bool MergeToldAndNotify(DeviceInternals& internals, CDataId const& id, CAttributeMap const& tree)
{
    if (tree.Count() == 0) {
        return false;
    }
    std::shared_ptr<DataId_NI const> info;
    bool firstRefusal = false;
    {
        std::lock_guard const lock(*internals.lock);
        Merge(internals.tree, tree, internals.told);
        firstRefusal = !internals.refusalTold && internals.told.Refused() != TreeSize{};
        internals.refusalTold = internals.refusalTold || firstRefusal;
        info = ChangeInfo(internals, id);
    }
    internals.subscriptions->Bus()->NotifyKeysOf(tree, info.get());
    return firstRefusal;
}

} // namespace vordal

using vordal::CurrentObserver;
using vordal::CurrentState;

BaseIOHandler::~BaseIOHandler() = default;

BaseDevice::BaseDevice() : m_internals(std::make_unique<vordal::DeviceInternals>())
{
    m_internals->lock = &m_criticalSection;
    m_attributes = &m_internals->tree;
}

BaseDevice::~BaseDevice() = default;

void BaseDevice::SetDataId(CDataId const& dataId)
{
    if (auto* host = CurrentState()) {
        host->ChangeDeviceId(*this, dataId);
    }
    m_dataId = dataId;
}

void BaseDevice::SetDeviceNum(unsigned short number)
{
    auto id = m_dataId;
    id.SetDeviceNum(number);
    SetDataId(id);
}

BaseDataSource* BaseDevice::GetBuffer()
{
    auto* host = CurrentState();
    return host != nullptr && !m_dataId.IsUndefined() ? host->FindBuffer(m_dataId, true) : nullptr;
}

CDataId const& BaseDevice::GetDataId() const
{
    return m_dataId;
}
CDataId& BaseDevice::GetDataId()
{
    return m_dataId;
}
CDataId* BaseDevice::GetDataIdPtr()
{
    return &m_dataId;
}
unsigned short BaseDevice::GetGroupId() const
{
    return m_dataId.GetGroupId();
}
CDataBlock& BaseDevice::DataBlock()
{
    return m_internals->block;
}
void BaseDevice::SetDeviceName(CString const& name)
{
    m_internals->name = name;
}
void BaseDevice::SetDeviceDriverName(CString const& name)
{
    m_internals->driverName = name;
}
CString const& BaseDevice::GetDeviceName() const
{
    return m_internals->name;
}
CString& BaseDevice::GetDeviceName()
{
    return m_internals->name;
}
CString const& BaseDevice::GetDeviceDriverName() const
{
    return m_internals->driverName;
}
CString& BaseDevice::GetDeviceDriverName()
{
    return m_internals->driverName;
}

CCompOffset BaseDevice::GetOffset() const
{
    CCompOffset offset;
    unsigned flags = 0;
    GetAttribValue(ATTR_DEVICEOFFSET, offset, flags);
    return offset;
}

SubscriptionMap* BaseDevice::GetAttributeSubscriptionMap()
{
    return m_internals->subscriptions.get();
}

bool BaseDevice::SetAttributeMap(CAttributeMap const& map, unsigned flags)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnEcho(*this, map, flags);
    }
    return vordal::MergeAndNotify(*m_internals, m_dataId, map);
}

bool BaseDevice::AppendAttributeMap(CAttributeMap const& map, unsigned flags)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnEcho(*this, map, flags);
    }
    if (map.Count() == 0) {
        return false;
    }
    std::shared_ptr<DataId_NI const> info;
    {
        std::lock_guard const lock(m_criticalSection);
        // A copy, since the tree may be asked to append itself.
        CAttributeMap const given(map);
        for (CAttributeMap const& child : given) {
            m_attributes->Append(child);
        }
        m_internals->told.NoteOthersWrote();
        info = vordal::ChangeInfo(*m_internals, m_dataId);
    }
    m_internals->subscriptions->Bus()->NotifyKeysOf(map, info.get());
    return true;
}

bool BaseDevice::GetAttributeMap(CAttributeMap& map) const
{
    CAttributeMap copy;
    {
        std::lock_guard const lock(m_criticalSection);
        copy = *m_attributes;
    }
    map = std::move(copy);
    return true;
}

namespace {

/// Reads value and flag word of the key's first occurrence; nothing is written when the value is of another kind.
template <typename... Out>
bool ReadAttribute(CriticalSection& section, CAttributeMap const& tree, AttributeKey const& key, unsigned& flags,
                   Out&... out)
{
    std::lock_guard const lock(section);
    auto const* node = tree.GetAttrMap(key, 0);
    if (node == nullptr || !node->Value().Get(out...)) {
        return false;
    }
    flags = node->GetFlags();
    return true;
}

} // namespace

bool BaseDevice::GetAttribValue(AttributeKey const& key, CString& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, CCompOffset& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, CDataInfo& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, double& first, double& second, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, first, second);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, double& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, bool& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}
bool BaseDevice::GetAttribValue(AttributeKey const& key, int& value, unsigned& flags) const
{
    return ReadAttribute(m_criticalSection, *m_attributes, key, flags, value);
}

bool BaseDevice::GetEnableT0() const
{
    return false;
}
bool BaseDevice::GetEnableCTS() const
{
    return false;
}
unsigned short BaseDevice::GetDeviceNum() const
{
    return m_dataId.GetDeviceNum();
}

double BaseDevice::GetTimeOut() const
{
    std::lock_guard const lock(m_internals->mutex);
    return m_internals->timeOut;
}

bool BaseDevice::HasInputs() const
{
    return false;
}
bool BaseDevice::HasManualInputs() const
{
    return false;
}
bool BaseDevice::HasTimerFormula() const
{
    return false;
}
bool BaseDevice::HasManualCtrlDll() const
{
    return false;
}
bool BaseDevice::HasOutputs(int) const
{
    return false;
}
bool BaseDevice::HasOutputs() const
{
    return false;
}
bool BaseDevice::HasTimerOutputs() const
{
    return false;
}
void BaseDevice::StartOutputTimer() {}
void BaseDevice::StopOutputTimer() {}
void BaseDevice::StartManualInputTimer() {}
void BaseDevice::StopManualInputTimer() {}
void BaseDevice::NotifyShutDown() {}
void BaseDevice::InitOutputMessages() {}

int BaseDevice::GetOutputStat() const
{
    return m_internals->outputStat;
}

void BaseDevice::SetOutputStat(double time, int status)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnOutputStat(*this, time, status);
    }
    m_internals->outputStat = status;
}

int BaseDevice::GetIndexNumber() const
{
    return m_dataId.GetDeviceNum();
}
bool BaseDevice::DoOutput(long, CDataId const&)
{
    return false;
}
bool BaseDevice::DoOutput(long)
{
    return false;
}

bool BaseDevice::ProcessMessage(char*, int)
{
    return false;
}
bool BaseDevice::SendCommandPort(CString const&)
{
    return false;
}
bool BaseDevice::ProcessCommandPort(CString const&)
{
    return false;
}
void BaseDevice::ApplyUnits() {}
CDataBlock BaseDevice::GetDataBlock() const
{
    std::lock_guard const lock(m_internals->mutex);
    return m_internals->block;
}
double BaseDevice::GetDataRate() const
{
    return 0.0;
}
int BaseDevice::GetHandlerType() const
{
    return 0;
}

double BaseDevice::GetDeviceTime() const
{
    double seconds = 0.0;
    if (auto* host = CurrentState()) {
        if (auto* buffer = host->FindBuffer(m_dataId, false)) {
            buffer->GetLastTime(seconds);
        }
    }
    return seconds;
}

void BaseDevice::SetTimeOut(double seconds)
{
    std::lock_guard const lock(m_internals->mutex);
    m_internals->timeOut = seconds;
}

BaseIOHandler* BaseDevice::GetPortPtr() const
{
    return m_internals->port.load(std::memory_order_acquire);
}
void BaseDevice::initDataBlockForMessage(int) {}
unsigned long long BaseDevice::GetTrackingNumber()
{
    return 0;
}

void BaseDevice::SetPortName(CString const& name)
{
    std::lock_guard const lock(m_internals->mutex);
    m_internals->portName = name;
}

CString BaseDevice::GetPortName() const
{
    std::lock_guard const lock(m_internals->mutex);
    return m_internals->portName;
}

void BaseDevice::SetLeapSecondsOffset(double) {}
void BaseDevice::SetClockSyncDevice(bool) {}
void BaseDevice::CopyDataBlock(CDataBlock const& block)
{
    CDataBlock copy(block); // what it replaces goes after the lock
    std::lock_guard const lock(m_internals->mutex);
    std::swap(m_internals->block, copy);
}
bool BaseDevice::SendMessageW(CForm*, bool)
{
    return false;
}
bool BaseDevice::SendMessageW(CForm&, bool)
{
    return false;
}

bool BaseDevice::SendMessageW(std::string const& bytes, bool flag)
{
    auto* const host = CurrentState();
    auto* const traffic = host != nullptr ? host->traffic.load(std::memory_order_acquire) : nullptr;
    return traffic != nullptr &&
           vordal::RequestSends::Once({.kind = vordal::SendMark::Kind::Raw, .size = bytes.size()}, [&] {
               return traffic->SendRaw({m_dataId, GetPortPtr()}, bytes, flag);
           });
}

bool BaseDevice::SendMessageToPort(std::string const& bytes)
{
    return SendMessageW(bytes, false);
}
void BaseDevice::ResetDeviceTimers() {}
void BaseDevice::HandleAttribsChange(CDataId const&) {}
void BaseDevice::ResizeBuffer(unsigned) {}
CString BaseDevice::GetDeviceCtrlDllName() const
{
    return {};
}

void BaseDevice::SetDeviceCtrlViewType(CString name)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnDeviceCtrlViewType(*this, name);
    }
    std::lock_guard const lock(m_internals->mutex);
    m_internals->controlViewType = std::move(name);
}

CString BaseDevice::GetDeviceCtrlViewType() const
{
    std::lock_guard const lock(m_internals->mutex);
    return m_internals->controlViewType;
}

void BaseDevice::SetAlwaysNotifyFlag(bool flag)
{
    m_internals->alwaysNotify = flag;
}
bool BaseDevice::GetAlwaysnotifyFlag() const
{
    return m_internals->alwaysNotify;
}
void BaseDevice::SendManualData() {}
int BaseDevice::GetTimeStampMode() const
{
    return 0;
}
void BaseDevice::SetUtcUpdateAgeCheck(bool) {}
void BaseDevice::SetClockSyncEnabled(bool) {}
int BaseDevice::GetDeviceType() const
{
    return m_dataId.GetType();
}
void BaseDevice::EnableDsoPositionImport(bool) {}

void BaseDevice::HandlePortConnect() {}
void BaseDevice::HandlePortConnected() {}
void BaseDevice::HandlePortDisConnect() {}
void BaseDevice::HandlePortDisConnected() {}
void BaseDevice::ProtocolHandler() {}
CString BaseDevice::GetDesignModelName() const
{
    return {};
}
CString BaseDevice::GetDesignModelType() const
{
    return {};
}
CString BaseDevice::GetSurveyModelName() const
{
    return {};
}
CString BaseDevice::GetVesselGuid() const
{
    return {};
}
double BaseDevice::GetTimeDelay() const
{
    return 0.0;
}

void BaseDevice::SetPortPtr(BaseIOHandler* port)
{
    m_port = port;
    m_internals->port.store(port, std::memory_order_release);
}

bool BaseDevice::GetEnable() const
{
    return m_internals->enabled;
}
void BaseDevice::SetEnable(bool enable)
{
    m_internals->enabled = enable;
}
