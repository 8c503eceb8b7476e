// A ping as it arrives ashore, as a block of its stream.
#include "fleet/detection_block.h"

#include "reference_host/link/echo_blocks.h"

#include <protocol/bytes.h>

#include <cstdint>
#include <vector>

namespace qx5::fleet {

namespace {

std::vector<unsigned char> BytesOf(std::vector<float> const& numbers)
{
    std::vector<unsigned char> bytes(4 * numbers.size());
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        protocol::PutF32LE(bytes, 4 * i, numbers[i]);
    }
    return bytes;
}

} // namespace

CDataBlock BlockOf(authority::DetectionsMessage const& message)
{
    std::vector<unsigned char> beam(2 * message.beam.size());
    for (std::size_t i = 0; i < message.beam.size(); ++i) {
        protocol::PutU16LE(beam, 2 * i, message.beam[i]);
    }
    auto const angle = BytesOf(message.angle);
    auto const travelTime = BytesOf(message.travelTime);
    auto const level = BytesOf(message.level);
    auto const quality = BytesOf(message.quality);
    protocol::DetectionsView view;
    view.head.number = message.ping;
    view.head.utcSeconds = message.utc;
    view.head.soundVelocity = message.soundVelocity;
    view.head.steering = message.steering;
    view.head.beams = message.beams;
    auto const& pose = message.pose;
    view.head.east = pose[0];
    view.head.north = pose[1];
    view.head.depth = pose[2];
    view.head.heading = pose[3];
    view.head.roll = pose[4];
    view.head.pitch = pose[5];
    view.head.heave = pose[6];
    view.count = static_cast<std::uint32_t>(message.beam.size());
    view.beam = beam;
    view.angle = angle;
    view.travelTime = travelTime;
    view.level = level;
    view.quality = quality;
    return vordal::DetectionsBlock(view);
}

} // namespace qx5::fleet
