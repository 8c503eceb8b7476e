// The operator's window onto one sonar: its life, which device it shows, and how requests leave it.
#include "QX5SonarConfigurationView.h"

#include "QX5DataRecordingPage.h"
#include "QX5OceanMenuPage.h"
#include "QX5RouteSteeringPage.h"
#include "QX5SonarGatesPage.h"
#include "QX5SonarSettingsPage.h"
#include "QX5SonarTrackerPage.h"
#include "accessible_controls.h"
#include "page_controls.h"
#include <commands/steering_keys.h>

#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CVordalType.h>
#include <VordalDataBlocksR/BaseDevice.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/NotificationInfo.h>
#include <VordalSubscriberR/Subscriber.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/CVordalMessage.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/DisplayManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <QGuiApplication>
#include <QHBoxLayout>
#include <QShortcut>
#include <QSignalBlocker>
#include <QStackedWidget>
#include <QTabBar>
#include <QVBoxLayout>

#include <algorithm>
#include <memory>
#include <vector>

namespace keys = qx5::protocol::keys;
namespace steering = qx5::steering;

namespace {

/// Second fields of ids: a sonar, its stream of sound velocity, the computation that steers its swath.
constexpr unsigned short sonarGroup = 78;
constexpr unsigned short soundVelocityGroup = 40;
constexpr unsigned short steeringGroup = 1117;

/// The "DeviceId" of a kind of sonar whose control is offered no more.
constexpr int removedDeviceKind = 9000;

// Flags of DataManager::SetAttributeMap.
constexpr unsigned requestFlags = 4;
constexpr unsigned steeringFlags = 15;

/// A narrower or lower pane scrolls. Pixels.
constexpr int greatestPageCharacters = 120;
constexpr int leastWidth = 340;
constexpr int leastHeight = 440;
constexpr int margin = 5;

/// Told in the whole stream, not in one item of it.
constexpr unsigned short wholeStream = 65535;

CDataId SoundVelocityStream(CDataId const& device)
{
    CDataId stream = device;
    stream.SetGroupId(soundVelocityGroup);
    return stream;
}

/// Shows the wait cursor for as long as it lives.
class WaitCursor
{
public:
    WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
    WaitCursor(WaitCursor const&) = delete;
    WaitCursor& operator=(WaitCursor const&) = delete;
    ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
};

std::vector<CString> SettingsKeys()
{
    return {keys::x5SonarSettings.text, keys::DeviceEnum.text, keys::x5SampleRateSelection.text,
            keys::x5PulseLengthValues.text};
}

/// The gain mode and the pulse type are not among them: the next change of any other brings them along.
std::vector<CString> ValuesKeys()
{
    std::vector<CString> all{
        keys::x5Range.text,
        keys::x5Gain.text,
        keys::x5Power.text,
        keys::x5BeamWidthX.text,
        keys::x5ProjBeamAngleVer.text,
        keys::x5ProjBeamAngleHor.text,
        keys::x5MaxPingRate.text,
        keys::x5PingOnOffState.text,
        keys::x5PulseLength.text,
        keys::x5SoundVelocityOverride.text,
        keys::x5SoundVelocity.text,
        keys::x5SoundVelocityFilter.text,
        keys::x5Absorption.text,
        keys::x5SpreadingLoss.text,
        keys::x5DirectoryName.text,
        keys::x5FileName.text,
        keys::x5DataRecording.text,
        keys::x5DiskFree.text,
        keys::x5FileSize.text,
        keys::x5DepthFilterEnabled.text,
        keys::x5RangeFilterEnabled.text,
        keys::x5AdaptiveGateEnabled.text,
    };
    QX5SonarGatesPage::AddSubscribedKeys(all);
    QX5SonarTrackerPage::AddSubscribedKeys(all);
    return all;
}

CRuntimeClass runtimeClass = MakeRuntimeClass<QX5SonarConfigurationView>("QX5SonarConfigurationView");

} // namespace

CRuntimeClass* QX5SonarConfigurationView::GetRuntimeClass()
{
    return &runtimeClass;
}

