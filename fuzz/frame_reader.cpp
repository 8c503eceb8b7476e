// Fuzzes the frame reader: however a stream is cut into pieces, it gives the same frames, and they print.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include <protocol/frame_reader.h>
#include <protocol/print.h>

namespace {

using Frames = std::vector<std::vector<unsigned char>>;

void Take(qx5::protocol::FrameReader& reader, Frames& frames)
{
    while (auto const frame = reader.Next()) {
        frames.emplace_back(frame->bytes.begin(), frame->bytes.end());
        qx5::protocol::PrintFrame(*frame);
    }
}

Frames Read(std::span<unsigned char const> stream, std::size_t piece)
{
    qx5::protocol::FrameReader reader;
    Frames frames;
    for (std::size_t at = 0; at < stream.size(); at += piece) {
        reader.Feed(stream.subspan(at, std::min(piece, stream.size() - at)));
        Take(reader, frames);
    }
    reader.Finish();
    Take(reader, frames);
    std::size_t good = 0;
    for (auto const& frame : frames)
        good += frame.size();
    if (good + reader.SkippedBytes() != stream.size() || reader.BufferedBytes() != 0)
        std::abort();
    return frames;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size == 0)
        return 0;
    std::span<unsigned char const> const stream(data + 1, size - 1);
    if (Read(stream, stream.size() + 1) != Read(stream, std::size_t{data[0]} + 1))
        std::abort();
    return 0;
}
