// What a sonar's attributes tell of its data stream: settings data as a block, and the state of the stream.
#pragma once

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/Export.h>
#include <VordalDataBlocksR/CDataBlock.h>

#include <optional>

namespace vordal {

/// The group id of streams of the sonar record protocol.
inline constexpr unsigned short SonarDataGroup = 78;

/// The status of a stream's buffer while there is no connection that could bring anything for it.
inline constexpr unsigned short LostStreamStatus = 0xFFFF;

// This host's own decoding, which its simulated sonar agrees on; a real sonar's settings records are decoded by the
// host that it is made for.

/// The settings that the attributes tell, as a block; nothing unless they tell both the range and the sound velocity.
/// It holds, all good, item 699 (range in m, float), 609 (the same in whole metres, unsigned 16-bit, cut off and
/// brought into range) and 401 (sound velocity in m/s, double). `time` in seconds; see CExTime.
VORDAL_API std::optional<CDataBlock> SettingsBlockOf(CAttributeMap const& tree, double time);

/// Whether the attributes are what the sonar tells as it pings. Those, and the first settings of a connection, are
/// settings data of the stream; settings that the sonar reports because they were changed or asked for
/// say nothing of a ping and are none.
VORDAL_API bool IsPingAnswer(CAttributeMap const& tree);

/// The status of the stream's buffer, if the attributes tell it: its low 16 bits.
VORDAL_API std::optional<unsigned short> StreamStatusOf(CAttributeMap const& tree);

} // namespace vordal