QX5SonarConfigurationView::QX5SonarConfigurationView()
{
    using View = QX5SonarConfigurationView;
    m_sonarSelectionSubscription.SetSubscriber(new MemFunSubscriber<View>(this, &View::OnSelectedSonarChange), true);
    m_vesselSubscription.SetSubscriber(new MemFunSubscriber<View>(this, &View::OnActiveVesselChange), true);
    m_settingsSubscription.SetSubscriber(new MemFunNoInfoSubscriber<View>(this, &View::OnSettingsChange), true);
    m_valuesSubscription.SetSubscriber(new MemFunNoInfoSubscriber<View>(this, &View::OnValuesChange), true);
    m_soundVelocitySubscription.SetSubscriber(new MemFunNoInfoSubscriber<View>(this, &View::OnSoundVelocityData), true);
}

QX5SonarConfigurationView::~QX5SonarConfigurationView()
{
    for (auto const& tab : Tabs()) {
        delete tab.page;
    }
}

void QX5SonarConfigurationView::OnInitialUpdate()
{
    CFormView::OnInitialUpdate();
    m_baseView.ConnectDisplayDoc(GetDocument(), 0);
    CreatePages();

    CDataInfo stored;
    if (m_baseView.GetAttributes().FindValue(ATTR_DATAID).Get(stored)) {
        SelectDevice(stored.GetDataId());
    }
    if (qx5::ReadValue<keys::DeviceId>(m_deviceAttributes, 0) == removedDeviceKind) {
        RemoveThisDisplay();
        return;
    }
    {
        QSignalBlocker const quiet(m_tabBar);
        for (auto const& tab : Tabs()) {
            m_tabBar->addTab(QString::fromLatin1(tab.caption));
        }
        m_tabBar->setCurrentIndex(0);
    }
    ShowPage(0);
    QObject::connect(m_tabBar, &QTabBar::currentChanged, m_tabBar, [this](int tab) { ShowPage(tab); });

    m_sonarSelectionSubscription.Subscribe(GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE);
    m_vesselSubscription.Subscribe(sel_change::ACTIVE_VESSEL);
    m_settingsSubscription.Subscribe(SettingsKeys());
    m_valuesSubscription.Subscribe(ValuesKeys());
    m_soundVelocitySubscription.Subscribe(SoundVelocityStream(m_deviceId));
    m_layoutReady = true;
}

void QX5SonarConfigurationView::CreatePages()
{
    QWidget* const form = GetForm();
    m_accessible = std::make_unique<qx5::AccessibleControls>(*form);
    m_tabBar = new QTabBar(form);
    m_tabBar->setObjectName(QStringLiteral("tabs"));
    m_tabBar->setAccessibleName(QStringLiteral("Pages of the sonar"));
    m_tabBar->setExpanding(false);
    m_tabBar->setUsesScrollButtons(true);
    m_pageArea = new QStackedWidget(form);
    m_settingsPage = new QX5SonarSettingsPage(*this, m_pageArea);
    m_gatesPage = new QX5SonarGatesPage(*this, m_pageArea);
    m_oceanPage = new QX5OceanMenuPage(*this, m_pageArea);
    m_recordingPage = new QX5DataRecordingPage(*this, m_pageArea);
    m_steeringPage = new QX5RouteSteeringPage(*this, m_pageArea);
    m_trackerPage = new QX5SonarTrackerPage(*this, m_pageArea);
    for (auto const& tab : Tabs()) {
        m_pageArea->addWidget(tab.page);
    }
    auto* const layout = new QVBoxLayout(form);
    layout->setContentsMargins(margin, margin, margin, margin);
    layout->addWidget(m_tabBar);
    // Beyond some width a slider's ends are farther apart than a hand or an eye likes to go.
    m_pageArea->setMaximumWidth(m_pageArea->fontMetrics().averageCharWidth() * greatestPageCharacters);
    auto* const pageRow = new QHBoxLayout;
    pageRow->addWidget(m_pageArea, 1);
    pageRow->addStretch(0);
    layout->addLayout(pageRow, 1);

    form->setAccessibleName(QStringLiteral("View of the sonar"));
    auto const stepTabs = [this](int by) {
        if (int const count = m_tabBar->count(); count > 0) {
            m_tabBar->setCurrentIndex((m_tabBar->currentIndex() + by + count) % count);
        }
    };
    auto const addShortcut = [form, stepTabs](QKeySequence::StandardKey key, int by, char const* what) {
        auto* const shortcut = new QShortcut(key, form);
        shortcut->setContext(Qt::WidgetWithChildrenShortcut);
        shortcut->setWhatsThis(QString::fromLatin1(what)); // for a list of all that there are
        QObject::connect(shortcut, &QShortcut::activated, form, [stepTabs, by] { stepTabs(by); });
    };
    addShortcut(QKeySequence::NextChild, 1, "The next page");
    addShortcut(QKeySequence::PreviousChild, -1, "The page before");
}

