// Tests of what stands around the view: events, banner, history, transmit lock, and how the list marks its sonars.
#include "live_stage.h"
#include "tab_stops.h"

#include <cli/window/project_menu.h>
#include <cli/window/row_table.h>
#include <reference_host/window/device_panel.h>
#include <reference_host/window/mark.h>

#include <vordalhostdllR/DataManager.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <chrono>
#include <deque>
#include <optional>
#include <set>
#include <stdexcept>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;

using cli::BannerOf;
using cli::EventModel;
using cli::HistoryModel;
using operation::Event;
using operation::EventKind;
using operation::HeldRequests;
using operation::Severity;
using operation::SonarCondition;
using operation::SonarState;
using ::testing::HasSubstr;
using vordal::LinkState;

operation::EventList::Content Events(int first, int count)
{
    operation::EventList::Content content;
    for (int i = first; i < first + count; ++i) {
        Event event;
        event.time = 1700000000.0;
        event.sonarName = "Bow";
        event.kind = EventKind::Differs;
        event.what = "x5Range";
        event.asked = std::to_string(i) + " m";
        event.got = "500 m";
        content.events.push_back(std::move(event));
    }
    return content;
}

TEST(EventPane, CopiesAllRowsAsTextWithTabs)
{
    cli::EventPane pane;
    pane.show();
    pane.Append(Events(1, 2));
    Event lost;
    lost.time = 1700000001.5;
    lost.sonarName = "Stern";
    lost.kind = EventKind::LinkLost;
    lost.severity = Severity::Error;
    lost.reason = "cut\tshort";
    operation::EventList::Content content;
    content.events.push_back(lost);
    pane.Append(std::move(content));
    auto& table = *pane.findChild<cli::RowTable*>("events");
    table.setFocus();
    QTest::keyClick(&table, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "22:13:20.000\tWarning\tBow\tdiffers\tx5Range\t1 m\t500 m\t\n"
                                                 "22:13:20.000\tWarning\tBow\tdiffers\tx5Range\t2 m\t500 m\t\n"
                                                 "22:13:21.500\tError\tStern\tlink lost\t\t\t\tcut short\n");
}

TEST(EventPane, TellsSeverityByWordAndByAMarkOfItsOwn)
{
    cli::EventPane pane;
    auto content = Events(1, 3);
    content.events[0].severity = Severity::Information;
    content.events[2].severity = Severity::Error;
    pane.Append(std::move(content));
    std::vector<QImage> marks;
    for (int row = 0; row < 3; ++row) {
        auto const level = pane.Model().index(row, EventModel::Level);
        auto image = level.data(Qt::DecorationRole)
                         .value<QIcon>()
                         .pixmap(vordal::MarkSize)
                         .toImage()
                         .convertToFormat(QImage::Format_Alpha8); // the shape alone
        ASSERT_FALSE(image.isNull());
        marks.push_back(image);
    }
    EXPECT_NE(marks[0], marks[1]);
    EXPECT_NE(marks[1], marks[2]);
    EXPECT_EQ(pane.Model().index(0, EventModel::Level).data(Qt::AccessibleTextRole).toString(), "Note");
    EXPECT_EQ(pane.Model().index(1, EventModel::Level).data(Qt::AccessibleTextRole).toString(), "Warning");
    EXPECT_EQ(pane.Model().index(2, EventModel::Level).data(Qt::AccessibleTextRole).toString(), "Error");
}

TEST(EventPane, KeepsTheNewestAndCountsTheOthers)
{
    cli::EventPane pane;
    auto const limit = static_cast<int>(EventModel::GreatestCount);
    pane.Append(Events(1, limit));
    EXPECT_EQ(pane.Model().GoneCount(), 0U);
    auto more = Events(limit + 1, 3);
    more.lost = 5;
    pane.Append(std::move(more));
    EXPECT_EQ(pane.Model().rowCount(), limit);
    EXPECT_EQ(pane.Model().GoneCount(), 8U);
    EXPECT_EQ(pane.Model().index(0, EventModel::Asked).data().toString(), "4 m");
    EXPECT_EQ(pane.findChild<QLabel*>("eventCount")->text(), "2000 events, 8 older ones gone");
    pane.Append(Events(1, limit + 7));
    EXPECT_EQ(pane.Model().rowCount(), limit);
    EXPECT_EQ(pane.Model().index(0, EventModel::Asked).data().toString(), "8 m");
}

