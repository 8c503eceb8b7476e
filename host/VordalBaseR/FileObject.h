// A configuration file of the host: sections of items, each item a text, and sections that hold attribute trees.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <memory>
#include <utility>
#include <vector>

class CAttributeMap;

/// Sections by name, in the order in which they were made; names are case-sensitive. An object made by a plug-in lives
/// in memory alone; one that the host passes in belongs to the host and is valid during the call only. Not to be used
/// from two threads at once. Getters that fail leave their out argument untouched.
class VORDAL_API FileObject
{
public:
    FileObject();
    FileObject(FileObject const&) = delete;
    FileObject& operator=(FileObject const&) = delete;
    ~FileObject();

    /// Makes an empty section. A section that is there already stays as it is, and the answer is false.
    bool CreateSection(CString const& section);
    /// Whether there is a section of that name, with or without items.
    bool HasSection(CString const& section) const;
    /// Sets an item of a section, or appends it. False when there is no such section.
    bool SetItem(CString const& section, CString const& item, CString const& value);
    /// False when the section or the item is not there.
    bool GetItem(CString const& section, CString const& item, CString& value) const;
    /// All items of a section with their values, in order; empty when there is no such section.
    std::vector<std::pair<CString, CString>> GetItems(CString const& section) const;

    /// Copies the tree that a section holds; this is what Device::LoadAttribs reads. False when the section is not
    /// there or holds no tree.
    bool GetAttributeMap(CString const& section, CAttributeMap& map) const;
    /// Puts a copy of the tree in place of the section's. False when there is no such section.
    bool SetAttributeMap(CString const& section, CAttributeMap const& map);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
