// The application as a host without displays has it: a main window that is there or not, and nothing in it.
#pragma once

#include <VordalConfigureR/CPrsConfiguration.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/CVordalBaseApp.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

#include <memory>
#include <vector>


namespace vordal {

/// Owned by the host; see Host::SetMainWindow.
class Application final : public CVordalBaseApp
{
public:
    Application();
    ~Application() override;

    CDisplayMap& GetDisplayMap() override { return m_displays; }
    CPrsConfiguration& GetPresConfig() override { return m_configuration; }
    void AddDocTemplate(VORDALMultiDocTemplate* displayTemplate) override;
    bool AddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                    CString const& section, bool show, BaseDevice* device, unsigned short vessel) override;
    bool SelectDisplay(CString const& name) override;
    void NotifyAttributesChanged(CDataId const& dataId, int item) override;

private:
    class NoDisplays final : public CDisplayMap
    {
    public:
        int GetCount() const override { return 0; }
        CString GetDisplayName(int) const override { return {}; }
        CDisplayDoc* Lookup(CString const&) const override { return nullptr; }
        void UpdateAllDisplays(CView*, int, void const*) override {}
    };
    class NoConfiguration final : public CPrsConfiguration
    {
    public:
        bool GetItem(CString const&, CString const&, CString&) const override { return false; }
        bool GetItem(CString const&, CString const&, bool&) const override { return false; }
    };

    std::vector<std::unique_ptr<VORDALMultiDocTemplate>> m_templates;
    NoDisplays m_displays;
    NoConfiguration m_configuration;
};

} // namespace vordal
