// The host's blocks of echoes, checked item by item and taken apart for the picture.
#pragma once

#include "picture/canvas.h"
#include "picture/ping.h"

#include <VordalDataBlocksR/CDataBlock.h>

namespace picture {

/// Takes a block of SONAR_WATER_COLUMN_GROUP. The levels are read in place: `ping` is valid as long as a copy of the
/// block is kept. False, and one line in `why`, where an item lacks, has another type or size, or a number that cannot
/// be; `ping` is not to be used then.
bool ReadWater(CDataBlock const& block, WaterPing& ping, Label& why);
/// Takes a block of SONAR_DETECTIONS_GROUP; nothing of it is needed afterwards. Likewise.
bool ReadDetections(CDataBlock const& block, DetectionPing& ping, Label& why);

} // namespace picture
