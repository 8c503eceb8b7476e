// The records of variable size of single-beam systems: packed, taken apart, cut short.
#include <string>

#include <gtest/gtest.h>

#include "hex.h"
#include <protocol/catalogue.h>
#include <protocol/frame.h>
#include <protocol/pack.h>
#include <protocol/print.h>
#include <protocol/records/single_beam.h>
#include <protocol/unpack.h>
#include <protocol/utf8.h>

namespace qx5::protocol::test {

namespace {

TEST(SingleBeamRecords, SettingsGoThereAndBack)
{
    RecordLayout const layout = records::SettingsXml;
    for (std::wstring const& xml :
         {std::wstring(), std::wstring(L"<s/>"), std::wstring(L"<s n=\"\u00e9\u20ac\"/>"), std::wstring(3000, L'x')}) {
        std::string const utf8 = EncodeUtf8(xml);
        Payload head(layout.size);
        ASSERT_TRUE(PackField(*FindField(layout, keys::SbesSettingsXmlChecksum), std::wstring_view(L"9f3a"), head));
        ASSERT_TRUE(PackField(records::SettingsXmlSize, static_cast<std::uint32_t>(utf8.size()), head));
        auto const payload = Join({Copy(head.Bytes()), Text(utf8), Zeros(1)});

        ASSERT_EQ(FindLayout(Carrier::RemoteControl, 3006, payload)->id, 3006U);
        UnpackedRecord const record = Unpack(layout, payload);
        ASSERT_EQ(record.fields.size(), 2U);
        EXPECT_EQ(record.fields[0].attribute, Value(std::wstring(L"9f3a")));
        EXPECT_EQ(record.fields[1].wire, Value(static_cast<std::uint32_t>(utf8.size())));
        EXPECT_EQ(record.tail, Value(xml));
        EXPECT_EQ(record.missingBytes, 0U);
        EXPECT_EQ(record.excessBytes, 0U);
    }
}

TEST(SingleBeamRecords, AChecksumOf128BytesFillsItsField)
{
    RecordLayout const layout = records::SettingsXml;
    Payload payload(layout.size + 1);
    ASSERT_TRUE(PackField(*FindField(layout, keys::SbesSettingsXmlChecksum), std::wstring_view(std::wstring(130, L'c')),
                          payload));
    EXPECT_EQ(Copy(payload.Bytes()), Join({Text(std::string(128, 'c')), Zeros(37)}));
    UnpackedRecord const record = Unpack(layout, payload.Bytes());
    EXPECT_EQ(record.fields[0].attribute, Value(std::wstring(128, L'c')));
}

TEST(SingleBeamRecords, AFileForTheSonarGoesThereAndBack)
{
    RecordLayout const layout = records::FileForSonar;
    auto const payload = Join({Text("transducer.update"), Zeros(111), Text(".xml"), Zeros(12), Bytes("04 00 00 00"),
                               Zeros(32), Text("<a/>")});
    Payload head(layout.size);
    ASSERT_TRUE(PackField(records::FileName, std::string_view("transducer.update"), head));
    ASSERT_TRUE(PackField(records::FileType, std::string_view(".xml"), head));
    ASSERT_TRUE(PackField(records::FileSize, std::uint32_t{4}, head));
    EXPECT_EQ(Join({Copy(head.Bytes()), Text("<a/>")}), payload);

    ASSERT_EQ(FindLayout(Carrier::Data, 3002, payload)->name, "file for the sonar");
    UnpackedRecord const record = Unpack(layout, payload);
    ASSERT_EQ(record.fields.size(), 3U);
    EXPECT_EQ(record.fields[0].wire, Value(std::wstring(L"transducer.update")));
    EXPECT_EQ(record.fields[1].wire, Value(std::wstring(L".xml")));
    EXPECT_EQ(record.fields[2].wire, Value(std::uint32_t{4}));
    EXPECT_EQ(Copy(record.tailBytes), Text("<a/>"));
}

TEST(SingleBeamRecords, TrackerTweaksGoThereAndBack)
{
    RecordLayout const layout = records::TrackerTweakMode;
    auto const payload = Bytes("07000000 0000000000000000 01000000e9030000 02000000e9030000 0300000000000000"
                               "0400000000000000 05000000e9030000 06000000e9030000");
    std::uint32_t const values[]{0, 1001, 1001, 0, 0, 1001, 1001};
    Payload packed(layout.size + std::size(values) * layout.itemSize);
    PackConstants(layout, packed.Bytes());
    UnpackedRecord const record = Unpack(layout, payload);
    ASSERT_EQ(record.items.size(), 7U);
    for (std::uint32_t i = 0; i < 7; ++i) {
        auto const item = packed.Bytes().subspan(layout.size + i * layout.itemSize, layout.itemSize);
        EXPECT_TRUE(PackField(records::TrackerTweakIndex, i, item));
        EXPECT_TRUE(PackField(records::TrackerTweakValue, values[i], item));
        EXPECT_EQ(record.items[i][0].wire, Value(i));
        EXPECT_EQ(record.items[i][1].wire, Value(values[i]));
    }
    EXPECT_EQ(Copy(packed.Bytes()), payload);
    EXPECT_EQ(record.excessBytes, 0U);
}

TEST(SingleBeamRecords, ATweakIsPrintedByItsSelector)
{
    auto const frame = BuildRemoteControlRecord(10014, Bytes("06000000 0000003f"), OwnSonar, 0.0);
    auto const view = ParseFrame(frame);
    ASSERT_TRUE(view);
    std::string const printed = PrintFrame(*view);
    EXPECT_NE(printed.find("power tweak"), std::string::npos) << printed;
    EXPECT_NE(printed.find("x5PowerTweak = 0.5"), std::string::npos) << printed;
}

} // namespace

} // namespace qx5::protocol::test
