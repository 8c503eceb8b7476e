// What several pages read alike in a device's tree: the settings of the operation mode in use, whether the tracker
// runs.
#pragma once

#include "page_controls.h"

#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

namespace qx5 {

/// The settings of the enumerator, otherwise the first; an empty node when there are none.
inline CAttributeMap const& ActiveSettings(CAttributeMap const& tree, int deviceEnum)
{
    auto const& key = At<protocol::keys::x5SonarSettings>;
    return tree.Find(key, tree.Has(key, deviceEnum) ? deviceEnum : 0);
}

/// The sample rate that the tree says is active; an empty node when the settings do not have it.
inline CAttributeMap const& SelectedSampleRateSet(CAttributeMap const& tree, CAttributeMap const& settings)
{
    return settings.Find(At<protocol::keys::x5SampleRateSet>,
                         ReadValue<protocol::keys::x5SampleRateSelection>(tree, 0));
}

/// The value of "x5SystemMode" with which the tracker runs.
inline constexpr int SystemModeTracker = 1;

inline bool IsTracking(CAttributeMap const& tree)
{
    return ReadValue<protocol::keys::x5SystemMode>(tree, 0) == SystemModeTracker;
}

} // namespace qx5
