// Reading blocks of echoes: nothing of them is believed before it was looked at.
#include "echo_blocks.h"

#include <VordalDataBlocksR/SonarEchoItems.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>

namespace picture {

namespace {

// Items are little-endian; their bytes are taken as they lie.
static_assert(std::endian::native == std::endian::little);

/// Reads items of one block; the first that is not as it should be is told, and all that follows fails.
class Reader
{
public:
    Reader(CDataBlock const& block, Label& why) : m_block(block), m_why(why)
    {
        constexpr unsigned badBlock = 0x3F;
        if ((block.GetStatus() & badBlock) != 0) {
            Fail("is marked as bad", 0);
        }
    }

    bool IsGood() const { return m_isGood; }

    void Fail(std::string_view what, unsigned item)
    {
        if (m_isGood) {
            m_isGood = false;
            m_why.Clear();
            m_why << "A block of the sonar's echoes cannot be shown: ";
            if (item != 0) {
                m_why << "item ";
                m_why.Number(item, 0) << " ";
            } else {
                m_why << "it ";
            }
            m_why << what << ".";
        }
    }

    /// The item's bytes; null, and the failure, when it is not there as that type with so many elements.
    CDataItem const* Item(unsigned short number, unsigned short type, std::size_t elementSize, std::size_t elements)
    {
        auto const* const item = Find(number, type, elementSize);
        if (item != nullptr && item->size != std::uint64_t{elementSize} * elements) {
            Fail("has another size than it should have", number);
            return nullptr;
        }
        return item;
    }
    /// The same of whatever number of elements.
    CDataItem const* Find(unsigned short number, unsigned short type, std::size_t elementSize)
    {
        if (!m_isGood) {
            return nullptr;
        }
        unsigned short index = 0;
        CDataItem const* const item =
            m_block.LookUp(number, ADDR_FIRST_OF_ITEM, index) ? m_block.GetItem(index) : nullptr;
        if (item == nullptr) {
            Fail("is not there", number);
        } else if (item->status != 0) {
            Fail("is marked as bad", number);
        } else if (item->type != type) {
            Fail("has another type than it should have", number);
        } else if (item->size % elementSize != 0) {
            Fail("has another size than it should have", number);
        } else if (item->data == nullptr && item->size != 0) {
            Fail("has no data", number);
        } else {
            return item;
        }
        return nullptr;
    }
    bool Has(unsigned short number) const
    {
        unsigned short index = 0;
        return m_block.LookUp(number, ADDR_FIRST_OF_ITEM, index);
    }

    template <typename T>
    T One(unsigned short number, unsigned short type)
    {
        T value{};
        if (auto const* const item = Item(number, type, sizeof(T), 1)) {
            std::memcpy(&value, item->data, sizeof(T));
        }
        return value;
    }
    /// A double that is finite, and positive where that is asked for.
    double Number(unsigned short number, bool isPositive = false)
    {
        auto const value = One<double>(number, DATA_DOUBLE);
        if (m_isGood && (!std::isfinite(value) || (isPositive && value <= 0.0))) {
            Fail("has a number that cannot be", number);
        }
        return value;
    }
    void Floats(unsigned short number, std::size_t elements, std::vector<float>& into)
    {
        into.clear();
        if (auto const* const item = Item(number, DATA_FLOAT, sizeof(float), elements); item != nullptr) {
            into.resize(elements);
            if (elements > 0) {
                std::memcpy(into.data(), item->data, item->size);
            }
            if (!std::all_of(into.begin(), into.end(), [](float each) { return std::isfinite(each); })) {
                Fail("has a number that cannot be", number);
            }
        }
    }