TEST(EventPane, FollowsItsEndUnlessItWasScrolled)
{
    cli::EventPane pane;
    pane.resize(800, 200);
    pane.show();
    auto const& bar = *pane.findChild<cli::RowTable*>("events")->verticalScrollBar();
    auto& table = *pane.findChild<cli::RowTable*>("events");
    pane.Append(Events(1, 100));
    EXPECT_TRUE(QTest::qWaitFor([&] { return bar.maximum() > 0 && table.IsAtEnd(); }));
    pane.Append(Events(101, 100));
    EXPECT_TRUE(table.IsAtEnd());
    table.verticalScrollBar()->setValue(3);
    pane.Append(Events(201, 100));
    EXPECT_EQ(bar.value(), 3);
    table.scrollToBottom();
    pane.Append(Events(301, 100));
    EXPECT_TRUE(table.IsAtEnd());
}

SonarState Lost()
{
    SonarState state;
    state.link = {.state = LinkState::Waiting, .reason = "refused", .retryIn = 5000ms};
    state.wasConnected = true;
    state.failure = "refused";
    state.sinceLink = 1.5;
    state.lastData = 1700000000.0;
    state.sinceData = 75.0;
    return state;
}

TEST(Banner, TellsOfALostConnectionTheReasonTheNextAttemptAndTheAgeOfTheData)
{
    auto const content = BannerOf(Lost(), "Bow (simulated)", {}, 0);
    ASSERT_TRUE(content.has_value());
    EXPECT_EQ(content->title, "Bow (simulated): the connection is lost");
    EXPECT_EQ(content->reason, "refused; next attempt in 4 s");
    EXPECT_EQ(content->age, "Last data at 22:13:20 UTC, 1 min 15 s ago: what the view shows is as of then.");
    EXPECT_TRUE(content->isOld);
    EXPECT_FALSE(content->canSend);
    EXPECT_EQ(BannerOf(Lost(), "Bow", {{.key = "x5Range", .value = "50 m"}}, 0)->age,
              "Last data at 22:13:20 UTC, 1 min 15 s ago: what the view shows is as of then, or asked for since.");
    auto trying = Lost();
    trying.link = {.state = LinkState::Connecting, .reason = {}, .retryIn = {}};
    EXPECT_EQ(BannerOf(trying, "Bow", {}, 0)->reason, "refused; trying to connect");
    auto never = Lost();
    never.wasConnected = false;
    never.lastData.reset();
    EXPECT_EQ(BannerOf(never, "Bow", {}, 0)->title, "Bow: not connected");
    EXPECT_EQ(BannerOf(never, "Bow", {}, 0)->age, "It has told nothing in this session: what the view shows is older.");
}

TEST(Banner, SaysNothingWhileAllIsWellOrAConnectionIsJustBeingMade)
{
    SonarState state;
    EXPECT_FALSE(BannerOf(state, "Bow", {}, 0).has_value()) << "a device without a connection";
    state.link.state = LinkState::Connecting;
    state.sinceLink = 0.9;
    EXPECT_FALSE(BannerOf(state, "Bow", {}, 0).has_value());
    state.sinceLink = 1.0;
    EXPECT_TRUE(BannerOf(state, "Bow", {}, 0).has_value());
    state.link.state = LinkState::Connected;
    state.condition = SonarCondition::Well;
    EXPECT_FALSE(BannerOf(state, "Bow", {}, 0).has_value());
    state.condition = SonarCondition::Silent;
    EXPECT_EQ(BannerOf(state, "Bow", {}, 0)->title, "Bow is silent");
}

