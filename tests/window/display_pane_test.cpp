// The picture of a sonar's echoes in the operator's window: when it comes up, what its hands reach, when it lets go.
#include "live_stage.h"
#include "program.h"
#include "tests/picture/echo_blocks.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/operator_window.h>

#include <QCheckBox>
#include <QComboBox>
#include <QDockWidget>
#include <QImage>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTabBar>
#include <QTest>

#include <filesystem>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;

/// A session with both plug-ins on two simulated sonars, in the window as `qx5 run` puts it together.
class PicturedStage
{
public:
    explicit PicturedStage(std::vector<std::filesystem::path> const& plugins = {QX5_PLUGIN_FILE, PICTURE_PLUGIN_FILE})
    {
        std::string error;
        EXPECT_TRUE(session.LoadPlugins(plugins, plugins.size(), error)) << error;
        vordal::StoredProject fleet;
        fleet.vessels = {cli::MakeVessel(1, L"Surveyor", false)};
        CString const sonarClass = session.SonarClass();
        AddConnected(fleet, {hull, sonarClass, L"Hull sonar", {}, true, {}}, L"127.0.0.1", sonars[0].Port());
        AddConnected(fleet, {pole, sonarClass, L"Pole sonar", {}, true, {}}, L"127.0.0.1", sonars[1].Port());
        EXPECT_TRUE(session.Begin(fleet, {}, error)) << error;
        OpenWindow();
        EXPECT_TRUE(RunUntil([&] {
            return whole->Main().Devices().StateOf(hull) == vordal::LinkState::Connected && Range() != "0.0 m";
        }));
    }
    ~PicturedStage()
    {
        whole.reset();
        std::string error;
        EXPECT_TRUE(session.End(error)) << error;
    }

    /// Again after `whole` has gone: what the session keeps is what a project keeps.
    void OpenWindow()
    {
        whole = std::make_unique<cli::OperatorWindow>(session, feed, 4, hull);
        whole->View().OpenFirst(hull);
        whole->Main().show();
    }
    void Ping(CDataId sonar, int number)
    {
        picture::test::MadeSeabed const seabed;
        sonar.SetGroupId(SONAR_WATER_COLUMN_GROUP);
        session.Host().PutBlock(sonar, seabed.Water(number).Make());
        sonar.SetGroupId(SONAR_DETECTIONS_GROUP);
        session.Host().PutBlock(sonar, seabed.Detections(number).Make());
    }
    QString Range() { return whole->View().Frame().findChild<QLabel*>(QStringLiteral("rangeValue"))->text(); }
    QDockWidget* Dock() { return whole->Displays().Dock(); }
    QTabBar& Tabs() { return *Dock()->findChild<QTabBar*>(QStringLiteral("displays")); }
    /// A control of the display in front; null before it is open.
    template <typename Control>
    Control* Find(char const* name)
    {
        return Dock()->findChild<QStackedWidget*>()->currentWidget()->findChild<Control*>(QString::fromLatin1(name));
    }
    QWidget* Picture() { return Dock()->findChild<QWidget*>(QStringLiteral("picture")); }
    bool IsUp() { return Dock() != nullptr && Dock()->isVisible(); }

    std::array<Sonar, 2> sonars;
    std::shared_ptr<vordal::WindowFeed> feed = std::make_shared<vordal::WindowFeed>();
    cli::WindowSession session{feed, 4};
    std::unique_ptr<cli::OperatorWindow> whole;
};

TEST(DisplayPane, IsNotThereWithoutAPlugInForIt)
{
    PicturedStage stage({QX5_PLUGIN_FILE});
    EXPECT_EQ(stage.Dock(), nullptr);
    stage.Ping(hull, 1);
    stage.whole->Displays().Look();
    EXPECT_TRUE(stage.session.OtherDisplays().empty());
}

TEST(DisplayPane, ComesUpWithTheShownSonarsEchoes)
{
    PicturedStage stage;
    ASSERT_NE(stage.Dock(), nullptr);
    auto const* const tabs = stage.Dock()->findChild<QTabBar*>(QStringLiteral("displays"));
    ASSERT_EQ(tabs->count(), 5);
    EXPECT_EQ(tabs->tabText(0), QStringLiteral("X5 Fan"));
    // It follows the sonar before it is seen; another sonar's echoes are none of its business.
    ASSERT_TRUE(RunUntil([&] { return stage.Picture() != nullptr; }));
    stage.Ping(pole, 1);
    stage.whole->Displays().Look();
    EXPECT_FALSE(stage.IsUp());
    stage.Ping(hull, 1);
    EXPECT_TRUE(RunUntil([&] { return stage.IsUp(); }));
}

