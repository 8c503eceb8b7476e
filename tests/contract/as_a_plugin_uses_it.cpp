// Calls the host contract the way a plug-in does, so that a signature that no longer fits fails to compile.
#include <VordalAttributesR/AttributeConstants.h>
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>
#include <VordalBaseR/CVordalString.h>
#include <VordalBaseR/CVordalUnitCnv.h>
#include <VordalBaseR/FileObject.h>
#include <VordalBaseR/Formatting.h>
#include <VordalBaseR/HugeFileStream.h>
#include <VordalConfigureR/CPrsConfiguration.h>
#include <VordalConfigureR/CViewList.h>
#include <VordalConfigureR/DataDefinition.h>
#include <VordalConfigureR/DataSearch.h>
#include <VordalConfigureR/FileTypeCombo.h>
#include <VordalMfc0R/CColorEdit.h>
#include <VordalMfc0R/CView.h>
#include <VordalMfc0R/ColorControl.h>
#include <VordalMfc0R/DialogExchange.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/AScanStatusUtils.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/CVordalBaseView.h>
#include <vordalhostdllR/CVordalMessage.h>
#include <vordalhostdllR/DisplayManager.h>
#include <vordalhostdllR/SonarTarget.h>
#include <vordalhostdllR/SonarTargetsManager.h>
#include <vordalhostdllR/UserRoleUtils.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>
#include <vordalhostdllR/VordalHost.h>

#include <cstdint>
#include <type_traits>
#include <vector>

namespace {

class SampleView : public CView
{
public:
    QWidget* GetWidget() override { return nullptr; }

    void OnInitialUpdate() override
    {
        CView::OnInitialUpdate();
        m_baseView.ConnectDisplayDoc(GetDocument(), 0);
        CAttributeMap& stored = m_baseView.GetAttributes();
        CDataInfo shown;
        if (stored.FindValue(ATTR_DATAID).Get(shown)) {
            m_deviceId = shown.GetDataId();
        }
        stored.SetGroup(L"grp");
        if (GetDocument()->GetTitle().IsEmpty()) {
            GetDocument()->RenameDisplay(L"Sample");
        }
        DisplayManager::GetDisplayManager().RemoveDisplay(GetDocument()->GetTitle());
        CVordalBaseApp::GetVordalMessage().ShowMessage(L"Removed.", L"", CVordalMessage::Information);
    }

    void OnUpdate(CView*, int hint, void const* data) override
    {
        if (hint == HINT_SELECT_DEVICE && data != nullptr) {
            m_deviceId = *static_cast<CDataId const*>(data);
        }
    }

    void OnPage(QWidget* page, QLineEdit* field, QAbstractButton* box, QComboBox* list)
    {
        SetDialogUnits(page);
        CDataExchange const exchange(CDataExchange::Direction::FromControls);
        double width = 10.0;
        bool checked = false;
        DDX_FmtDouble(exchange, field, width, FORMAT_DISTANCE, 0);
        DDX_bCheck(exchange, box, checked);

        m_field.Attach(field);
        m_field.SetEditHandler([this] { m_field.SetBackColor(255, 255, 0); });
        m_field.SetApplyHandler([this] { m_field.SetSystemBackColor(SYSTEM_COLOR_CLEAN_FIELD); });
        m_field.SetText(FormatDouble(width, 0, 0) + FormatByteSize(std::int64_t{1} << 40));

        m_routes.Attach(list);
        if (!m_routes.SetSelected(L"route")) {
            m_field.SetText(m_routes.GetSelected());
        }
        for (CString text; DataDefinition::GetDataDefinition().GetGroupItemMapTxt(
                 m_deviceId.GetGroupId(), 2701, static_cast<int>(m_names.size()), text);) {
            m_names.push_back(text);
        }
        CVordalString const entries(L"CW,FM", L',', false, false);
        for (std::size_t i = 0; i < entries.Size(); ++i) {
            m_names.push_back(entries[i]);
        }
    }

private:
    CVordalBaseView m_baseView;
    CDataId m_deviceId;
    CColorEdit m_field;
    FileTypeCombo m_routes{COMBO_ROUTE_FILES, true};
    std::vector<CString> m_names;
};

CRuntimeClass sampleViewClass = MakeRuntimeClass<SampleView>("SampleView");

class ContactSender
{
public:
    ContactSender()
    {
        m_subscription.SetSubscriber(new MemFunSubscriber<ContactSender>(this, &ContactSender::OnChange), true);
        m_subscription.Subscribe(GeneralSubKeys::STS_SELECTED_SONAR_TARGET_CHANGE);

        SonarTargetsManager& manager = SonarTargetsManager::Instance();
        CString name = manager.GetActiveSonarTargetsName();
        if (!name.IsEmpty() && name.Find(L'\\') < 0 &&
            !DataSearch::GetDataSearch().GetFullPath(FILE_SONAR_TARGETS, name)) {
            return;
        }
        if (m_targets != nullptr && m_targets->FileName().Compare(name) != 0) {
            m_targets->Close();
            m_targets = nullptr;
        }
        m_targets = manager.OpenSTSFile(name);
    }

