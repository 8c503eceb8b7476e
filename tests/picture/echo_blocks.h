// Blocks of echoes as a host makes them of a sonar's pings, for tests and measurements.
#pragma once

#include <VordalDataBlocksR/CDataBlock.h>
#include <VordalDataBlocksR/SonarEchoItems.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <map>
#include <vector>

namespace picture::test {

/// The items of a block, to be changed before it is made.
class BlockItems
{
public:
    struct Item
    {
        unsigned short type;
        std::vector<unsigned char> bytes;
        unsigned short status = 0;
    };

    template <typename T>
    void Put(unsigned short number, unsigned short type, std::vector<T> const& values)
    {
        Item item{type, std::vector<unsigned char>(values.size() * sizeof(T)), 0};
        if (!values.empty()) {
            std::memcpy(item.bytes.data(), values.data(), item.bytes.size());
        }
        items[number] = item;
    }
    template <typename T>
    void Put(unsigned short number, unsigned short type, T value)
    {
        Put(number, type, std::vector<T>{value});
    }

    CDataBlock Make() const
    {
        CDataBlock block;
        block.SetTime(time);
        for (auto const& [number, item] : items) {
            block.AddItem(number, item.type, item.bytes, static_cast<unsigned>(item.bytes.size()), item.status);
        }
        return block;
    }

    std::map<unsigned short, Item> items;
    double time = 1.8e9;
};

/// A bottom that rises to starboard, with a wreck on it, and what a sonar on a northern course makes of it.
struct MadeSeabed
{
    std::size_t beams = 256;
    std::uint32_t samples = 500;
    double sector = 120.0; ///< degrees
    double range = 75.0;   ///< m
    double soundVelocity = 1500.0;
    double speed = 0.25; ///< m from one ping to the next

    /// Metres below the sonar, at a place across and along track.
    double DepthAt(double across, double north) const
    {
        double const hull = std::exp(-std::pow((across - 14.0) / 4.0, 2.0) - std::pow((north - 20.0) / 14.0, 4.0));
        double const mast = std::exp(-std::pow((across - 14.0) / 0.8, 2.0) - std::pow((north - 20.0) / 1.0, 2.0));
        return 35.0 - 0.12 * across + 0.5 * std::sin(0.35 * (across + 0.4 * north)) - 6.0 * hull - 4.0 * mast;
    }
    std::vector<float> Angles() const
    {
        std::vector<float> angles;
        for (std::size_t i = 0; i < beams; ++i) {
            angles.push_back(static_cast<float>(-sector / 2.0 + sector * static_cast<double>(i) /
                                                                    static_cast<double>(beams > 1 ? beams - 1 : 1)));
        }
        return angles;
    }
    /// Along the beam to the bottom, m.
    double RangeOf(float angle, double north) const
    {
        double const radians = angle * 3.141592653589793 / 180.0;
        double far = 35.0 / std::cos(radians);
        for (int i = 0; i < 12; ++i) {
            far += 0.7 * (DepthAt(far * std::sin(radians), north) / std::cos(radians) - far);
        }
        return far;
    }
    BlockItems Head(std::int32_t ping) const
    {
        BlockItems made;
        made.time += 0.1 * ping;
        made.Put(ECHO_PING_NUMBER, DATA_INT32, ping);
        made.Put(ECHO_SOUND_VELOCITY, DATA_DOUBLE, soundVelocity);
        made.Put(ECHO_POSE, DATA_DOUBLE, std::vector<double>{0.0, speed * ping, 2.0, 0.0, 0.0, 0.0, 0.0});
        made.Put(ECHO_STEERING, DATA_DOUBLE, 0.0);
        made.Put(ECHO_BEAM_COUNT, DATA_INT32, static_cast<std::int32_t>(beams));
        return made;
    }
    BlockItems Water(std::int32_t ping) const
    {
        BlockItems made = Head(ping);
        double const length = range / samples;
        std::vector<std::uint8_t> levels(beams * samples);
        auto const angles = Angles();
        std::uint32_t seed = 12345U + static_cast<std::uint32_t>(ping) * 2654435761U;
        for (std::size_t beam = 0; beam < beams; ++beam) {
            double const bottom = RangeOf(angles[beam], speed * ping);
            double const width = 0.4 + 0.012 * std::abs(angles[beam]);
            for (std::uint32_t i = 0; i < samples; ++i) {
                seed = seed * 1664525U + 1013904223U;
                double const speckle = 14.0 * static_cast<double>(seed >> 16) / 65536.0;
                double const off = ((i + 0.5) * length - bottom) / width;
                double const echo = 150.0 * std::exp(-off * off) + (off > 0.0 ? 45.0 * std::exp(-off / 14.0) : 0.0);
                levels[beam * samples + i] =
                    static_cast<std::uint8_t>(std::clamp(30.0 + speckle + 0.02 * i + echo, 0.0, 255.0));
            }
        }
        made.Put(WATER_BEAM_ANGLE, DATA_FLOAT, angles);
        made.Put(WATER_SAMPLE_COUNT, DATA_INT32, static_cast<std::int32_t>(samples));
        made.Put(WATER_SAMPLE_INTERVAL, DATA_DOUBLE, 2.0 * length / soundVelocity);
        made.Put(WATER_LEVEL_FLOOR, DATA_DOUBLE, 40.0);
        made.Put(WATER_LEVEL_STEP, DATA_DOUBLE, 0.5);
        made.Put(WATER_LEVELS, DATA_BYTE, levels);
        std::vector<float> gain;
        std::vector<float> noise;
        for (std::uint32_t i = 0; i < samples; ++i) {
            gain.push_back(static_cast<float>(20.0 + 20.0 * std::log10(1.0 + (i + 0.5) * length)));
            noise.push_back(58.0F + 0.01F * static_cast<float>(i));
        }
        made.Put(WATER_GAIN, DATA_FLOAT, gain);
        made.Put(WATER_NOISE, DATA_FLOAT, noise);
        return made;
    }
    BlockItems Detections(std::int32_t ping) const
    {
        BlockItems made = Head(ping);
        std::vector<std::uint16_t> beam;
        std::vector<float> time;
        std::vector<float> level;
        std::vector<float> quality;
        auto const angles = Angles();
        for (std::size_t i = 0; i < beams; ++i) {
            beam.push_back(static_cast<std::uint16_t>(i));
            time.push_back(static_cast<float>(2.0 * RangeOf(angles[i], speed * ping) / soundVelocity));
            level.push_back(120.0F - 0.3F * std::abs(angles[i]));
            quality.push_back(std::abs(angles[i]) > 55.0F ? 0.3F : 0.9F);
        }
        made.Put(DETECTION_BEAM, DATA_UINT16, beam);
        made.Put(DETECTION_ANGLE, DATA_FLOAT, angles);
        made.Put(DETECTION_TRAVEL_TIME, DATA_FLOAT, time);
        made.Put(DETECTION_LEVEL, DATA_FLOAT, level);
        made.Put(DETECTION_QUALITY, DATA_FLOAT, quality);
        return made;
    }
};

} // namespace picture::test
