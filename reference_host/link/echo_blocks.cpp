// Records of echoes as data blocks.
#include "echo_blocks.h"

#include <VordalDataBlocksR/SonarEchoItems.h>

#include <protocol/bytes.h>

#include <array>
#include <cstdint>

namespace vordal {
namespace {

namespace protocol = qx5::protocol;

void AddArray(CDataBlock& block, SonarEchoItem item, DataItemType type, std::span<unsigned char const> bytes)
{
    block.AddItem(item, type, bytes, static_cast<unsigned>(bytes.size()), 0);
}

void AddWhole(CDataBlock& block, SonarEchoItem item, std::uint32_t number)
{
    std::array<unsigned char, 4> bytes{};
    protocol::PutU32LE(bytes, 0, number);
    AddArray(block, item, DATA_INT32, bytes);
}

template <typename... Reals>
void AddReals(CDataBlock& block, SonarEchoItem item, Reals... numbers)
{
    std::array<unsigned char, 8 * sizeof...(numbers)> bytes{};
    std::size_t at = 0;
    ((protocol::PutF64LE(bytes, at, numbers), at += 8), ...);
    AddArray(block, item, DATA_DOUBLE, bytes);
}

CDataBlock HeadBlock(protocol::EchoHead const& head)
{
    CDataBlock block;
    AddWhole(block, ECHO_PING_NUMBER, static_cast<std::uint32_t>(head.number));
    AddReals(block, ECHO_SOUND_VELOCITY, head.soundVelocity);
    AddReals(block, ECHO_POSE, head.east, head.north, head.depth, head.heading, head.roll, head.pitch, head.heave);
    AddReals(block, ECHO_STEERING, head.steering);
    AddWhole(block, ECHO_BEAM_COUNT, head.beams);
    block.SetTime(head.utcSeconds);
    return block;
}

} // namespace

CDataBlock DetectionsBlock(protocol::DetectionsView const& record)
{
    auto block = HeadBlock(record.head);
    AddArray(block, DETECTION_BEAM, DATA_UINT16, record.beam);
    AddArray(block, DETECTION_ANGLE, DATA_FLOAT, record.angle);
    AddArray(block, DETECTION_TRAVEL_TIME, DATA_FLOAT, record.travelTime);
    AddArray(block, DETECTION_LEVEL, DATA_FLOAT, record.level);
    AddArray(block, DETECTION_QUALITY, DATA_FLOAT, record.quality);
    return block;
}

CDataBlock WaterColumnBlock(protocol::WaterColumnView const& record)
{
    auto block = HeadBlock(record.head);
    AddArray(block, WATER_BEAM_ANGLE, DATA_FLOAT, record.angle);
    AddWhole(block, WATER_SAMPLE_COUNT, record.samples);
    AddReals(block, WATER_SAMPLE_INTERVAL, record.interval);
    AddReals(block, WATER_LEVEL_FLOOR, record.floor);
    AddReals(block, WATER_LEVEL_STEP, record.step);
    AddArray(block, WATER_LEVELS, DATA_BYTE, record.levels);
    AddArray(block, WATER_GAIN, DATA_FLOAT, record.gain);
    AddArray(block, WATER_NOISE, DATA_FLOAT, record.noise);
    return block;
}

} // namespace vordal
