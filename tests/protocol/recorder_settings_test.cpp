// The recorder's filter list: packed, taken apart, cut short.
#include <gtest/gtest.h>

#include "hex.h"
#include <protocol/catalogue.h>
#include <protocol/pack.h>
#include <protocol/records/recorder_settings.h>
#include <protocol/unpack.h>

namespace qx5::protocol::test {

namespace {

TEST(RecorderFilter, TheConstantStandsInFrontOfTheCount)
{
    Payload payload(records::RecorderFilter.Size());
    PackConstants(records::RecorderFilter, payload);
    EXPECT_EQ(Copy(payload.Bytes()), Bytes("00 00 01 00 00 00"));
    ASSERT_TRUE(PackField(records::RecorderFilterCount, std::uint32_t{258}, payload));
    EXPECT_EQ(Copy(payload.Bytes()), Bytes("00 00 01 00 02 01"));
}

TEST(RecorderFilter, AListIsTakenApart)
{
    auto const payload = Bytes("00 00 01 00 03 00  58 1b 00 00  ff ff ff ff  00 00 00 80");
    auto const record = Unpack(records::RecorderFilter, payload);
    ASSERT_EQ(record.fields.size(), 2U);
    EXPECT_EQ(record.fields[0].wire, Value(std::uint32_t{0x10000}));
    EXPECT_EQ(record.fields[1].wire, Value(std::uint32_t{3}));
    EXPECT_EQ(record.tail, Value(std::vector<std::int32_t>{7000, -1, -2147483647 - 1}));
    EXPECT_EQ(record.missingBytes, 0U);
    EXPECT_EQ(record.excessBytes, 0U);
}

TEST(RecorderFilter, AnEmptyListAndAnEntryCutShort)
{
    auto const empty = Unpack(records::RecorderFilter, Bytes("00 00 01 00 00 00"));
    EXPECT_EQ(empty.tail, Value(std::vector<std::int32_t>()));
    auto const cut = Unpack(records::RecorderFilter, Bytes("00 00 01 00 02 00  01 00 00 00  02 00 00"));
    EXPECT_EQ(cut.tail, Value(std::vector<std::int32_t>{1}));
    EXPECT_EQ(cut.excessBytes, 3U);
    auto const headless = Unpack(records::RecorderFilter, Bytes("00 00 01 00 02"));
    EXPECT_EQ(headless.missingBytes, 1U);
}

} // namespace

} // namespace qx5::protocol::test
