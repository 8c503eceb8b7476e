// What joins a view to its display and carries the attributes that are stored with it.
#pragma once

#include <VordalBaseR/Export.h>

#include <memory>

class CAttributeMap;
class CDisplayDoc;

/// A helper that a view holds as a member. Window thread.
class VORDAL_API CVordalBaseView
{
public:
    CVordalBaseView();
    CVordalBaseView(CVordalBaseView const&) = delete;
    CVordalBaseView& operator=(CVordalBaseView const&) = delete;
    /// Ends the connection; what is stored with the view stays stored.
    ~CVordalBaseView();

    /// Joins the view to its document, as the view of that number (0 for the first). From then on the attributes are
    /// those stored with it. False, and no connection, for null. The document must outlive the connection.
    bool ConnectDisplayDoc(CDisplayDoc* document, int view);
    /// Null while there is no connection.
    CDisplayDoc* GetDisplayDoc() const;
    /// The view's stored attributes, to read and to write; a tree of this object's own while there is no connection.
    /// The reference is valid until the connection changes.
    CAttributeMap& GetAttributes();

private:
    struct State;
    std::unique_ptr<State> m_state;
};
