// The bytes of frames and remote-control records, written out by hand.
#include <limits>

#include <gtest/gtest.h>

#include <protocol/frame.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

/// Record 1003 with 50.0 for the own sonar, on 2023-11-14 at 22:13:20.
std::vector<unsigned char> RangeOfFiftyMetres()
{
    return Bytes("0500 3c00 ffff0000 60000000 00000000 00000000" // version, offset, sync, 96 bytes, reserved
                 "e707 3e01 0000a041 16 0d"                      // time stamp
                 "0100 4c1d0000 00000000 0000 ffff"              // record version, 7500, device 0, enumerator -1
                 "00000000 0000 0000 00000000 00000000 00000000" // to byte 64
                 "eb030000 eb030000"                             // command 1003, ticket
                 "00000000 00000000 00000000 00000000"           // tracking number
                 "00004842"                                      // 50.0
                 "00000000");
}

TEST(Frame, RemoteControlRecordOfARange)
{
    auto const record = BuildRemoteControlRecord(1003, Bytes("00004842"), OwnSonar, 1700000000.0);
    ASSERT_EQ(record.size(), 96U);
    EXPECT_EQ(record, RangeOfFiftyMetres());
}

TEST(Frame, RemoteControlRecordWithoutPayload)
{
    auto const record = BuildRemoteControlRecord(1000, {}, SonarProcessor, 1700000000.0);
    ASSERT_EQ(record.size(), 92U);
    EXPECT_EQ(Copy(std::span(record).first(12)), Bytes("0500 3c00 ffff0000 5c000000"));
    EXPECT_EQ(Copy(std::span(record).subspan(36, 8)), Bytes("581b0000 0000 0000"));
    EXPECT_EQ(Copy(std::span(record).subspan(64)),
              Bytes("e8030000 e8030000 00000000000000000000000000000000 00000000"));
}

TEST(Frame, DataRecord)
{
    // Absorption, 60.0 dB/km, from device 7125, enumerator 3, without a time.
    auto const frame = BuildFrame(7611, Target{7125, 3}, std::numeric_limits<double>::quiet_NaN(), Bytes("00007042"));
    EXPECT_EQ(frame, Bytes("0500 3c00 ffff0000 48000000 00000000 00000000"
                           "0000 0000 00000000 00 00"
                           "0100 bb1d0000 d51b0000 0000 0300"
                           "00000000 0000 0000 00000000 00000000 00000000"
                           "00007042 00000000"));
}

TEST(Frame, EnumeratorKeepsItsLow16Bits)
{
    auto const frame = BuildFrame(1, Target{-1, 0x12345}, 0.0, {});
    EXPECT_EQ(frame.size(), 68U);
    EXPECT_EQ(Copy(std::span(frame).subspan(36, 8)), Bytes("ffffffff 0000 4523"));
}

TEST(Frame, ParsesARemoteControlRecord)
{
    auto bytes = RangeOfFiftyMetres();
    bytes.push_back(0xEE); // what follows is not the frame's
    auto const frame = ParseFrame(bytes);
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->header.totalSize, 96U);
    EXPECT_EQ(frame->header.recordId, 7500U);
    EXPECT_EQ(frame->header.deviceId, 0U);
    EXPECT_EQ(frame->header.enumerator, 65535);
    EXPECT_EQ(frame->header.recordVersion, 1);
    EXPECT_EQ(frame->header.time, ToTimeX5(1700000000.0));
    EXPECT_EQ(frame->bytes.size(), 96U);
    EXPECT_EQ(frame->data.size(), 28U);
    auto const command = ParseRemoteControl(*frame);
    ASSERT_TRUE(command);
    EXPECT_EQ(command->commandId, 1003U);
    EXPECT_EQ(command->ticket, 1003U);
    EXPECT_EQ(Copy(command->trackingNumber), std::vector<unsigned char>(16));
    EXPECT_EQ(Copy(command->payload), Bytes("00004842"));
}

TEST(Frame, TellsWhyBytesAreNoFrame)
{
    auto const errorAfter = [](std::size_t at, unsigned char value) {
        auto bytes = RangeOfFiftyMetres();
        bytes[at] = value;
        FrameError error = FrameError::None;
        EXPECT_FALSE(ParseFrame(bytes, &error));
        return error;
    };
    EXPECT_EQ(errorAfter(0, 6), FrameError::BadVersion);
    EXPECT_EQ(errorAfter(2, 61), FrameError::BadOffset);
    EXPECT_EQ(errorAfter(6, 1), FrameError::BadSync);
    EXPECT_EQ(errorAfter(8, 67), FrameError::BadSize);
    EXPECT_EQ(errorAfter(11, 8), FrameError::BadSize); // 128 MiB and 96 bytes
    EXPECT_EQ(errorAfter(8, 97), FrameError::TooShort);
    EXPECT_EQ(errorAfter(95, 1), FrameError::BadTrailingWord);
    FrameError error = FrameError::None;
    EXPECT_FALSE(ParseFrame({}, &error));
    EXPECT_EQ(error, FrameError::TooShort);
}

TEST(Frame, ARemoteControlRecordTooShortIsNone)
{
    auto const bytes = BuildFrame(7500, OwnSonar, 0.0, std::vector<unsigned char>(23));
    auto const frame = ParseFrame(bytes);
    ASSERT_TRUE(frame);
    EXPECT_FALSE(ParseRemoteControl(*frame));
    auto const other = BuildFrame(7501, OwnSonar, 0.0, std::vector<unsigned char>(24));
    EXPECT_FALSE(ParseRemoteControl(*ParseFrame(other)));
}

} // namespace

} // namespace qx5::protocol::test
