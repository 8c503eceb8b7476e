// A pointer that is exchanged while others go by it.
#include <operation/exchanged_pointer.h>

#include <thread>

#include <gtest/gtest.h>

namespace qx5::operation {
namespace {

TEST(ExchangedPointer, GivesWholeThingsWhileOthersExchangeThem)
{
    constexpr int last = 20'000;
    ExchangedPointer<int const> pointer;
    EXPECT_EQ(pointer.Get(), nullptr);
    std::thread writer([&] {
        for (int i = 1; i <= last; ++i) {
            pointer.Set(std::make_shared<int const>(i));
        }
    });
    int seen = 0;
    while (seen < last) {
        if (auto const held = pointer.Get()) {
            ASSERT_GE(*held, seen);
            seen = *held;
        }
    }
    writer.join();
}

TEST(ExchangedPointer, HoldsNothingAnyMoreOnceItWasTakenAway)
{
    ExchangedPointer<int const> pointer;
    auto thing = std::make_shared<int const>(7);
    std::weak_ptr<int const> const left = thing;
    pointer.Set(std::move(thing));
    auto held = pointer.Get();
    pointer.Set(nullptr);
    EXPECT_EQ(pointer.Get(), nullptr);
    EXPECT_FALSE(left.expired());
    held.reset();
    EXPECT_TRUE(left.expired());
}

} // namespace
} // namespace qx5::operation
