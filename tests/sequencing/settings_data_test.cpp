// Tests of what a block of settings data must be to count: its items, its status, the pause that they tell.
#include "fleet.h"

#include <protocol/bytes.h>

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace qx5::test {
namespace {

/// An item as a block holds it.
struct Item
{
    unsigned short number;
    unsigned short type;
    std::vector<unsigned char> bytes;
    unsigned short status = 0;
    bool hasData = true;
};

std::vector<unsigned char> F32(float value)
{
    std::vector<unsigned char> bytes(4);
    protocol::PutF32LE(bytes, 0, value);
    return bytes;
}
std::vector<unsigned char> F64(double value)
{
    std::vector<unsigned char> bytes(8);
    protocol::PutF64LE(bytes, 0, value);
    return bytes;
}
std::vector<unsigned char> U16(std::uint16_t value)
{
    return {static_cast<unsigned char>(value & 0xFFU), static_cast<unsigned char>(value >> 8U)};
}
/// The same with one byte more.
std::vector<unsigned char> Longer(std::vector<unsigned char> bytes)
{
    bytes.push_back(0);
    return bytes;
}

CDataBlock BlockOf(std::vector<Item> const& items, unsigned short status = 0)
{
    CDataBlock block;
    for (Item const& item : items) {
        auto const size = static_cast<unsigned>(item.bytes.size());
        if (item.hasData) {
            block.AddItem(item.number, item.type, item.bytes, size, item.status);
        } else {
            block.AddItemWithoutData(item.number, item.type, size, item.status);
        }
    }
    block.SetStatus(status);
    return block;
}

Item const hundredMetres{699, DATA_FLOAT, F32(100.0F)};

/// Of the pauses that these overheads make of 100 m at 1500 m/s (2 x 100 / 1500 s = 133 ms of travel), the first is
/// 15 days, beyond all patience, and the second 0.133 ms, which is none.
constexpr double endless = 1e9;
constexpr double none = 0.1;

/// A and B in one group, C in another, all joined. A has pinged and is awaited.
class SettingsData : public testing::Test
{
protected:
    void Begin(double overhead)
    {
        m_fleet.reset(); // one host at a time
        m_fleet = std::make_unique<ScriptedFleet>(std::vector<SonarSetup>{
            {.group = 1, .overhead = overhead}, {.group = 1, .overhead = overhead}, {.group = 2, .overhead = 0.0}});
        m_fleet->Info().Init();
        m_fleet->Data(0);
        ASSERT_TRUE(m_fleet->arrivals.WaitForPingsOf(0, 1));
        m_fleet->Data(1);
        m_fleet->Data(2);
        ASSERT_TRUE(m_fleet->arrivals.WaitForPingsOf(2, 1));
    }
    void Tell(CDataBlock const& block) { m_fleet->host.PutBlock(IdOfSonar(0), block); }
    void Tell(std::vector<Item> const& items) { Tell(BlockOf(items)); }
    /// Whether it is B's turn, within all patience.
    bool IsNextTurn() { return m_fleet->arrivals.WaitForPingsOf(1, 1); }
    /// Whether nothing came of what was told: the pause that is told now is the one that is made. Needs an overhead of
    /// 100 %.
    void ExpectStillAwaited()
    {
        // Measured by C: a turn that had begun would have come by then.
        for (std::size_t round = 2; round < 30; ++round) {
            m_fleet->Data(2);
            ASSERT_TRUE(m_fleet->arrivals.WaitForPingsOf(2, round));
        }
        auto const told = Clock::now();
        Tell({{699, DATA_FLOAT, F32(300.0F)}}); // 400 ms
        ASSERT_TRUE(IsNextTurn());
        EXPECT_GE(TimeOfNextTurn() - told, std::chrono::milliseconds(400));
    }
    Clock::time_point TimeOfNextTurn() const
    {
        for (Arrival const& arrival : m_fleet->arrivals.All()) {
            if (arrival.sonar == 1 && arrival.command == 1107) {
                return arrival.time;
            }
        }
        return {};
    }

private:
    std::unique_ptr<ScriptedFleet> m_fleet;
};

TEST_F(SettingsData, TheirSoundVelocityMakesThePause)
{
    Begin(endless);
    Tell({hundredMetres, {401, DATA_DOUBLE, F64(1e15)}});
    EXPECT_TRUE(IsNextTurn()) << "2 x 100 m at 1e15 m/s, times 1e7, are 0.002 ms";
}

TEST_F(SettingsData, ABadSoundVelocityIsTakenAs1500)
{
    // Each would make a pause of days, were it taken.
    std::vector<std::vector<Item>> const blocks{
        {hundredMetres, {401, DATA_DOUBLE, F64(1e-6), 1}},
        {hundredMetres, {401, DATA_DOUBLE, F64(1e-6), 0x8000}},
        {hundredMetres, {401, DATA_FLOAT, F64(1e-6)}},
        {hundredMetres, {401, DATA_INT32, F64(1e-6)}},
        {hundredMetres, {401, DATA_DOUBLE, Longer(F64(1e-6))}},
        {hundredMetres, {401, DATA_DOUBLE, F64(1e-6), 0, false}},
        {hundredMetres, {401, DATA_DOUBLE, F64(0.0)}},
        {hundredMetres, {401, DATA_DOUBLE, F64(-0.0)}},
        {hundredMetres},
    };
    for (auto const& block : blocks) {
        Begin(none);
        Tell(block);
        EXPECT_TRUE(IsNextTurn()) << "block " << &block - blocks.data();
    }
}

TEST_F(SettingsData, ABadRangeGivesWayToTheWholeMetres)
{
    Item const oneMetre{609, DATA_UINT16, U16(1)};
    std::vector<std::vector<Item>> const blocks{
        {{699, DATA_FLOAT, F32(1e30F), 1}, oneMetre},
        {{699, DATA_INT32, F32(1e30F)}, oneMetre},
        {{699, DATA_FLOAT, Longer(F32(1e30F))}, oneMetre},
        {{699, DATA_FLOAT, F32(1e30F), 0, false}, oneMetre},
        {oneMetre},
    };
    for (auto const& block : blocks) {
        Begin(none);
        Tell(block);
        EXPECT_TRUE(IsNextTurn()) << "block " << &block - blocks.data();
    }
}

TEST_F(SettingsData, ARangeThatIsNotAboveZeroGivesWayToTheWholeMetres)
{
    for (float const range : {0.0F, -1.0F}) {
        Begin(100.0);
        auto const told = Clock::now();
        Tell({{699, DATA_FLOAT, F32(range)}, {609, DATA_UINT16, U16(200)}});
        ASSERT_TRUE(IsNextTurn());
        // 2 x 200 / 1500 s = 266.7 ms, rounded.
        EXPECT_GE(TimeOfNextTurn() - told, std::chrono::milliseconds(267)) << range;
    }
}

TEST_F(SettingsData, WithoutARangeTheSonarIsStillAwaited)
{
    std::vector<std::vector<Item>> const blocks{
        {{609, DATA_UINT16, U16(0)}},         {{609, DATA_UINT16, U16(1), 1}},        {{609, DATA_FLOAT, U16(1)}},
        {{609, DATA_UINT16, Longer(U16(1))}}, {{609, DATA_UINT16, U16(1), 0, false}}, {{401, DATA_DOUBLE, F64(1500.0)}},
    };
    for (auto const& block : blocks) {
        Begin(100.0);
        Tell(block);
        ASSERT_NO_FATAL_FAILURE(ExpectStillAwaited()) << "block " << &block - blocks.data();
    }
}

TEST_F(SettingsData, TheLowSixBitsOfTheStatusMarkABadBlock)
{
    Item const nearby{699, DATA_FLOAT, F32(0.25F)}; // 0.33 ms of travel: no pause
    for (int bit = 0; bit < 6; ++bit) {
        Begin(100.0);
        Tell(BlockOf({nearby}, static_cast<unsigned short>(1U << bit)));
        ASSERT_NO_FATAL_FAILURE(ExpectStillAwaited()) << "bit " << bit;
    }
    for (int bit = 6; bit < 16; ++bit) {
        Begin(none);
        Tell(BlockOf({nearby}, static_cast<unsigned short>(1U << bit)));
        EXPECT_TRUE(IsNextTurn()) << "bit " << bit;
    }
}

} // namespace
} // namespace qx5::test
