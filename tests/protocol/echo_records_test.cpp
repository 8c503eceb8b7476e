// The records of echoes: their bytes, worked out by hand, and damaged ones.
#include <gtest/gtest.h>

#include <protocol/bytes.h>
#include <protocol/catalogue.h>
#include <protocol/echo_records.h>
#include <protocol/print.h>
#include <protocol/unpack.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

// Ping 7 at 1.5 s, 1500 m/s, 2 m east, 4 m south, 0.5 m deep, heading 90, roll 1, pitch -1, heave 0.25 m, tilt -2,
// three beams.
constexpr std::string_view Head = "07000000 000000000000f83f 0000000000709740 0000000000000040 00000000000010c0"
                                  "000000000000e03f 0000000000805640 000000000000f03f 000000000000f0bf"
                                  "000000000000d03f 00000000000000c0 03000000";

std::string DetectionsHex()
{
    return std::string(Head) + "02000000"
                               "0000 0200"
                               "000020c1 00002041"
                               "0000003f 0000803e"
                               "0000c842 00004842"
                               "0000803f 00000000";
}

// Two samples at 0.125 s, levels from 20 dB in steps of 0.5 dB.
std::string WaterColumnHex()
{
    return std::string(Head) + "02000000 000000000000c03f 0000000000003440 000000000000e03f"
                               "0000a0c1 00000000 0000a041"
                               "00002041 00004041"
                               "0000803f 00000040"
                               "00 01 02 03 04 ff";
}

EchoHead HeadByHand()
{
    return {.number = 7,
            .utcSeconds = 1.5,
            .soundVelocity = 1500.0,
            .east = 2.0,
            .north = -4.0,
            .depth = 0.5,
            .heading = 90.0,
            .roll = 1.0,
            .pitch = -1.0,
            .heave = 0.25,
            .steering = -2.0,
            .beams = 3};
}

void PutFloats(std::span<unsigned char> bytes, std::initializer_list<float> numbers)
{
    ASSERT_EQ(bytes.size(), numbers.size() * 4);
    for (std::size_t at = 0; float const number : numbers) {
        PutF32LE(bytes, at, number);
        at += 4;
    }
}

std::vector<unsigned char> WithWord(std::string const& hex, std::size_t offset, std::uint32_t word)
{
    auto bytes = Bytes(hex);
    PutU32LE(bytes, offset, word);
    return bytes;
}

std::string DamageOf(RecordTable<records::Detections.Fields().size()> const& record,
                     std::vector<unsigned char> const& payload)
{
    return DamageOfEchoes(record.Id(), payload);
}
std::string DamageOf(RecordTable<records::WaterColumn.Fields().size()> const& record,
                     std::vector<unsigned char> const& payload)
{
    return DamageOfEchoes(record.Id(), payload);
}

TEST(EchoRecords, ARequestNamesWhatIsWanted)
{
    EXPECT_EQ(EncodeEchoRequest({}), Bytes("00000000"));
    EXPECT_EQ(EncodeEchoRequest({.detections = true}), Bytes("01000000"));
    EXPECT_EQ(EncodeEchoRequest({.waterColumn = true}), Bytes("02000000"));
    EXPECT_EQ(EncodeEchoRequest({true, true}), Bytes("03000000"));
    EXPECT_EQ(DecodeEchoRequest(Bytes("02000000")), (EchoWish{false, true}));
    EXPECT_EQ(DecodeEchoRequest(Bytes("00000000")), EchoWish{});
    EXPECT_FALSE(DecodeEchoRequest(Bytes("04000000")));
    EXPECT_FALSE(DecodeEchoRequest(Bytes("03000080")));
    EXPECT_FALSE(DecodeEchoRequest(Bytes("030000")));
    EXPECT_FALSE(DecodeEchoRequest(Bytes("0300000000")));
}

TEST(EchoRecords, DetectionsAsBytes)
{
    auto frame = BeginDetections({7125, 1}, {.head = HeadByHand(), .count = 2});
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->arrays.size(), 5U);
    ASSERT_EQ(frame->arrays[0].size(), 4U);
    PutU16LE(frame->arrays[0], 0, 0);
    PutU16LE(frame->arrays[0], 2, 2);
    PutFloats(frame->arrays[1], {-10.0F, 10.0F});
    PutFloats(frame->arrays[2], {0.5F, 0.25F});
    PutFloats(frame->arrays[3], {100.0F, 50.0F});
    PutFloats(frame->arrays[4], {1.0F, 0.0F});
    ASSERT_EQ(frame->bytes.size(), 196U);
    auto const view = ParseFrame(frame->bytes);
    ASSERT_TRUE(view);
    EXPECT_EQ(view->header.recordId, 90021U);
    EXPECT_EQ(view->header.deviceId, 7125U);
    EXPECT_EQ(view->header.enumerator, 1U);
    EXPECT_EQ(view->header.time, ToTimeX5(1.5));
    EXPECT_EQ(Copy(view->data), Bytes(DetectionsHex()));
}