std::vector<QX5SonarConfigurationView::Tab> QX5SonarConfigurationView::Tabs() const
{
    return {{"Sonar Settings", m_settingsPage},  {"Sonar Gates", m_gatesPage},       {"Ocean Menu", m_oceanPage},
            {"Data Recording", m_recordingPage}, {"Sonar Steering", m_steeringPage}, {"Tracker", m_trackerPage}};
}

void QX5SonarConfigurationView::RemoveThisDisplay()
{
    // The view lives on until the host destroys it, and nothing is to reach it.
    m_soundVelocitySubscription.Unsubscribe();
    DisplayManager::GetDisplayManager().RemoveDisplay(GetDocument()->GetTitle());
    CVordalBaseApp::GetVordalMessage().ShowMessage(L"x5 single beam control has been removed from VORDAL.", L"",
                                                   CVordalMessage::Information);
}

void QX5SonarConfigurationView::ShowPage(int tab)
{
    if (tab >= 0 && tab < m_pageArea->count()) {
        WaitCursor const wait;
        m_pageArea->setCurrentIndex(tab);
    }
}

void QX5SonarConfigurationView::OnSize(unsigned kind, int width, int height)
{
    CFormView::OnSize(kind, width, height);
    if (m_layoutReady) {
        SetScrollSizes(std::max(width, leastWidth), std::max(height, leastHeight));
    }
}

// The device shown

void QX5SonarConfigurationView::OnUpdate(CView*, int hint, void const* data)
{
    if (hint == HINT_SELECT_DEVICE && data != nullptr) {
        SelectDevice(*static_cast<CDataId const*>(data));
    }
}

void QX5SonarConfigurationView::OnSelectedSonarChange(NotificationInfo const* info)
{
    auto const* const selected = dynamic_cast<DataId_NI const*>(info);
    if (selected == nullptr) {
        return;
    }
    // The host names the sonar by any of its streams.
    CDataId id = selected->GetDataId();
    id.SetGroupId(sonarGroup);
    if (id == m_deviceId) {
        return;
    }
    SelectDevice(id);
    RenameDisplay(id);
}

void QX5SonarConfigurationView::OnActiveVesselChange(NotificationInfo const* info)
{
    auto const* const vessel = dynamic_cast<NFDataT<unsigned short> const*>(info);
    if (vessel == nullptr) {
        return;
    }
    CDataId const id(1, sonarGroup, 1, vessel->GetData());
    if (DataManager::GetDataManager().FindDevice(id) == nullptr) {
        return;
    }
    SelectDevice(id);
    RenameDisplay(id);
}

