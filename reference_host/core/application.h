// The application of the reference host: its displays and what it is told.
#pragma once

#include "reference_host/core/host.h"

#include <VordalConfigureR/CPrsConfiguration.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/CVordalBaseApp.h>

#include <atomic>
#include <map>
#include <mutex>
#include <vector>

namespace vordal {

/// Keeps the list of displays and the light mode; which of them are open, HostState::openDisplays knows. Any thread.
/// The observer is told of a call before it takes effect.
class Application final : public CVordalBaseApp, private CDisplayMap, private CPrsConfiguration
{
public:
    explicit Application(ApplicationSetup setup);
    ~Application() override;

    CString const& Guid() const { return m_guid; }
    bool HasMainWindow() const { return m_hasMainWindow; }
    void SetMainWindow(bool open) { m_hasMainWindow = open; }
    int LightMode() const { return m_lightMode; }
    void SetLightMode(int mode) { m_lightMode = mode; }
    /// Switches on the display whose item "name" is this; false when there is none.
    bool EnableDisplay(CString const& name);
    /// Takes the display with that item "name" out of the set-up; false when there is none.
    bool ForgetDisplay(CString const& name);

    CDisplayMap& GetDisplayMap() override { return *this; }
    CPrsConfiguration& GetPresConfig() override { return *this; }
    void AddDocTemplate(VORDALMultiDocTemplate* displayTemplate) override;
    bool AddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                    CString const& section, bool show, BaseDevice* device, unsigned short vessel) override;
    bool SelectDisplay(CString const& name) override;
    void NotifyAttributesChanged(CDataId const& dataId, int item) override;

private:
    /// A display: where it stands in the presentation configuration, and its items there.
    struct Display
    {
        CString section;
        std::map<CString, CString> items;
    };

    int GetCount() const override;
    CString GetDisplayName(int index) const override;
    CDisplayDoc* Lookup(CString const& name) const override;
    void UpdateAllDisplays(CView* sender, int hint, void const* data) override;
    void ShowDisplay(CString const& name) override;

    bool GetItem(CString const& section, CString const& key, CString& value) const override;
    bool GetItem(CString const& section, CString const& key, bool& value) const override;

    /// The display whose item "name" is this, or null. With the lock held.
    Display* FindByName(CString const& name);

    CString const m_guid;
    std::atomic<bool> m_hasMainWindow;
    std::atomic<int> m_lightMode;
    mutable std::mutex m_mutex; ///< guards what follows; never held while calling out
    std::vector<Display> m_displays;
};

/// The application of the host that lives, with its main window or without; null when it has none.
Application* CurrentApplication();

} // namespace vordal