    ~ContactSender()
    {
        m_subscription.Unsubscribe();
        if (m_targets != nullptr) {
            m_targets->Close();
        }
    }

    void OnChange(NotificationInfo const* info)
    {
        auto const* change = dynamic_cast<SONAR_TARGET_SEL_INFO const*>(info);
        if (change == nullptr || m_targets == nullptr || !UserRoleUtils::IsOperator()) {
            return;
        }
        m_targets->GetSynchronizeTargetManagerInfo().SetRequestTimeStamp();
        for (SonarTarget const& target : m_targets->GetSonarTargets()) {
            HugeFileStream image;
            if (target.targetId == change->targetId && target.IsLatitudeLongitudeValid() &&
                m_targets->GetSonarTargetByTargetGuid(target.targetGuid) != nullptr &&
                m_targets->GetSonarTargetByTargetId(change->targetId) != nullptr &&
                image.Open(target.GetTempSonarContactGeoTiff(), false, false)) {
                std::vector<unsigned char> bytes(static_cast<std::uint32_t>(image.GetSize()));
                image.Read(bytes.data(), bytes.size());
                image.Close();
                HugeFileStream::Remove(target.GetGeoTIFF());
            }
        }
        m_metres = m_units->ConvertFromUnit(UNIT_DISTANCE, 1.0);
    }

private:
    Subscription m_subscription{Subscription::General};
    SonarTargetsControl* m_targets = nullptr;
    CVordalUnitCnv* m_units = &DataSearch::GetDataSearch().GetProjectDefinition().GetUnitCnv();
    double m_metres = 0.0;
};

void ShowSnapshotDisplay()
{
    CVordalBaseApp* application = CVordalBaseApp::Instance();
    if (application == nullptr) {
        return;
    }
    CDisplayMap& displays = application->GetDisplayMap();
    for (int i = 0; i < displays.GetCount(); ++i) {
        CString const section = displays.GetDisplayName(i);
        CString type;
        CString name;
        bool enabled = false;
        CPrsConfiguration const& configuration = application->GetPresConfig();
        if (configuration.GetItem(section, L"type", type) && type == L"snapshot view" &&
            configuration.GetItem(section, L"name", name) && !name.IsEmpty()) {
            configuration.GetItem(section, L"enabled", enabled);
            if (!enabled) {
                DisplayManager::GetDisplayManager().EnableDisplay(name);
            }
            displays.ShowDisplay(section);
            return;
        }
    }
    FileObject settings;
    settings.CreateSection(L"VIEW");
    settings.SetItem(L"VIEW", L"iLeftPos", L"0");
    application->AddDisplay(0, L"snapshot view", L"snapshot view", settings, L"VIEW", true, nullptr, 0);
    application->SelectDisplay(L"bathy");
    displays.UpdateAllDisplays(nullptr, HINT_SNAPSHOT_SHOWN, nullptr);
    ColorControl::SetLightMode(ColorControl::GetLightMode() - 1, AScanStatusUtils::GetAScanStatus());
    application->NotifyAttributesChanged(CDataId(), CVordalBaseApp::GetAppInstanceGuid().GetLength());
}

} // namespace

extern "C" VORDAL_PLUGIN_EXPORT void ContractRegisterViews()
{
    CViewList::GetViewList().RegisterView(L"SampleView", &sampleViewClass);
}

extern "C" VORDAL_PLUGIN_EXPORT void ContractInitializeTemplates(CVordalBaseApp* application)
{
    static ContactSender const sender;
    auto* displayTemplate =
        new VORDALMultiDocTemplateAttr1(CDisplayDocAttr1::GetRuntimeClass(), CDisplayFrmAttr1::GetRuntimeClass(),
                                        &sampleViewClass, CDisplayDockFrmAttr1::GetRuntimeClass());
    application->AddDocTemplate(displayTemplate);
    CDocTemplateList::GetDocTemplates().AddTemplate(L"SAMPLE", displayTemplate);
    ShowSnapshotDisplay();
    SampleView().OnPage(nullptr, nullptr, nullptr, nullptr);
    CDocTemplateList::GetDocTemplates().RemoveTemplate(L"SAMPLE");
    VordalHost::LoadDLLResourceDLL(nullptr, nullptr);
}

static_assert(std::is_copy_constructible_v<SonarTarget>, "contacts are values");
static_assert(!std::is_destructible_v<SonarTargetsControl>, "only Close ends the use of a target file");
static_assert(!std::is_copy_constructible_v<FileObject>);