TEST(Banner, OffersWhatWasNotHeardOnceSomebodyCanHearIt)
{
    std::vector<HeldRequests::Held> const held{{"x5Range", "50 m", 1700000000.0, vordal::RequestOrigin::View}};
    auto const lost = BannerOf(Lost(), "Bow", held, 2);
    ASSERT_TRUE(lost.has_value());
    SonarState state;
    state.link.state = LinkState::Connected;
    state.condition = SonarCondition::Well;
    auto const back = BannerOf(state, "Bow", held, 2);
    ASSERT_TRUE(back.has_value());
    EXPECT_EQ(back->title, "Bow can be reached again");
    EXPECT_FALSE(back->isOld);

    int sends = 0;
    int drops = 0;
    cli::ViewBanner banner([&] { ++sends; }, [&] { ++drops; });
    auto& list = *banner.findChild<QListWidget*>("heldRequests");
    auto& send = *banner.findChild<QPushButton*>("sendHeld");
    auto& drop = *banner.findChild<QPushButton*>("dropHeld");
    banner.Show(lost);
    EXPECT_FALSE(banner.isHidden());
    ASSERT_EQ(list.count(), 2);
    EXPECT_EQ(list.item(0)->text(), "x5Range = 50 m asked for at 22:13:20 by view");
    EXPECT_EQ(list.item(1)->text(), "2 older ones are not kept");
    EXPECT_FALSE(send.isEnabled());
    EXPECT_TRUE(drop.isEnabled());
    banner.Show(back);
    EXPECT_TRUE(send.isEnabled());
    send.click();
    drop.click();
    EXPECT_EQ(sends, 1);
    EXPECT_EQ(drops, 1);
    banner.Show(std::nullopt);
    EXPECT_TRUE(banner.isHidden());
}

TEST(Duration, IsToldInWholeUnits)
{
    EXPECT_EQ(vordal::DurationText(0.0), "< 1 s");
    EXPECT_EQ(vordal::DurationText(0.99), "< 1 s");
    EXPECT_EQ(vordal::DurationText(1.0), "1 s");
    EXPECT_EQ(vordal::DurationText(59.9), "59 s");
    EXPECT_EQ(vordal::DurationText(60.0), "1 min 0 s");
    EXPECT_EQ(vordal::DurationText(3599.0), "59 min 59 s");
    EXPECT_EQ(vordal::DurationText(11520.0), "3 h 12 min");
    EXPECT_EQ(vordal::DurationText(1e300), "277777 h 46 min");
}

TEST(DevicePanel, TellsConditionRateAndAgeOfEachSonarToEyesAndToScreenReaders)
{
    vordal::DevicePanel panel(
        {{.number = 1, .name = "Ship", .devices = {{hull, "Bow", "192.0.2.1:7000", true}, {pole, "Stern", {}}}}});
    auto const& list = *panel.findChild<QTreeWidget*>("devices");
    auto const& bow = *list.topLevelItem(0)->child(0);
    auto const& stern = *list.topLevelItem(0)->child(1);
    auto const spoken = [](QTreeWidgetItem const& item) { return item.data(0, Qt::AccessibleTextRole).toString(); };
    EXPECT_EQ(bow.text(0), "Bow\nsimulated");
    EXPECT_EQ(stern.text(0), "Stern");
    panel.SetStatus(hull, {.state = LinkState::Connected, .reason = {}, .retryIn = {}});
    vordal::DeviceActivity activity{
        .wasConnected = true, .silent = false, .pingsOn = true, .pingRate = 7.5, .pings = 4, .sinceData = 0.1};
    panel.SetActivity(hull, activity);
    EXPECT_EQ(bow.text(1), "connected\n7.5 p/s, < 1 s");
    EXPECT_EQ(spoken(bow), "Bow, simulated, connected, 7.5 p/s, last data < 1 s ago");

    auto const mark = [&] { return bow.icon(0).pixmap(vordal::MarkSize).toImage(); };
    std::vector<QImage> steps{mark()};
    for (std::uint64_t pings = 5; pings <= 8; ++pings) {
        activity.pings = pings;
        panel.SetActivity(hull, activity);
        EXPECT_NE(mark(), steps.back()) << pings;
        steps.push_back(mark());
    }
    EXPECT_EQ(steps.front(), steps.back()) << "a turn has four steps";

    activity.silent = true;
    activity.sinceData = 3.2;
    panel.SetActivity(hull, activity);
    EXPECT_EQ(bow.text(1), "silent\n7.5 p/s, 3 s");
    EXPECT_EQ(spoken(bow), "Bow, simulated, silent, connected, 7.5 p/s, last data 3 s ago");
    activity.silent = false;
    panel.SetActivity(hull, activity);
    panel.SetStatus(hull, {.state = LinkState::Connecting, .reason = {}, .retryIn = {}});
    EXPECT_EQ(bow.text(1), "lost\n7.5 p/s, 3 s") << "attempts come and go";
    EXPECT_THAT(spoken(bow).toStdString(), HasSubstr("lost, connecting"));
    activity.pingsOn = false;
    panel.SetActivity(hull, activity);
    EXPECT_EQ(bow.text(1), "lost\npings off, 3 s");
    panel.SetActivity(pole, {});
    EXPECT_EQ(stern.text(1), "closed\nno data");
}

