// The displays of the application.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

class CDisplayDoc;
class CView;

/// All displays that are set up, open or not, in the order in which they were set up. Owned by the application. Any
/// thread may walk it under names; documents are for the window thread.
class VORDAL_API CDisplayMap
{
public:
    virtual ~CDisplayMap();

    /// How many displays are set up.
    virtual int GetCount() const = 0;
    /// The name under which a display stands here, which is also its section in the presentation configuration (and
    /// need not be its title). Empty beyond the end.
    virtual CString GetDisplayName(int index) const = 0;
    /// The document of a display by that name; null when the display is not open or not there. Owned by the host.
    virtual CDisplayDoc* Lookup(CString const& name) const = 0;
    /// Calls CView::OnUpdate of every view but `sender` (null: of all). On the window thread that happens at once; from
    /// another thread it is posted, and then only a null `sender` and null `data` are allowed. For what the hint and
    /// the data mean, see DisplayUpdateHint.
    virtual void UpdateAllDisplays(CView* sender, int hint, void const* data) = 0;
    /// Shows the frame of the display by that name in its normal size and brings its window to the top of all others;
    /// nothing when the display is not open. On the window thread that happens at once; from another thread it is
    /// posted, and the display is looked up there.
    virtual void ShowDisplay(CString const& name) = 0;
};
