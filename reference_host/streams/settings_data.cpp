// What a sonar's attributes tell of its data stream, as blocks and status of a buffer.
#include "settings_data.h"

#include <protocol/bytes.h>
#include <protocol/numbers.h>
#include <protocol/records/shared_keys.h>
#include <protocol/settings_keys.h>

#include <algorithm>
#include <array>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

constexpr AttributeKey rangeKey{protocol::keys::x5Range.text};
constexpr AttributeKey soundVelocityKey{protocol::keys::x5SoundVelocity.text};
constexpr AttributeKey pingNumberKey{protocol::keys::x5PingNumber.text};
constexpr AttributeKey streamStatusKey{protocol::keys::StreamStatus.text};

constexpr unsigned short rangeItem = 699;
constexpr unsigned short wholeRangeItem = 609;
constexpr unsigned short soundSpeedItem = 401;

} // namespace

std::optional<CDataBlock> SettingsBlockOf(CAttributeMap const& tree, double time)
{
    double range = 0.0;
    double soundVelocity = 0.0;
    if (!tree.FindValue(rangeKey, 0).Get(range) || !tree.FindValue(soundVelocityKey, 0).Get(soundVelocity)) {
        return std::nullopt;
    }
    std::array<unsigned char, 4> rangeBytes{};
    protocol::PutF32LE(rangeBytes, 0, protocol::NarrowToFloat(range));
    std::array<unsigned char, 2> wholeRangeBytes{};
    protocol::PutU16LE(wholeRangeBytes, 0,
                       static_cast<std::uint16_t>(std::clamp(protocol::TruncateToInt32(range), 0, 65535)));
    std::array<unsigned char, 8> soundSpeedBytes{};
    protocol::PutF64LE(soundSpeedBytes, 0, soundVelocity);
    CDataBlock block;
    block.AddItem(rangeItem, DATA_FLOAT, rangeBytes, 4, 0);
    block.AddItem(wholeRangeItem, DATA_UINT16, wholeRangeBytes, 2, 0);
    block.AddItem(soundSpeedItem, DATA_DOUBLE, soundSpeedBytes, 8, 0);
    block.SetTime(time);
    return block;
}

bool IsPingAnswer(CAttributeMap const& tree)
{
    return tree.Has(pingNumberKey, 0);
}

std::optional<unsigned short> StreamStatusOf(CAttributeMap const& tree)
{
    int status = 0;
    if (!tree.FindValue(streamStatusKey, 0).Get(status)) {
        return std::nullopt;
    }
    return protocol::Low16Bits(status);
}

} // namespace vordal