TEST(History, RowsOfStepsThatStayKeepTheirSelection)
{
    operation::HistoryStep step;
    step.time = 1700000000.0;
    step.sonar = hull;
    step.who = vordal::RequestOrigin::View;
    step.left.Add(L"x5Range", CVordalDouble(50.0));
    step.former.Add(L"x5Range", CVordalDouble(100.0));
    std::deque<operation::HistoryStep> steps;
    for (std::uint64_t number = 1; number <= 3; ++number) {
        step.number = number;
        steps.push_back(step);
    }
    cli::HistoryPane pane([](CDataId const&) { return QStringLiteral("Bow"); });
    auto& table = *pane.findChild<cli::RowTable*>("history");
    pane.Show(steps);
    table.selectRow(1);
    steps.pop_back();
    steps[1].state = operation::HistoryStep::State::PassedOver;
    steps[1].reason = "changed meanwhile";
    step.number = 4;
    steps.push_back(step);
    pane.Show(steps);
    EXPECT_EQ(pane.Model().rowCount(), 3);
    EXPECT_EQ(pane.Model().Steps()[2].number, 4U);
    EXPECT_EQ(table.SelectedText(), "22:13:20\tx5Range: 100 to 50\tstays: changed meanwhile\tBow\tview\n");
    pane.Show({});
    EXPECT_EQ(pane.Model().rowCount(), 0);
}

/// A window on its sonars, all connected, with what surrounds its requests.
class AroundTheView : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
        QObject::connect(&m_ticking, &QTimer::timeout, &m_ticking, [&] { stage.session.Tick(); });
        m_ticking.start(20ms);
    }

    /// As the view does.
    static void Ask(AttributeKey const& key, CVordalType const& value, CDataId const& sonar = hull)
    {
        CAttributeMap tree;
        tree.Add(AttributeKey(L"Request"))->Add(key, value);
        DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
    }
    /// Ends the hull sonar's connection; it takes no other until it is told to behave.
    void Lose()
    {
        ASSERT_TRUE(stage.sonars[0].Tell("misbehave refuse not-listening"));
        ASSERT_TRUE(stage.sonars[0].Tell("drop"));
        ASSERT_TRUE(RunUntil([&] { return !Banner().isHidden(); }));
    }
    /// Loses it, and moves its power meanwhile.
    void AskOfTheLost()
    {
        ASSERT_NO_FATAL_FAILURE(Lose());
        stage.Scroll("powerSlider", 1);
        stage.Scroll("powerSlider", 8);
        ASSERT_TRUE(RunUntil([&] { return Find<QListWidget>("heldRequests").isVisible(); }));
    }
    void Trigger(char const* action) { Find<QAction>(action).trigger(); }
    template <typename T>
    T& Find(char const* name)
    {
        auto* const found = stage.window->findChild<T*>(QString::fromLatin1(name));
        if (found == nullptr) {
            throw std::runtime_error(std::string("the window has no ") + name);
        }
        return *found;
    }
    QString Status() { return Find<QLabel>("lastMessage").text(); }
    QString Cell(int row, EventModel::Column column)
    {
        return stage.panes->Events().Model().index(row, column).data().toString();
    }
    /// The newest event of that kind, as its row; -1 for none.
    int RowOf(QString const& kind)
    {
        for (int row = stage.panes->Events().Model().rowCount() - 1; row >= 0; --row) {
            if (Cell(row, EventModel::Kind) == kind) {
                return row;
            }
        }
        return -1;
    }
    bool Comes(QString const& kind)
    {
        return RunUntil([&] { return RowOf(kind) >= 0; });
    }
    QTreeWidgetItem const& HullRow() { return *Find<QTreeWidget>("devices").topLevelItem(0)->child(0); }
    QWidget& Banner() { return Find<QWidget>("viewBanner"); }

    Stage stage;

