// The bytes of the records of echoes: what a host asks for, detections, water columns.
#include <protocol/echo_records.h>

#include <array>

#include <protocol/bytes.h>
#include <protocol/unpack.h>

namespace qx5::protocol {

namespace {

using records::DetectionArrays;
using records::WaterColumnArrays;

/// The numbers of the head between its first field and its last, in the order of the table.
constexpr std::array HeadNumbers{&EchoHead::utcSeconds, &EchoHead::soundVelocity, &EchoHead::east, &EchoHead::north,
                                 &EchoHead::depth,      &EchoHead::heading,       &EchoHead::roll, &EchoHead::pitch,
                                 &EchoHead::heave,      &EchoHead::steering};
static_assert(HeadNumbers.size() + 2 == records::EchoHead.size());

constexpr std::size_t OffsetOf(auto const& table, std::size_t furtherField)
{
    return table.Fields()[records::EchoHead.size() + furtherField].offset;
}

void PutHead(std::span<unsigned char> payload, EchoHead const& head)
{
    PutI32LE(payload, records::EchoHead.front().offset, head.number);
    for (std::size_t i = 0; i < HeadNumbers.size(); ++i) {
        PutF64LE(payload, records::EchoHead[i + 1].offset, head.*HeadNumbers[i]);
    }
    PutU32LE(payload, records::EchoHead.back().offset, head.beams);
}

EchoHead GetHead(std::span<unsigned char const> payload)
{
    EchoHead head;
    head.number = GetI32LE(payload, records::EchoHead.front().offset);
    for (std::size_t i = 0; i < HeadNumbers.size(); ++i) {
        head.*HeadNumbers[i] = GetF64LE(payload, records::EchoHead[i + 1].offset);
    }
    head.beams = GetU32LE(payload, records::EchoHead.back().offset);
    return head;
}

std::string TooMany(std::uint32_t count, std::string_view what, std::size_t greatest)
{
    return std::to_string(count) + " " + std::string(what) + ", more than " + std::to_string(greatest);
}

std::string DamageOf(DetectionsView const& view)
{
    if (view.head.beams > GreatestBeams) {
        return TooMany(view.head.beams, "beams", GreatestBeams);
    }
    return view.count > GreatestDetections ? TooMany(view.count, "detections", GreatestDetections) : std::string();
}

std::string DamageOf(WaterColumnView const& view)
{
    if (view.head.beams > GreatestBeams) {
        return TooMany(view.head.beams, "beams", GreatestBeams);
    }
    if (view.samples > GreatestSamples) {
        return TooMany(view.samples, "samples", GreatestSamples);
    }
    if (std::size_t{view.head.beams} * view.samples > GreatestLevels) {
        return std::to_string(view.head.beams) + " beams of " + std::to_string(view.samples) + " samples, more than " +
               std::to_string(GreatestLevels) + " levels";
    }
    return {};
}

DetectionsView DetectionsWithoutArrays(std::span<unsigned char const> payload)
{
    DetectionsView view;
    view.head = GetHead(payload);
    view.count = GetU32LE(payload, OffsetOf(records::Detections, 0));
    return view;
}

WaterColumnView WaterColumnWithoutArrays(std::span<unsigned char const> payload)
{
    WaterColumnView view;
    view.head = GetHead(payload);
    view.samples = GetU32LE(payload, OffsetOf(records::WaterColumn, 0));
    view.interval = GetF64LE(payload, OffsetOf(records::WaterColumn, 1));
    view.floor = GetF64LE(payload, OffsetOf(records::WaterColumn, 2));
    view.step = GetF64LE(payload, OffsetOf(records::WaterColumn, 3));
    return view;
}

/// The record's fixed fields, then where its arrays lie; the payload is looked at no further than its damage.
template <typename View, std::size_t Arrays>
std::optional<View> Decode(RecordLayout const& layout, std::span<unsigned char const> payload,
                           View (*read)(std::span<unsigned char const>), std::array<UnpackedArray, Arrays>& places,
                           std::string& error)
{
    if (payload.size() < layout.size) {
        error = std::to_string(payload.size()) + " bytes are too few for its " + std::to_string(layout.size);
        return std::nullopt;
    }
    View const view = read(payload);
    error = DamageOf(view);
    if (!error.empty()) {
        return std::nullopt;
    }
    auto const size = PlaceArrays(layout, payload, places);
    if (!size || *size != payload.size()) {
        error = "it counts " + std::to_string(size.value_or(0)) + " bytes and has " + std::to_string(payload.size());
        return std::nullopt;
    }
    return view;
}

template <std::size_t Arrays, typename Put>
EchoFrame Begin(RecordLayout const& layout, std::array<UnpackedArray, Arrays> places, Target from, EchoHead const& head,
                Put put)
{
    std::array<unsigned char, records::WaterColumn.Size()> fixed{};
    auto const fields = std::span(fixed).first(layout.size);
    PutHead(fields, head);
    put(fields);
    std::size_t const size = *PlaceArrays(layout, fields, places); // within the limits it is a frame
    EchoFrame frame{std::vector<unsigned char>(size + FrameOverhead), {}};
    WriteFrameHeader(frame.bytes, static_cast<std::uint32_t>(frame.bytes.size()), layout.id, from, head.utcSeconds);
    auto const payload = std::span(frame.bytes).subspan(FrameHeaderSize, size);
    std::copy(fields.begin(), fields.end(), payload.begin());
    for (UnpackedArray const& place : places) {
        frame.arrays.push_back(payload.subspan(place.offset, place.size));
    }
    return frame;
}

} // namespace

std::vector<unsigned char> EncodeEchoRequest(EchoWish wish)
{
    std::vector<unsigned char> payload(records::EchoRequest.Size());
    PutU32LE(payload, 0, (wish.detections ? 1U : 0U) | (wish.waterColumn ? 2U : 0U));
    return payload;
}

std::optional<EchoWish> DecodeEchoRequest(std::span<unsigned char const> payload)
{
    if (payload.size() != records::EchoRequest.Size()) {
        return std::nullopt;
    }
    std::uint32_t const wanted = GetU32LE(payload, 0);
    if (wanted > 3) {
        return std::nullopt;
    }
    return EchoWish{(wanted & 1U) != 0, (wanted & 2U) != 0};
}

std::optional<DetectionsView> DecodeDetections(std::span<unsigned char const> payload, std::string& error)
{
    std::array<UnpackedArray, DetectionArrays.size()> places;
    auto view = Decode(records::Detections, payload, DetectionsWithoutArrays, places, error);
    if (view) {
        std::array const arrays{&view->beam, &view->angle, &view->travelTime, &view->level, &view->quality};
        for (std::size_t i = 0; i < places.size(); ++i) {
            *arrays[i] = payload.subspan(places[i].offset, places[i].size);
        }
    }
    return view;
}

std::optional<WaterColumnView> DecodeWaterColumn(std::span<unsigned char const> payload, std::string& error)
{
    std::array<UnpackedArray, WaterColumnArrays.size()> places;
    auto view = Decode(records::WaterColumn, payload, WaterColumnWithoutArrays, places, error);
    if (view) {
        std::array const arrays{&view->angle, &view->gain, &view->noise, &view->levels};
        for (std::size_t i = 0; i < places.size(); ++i) {
            *arrays[i] = payload.subspan(places[i].offset, places[i].size);
        }
    }
    return view;
}

std::string DamageOfEchoes(std::uint32_t recordId, std::span<unsigned char const> payload)
{
    std::string error;
    if (recordId == records::Detections.Id()) {
        DecodeDetections(payload, error);
    } else {
        DecodeWaterColumn(payload, error);
    }
    return error;
}

std::optional<EchoFrame> BeginDetections(Target from, DetectionsView const& sizes)
{
    if (!DamageOf(sizes).empty()) {
        return std::nullopt;
    }
    return Begin(
        records::Detections, std::array<UnpackedArray, DetectionArrays.size()>{}, from, sizes.head,
        [&](std::span<unsigned char> fields) { PutU32LE(fields, OffsetOf(records::Detections, 0), sizes.count); });
}

std::optional<EchoFrame> BeginWaterColumn(Target from, WaterColumnView const& sizes)
{
    if (!DamageOf(sizes).empty()) {
        return std::nullopt;
    }
    return Begin(records::WaterColumn, std::array<UnpackedArray, WaterColumnArrays.size()>{}, from, sizes.head,
                 [&](std::span<unsigned char> fields) {
                     PutU32LE(fields, OffsetOf(records::WaterColumn, 0), sizes.samples);
                     PutF64LE(fields, OffsetOf(records::WaterColumn, 1), sizes.interval);
                     PutF64LE(fields, OffsetOf(records::WaterColumn, 2), sizes.floor);
                     PutF64LE(fields, OffsetOf(records::WaterColumn, 3), sizes.step);
                 });
}

} // namespace qx5::protocol
