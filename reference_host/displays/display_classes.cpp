// Documents, frames and views of displays, as far as they are there without windows.
#include <VordalAttributesR/CAttributeMap.h>
#include <VordalMfc0R/CView.h>
#include <vordalhostdllR/CDisplayDoc.h>

#include <map>

CObject::~CObject() = default;

CView::CView() = default;
CView::~CView() = default;
void CView::OnInitialUpdate() {}
void CView::OnUpdate(CView*, int, void const*) {}
void CView::OnSize(unsigned, int, int) {}

/// A frame without a window has nothing to keep.
struct CDisplayFrm::State
{
};

CDisplayFrm::CDisplayFrm() = default;
CDisplayFrm::~CDisplayFrm() = default;
void CDisplayFrm::ShowNormal() {}
void CDisplayFrm::BringToTop() {}
QWidget* CDisplayFrm::GetWidget()
{
    return nullptr;
}

struct CDisplayDoc::State
{
    CString title;
    /// By number of the view.
    std::map<int, CAttributeMap> viewAttributes;
};

CDisplayDoc::CDisplayDoc() : m_state(std::make_unique<State>()) {}
CDisplayDoc::~CDisplayDoc() = default;

CString CDisplayDoc::GetTitle() const
{
    return m_state->title;
}
void CDisplayDoc::RenameDisplay(CString const& title)
{
    m_state->title = title;
}
CView* CDisplayDoc::GetView() const
{
    return nullptr;
}
CDisplayFrm* CDisplayDoc::GetFrame() const
{
    return nullptr;
}
CAttributeMap& CDisplayDoc::GetViewAttributes(int view)
{
    return m_state->viewAttributes[view];
}

CDisplayDocAttr1::CDisplayDocAttr1() = default;
CDisplayDocAttr1::~CDisplayDocAttr1() = default;
CRuntimeClass* CDisplayDocAttr1::GetRuntimeClass()
{
    static CRuntimeClass itself = MakeRuntimeClass<CDisplayDocAttr1>("CDisplayDocAttr1");
    return &itself;
}

CDisplayFrmAttr1::CDisplayFrmAttr1() = default;
CDisplayFrmAttr1::~CDisplayFrmAttr1() = default;
CRuntimeClass* CDisplayFrmAttr1::GetRuntimeClass()
{
    static CRuntimeClass itself = MakeRuntimeClass<CDisplayFrmAttr1>("CDisplayFrmAttr1");
    return &itself;
}

CDisplayDockFrmAttr1::CDisplayDockFrmAttr1() = default;
CDisplayDockFrmAttr1::~CDisplayDockFrmAttr1() = default;
CRuntimeClass* CDisplayDockFrmAttr1::GetRuntimeClass()
{
    static CRuntimeClass itself = MakeRuntimeClass<CDisplayDockFrmAttr1>("CDisplayDockFrmAttr1");
    return &itself;
}
