// A display of the host: its document and the frames that it is shown in.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>
#include <VordalMfc0R/CRuntimeClass.h>

#include <memory>

class CAttributeMap;
struct CDisplayDocAccess;
class CView;
class QWidget;

/// The frame that a view sits in. Made and owned by the host. Window thread.
class VORDAL_API CDisplayFrm : public CObject
{
public:
    CDisplayFrm();
    ~CDisplayFrm() override;

    /// Shows the frame in its normal size, whether it was hidden, minimised or maximised.
    virtual void ShowNormal();
    /// Brings the frame's window to the top of all others.
    virtual void BringToTop();
    /// The frame's widget, owned by the frame; null when the host has no windows.
    virtual QWidget* GetWidget();

protected:
    friend struct CDisplayDocAccess;
    struct State;
    std::unique_ptr<State> m_state; ///< the host's own
};

/// The document of a display: its title and what is stored with it. Made and owned by the host, which deletes it after
/// its view. Window thread.
class VORDAL_API CDisplayDoc : public CObject
{
public:
    CDisplayDoc();
    ~CDisplayDoc() override;

    /// The title, under which DisplayManager knows the display; empty until it was renamed for the first time.
    virtual CString GetTitle() const;
    /// Gives the display another title, at once in the frame and from then on in the store.
    virtual void RenameDisplay(CString const& title);
    /// The view of the display; null before it is made and after it was deleted.
    virtual CView* GetView() const;
    /// The parent frame of the view; null while there is no view.
    virtual CDisplayFrm* GetFrame() const;
    /// The attributes that are stored with the view of that number (0 for the first); an empty tree when nothing was
    /// stored. What is written there is kept when the display is closed. Views come to it by CVordalBaseView.
    virtual CAttributeMap& GetViewAttributes(int view);

protected:
    friend struct CDisplayDocAccess;
    struct State;
    std::unique_ptr<State> m_state; ///< the host's own
};

/// The document of displays that keep attributes of their own.
class VORDAL_API CDisplayDocAttr1 : public CDisplayDoc
{
public:
    CDisplayDocAttr1();
    ~CDisplayDocAttr1() override;

    /// What a template names it by; the host's, there while it runs.
    static CRuntimeClass* GetRuntimeClass();
};

/// The floating frame of such displays.
class VORDAL_API CDisplayFrmAttr1 : public CDisplayFrm
{
public:
    CDisplayFrmAttr1();
    ~CDisplayFrmAttr1() override;

    /// What a template names it by; the host's, there while it runs.
    static CRuntimeClass* GetRuntimeClass();
};

/// The docked frame of such displays.
class VORDAL_API CDisplayDockFrmAttr1 : public CDisplayFrm
{
public:
    CDisplayDockFrmAttr1();
    ~CDisplayDockFrmAttr1() override;

    /// What a template names it by; the host's, there while it runs.
    static CRuntimeClass* GetRuntimeClass();
};
