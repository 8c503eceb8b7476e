// One request's way: from a view's call to bytes at the sonar, to the echo, to the sonar's answer in the tree.
#include "stage.h"

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RequestWay : public ::testing::Test
{
protected:
    FarEnd far;
    NearEnd near{far.Port()};
};

TEST_F(RequestWay, ARangeArrivesAsNinetySixBytes)
{
    ASSERT_TRUE(near.Connect());
    near.AskRange(50.0);
    ASSERT_TRUE(far.WaitForRanges(1));
    auto const arrivals = far.Arrivals();
    ASSERT_EQ(arrivals.size(), 1U);
    EXPECT_EQ(ToHex(arrivals[0].frame),
              "05 00 3c 00 ff ff 00 00 60 00 00 00 00 00 00 00 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00 "
              "4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
              "eb 03 00 00 eb 03 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 48 42 00 00 00 00 ");
    EXPECT_THAT(near.EchoedRanges(), ElementsAre(50.0));
    EXPECT_TRUE(near.WaitUntilSeen(50.0));
    EXPECT_EQ(near.Value(L"x5Range"), 50.0);
}

TEST_F(RequestWay, AnglesArriveInRadiansAndAreEchoedInDegrees)
{
    ASSERT_TRUE(near.Connect());
    CAttributeMap request;
    request.Add(L"x5BeamSteer", CVordalDouble2D(10.0, -10.0), 0);
    near.Ask(request);
    ASSERT_TRUE(Eventually([&] { return far.Arrivals().size() == 1; }));
    EXPECT_EQ(ToHex(far.Arrivals()[0].frame),
              "05 00 3c 00 ff ff 00 00 64 00 00 00 00 00 00 00 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00 "
              "4c 1d 00 00 00 00 00 00 00 00 ff ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
              "fd 03 00 00 fd 03 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
              "c2 b8 32 3e c2 b8 32 be 00 00 00 00 ");
    double first = 0.0;
    double second = 0.0;
    unsigned flags = 0;
    EXPECT_TRUE(near.Sonar().GetAttribValue(L"x5BeamSteer", first, second, flags));
    EXPECT_EQ(first, 10.0);
    EXPECT_EQ(second, -10.0);
}

TEST_F(RequestWay, AnAbsorptionTravelsInAFrameOfItsOwn)
{
    CAttributeMap tree;
    tree.Add(L"DeviceId", CVordalInt(7125), 0);
    tree.Add(L"DeviceEnum", CVordalInt(3), 0);
    far.Command("misbehave silent"); // so that the tree stays as it is put
    near.Host().RunAndWait([&] { near.Host().ReplaceAttributes(near.Sonar(), tree); });
    near.Open();
    ASSERT_TRUE(near.WaitForConnection());
    CAttributeMap request;
    request.Add(L"x5Absorption", CVordalDouble(70.0), 0);
    near.Ask(request);
    ASSERT_TRUE(Eventually([&] { return far.Arrivals().size() == 1; }));
    // 72 bytes in all, record 7611, device 7125, enumerator 3, 70.0
    EXPECT_EQ(ToHex(far.Arrivals()[0].frame),
              "05 00 3c 00 ff ff 00 00 48 00 00 00 00 00 00 00 00 00 00 00 e7 07 3e 01 00 00 a0 41 16 0d 01 00 "
              "bb 1d 00 00 d5 1b 00 00 00 00 03 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
              "00 00 8c 42 00 00 00 00 ");
    EXPECT_EQ(near.Value(L"x5Absorption"), 70.0);
}

TEST_F(RequestWay, TheSonarsAnswerHasTheLastWord)
{
    ASSERT_TRUE(near.Connect());
    EXPECT_EQ(near.Value(L"x5Range"), 100.0);
    // Beyond what the sonar can do: the echo tells what was asked for, the answer what the sonar made of it.
    near.AskRange(10000.0);
    ASSERT_TRUE(near.WaitUntilSeen(500.0));
    EXPECT_EQ(near.Value(L"x5Range"), 500.0);
    EXPECT_THAT(near.SeenRanges(), ElementsAre(100.0, 10000.0, 500.0));
    EXPECT_THAT(near.EchoedRanges(), ElementsAre(10000.0));
    EXPECT_EQ(far.Command("state x5Range"), "x5Range = 500 m");
}

TEST_F(RequestWay, AnUnreadableValueLeavesNoTrace)
{
    ASSERT_TRUE(near.Connect());
    CAttributeMap wrongKind;
    wrongKind.Add(L"x5Range", CVordalInt(50), 0);
    near.Ask(wrongKind);
    near.Ask(CAttributeMap());
    near.AskRange(60.0); // what comes after arrives, and nothing came before
    ASSERT_TRUE(far.WaitForRange(60.0F));
    EXPECT_EQ(far.Arrivals().size(), 1U);
    EXPECT_THAT(near.EchoedRanges(), ElementsAre(60.0));
}

TEST_F(RequestWay, KeysOfOneRequestTakeEffectInTheOrderOfTheChain)
{
    ASSERT_TRUE(near.Connect());
    CAttributeMap request;
    request.Add(L"x5PingOnOffState", CVordalInt(0), 0);
    request.Add(L"x5Power", CVordalDouble(210.0), 0);
    request.Add(L"x5Range", CVordalDouble(50.0), 0);
    request.Add(L"DeviceEnum", CVordalInt(1), 0);
    near.Ask(request);
    // Projector 1011, the three records asked for, range 1003, power 1005, pings off 1101: in this order.
    ASSERT_TRUE(Eventually([&] { return far.Arrivals().size() == 7; }));
    std::vector<unsigned> commands;
    for (auto const& arrival : far.Arrivals()) {
        commands.push_back(arrival.frame.at(64) + 256U * arrival.frame.at(65));
    }
    EXPECT_EQ(commands[0], 1011U);
    EXPECT_EQ(commands[4], 1003U);
    EXPECT_EQ(commands[5], 1005U);
    EXPECT_EQ(commands[6], 1101U);
}

TEST_F(RequestWay, WithoutConnectionTheEchoStillGoesOut)
{
    EXPECT_FALSE(near.Send(50.0F));
    near.AskRange(50.0);
    EXPECT_THAT(near.EchoedRanges(), ElementsAre(50.0));
    EXPECT_THAT(near.SeenRanges(), ElementsAre(50.0));
    EXPECT_THAT(far.Ranges(), IsEmpty());
    // Once there is a connection nothing of before is sent.
    ASSERT_TRUE(near.Connect());
    near.AskRange(60.0);
    ASSERT_TRUE(far.WaitForRange(60.0F));
    EXPECT_THAT(far.Ranges(), ElementsAre(60.0F));
}

} // namespace
} // namespace qx5::test
