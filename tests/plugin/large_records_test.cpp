// Records that grow with what is asked for: up to the greatest frame they go out, beyond it one line refuses them.
#include "one_sonar.h"

#include <protocol/bytes.h>
#include <protocol/frame.h>

#include <algorithm>
#include <limits>
#include <tuple>

#include <gmock/gmock.h>

namespace {

using ::testing::AllOf;
using ::testing::EndsWith;
using ::testing::HasSubstr;

/// Keeps the last data record as bytes.
class LastRecord final : public RecordedTraffic
{
public:
    int records = 0;
    std::vector<unsigned char> payload;

    bool SendData(Sender const&, std::uint32_t, std::span<unsigned char const> bytes, double, int, int) override
    {
        ++records;
        payload.assign(bytes.begin(), bytes.end());
        return true;
    }
};

class LargeRecords : public OneSonar
{
protected:
    LargeRecords() { m_host.SetTraffic(&last); }

    /// Asks for the A-scan status of these beams and gives what the plug-in said on standard error meanwhile.
    std::string AskForBeams(int first, int final)
    {
        CAttributeMap request;
        request.Add(L"SendAScanStatus", CVordalBool(true), 0);
        request.Add(L"AScanBeamStart", CVordalInt(first), 0);
        request.Add(L"AScanBeamEnd", CVordalInt(final), 0);
        request.Add(L"AScanPingNumber", CVordalInt(3), 0);
        testing::internal::CaptureStderr();
        Request(request);
        return testing::internal::GetCapturedStderr();
    }
    std::size_t Beams() const { return (last.payload.size() - 39) / 2; }
    unsigned Beam(std::size_t index) const { return qx5::protocol::GetU16LE(last.payload, 39 + 2 * index); }
    unsigned CountTold() const { return qx5::protocol::GetU16LE(last.payload, 5); }

    LastRecord last;
};

TEST_F(LargeRecords, AScanBeamsBeyondTheCountGoOutAndTheCountIsCut)
{
    EXPECT_EQ(AskForBeams(0, 65535), "");
    ASSERT_EQ(last.records, 1);
    ASSERT_EQ(last.payload.size(), 39U + 2U * 65536U);
    EXPECT_EQ(CountTold(), 0U) << "65536 as 16 bits";
    EXPECT_EQ(Beam(0), 0U);
    EXPECT_EQ(Beam(65535), 65535U);

    EXPECT_EQ(AskForBeams(-2, 65537), "");
    ASSERT_EQ(last.records, 2);
    ASSERT_EQ(Beams(), 65540U);
    EXPECT_EQ(CountTold(), 4U);
    EXPECT_EQ(Beam(0), 0xFFFEU);
    EXPECT_EQ(Beam(1), 0xFFFFU);
    EXPECT_EQ(Beam(2), 0U);
    EXPECT_EQ(Beam(65539), 1U) << "65537 as 16 bits";
}

TEST_F(LargeRecords, AScanBeamsGoOutAsFarAsAFrameHoldsThem)
{
    // A frame of 128 MiB less 68 bytes around the record and 39 ahead of the beams holds 67,108,810 of 2 bytes.
    EXPECT_EQ(AskForBeams(1, 67'108'810), "");
    ASSERT_EQ(last.records, 1);
    EXPECT_EQ(Beams(), 67'108'810U);
    EXPECT_LE(last.payload.size() + 68, 134'217'728U);
    EXPECT_EQ(CountTold(), 0xFFCAU) << "67108810 is 0x3FFFFCA";
    EXPECT_EQ(Beam(67'108'809), 0xFFCAU);

    EXPECT_THAT(AskForBeams(1, 67'108'811), AllOf(HasSubstr("67108811 beams"), HasSubstr("67108810"), EndsWith("\n")));
    EXPECT_EQ(last.records, 1);
}

TEST_F(LargeRecords, NoRangeOfBeamsIsTooLargeToBeRefusedInALine)
{
    int const least = std::numeric_limits<int>::min();
    int const greatest = std::numeric_limits<int>::max();
    for (auto const& [first, final, count] :
         {std::tuple(least, greatest, "4294967296"), std::tuple(0, greatest, "2147483648"),
          std::tuple(least, 0, "2147483649")}) {
        std::string const told = AskForBeams(first, final);
        EXPECT_THAT(told, HasSubstr(count));
        EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), 1) << told;
    }
    EXPECT_EQ(last.records, 0);
}

} // namespace
