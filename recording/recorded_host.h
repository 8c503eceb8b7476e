// What of the host around a sonar a recording keeps.
#pragma once

#include "recorded_content.h"

#include <VordalBaseR/CDataId.h>

#include <optional>

namespace qx5::recording {

/// As it is now; nothing where no host has such a device. Any thread that may look devices up.
std::optional<RecordedHost> HostAround(CDataId const& sonar);

} // namespace qx5::recording
