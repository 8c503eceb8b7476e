// Reading the items of blocks of echoes (SonarEchoItems.h), whoever has put them there.
#pragma once

#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalDataBlocksR/SonarEchoItems.h>
#include <protocol/bytes.h>

#include <cstddef>
#include <cstdint>
#include <span>

namespace vordal {

/// The item's bytes, as long as the block lives; empty where it has none.
inline std::span<unsigned char const> EchoBytes(CDataBlock const& block, SonarEchoItem item)
{
    unsigned short index = 0;
    if (!block.LookUp(item, ADDR_FIRST_OF_ITEM, index)) {
        return {};
    }
    CDataItem const& found = *block.GetItem(index);
    return {static_cast<unsigned char const*>(found.data), found.size};
}

/// The double at that place of the item; 0 where there is none.
inline double EchoReal(CDataBlock const& block, SonarEchoItem item, std::size_t place = 0)
{
    auto const bytes = EchoBytes(block, item);
    return qx5::protocol::Fits(bytes.size(), 8 * place, 8) ? qx5::protocol::GetF64LE(bytes, 8 * place) : 0.0;
}

/// The 32-bit integer that the item is; 0 where it is none.
inline std::int32_t EchoWhole(CDataBlock const& block, SonarEchoItem item)
{
    auto const bytes = EchoBytes(block, item);
    return bytes.size() >= 4 ? qx5::protocol::GetI32LE(bytes, 0) : 0;
}

} // namespace vordal
