// The host's list of display templates by name.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

class VORDALMultiDocTemplate;

/// The list. A device names the template of its control view here (BaseDevice::SetDeviceCtrlViewType). It refers to
/// templates and owns none. Any thread.
class VORDAL_API CDocTemplateList
{
public:
    /// The host's one list.
    static CDocTemplateList& GetDocTemplates();

    /// A name that is there already gets the new template, and displays that are open keep what they were made of.
    /// False, and nothing added, for null or an empty name.
    bool AddTemplate(CString const& name, VORDALMultiDocTemplate* displayTemplate);
    /// Takes the name off the list; no display is made by it any more. The template stays its owner's. False when there
    /// is none of that name.
    bool RemoveTemplate(CString const& name);
    /// Null when there is none of that name.
    VORDALMultiDocTemplate* FindTemplate(CString const& name) const;

private:
    CDocTemplateList() = default;
    friend struct CDocTemplateListAccess;
};
