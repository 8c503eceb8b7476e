// Frames out of streams that come in pieces and carry damage.
#include <random>

#include <gtest/gtest.h>

#include <protocol/frame_reader.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

using Frames = std::vector<std::vector<unsigned char>>;

std::vector<unsigned char> FirstFrame()
{
    return BuildRemoteControlRecord(1003, Bytes("00004842"), OwnSonar, 1700000000.0);
}

std::vector<unsigned char> SecondFrame()
{
    return BuildFrame(7611, Target{7125, 0}, 1700000000.0, Bytes("00007042"));
}

/// The fixed start of a frame that claims `size` bytes.
std::vector<unsigned char> Claim(std::uint32_t size)
{
    auto bytes = Bytes("0500 3c00 ffff0000");
    for (unsigned shift = 0; shift < 32; shift += 8) {
        bytes.push_back(static_cast<unsigned char>((size >> shift) & 0xFFU));
    }
    return bytes;
}

Frames TakeAll(FrameReader& reader)
{
    Frames frames;
    while (auto const frame = reader.Next()) {
        frames.push_back(Copy(frame->bytes));
    }
    return frames;
}

/// All frames of a stream that then ends.
Frames ReadWhole(FrameReader& reader, std::vector<unsigned char> const& stream)
{
    reader.Feed(stream);
    auto frames = TakeAll(reader);
    reader.Finish();
    for (auto& frame : TakeAll(reader)) {
        frames.push_back(std::move(frame));
    }
    return frames;
}

TEST(FrameReader, GivesBackTheMemoryOfALargeFrame)
{
    constexpr std::size_t large = std::size_t{17} << 20;
    auto frame = BuildFrame(7000, OwnSonar, 1700000000.0, std::vector<unsigned char>(large));
    for (std::size_t const further : {0U, 1U, 100U}) {
        FrameReader reader;
        auto stream = frame;
        auto const next = FirstFrame();
        stream.insert(stream.end(), next.begin(),
                      next.begin() + static_cast<std::ptrdiff_t>(std::min(further, next.size())));
        for (std::size_t at = 0; at < stream.size(); at += 65536) {
            reader.Feed(std::span(stream).subspan(at, std::min<std::size_t>(65536, stream.size() - at)));
        }
        ASSERT_TRUE(reader.Next());
        EXPECT_GE(reader.HeldMemory(), large);
        EXPECT_EQ(reader.Next().has_value(), further >= next.size());
        reader.Feed({});
        EXPECT_LE(reader.HeldMemory(), std::size_t{4} << 20) << further;
        EXPECT_EQ(reader.SkippedBytes(), 0U);
    }
}

TEST(FrameReader, TwoFramesAtEverySplitPosition)
{
    auto const stream = Join({FirstFrame(), SecondFrame()});
    for (std::size_t split = 0; split <= stream.size(); ++split) {
        FrameReader reader;
        reader.Feed(std::span(stream).first(split));
        auto frames = TakeAll(reader);
        EXPECT_EQ(frames.size(), split < 96 ? 0U : split < stream.size() ? 1U : 2U) << "split at " << split;
        reader.Feed(std::span(stream).subspan(split));
        for (auto& frame : TakeAll(reader)) {
            frames.push_back(std::move(frame));
        }
        ASSERT_EQ(frames.size(), 2U) << "split at " << split;
        EXPECT_EQ(frames[0], FirstFrame());
        EXPECT_EQ(frames[1], SecondFrame());
        EXPECT_EQ(reader.SkippedBytes(), 0U);
        EXPECT_EQ(reader.DamagedFrames(), 0U);
        EXPECT_EQ(reader.BufferedBytes(), 0U);
    }
}

TEST(FrameReader, ByteByByte)
{
    auto const stream = Join({Bytes("05 05 00"), FirstFrame(), Bytes("05"), SecondFrame()});
    FrameReader reader;
    std::size_t frames = 0;
    for (std::size_t i = 0; i < stream.size(); ++i) {
        reader.Feed(std::span(stream).subspan(i, 1));
        frames += TakeAll(reader).size();
    }
    EXPECT_EQ(frames, 2U);
    EXPECT_EQ(reader.GoodFrames(), 2U);
    EXPECT_EQ(reader.SkippedBytes(), 4U);
    EXPECT_EQ(reader.DamagedFrames(), 0U);
}

TEST(FrameReader, GarbageBeforeBetweenAndAfter)
{
    FrameReader reader;
    auto const frames = ReadWhole(reader, Join({Bytes("0102030405"), FirstFrame(), Bytes("ffff0000 0500"),
                                                SecondFrame(), Bytes("0500 3c00 ffff")}));
    EXPECT_EQ(frames, (Frames{FirstFrame(), SecondFrame()}));
    EXPECT_EQ(reader.SkippedBytes(), 5U + 6U + 6U);
    EXPECT_EQ(reader.BufferedBytes(), 0U);
}