private:
    QTimer m_ticking;
};

TEST_F(AroundTheView, AClippedValueIsALineOfTheListAndTheStatusLine)
{
    Ask(L"x5Range", CVordalDouble(99999.0));
    ASSERT_TRUE(Comes("differs"));
    EXPECT_EQ(Cell(0, EventModel::Sonar), "Hull sonar");
    EXPECT_EQ(Cell(0, EventModel::What), "x5Range");
    EXPECT_EQ(Cell(0, EventModel::Asked), "99999 m");
    EXPECT_EQ(Cell(0, EventModel::Got), "500 m");
    EXPECT_EQ(Status(), "Hull sonar: x5Range: asked 99999 m, the sonar has 500 m");
}

TEST_F(AroundTheView, ASilentSonarIsMarkedAndSoIsTheAgeOfTheView)
{
    Ask(L"x5PingOnOffState", CVordalInt(1));
    ASSERT_TRUE(
        RunUntil([&] { return HullRow().text(1).contains(" p/s") && !HullRow().text(1).contains("\n0.0 p/s"); }));
    EXPECT_TRUE(Banner().isHidden());
    auto const ground = [&] { return stage.window->centralWidget()->grab().toImage(); };
    QRect const view = stage.view->Frame().geometry();
    QPoint const beside(view.left() - 1, view.center().y());
    auto const usual = ground().pixelColor(beside);

    ASSERT_TRUE(stage.sonars[0].Tell("misbehave silent"));
    ASSERT_TRUE(RunUntil([&] { return !Banner().isHidden(); }));
    EXPECT_EQ(Find<QLabel>("bannerTitle").text(), "Hull sonar is silent");
    EXPECT_THAT(Find<QLabel>("bannerAge").text().toStdString(), HasSubstr(" ago: what the view shows is as of then."));
    EXPECT_TRUE(HullRow().text(1).startsWith("silent\n"));
    auto const lineHeight = Banner().fontMetrics().lineSpacing();
    EXPECT_TRUE(RunUntil([&] { return Banner().height() < 6 * lineHeight; }))
        << "three lines, and the view has the rest";
    EXPECT_GE(RowOf("silent"), 0);
    EXPECT_THAT(Status().toStdString(), HasSubstr("Hull sonar: its pings are on, and it has told nothing for "));
    QCoreApplication::processEvents();
    QRect const now = stage.view->Frame().geometry();
    EXPECT_NE(ground().pixelColor(QPoint(now.left() - 4, now.center().y())), usual) << "the edge of what is old";
    auto const* const element = QAccessible::queryAccessibleInterface(stage.window->centralWidget());
    EXPECT_EQ(element->text(QAccessible::Name), "View, its values are old");

    ASSERT_TRUE(stage.sonars[0].Tell("behave"));
    EXPECT_TRUE(RunUntil([&] { return Banner().isHidden(); }));
    EXPECT_TRUE(Comes("tells again"));
    EXPECT_TRUE(RunUntil([&] { return HullRow().text(1).startsWith("connected\n"); }));
    QCoreApplication::processEvents();
    EXPECT_EQ(ground().pixelColor(beside), usual);
}

