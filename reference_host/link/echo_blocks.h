// Records of echoes as data blocks.
#pragma once

#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <protocol/echo_records.h>

namespace vordal {

/// The items that SonarEchoItems.h names, in ascending order, each array copied once, out of the record.
VORDAL_API CDataBlock DetectionsBlock(qx5::protocol::DetectionsView const& record);
VORDAL_API CDataBlock WaterColumnBlock(qx5::protocol::WaterColumnView const& record);

} // namespace vordal
