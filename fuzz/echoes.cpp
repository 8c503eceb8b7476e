// Fuzzes records of echoes: any bytes as a host takes them, and what it makes of them as a data block.
#include <protocol/echo_records.h>
#include <protocol/unpack.h>
#include <reference_host/link/echo_blocks.h>

#include <VordalDataBlocksR/SonarEchoItems.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string>

namespace {

using namespace qx5::protocol;

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

std::size_t SizeOf(CDataBlock const& block, unsigned short item)
{
    unsigned short index = 0;
    Require(block.LookUp(item, ADDR_FIRST_OF_ITEM, index));
    return block.GetItem(index)->size;
}

void TakeDetections(std::span<unsigned char const> payload)
{
    std::string error;
    auto const view = DecodeDetections(payload, error);
    Require(view.has_value() == error.empty());
    if (!view) {
        return;
    }
    Require(view->head.beams <= GreatestBeams && view->count <= GreatestDetections);
    Require(view->quality.data() + view->quality.size() == payload.data() + payload.size());
    auto const block = vordal::DetectionsBlock(*view);
    Require(SizeOf(block, DETECTION_BEAM) == std::size_t{2} * view->count);
    Require(SizeOf(block, DETECTION_QUALITY) == std::size_t{4} * view->count);
    // What is read is what would be written, but for the arrays.
    auto const again = BeginDetections(OwnSonar, *view);
    Require(again && again->bytes.size() == payload.size() + FrameOverhead);
}

void TakeWaterColumn(std::span<unsigned char const> payload)
{
    std::string error;
    auto const view = DecodeWaterColumn(payload, error);
    Require(view.has_value() == error.empty());
    if (!view) {
        return;
    }
    Require(view->levels.size() == std::size_t{view->head.beams} * view->samples);
    Require(view->levels.size() <= GreatestLevels);
    auto const block = vordal::WaterColumnBlock(*view);
    Require(SizeOf(block, WATER_LEVELS) == view->levels.size());
    Require(SizeOf(block, WATER_GAIN) == std::size_t{4} * view->samples);
    auto const again = BeginWaterColumn(OwnSonar, *view);
    Require(again && again->bytes.size() == payload.size() + FrameOverhead);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::span<unsigned char const> const payload(data, size);
    TakeDetections(payload);
    TakeWaterColumn(payload);
    if (auto const wish = DecodeEchoRequest(payload)) {
        auto const again = EncodeEchoRequest(*wish);
        Require(std::equal(again.begin(), again.end(), payload.begin(), payload.end()));
    }
    return 0;
}