void QX5SonarConfigurationView::SelectDevice(CDataId const& id)
{
    auto& data = DataManager::GetDataManager();
    m_deviceId = id;
    // In this order the settings are told before the values wherever a change concerns both.
    auto* const attributes = data.GetAttributeSubscriptionMap(m_deviceId);
    m_settingsSubscription.SetMap(attributes);
    m_valuesSubscription.SetMap(attributes);
    m_soundVelocitySubscription.Subscribe(SoundVelocityStream(m_deviceId));

    CAttributeMap tree;
    if (!data.GetAttributeMap(m_deviceId, tree)) {
        return;
    }
    m_deviceAttributes = std::move(tree);
    unsigned flags = 0;
    m_deviceAttributes.GetAttribValue(qx5::At<keys::DeviceEnum>, m_deviceEnum, flags);
    int index = 0;
    do {
        m_steeringComputation = data.GetLinkedComputation(m_deviceId, index++);
    } while (m_steeringComputation != nullptr && m_steeringComputation->GetDataId().GetGroupId() != steeringGroup);
    OnSettingsChange();
    auto& stored = m_baseView.GetAttributes();
    stored.SetGroup(L"grp");
    stored.FindCreate(ATTR_DATAID).ReplaceValue(new CVordalDataInfo(m_deviceId, wholeStream, wholeStream));
}

void QX5SonarConfigurationView::RenameDisplay(CDataId const& id)
{
    auto& data = DataManager::GetDataManager();
    CString const vessel = data.GetVesselManager().GetVesselName(id.GetVessel());
    auto const* const device = data.FindDevice(id);
    GetDocument()->RenameDisplay(device != nullptr ? device->GetDeviceName() + L" - " + vessel
                                                   : CString(L"Sonar Configuration - ") + vessel);
}

// Requests

void QX5SonarConfigurationView::SendRequest(CAttributeMap const& values)
{
    CAttributeMap map;
    *map.Add(qx5::At<keys::Request>) = values;
    DataManager::GetDataManager().SetAttributeMap(m_deviceId, map, requestFlags, false);
}

void QX5SonarConfigurationView::SendRequestValue(CString const& key, CVordalType const& value)
{
    CAttributeMap request;
    request.Add(key, value);
    SendRequest(request);
}

void QX5SonarConfigurationView::RequestSoundVelocity(double velocity, bool override)
{
    CAttributeMap request;
    request.Add(qx5::At<keys::x5SoundVelocity>, CVordalDouble(velocity));
    request.Add(qx5::At<keys::x5SoundVelocityOverride>, CVordalBool(override));
    SendRequest(request);
}

void QX5SonarConfigurationView::RequestGateEnables(bool depth, bool range, bool adaptive)
{
    CAttributeMap request;
    request.Add(qx5::At<keys::x5DepthFilterEnabled>, CVordalBool(depth));
    request.Add(qx5::At<keys::x5RangeFilterEnabled>, CVordalBool(range));
    request.Add(qx5::At<keys::x5AdaptiveGateEnabled>, CVordalBool(adaptive));
    request.Add(qx5::At<keys::x5AGDepthFilterEnabled>, CVordalBool(adaptive));
    SendRequest(request);
}

// Steering: the attributes of a computation of the host, not of the device.

void QX5SonarConfigurationView::SetSteeringRouteSource(int source)
{
    WriteSteeringAttribute(steering::RouteSteering, VordalTypeCreator::MakeValue(source));
}

void QX5SonarConfigurationView::SetSteeringMode(int mode)
{
    WriteSteeringAttribute(steering::SteeringMode, VordalTypeCreator::MakeValue(mode));
}

void QX5SonarConfigurationView::ReadSteeringAttributes()
{
    m_steeringComputation->GetAttributeMap(m_steeringAttributes);
}

void QX5SonarConfigurationView::WriteSteeringAttribute(AttributeKey const& key, CVordalType* value)
{
    std::unique_ptr<CVordalType> owned(value);
    if (m_steeringComputation == nullptr) {
        return;
    }
    ReadSteeringAttributes();
    m_steeringAttributes.FindCreate(key).ReplaceValue(owned.release());
    SaveSteeringAttributes();
}

void QX5SonarConfigurationView::SaveSteeringAttributes()
{
    CDataId const id = m_steeringComputation->GetDataId();
    DataManager::GetDataManager().SetAttributeMap(id, m_steeringAttributes, steeringFlags, false);
    if (auto* const application = CVordalBaseApp::Instance()) {
        application->NotifyAttributesChanged(id, 0);
    }
}
