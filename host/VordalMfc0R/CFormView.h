// A view made of one form that scrolls when its pane is too small for it.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalMfc0R/CView.h>

#include <memory>

/// A view whose widget is a scroll area with a form inside. What the view shows is laid out in the form, which fills
/// the pane and never becomes smaller than the scroll sizes, nor than what is in it needs. Window thread.
class VORDAL_API CFormView : public CView
{
public:
    CFormView();
    /// Destroys the widget with all that is in the form.
    ~CFormView() override;

    QWidget* GetWidget() override;
    /// The form, never null while the view's widget is there; its children are what the view shows. The view owns it.
    QWidget* GetForm();

    /// The extent of what is shown, in pixels; a pane that is smaller scrolls. Negative sizes count as 0.
    void SetScrollSizes(int width, int height);
    /// The extent that was set last; 0 before.
    int GetScrollWidth() const;
    /// The height of the page as a whole, in pixels of the screen.
    int GetScrollHeight() const;

private:
    struct State;
    std::unique_ptr<State> m_state;
};
