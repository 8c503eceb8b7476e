// Which displays are open, by name and by title.
#pragma once

#include <VordalBaseR/CString.h>

#include <mutex>
#include <vector>

class CDisplayDoc;
class CView;

namespace vordal {

class Display;

/// The open displays of one host, in the order in which they were opened. Names and titles may be asked for on any
/// thread; displays are for the window thread.
class OpenDisplays
{
public:
    void Add(Display& display, CString const& name, void const* registrant);
    void Take(Display const& display);
    void SetTitle(Display const& display, CString const& title);
    bool IsRemoved(Display const& display) const;

    /// The document of the display of that name that is open and was not removed; null when there is none.
    CDisplayDoc* Lookup(CString const& name) const;
    /// Marks the display of that title as removed: nothing is delivered to it any more. Null when there is none that
    /// was not removed before.
    Display* Remove(CString const& title);
    /// Whether the display is open; it need not exist any more.
    bool Has(Display const* display) const;
    /// CView::OnUpdate of all views but the sender.
    void Update(CView* sender, int hint, void const* data) const;
    /// Shows the frame of the display of that name in its normal size and above all others, if it is open.
    void Show(CString const& name) const;
    /// Closes the displays whose view classes are of that module.
    void CloseAllOf(void const* registrant);

private:
    struct Entry
    {
        Display* display = nullptr;
        CString name;
        CString title;
        void const* registrant = nullptr;
        bool removed = false;
    };

    Entry* Find(Display const* display);
    Entry const* Find(Display const* display) const;
    std::vector<Display*> All() const;

    mutable std::mutex m_mutex; ///< guards what follows; never held while calling out
    std::vector<Entry> m_entries;
};

/// Of the host that lives; null when there is none.
OpenDisplays* CurrentOpenDisplays();

} // namespace vordal