    void Head(PingHead& head)
    {
        head.time = m_block.GetTime();
        if (!std::isfinite(head.time)) {
            Fail("has no time", 0);
        }
        head.number = One<std::int32_t>(ECHO_PING_NUMBER, DATA_INT32);
        head.soundVelocity = Number(ECHO_SOUND_VELOCITY, true);
        head.steering = Number(ECHO_STEERING);
        std::array<double, 7> pose{};
        if (auto const* const item = Item(ECHO_POSE, DATA_DOUBLE, sizeof(double), pose.size())) {
            std::memcpy(pose.data(), item->data, sizeof pose);
            if (!std::all_of(pose.begin(), pose.end(), [](double each) { return std::isfinite(each); })) {
                Fail("has a number that cannot be", ECHO_POSE);
            }
        }
        head.pose = {pose[0], pose[1], pose[2], pose[3], pose[4], pose[5], pose[6]};
    }

private:
    CDataBlock const& m_block;
    Label& m_why;
    bool m_isGood = true;
};

} // namespace

bool ReadWater(CDataBlock const& block, WaterPing& ping, Label& why)
{
    Reader reader(block, why);
    reader.Head(ping);
    auto const* const angles = reader.Find(WATER_BEAM_ANGLE, DATA_FLOAT, sizeof(float));
    std::size_t const beams = angles != nullptr ? angles->size / sizeof(float) : 0;
    if (beams > mostBeams) {
        reader.Fail("tells more beams than can be shown", WATER_BEAM_ANGLE);
    } else {
        reader.Floats(WATER_BEAM_ANGLE, beams, ping.angles);
    }
    if (!std::is_sorted(ping.angles.begin(), ping.angles.end()) ||
        (!ping.angles.empty() && (ping.angles.front() < -180.0F || ping.angles.back() > 180.0F))) {
        reader.Fail("has angles that do not ascend from port to starboard", WATER_BEAM_ANGLE);
    }
    auto const samples = reader.One<std::int32_t>(WATER_SAMPLE_COUNT, DATA_INT32);
    if (samples < 0 || static_cast<std::uint32_t>(samples) > mostSamples) {
        reader.Fail("tells more samples than can be shown", WATER_SAMPLE_COUNT);
    }
    ping.samples = static_cast<std::uint32_t>(std::max(samples, 0));
    ping.interval = reader.Number(WATER_SAMPLE_INTERVAL, true);
    ping.floor = reader.Number(WATER_LEVEL_FLOOR);
    ping.step = reader.Number(WATER_LEVEL_STEP, true);
    ping.gain.clear();
    ping.noise.clear();
    if (reader.Has(WATER_GAIN)) {
        reader.Floats(WATER_GAIN, ping.samples, ping.gain);
    }
    if (reader.Has(WATER_NOISE)) {
        reader.Floats(WATER_NOISE, ping.samples, ping.noise);
    }
    // No sound comes back from a thousand kilometres.
    if (reader.IsGood() && !(ping.Range() < 1e6)) {
        reader.Fail("has a number that cannot be", WATER_SAMPLE_INTERVAL);
    }
    ping.levels = {};
    if (auto const* const levels = reader.Item(WATER_LEVELS, DATA_BYTE, 1, beams * std::size_t{ping.samples})) {
        ping.levels = {static_cast<std::uint8_t const*>(levels->data), levels->size};
    }
    return reader.IsGood();
}

bool ReadDetections(CDataBlock const& block, DetectionPing& ping, Label& why)
{
    Reader reader(block, why);
    reader.Head(ping);
    auto const beams = reader.One<std::int32_t>(ECHO_BEAM_COUNT, DATA_INT32);
    if (beams < 0 || static_cast<std::uint32_t>(beams) > mostBeams) {
        reader.Fail("tells more beams than can be shown", ECHO_BEAM_COUNT);
    }
    ping.beams = static_cast<std::uint32_t>(std::max(beams, 0));
    ping.detections.clear();
    constexpr std::size_t each = sizeof(std::uint16_t);
    constexpr std::size_t mostToABeam = 8;
    auto const* const beamItem = reader.Find(DETECTION_BEAM, DATA_UINT16, each);
    std::size_t const count = beamItem != nullptr ? beamItem->size / each : 0;
    if (count > mostToABeam * mostBeams) {
        reader.Fail("tells more detections than can be shown", DETECTION_BEAM);
    }
    auto const* const angles = reader.Item(DETECTION_ANGLE, DATA_FLOAT, sizeof(float), count);
    auto const* const times = reader.Item(DETECTION_TRAVEL_TIME, DATA_FLOAT, sizeof(float), count);
    auto const* const levels = reader.Item(DETECTION_LEVEL, DATA_FLOAT, sizeof(float), count);
    auto const* const qualities = reader.Item(DETECTION_QUALITY, DATA_FLOAT, sizeof(float), count);
    if (!reader.IsGood()) {
        return false;
    }
    auto const floatAt = [](CDataItem const* item, std::size_t i) {
        float value = 0.0F;
        std::memcpy(&value, static_cast<unsigned char const*>(item->data) + i * sizeof value, sizeof value);
        return value;
    };
    ping.detections.reserve(count);
    for (std::size_t i = 0; i < count; ++i) {
        Detection detection;
        std::memcpy(&detection.beam, static_cast<unsigned char const*>(beamItem->data) + i * each, each);
        detection.angle = floatAt(angles, i);
        detection.range = static_cast<float>(floatAt(times, i) * ping.soundVelocity / 2.0);
        detection.level = floatAt(levels, i);
        detection.quality = floatAt(qualities, i);
        auto const check = [&reader](float value, unsigned item, bool isGood = true) {
            if (!std::isfinite(value) || !isGood) {
                reader.Fail("has a number that cannot be", item);
            }
        };
        check(detection.angle, DETECTION_ANGLE);
        check(detection.range, DETECTION_TRAVEL_TIME, detection.range >= 0.0F);
        check(detection.level, DETECTION_LEVEL);
        check(detection.quality, DETECTION_QUALITY);
        if (!reader.IsGood()) {
            ping.detections.clear();
            return false;
        }
        ping.detections.push_back(detection);
    }
    return true;
}

} // namespace picture