TEST_F(AroundTheView, WhatALostSonarWasAskedForIsOfferedAndNeverSentByItself)
{
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "190 dB"; }));
    ASSERT_NO_FATAL_FAILURE(Lose());
    EXPECT_EQ(Find<QLabel>("bannerTitle").text(), "Hull sonar: the connection is lost");
    EXPECT_TRUE(RunUntil([&] { return Find<QLabel>("bannerReason").text().contains("next attempt in "); }))
        << Find<QLabel>("bannerReason").text().toStdString();
    EXPECT_TRUE(RunUntil([&] { return HullRow().text(1).startsWith("lost\n"); }));
    EXPECT_GE(RowOf("link lost"), 0);
    auto const& list = Find<QListWidget>("heldRequests");
    EXPECT_FALSE(list.isVisible());

    stage.Scroll("powerSlider", 1);
    stage.Scroll("powerSlider", 8);
    ASSERT_TRUE(RunUntil([&] { return list.isVisible(); }));
    EXPECT_TRUE(Comes("not sent"));
    ASSERT_EQ(list.count(), 1);
    EXPECT_THAT(list.item(0)->text().toStdString(), HasSubstr("x5Power = 191 dB asked for at "));
    EXPECT_FALSE(Find<QPushButton>("sendHeld").isEnabled());

    ASSERT_TRUE(stage.sonars[0].Tell("behave"));
    ASSERT_TRUE(RunUntil([&] { return Find<QPushButton>("sendHeld").isEnabled(); }));
    EXPECT_EQ(Find<QLabel>("bannerTitle").text(), "Hull sonar can be reached again");
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "190 dB"; })) << "what the sonar has";
    EXPECT_TRUE(stage.sonars[0].Payloads(1005).empty());
    QTest::mouseClick(&Find<QPushButton>("sendHeld"), Qt::LeftButton);
    ASSERT_TRUE(RunUntil([&] { return !stage.sonars[0].Payloads(1005).empty(); }));
    // 191.0 as a 32-bit float.
    EXPECT_EQ(stage.sonars[0].Payloads(1005), (std::vector<std::vector<unsigned char>>{{0x00, 0x00, 0x3F, 0x43}}));
    EXPECT_TRUE(RunUntil([&] { return Banner().isHidden(); }));
}

TEST_F(AroundTheView, TheBannerTakesHeightAndTheViewScrollsThatWayAlone)
{
    stage.window->resize(1290, 840);
    ASSERT_NO_FATAL_FAILURE(AskOfTheLost());
    auto const* const area = stage.view->Frame().findChild<QScrollArea*>();
    ASSERT_NE(area, nullptr);
    ASSERT_TRUE(RunUntil([&] { return area->verticalScrollBar()->isVisible(); }));
    EXPECT_TRUE(RunUntil([&] { return !area->horizontalScrollBar()->isVisible(); }));
}

TEST_F(AroundTheView, WhatIsDroppedIsNotSent)
{
    ASSERT_NO_FATAL_FAILURE(AskOfTheLost());
    QTest::keyClick(&Find<QPushButton>("dropHeld"), Qt::Key_Space);
    EXPECT_TRUE(RunUntil([&] { return !Find<QListWidget>("heldRequests").isVisible(); }));
    ASSERT_TRUE(stage.sonars[0].Tell("behave"));
    EXPECT_TRUE(RunUntil([&] { return Banner().isHidden(); }));
    // A later request reaches the sonar, and nothing was sent before it.
    Ask(L"x5Power", CVordalDouble(200.0));
    ASSERT_TRUE(RunUntil([&] { return !stage.sonars[0].Payloads(1005).empty(); }));
    EXPECT_EQ(stage.sonars[0].Payloads(1005), (std::vector<std::vector<unsigned char>>{{0x00, 0x00, 0x48, 0x43}}));
}

TEST_F(AroundTheView, UndoAndRedoAskTheSonarAgain)
{
    stage.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(stage.window.get()));
    EXPECT_FALSE(Find<QAction>("undo").isEnabled());
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "190 dB"; }));
    stage.Scroll("powerSlider", 1);
    stage.Scroll("powerSlider", 8);
    ASSERT_TRUE(RunUntil([&] { return Find<QAction>("undo").isEnabled(); }));
    EXPECT_EQ(Find<QAction>("undo").text(), "&Undo x5Power: 190 to 191");
    auto const& history = stage.panes->History().Model();
    auto const cell = [&](HistoryModel::Column column) { return history.index(0, column).data().toString(); };
    ASSERT_EQ(history.rowCount(), 1);
    EXPECT_EQ(cell(HistoryModel::Sonar), "Hull sonar");
    EXPECT_EQ(cell(HistoryModel::Step), "x5Power: 190 to 191");
    EXPECT_EQ(cell(HistoryModel::Who), "view");
    EXPECT_EQ(cell(HistoryModel::State), "done");

    auto& devices = Find<QTreeWidget>("devices");
    devices.setFocus();
    QTest::keyClick(&devices, Qt::Key_Z, Qt::ControlModifier);
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "190 dB"; }));
    EXPECT_TRUE(RunUntil([&] { return cell(HistoryModel::State) == "undone"; }));
    EXPECT_EQ(stage.sonars[0].Payloads(1005).size(), 2U);
    EXPECT_FALSE(Find<QAction>("undo").isEnabled());
    QTest::keyClick(&devices, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "191 dB"; }));
    EXPECT_TRUE(RunUntil([&] { return cell(HistoryModel::State) == "done"; }));
}

