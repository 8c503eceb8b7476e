// A view as the host drives it: made by run-time class, joined to a document, shown in a frame.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalMfc0R/CRuntimeClass.h>

class CDisplayDoc;
class QWidget;

/// Hints of CView::OnUpdate and CDisplayMap::UpdateAllDisplays. A view ignores every hint that it does not know.
enum DisplayUpdateHint : int
{
    HINT_SELECT_DEVICE = 128,    ///< data is a CDataId const*: the device to show; to a new display that has nothing
                                 ///< stored, and when the operator has chosen another device of its plug-in
    HINT_TERMINAL_DISPLAY = 298, ///< no data: the operator terminal turned to the displays
    HINT_SNAPSHOT_SHOWN = 299,   ///< no data: the snapshot display came to the front
    HINT_STEP_DOWN = 300,        ///< no data: the operator terminal stepped down
    HINT_STEP_UP = 301,          ///< no data: the operator terminal stepped up
};

/// Base of all views. The host makes it, sets its document, calls OnInitialUpdate once, and deletes it when its display
/// is closed. Everything here happens on the window thread, one call at a time.
class VORDAL_API CView : public CObject
{
public:
    CView();
    ~CView() override;

    /// The view's widget, never null, made with the view. The view owns it: the host puts it into a frame and takes it
    /// out again (parent null) before it deletes the view, and never deletes the widget itself.
    virtual QWidget* GetWidget() = 0;
    /// The view is in its frame and has its document; called once, before anything else below.
    virtual void OnInitialUpdate();
    /// Something changed that concerns views. `sender` is the view that raised it, or null; what `data` points to
    /// follows from the hint, belongs to the sender and is valid during the call only.
    virtual void OnUpdate(CView* sender, int hint, void const* data);
    /// The frame has given the view another size, in pixels. `kind` is 0 for a plain change, 1 minimised, 2 maximised.
    virtual void OnSize(unsigned kind, int width, int height);

    /// The document, owned by the host, there from before OnInitialUpdate to the end of the view.
    CDisplayDoc* GetDocument() const { return m_document; }
    /// For the host alone.
    void SetDocument(CDisplayDoc* document) { m_document = document; }

private:
    CDisplayDoc* m_document = nullptr;
};
