// The host's list of view classes by name.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

struct CRuntimeClass;

/// The list. Any thread.
class VORDAL_API CViewList
{
public:
    /// The host's one list.
    static CViewList& GetViewList();

    /// The class stays the module's; its objects must be of type CView. A name that is there already keeps its class,
    /// and the answer is false. There is no way to take a class back: the host forgets what a module registered before
    /// it unloads the module.
    bool RegisterView(CString const& name, CRuntimeClass* viewClass);
    /// Null when there is no class of that name.
    CRuntimeClass* FindView(CString const& name) const;

private:
    CViewList() = default;
    friend struct CViewListAccess;
};