TEST_F(AroundTheView, AnUndoOfWhatSomebodyElseHasChangedSaysWhy)
{
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "190 dB"; }));
    Ask(L"x5Power", CVordalDouble(200.0));
    ASSERT_TRUE(RunUntil([&] { return Find<QAction>("undo").isEnabled(); }));
    ASSERT_TRUE(stage.sonars[0].Tell("set x5Power=205"));
    ASSERT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "205 dB"; }));
    Trigger("undo");
    ASSERT_TRUE(Comes("refused"));
    EXPECT_EQ(Cell(RowOf("refused"), EventModel::What), "undo");
    EXPECT_EQ(Cell(RowOf("refused"), EventModel::Reason), "x5Power is 205 now, not 200: it was changed meanwhile");
    EXPECT_EQ(stage.sonars[0].Payloads(1005).size(), 1U);
    EXPECT_TRUE(RunUntil([&] {
        return stage.panes->History().Model().index(0, HistoryModel::State).data().toString() ==
               "stays: x5Power is 205 now, not 200: it was changed meanwhile";
    }));
}

TEST_F(AroundTheView, AFieldWithTheFocusKeepsItsOwnUndo)
{
    stage.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(stage.window.get()));
    Ask(L"x5Power", CVordalDouble(200.0));
    ASSERT_TRUE(RunUntil([&] { return Find<QAction>("undo").isEnabled(); }));
    auto& field = Find<QLineEdit>("recordFilter");
    field.setFocus();
    QTest::keyClicks(&field, "gates");
    QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field.text(), "");
    QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(field.text(), "gates");
    EXPECT_TRUE(Find<QAction>("undo").isEnabled()) << "the sonar's step is done still";
    EXPECT_EQ(stage.sonars[0].Payloads(1005).size(), 1U);
}

TEST_F(AroundTheView, TheTransmitLockIsSeenAndSaysWhatItRefuses)
{
    auto const& mark = Find<QLabel>("transmitLock");
    EXPECT_TRUE(mark.isHidden());
    Trigger("transmitLockAction");
    EXPECT_TRUE(stage.session.IsTransmitLocked());
    EXPECT_FALSE(mark.isHidden());
    EXPECT_EQ(mark.text(), "Transmit lock is on");
    Ask(L"x5PingOnOffState", CVordalInt(1));
    ASSERT_TRUE(Comes("refused"));
    EXPECT_EQ(Cell(RowOf("refused"), EventModel::What), "x5PingOnOffState");
    EXPECT_THAT(Cell(RowOf("refused"), EventModel::Reason).toStdString(), HasSubstr("lock"));
    EXPECT_TRUE(stage.sonars[0].Payloads(1100).empty());
    // A simulated sonar is no harm to anybody.
    stage.session.SetSimulated(hull);
    EXPECT_TRUE(stage.session.Listed()[0].devices[0].simulated);
    EXPECT_FALSE(stage.session.Listed()[0].devices[1].simulated);
    Ask(L"x5PingOnOffState", CVordalInt(1));
    EXPECT_TRUE(RunUntil([&] { return !stage.sonars[0].Payloads(1100).empty(); }));
    Trigger("transmitLockAction");
    EXPECT_TRUE(mark.isHidden());
    EXPECT_FALSE(stage.session.IsTransmitLocked());
}

