// A plug-in with a view of a few controls, under the names that the sonar's view has: what the operator does becomes
// requests, what the host tells becomes texts.
#include "test_slider.h"

#include <VersionControlR/CheckDllVersion.h>
#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>
#include <VordalBaseR/Formatting.h>
#include <VordalConfigureR/CViewList.h>
#include <VordalConfigureR/DataDefinition.h>
#include <VordalConfigureR/FileTypeCombo.h>
#include <VordalMfc0R/CColorEdit.h>
#include <VordalMfc0R/CFormView.h>
#include <VordalMfc0R/DialogExchange.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/CVordalBaseView.h>
#include <vordalhostdllR/CVordalMessage.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/Device.h>
#include <vordalhostdllR/DisplayManager.h>
#include <vordalhostdllR/VesselManager.h>

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTabBar>

#include <algorithm>
#include <memory>

namespace {

class TestView : public CFormView
{
public:
    void OnInitialUpdate() override
    {
        m_baseView.ConnectDisplayDoc(GetDocument(), 0);
        auto* const tabs = Named<QTabBar>(GetForm(), "tabs");
        MakeSettings();
        MakeGates();
        MakeOthers();
        CDataInfo stored;
        if (m_baseView.GetAttributes().FindValue(ATTR_DATAID).Get(stored)) {
            m_device = stored.GetDataId();
        }
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(m_device, tree);
        bool isGone = false;
        tree.FindValue(L"Gone").Get(isGone);
        if (isGone) {
            DisplayManager::GetDisplayManager().RemoveDisplay(GetDocument()->GetTitle());
            CVordalBaseApp::GetVordalMessage().ShowMessage(L"gone", CString(), CVordalMessage::Information);
            return;
        }
        tabs->addTab(QStringLiteral("&One"));
        tabs->addTab(QStringLiteral("Two"));
        m_sonar.SetSubscriber(new MemFunSubscriber<TestView>(this, &TestView::OnSonar), true);
        m_sonar.Subscribe(GeneralSubKeys::ADT_SELECTED_SONAR_CHANGE);
        m_vessel.SetSubscriber(new MemFunSubscriber<TestView>(this, &TestView::OnVessel), true);
        m_vessel.Subscribe(sel_change::ACTIVE_VESSEL);
        m_values.SetSubscriber(new MemFunNoInfoSubscriber<TestView>(this, &TestView::OnValue), true);
        m_values.SetMap(DataManager::GetDataManager().GetAttributeSubscriptionMap(m_device));
        m_values.Subscribe(L"value");
    }

    void OnUpdate(CView*, int hint, void const* data) override
    {
        if (hint == HINT_SELECT_DEVICE && data != nullptr) {
            m_device = *static_cast<CDataId const*>(data);
            m_baseView.GetAttributes().FindCreate(ATTR_DATAID).SetValue(CVordalDataInfo(m_device, 65535, 65535));
        }
    }

    void OnSize(unsigned, int width, int height) override
    {
        SetScrollSizes(std::max(width, 340), std::max(height, 440));
    }

private:
    template <typename T>
    static T* Named(QWidget* parent, char const* name)
    {
        auto* const widget = new T(parent);
        widget->setObjectName(QString::fromLatin1(name));
        return widget;
    }

    void Send(wchar_t const* key, CVordalType const& value)
    {
        CAttributeMap tree;
        tree.Add(L"Request")->Add(key, value);
        DataManager::GetDataManager().SetAttributeMap(m_device, tree, 4, false);
    }

    void MakeSettings()
    {
        auto* const page = Named<QWidget>(GetForm(), "settings");
        auto* const slider = Named<TestSlider>(page, "rangeSlider");
        slider->setRange(5, 25);
        QObject::connect(slider, &TestSlider::Scrolled, slider, [this, slider](int kind, int position) {
            if (kind == 4 || kind == 5) {
                // As it was told: the slider itself would bring it within its limits.
                slider->setProperty("told", position);
                slider->setValue(position);
            } else if (kind == 8) {
                QVariant const told = slider->property("told");
                Send(L"x5Range", CVordalInt(told.isValid() ? told.toInt() : slider->value()));
            } else {
                Send(L"scroll", CVordalDouble2D(kind, position));
            }
        });
        m_range = Named<QLabel>(page, "rangeValue");
        m_range->setText(QStringLiteral("100.0 m"));
        auto* const modes = Named<QComboBox>(page, "operationModeList");
        modes->addItems({QStringLiteral("A & B"), QStringLiteral("C")});
        modes->setCurrentIndex(-1);
        QObject::connect(modes, &QComboBox::activated, modes,
                         [this](int index) { Send(L"DeviceEnum", CVordalInt(index)); });
        for (auto const* name : {"timeVariedGainButton", "fixedGainButton"}) {
            auto* const radio = Named<QRadioButton>(page, name);
            radio->setText(QStringLiteral("&Mode"));
            QObject::connect(radio, &QRadioButton::clicked, radio, [this](bool on) { Send(L"mode", CVordalBool(on)); });
        }
        auto* const toggle = Named<QPushButton>(page, "depthGateButton");
        toggle->setText(QStringLiteral("Depth"));
        toggle->setCheckable(true);
        QObject::connect(toggle, &QPushButton::clicked, toggle, [this](bool on) { Send(L"toggle", CVordalBool(on)); });
        auto* const option = Named<QCheckBox>(page, "pingOnlyWhenScanningBox");
        option->hide();
        QObject::connect(option, &QCheckBox::clicked, option, [this](bool on) { Send(L"option", CVordalBool(on)); });
    }

