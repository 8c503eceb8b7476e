// An open display: a document, a frame and a view, made by run-time class and taken down in the right order.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <memory>
#include <string>

class CDisplayDoc;
class CDisplayFrm;
class CView;
class QWidget;

namespace vordal {

/// The window that shows a display, as far as the display speaks to it. Each operation does nothing unless overridden.
/// Window thread.
class VORDAL_API DisplayHolder
{
public:
    virtual ~DisplayHolder();

    /// The widget of the frame that the view sits in; null for none.
    virtual QWidget* FrameWidget();
    virtual void OnTitle(CString const& title);
    virtual void OnShowNormal();
    virtual void OnBringToTop();
    /// The display was removed (DisplayManager::RemoveDisplay). The view is still running when this is called: destroy
    /// the display only after returning to the event loop.
    virtual void OnRemoved();
    /// The view is about to be destroyed: take its widget out of the window.
    virtual void OnClose();
};

/// What makes a display.
struct DisplayContent
{
    /// Of CViewList.
    CString viewClass;
    /// Where it stands in the display map (see CDisplayMap::GetDisplayName); empty for a display that is not in it.
    CString name;
    /// What was stored with the view.
    CAttributeMap attributes;
};

/// An open display. Whoever opened it owns it and destroys it: a removed display stays, with its view, until then,
/// and so does one whose plug-in has gone, without a view. Window thread; the host must live.
class VORDAL_API Display
{
public:
    /// Makes document, frame and view of the template that was registered with that view, or of the host's own classes.
    /// Null when there is no such view; `reason` is then one line that says why. `holder` may be null (a display
    /// without a window) and must outlive the display. What a view throws passes.
    static std::unique_ptr<Display> Open(DisplayContent content, DisplayHolder* holder, std::string& reason);

    Display(Display const&) = delete;
    Display& operator=(Display const&) = delete;
    /// Closes the display.
    ~Display();

    /// To be called once, when the view's widget is in its frame.
    void InitialUpdate();
    /// The frame has given the view that size, in pixels; `kind` as in CView::OnSize. Nothing is delivered before the
    /// initial update nor to a removed display.
    void DeliverSize(unsigned kind, int width, int height);
    /// CView::OnUpdate, unless the display was removed or `sender` is its view.
    void DeliverUpdate(CView* sender, int hint, void const* data);
    /// Destroys the view, the frame and the document, in this order. Twice is fine.
    void Close();

    /// Null once it is closed, as the two below.
    CView* View() const { return m_view.get(); }
    CDisplayDoc* Document() const { return m_document.get(); }
    CDisplayFrm* Frame() const { return m_frame.get(); }
    /// The view's widget; null once it is closed.
    QWidget* Widget() const;
    CString const& Name() const { return m_name; }
    CString const& ViewClass() const { return m_viewClass; }
    /// Empty until the display was renamed for the first time.
    CString const& Title() const { return m_title; }
    bool IsRemoved() const;
    /// What is to be stored with the view, also after it was closed.
    CAttributeMap StoredAttributes() const;

    /// For the host's own sources.
    void TakeTitle(CString const& title);
    DisplayHolder& Holder() const { return *m_holder; }

private:
    Display(DisplayContent content, DisplayHolder* holder);

    CString const m_viewClass;
    CString const m_name;
    CString m_title;
    DisplayHolder* m_holder;
    CAttributeMap m_attributes; ///< of the view, once it was closed
    std::unique_ptr<CDisplayDoc> m_document;
    std::unique_ptr<CDisplayFrm> m_frame;
    std::unique_ptr<CView> m_view;
    bool m_ready = false; ///< the initial update has begun
};

} // namespace vordal
