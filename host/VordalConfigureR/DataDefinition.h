// The names of data items and of their values.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

/// What the host knows about data items. Any thread.
class VORDAL_API DataDefinition
{
public:
    /// The host's own.
    static DataDefinition& GetDataDefinition();

    /// The name of the value `index` (from 0) of an item, for blocks of the group. False, and `text` untouched, beyond
    /// the last value and for an item or a group without names, so callers count up until it fails.
    bool GetGroupItemMapTxt(unsigned short group, unsigned short item, int index, CString& text) const;

private:
    DataDefinition() = default;
    friend struct DataDefinitionAccess;
};
