// Records as text.
#include <limits>

#include <gtest/gtest.h>

#include <protocol/house_records.h>
#include <protocol/pack.h>
#include <protocol/print.h>
#include <protocol/records/basic.h>
#include <protocol/tree_codec.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

constexpr double Time = 1700000000.0;

std::string Printed(std::vector<unsigned char> const& bytes)
{
    auto const frame = ParseFrame(bytes);
    return frame ? PrintFrame(*frame) : "no frame";
}

TEST(Print, ARange)
{
    EXPECT_EQ(Printed(BuildRemoteControlRecord(1003, Bytes("00004842"), OwnSonar, Time)),
              "record 7500 remote control, 96 bytes, device 0, enumerator 65535, 2023-11-14 22:13:20.000 UTC\n"
              "  command 1003 range, ticket 1003\n"
              "    @0  f32  x5Range = 50 m\n");
}

TEST(Print, ConvertedFieldsTellBothValues)
{
    EXPECT_EQ(PrintPayload(records::BeamSteer, Bytes("c2b8323e c2b832be"), ""),
              "@0  f32  x5BeamSteer[0] = 10 deg  (wire 0.17453292 rad)\n"
              "@4  f32  x5BeamSteer[1] = -10 deg  (wire -0.17453292 rad)\n");
}

TEST(Print, BitsAndNamelessFields)
{
    EXPECT_EQ(PrintPayload(records::ManualTemperature, Bytes("0300 00000000 00000000"), "> "),
              "> @0.0 bit  x5TemperatureOverride = true\n"
              "> @0.1 bit  no new temperature = true\n"
              "> @2  f32  x5Temperature = 0 degC\n");
}

TEST(Print, ADataRecord)
{
    EXPECT_EQ(Printed(BuildFrame(7611, Target{7125, 0}, Time, Bytes("00007042"))),
              "record 7611 absorption, 72 bytes, device 7125, enumerator 0, 2023-11-14 22:13:20.000 UTC\n"
              "  @0  f32  x5Absorption = 60 dB/km\n");
}

TEST(Print, UnknownRecordsAreDumped)
{
    EXPECT_EQ(Printed(BuildFrame(4711, Target{1, 2}, std::numeric_limits<double>::infinity(),
                                 Bytes("00112233445566778899aabbccddeeff 41427f"))),
              "record 4711 unknown, 87 bytes, device 1, enumerator 2, no time\n"
              "  000000  00 11 22 33 44 55 66 77 88 99 aa bb cc dd ee ff  ..\"3DUfw........\n"
              "  000010  41 42 7f                                         AB.\n");
}

TEST(Print, ShortAndLongPayloads)
{
    EXPECT_EQ(PrintPayload(records::Range, Bytes("0000"), ""), "2 bytes missing\n");
    EXPECT_EQ(PrintPayload(records::Range, Bytes("00004842 41"), ""),
              "@0  f32  x5Range = 50 m\n"
              "1 bytes too many\n"
              "  000000  41                                               A\n");
}

TEST(Print, ListsTextsAndItems)
{
    static constexpr RecordTable list{1,
                                      "list",
                                      4,
                                      {Field{.offset = 0, .wire = Wire::U32, .name = "count"}},
                                      RecordOptions{.tail = Tail::U32List, .tailName = "record ids"}};
    EXPECT_EQ(PrintPayload(list, Bytes("02000000 e8030000 ffffffff"), ""),
              "@0  u32  count = 2\n@4 record ids = [1000, 4294967295]\n");
    static constexpr RecordTable text{2, "text", RecordOptions{.tail = Tail::Utf8, .tailName = "xml"}};
    EXPECT_EQ(PrintPayload(text, Bytes("3c223e0a"), ""), "@0 xml = \"<\\\">\\x0a\"\n");
    static constexpr RecordTable items{3,
                                       "items",
                                       4,
                                       {Field{.offset = 0, .wire = Wire::U32, .name = "count"}},
                                       RepeatedItems{4, {Field{.key = &keys::x5Range, .wire = Wire::F32}}}};
    EXPECT_EQ(PrintPayload(items, Bytes("01000000 00004842"), ""),
              "@0  u32  count = 1\nitem 0 @4\n  @0  f32  x5Range = 50 m\n");
}

TEST(Print, ATree)
{
    std::string error;
    auto const payload =
        EncodeTree(std::vector<TreeNode>{{L"x5Range", 50.0, {}}, {L"branch", {}, {{L"flag", true, {}}}}}, error);
    ASSERT_TRUE(payload);
    EXPECT_EQ(PrintPayload(Carrier::Data, 90010, *payload, "  "), "  x5Range = 50 m\n  branch\n    flag = true\n");
    EXPECT_EQ(PrintPayload(Carrier::Data, 90010, Bytes("01000000"), ""),
              "damaged: the bytes end early at byte 4\n"
              "000000  01 00 00 00                                      ....\n");
}

TEST(Print, APassThroughCommand)
{
    auto const inner = Bytes("0102");
    auto const payload = EncodePassThrough({Target{9100, 0}, 4711, inner});
    EXPECT_EQ(PrintPayload(Carrier::RemoteControl, 90002, payload, ""),
              "passes command 4711 unknown to device 9100, enumerator 0\n"
              "  000000  01 02                                            ..\n");
}

TEST(Print, TextsFromOutsideAreEscaped)
{
    EXPECT_EQ(ValueText(std::wstring(L"a\"b\\c\x1B[2J\u009B\u00B5\U0001F600z")),
              "\"a\\\"b\\\\c\\x1b[2J\\x9b\xC2\xB5\xF0\x9F\x98\x80z\"");
    std::string error;
    auto const payload = EncodeTree(std::vector<TreeNode>{{L"\x1B[2J", {}, {}}}, error);
    ASSERT_TRUE(payload);
    EXPECT_EQ(PrintPayload(Carrier::Data, 90010, *payload, ""), "\\x1b[2J\n");
}

TEST(Print, Numbers)
{
    EXPECT_EQ(NumberText(0.1), "0.1");
    EXPECT_EQ(NumberText(0.1F), "0.1");
    EXPECT_EQ(NumberText(-0.0), "-0");
    EXPECT_EQ(NumberText(1e300), "1e+300");
    EXPECT_EQ(NumberText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(NumberText(-std::numeric_limits<double>::quiet_NaN()), "nan");
}

TEST(Print, ADumpStopsAtItsLimit)
{
    EXPECT_EQ(HexDump(std::vector<unsigned char>(20), "", 1),
              "000000  00                                               .\nand 19 bytes more\n");
}

} // namespace

} // namespace qx5::protocol::test
