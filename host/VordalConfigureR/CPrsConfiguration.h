// A configuration that is read item by item: that of the presentation, or that of a vessel.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

/// Items in sections. Owned by the host. Of the presentation configuration, each display has a section, under the name
/// that CDisplayMap gives, with the items "type", "name" and "enabled". Any thread.
class VORDAL_API CPrsConfiguration
{
public:
    virtual ~CPrsConfiguration();

    /// The item's text. False, and `value` untouched, when the section or the item is not there.
    virtual bool GetItem(CString const& section, CString const& key, CString& value) const = 0;
    /// The item as a truth value. False, and `value` untouched, when it is not there or is none.
    virtual bool GetItem(CString const& section, CString const& key, bool& value) const = 0;
};
