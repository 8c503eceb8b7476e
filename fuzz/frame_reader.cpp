// Fuzzes the frame reader: however a stream is cut into pieces it gives the same frames, and doubting an unfinished one
// loses none that lies whole in the stream behind it.
#include <protocol/frame_reader.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <span>
#include <vector>

namespace {

using qx5::protocol::FrameReader;

/// Where a frame stood in the stream.
struct Found
{
    std::uint64_t begin;
    std::size_t size;

    friend bool operator==(Found const&, Found const&) = default;
};

void Require(bool holds)
{
    if (!holds) {
        std::abort();
    }
}

void Take(FrameReader& reader, std::span<unsigned char const> stream, std::vector<Found>& found)
{
    while (auto const frame = reader.Next()) {
        Found const one{reader.Position() - frame->bytes.size(), frame->bytes.size()};
        auto const there = stream.subspan(static_cast<std::size_t>(one.begin), one.size);
        Require(std::equal(there.begin(), there.end(), frame->bytes.begin(), frame->bytes.end()));
        found.push_back(one);
    }
}

/// In one piece up to the place that `cut` tells in 256ths, there byte by byte for a while, then in a few pieces. With
/// `doubting` an unfinished frame is doubted behind each of them.
void Read(std::span<unsigned char const> stream, std::uint8_t cut, bool doubting, std::vector<Found>& found)
{
    found.clear();
    FrameReader reader(std::size_t{1} << 20);
    std::size_t const singlesFrom = stream.size() * cut / 256;
    std::size_t const singlesTo = std::min(singlesFrom + 16, stream.size());
    for (std::size_t at = 0; at < stream.size();) {
        std::size_t const piece = at < singlesFrom ? singlesFrom
                                  : at < singlesTo ? 1
                                                   : (stream.size() - singlesTo) / 4 + 1;
        auto const bytes = stream.subspan(at, std::min(piece, stream.size() - at));
        at += bytes.size();
        reader.Feed(bytes);
        Take(reader, stream, found);
        if (doubting) {
            reader.DoubtUnfinished();
            Take(reader, stream, found);
        }
        Require(reader.Position() + reader.BufferedBytes() == at);
    }
    reader.Finish();
    Take(reader, stream, found);
    std::size_t good = 0;
    for (auto const& frame : found) {
        good += frame.size;
    }
    Require(good + reader.SkippedBytes() == stream.size() && reader.BufferedBytes() == 0);
    Require(reader.GoodFrames() == found.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    static std::vector<Found> whole;
    static std::vector<Found> pieces;
    if (size == 0) {
        return 0;
    }
    std::span<unsigned char const> const stream(data + 1, size - 1);
    Read(stream, 255, false, whole);
    Read(stream, data[0], false, pieces);
    Require(whole == pieces);
    Read(stream, data[0], true, pieces);
    return 0;
}