TEST(DisplayPane, WhatItsHandsAskForReachesTheSonarOnceAndTheTabs)
{
    PicturedStage stage;
    stage.Ping(hull, 1);
    ASSERT_TRUE(RunUntil([&] { return stage.IsUp() && stage.Picture() != nullptr; }));
    QString const before = stage.Range();
    QWidget* const picture = stage.Picture();
    picture->setFocus();
    QTest::keyClick(picture, Qt::Key_Tab); // the range is the first that can be taken hold of
    QTest::keyPress(picture, Qt::Key_Left);
    QTest::keyPress(picture, Qt::Key_Left);
    QTest::keyRelease(picture, Qt::Key_Left);
    constexpr unsigned range = 1003;
    ASSERT_TRUE(RunUntil([&] { return !stage.sonars[0].Payloads(range).empty(); }));
    EXPECT_TRUE(RunUntil([&] { return stage.Range() != before; }));
    auto const payloads = stage.sonars[0].Payloads(range);
    ASSERT_EQ(payloads.size(), 1U);
    float metres = 0.0F;
    ASSERT_EQ(payloads[0].size(), sizeof metres);
    std::memcpy(&metres, payloads[0].data(), sizeof metres);
    EXPECT_EQ(stage.Range(), QString::number(metres, 'f', 1) + QStringLiteral(" m"));
    EXPECT_LT(metres, before.chopped(2).toFloat());
    EXPECT_TRUE(stage.sonars[1].Payloads(range).empty());
}

TEST(DisplayPane, StaysAwayOnceTheOperatorHasClosedIt)
{
    PicturedStage stage;
    stage.Ping(hull, 1);
    ASSERT_TRUE(RunUntil([&] { return stage.IsUp(); }));
    stage.Dock()->close(); // the cross of its title
    ASSERT_TRUE(RunUntil([&] { return stage.Picture() == nullptr; })) << "its displays are closed with it";
    stage.Ping(hull, 2);
    stage.whole->Displays().Look();
    EXPECT_FALSE(stage.IsUp());
    stage.Dock()->toggleViewAction()->trigger();
    EXPECT_TRUE(RunUntil([&] { return stage.IsUp() && stage.Picture() != nullptr; }));
}

TEST(DisplayPane, KeepsWhatWasChosenOfThePictureAndWhichIsInFront)
{
    PicturedStage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.Find<QSpinBox>("levelTo") != nullptr; }));
    stage.Find<QComboBox>("colours")->setCurrentIndex(2);
    stage.Find<QSpinBox>("levelFrom")->setValue(60);
    stage.Find<QSpinBox>("levelTo")->setValue(90);
    stage.Find<QCheckBox>("follow")->setChecked(false);
    stage.Find<QCheckBox>("freeze")->setChecked(true);
    constexpr int map = 1;
    ASSERT_EQ(stage.Tabs().tabText(map), QStringLiteral("X5 Map"));
    stage.Tabs().setCurrentIndex(map);
    ASSERT_TRUE(RunUntil([&] { return stage.Find<QComboBox>("layer") != nullptr; }));
    stage.Find<QComboBox>("layer")->setCurrentIndex(1);

    stage.whole.reset();
    stage.OpenWindow();
    ASSERT_TRUE(RunUntil([&] { return stage.Picture() != nullptr; }));
    EXPECT_EQ(stage.Tabs().currentIndex(), map);
    EXPECT_EQ(stage.Find<QComboBox>("layer")->currentIndex(), 1);
    EXPECT_EQ(stage.Find<QComboBox>("colours")->currentIndex(), 0) << "each display has its own";
    stage.Tabs().setCurrentIndex(0);
    ASSERT_TRUE(RunUntil([&] { return stage.Find<QSpinBox>("levelTo") != nullptr; }));
    EXPECT_EQ(stage.Find<QComboBox>("colours")->currentIndex(), 2);
    EXPECT_EQ(stage.Find<QSpinBox>("levelFrom")->value(), 60);
    EXPECT_EQ(stage.Find<QSpinBox>("levelTo")->value(), 90);
    EXPECT_FALSE(stage.Find<QCheckBox>("follow")->isChecked());
    EXPECT_FALSE(stage.Find<QCheckBox>("freeze")->isChecked()) << "what was frozen is over";
    stage.Ping(hull, 1);
    EXPECT_EQ(stage.Find<QSpinBox>("levelTo")->value(), 90) << "levels that were chosen are not taken from echoes";
}

TEST(DisplayPane, LetsGoOfASonarThatIsRemoved)
{
    PicturedStage stage;
    stage.Ping(hull, 1);
    ASSERT_TRUE(RunUntil([&] { return stage.IsUp() && stage.Picture() != nullptr; }));
    // As the Sonar menu does it: the view is closed first.
    stage.whole->View().Close();
    EXPECT_EQ(stage.Picture(), nullptr);
    std::string error;
    EXPECT_TRUE(stage.session.RemoveSonar(hull, error)) << error;
    stage.Ping(hull, 2);
    Q_EMIT stage.whole->Main().Devices().SonarChosen(pole);
    EXPECT_TRUE(RunUntil([&] { return stage.Picture() != nullptr; }));
    stage.Ping(pole, 1);
    EXPECT_TRUE(RunUntil([&] { return stage.IsUp(); }));
}

TEST(DisplayPane, IsPicturedByName)
{
    TemporaryFolder const folder;
    auto const file = folder / "map.png";
    auto const taken = Qx5({"run", "--screenshot", file.string(), "--display", "X5 Map", "--dark"});
    EXPECT_EQ(taken.code, 0) << taken.err;
    EXPECT_EQ(QImage(QString::fromStdString(file.string())).size(), QSize(1000, 640));
    auto const wrong = Qx5({"run", "--screenshot", file.string(), "--display", "X5 Mop"});
    EXPECT_EQ(wrong.code, 1);
    EXPECT_THAT(wrong.err, HasSubstr("there is no display \"X5 Mop\"; there are X5 Fan, X5 Map"));
}

} // namespace
} // namespace qx5::test
