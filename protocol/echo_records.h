// The bytes of the records of echoes: what a host asks for, detections, water columns.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <protocol/frame.h>
#include <protocol/house_records.h>

namespace qx5::protocol {

/// What a record may tell; one that tells more is damaged. A frame of it takes less than 9 MiB.
inline constexpr std::uint32_t GreatestBeams = 2048;
inline constexpr std::uint32_t GreatestSamples = 65536;
inline constexpr std::size_t GreatestLevels = std::size_t{8} << 20; ///< beams x samples
inline constexpr std::uint32_t GreatestDetections = 65536;

struct EchoWish
{
    bool detections = false;
    bool waterColumn = false;

    bool IsAny() const { return detections || waterColumn; }
    friend bool operator==(EchoWish const&, EchoWish const&) = default;
};
std::vector<unsigned char> EncodeEchoRequest(EchoWish wish);
/// Nothing when the payload has another size or a bit set that means nothing.
std::optional<EchoWish> DecodeEchoRequest(std::span<unsigned char const> payload);

/// With what both records begin; see records::EchoHead for units and signs.
struct EchoHead
{
    std::int32_t number = 0; ///< of the ping
    double utcSeconds = 0.0; ///< of transmission
    double soundVelocity = 0.0;
    double east = 0.0;
    double north = 0.0;
    double depth = 0.0;
    double heading = 0.0;
    double roll = 0.0;
    double pitch = 0.0;
    double heave = 0.0;
    double steering = 0.0;
    std::uint32_t beams = 0;
};

/// A record of detections, its arrays as they lie in the payload: little-endian, at any address, each of `count`.
struct DetectionsView
{
    EchoHead head;
    std::uint32_t count = 0;
    std::span<unsigned char const> beam = {};       ///< unsigned 16-bit
    std::span<unsigned char const> angle = {};      ///< floats, as are the others
    std::span<unsigned char const> travelTime = {}; ///< s
    std::span<unsigned char const> level = {};
    std::span<unsigned char const> quality = {};
};

/// A record of a water column, likewise.
struct WaterColumnView
{
    EchoHead head;
    std::uint32_t samples = 0;
    double interval = 0.0;                      ///< s
    double floor = 0.0;                         ///< dB
    double step = 0.0;                          ///< dB
    std::span<unsigned char const> angle = {};  ///< floats, one a beam
    std::span<unsigned char const> gain = {};   ///< floats, one a sample
    std::span<unsigned char const> noise = {};  ///< floats, one a sample
    std::span<unsigned char const> levels = {}; ///< bytes, beam after beam
};

/// Nothing, and why in `error`, when the payload is no such record: too short or too long for what it counts, or beyond
/// the limits above. Copies no array.
std::optional<DetectionsView> DecodeDetections(std::span<unsigned char const> payload, std::string& error);
std::optional<WaterColumnView> DecodeWaterColumn(std::span<unsigned char const> payload, std::string& error);
/// Detections or a water column.
constexpr bool IsOfEchoes(std::uint32_t recordId)
{
    return recordId == records::Detections.Id() || recordId == records::WaterColumn.Id();
}
/// Why that payload is no such record; empty when it is one.
std::string DamageOfEchoes(std::uint32_t recordId, std::span<unsigned char const> payload);

/// A whole frame with all but the numbers of its arrays written: the sender puts these, little-endian, where they lie.
struct EchoFrame
{
    std::vector<unsigned char> bytes;
    /// In the order of the table, into `bytes`: of records::DetectionArrays or records::WaterColumnArrays.
    std::vector<std::span<unsigned char>> arrays;
};
/// Nothing beyond the limits. Of the view its spans are not looked at. The frame's time is that of the head.
std::optional<EchoFrame> BeginDetections(Target from, DetectionsView const& sizes);
std::optional<EchoFrame> BeginWaterColumn(Target from, WaterColumnView const& sizes);

} // namespace qx5::protocol
