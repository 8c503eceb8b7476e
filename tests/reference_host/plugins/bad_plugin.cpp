// A plug-in that behaves badly: the environment variable BAD_PLUGIN names the entry points that throw, in words apart
// by blanks. "odd" makes it throw what is no std::exception, "refuse" refuses the attachment, "forget" leaves
// everything registered, "keep" keeps a subscription.
#include <VersionControlR/CheckDllVersion.h>
#include <VordalBaseR/Export.h>
#include <VordalConfigureR/CViewList.h>
#include <VordalMfc0R/CRuntimeClass.h>
#include <VordalMfc0R/CView.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>
#include <vordalhostdllR/CDevList.h>
#include <vordalhostdllR/CDisplayDoc.h>
#include <vordalhostdllR/CDocTemplateList.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/DataManager.h>
#include <vordalhostdllR/Device.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <cstdlib>
#include <exception>
#include <string>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace {

bool Is(std::string const& wanted)
{
    char const* const words = std::getenv("BAD_PLUGIN");
    return words != nullptr && (" " + std::string(words) + " ").find(" " + wanted + " ") != std::string::npos;
}

/// Of the module's own: it is gone with the module.
class BadFailure : public std::exception
{
public:
    explicit BadFailure(std::string text) : m_text(std::move(text)) {}
    char const* what() const noexcept override { return m_text.c_str(); }

private:
    std::string m_text;
};

void ThrowIf(std::string const& entryPoint)
{
    if (Is(entryPoint)) {
        if (Is("odd")) {
            throw 7;
        }
        throw BadFailure("no " + entryPoint + " today");
    }
}

class BadDevice : public Device
{
};

class BadView : public CView
{
public:
    QWidget* GetWidget() override { return nullptr; }
};
CRuntimeClass badView = MakeRuntimeClass<BadView>("BadView");

class BadSink : public Subscriber
{
public:
    void Notify(NotificationInfo const*) override { std::abort(); } // nobody may be told after the end
};

/// Left behind on purpose, which is no leak that a check has to tell.
Subscription* LeftBehind(Subscription* subscription)
{
#ifdef __SANITIZE_ADDRESS__
    __lsan_ignore_object(subscription);
#endif
    return subscription;
}

/// Never ended.
Subscription& KeptSubscription()
{
    static auto* const kept = LeftBehind(new Subscription(Subscription::General));
    kept->SetSubscriber(new BadSink, true);
    kept->Subscribe(CString(L"bad"));
    return *kept;
}

/// Of the first device, never ended.
void KeepFollowingADevice()
{
    if (SubscriptionMap* const map = DataManager::GetDataManager().GetAttributeSubscriptionMap(CDataId(1, 78, 1, 1))) {
        auto* const kept = LeftBehind(new Subscription);
        kept->SetSubscriber(new BadSink, true);
        kept->SetMap(map);
        kept->Subscribe(CString(L"bad"));
    }
}

} // namespace

extern "C" {
VORDAL_PLUGIN_EXPORT bool LibraryAttach()
{
    if (Is("LibraryAttach") || Is("refuse")) {
        CDevList::GetDevList().RegisterDev(L"EarlyDevice", new DevCreator<BadDevice>);
        KeptSubscription();
    }
    ThrowIf("LibraryAttach");
    return !Is("refuse") && CheckDllVersion(VORDAL_CONTRACT_VERSION, "bad_plugin.cpp", "today");
}
VORDAL_PLUGIN_EXPORT void LibraryDetach()
{
    ThrowIf("LibraryDetach");
}
VORDAL_PLUGIN_EXPORT void RegisterDevices()
{
    CDevList::GetDevList().RegisterDev(L"BadDevice", new DevCreator<BadDevice>);
    ThrowIf("RegisterDevices");
}
VORDAL_PLUGIN_EXPORT bool UnRegisterDevices()
{
    ThrowIf("UnRegisterDevices");
    return !Is("forget") && CDevList::GetDevList().UnRegisterDev(L"BadDevice");
}
VORDAL_PLUGIN_EXPORT void RegisterViews()
{
    CViewList::GetViewList().RegisterView(L"BadView", &badView);
    ThrowIf("RegisterViews");
}
VORDAL_PLUGIN_EXPORT void InitializeTemplates(CVordalBaseApp* application)
{
    auto* const made =
        new VORDALMultiDocTemplateAttr1(CDisplayDocAttr1::GetRuntimeClass(), CDisplayFrmAttr1::GetRuntimeClass(),
                                        &badView, CDisplayDockFrmAttr1::GetRuntimeClass());
    application->AddDocTemplate(made);
    CDocTemplateList::GetDocTemplates().AddTemplate(L"BAD", made);
    if (Is("keep")) {
        KeptSubscription();
        KeepFollowingADevice();
    }
    ThrowIf("InitializeTemplates");
}
VORDAL_PLUGIN_EXPORT void UnInitializeTemplates()
{
    ThrowIf("UnInitializeTemplates");
    if (!Is("forget")) {
        CDocTemplateList::GetDocTemplates().RemoveTemplate(L"BAD");
    }
}
VORDAL_PLUGIN_EXPORT void DeviceCtrlInit(unsigned short, unsigned short, unsigned short, unsigned short)
{
    ThrowIf("DeviceCtrlInit");
}
}
