// Detections that came from a vessel, as hosts hand them out.
#pragma once

#include "authority/shore_messages.h"

#include <VordalDataBlocksR/CDataBlock.h>

namespace qx5::fleet {

/// A block of SONAR_DETECTIONS_GROUP, see SonarEchoItems.h. Any thread.
CDataBlock BlockOf(authority::DetectionsMessage const& message);

} // namespace qx5::fleet
