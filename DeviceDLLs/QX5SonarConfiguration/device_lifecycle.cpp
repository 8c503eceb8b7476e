// The device's life: how it comes into being, takes up its configuration, follows its port and goes away.
#include "QX5SonarConfigurationControlDevice.h"

#include "handlers/reading.h"
#include <VordalAttributesR/AttributeConstants.h>
#include <VordalBaseR/CDataInfo.h>
#include <VordalConfigureR/DataSearch.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/Subscriber.h>
#include <commands/data_recording.h>
#include <protocol/records/basic.h>
#include <protocol/records/pan_tilt_hoist.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/SonarTargetsManager.h>

#include <mutex>
#include <utility>
#include <vector>

using ControlDevice = QX5SonarConfigurationControlDevice;
using namespace qx5;
namespace keys = qx5::protocol::keys;

namespace {

/// The type of the computations that stand for a multibeam system.
constexpr int multibeamComputation = 1011;
/// The group of ids under which a computation stands in for the stream behind it.
constexpr unsigned short computedStreamGroup = 1112;

/// The multibeam device of a computation, if it is switched on and on the port of that name; otherwise null.
BaseDevice* MultibeamDeviceOf(Compform const* computation, CString const& portName)
{
    if (computation == nullptr || computation->GetType() != multibeamComputation) {
        return nullptr;
    }
    unsigned flags = 0;
    CDataInfo info;
    computation->GetAttribValue(ATTR_MBEAMDATAID, info, flags);
    BaseDevice* const device = DataManager::GetDataManager().FindDevice(info.GetDataId());
    bool const passes = device != nullptr && device->GetEnable() && device->GetPortName() == portName;
    return passes ? device : nullptr;
}

} // namespace

QX5SonarConfigurationControlDevice::QX5SonarConfigurationControlDevice()
    : unitConverter(&DataSearch::GetDataSearch().GetProjectDefinition().GetUnitCnv())
{
    using Sink = MemFunNoInfoSubscriber<ControlDevice>;

    startLoggingSubscription.SetSubscriber(new Sink(this, &ControlDevice::StartLogging), true);
    startLoggingSubscription.Subscribe(StartLoggingEvent);
    stopLoggingSubscription.SetSubscriber(new Sink(this, &ControlDevice::StopLogging), true);
    stopLoggingSubscription.Subscribe(StopLoggingEvent);

    // What these two follow is known when the port is up.
    panTiltSubscription.SetSubscriber(new Sink(this, &ControlDevice::OnPanAndTiltUpdate), true);
    hoistSubscription.SetSubscriber(new Sink(this, &ControlDevice::OnHoistDataChange), true);

    OnSonarTargetsVisualizationChange();
    selectedTargetSubscription.SetSubscriber(
        new MemFunSubscriber<ControlDevice>(this, &ControlDevice::OnSelectedSonarTargetChange), true);
    selectedTargetSubscription.Subscribe(GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE);
}

QX5SonarConfigurationControlDevice::~QX5SonarConfigurationControlDevice()
{
    // Those that reach members first; the logger's two end with their members.
    selectedTargetSubscription.Unsubscribe();
    hoistSubscription.Unsubscribe();
    panTiltSubscription.Unsubscribe();
    if (sonarTargetsControl != nullptr) {
        std::exchange(sonarTargetsControl, nullptr)->Close();
    }
}

bool ControlDevice::DoOutput(long output)
{
    return Device::DoOutput(output);
}

bool ControlDevice::LoadAttribs(CString name, FileObject* file)
{
    if (!Device::LoadAttribs(std::move(name), file)) {
        return false;
    }
    std::lock_guard const lock(m_criticalSection);
    m_attributes->Remove(At<keys::Request>, 0);
    m_attributes->Remove(At<keys::x5SonarSettings>, 0);
    return true;
}

void ControlDevice::ApplyAttribs(bool changed)
{
    QX5Device::ApplyAttribs(changed);
    std::lock_guard const lock(m_criticalSection);
    terminalCommands.RefreshLimits(m_attributes);
    terminalCommands.SetSonarId(m_dataId);

    bool const before = pingOnlyDuringScan;
    Read(Stored(), At<keys::PingOnlyDuringScan>, pingOnlyDuringScan);
    if (pingOnlyDuringScan != before) {
        RequestPingOnlyDuringScanning(m_attributes);
    }

    DataManager& data = DataManager::GetDataManager();
    BaseDevice const* const self = data.FindDevice(m_dataId);
    if (self == nullptr) {
        return;
    }
    CString const portName = self->GetPortName();
    unsigned short const vessel = m_dataId.GetVessel();
    BaseDevice* multibeam = nullptr;
    for (int i = 0; multibeam == nullptr && i < data.GetCompsCount(vessel); ++i) {
        multibeam = MultibeamDeviceOf(data.GetComputation(i, vessel), portName);
    }
    if (multibeam == nullptr) {
        return;
    }

    unsigned flags = 0;
    multibeam->GetAttribValue(At<keys::MountedOnPanAndTilt>, mountedOnPanAndTilt, flags);
    m_attributes->FindCreate(At<keys::MountedOnPanAndTilt>, 0)
        .ReplaceValue(VordalTypeCreator::MakeValue(mountedOnPanAndTilt));
    if (mountedOnPanAndTilt != 0) {
        CDataInfo position;
        multibeam->GetAttribValue(ATTR_PANTILTPOS_DATAID, position, flags);
        panTiltDataId = position.GetDataId();
        HandlePortConnected();
    }
}

void ControlDevice::HandlePortConnected()
{
    DataManager& data = DataManager::GetDataManager();

    panTiltSubscription.Unsubscribe();
    if (mountedOnPanAndTilt != 0) {
        if (Compform const* const computation = data.FindComputation(panTiltDataId)) {
            CDataId stream = panTiltDataId;
            if (stream.GetGroupId() == computedStreamGroup) {
                computation->GetDataSource(stream);
            }
            panTiltBuffer = data.FindDatablockBuffer(stream, false);
            panTiltSubscription.Subscribe(stream);
        }
    }

    hoistSubscription.Unsubscribe();
    SubscriptionMap* const attributes = GetAttributeSubscriptionMap();
    if (attributes == nullptr) {
        return;
    }
    hoistSubscription.SetMap(attributes);
    hoistSubscription.Subscribe(std::vector<CString>{CString(keys::CmdRaiseLower.text), CString(keys::CmdRoll.text),
                                                     CString(keys::CmdRotate.text), CString(keys::CmdTilt.text)});
}
