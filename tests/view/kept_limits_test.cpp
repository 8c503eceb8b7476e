// What the page "Sonar Settings" keeps of a sonar's limits beside what it shows.
#include "operator_hand.h"

#include "DeviceDLLs/QX5SonarConfiguration/view/QX5SonarSettingsPage.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

namespace qx5::test::kept_limits_test {
namespace {

Json Widths(char const* axis, Json const& list)
{
    return {axis, {{"x5Variable", "bool", true}, {"x5BeamWidthList", "doubles", list}}};
}

class KeptLimits : public OperatorHand
{
protected:
    /// Of the page as the plug-in has made it: its class is not exported, but its fields lie where they lie. The check
    /// of the object's type needs what the plug-in keeps to itself.
    [[gnu::no_sanitize("vptr")]] QX5SonarSettingsPage::Limits const& Kept()
    {
        auto* const widget = view->Display().Widget()->findChild<QWidget*>(QStringLiteral("settings"));
        return static_cast<QX5SonarSettingsPage const*>(widget)->limits;
    }
    QX5SonarSettingsPage::Limits const& After(Json const& node)
    {
        SonarSays(Json::array({{"x5SonarSettings", Json::array({node})}}));
        return Kept();
    }
};

TEST_F(KeptLimits, CountOneWidthLessOfTheSecondAxis)
{
    auto const& one = After(Widths("x5BeamWidthSetZ", {3.0}));
    EXPECT_TRUE(one.beamWidthZVariable);
    EXPECT_EQ(one.beamWidthZCount, 1);
    EXPECT_EQ(one.beamWidthZMin, 3.0);
    EXPECT_EQ(one.beamWidthZMax, 3.0);
    auto const& three = After(Widths("x5BeamWidthSetZ", {1.0, 4.0, 9.0}));
    EXPECT_EQ(three.beamWidthZCount, 2);
    EXPECT_EQ(three.beamWidthZMin, 1.0);
    EXPECT_EQ(three.beamWidthZMax, 4.0) << "the last but one";
    EXPECT_EQ(three.beamWidthZList.at(2), 9.0);
}

TEST_F(KeptLimits, KeepTheSecondAxisOfAnEarlierSonar)
{
    EXPECT_FALSE(Kept().beamWidthZVariable);
    After(Widths("x5BeamWidthSetZ", {1.0, 4.0, 9.0}));
    auto const& kept = After(Json::parse(R"(["x5BeamWidthSetZ", [["x5Variable", "bool", false],
                                             ["x5BeamWidthList", "doubles", [7, 8]]]])"));
    EXPECT_TRUE(kept.beamWidthZVariable);
    EXPECT_EQ(kept.beamWidthZMin, 1.0);
}

TEST_F(KeptLimits, CutTheListsOfBothAxesToTen)
{
    Json const eleven = {1.0, 2.0, 3.0, 4.0, 5.0, 6.0, 7.0, 8.0, 9.0, 10.0, 11.0};
    auto const& x = After(Widths("x5BeamWidthSetX", eleven));
    EXPECT_EQ(x.beamWidthXCount, 10);
    EXPECT_EQ(x.beamWidthXMax, 10.0);
    EXPECT_EQ(x.beamWidthZList.front(), 0.0) << "nothing is written beyond the list";
    auto const& z = After(Widths("x5BeamWidthSetZ", eleven));
    EXPECT_EQ(z.beamWidthZCount, 9);
    EXPECT_EQ(z.beamWidthZMax, 9.0);
    EXPECT_EQ(z.beamWidthXCount, 10);
}

TEST_F(KeptLimits, TakeFrequenciesAndHorizontalLimits)
{
    After(Json::parse(R"(["x5Frequency", [["x5Min", "double", 200000], ["x5Max", "double", 420000],
                                          ["x5CenterFreq", "double", 400000], ["x5Chirp", "int", 1]]])"));
    EXPECT_EQ(Kept().frequencyMin, 200000.0);
    EXPECT_EQ(Kept().frequencyMax, 420000.0);
    EXPECT_EQ(Kept().frequencyCenter, 400000.0);
    After(Json::parse(R"(["x5BeamSteer", [["x5MinZ", "double", -3.5], ["x5MaxZ", "double", 4.5]]])"));
    EXPECT_EQ(Kept().steerMinZ, -3.5F);
    EXPECT_EQ(Kept().steerMaxZ, 4.5F);
}

TEST_F(KeptLimits, CountWhatIsMissingAsZero)
{
    After(Json::parse(
        R"(["x5Frequency", [["x5Min", "double", 1], ["x5Max", "double", 2], ["x5CenterFreq", "double", 3]]])"));
    EXPECT_EQ(Kept().frequencyCenter, 3.0);
    EXPECT_EQ(Kept().steerMaxZ, 5.0F);
    SonarIs(SonarTree(Json::parse(R"([["SystemText", "string", "bare"]])")));
    auto const& limits = Kept();
    EXPECT_EQ(limits.frequencyMin, 0.0);
    EXPECT_EQ(limits.frequencyMax, 0.0);
    EXPECT_EQ(limits.frequencyCenter, 0.0);
    EXPECT_EQ(limits.steerMinZ, 0.0F);
    EXPECT_EQ(limits.steerMaxZ, 0.0F);
    EXPECT_FALSE(limits.beamWidthZVariable);
}

/// The positions that a slider takes, one after the other.
std::vector<int> PositionsDuring(QSlider& slider, std::function<void()> const& change)
{
    std::vector<int> positions;
    QObject context;
    QObject::connect(&slider, &QSlider::valueChanged, &context, [&](int position) { positions.push_back(position); });
    change();
    return positions;
}

// Values follow limits: what is offered in place of a missing value stands until the sonar's own comes after it.

TEST_F(KeptLimits, OfferTheFirstBeamWidthInPlaceOfNone)
{
    auto& slider = view->Slider("settings", 16930);
    // The first width is the last of two that are alike, so that its position is not the one of no width at all.
    auto const limits = [&] { After(Widths("x5BeamWidthSetX", {0.5, 0.5, 2.0})); };
    SonarSays(Json::parse(R"([["x5BeamWidthX", "double", -2]])"));
    EXPECT_EQ(PositionsDuring(slider, limits), std::vector<int>{}) << "the sonar has told a width, an odd one";
    SonarSays(Json::parse(R"([["x5BeamWidthX", "double", -1]])"));
    EXPECT_EQ(PositionsDuring(slider, limits), (std::vector{1, 0}));
}

TEST_F(KeptLimits, OfferTheLeastSteeringInPlaceOfNone)
{
    auto& slider = view->Slider("settings", 16932);
    auto const limits = [&] { After(Json::parse(R"(["x5BeamSteer", [["x5MinX", "double", -10]]])")); };
    SonarSays(Json::parse(R"([["x5ProjBeamAngleVer", "double", 2], ["x5ProjBeamAngleHor", "double", 2]])"));
    EXPECT_EQ(PositionsDuring(slider, limits), (std::vector{0, 8})) << "new limits begin with 0";
    SonarSays(Json::parse(R"([["x5ProjBeamAngleVer", "double", -1]])"));
    EXPECT_EQ(PositionsDuring(slider, limits), (std::vector{-40, 0, -4}));
    SonarSays(Json::parse(R"([["x5ProjBeamAngleVer", "double", 2], ["x5ProjBeamAngleHor", "double", -1]])"));
    EXPECT_EQ(PositionsDuring(slider, limits), (std::vector{-40, 0, 8}));
}

} // namespace
} // namespace qx5::test::kept_limits_test