TEST(FrameReader, ASyncWordInGarbageMisleadsNobody)
{
    FrameReader reader;
    auto const garbage = Bytes("aa ffff0000 0500 3d00 ffff0000 0600 3c00 ffff0000 bb");
    EXPECT_EQ(ReadWhole(reader, Join({garbage, FirstFrame()})), Frames{FirstFrame()});
    EXPECT_EQ(reader.SkippedBytes(), garbage.size());
    EXPECT_EQ(reader.DamagedFrames(), 0U);
}

TEST(FrameReader, ImpossibleSizesAreSkippedAtOnce)
{
    for (std::uint32_t const size : {0U, 67U, static_cast<std::uint32_t>(MaximumFrameSize) + 1U, 0xFFFFFFFFU}) {
        FrameReader reader;
        reader.Feed(Join({Claim(size), FirstFrame()}));
        EXPECT_EQ(TakeAll(reader), Frames{FirstFrame()}) << size;
        EXPECT_EQ(reader.SkippedBytes(), 12U);
        EXPECT_EQ(reader.DamagedFrames(), 0U);
    }
}

TEST(FrameReader, ItsOwnLimitCountsToo)
{
    FrameReader reader(95);
    EXPECT_EQ(ReadWhole(reader, Join({FirstFrame(), SecondFrame()})), Frames{SecondFrame()});
    EXPECT_EQ(reader.SkippedBytes(), 96U);
}

TEST(FrameReader, GoesOnInsideADamagedFrame)
{
    // A start that claims to reach into the middle of the second of two good frames.
    auto const claim = Claim(12 + 96 + 40);
    FrameReader reader;
    reader.Feed(Join({claim, FirstFrame(), SecondFrame()}));
    // Byte 36 of the second frame, the device id 7125, is where the trailing word would be.
    EXPECT_EQ(TakeAll(reader), (Frames{FirstFrame(), SecondFrame()}));
    EXPECT_EQ(reader.DamagedFrames(), 1U);
    EXPECT_EQ(reader.SkippedBytes(), 12U);
}

TEST(FrameReader, AWrongTrailingWordCostsOneFrame)
{
    auto damaged = FirstFrame();
    damaged.back() = 1;
    FrameReader reader;
    EXPECT_EQ(ReadWhole(reader, Join({damaged, SecondFrame()})), Frames{SecondFrame()});
    EXPECT_EQ(reader.DamagedFrames(), 1U);
    EXPECT_EQ(reader.SkippedBytes(), 96U);
}

TEST(FrameReader, TheEndOfTheStreamFreesWhatAFalseClaimHeldBack)
{
    FrameReader reader;
    reader.Feed(Join({Claim(100000), FirstFrame(), SecondFrame()}));
    EXPECT_TRUE(TakeAll(reader).empty());
    reader.Finish();
    EXPECT_EQ(TakeAll(reader), (Frames{FirstFrame(), SecondFrame()}));
    EXPECT_EQ(reader.DamagedFrames(), 1U);
    EXPECT_EQ(reader.SkippedBytes(), 12U);
}

TEST(FrameReader, AnUnfinishedFrameAtTheEndIsDamaged)
{
    FrameReader reader;
    auto const frame = FirstFrame();
    reader.Feed(std::span(frame).first(95));
    reader.Finish();
    EXPECT_FALSE(reader.Next());
    EXPECT_EQ(reader.DamagedFrames(), 1U);
    EXPECT_EQ(reader.SkippedBytes(), 95U);
}

TEST(FrameReader, EndlessGarbageCostsNoMemory)
{
    std::mt19937 random(1);
    std::vector<unsigned char> garbage(4096);
    FrameReader reader;
    for (int round = 0; round < 500; ++round) {
        for (auto& byte : garbage) {
            byte = static_cast<unsigned char>(random() & 0xFFU);
        }
        reader.Feed(garbage);
        EXPECT_FALSE(reader.Next());
        ASSERT_LT(reader.BufferedBytes(), 12U);
    }
    EXPECT_EQ(reader.SkippedBytes() + reader.BufferedBytes(), 500U * 4096U);
}

TEST(FrameReader, AStreamOfNothingButStartsTakesLinearTime)
{
    // Each start claims as much as is allowed and none of them ends well: a reader that rescanned what it holds for
    // each of them would not come to an end here.
    std::vector<unsigned char> starts;
    auto const claim = Claim(1U << 20);
    while (starts.size() < 3U << 20) {
        starts.insert(starts.end(), claim.begin(), claim.end());
    }
    FrameReader reader;
    for (std::size_t at = 0; at < starts.size(); at += 1000) {
        reader.Feed(std::span(starts).subspan(at, std::min<std::size_t>(1000, starts.size() - at)));
    }
    EXPECT_EQ(TakeAll(reader).size(), 0U);
    EXPECT_GT(reader.DamagedFrames(), 100000U);
    EXPECT_LE(reader.BufferedBytes(), std::size_t{1} << 20);
    // The last of the claims end in here, none of them well.
    reader.Feed(std::vector<unsigned char>(1U << 20, 0xEE));
    reader.Feed(FirstFrame());
    EXPECT_EQ(TakeAll(reader), Frames{FirstFrame()});
    EXPECT_EQ(reader.BufferedBytes(), 0U);
}

