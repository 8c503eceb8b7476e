// The base of all devices: identity, and neutral answers for what a device may lack. Attributes: device_attributes.cpp.
#include <VordalDataBlocksR/BaseDevice.h>

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalDataBlocksR/BaseIOHandler.h>

#include "reference_host/common/given_bytes.h"
#include "reference_host/common/host_observer.h"
#include "reference_host/common/request_observer.h"
#include "reference_host/core/host_state.h"
#include "reference_host/streams/stream_buffer.h"

#include <utility>

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
    vordal::SendMark const mark{.kind = vordal::SendMark::Kind::Raw, .size = bytes.size()};
    bool const taken = traffic != nullptr && vordal::RequestSends::Once(mark, [&] {
                           return traffic->SendRaw({m_dataId, GetPortPtr()}, bytes, flag);
                       });
    return vordal::TellSend(mark, {}, taken);
}

bool BaseDevice::SendMessageW(std::string&& bytes, bool flag)
{
    vordal::GivenBytes const given(bytes);
    return SendMessageW(static_cast<std::string const&>(bytes), flag);
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