    void MakeGates()
    {
        auto* const page = Named<QWidget>(GetForm(), "gates");
        m_minimum.Attach(Named<QLineEdit>(page, "minDepthField"));
        m_apply = Named<QPushButton>(page, "applyButton");
        m_apply->setText(QStringLiteral("Apply"));
        m_apply->setEnabled(false);
        m_minimum.SetEditHandler([this] {
            m_minimum.SetBackColor(255, 255, 0);
            m_apply->setEnabled(true);
        });
        auto const apply = [this] {
            Send(L"minimum", *std::unique_ptr<CVordalType>(VordalTypeCreator::MakeValue(m_minimum.GetText())));
            m_minimum.SetSystemBackColor(SYSTEM_COLOR_CLEAN_FIELD);
            m_apply->setEnabled(false);
        };
        m_minimum.SetApplyHandler(apply);
        QObject::connect(m_apply, &QPushButton::clicked, m_apply, apply);
    }

    void MakeOthers()
    {
        Named<QWidget>(GetForm(), "ocean");
        auto* const recording = Named<QWidget>(GetForm(), "recording");
        auto* const state = Named<QLineEdit>(recording, "recordingModeField");
        state->setReadOnly(true);
        CString text;
        DataDefinition::GetDataDefinition().GetGroupItemMapTxt(78, 2701, 1, text);
        state->setText(QString::fromStdWString(std::wstring(text.View())));
        m_routes.Attach(Named<QComboBox>(Named<QWidget>(GetForm(), "steering"), "routeList"));
        auto* const tracker = Named<QWidget>(GetForm(), "tracker");
        double width = 2.5;
        DDX_FmtDouble(CDataExchange(CDataExchange::Direction::ToControls), Named<QLineEdit>(tracker, "swathWidthField"),
                      width, FORMAT_DISTANCE, 0);
    }

    void OnSonar(NotificationInfo const* info)
    {
        if (auto const* const sonar = dynamic_cast<DataId_NI const*>(info)) {
            GetDocument()->RenameDisplay(L"sonar " + sonar->GetDataId().GetKey());
        }
    }

    void OnVessel(NotificationInfo const* info)
    {
        if (auto const* const vessel = dynamic_cast<NFDataT<unsigned short> const*>(info)) {
            GetDocument()->RenameDisplay(L"vessel " +
                                         VesselManager::GetVesselManager().GetVesselName(vessel->GetData()));
        }
    }

    void OnValue()
    {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(m_device, tree);
        double value = 0.0;
        tree.FindValue(L"value").Get(value);
        m_range->setText(QString::fromStdWString(std::wstring(FormatDouble(value, 0, 0).View())));
    }

    CVordalBaseView m_baseView;
    CDataId m_device{1, 78, 1, 1};
    QLabel* m_range = nullptr;
    QPushButton* m_apply = nullptr;
    CColorEdit m_minimum;
    FileTypeCombo m_routes{COMBO_ROUTE_FILES, true};
    Subscription m_sonar{Subscription::General};
    Subscription m_vessel{Subscription::ActiveVessel};
    Subscription m_values;
};

class TestDevice : public Device
{
};

CRuntimeClass viewClass = MakeRuntimeClass<TestView>("QX5SonarConfigurationView");

} // namespace

extern "C" {
VORDAL_PLUGIN_EXPORT bool LibraryAttach()
{
    return CheckDllVersion(VORDAL_CONTRACT_VERSION, "view_plugin.cpp", "today");
}
VORDAL_PLUGIN_EXPORT void LibraryDetach() {}
VORDAL_PLUGIN_EXPORT void RegisterDevices()
{
    CDevList::GetDevList().RegisterDev(L"QX5SonarConfigurationControlDevice", new DevCreator<TestDevice>);
}
VORDAL_PLUGIN_EXPORT bool UnRegisterDevices()
{
    return CDevList::GetDevList().UnRegisterDev(L"QX5SonarConfigurationControlDevice");
}
VORDAL_PLUGIN_EXPORT void RegisterViews()
{
    CViewList::GetViewList().RegisterView(L"QX5SonarConfigurationView", &viewClass);
}
VORDAL_PLUGIN_EXPORT void InitializeTemplates(CVordalBaseApp*) {}
VORDAL_PLUGIN_EXPORT void UnInitializeTemplates() {}
VORDAL_PLUGIN_EXPORT void DeviceCtrlInit(unsigned short, unsigned short, unsigned short, unsigned short) {}
}