TEST(FrameReader, ADoubtedFrameGivesTheGoodOnesInside)
{
    // A start that claims 1 MiB, half of another that claims 2, and two good frames of which the second comes in
    // pieces.
    auto const stream = Join({Claim(1U << 20), Bytes("aa"), Claim(2U << 20), FirstFrame(), SecondFrame()});
    FrameReader reader;
    reader.Feed(std::span(stream).first(25 + 96 + 50));
    EXPECT_TRUE(TakeAll(reader).empty());
    EXPECT_EQ(reader.Position(), 0U);
    reader.DoubtUnfinished();
    EXPECT_EQ(TakeAll(reader), Frames{FirstFrame()});
    EXPECT_EQ(reader.SkippedBytes(), 25U);
    EXPECT_EQ(reader.DamagedFrames(), 1U);
    EXPECT_EQ(reader.Position(), 25U + 96U);
    reader.Feed(std::span(stream).subspan(25 + 96 + 50));
    EXPECT_EQ(TakeAll(reader), Frames{SecondFrame()});
    EXPECT_EQ(reader.SkippedBytes(), 25U);
    EXPECT_EQ(reader.BufferedBytes(), 0U);
}

TEST(FrameReader, ADoubtedFrameGivesWhatArrivesInsideLater)
{
    FrameReader reader;
    reader.Feed(Claim(1U << 20));
    reader.DoubtUnfinished();
    reader.Feed(std::vector<unsigned char>(100000, 0x05));
    EXPECT_TRUE(TakeAll(reader).empty());
    auto const frame = FirstFrame();
    for (std::size_t i = 0; i < frame.size(); ++i) {
        EXPECT_TRUE(TakeAll(reader).empty());
        reader.Feed(std::span(frame).subspan(i, 1));
    }
    EXPECT_EQ(TakeAll(reader), Frames{FirstFrame()});
    EXPECT_EQ(reader.SkippedBytes(), 12U + 100000U);
}

TEST(FrameReader, ADoubtedFrameWithNoneInsideStillArrives)
{
    // 16 MiB of every byte, among them starts of frames that are none.
    std::mt19937 random(2);
    std::vector<unsigned char> data((16U << 20) - 68);
    for (auto& byte : data) {
        byte = static_cast<unsigned char>(random() & 0xFFU);
    }
    for (std::size_t at = 1000; at + 12 < data.size(); at += 100000) {
        auto const claim = Claim(static_cast<std::uint32_t>(68 + at % 70000));
        std::copy(claim.begin(), claim.end(), data.begin() + static_cast<std::ptrdiff_t>(at));
        data[at + 68 + at % 70000 - 1] = 1; // where its trailing word ends
    }
    auto const frame = BuildFrame(7611, OwnSonar, 1700000000.0, data);
    FrameReader reader;
    for (std::size_t at = 0; at < frame.size(); at += 10000) {
        reader.Feed(std::span(frame).subspan(at, std::min<std::size_t>(10000, frame.size() - at)));
        reader.DoubtUnfinished();
        if (at + 10000 < frame.size()) {
            ASSERT_TRUE(TakeAll(reader).empty());
        }
    }
    EXPECT_EQ(TakeAll(reader), Frames{frame});
    EXPECT_EQ(reader.SkippedBytes(), 0U);
}

TEST(FrameReader, DoubtHoldsForOneFrame)
{
    FrameReader reader;
    reader.Feed(Join({Claim(1U << 20), FirstFrame(), Claim(1U << 20), SecondFrame()}));
    reader.DoubtUnfinished();
    EXPECT_EQ(TakeAll(reader), Frames{FirstFrame()});
    EXPECT_EQ(reader.BufferedBytes(), 12U + 72U) << "the second has its own time";
    reader.DoubtUnfinished();
    EXPECT_EQ(TakeAll(reader), Frames{SecondFrame()});
}

TEST(FrameReader, DoubtingAStreamOfNothingButStartsTakesLinearTime)
{
    // More claims than are remembered, each of as much as is allowed; every byte that comes asks again.
    std::vector<unsigned char> starts;
    auto const claim = Claim(1U << 18);
    while (starts.size() < (1U << 18) - 100) {
        starts.insert(starts.end(), claim.begin(), claim.end());
    }
    FrameReader reader;
    for (std::size_t at = 0; at < starts.size(); ++at) {
        reader.Feed(std::span(starts).subspan(at, 1));
        reader.DoubtUnfinished();
        ASSERT_FALSE(reader.Next());
    }
    // The last of the claims end in here, none of them well.
    reader.Feed(std::vector<unsigned char>(1U << 18, 0xEE));
    reader.Feed(FirstFrame());
    EXPECT_EQ(TakeAll(reader), Frames{FirstFrame()});
}

TEST(FrameReader, ResetForgetsTheBytes)
{
    FrameReader reader;
    auto const frame = FirstFrame();
    reader.Feed(std::span(frame).first(50));
    reader.Reset();
    reader.Feed(SecondFrame());
    EXPECT_EQ(TakeAll(reader), Frames{SecondFrame()});
    EXPECT_EQ(reader.SkippedBytes(), 50U);
}

} // namespace

} // namespace qx5::protocol::test
