// The application of a host without windows.
#include "reference_host/displays/plain_application.h"

#include "reference_host/host/host_state.h"

#include <VordalConfigureR/CPrsConfiguration.h>
#include <vordalhostdllR/CDisplayMap.h>
#include <vordalhostdllR/VORDALMultiDocTemplate.h>

CVordalBaseApp::CVordalBaseApp() = default;
CVordalBaseApp::~CVordalBaseApp() = default;
CDisplayMap::~CDisplayMap() = default;
CPrsConfiguration::~CPrsConfiguration() = default;

CVordalBaseApp* CVordalBaseApp::Instance()
{
    // This host has no main window.
    return nullptr;
}

namespace vordal {
namespace {

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

} // namespace

struct PlainApplication::Body
{
    NoDisplays displays;
    NoConfiguration configuration;
};

PlainApplication::PlainApplication() : m_body(std::make_unique<Body>()) {}
PlainApplication::~PlainApplication() = default;

CDisplayMap& PlainApplication::GetDisplayMap()
{
    return m_body->displays;
}

CPrsConfiguration& PlainApplication::GetPresConfig()
{
    return m_body->configuration;
}

void PlainApplication::AddDocTemplate(VORDALMultiDocTemplate* displayTemplate)
{
    std::unique_ptr<VORDALMultiDocTemplate> owned(displayTemplate);
    if (auto* const host = CurrentState()) {
        host->displays.OwnTemplate(std::move(owned));
    }
}

bool PlainApplication::AddDisplay(unsigned, CString const&, CString const&, FileObject const&, CString const&, bool,
                                  BaseDevice*, unsigned short)
{
    return false;
}

bool PlainApplication::SelectDisplay(CString const&)
{
    return false;
}

void PlainApplication::NotifyAttributesChanged(CDataId const&, int) {}

} // namespace vordal
