// Tests of changing the list of sonars while the window is open: by the session's operations, the form and the menus.
#include "live_stage.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/sonar_form.h>
#include <cli/window/sonar_menu.h>

#include <VordalAttributesR/CVordalType.h>
#include <vordalhostdllR/DataManager.h>

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <algorithm>
#include <optional>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using cli::SonarEntry;
using cli::SonarForm;
using cli::SonarSetup;
using ::testing::Contains;
using ::testing::HasSubstr;

/// The stage with the menus, and a fourth sonar that nobody has entered yet.
class SonarList : public ::testing::Test
{
protected:
    void Begin(std::string const& project = {})
    {
        stage = std::make_unique<Stage>(project);
        menu = std::make_unique<cli::SonarMenu>(stage->session, *stage->window, *stage->view, stage->panes->SonarMenu(),
                                                [this](QString const& text) {
                                                    asked.push_back(text.toStdString());
                                                    return answer;
                                                });
        ASSERT_TRUE(RunUntil([&] { return stage->IsReady(); }));
    }
    void End()
    {
        menu.reset();
        stage->End();
    }
    void TearDown() override
    {
        menu.reset();
        stage.reset();
    }

    SonarSetup SetupOf(CDataId const& sonar) const
    {
        SonarSetup setup;
        auto const problems = cli::CheckSonar(stage->session.EntryOf(sonar), stage->session.Around(sonar), setup);
        EXPECT_TRUE(problems.None()) << problems.name << problems.address << problems.group;
        return setup;
    }
    SonarSetup NewSetup() const
    {
        auto setup = SetupOf(hull);
        setup.name = L"Keel sonar";
        setup.tcpPort = extra.Port();
        return setup;
    }
    std::vector<std::string> ListedNames() const
    {
        std::vector<std::string> names;
        for (auto const& vessel : stage->window->Devices().Vessels()) {
            for (auto const& device : vessel.devices) {
                names.push_back(device.name.toStdString());
            }
        }
        return names;
    }
    SonarForm* Form() const { return stage->window->findChild<SonarForm*>(); }
    template <typename T>
    T& Field(char const* name) const
    {
        return *Form()->findChild<T*>(QString::fromLatin1(name));
    }
    void Trigger(char const* action) const
    {
        stage->panes->SonarMenu().findChild<QAction*>(QString::fromLatin1(action))->trigger();
    }
    void Take() const { QTest::mouseClick(&Field<QPushButton>("sonarAccept"), Qt::LeftButton); }
    std::string Problem(char const* name) const { return Field<QLabel>(name).text().toStdString(); }

    Sonar extra;
    bool answer = true;
    std::vector<std::string> asked;
    std::unique_ptr<Stage> stage;
    std::unique_ptr<cli::SonarMenu> menu;
};

TEST_F(SonarList, ASonarIsAddedByTheFormConnectedShownAndKept)
{
    TemporaryFolder const folder;
    auto const file = folder / "list.qx5";
    Begin(file.string());
    Trigger("addSonar");
    ASSERT_NE(Form(), nullptr);
    EXPECT_EQ(Field<QComboBox>("sonarVessel").currentText(), "Surveyor") << "the active one to begin with";
    Field<QLineEdit>("sonarName").setText("Keel sonar");
    Field<QLineEdit>("sonarAddress").setText(QStringLiteral("127.0.0.1:%1").arg(extra.Port()));
    Field<QComboBox>("sonarVessel").setCurrentText("Launch");
    Field<QLineEdit>("sonarGroup").setText("4");
    Take();
    ASSERT_TRUE(RunUntil([&] { return Form() == nullptr; }));
    CDataId const keel(1, 78, 1, 3);
    EXPECT_THAT(ListedNames(), Contains("Keel sonar"));
    ASSERT_TRUE(RunUntil([&] { return stage->IsConnected(keel); }));
    EXPECT_TRUE(RunUntil([&] { return stage->window->ShownDevice() == keel; }));
    EXPECT_TRUE(
        RunUntil([&] { return stage->window->findChild<QLabel*>("viewTitle")->text() == "Keel sonar - Launch"; }));
    EXPECT_TRUE(stage->IsConnected(hull) && stage->IsConnected(pole) && stage->IsConnected(rov));
    stage->Scroll("powerSlider", 1);
    stage->Scroll("powerSlider", 8);
    EXPECT_TRUE(RunUntil([&] { return !extra.Payloads(1005).empty(); }));
    End();
    auto const project = vordal::ProjectStore(file).Load();
    ASSERT_EQ(project.devices.size(), 4U);
    EXPECT_EQ(project.devices[3].name, L"Keel sonar");
    EXPECT_EQ(project.vessels.size(), 3U);
    EXPECT_EQ(project.computations.size(), 4U);
    int group = -1;
    EXPECT_TRUE(project.devices[3].attributes.FindValue(L"SonarGroupId").Get(group));
    EXPECT_EQ(group, 4);
}

