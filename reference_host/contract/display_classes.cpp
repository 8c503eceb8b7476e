// The classes that displays of the host are made of, as far as they do nothing of their own.
#include <VordalMfc0R/CView.h>
#include <vordalhostdllR/CDisplayDoc.h>

CObject::~CObject() = default;

CView::CView() = default;
CView::~CView() = default;
void CView::OnInitialUpdate() {}
void CView::OnUpdate(CView*, int, void const*) {}
void CView::OnSize(unsigned, int, int) {}

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
