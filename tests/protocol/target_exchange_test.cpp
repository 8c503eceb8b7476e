// Contacts and the records of the exchange: packed, taken apart, cut short, beside other records of their ids.
#include <string>

#include <gtest/gtest.h>

#include "hex.h"
#include <protocol/catalogue.h>
#include <protocol/frame.h>
#include <protocol/pack.h>
#include <protocol/print.h>
#include <protocol/records/contacts.h>
#include <protocol/records/target_exchange.h>
#include <protocol/unpack.h>

namespace qx5::protocol::test {

namespace {

TEST(ContactRecords, AContactHasTheSizeOfItsTable)
{
    EXPECT_EQ(records::Contact.Size(), 522U);
    std::size_t end = 0;
    for (Field const& field : records::Contact.Fields()) {
        EXPECT_EQ(field.offset, end) << field.name; // no gap, no padding
        end = field.offset + WidthOf(field);
    }
    EXPECT_EQ(end, 522U);
}

TEST(ContactRecords, AContactGoesThereAndBack)
{
    Payload payload(records::Contact.Size());
    EXPECT_TRUE(PackField(records::ContactTargetId, std::uint32_t{7}, payload));
    EXPECT_TRUE(PackField(records::ContactTime, 1700000000.0, payload)); // 2023-11-14 22:13:20, day 318
    EXPECT_TRUE(PackField(records::ContactState, std::uint32_t{1}, payload));
    EXPECT_TRUE(PackField(records::ContactBearing, 0.5, payload));
    EXPECT_TRUE(PackField(records::ContactLatitude, 180.0, payload));
    EXPECT_TRUE(PackField(records::ContactGuid, std::wstring_view(L"guid"), payload));
    EXPECT_TRUE(PackField(records::ContactExtensionMeasure, 1.0, payload));
    auto const expected = Join({Bytes("07000000 00000000 e7073e01 0000a041 16 0d"), Zeros(128),
                                Bytes("01000000 00000000 0000003f 00000000"), Bytes("182d4454fb210940"),
                                Zeros(8 + 12 + 256), Text("guid"), Zeros(60 + 8), Bytes("0000803f")});
    ASSERT_EQ(expected.size(), 522U);
    EXPECT_EQ(Copy(payload.Bytes()), expected);

    RecordLayout const* const layout = FindLayout(Carrier::Data, 3001, expected);
    ASSERT_NE(layout, nullptr);
    UnpackedRecord const record = Unpack(*layout, expected);
    ASSERT_EQ(record.fields.size(), 19U);
    EXPECT_EQ(record.fields[2].wire, Value(1700000000.0));
    EXPECT_EQ(record.fields[15].wire, Value(std::wstring(L"guid")));
    EXPECT_EQ(record.missingBytes, 0U);
    EXPECT_EQ(record.excessBytes, 0U);
}

TEST(TargetExchangeRecords, AListAndTheQuestionForItAreTwoRecords)
{
    EXPECT_EQ(FindLayout(Carrier::PassThrough, 3004, 64)->name, "target list request");
    EXPECT_EQ(FindLayout(Carrier::Data, 3004, 72)->name, "target list");
    EXPECT_EQ(FindLayout(Carrier::PassThrough, 1750, 4)->name, "sensitivity of the detection unit");
    EXPECT_EQ(FindLayout(Carrier::RemoteControl, 1750, 4)->name, "forward detection");
}

TEST(TargetExchangeRecords, AListGoesThereAndBack)
{
    RecordLayout const layout = records::TargetList;
    EXPECT_EQ(layout.size, 72U);
    EXPECT_EQ(layout.itemSize, 132U);
    for (std::uint32_t const count : {0U, 1U, 3U}) {
        Payload payload(layout.size + count * layout.itemSize);
        PackConstants(layout, payload.Bytes());
        EXPECT_TRUE(PackField(records::TargetListApplication, std::wstring_view(L"console"), payload));
        EXPECT_TRUE(PackField(records::TargetListCount, count, payload));
        for (std::uint32_t i = 0; i < count; ++i) {
            auto const item = payload.Bytes().subspan(layout.size + i * layout.itemSize, layout.itemSize);
            EXPECT_TRUE(PackField(records::ListedRange, 1.5, item));
            EXPECT_TRUE(PackField(records::ListedTargetId, i, item));
        }
        UnpackedRecord const record = Unpack(layout, payload.Bytes());
        EXPECT_EQ(record.fields[1].wire, Value(std::uint32_t{132}));
        EXPECT_EQ(record.fields[2].wire, Value(count));
        ASSERT_EQ(record.items.size(), count);
        for (std::uint32_t i = 0; i < count; ++i) {
            EXPECT_EQ(record.items[i][5].wire, Value(1.5));
            EXPECT_EQ(record.items[i][15].wire, Value(i));
        }
        EXPECT_EQ(record.excessBytes, 0U);
        UnpackedRecord const cut = Unpack(layout, payload.Bytes().first(payload.Size() - 1));
        EXPECT_EQ(cut.items.size(), count == 0 ? 0U : count - 1U);
    }
}

TEST(TargetExchangeRecords, BeamsOfTheAScanGoThereAndBack)
{
    auto const payload = Join({Bytes("01 4d000000 0300"), Zeros(32), Bytes("0a00 0b00 0c00")});
    ASSERT_EQ(payload.size(), 45U);
    UnpackedRecord const record = Unpack(records::AScanStatus, payload);
    EXPECT_EQ(record.fields[0].wire, Value(std::uint32_t{1}));
    EXPECT_EQ(record.fields[1].attribute, Value(std::int32_t{77}));
    EXPECT_EQ(record.fields[2].wire, Value(std::uint32_t{3}));
    EXPECT_EQ(record.tail, Value(std::vector<std::int32_t>{10, 11, 12}));
}

TEST(TargetExchangeRecords, ASystemEventGoesThereAndBack)
{
    auto const payload = Join({Zeros(8), Bytes("0400 0a00 0000"), Text("Disk full"), Zeros(1)});
    UnpackedRecord const record = Unpack(records::SystemEvent, payload);
    EXPECT_EQ(record.fields[0].attribute, Value(std::int32_t{4}));
    EXPECT_EQ(record.fields[1].wire, Value(std::uint32_t{10}));
    EXPECT_EQ(record.tail, Value(std::wstring(L"Disk full")));
    EXPECT_EQ(record.excessBytes, 0U);
    EXPECT_EQ(Unpack(records::SystemEvent, std::span(payload).first(13)).missingBytes, 1U);
}

TEST(TargetExchangeRecords, AContactIsPrintedFieldByField)
{
    auto const frame = BuildFrame(3001, Target{7125, -1}, 0.0, Zeros(522));
    auto const view = ParseFrame(frame);
    ASSERT_TRUE(view);
    std::string const printed = PrintFrame(*view);
    EXPECT_NE(printed.find("sonar contact"), std::string::npos) << printed;
    EXPECT_NE(printed.find("extension measure"), std::string::npos) << printed;
}

} // namespace

} // namespace qx5::protocol::test
