// Time stamps: leap years, the edges of the calendar, and rounding of seconds.
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <protocol/time_stamp.h>

#include "hex.h"

namespace qx5::protocol::test {

namespace {

std::vector<unsigned char> Stamp(double seconds)
{
    std::vector<unsigned char> bytes(TimeX5Size);
    PutTimeX5LE(bytes, 0, ToTimeX5(seconds));
    return bytes;
}

TEST(TimeStamp, KnownTimes)
{
    EXPECT_EQ(Stamp(0.0), Bytes("b207 0100 00000000 00 00"));          // 1970-01-01
    EXPECT_EQ(Stamp(1700000000.0), Bytes("e707 3e01 0000a041 16 0d")); // 2023-11-14 22:13:20, day 318
    EXPECT_EQ(Stamp(1735689570.0), Bytes("e807 6e01 0000f041 17 3b")); // 2024-12-31 23:59:30, day 366
    EXPECT_EQ(Stamp(1735689600.0), Bytes("e907 0100 00000000 00 00")); // 2025-01-01
    EXPECT_EQ(Stamp(951782400.0), Bytes("d007 3c00 00000000 00 00"));  // 2000-02-29, day 60
    EXPECT_EQ(Stamp(0.5), Bytes("b207 0100 0000003f 00 00"));
}

TEST(TimeStamp, BeforeTheEpoch)
{
    EXPECT_EQ(Stamp(-1.0), Bytes("b107 6d01 00006c42 17 3b"));   // 1969-12-31 23:59:59, day 365
    EXPECT_EQ(Stamp(-1e-20), Bytes("b207 0100 00000000 00 00")); // rounds to midnight
}

TEST(TimeStamp, EdgesOfTheCalendar)
{
    EXPECT_EQ(Stamp(-62135596800.0), Bytes("0100 0100 00000000 00 00"));
    EXPECT_EQ(Stamp(253402300799.0), Bytes("0f27 6d01 00006c42 17 3b"));
    auto const none = std::vector<unsigned char>(10);
    EXPECT_EQ(Stamp(253402300800.0), none);
    EXPECT_EQ(Stamp(std::nextafter(-62135596800.0, -1e300)), none);
    EXPECT_EQ(Stamp(std::numeric_limits<double>::quiet_NaN()), none);
    EXPECT_EQ(Stamp(std::numeric_limits<double>::infinity()), none);
    EXPECT_EQ(Stamp(-std::numeric_limits<double>::infinity()), none);
    EXPECT_EQ(Stamp(1e300), none);
}

TEST(TimeStamp, SecondsNarrowWithoutACarry)
{
    TimeX5 const time = ToTimeX5(59.99999999);
    EXPECT_EQ(time.seconds, 60.0F);
    EXPECT_EQ(time.minute, 0);
}

TEST(TimeStamp, ReadsBack)
{
    for (double const seconds : {0.0, 1700000000.0, 1735689570.0, 951782400.5, -1.0, -62135596800.0, 253402300799.0}) {
        EXPECT_EQ(FromTimeX5(ToTimeX5(seconds)), seconds);
    }
    EXPECT_FALSE(FromTimeX5(TimeX5{}));
    EXPECT_FALSE(FromTimeX5(TimeX5{.year = 2023, .dayOfYear = 366}));
    EXPECT_TRUE(FromTimeX5(TimeX5{.year = 2024, .dayOfYear = 366}));
    EXPECT_FALSE(FromTimeX5(TimeX5{.year = 2024, .dayOfYear = 1, .hour = 24}));
    EXPECT_FALSE(FromTimeX5(TimeX5{.year = 2024, .dayOfYear = 1, .minute = 60}));
    EXPECT_FALSE(FromTimeX5(TimeX5{.year = 10000, .dayOfYear = 1}));
    EXPECT_FALSE(FromTimeX5(TimeX5{.year = 2024, .dayOfYear = 1, .seconds = std::nanf("")}));
    EXPECT_FALSE(FromTimeX5(TimeX5{.year = 2024, .dayOfYear = 1, .seconds = 61.0F}));
}

TEST(TimeStamp, Text)
{
    EXPECT_EQ(TimeText(ToTimeX5(1700000000.0)), "2023-11-14 22:13:20.000 UTC");
    EXPECT_EQ(TimeText(ToTimeX5(1735689570.25)), "2024-12-31 23:59:30.250 UTC");
    EXPECT_EQ(TimeText(TimeX5{}), "no time");
    EXPECT_EQ(TimeText(TimeX5{.year = 2023, .dayOfYear = 400}), "invalid time");
}

} // namespace

} // namespace qx5::protocol::test
