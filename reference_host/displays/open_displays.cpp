// Which displays are open, by name and by title.
#include "reference_host/displays/open_displays.h"

#include "reference_host/displays/display.h"

#include <vordalhostdllR/CDisplayDoc.h>

#include <algorithm>

namespace vordal {

OpenDisplays::Entry* OpenDisplays::Find(Display const* display)
{
    auto const found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [display](Entry const& entry) { return entry.display == display; });
    return found != m_entries.end() ? &*found : nullptr;
}

OpenDisplays::Entry const* OpenDisplays::Find(Display const* display) const
{
    return const_cast<OpenDisplays*>(this)->Find(display);
}

std::vector<Display*> OpenDisplays::All() const
{
    std::lock_guard const lock(m_mutex);
    std::vector<Display*> displays;
    for (auto const& entry : m_entries) {
        displays.push_back(entry.display);
    }
    return displays;
}

void OpenDisplays::Add(Display& display, CString const& name, void const* registrant)
{
    std::lock_guard const lock(m_mutex);
    m_entries.push_back({&display, name, CString(), registrant, false});
}

void OpenDisplays::Take(Display const& display)
{
    std::lock_guard const lock(m_mutex);
    std::erase_if(m_entries, [&display](Entry const& entry) { return entry.display == &display; });
}

void OpenDisplays::SetTitle(Display const& display, CString const& title)
{
    std::lock_guard const lock(m_mutex);
    if (auto* const entry = Find(&display)) {
        entry->title = title;
    }
}

bool OpenDisplays::IsRemoved(Display const& display) const
{
    std::lock_guard const lock(m_mutex);
    auto const* const entry = Find(&display);
    return entry != nullptr && entry->removed;
}

bool OpenDisplays::Has(Display const* display) const
{
    std::lock_guard const lock(m_mutex);
    return Find(display) != nullptr;
}

CDisplayDoc* OpenDisplays::Lookup(CString const& name) const
{
    std::lock_guard const lock(m_mutex);
    for (auto const& entry : m_entries) {
        if (!entry.removed && !entry.name.IsEmpty() && entry.name == name) {
            return entry.display->Document();
        }
    }
    return nullptr;
}

Display* OpenDisplays::Remove(CString const& title)
{
    std::lock_guard const lock(m_mutex);
    for (auto& entry : m_entries) {
        if (!entry.removed && entry.title == title) {
            entry.removed = true;
            return entry.display;
        }
    }
    return nullptr;
}

void OpenDisplays::Update(CView* sender, int hint, void const* data) const
{
    for (auto* const display : All()) {
        // A view that was told before may have closed others.
        if (Has(display)) {
            display->DeliverUpdate(sender, hint, data);
        }
    }
}

void OpenDisplays::Show(CString const& name) const
{
    auto const* const document = Lookup(name);
    if (auto* const frame = document != nullptr ? document->GetFrame() : nullptr) {
        frame->ShowNormal();
        frame->BringToTop();
    }
}

void OpenDisplays::CloseAllOf(void const* registrant)
{
    for (auto* const display : All()) {
        bool isOf = false;
        {
            std::lock_guard const lock(m_mutex);
            auto const* const entry = Find(display);
            isOf = entry != nullptr && entry->registrant == registrant;
        }
        if (isOf) {
            display->Close();
        }
    }
}

} // namespace vordal