TEST_F(SonarList, WhatIsWrongIsToldBesideTheFieldAndNothingIsTaken)
{
    Begin();
    Trigger("addSonar");
    auto const before = ListedNames();
    Field<QLineEdit>("sonarName").setText("Pole sonar");
    Field<QLineEdit>("sonarAddress").setText("127.0.0.1");
    Field<QComboBox>("sonarVessel").setCurrentText(" ");
    Field<QLineEdit>("sonarGroup").setText("-1");
    Take();
    ASSERT_NE(Form(), nullptr);
    EXPECT_THAT(Problem("sonarNameProblem"), HasSubstr("there is another \"Pole sonar\""));
    EXPECT_THAT(Problem("sonarAddressProblem"), HasSubstr("is no HOST:PORT"));
    EXPECT_THAT(Problem("sonarVesselProblem"), HasSubstr("needs a name"));
    EXPECT_THAT(Problem("sonarGroupProblem"), HasSubstr("from 0 to 2147483647"));
    EXPECT_TRUE(Field<QLabel>("sonarNameProblem").isVisible());
    auto const isWhole = [&](char const* name) {
        auto const& label = Field<QLabel>(name);
        return label.height() >= label.heightForWidth(label.width());
    };
    EXPECT_TRUE(RunUntil([&] { return isWhole("sonarAddressProblem") && isWhole("sonarGroupProblem"); }));
    EXPECT_EQ(Field<QLineEdit>("sonarName").accessibleDescription(), "there is another \"Pole sonar\"");
    EXPECT_EQ(ListedNames(), before);
    Field<QLineEdit>("sonarName").setText("");
    Take();
    EXPECT_THAT(Problem("sonarNameProblem"), HasSubstr("the sonar needs a name"));
    // Mended, it is taken, and no problem stands any more.
    Field<QLineEdit>("sonarName").setText("Keel sonar");
    Field<QCheckBox>("sonarSimulated").setChecked(true);
    EXPECT_FALSE(Field<QLineEdit>("sonarAddress").isEnabled());
    Field<QComboBox>("sonarVessel").setCurrentText("ROV");
    Field<QLineEdit>("sonarGroup").setText("");
    Take();
    ASSERT_TRUE(RunUntil([&] { return Form() == nullptr; }));
    CDataId const keel(1, 78, 2, 2);
    EXPECT_TRUE(stage->window->Devices().IsSimulated(keel));
    EXPECT_TRUE(RunUntil([&] { return stage->IsConnected(keel); }));
    EXPECT_EQ(stage->session.EntryOf(keel), (SonarEntry{.name = "Keel sonar",
                                                        .deviceClass = "QX5SonarConfigurationControlDevice",
                                                        .simulated = true,
                                                        .address = "",
                                                        .vessel = "ROV",
                                                        .group = ""}));
}

TEST_F(SonarList, TheFormIsWorkedByKeysAndNothingInItIsNameless)
{
    Begin();
    Trigger("changeSonar");
    auto* const form = Form();
    ASSERT_NE(form, nullptr);
    ASSERT_TRUE(RunUntil([&] { return form->isVisible(); }));
    form->activateWindow();
    EXPECT_EQ(Field<QLineEdit>("sonarName").text(), "Hull sonar");
    for (auto const* const widget : form->findChildren<QWidget*>()) {
        if (widget->focusPolicy() != Qt::NoFocus && widget->isVisibleTo(form) && widget->parentWidget() == form) {
            auto* const accessible = QAccessible::queryAccessibleInterface(const_cast<QWidget*>(widget));
            EXPECT_NE(accessible->text(QAccessible::Name), QString()) << widget->objectName().toStdString();
        }
    }
    std::vector<std::string> order;
    Field<QLineEdit>("sonarName").setFocus();
    for (int i = 0; i < 7 && form->focusWidget() != nullptr; ++i) {
        auto* const at = form->focusWidget();
        order.push_back(at->objectName().toStdString());
        QTest::keyClick(at, Qt::Key_Tab);
    }
    EXPECT_THAT(order, ::testing::ElementsAre("sonarName", "sonarSimulated", "sonarAddress", "sonarVessel",
                                              "sonarGroup", "sonarAccept", ""));
    Field<QLineEdit>("sonarName").setFocus();
    Field<QLineEdit>("sonarName").selectAll();
    QTest::keyClicks(&Field<QLineEdit>("sonarName"), "Bow sonar");
    QTest::keyClick(&Field<QLineEdit>("sonarName"), Qt::Key_Return);
    EXPECT_TRUE(RunUntil([&] { return Form() == nullptr; }));
    EXPECT_THAT(ListedNames(), Contains("Bow sonar"));
    EXPECT_EQ(stage->window->findChild<QLabel*>("viewTitle")->text(), "Bow sonar - Surveyor");
}

