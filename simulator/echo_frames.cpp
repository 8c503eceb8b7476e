// What the simulated sonar heard as frames for its hosts, and how much of it a ping brings.
#include <simulator/echo_frames.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

#include <protocol/bytes.h>
#include <protocol/echo_records.h>

namespace qx5::simulator {

namespace {

protocol::EchoHead HeadOf(acoustics::PingEchoes const& echoes)
{
    return {.number = echoes.number,
            .utcSeconds = echoes.utcSeconds,
            .soundVelocity = echoes.soundSpeed,
            .east = echoes.pose.east,
            .north = echoes.pose.north,
            .depth = echoes.pose.depth,
            .heading = echoes.pose.heading,
            .roll = echoes.pose.roll,
            .pitch = echoes.pose.pitch,
            .heave = echoes.pose.heave,
            .steering = echoes.steering,
            .beams = echoes.beams};
}

void PutFloats(std::span<unsigned char> bytes, std::vector<float> const& numbers)
{
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(bytes.data(), numbers.data(), bytes.size());
    } else {
        for (std::size_t i = 0; i < numbers.size(); ++i) {
            protocol::PutF32LE(bytes, 4 * i, numbers[i]);
        }
    }
}

SharedBytes Shared(protocol::EchoFrame&& frame)
{
    return std::make_shared<std::vector<unsigned char> const>(std::move(frame.bytes));
}

} // namespace

SharedBytes DetectionsFrame(protocol::Target from, acoustics::PingEchoes const& echoes)
{
    auto const& detections = echoes.detections;
    if (detections.size() > protocol::GreatestDetections) {
        return nullptr;
    }
    protocol::DetectionsView sizes;
    sizes.head = HeadOf(echoes);
    sizes.count = static_cast<std::uint32_t>(detections.size());
    auto frame = protocol::BeginDetections(from, sizes);
    if (!frame) {
        return nullptr;
    }
    for (std::size_t i = 0; i < detections.size(); ++i) {
        acoustics::Detection const& detection = detections[i];
        protocol::PutU16LE(frame->arrays[0], 2 * i, detection.beam);
        protocol::PutF32LE(frame->arrays[1], 4 * i, detection.angle);
        protocol::PutF32LE(frame->arrays[2], 4 * i, detection.travelTime);
        protocol::PutF32LE(frame->arrays[3], 4 * i, detection.level);
        protocol::PutF32LE(frame->arrays[4], 4 * i, detection.quality);
    }
    return Shared(std::move(*frame));
}

SharedBytes WaterColumnFrame(protocol::Target from, acoustics::PingEchoes const& echoes)
{
    acoustics::WaterColumn const& water = echoes.water;
    protocol::WaterColumnView sizes;
    sizes.head = HeadOf(echoes);
    sizes.head.beams = static_cast<std::uint32_t>(water.angles.size());
    sizes.samples = water.samples;
    sizes.interval = water.interval;
    sizes.floor = water.floor;
    sizes.step = water.step;
    if (water.angles.size() > protocol::GreatestBeams || water.gain.size() != water.samples ||
        water.noise.size() != water.samples || water.levels.size() != water.angles.size() * water.samples) {
        return nullptr;
    }
    auto frame = protocol::BeginWaterColumn(from, sizes);
    if (!frame) {
        return nullptr;
    }
    PutFloats(frame->arrays[0], water.angles);
    PutFloats(frame->arrays[1], water.gain);
    PutFloats(frame->arrays[2], water.noise);
    std::copy(water.levels.begin(), water.levels.end(), frame->arrays[3].begin());
    return Shared(std::move(*frame));
}

std::size_t BytesOfPing(acoustics::PingSettings const& settings)
{
    std::vector<float> angles;
    acoustics::FillBeamAngles(settings, settings.depth, angles);
    std::size_t const beams = angles.size();
    std::size_t const samples = acoustics::SamplingOf(settings).samples;
    std::size_t const heads = protocol::records::Detections.Size() + protocol::records::WaterColumn.Size();
    return 2 * protocol::FrameOverhead + heads + beams * (2 + 4 * 4) + beams * 4 + samples * (4 + 4) + beams * samples;
}

} // namespace qx5::simulator
