// Tests of the memory that is kept for when there is none.
#include "cli/platform/memory_reserve.h"

#include <reference_host/common/log.h>

#include <gtest/gtest.h>

#include <new>
#include <string>

namespace qx5::cli {
namespace {

/// An allocation that finds nothing calls the handler, and tries again unless that throws.
bool FindsSome()
{
    try {
        std::get_new_handler()();
        return true;
    } catch (std::bad_alloc const&) {
        return false;
    }
}

TEST(MemoryReserve, GivesEightTimesAndSaysSoWhenItIsFilledUp)
{
    std::string told;
    vordal::SetLogSink([&](vordal::LogLevel level, std::string_view line) {
        EXPECT_EQ(level, vordal::LogLevel::Warning);
        told += line;
    });
    ASSERT_EQ(std::get_new_handler(), nullptr);
    {
        MemoryReserve const reserve;
        ASSERT_NE(std::get_new_handler(), nullptr);
        MemoryReserve::FillUp();
        EXPECT_EQ(told, "") << "nothing was given away";
        for (int i = 0; i < 8; ++i) {
            EXPECT_TRUE(FindsSome());
        }
        EXPECT_FALSE(FindsSome());
        EXPECT_EQ(told, "") << "while there is none nothing is written";
        MemoryReserve::FillUp();
        EXPECT_EQ(told, "there is hardly any memory left: a part of what this program keeps for that was used");
        told.clear();
        EXPECT_TRUE(FindsSome());
    }
    EXPECT_EQ(std::get_new_handler(), nullptr);
    MemoryReserve::FillUp();
    EXPECT_EQ(told, "");
    vordal::SetLogSink({});
}

} // namespace
} // namespace qx5::cli
