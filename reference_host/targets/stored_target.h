// A contact as a target file keeps it, and what has become of a file's contacts since somebody last looked.
#pragma once

#include <vordalhostdllR/SonarTarget.h>

#include <cstdint>
#include <vector>

namespace vordal {

/// One contact as the file keeps it.
struct StoredTarget
{
    SonarTarget target;
    /// Given up by its owner: it stays in the list, but no look-up by GUID finds it.
    bool lost = false;
};

/// A contact and its place in the file's order, which is that of the positions. No two have the same.
struct PlacedTarget
{
    std::int64_t position = 0;
    StoredTarget stored;
};

struct TargetChanges
{
    /// `rows` are all contacts that there are, whatever was known before.
    bool whole = false;
    /// New, or in place of what stood at that position; ascending.
    std::vector<PlacedTarget> rows;
    /// Where nothing stands any more. Some may have been known to nobody.
    std::vector<std::int64_t> gone;

    bool IsEmpty() const { return !whole && rows.empty() && gone.empty(); }
};

} // namespace vordal
