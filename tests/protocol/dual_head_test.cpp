// The records of two coupled heads: two forms under one id, lists of any length.
#include <gtest/gtest.h>

#include <protocol/catalogue.h>
#include <protocol/pack.h>
#include <protocol/records/dual_head.h>
#include <protocol/unpack.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

TEST(DualHeadRecords, CouplingAndUncouplingAreToldApartBySize)
{
    RecordLayout const* uncouple = FindLayout(Carrier::RemoteControl, 1500, 4);
    RecordLayout const* couple = FindLayout(Carrier::RemoteControl, 1500, 56);
    ASSERT_NE(uncouple, nullptr);
    ASSERT_NE(couple, nullptr);
    EXPECT_EQ(uncouple->name, "uncouple heads");
    EXPECT_EQ(couple->name, "couple heads");
}

TEST(DualHeadRecords, CouplingTakenApart)
{
    auto payload = Bytes("01000000 0201a8c0 00000000 01000000");
    payload.resize(56);
    auto const record = Unpack(records::CoupleHeads, payload);
    ASSERT_EQ(record.fields.size(), 3U);
    EXPECT_EQ(record.fields[0].wire, Value(std::uint32_t{1}));
    EXPECT_EQ(record.fields[1].attribute, Value(std::int32_t{-1062731518}));
    EXPECT_EQ(record.fields[2].attribute, Value(true));
    EXPECT_EQ(record.excessBytes, 0U);
    EXPECT_EQ(record.missingBytes, 0U);
}

TEST(DualHeadRecords, AForwardingListTakenApart)
{
    auto const record = Unpack(records::Forwarding, Bytes("03000000 eb030000 f0030000 ffffffff"));
    ASSERT_EQ(record.fields.size(), 1U);
    EXPECT_EQ(record.fields[0].wire, Value(std::uint32_t{3}));
    EXPECT_EQ(record.tail, Value(std::vector<std::int32_t>{1003, 1008, -1}));
    EXPECT_EQ(record.excessBytes, 0U);
}

TEST(DualHeadRecords, AnEmptyForwardingListTakenApart)
{
    auto const record = Unpack(records::Forwarding, Bytes("00000000"));
    ASSERT_EQ(record.fields.size(), 1U);
    EXPECT_EQ(record.fields[0].wire, Value(std::uint32_t{0}));
    EXPECT_EQ(record.tail, Value(std::vector<std::int32_t>{}));
}

} // namespace

} // namespace qx5::protocol::test
