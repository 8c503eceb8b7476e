// The record of a pipe route, whose points follow a fixed head.
#include <gtest/gtest.h>

#include <protocol/pack.h>
#include <protocol/records/gates.h>
#include <protocol/unpack.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

std::vector<unsigned char> const firstPoint =
    Bytes("ffffffff 0000003f 0000803f 000000c0 0000803e db0f493f 0080bb44 00004843 00c40647 f9ffffff");
std::vector<unsigned char> const secondPoint =
    Bytes("03000000 00000000 00000000 00000000 00000000 00000000 00000000 00000000 00c40647 0c000000");

std::vector<unsigned char> Head(std::string_view count)
{
    auto head = Join({Bytes(count), Bytes("28000000")});
    head.resize(48);
    return head;
}

TEST(PipeRouteRecord, PointsTakenApart)
{
    auto const payload = Join({Head("02000000"), firstPoint, secondPoint});
    auto const record = Unpack(records::PipeRouteGating, payload);
    ASSERT_EQ(record.fields.size(), 2U);
    EXPECT_EQ(record.fields[0].wire, Value(std::uint32_t{2}));
    EXPECT_EQ(record.fields[1].wire, Value(std::uint32_t{40}));
    ASSERT_EQ(record.items.size(), 2U);
    auto const& point = record.items[0];
    ASSERT_EQ(point.size(), 10U);
    EXPECT_EQ(point[0].attribute, Value(std::uint32_t{4294967295}));
    EXPECT_EQ(point[1].attribute, Value(0.5));
    EXPECT_EQ(point[3].attribute, Value(-2.0));
    EXPECT_NEAR(std::get<double>(point[5].attribute), 45.0, 1e-5);
    EXPECT_EQ(point[6].attribute, Value(1500.0));
    EXPECT_EQ(point[7].wire, Value(200.0)); // the sample number, no key's value
    EXPECT_TRUE(IsEmpty(point[7].attribute));
    EXPECT_EQ(point[8].attribute, Value(34500.0));
    EXPECT_EQ(point[9].attribute, Value(std::int32_t{-7}));
    EXPECT_EQ(record.items[1][9].attribute, Value(std::int32_t{12}));
    EXPECT_EQ(record.excessBytes, 0U);
}

TEST(PipeRouteRecord, PointsPackedAgainGiveTheSameBytes)
{
    auto const payload = Join({Head("02000000"), firstPoint, secondPoint});
    auto const record = Unpack(records::PipeRouteGating, payload);
    std::vector<unsigned char> again(payload.size());
    std::span<unsigned char> bytes = again;
    PackConstants(records::PipeRouteGating, bytes);
    PackField(records::PipeRoutePointCount, record.fields[0].wire, bytes);
    auto rest = bytes.subspan(records::PipeRouteGating.Size());
    for (auto const& item : record.items) {
        for (FieldValue const& value : item) {
            PackField(*value.field, IsEmpty(value.attribute) ? value.wire : value.attribute, rest.first(40));
        }
        rest = rest.subspan(40);
    }
    EXPECT_EQ(again, payload);
}

TEST(PipeRouteRecord, AHeadWithoutPoints)
{
    auto const record = Unpack(records::PipeRouteGating, Head("00000000"));
    EXPECT_EQ(record.fields.size(), 2U);
    EXPECT_TRUE(record.items.empty());
    EXPECT_EQ(record.excessBytes, 0U);
}

} // namespace

} // namespace qx5::protocol::test