TEST_F(AroundTheView, AnotherComponentIsRefusedWhileTheOperatorHasTheLease)
{
    auto const& mark = Find<QLabel>("actionLease");
    EXPECT_TRUE(mark.isHidden());
    Trigger("actionLeaseAction");
    EXPECT_FALSE(mark.isHidden());
    {
        vordal::OriginScope const scope(vordal::RequestOrigin::Program);
        Ask(L"x5Power", CVordalDouble(205.0));
    }
    ASSERT_TRUE(Comes("refused"));
    EXPECT_EQ(Cell(RowOf("refused"), EventModel::Reason), "the operator has the lease of this sonar's actions");
    Ask(L"x5Power", CVordalDouble(200.0));
    ASSERT_TRUE(RunUntil([&] { return !stage.sonars[0].Payloads(1005).empty(); }));
    EXPECT_EQ(stage.sonars[0].Payloads(1005), (std::vector<std::vector<unsigned char>>{{0x00, 0x00, 0x48, 0x43}}));
    // It is the hull sonar's.
    stage.session.Requests().selectSonar(pole);
    ASSERT_TRUE(RunUntil([&] { return mark.isHidden(); }));
    EXPECT_FALSE(Find<QAction>("actionLeaseAction").isChecked());
    stage.session.Requests().selectSonar(hull);
    ASSERT_TRUE(RunUntil([&] { return !mark.isHidden(); }));
    Trigger("actionLeaseAction");
    EXPECT_TRUE(mark.isHidden());
    {
        vordal::OriginScope const scope(vordal::RequestOrigin::Program);
        Ask(L"x5Power", CVordalDouble(205.0));
    }
    EXPECT_TRUE(RunUntil([&] { return stage.Label("powerValue") == "205 dB"; }));
}

TEST_F(AroundTheView, AFieldThatGaveWayIsANoteOfTheShownSonar)
{
    stage.panes->Note({vordal::FieldNotice::Kind::NoNumber, "Range", "12x", "12"});
    ASSERT_TRUE(Comes("note"));
    EXPECT_EQ(Status(), "Hull sonar: Range=12x: no number; it counts as 12");
    stage.panes->Note({vordal::FieldNotice::Kind::Overwritten, "Range", "12.5", "11"});
    ASSERT_TRUE(RunUntil([&] {
        return Status() == "Hull sonar: Range=12.5: typed and not applied; it has given way to 11, which the sonar has";
    }));
    EXPECT_EQ(Cell(1, EventModel::Asked), "12.5");
    EXPECT_EQ(Cell(1, EventModel::Got), "11");
}

TEST_F(AroundTheView, EveryStopOfTheTabKeyHasANameAndWhatWasAddedIsAmongThem)
{
    stage.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(stage.window.get()));
    Trigger("transmitLockAction");
    ASSERT_NO_FATAL_FAILURE(AskOfTheLost());
    std::set<QString> reached;
    for (auto const* const stop : NamedTabStops(Find<QTreeWidget>("devices"))) {
        reached.insert(stop->objectName());
    }
    for (char const* name : {"events", "history", "bannerTitle", "heldRequests", "dropHeld", "transmitLock"}) {
        EXPECT_TRUE(reached.contains(QString::fromLatin1(name))) << name;
    }
}

TEST_F(AroundTheView, NoTwoMenusButtonsOrShortcutsHaveOneKey)
{
    cli::NextSession next;
    cli::ProjectMenu const project(stage.session, *stage.window, next);
    std::set<QKeySequence> taken;
    for (auto const* const action : stage.window->findChildren<QAction*>()) {
        for (auto const& keys : action->shortcuts()) {
            EXPECT_TRUE(taken.insert(keys).second) << keys.toString().toStdString();
        }
    }
    std::set<QKeySequence> mnemonics;
    for (auto const* const menu : stage.window->menuBar()->actions()) {
        EXPECT_TRUE(mnemonics.insert(QKeySequence::mnemonic(menu->text())).second) << menu->text().toStdString();
    }
    for (auto const* const button : stage.window->findChildren<QAbstractButton*>()) {
        auto const keys = QKeySequence::mnemonic(button->text());
        EXPECT_TRUE(keys.isEmpty() || mnemonics.insert(keys).second) << button->text().toStdString();
    }
}

} // namespace
} // namespace qx5::test
