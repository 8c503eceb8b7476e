// Tests of the main window alone: devices, docks, what it remembers, light and dark.
#include "contrast.h"
#include "frames.h"
#include "tab_stops.h"

#include <reference_host/window/announcements.h>
#include <reference_host/window/appearance.h>
#include <reference_host/window/attribute_browser.h>
#include <reference_host/window/device_panel.h>
#include <reference_host/window/main_window.h>
#include <reference_host/window/record_monitor.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QElapsedTimer>
#include <QLabel>
#include <QLineEdit>
#include <QMenuBar>
#include <QSlider>
#include <QTest>
#include <QTreeWidget>

#include <set>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using vordal::LinkState;
using vordal::MainWindow;
using vordal::StatusText;

CDataId const hull(1, 78, 1, 1);
CDataId const pole(1, 78, 2, 1);
CDataId const rov(1, 78, 1, 2);

vordal::WindowSetup TwoVessels()
{
    return {.vessels = {{.number = 1,
                         .name = "Survey vessel",
                         .devices = {{hull, "Hull sonar", "192.0.2.1:7000"}, {pole, "Pole sonar", {}}}},
                        {.number = 2, .name = "ROV", .devices = {{rov, "ROV sonar", {}}}}},
            .lightMode = 4,
            .activeVessel = 1,
            .shownDevice = hull};
}

class MainWindowTest : public ::testing::Test
{
protected:
    vordal::WindowRequests Requests()
    {
        return {.selectSonar = [this](CDataId const& device) { sonars.push_back(device); },
                .selectVessel = [this](unsigned short number) { vessels.push_back(number); },
                .fetchTree = [this](CDataId const& device) { fetched.push_back(device); },
                .setLightMode = [this](int mode) { modes.push_back(mode); }};
    }

    std::vector<CDataId> sonars;
    std::vector<unsigned short> vessels;
    std::vector<CDataId> fetched;
    std::vector<int> modes;
    std::shared_ptr<vordal::WindowFeed> feed = std::make_shared<vordal::WindowFeed>();
    MainWindow window{TwoVessels(), feed, Requests()};
};

TEST(StatusText, TellsStateReasonAndNextAttempt)
{
    EXPECT_EQ(StatusText({}), "closed");
    EXPECT_EQ(StatusText({.state = LinkState::Connected, .reason = "127.0.0.1:7000", .retryIn = {}}), "connected");
    EXPECT_EQ(StatusText({.state = LinkState::Lost, .reason = "the sonar closed it", .retryIn = {}}),
              "lost: the sonar closed it");
    EXPECT_EQ(
        StatusText({.state = LinkState::Waiting, .reason = "refused", .retryIn = std::chrono::milliseconds(1500)}),
        "waiting: refused; tries again in 1.5 s");
}

TEST_F(MainWindowTest, ListsVesselsAndSonarsWithTheirConnections)
{
    auto const& list = *window.findChild<QTreeWidget*>("devices");
    ASSERT_EQ(list.topLevelItemCount(), 2);
    EXPECT_EQ(list.topLevelItem(0)->text(0), "Survey vessel");
    EXPECT_EQ(list.topLevelItem(0)->text(1), "active vessel");
    EXPECT_EQ(list.topLevelItem(0)->child(0)->text(1), "closed");
    feed->PutStatus(hull,
                    {.state = LinkState::Waiting, .reason = "refused", .retryIn = std::chrono::milliseconds(500)});
    feed->PutStatus(rov, {.state = LinkState::Connected, .reason = {}, .retryIn = {}});
    window.Look();
    EXPECT_EQ(list.topLevelItem(0)->child(0)->text(1), "waiting");
    EXPECT_EQ(list.topLevelItem(1)->child(0)->text(1), "connected");
    EXPECT_EQ(window.Devices().StateOf(rov), LinkState::Connected);
    EXPECT_EQ(window.findChild<QLabel*>("deviceExplained")->text(),
              "Hull sonar (192.0.2.1:7000)\nwaiting: refused; tries again in 0.5 s");
}

