// The application of the reference host: its displays and what it is told.
#include "reference_host/core/application.h"

#include "reference_host/common/host_observer.h"
#include "reference_host/core/host_state.h"

#include <VordalBaseR/FileObject.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <utility>

namespace vordal {
namespace {

// Items of a display in the presentation configuration.
constexpr wchar_t const* typeItem = L"type";
constexpr wchar_t const* nameItem = L"name";
constexpr wchar_t const* enabledItem = L"enabled";

constexpr wchar_t const* yes = L"1";
constexpr wchar_t const* no = L"0";

} // namespace

Application* CurrentApplication()
{
    auto const* const host = CurrentState();
    return host != nullptr ? host->application.get() : nullptr;
}

Application::Application(ApplicationSetup setup)
    : m_guid(std::move(setup.guid)), m_hasMainWindow(setup.mainWindow), m_lightMode(setup.lightMode)
{
    for (auto& display : setup.displays) {
        m_displays.push_back({std::move(display.section),
                              {{typeItem, std::move(display.type)},
                               {nameItem, std::move(display.name)},
                               {enabledItem, display.enabled ? yes : no}}});
    }
}

Application::~Application() = default;

Application::Display* Application::FindByName(CString const& name)
{
    for (auto& display : m_displays) {
        if (auto const found = display.items.find(nameItem); found != display.items.end() && found->second == name) {
            return &display;
        }
    }
    return nullptr;
}

bool Application::ForgetDisplay(CString const& name)
{
    std::lock_guard const lock(m_mutex);
    auto* const display = FindByName(name);
    if (display != nullptr) {
        m_displays.erase(m_displays.begin() + (display - m_displays.data()));
    }
    return display != nullptr;
}

bool Application::EnableDisplay(CString const& name)
{
    std::lock_guard const lock(m_mutex);
    auto* const display = FindByName(name);
    if (display != nullptr) {
        display->items[enabledItem] = yes;
    }
    return display != nullptr;
}

void Application::AddDocTemplate(VORDALMultiDocTemplate* displayTemplate)
{
    // In the host's register, which knows whose templates they are and lets them go with their module.
    std::unique_ptr<VORDALMultiDocTemplate> owned(displayTemplate);
    if (auto* const host = CurrentState()) {
        host->displays.OwnTemplate(std::move(owned));
    }
}

bool Application::AddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                             CString const& section, bool, BaseDevice*, unsigned short)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnAddDisplay(viewKey, name, type, settings, section);
    }
    Display display{name, {{typeItem, type}, {nameItem, name}, {enabledItem, yes}}};
    for (auto& [item, value] : settings.GetItems(section)) {
        display.items.emplace(item, value);
    }
    std::lock_guard const lock(m_mutex);
    m_displays.push_back(std::move(display));
    return true;
}

bool Application::SelectDisplay(CString const& name)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnSelectDisplay(name);
    }
    std::lock_guard const lock(m_mutex);
    return FindByName(name) != nullptr;
}

void Application::NotifyAttributesChanged(CDataId const& dataId, int)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnNotifyApplication(dataId);
    }
}

int Application::GetCount() const
{
    std::lock_guard const lock(m_mutex);
    return static_cast<int>(m_displays.size());
}

CString Application::GetDisplayName(int index) const
{
    std::lock_guard const lock(m_mutex);
    auto const at = static_cast<std::size_t>(index);
    return index >= 0 && at < m_displays.size() ? m_displays[at].section : CString();
}

CDisplayDoc* Application::Lookup(CString const& name) const
{
    auto const* const host = CurrentState();
    return host != nullptr ? host->openDisplays.Lookup(name) : nullptr;
}

void Application::UpdateAllDisplays(CView* sender, int hint, void const* data)
{
    if (auto* observer = CurrentObserver()) {
        observer->OnUpdateDisplays(hint);
    }
    auto* const host = CurrentState();
    if (host == nullptr) {
        return;
    }
    if (host->window->IsWindowThread()) {
        host->openDisplays.Update(sender, hint, data);
    } else {
        host->window->Post({WindowTaskKind::UpdateDisplays, static_cast<std::uintptr_t>(hint), {}},
                           [host, hint] { host->openDisplays.Update(nullptr, hint, nullptr); });
    }
}

void Application::ShowDisplay(CString const& name)
{
    auto* const host = CurrentState();
    if (host == nullptr) {
        return;
    }
    if (host->window->IsWindowThread()) {
        host->openDisplays.Show(name);
    } else {
        host->window->Post({WindowTaskKind::ShowDisplay, 0, name}, [host, name] { host->openDisplays.Show(name); });
    }
}

bool Application::GetItem(CString const& section, CString const& key, CString& value) const
{
    std::lock_guard const lock(m_mutex);
    for (auto const& display : m_displays) {
        if (!(display.section == section)) {
            continue;
        }
        auto const found = display.items.find(key);
        if (found == display.items.end()) {
            return false;
        }
        value = found->second;
        return true;
    }
    return false;
}

bool Application::GetItem(CString const& section, CString const& key, bool& value) const
{
    CString text;
    if (!GetItem(section, key, text) || !(text == yes || text == no)) {
        return false;
    }
    value = text == yes;
    return true;
}

} // namespace vordal

using vordal::CurrentApplication;

CVordalBaseApp::CVordalBaseApp() = default;
CVordalBaseApp::~CVordalBaseApp() = default;
CDisplayMap::~CDisplayMap() = default;
CPrsConfiguration::~CPrsConfiguration() = default;

CVordalBaseApp* CVordalBaseApp::Instance()
{
    auto* const application = CurrentApplication();
    return application != nullptr && application->HasMainWindow() ? application : nullptr;
}
