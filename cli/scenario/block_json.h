// Data blocks as JSON and back.
#pragma once

#include "cli/scenario/scenario_model.h"
#include "json/json_read.h"

#include <VordalDataBlocksR/CDataBlock.h>

namespace qx5::cli {

/// A block from the members "status" and "items" of an object, which may have others.
ScenarioBlock ReadBlock(MemberReader& members);

/// A block of the host with that content and time (seconds).
CDataBlock MakeBlock(ScenarioBlock const& block, double time);

/// {"status", "time", "items"}; every item is [item, type tag, size, value, item status], its value null without data.
/// Missing bytes of a value count as 0.
JsonValue WriteBlock(CDataBlock const& block);

} // namespace qx5::cli