TEST_F(MainWindowTest, ChoosingIsPassedOnByMouseAndByKey)
{
    window.show();
    auto& list = *window.findChild<QTreeWidget*>("devices");
    auto const click = [&](QTreeWidgetItem* item) {
        QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(item).center());
    };
    click(list.topLevelItem(0)->child(1));
    EXPECT_EQ(sonars, std::vector<CDataId>{pole});
    click(list.topLevelItem(1));
    EXPECT_EQ(vessels, std::vector<unsigned short>{2});
    QTest::keyClick(&list, Qt::Key_Down);
    EXPECT_EQ(sonars, (std::vector<CDataId>{pole, pole}));
}

TEST_F(MainWindowTest, ARowThatAScreenReaderTogglesIsChosen)
{
    window.show();
    auto& list = *window.findChild<QTreeWidget*>("devices");
    auto* const table = QAccessible::queryAccessibleInterface(&list)->tableInterface();
    // By their rows: a vessel, its two sonars, a vessel.
    auto const toggle = [&](int row) {
        table->cellAt(row, 0)->actionInterface()->doAction(QAccessibleActionInterface::toggleAction());
        QApplication::processEvents();
    };
    toggle(2);
    EXPECT_EQ(sonars, std::vector<CDataId>{pole});
    window.SetShownDevice(pole);
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{list.topLevelItem(0)->child(1)});
    toggle(2);
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{list.topLevelItem(0)->child(1)});
    toggle(3);
    EXPECT_EQ(vessels, std::vector<unsigned short>{2});
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{list.topLevelItem(0)->child(1)});
    EXPECT_EQ(sonars, std::vector<CDataId>{pole});
}

TEST_F(MainWindowTest, TheSelectedSonarIsTheOneThatIsOperated)
{
    window.show();
    auto& list = *window.findChild<QTreeWidget*>("devices");
    auto* const ofHull = list.topLevelItem(0)->child(0);
    auto* const ofPole = list.topLevelItem(0)->child(1);
    auto* const ofRov = list.topLevelItem(1)->child(0);
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{ofHull});
    // Keys choose, past the vessels between.
    list.setFocus();
    QTest::keyClick(&list, Qt::Key_Down);
    window.SetShownDevice(pole);
    QTest::keyClick(&list, Qt::Key_Down);
    window.SetShownDevice(rov);
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{ofRov});
    QTest::keyClick(&list, Qt::Key_Down);
    QTest::keyClick(&list, Qt::Key_Home);
    EXPECT_EQ(sonars, (std::vector<CDataId>{pole, rov, hull}));
    window.SetShownDevice(hull);
    QTest::keyClick(&list, Qt::Key_End);
    EXPECT_EQ(sonars.back(), rov);
    // What the view did not follow is not left selected.
    EXPECT_TRUE(QTest::qWaitFor([&] { return list.selectedItems() == QList<QTreeWidgetItem*>{ofHull}; }));
    // A vessel that is made the active one does not become the selected row.
    QTest::mouseClick(list.viewport(), Qt::LeftButton, {}, list.visualItemRect(list.topLevelItem(1)).center());
    EXPECT_EQ(vessels, std::vector<unsigned short>{2});
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{ofHull});
    // The view's own change of sonar is followed while the list has the focus.
    window.SetShownDevice(pole);
    EXPECT_EQ(list.selectedItems(), QList<QTreeWidgetItem*>{ofPole});
}

TEST_F(MainWindowTest, TheTreeOfTheShownDeviceIsFollowedAndNoOther)
{
    window.show();
    window.Look();
    ASSERT_FALSE(fetched.empty());
    EXPECT_EQ(fetched.back(), hull);
    auto const asked = fetched.size();
    for (int i = 0; i < 20; ++i) {
        window.Look();
    }
    EXPECT_EQ(fetched.size(), asked) << "asked again before the answer came";
    CAttributeMap tree;
    tree.Add(L"a", CVordalInt(1));
    feed->PutTree(hull, tree);
    window.Look();
    EXPECT_EQ(window.Attributes().Model().NodeCount(), 1U);
    window.SetShownDevice(pole);
    EXPECT_EQ(fetched.back(), pole);
    tree.Add(L"b", CVordalInt(1));
    feed->PutTree(hull, tree);
    window.Look();
    EXPECT_EQ(window.Attributes().Model().NodeCount(), 1U);
    feed->PutTree(pole, {});
    window.Look();
    EXPECT_EQ(window.Attributes().Model().NodeCount(), 0U);
}

