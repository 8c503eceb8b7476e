// What a session leaves on at a sonar, by the frames that passed.
#include <cli/switched_on.h>
#include <protocol/frame.h>
#include <protocol/house_records.h>
#include <protocol/tree_codec.h>

#include <gtest/gtest.h>

namespace qx5::cli {
namespace {

class Switches : public ::testing::Test
{
protected:
    void Sent(std::uint32_t command, std::vector<unsigned char> const& payload = {})
    {
        switches.Take(true, protocol::BuildRemoteControlRecord(command, payload, {0, -1}, 0.0), ++now);
    }
    template <typename Value>
    void Told(wchar_t const* key, Value value)
    {
        std::string error;
        protocol::TreeNode const nodes[]{{key, value, {}}};
        auto const bytes = protocol::EncodeTree(nodes, error);
        ASSERT_TRUE(bytes.has_value()) << error;
        switches.Take(false, protocol::BuildFrame(protocol::records::AttributeTree.Id(), {0, -1}, 0.0, *bytes), ++now);
    }
    std::vector<std::string> Lines() const { return switches.Lines("Hull sonar", "192.0.2.7:7000"); }
    static std::vector<std::string> Line(std::string const& what, std::string const& off)
    {
        return {"Hull sonar is left with its " + what + " on; `qx5 send --sonar 192.0.2.7:7000 " + off +
                "` switches that off"};
    }

    std::vector<unsigned char> const power210{0x00, 0x00, 0x52, 0x43};
    std::vector<unsigned char> const power0{0, 0, 0, 0};
    double now = 100.0; ///< each frame a second later than the one before
    SwitchedOn switches;
};

TEST_F(Switches, AreOnUntilTheyAreSwitchedOff)
{
    EXPECT_TRUE(Lines().empty());
    Sent(1100);
    EXPECT_EQ(Lines(), Line("pings", "x5PingOnOffState=0"));
    Sent(1101);
    EXPECT_TRUE(Lines().empty());
    Sent(1200, std::vector<unsigned char>(260));
    EXPECT_EQ(Lines(), Line("recording", "x5DataRecording=0"));
    Sent(1201);
    EXPECT_TRUE(Lines().empty());
    Sent(1005, power210);
    EXPECT_EQ(Lines(), Line("transmit power", "x5Power=0"));
    Sent(1005, power0);
    EXPECT_TRUE(Lines().empty());
    Sent(14006, {1, 0, 0, 0});
    EXPECT_EQ(Lines(), Line("ASD recording", "ASDRecordingEnabled=false"));
    Sent(14006, {0, 0, 0, 0});
    Sent(14007, {1, 0, 0, 0, 0, 0, 0, 0});
    EXPECT_EQ(Lines(), Line("stave recording", "StaveRecordingEnabled=false"));
    Sent(1000);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Switches, WhatWasOnBeforeIsNotTheSessions)
{
    Told(L"x5Power", 190.0);
    Sent(1005, power210);
    Told(L"x5Power", 210.0);
    EXPECT_TRUE(Lines().empty());
    // Off and on again is the session's doing.
    Sent(1005, power0);
    Told(L"x5Power", 0.0);
    Sent(1005, power210);
    EXPECT_EQ(Lines(), Line("transmit power", "x5Power=0"));
    Sent(1005, power210);
    EXPECT_EQ(Lines(), Line("transmit power", "x5Power=0")) << "again changes nothing";
}

TEST_F(Switches, WhatTheSonarTellsCounts)
{
    Told(L"x5PingOnOffState", std::int32_t{0});
    Sent(1100);
    Told(L"x5PingOnOffState", std::int32_t{1});
    EXPECT_EQ(Lines(), Line("pings", "x5PingOnOffState=0"));
    // Another host switches them off.
    Told(L"x5PingOnOffState", std::int32_t{0});
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Switches, WhatWasOnItsWayWhenTheCommandLeftIsOfBefore)
{
    Told(L"x5Power", 0.0);
    Sent(1005, power210);
    now -= 0.9;
    Told(L"x5Power", 0.0);
    EXPECT_EQ(Lines(), Line("transmit power", "x5Power=0"));
    // A second later it is what the sonar made of the command.
    Told(L"x5Power", 0.0);
    EXPECT_TRUE(Lines().empty()) << "it did not take it";
    // Seen to be on, it is off at once when somebody switches it off.
    Sent(1005, power210);
    now -= 0.9;
    Told(L"x5Power", 210.0);
    now -= 0.9;
    Told(L"x5Power", 0.0);
    EXPECT_TRUE(Lines().empty());
}

TEST_F(Switches, TheAnswerMayBeTakenBeforeTheCommand)
{
    Told(L"x5PingOnOffState", std::int32_t{0});
    now = 200.0;
    Told(L"x5PingOnOffState", std::int32_t{1});
    now = 198.0;
    Sent(1100);
    EXPECT_EQ(Lines(), Line("pings", "x5PingOnOffState=0"));
    Told(L"x5PingOnOffState", std::int32_t{0});
    EXPECT_TRUE(Lines().empty()) << "it was seen to be on";
}

TEST_F(Switches, OtherFramesAndNoFramesChangeNothing)
{
    Sent(1003, power210);
    Sent(1107);
    Sent(1005, {1, 2}); // too short for what it is
    switches.Take(true, std::vector<unsigned char>(10), ++now);
    switches.Take(false, std::vector<unsigned char>(10), ++now);
    Told(L"x5Range", 50.0);
    EXPECT_TRUE(Lines().empty());
}

} // namespace
} // namespace qx5::cli
