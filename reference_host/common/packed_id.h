// The four fields of an id in one number, for look-ups.
#pragma once

#include <VordalBaseR/CDataId.h>

#include <cstdint>

namespace vordal {

inline std::uint64_t PackedId(CDataId const& id)
{
    return std::uint64_t{id.GetType()} << 48 | std::uint64_t{id.GetGroupId()} << 32 |
           std::uint64_t{id.GetDeviceNum()} << 16 | std::uint64_t{id.GetVessel()};
}

inline CDataId UnpackedId(std::uint64_t packed)
{
    auto const field = [packed](int shift) { return static_cast<unsigned short>(packed >> shift & 0xFFFF); };
    return CDataId(field(48), field(32), field(16), field(0));
}

} // namespace vordal