TEST_F(MainWindowTest, DocksAreClosedAndBroughtBackByTheMenu)
{
    window.show();
    int docks = 0;
    for (auto* const dock : window.findChildren<QDockWidget*>()) {
        ++docks;
        EXPECT_TRUE(dock->isVisible());
        dock->toggleViewAction()->trigger();
        EXPECT_FALSE(dock->isVisible());
        dock->toggleViewAction()->trigger();
        EXPECT_TRUE(dock->isVisible());
    }
    EXPECT_EQ(docks, 3);
}

TEST_F(MainWindowTest, RemembersPlaceDocksFilterAndLight)
{
    window.show();
    window.resize(1111, 777);
    window.findChild<QDockWidget*>("recordDock")->hide();
    window.findChild<QLineEdit*>("recordFilter")->setText("gates");
    window.SetLightMode(2);
    auto const memory = window.SaveMemory();

    MainWindow other(TwoVessels(), std::make_shared<vordal::WindowFeed>(), Requests());
    EXPECT_TRUE(other.RestoreMemory(memory));
    other.show();
    EXPECT_EQ(other.size(), QSize(1111, 777));
    EXPECT_FALSE(other.findChild<QDockWidget*>("recordDock")->isVisible());
    EXPECT_TRUE(other.findChild<QDockWidget*>("deviceDock")->isVisible());
    EXPECT_EQ(other.findChild<QLineEdit*>("recordFilter")->text(), "gates");
    EXPECT_EQ(other.LightMode(), 2);
    EXPECT_EQ(modes, std::vector<int>{2});
}

TEST_F(MainWindowTest, BytesThatAreNoMemoryAreRefused)
{
    auto const memory = window.SaveMemory();
    EXPECT_FALSE(window.RestoreMemory({}));
    EXPECT_FALSE(window.RestoreMemory("nonsense"));
    EXPECT_FALSE(window.RestoreMemory(memory.first(memory.size() / 2)));
    EXPECT_TRUE(window.RestoreMemory(memory));
}

TEST_F(MainWindowTest, LinesAndLightModesOfTheHostAreShown)
{
    feed->PutLine("first");
    feed->PutLine("the last one");
    feed->PutLightMode(1);
    window.Look();
    EXPECT_EQ(window.findChild<QLabel*>("lastMessage")->text(), "the last one");
    EXPECT_EQ(window.LightMode(), 1);
    EXPECT_EQ(QApplication::palette().color(QPalette::Window), vordal::PaletteOf(1).color(QPalette::Window));
    EXPECT_TRUE(modes.empty()) << "the host is told what it told itself";
}

TEST_F(MainWindowTest, ABurstOfRecordsIsTakenInBounds)
{
    window.show();
    for (int i = 0; i < 30000; ++i) {
        feed->Records()->Put(Captured(RangeFrame(), true, i));
    }
    window.Look();
    EXPECT_EQ(window.Records().Model().rowCount(), 10000);
    EXPECT_EQ(window.Records().Model().GoneCount(), 20000U);
}

TEST_F(MainWindowTest, EveryFieldOfTheWindowIsReachedByKeyAndHasAName)
{
    for (char const* name :
         {"devices", "attributes", "attributeSearch", "records", "recordFilter", "recordPause", "recordDetails"}) {
        auto const* const widget = window.findChild<QWidget*>(name);
        ASSERT_NE(widget, nullptr) << name;
        EXPECT_FALSE(widget->accessibleName().isEmpty()) << name;
        EXPECT_NE(widget->focusPolicy() & Qt::TabFocus, 0) << name;
    }
}

TEST_F(MainWindowTest, EveryButtonOfTheWindowHasAName)
{
    int buttons = 0;
    for (auto* const button : window.findChildren<QAbstractButton*>()) {
        auto* const element = QAccessible::queryAccessibleInterface(button);
        // The corner between the headings of a table is never seen where its rows have none.
        bool const isCorner = button->inherits("QTableCornerButton");
        if (element->role() == QAccessible::Button && !isCorner) {
            ++buttons;
            EXPECT_FALSE(element->text(QAccessible::Name).isEmpty())
                << button->metaObject()->className() << " in " << button->parent()->objectName().toStdString();
        }
    }
    EXPECT_GE(buttons, 4);
}