TEST(EchoRecords, DetectionsAreReadInPlace)
{
    auto const payload = Bytes(DetectionsHex());
    std::string error;
    auto const view = DecodeDetections(payload, error);
    ASSERT_TRUE(view) << error;
    EXPECT_EQ(view->head.number, 7);
    EXPECT_EQ(view->head.utcSeconds, 1.5);
    EXPECT_EQ(view->head.soundVelocity, 1500.0);
    EXPECT_EQ(view->head.east, 2.0);
    EXPECT_EQ(view->head.north, -4.0);
    EXPECT_EQ(view->head.depth, 0.5);
    EXPECT_EQ(view->head.heading, 90.0);
    EXPECT_EQ(view->head.roll, 1.0);
    EXPECT_EQ(view->head.pitch, -1.0);
    EXPECT_EQ(view->head.heave, 0.25);
    EXPECT_EQ(view->head.steering, -2.0);
    EXPECT_EQ(view->head.beams, 3U);
    EXPECT_EQ(view->count, 2U);
    EXPECT_EQ(view->beam.data(), payload.data() + 92);
    EXPECT_EQ(Copy(view->beam), Bytes("00000200"));
    EXPECT_EQ(view->angle.data(), payload.data() + 96);
    EXPECT_EQ(Copy(view->travelTime), Bytes("0000003f 0000803e"));
    EXPECT_EQ(Copy(view->level), Bytes("0000c842 00004842"));
    EXPECT_EQ(Copy(view->quality), Bytes("0000803f 00000000"));
    EXPECT_EQ(view->quality.data() + 8, payload.data() + payload.size());
}

TEST(EchoRecords, AWaterColumnAsBytesAndBack)
{
    auto frame = BeginWaterColumn({7125, 0},
                                  {.head = HeadByHand(), .samples = 2, .interval = 0.125, .floor = 20.0, .step = 0.5});
    ASSERT_TRUE(frame);
    ASSERT_EQ(frame->arrays.size(), 4U);
    PutFloats(frame->arrays[0], {-20.0F, 0.0F, 20.0F});
    PutFloats(frame->arrays[1], {10.0F, 12.0F});
    PutFloats(frame->arrays[2], {1.0F, 2.0F});
    auto const levels = Bytes("00 01 02 03 04 ff");
    ASSERT_EQ(frame->arrays[3].size(), levels.size());
    std::copy(levels.begin(), levels.end(), frame->arrays[3].begin());
    auto const parsed = ParseFrame(frame->bytes);
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->header.recordId, 90022U);
    EXPECT_EQ(Copy(parsed->data), Bytes(WaterColumnHex()));

    std::string error;
    auto const view = DecodeWaterColumn(parsed->data, error);
    ASSERT_TRUE(view) << error;
    EXPECT_EQ(view->head.beams, 3U);
    EXPECT_EQ(view->samples, 2U);
    EXPECT_EQ(view->interval, 0.125);
    EXPECT_EQ(view->floor, 20.0);
    EXPECT_EQ(view->step, 0.5);
    EXPECT_EQ(Copy(view->angle), Bytes("0000a0c1 00000000 0000a041"));
    EXPECT_EQ(Copy(view->gain), Bytes("00002041 00004041"));
    EXPECT_EQ(Copy(view->noise), Bytes("0000803f 00000040"));
    EXPECT_EQ(Copy(view->levels), levels);
    EXPECT_EQ(view->levels.data(), parsed->data.data() + 144) << "not copied";
}

TEST(EchoRecords, APingWithoutDetections)
{
    auto const payload = Bytes(std::string(Head) + "00000000");
    std::string error;
    auto const view = DecodeDetections(payload, error);
    ASSERT_TRUE(view) << error;
    EXPECT_EQ(view->count, 0U);
    EXPECT_TRUE(view->beam.empty());
}

TEST(EchoRecords, SizesThatDoNotAgreeAreRefused)
{
    auto const detections = Bytes(DetectionsHex());
    for (std::size_t length = 0; length < detections.size(); ++length) {
        std::string error;
        EXPECT_FALSE(DecodeDetections(std::span(detections).first(length), error));
        EXPECT_NE(error, "");
    }
    EXPECT_EQ(DamageOf(records::Detections, Bytes(DetectionsHex() + "00")), "it counts 128 bytes and has 129");
    EXPECT_EQ(DamageOf(records::Detections, WithWord(DetectionsHex(), 88, 3)), "it counts 146 bytes and has 128");
    EXPECT_EQ(DamageOf(records::Detections, Bytes("0700")), "2 bytes are too few for its 92");
    auto const water = Bytes(WaterColumnHex());
    for (std::size_t length = 0; length < water.size(); ++length) {
        std::string error;
        EXPECT_FALSE(DecodeWaterColumn(std::span(water).first(length), error));
    }
    EXPECT_EQ(DamageOf(records::WaterColumn, WithWord(WaterColumnHex(), 84, 4)), "it counts 156 bytes and has 150");
}

