// The template of a display: which document, frame, view and dock frame it is made of.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalMfc0R/CRuntimeClass.h>

/// A template. The run-time classes stay their modules' and must be there as long as the template is used. A plug-in
/// makes it with new and hands it to the application (CVordalBaseApp::AddDocTemplate), which owns it from then on.
/// Window thread.
class VORDAL_API VORDALMultiDocTemplate
{
public:
    /// None of them null. The document's class must make a CDisplayDoc, the view's a CView, the frames' a CDisplayFrm.
    VORDALMultiDocTemplate(CRuntimeClass* documentClass, CRuntimeClass* frameClass, CRuntimeClass* viewClass,
                           CRuntimeClass* dockFrameClass);
    VORDALMultiDocTemplate(VORDALMultiDocTemplate const&) = delete;
    VORDALMultiDocTemplate& operator=(VORDALMultiDocTemplate const&) = delete;
    virtual ~VORDALMultiDocTemplate();

    /// The class of its documents.
    CRuntimeClass* GetDocumentClass() const { return m_documentClass; }
    /// The frame of a display that floats.
    CRuntimeClass* GetFrameClass() const { return m_frameClass; }
    /// The class of its views.
    CRuntimeClass* GetViewClass() const { return m_viewClass; }
    /// The frame of a display that is docked to the main window.
    CRuntimeClass* GetDockFrameClass() const { return m_dockFrameClass; }

private:
    CRuntimeClass* m_documentClass;
    CRuntimeClass* m_frameClass;
    CRuntimeClass* m_viewClass;
    CRuntimeClass* m_dockFrameClass;
};

/// The template of displays that keep attributes of their own, made of CDisplayDocAttr1, CDisplayFrmAttr1, a view and
/// CDisplayDockFrmAttr1.
class VORDAL_API VORDALMultiDocTemplateAttr1 : public VORDALMultiDocTemplate
{
public:
    /// As VORDALMultiDocTemplate.
    VORDALMultiDocTemplateAttr1(CRuntimeClass* documentClass, CRuntimeClass* frameClass, CRuntimeClass* viewClass,
                                CRuntimeClass* dockFrameClass);
    ~VORDALMultiDocTemplateAttr1() override;
};
