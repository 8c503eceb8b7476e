// The application of a host without windows: it takes a plug-in's templates and has no displays.
#pragma once

#include <VordalBaseR/Export.h>
#include <vordalhostdllR/CVordalBaseApp.h>

#include <memory>

namespace vordal {

/// Handed to plug-ins where an application is asked for. The host that lives owns the templates; it must be there when
/// one is added. Since there is no window, CVordalBaseApp::Instance does not give it.
class VORDAL_API PlainApplication final : public CVordalBaseApp
{
public:
    PlainApplication();
    ~PlainApplication() override;

    /// No displays.
    CDisplayMap& GetDisplayMap() override;
    /// No sections.
    CPrsConfiguration& GetPresConfig() override;
    void AddDocTemplate(VORDALMultiDocTemplate* displayTemplate) override;
    /// False: nothing can be shown.
    bool AddDisplay(unsigned viewKey, CString const& name, CString const& type, FileObject const& settings,
                    CString const& section, bool show, BaseDevice* device, unsigned short vessel) override;
    bool SelectDisplay(CString const& name) override;
    /// The host stores attributes without being told.
    void NotifyAttributesChanged(CDataId const& dataId, int item) override;

private:
    struct Body;
    std::unique_ptr<Body> m_body;
};

} // namespace vordal