TEST(EchoRecords, CountsBeyondTheLimitsAreRefused)
{
    EXPECT_EQ(DamageOf(records::WaterColumn, WithWord(WaterColumnHex(), 84, 4096)), "4096 beams, more than 2048");
    EXPECT_EQ(DamageOf(records::Detections, WithWord(DetectionsHex(), 84, 4096)), "4096 beams, more than 2048");
    EXPECT_EQ(DamageOf(records::WaterColumn, WithWord(WaterColumnHex(), 88, 0x80000000)),
              "2147483648 samples, more than 65536");
    EXPECT_EQ(DamageOf(records::Detections, WithWord(DetectionsHex(), 88, 0xFFFFFFFF)),
              "4294967295 detections, more than 65536");
    auto both = WithWord(WaterColumnHex(), 84, 2048);
    PutU32LE(both, 88, 65536);
    EXPECT_EQ(DamageOf(records::WaterColumn, both), "2048 beams of 65536 samples, more than 8388608 levels");
    auto head = HeadByHand();
    head.beams = 4096;
    EXPECT_FALSE(BeginWaterColumn(OwnSonar, {.head = head, .samples = 1}));
    EXPECT_FALSE(BeginDetections(OwnSonar, {.head = head, .count = 1}));
    head.beams = 1;
    EXPECT_FALSE(BeginDetections(OwnSonar, {.head = head, .count = 65537}));
}

TEST(EchoRecords, UnpackingFindsTheArraysByTheTable)
{
    auto const payload = Bytes(WaterColumnHex());
    auto const record = Unpack(records::WaterColumn, payload);
    EXPECT_EQ(record.missingBytes, 0U);
    EXPECT_EQ(record.excessBytes, 0U);
    ASSERT_EQ(record.arrays.size(), 4U);
    EXPECT_EQ(record.arrays[0].array->name, "beam angle");
    EXPECT_EQ(record.arrays[0].offset, 116U);
    EXPECT_EQ(record.arrays[0].count, 3U);
    EXPECT_EQ(record.arrays[3].rows, 3U);
    EXPECT_EQ(record.arrays[3].count, 2U);
    EXPECT_EQ(record.arrays[3].size, 6U);
    auto const cut = Unpack(records::WaterColumn, std::span(payload).first(140));
    EXPECT_EQ(cut.missingBytes, 10U);
    EXPECT_TRUE(cut.arrays.empty());
    EXPECT_EQ(Unpack(records::WaterColumn, Bytes(WaterColumnHex() + "0000")).excessBytes, 2U);
    auto const endless = Unpack(records::WaterColumn, WithWord(WaterColumnHex(), 88, 0xFFFFFFFF));
    EXPECT_EQ(endless.missingBytes, std::numeric_limits<std::size_t>::max());
    EXPECT_TRUE(endless.arrays.empty());
}

TEST(EchoRecords, AWaterColumnIsPrintedByItsSizes)
{
    auto frame = BeginWaterColumn(OwnSonar, {.head = HeadByHand(), .samples = 400, .interval = 0.125, .step = 0.5});
    ASSERT_TRUE(frame);
    frame->arrays[3][5] = 200;
    auto const parsed = ParseFrame(frame->bytes);
    ASSERT_TRUE(parsed);
    auto const text = PrintPayload(Carrier::Data, 90022, parsed->data, "");
    EXPECT_NE(text.find("@84 u32  beams = 3\n@88 u32  samples = 400\n@92 f64  interval = 0.125 s\n"), std::string::npos)
        << text;
    EXPECT_NE(text.find("@116 f32  beam angle = [0, 0, 0] deg\n"
                        "@128 f32  gain = 400 numbers from 0 to 0 dB\n"
                        "@1728 f32  noise = 400 numbers from 0 to 0 dB\n"
                        "@3328 u8   level = 3 x 400 numbers from 0 to 200\n"),
              std::string::npos)
        << text;
    EXPECT_LT(text.size(), 1000U);
    EXPECT_EQ(PrintPayload(Carrier::Data, 90021, Bytes("0700"), ""),
              "damaged: 2 bytes are too few for its 92\n"
              "000000  07 00                                            ..\n");
    EXPECT_EQ(PrintPayload(Carrier::RemoteControl, 90020, Bytes("02000000"), ""),
              "@0.0 bit  detections = false\n@0.1 bit  water column = true\n");
}

} // namespace

} // namespace qx5::protocol::test