TEST_F(MainWindowTest, EveryStopOfTheTabKeyHasAName)
{
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    auto& first = *window.findChild<QTreeWidget*>("devices");
    EXPECT_GE(NamedTabStops(first).size(), 10U);
}

TEST_F(MainWindowTest, WhatChangesIsReadAsItStands)
{
    auto const told = [&](char const* name) {
        return QAccessible::queryAccessibleInterface(window.findChild<QLabel*>(name))->text(QAccessible::Name);
    };
    window.ShowLine("the line");
    EXPECT_EQ(told("lastMessage"), "the line");
    window.SetViewTitle("Hull sonar - Survey vessel");
    EXPECT_EQ(told("viewTitle"), "Hull sonar - Survey vessel");
    feed->PutStatus(hull, {.state = LinkState::Waiting, .reason = "refused", .retryIn = {}});
    window.Look();
    EXPECT_EQ(told("deviceExplained"), "Hull sonar (192.0.2.1:7000)\nwaiting: refused");
}

TEST_F(MainWindowTest, NoShortcutTakesOneThatFieldsAndListsHave)
{
    std::set<QKeySequence> taken;
    for (auto const* const action : window.findChildren<QAction*>()) {
        for (auto const& keys : action->shortcuts()) {
            EXPECT_TRUE(taken.insert(keys).second) << keys.toString().toStdString();
            for (auto const standard : {QKeySequence::SelectAll, QKeySequence::Copy, QKeySequence::Cut,
                                        QKeySequence::Paste, QKeySequence::Find, QKeySequence::Delete,
                                        QKeySequence::DeleteStartOfWord, QKeySequence::MoveToNextWord}) {
                EXPECT_FALSE(QKeySequence::keyBindings(standard).contains(keys)) << keys.toString().toStdString();
            }
        }
    }
    EXPECT_FALSE(taken.empty());
}

TEST_F(MainWindowTest, FitsIntoItsScreenWithTheViewWhole)
{
    struct Screen
    {
        QSize size;
        bool devices;
        bool attributes;
        bool records;
    };
    // 3840x2160 at 1.0, 1920x1080 at 2.0, 1280x800 at 1.0 and at 1.5, each less a title bar.
    for (auto const& [size, devices, attributes, records] :
         {Screen{{3840, 2120}, true, true, true}, Screen{{960, 500}, true, true, false},
          Screen{{1280, 760}, true, true, true}, Screen{{853, 493}, true, true, false},
          Screen{{500, 700}, false, false, true}}) {
        MainWindow fitted(TwoVessels(), feed, Requests());
        fitted.FitInto(size);
        fitted.show();
        QApplication::processEvents();
        EXPECT_LE(fitted.width(), size.width());
        EXPECT_LE(fitted.height(), size.height());
        auto const isOpen = [&](char const* name) { return fitted.findChild<QDockWidget*>(name)->isVisible(); };
        EXPECT_EQ(isOpen("deviceDock"), devices) << size.width() << "x" << size.height();
        EXPECT_EQ(isOpen("attributeDock"), attributes) << size.width() << "x" << size.height();
        EXPECT_EQ(isOpen("recordDock"), records) << size.width() << "x" << size.height();
        auto const* const middle = fitted.centralWidget();
        EXPECT_GE(middle->width(), 340) << size.width() << "x" << size.height();
        EXPECT_GE(middle->height(), 440) << size.width() << "x" << size.height();
    }
}

TEST(Announcements, ComeAtMostFourTimesASecondAndTheLastAlways)
{
    int announced = 0;
    int focused = 0;
    QVariant last;
    vordal::AnnouncementLimit limit([&](QAccessibleEvent& event) {
        if (event.type() == QAccessible::ValueChanged) {
            ++announced;
            last = static_cast<QAccessibleValueChangeEvent&>(event).value();
        } else {
            ++focused;
        }
    });
    QSlider slider;
    slider.setRange(0, 1000);
    QElapsedTimer time;
    time.start();
    for (int i = 1; i <= 1000; ++i) {
        slider.setValue(i);
        QAccessibleValueChangeEvent value(&slider, i);
        limit.Take(value);
        QAccessibleEvent focus(&slider, QAccessible::Focus);
        limit.Take(focus);
    }
    EXPECT_LE(announced, 1 + time.elapsed() / 250);
    EXPECT_EQ(focused, 1000);
    EXPECT_TRUE(QTest::qWaitFor([&] { return last == QVariant(1000); }));
    EXPECT_LE(announced, 2 + time.elapsed() / 250);
    // An element that goes takes what waits with it: what another one had to wait for later comes, and it does not.
    announced = 0;
    auto gone = std::make_unique<QSlider>();
    QSlider other;
    for (int const number : {1, 2}) {
        for (QSlider* const each : {gone.get(), &other}) {
            each->setValue(number);
            QAccessibleValueChangeEvent value(each, number);
            limit.Take(value);
        }
    }
    gone.reset();
    EXPECT_TRUE(QTest::qWaitFor([&] { return last == QVariant(2); }));
    EXPECT_EQ(announced, 3);
}