TEST_F(SonarList, AnotherAddressConnectsThatSonarAnewAndNoOther)
{
    Begin();
    auto setup = SetupOf(pole);
    setup.tcpPort = extra.Port();
    std::string error;
    EXPECT_EQ(stage->session.ChangeSonar(pole, setup, error), pole) << error;
    ASSERT_TRUE(RunUntil([&] { return extra.Server().Counts().connections == 1 && stage->IsConnected(pole); }));
    EXPECT_EQ(stage->sonars[0].Server().Counts().connections, 1U);
    EXPECT_EQ(stage->sonars[2].Server().Counts().connections, 1U);
    EXPECT_TRUE(stage->IsConnected(hull) && stage->IsConnected(rov));
    EXPECT_EQ(stage->session.EntryOf(pole).address, "127.0.0.1:" + std::to_string(extra.Port()));
    // The loss of the former connection was asked for.
    stage->panes->Look();
    EXPECT_FALSE(stage->HasEvent("link lost"));
    // As it is, nothing is done.
    EXPECT_EQ(stage->session.ChangeSonar(pole, setup, error), pole) << error;
    EXPECT_EQ(extra.Server().Counts().connections, 1U);
}

TEST_F(SonarList, ASimulatedSonarThatGetsAnAddressIsRealForTheTransmitLock)
{
    Begin();
    auto setup = NewSetup();
    setup.simulated = true;
    std::string error;
    auto const keel = stage->session.AddSonar(setup, error);
    ASSERT_TRUE(keel) << error;
    setup.simulated = false;
    EXPECT_EQ(stage->session.ChangeSonar(*keel, setup, error), keel) << error;
    stage->session.SetTransmitLock(true);
    ASSERT_TRUE(RunUntil([&] { return extra.Server().Counts().connections == 1; }));
    CAttributeMap tree;
    tree.Add(L"Request")->Add(L"x5PingOnOffState", CVordalInt(1));
    EXPECT_TRUE(DataManager::GetDataManager().SetAttributeMap(*keel, tree, 4, false));
    EXPECT_TRUE(stage->WaitForEvent("the transmit lock is on"));
    EXPECT_FALSE(stage->session.Simulators().IsSimulated(*keel));
}

TEST_F(SonarList, RemovalAsksOnceSaysWhatIsLostAndClosesTheView)
{
    TemporaryFolder const folder;
    auto const file = folder / "list.qx5";
    Begin(file.string());
    auto const stepsOfHull = [&] {
        operation::SessionHistory::Content content;
        stage->session.Desk().Steps().ReadIfChanged(0, content);
        return std::ranges::count_if(content.steps, [](auto const& step) { return step.sonar == hull; });
    };
    ASSERT_TRUE(RunUntil([&] { return stage->Label("powerValue") == "190 dB"; }));
    stage->Scroll("powerSlider", 1);
    stage->Scroll("powerSlider", 8);
    ASSERT_TRUE(RunUntil([&] {
        stage->session.Tick();
        return stepsOfHull() == 1;
    }));
    stage->sonars[0].Server().Stop();
    ASSERT_TRUE(RunUntil([&] { return !stage->IsConnected(hull); }));
    stage->Scroll("powerSlider", 1);
    stage->Scroll("powerSlider", 8);
    ASSERT_TRUE(RunUntil([&] { return stage->session.Desk().Held().Count(hull) == 1; }));
    answer = false;
    Trigger("removeSonar");
    ASSERT_EQ(asked.size(), 1U);
    EXPECT_THAT(asked[0], HasSubstr("Remove Hull sonar?"));
    EXPECT_THAT(asked[0], HasSubstr("its settings as this project keeps them"));
    EXPECT_THAT(asked[0], HasSubstr("1 request that has not been sent"));
    EXPECT_EQ(ListedNames().size(), 3U) << "the answer was no";

    answer = true;
    Trigger("removeSonar");
    EXPECT_EQ(asked.size(), 2U);
    EXPECT_EQ(ListedNames(), (std::vector<std::string>{"Pole sonar", "ROV sonar"}));
    EXPECT_EQ(DataManager::GetDataManager().FindDevice(hull), nullptr);
    EXPECT_EQ(stage->session.Desk().Held().Count(hull), 0U);
    EXPECT_EQ(stage->session.Desk().Watch().StateOf(hull).link.state, vordal::LinkState::Closed);
    EXPECT_TRUE(
        RunUntil([&] { return stage->window->ShownDevice() == pole && stage->view->Frame().Shown() != nullptr; }));
    EXPECT_TRUE(stage->IsConnected(pole) && stage->IsConnected(rov));
    EXPECT_EQ(stepsOfHull(), 0) << "undo does not reach for what is gone";
    End();
    auto const project = vordal::ProjectStore(file).Load();
    ASSERT_EQ(project.devices.size(), 2U);
    EXPECT_EQ(project.ports.size(), 2U);
    EXPECT_EQ(project.computations.size(), 2U);
}

