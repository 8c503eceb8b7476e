// The operator's window onto one sonar: six pages under one tab strip.
#pragma once

#include "page_device.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CString.h>
#include <VordalMfc0R/CFormView.h>
#include <VordalMfc0R/CRuntimeClass.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/CVordalBaseView.h>

#include <memory>
#include <vector>

class Compform;
class CVordalType;
class NotificationInfo;
class QStackedWidget;
class QTabBar;
class QWidget;
class QX5DataRecordingPage;
class QX5OceanMenuPage;
class QX5RouteSteeringPage;
class QX5SonarGatesPage;
class QX5SonarSettingsPage;
class QX5SonarTrackerPage;
namespace qx5 {
class AccessibleControls;
}

/// Follows the sonar that the host has selected and the active vessel, hands what the device's tree says to its pages,
/// and is the pages' only way to the device. What the operator changes shows at once; the sonar's value follows with
/// the echo. Window thread alone: the host delivers notifications there.
class QX5SonarConfigurationView : public CFormView, private qx5::PageDevice
{
public:
    QX5SonarConfigurationView();
    ~QX5SonarConfigurationView() override;

    /// The class as the host's registries know it.
    static CRuntimeClass* GetRuntimeClass();

    // What the host calls.
    void OnInitialUpdate() override;
    /// HINT_SELECT_DEVICE selects the device that `data` names; all else is ignored.
    void OnUpdate(CView* sender, int hint, void const* data) override;
    void OnSize(unsigned kind, int width, int height) override;
    void OnSelectedSonarChange(NotificationInfo const* info);
    void OnActiveVesselChange(NotificationInfo const* info);

    /// Makes that device the one shown, whether or not it is there.
    void SelectDevice(CDataId const& id);

    // What the pages call.
    void SendRequestValue(CString const& key, CVordalType const& value) override;
    void SendRequest(CAttributeMap const& values) override;
    void RequestSoundVelocity(double velocity, bool override) override;
    void RequestGateEnables(bool depth, bool range, bool adaptive) override;
    void SetSteeringRouteSource(int source) override;
    void SetSteeringMode(int mode) override;
    void WriteSteeringAttribute(AttributeKey const& key, CVordalType* value) override;
    CDataId const& DeviceId() const override { return m_deviceId; }
    CAttributeMap const& DeviceAttributes() const override { return m_deviceAttributes; }

    /// Hands `steeringAttributes` back to the host. The computation must be there.
    void SaveSteeringAttributes();

private:
    /// A tab: what it is called and which page it shows.
    struct Tab
    {
        char const* caption;
        QWidget* page;
    };

    void CreatePages();
    /// In their order; none before the pages are made.
    std::vector<Tab> Tabs() const;
    /// Removes a display of a kind that is offered no more, and says so.
    void RemoveThisDisplay();
    void SubscribeSoundVelocity();
    void ShowPage(int tab);
    void RenameDisplay(CDataId const& id);
    /// Fills `m_steeringAttributes` from the computation, which must be there.
    void ReadSteeringAttributes();

    void OnSettingsChange();
    void OnValuesChange();
    void OnSoundVelocityData();
    void ApplySonarSettings(CAttributeMap const& tree);
    void ApplyBeamWidths(CAttributeMap const& settings);
    void ApplyOperationModes(CAttributeMap const& tree);
    void ApplyOceanLimits(CAttributeMap const& settings);
    void ApplyScanOption(CAttributeMap const& tree);
    void ApplyValues(CAttributeMap const& tree);
    void ApplySettingsValues(CAttributeMap const& tree);
    void ApplyOceanValues(CAttributeMap const& tree);
    void ApplyRecordingValues(CAttributeMap const& tree);
    void ApplySteeringValues();

    std::unique_ptr<qx5::AccessibleControls> m_accessible;
    QTabBar* m_tabBar = nullptr;
    QStackedWidget* m_pageArea = nullptr;
    // The view owns its pages, by way of the form; all are there from OnInitialUpdate on.
    QX5SonarSettingsPage* m_settingsPage = nullptr;
    QX5SonarGatesPage* m_gatesPage = nullptr;
    QX5OceanMenuPage* m_oceanPage = nullptr;
    QX5DataRecordingPage* m_recordingPage = nullptr;
    QX5RouteSteeringPage* m_steeringPage = nullptr;
    QX5SonarTrackerPage* m_trackerPage = nullptr;
    /// False until the initial update has ended; nothing is laid out before.
    bool m_layoutReady = false;

    CVordalBaseView m_baseView;
    CAttributeMap m_deviceAttributes;
    int m_deviceEnum = 0;
    CDataId m_deviceId{1, 78, 1, 1};
    /// The computation that steers the sonar's swath; null when the device has none. The host's.
    Compform* m_steeringComputation = nullptr;
    CAttributeMap m_steeringAttributes;

    // Last, so that they go first: a sink is called with all else in place.
    Subscription m_sonarSelectionSubscription{Subscription::General};
    Subscription m_vesselSubscription{Subscription::ActiveVessel};
    Subscription m_settingsSubscription;
    Subscription m_valuesSubscription;
    DataSubscription m_soundVelocitySubscription;
};