TEST(Announcements, AreNotPutOffByElementsThatCome)
{
    QVariant last;
    QSlider slider;
    vordal::AnnouncementLimit limit([&](QAccessibleEvent& event) {
        if (event.object() == &slider) {
            last = static_cast<QAccessibleValueChangeEvent&>(event).value();
        }
    });
    for (int const number : {1, 2}) {
        slider.setValue(number);
        QAccessibleValueChangeEvent value(&slider, number);
        limit.Take(value);
    }
    std::vector<std::unique_ptr<QSlider>> come;
    EXPECT_TRUE(QTest::qWaitFor([&] {
        auto& newest = come.emplace_back(std::make_unique<QSlider>());
        QAccessibleValueChangeEvent value(newest.get(), 1);
        limit.Take(value);
        return last == QVariant(2);
    }));
}

TEST(Announcements, OfAnElementWithoutANumberTheLastValueIsAnnouncedAsItIs)
{
    std::vector<QVariant> announced;
    vordal::AnnouncementLimit limit([&](QAccessibleEvent& event) {
        ASSERT_EQ(event.type(), QAccessible::ValueChanged);
        announced.push_back(static_cast<QAccessibleValueChangeEvent&>(event).value());
    });
    QComboBox list;
    list.addItems({"CW", "FM", "TVG"});
    ASSERT_EQ(QAccessible::queryAccessibleInterface(&list)->valueInterface(), nullptr);
    for (int i = 0; i < 3; ++i) {
        QAccessibleValueChangeEvent value(&list, list.itemText(i));
        limit.Take(value);
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return announced.size() == 2; }));
    EXPECT_EQ(announced, (std::vector<QVariant>{"CW", "TVG"}));
}

TEST(Appearance, TextStandsOutInEachLightMode)
{
    for (int mode = 1; mode <= 4; ++mode) {
        auto const palette = vordal::PaletteOf(mode);
        auto const contrast = [&](QPalette::ColorGroup group, QPalette::ColorRole text, QPalette::ColorRole ground) {
            return Contrast(palette.color(group, text), palette.color(QPalette::Active, ground));
        };
        EXPECT_GE(contrast(QPalette::Active, QPalette::WindowText, QPalette::Window), 7.0) << mode;
        EXPECT_GE(contrast(QPalette::Active, QPalette::Text, QPalette::Base), 7.0) << mode;
        EXPECT_GE(contrast(QPalette::Active, QPalette::ButtonText, QPalette::Button), 7.0) << mode;
        EXPECT_GE(contrast(QPalette::Active, QPalette::HighlightedText, QPalette::Highlight), 4.5) << mode;
        EXPECT_GE(contrast(QPalette::Disabled, QPalette::WindowText, QPalette::Window), 3.0) << mode;
        for (auto const signal : {vordal::Signal::Good, vordal::Signal::Caution, vordal::Signal::Bad}) {
            EXPECT_GE(Contrast(vordal::SignalColour(palette, signal), palette.color(QPalette::Base)), 4.5) << mode;
        }
        EXPECT_EQ(vordal::IsDark(mode), mode <= 2);
    }
    EXPECT_EQ(vordal::PaletteOf(-5).color(QPalette::Window), vordal::PaletteOf(1).color(QPalette::Window));
    EXPECT_EQ(vordal::PaletteOf(99).color(QPalette::Window), vordal::PaletteOf(4).color(QPalette::Window));
}

} // namespace
} // namespace qx5::test