TEST_F(SonarList, TheLastOneGoesAndANewOneComes)
{
    Begin();
    for (int left = 2; left >= 0; --left) {
        Trigger("removeSonar");
        EXPECT_EQ(ListedNames().size(), static_cast<std::size_t>(left));
        if (left > 0) {
            ASSERT_TRUE(RunUntil([&] { return stage->session.Find(stage->window->ShownDevice()) != nullptr; }));
        }
    }
    EXPECT_EQ(stage->view->Frame().Shown(), nullptr);
    Trigger("changeSonar");
    Trigger("removeSonar");
    EXPECT_EQ(Form(), nullptr) << "there is none";
    EXPECT_EQ(asked.size(), 3U);
    std::string error;
    auto const keel = stage->session.AddSonar({.name = L"Keel sonar",
                                               .deviceClass = stage->session.SonarClass(),
                                               .simulated = true,
                                               .host = {},
                                               .vessel = L"ROV",
                                               .group = {}},
                                              error);
    ASSERT_TRUE(keel) << error;
    EXPECT_FALSE(*keel == rov) << "no id is given twice";
}

TEST_F(SonarList, AnotherVesselIsAnotherSonarWithTheSameSettings)
{
    Begin();
    ASSERT_TRUE(RunUntil([&] { return stage->Label("powerValue") == "190 dB"; }));
    Trigger("changeSonar");
    Field<QComboBox>("sonarVessel").setCurrentText("ROV");
    Take();
    ASSERT_TRUE(RunUntil([&] { return Form() == nullptr; }));
    CDataId const moved(1, 78, 2, 2);
    EXPECT_EQ(stage->session.Find(hull), nullptr);
    ASSERT_NE(stage->session.Find(moved), nullptr);
    CAttributeMap tree;
    EXPECT_TRUE(DataManager::GetDataManager().GetAttributeMap(moved, tree));
    EXPECT_TRUE(tree.Has(L"x5Power"));
    EXPECT_TRUE(RunUntil([&] { return stage->IsConnected(moved) && stage->window->ShownDevice() == moved; }));
    EXPECT_TRUE(RunUntil([&] { return stage->window->findChild<QLabel*>("viewTitle")->text() == "Hull sonar - ROV"; }));
}

TEST_F(SonarList, SonarsOfOneGroupPingInTurnOnceTheyAreEntered)
{
    Begin();
    for (CDataId const& id : {hull, pole}) {
        auto setup = SetupOf(id);
        setup.group = 2;
        std::string error;
        EXPECT_EQ(stage->session.ChangeSonar(id, setup, error), id) << error;
        EXPECT_EQ(stage->session.EntryOf(id).group, "2");
    }
    // Added without anything known of it: it joins once it has told its number.
    auto setup = NewSetup();
    setup.group = 2;
    std::string error;
    auto const keel = stage->session.AddSonar(setup, error);
    ASSERT_TRUE(keel) << error;
    EXPECT_TRUE(RunUntil([&] {
        stage->session.Tick();
        return stage->sonars[0].Payloads(1107).size() > 2 && stage->sonars[1].Payloads(1107).size() > 2 &&
               extra.Payloads(1107).size() > 2;
    }));
    EXPECT_TRUE(stage->sonars[2].Payloads(1107).empty());
}

TEST_F(SonarList, AClickForTheMenuChoosesTheSonarUnderIt)
{
    Begin();
    auto& list = *stage->window->Devices().findChild<QTreeWidget*>("devices");
    std::optional<QPoint> place;
    QObject::connect(&stage->window->Devices(), &vordal::DevicePanel::MenuAsked, &list, [&](QPoint const& at) {
        place = at;
        // The menu that has opened stands in the way.
        if (auto* const popup = QApplication::activePopupWidget()) {
            popup->close();
        }
    });
    QTimer closing;
    QObject::connect(&closing, &QTimer::timeout, &list, [] {
        if (auto* const popup = QApplication::activePopupWidget()) {
            EXPECT_EQ(popup->actions().size(), 3);
            popup->close();
        }
    });
    closing.start(10);
    auto* const item = list.topLevelItem(0)->child(1);
    Q_EMIT list.customContextMenuRequested(list.visualItemRect(item).center());
    EXPECT_TRUE(place);
    EXPECT_TRUE(RunUntil([&] { return stage->window->ShownDevice() == pole; }));
    EXPECT_EQ(list.currentItem(), list.topLevelItem(0)->child(1));
}

} // namespace
} // namespace qx5::test
