// Tests of the dialogs of presets, driven through their widgets, on simulated sonars over TCP.
#include "live_stage.h"

#include <cli/window/compare_presets_dialog.h>
#include <cli/window/load_preset_dialog.h>
#include <cli/window/manage_presets_dialog.h>
#include <cli/window/preset_table_view.h>
#include <cli/window/preset_work.h>
#include <cli/window/row_table.h>
#include <cli/window/save_preset_dialog.h>
#include <reference_host/store/project_store.h>
#include <tests/support/temporary_folder.h>

#include <vordalhostdllR/DataManager.h>

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QStandardItemModel>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <ctime>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using namespace std::chrono_literals;

using cli::HistoryModel;
using cli::PresetTableModel;
using Payloads = std::vector<std::vector<unsigned char>>;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

std::string const range50 = R"({"key": "x5Range", "kind": "double", "value": 50.0, "unit": "m"})";
std::string const gain30 = R"({"key": "x5Gain", "kind": "double", "value": 30.0, "unit": "dB"})";
std::string const power190 = R"({"key": "x5Power", "kind": "double", "value": 190.0, "unit": "dB"})";
Payloads const rangeOf50{{0x00, 0x00, 0x48, 0x42}};
Payloads const gainOf30{{0x00, 0x00, 0xF0, 0x41}};

/// What this thread has worked, whatever else the machine does meanwhile.
double SecondsOfThisThread()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// A window on three sonars, with a project or without.
class PresetDialogs : public ::testing::Test
{
protected:
    explicit PresetDialogs(bool hasProject = true) : stage(hasProject ? (folder / "survey.qx5").string() : "") {}

    void SetUp() override
    {
        ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
        QObject::connect(&m_ticking, &QTimer::timeout, &m_ticking, [&] { stage.session.Tick(); });
        m_ticking.start(20ms);
    }

    template <typename T>
    T& Find(QWidget& in, char const* name)
    {
        auto* const found = in.findChild<T*>(QString::fromLatin1(name));
        if (found == nullptr) {
            throw std::runtime_error(std::string("there is no ") + name);
        }
        return *found;
    }
    template <typename Dialog>
    Dialog& Open(char const* action)
    {
        Find<QAction>(*stage.window, action);
        stage.window->findChild<QAction*>(QString::fromLatin1(action))->trigger();
        auto* const dialog = stage.window->findChild<QDialog*>(DialogOf(action));
        if (dialog == nullptr || !dialog->isVisible()) {
            throw std::runtime_error(std::string("nothing opens at ") + action);
        }
        return dynamic_cast<Dialog&>(*dialog);
    }
    static QString DialogOf(std::string const& action)
    {
        return action == "savePresetAction"       ? "savePresetDialog"
               : action == "loadPresetAction"     ? "loadPresetDialog"
               : action == "comparePresetsAction" ? "comparePresetsDialog"
                                                  : "managePresetsDialog";
    }
    void Press(QWidget& in, char const* button) { QTest::mouseClick(&Find<QPushButton>(in, button), Qt::LeftButton); }
    QString Line(QWidget& in) { return Find<QLabel>(in, "presetLine").text(); }
    bool Says(QWidget& in, QString const& part)
    {
        bool const says = RunUntil([&] { return Line(in).contains(part); });
        EXPECT_TRUE(says) << Line(in).toStdString();
        return says;
    }
    QString Status() { return Find<QLabel>(*stage.window, "lastMessage").text(); }
    /// Chooses the file in the dialog that asks for one.
    void Choose(QWidget& in, std::filesystem::path const& file)
    {
        ASSERT_TRUE(RunUntil([&] { return in.findChild<QFileDialog*>("presetFile") != nullptr; }));
        auto& dialog = Find<QFileDialog>(in, "presetFile");
        Find<QLineEdit>(dialog, "fileNameEdit").setText(QString::fromStdString(file.string()));
        QMetaObject::invokeMethod(&dialog, "accept");
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    /// Answers the question that is asked.
    void Answer(QWidget& in, QMessageBox::ButtonRole role)
    {
        ASSERT_TRUE(RunUntil([&] { return in.findChild<QMessageBox*>("presetQuestion") != nullptr; }));
        auto& box = Find<QMessageBox>(in, "presetQuestion");
        for (auto* const button : box.buttons()) {
            if (box.buttonRole(button) == role) {
                button->click();
            }
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }

    /// A preset of the simulated sonar's class with these settings.
    std::filesystem::path Write(std::string const& name, std::string const& settings,
                                std::string const& className = "QX5SonarConfigurationControlDevice")
    {
        auto const file = folder / (name + ".json");
        std::ofstream(file) << R"({"format": "qx5 preset", "version": 1, "name": ")" << name
                            << R"(", "time": "2026-11-22T14:30:05Z", "sonar": {"name": "Bow", "class": ")" << className
                            << R"("}, "settings": [)" << settings << "]}";
        return file;
    }
    static std::string Content(std::filesystem::path const& file)
    {
        std::ifstream stream(file, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    /// The dialog that loads, with the table of that file for the shown sonar.
    cli::LoadPresetDialog& OpenFile(std::filesystem::path const& file)
    {
        auto& dialog = Open<cli::LoadPresetDialog>("loadPresetAction");
        Press(dialog, "loadPresetFile");
        Choose(dialog, file);
        return dialog;
    }
    PresetTableModel& ModelOf(QWidget& dialog)
    {
        return dynamic_cast<PresetTableModel&>(*Find<cli::RowTable>(dialog, "presetTable").model());
    }
    /// A line for each row shown, its cells with | between them and its tick before them.
    std::vector<std::string> Rows(QWidget& dialog)
    {
        auto const& model = ModelOf(dialog);
        std::vector<std::string> rows;
        for (int row = 0; row < model.rowCount(); ++row) {
            auto const tick = model.index(row, 0).data(Qt::CheckStateRole);
            auto text = !tick.isValid() ? QString() : tick.toInt() == Qt::Checked ? "[x] " : "[ ] ";
            for (int column = 0; column < model.columnCount(); ++column) {
                text += (column == 0 ? "" : "|") + model.index(row, column).data().toString();
            }
            rows.push_back(text.toStdString());
        }
        return rows;
    }
    bool HasRows(QWidget& dialog, std::vector<std::string> const& rows)
    {
        bool const has = RunUntil([&] { return Rows(dialog) == rows; });
        EXPECT_THAT(Rows(dialog), ::testing::ElementsAreArray(rows));
        return has;
    }
    void Ask(AttributeKey const& key, CVordalType const& value, CDataId const& sonar = hull)
    {
        CAttributeMap tree;
        tree.Add(AttributeKey(L"Request"))->Add(key, value);
        DataManager::GetDataManager().SetAttributeMap(sonar, tree, 4, false);
    }
    Payloads Range() const { return stage.sonars[0].Payloads(1003); }

    TemporaryFolder const folder;
    Stage stage;

private:
    QTimer m_ticking;
};

TEST_F(PresetDialogs, KeepTheSettingsOfTheShownSonarAndAskBeforeOneIsReplaced)
{
    auto& first = Open<cli::SavePresetDialog>("savePresetAction");
    EXPECT_EQ(Find<QComboBox>(first, "presetSonar").currentText(), "Hull sonar");
    Press(first, "savePreset");
    EXPECT_EQ(Line(first), "a preset needs a name");
    QTest::keyClicks(&Find<QLineEdit>(first, "presetName"), "Deep");
    Press(first, "savePreset");
    ASSERT_TRUE(RunUntil([&] { return Status().startsWith("Preset Deep: "); })) << Line(first).toStdString();
    EXPECT_TRUE(Status().endsWith(" settings of Hull sonar are kept in the project")) << Status().toStdString();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);

    Ask(L"x5Range", CVordalDouble(50.0));
    ASSERT_TRUE(RunUntil([&] { return Range() == rangeOf50; }));
    for (bool const replaces : {false, true}) {
        auto& again = Open<cli::SavePresetDialog>("savePresetAction");
        QTest::keyClicks(&Find<QLineEdit>(again, "presetName"), "Deep");
        Press(again, "savePreset");
        ASSERT_TRUE(Says(again, "the project has a preset \"Deep\" already"));
        Answer(again, replaces ? QMessageBox::AcceptRole : QMessageBox::RejectRole);
        if (replaces) {
            EXPECT_TRUE(RunUntil([&] { return stage.window->findChild<QDialog*>("savePresetDialog") == nullptr; }));
        } else {
            EXPECT_TRUE(again.isVisible());
            auto& load = Open<cli::LoadPresetDialog>("loadPresetAction");
            auto& list = Find<QComboBox>(load, "loadPreset");
            ASSERT_TRUE(RunUntil([&] { return list.count() == 1; }));
            list.setCurrentIndex(0);
            EXPECT_TRUE(HasRows(load, {"[x] x5Range|m|50|100|different"})) << "the first is there still";
            load.close();
            again.close();
        }
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    stage.End();
    auto const presets = vordal::ProjectStore(folder / "survey.qx5").Presets();
    ASSERT_EQ(presets.size(), 1U);
    EXPECT_THAT(presets.begin()->second, HasSubstr(range50));
    EXPECT_THAT(presets.begin()->second, HasSubstr("{\"name\": \"Hull sonar\", \"class\": \"QX5Sonar"));
}

TEST_F(PresetDialogs, LoadATableFirstThenWhatIsTickedInOneRequestAndTheUndoTakesAllBack)
{
    auto const file = Write("Mixed", range50 + "," + gain30 + "," + power190 + "," +
                                         R"({"key": "x5MaxPingRate", "kind": "double", "value": 5000.0},
        {"key": "x5SoundVelocity", "kind": "double", "value": "nan"},
        {"key": "x5GainTweak", "kind": "double", "value": 1.0},
        {"key": "x5Absorption", "kind": "double", "value": 77.0},
        {"key": "later", "kind": "int", "value": 1})");
    auto& dialog = OpenFile(file);
    ASSERT_TRUE(
        HasRows(dialog, {"[x] x5Range|m|100|50|different", "[x] x5Gain|dB|20|30|different",
                         "[ ] x5MaxPingRate|pings/s|10|5000|beyond: the sonar does not take this value",
                         "[ ] x5SoundVelocity|m/s|1500|nan|beyond: this is no finite number",
                         "[ ] x5GainTweak||-|1|missing: the sonar tells none", "[x] x5Absorption|dB/km|70|77|different",
                         "[ ] later||-|1|unknown: no setting that this program knows"}));
    EXPECT_EQ(Line(dialog), "Mixed: 8 settings of Bow, taken 2026-11-22T14:30:05Z; 3 ticked");
    EXPECT_EQ(Find<QCheckBox>(dialog, "show different").text(), "Different (3)");
    EXPECT_EQ(Find<QCheckBox>(dialog, "show equal").text(), "Equal (1)");
    EXPECT_EQ(Find<QCheckBox>(dialog, "show beyond").text(), "Beyond limits (2)");
    EXPECT_EQ(Find<QCheckBox>(dialog, "show unknown").text(), "Unknown (1)");
    EXPECT_EQ(Find<QCheckBox>(dialog, "show missing").text(), "Missing (1)");
    for (char const* const state : {"show beyond", "show unknown", "show missing"}) {
        QTest::mouseClick(&Find<QCheckBox>(dialog, state), Qt::LeftButton);
    }
    QTest::mouseClick(&Find<QCheckBox>(dialog, "show equal"), Qt::LeftButton);
    ASSERT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different", "[x] x5Gain|dB|20|30|different",
                                 "[ ] x5Power|dB|190|190|equal", "[x] x5Absorption|dB/km|70|77|different"}));

    auto& table = Find<cli::RowTable>(dialog, "presetTable");
    table.setFocus();
    table.selectRow(3);
    QTest::keyClick(&table, Qt::Key_Space);
    EXPECT_EQ(Rows(dialog)[3], "[ ] x5Absorption|dB/km|70|77|different");
    table.selectRow(2);
    QTest::keyClick(&table, Qt::Key_Space);
    EXPECT_EQ(Line(dialog), "x5Power cannot be ticked: the sonar has that value already");
    EXPECT_THAT(Range(), IsEmpty()) << "nothing is sent before it is said";

    Press(dialog, "loadTicked");
    ASSERT_TRUE(Says(dialog, "Loaded: the sonar has 2 of 2 as the preset says."));
    EXPECT_EQ(Rows(dialog), (std::vector<std::string>{
                                "[x] x5Range|m|100|50|different|50", "[x] x5Gain|dB|20|30|different|30",
                                "[ ] x5Power|dB|190|190|equal|190", "[ ] x5Absorption|dB/km|70|77|different|70"}));
    EXPECT_EQ(ModelOf(dialog).headerData(PresetTableModel::Now, Qt::Horizontal, Qt::DisplayRole), "Before");
    EXPECT_EQ(Range(), rangeOf50);
    EXPECT_EQ(stage.sonars[0].Payloads(1008), gainOf30);
    EXPECT_THAT(stage.sonars[0].Payloads(1005), IsEmpty());
    for (char const* const button : {"loadTicked", "tickAll", "untickAll", "tickSelected"}) {
        EXPECT_FALSE(Find<QPushButton>(dialog, button).isEnabled()) << button << ": it is loaded already";
    }

    auto const& history = stage.panes->History().Model();
    ASSERT_TRUE(RunUntil([&] { return history.rowCount() == 1; }));
    EXPECT_EQ(history.index(0, HistoryModel::Who).data().toString(), "preset");
    EXPECT_EQ(history.index(0, HistoryModel::Step).data().toString(), "x5Range: 100 to 50; x5Gain: 20 to 30");
    stage.window->findChild<QAction*>("undo")->trigger();
    ASSERT_TRUE(RunUntil([&] { return stage.sonars[0].Payloads(1008).size() == 2; }));
    // 100.0 and 20.0 as 32-bit floats.
    EXPECT_EQ(Range().back(), (std::vector<unsigned char>{0x00, 0x00, 0xC8, 0x42}));
    EXPECT_EQ(stage.sonars[0].Payloads(1008).back(), (std::vector<unsigned char>{0x00, 0x00, 0xA0, 0x41}));
    EXPECT_TRUE(RunUntil([&] { return history.index(0, HistoryModel::State).data().toString() == "undone"; }));
    Press(dialog, "lookAgain");
    EXPECT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different", "[x] x5Gain|dB|20|30|different",
                                 "[ ] x5Power|dB|190|190|equal", "[x] x5Absorption|dB/km|70|77|different"}));
}

TEST_F(PresetDialogs, MarkWhatTheSonarThenHasOtherwise)
{
    // At the higher rate ranges end at 200 m.
    ASSERT_TRUE(stage.sonars[0].Tell("set x5SampleRateSelection=1"));
    auto& dialog = OpenFile(Write("Far", R"({"key": "x5SampleRateSelection", "kind": "int", "value": 0},
        {"key": "x5Range", "kind": "double", "value": 300.0, "unit": "m"})"));
    ASSERT_TRUE(HasRows(dialog, {"[x] x5SampleRateSelection||1|0|different", "[x] x5Range|m|100|300|different"}));
    auto& table = Find<cli::RowTable>(dialog, "presetTable");
    table.selectRow(0);
    Press(dialog, "tickSelected");
    Press(dialog, "loadTicked");
    ASSERT_TRUE(Says(dialog, "Loaded: the sonar has 0 of 1 as the preset says, 1 otherwise."));
    EXPECT_EQ(Rows(dialog), (std::vector<std::string>{"[ ] x5SampleRateSelection||1|0|different|1",
                                                      "[x] x5Range|m|100|300|different|200, not as asked"}));
    EXPECT_TRUE(ModelOf(dialog).index(1, PresetTableModel::After).data(Qt::FontRole).value<QFont>().bold());
    EXPECT_TRUE(RunUntil([&] {
        auto& events = stage.panes->Events().Model();
        return events.rowCount() > 0 &&
               events.index(events.rowCount() - 1, cli::EventModel::What).data().toString() == "x5Range";
    })) << "the event list knows of it";
}

TEST_F(PresetDialogs, FollowTheSonarUntilSomethingIsLoaded)
{
    auto& dialog = OpenFile(Write("Both", range50 + "," + gain30));
    ASSERT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different", "[x] x5Gain|dB|20|30|different"}));
    Press(dialog, "untickAll");
    EXPECT_FALSE(Find<QPushButton>(dialog, "loadTicked").isEnabled());
    ASSERT_TRUE(stage.sonars[0].Tell("set x5Range=75"));
    EXPECT_TRUE(HasRows(dialog, {"[ ] x5Range|m|75|50|different", "[ ] x5Gain|dB|20|30|different"}));
    ASSERT_TRUE(stage.sonars[0].Tell("set x5Gain=30"));
    EXPECT_TRUE(HasRows(dialog, {"[ ] x5Range|m|75|50|different"}));
    Press(dialog, "tickAll");
    EXPECT_TRUE(HasRows(dialog, {"[x] x5Range|m|75|50|different"}));
}

TEST_F(PresetDialogs, ADisconnectedSonarIsToldAndNothingIsAskedFor)
{
    auto& dialog = OpenFile(Write("Shallow", range50));
    ASSERT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different"}));
    ASSERT_TRUE(stage.sonars[0].Tell("misbehave refuse not-listening"));
    ASSERT_TRUE(stage.sonars[0].Tell("drop"));
    ASSERT_TRUE(Says(dialog, "The sonar is not connected"));
    EXPECT_FALSE(Find<QPushButton>(dialog, "loadTicked").isEnabled());
    EXPECT_THAT(Rows(dialog), ::testing::ElementsAre("[x] x5Range|m|100|50|different"));
    auto& save = Open<cli::SavePresetDialog>("savePresetAction");
    QTest::keyClicks(&Find<QLineEdit>(save, "presetName"), "Old");
    Press(save, "savePreset");
    EXPECT_TRUE(Says(save, "The sonar is not connected: what it has now is not known."));
    ASSERT_TRUE(stage.sonars[0].Tell("behave"));
    ASSERT_TRUE(RunUntil([&] { return Find<QPushButton>(dialog, "loadTicked").isEnabled(); }));
    EXPECT_THAT(Range(), IsEmpty());
    EXPECT_EQ(stage.session.Desk().Held().Count(hull), 0U);
    Press(dialog, "loadTicked");
    EXPECT_TRUE(Says(dialog, "Loaded: the sonar has 1 of 1"));
}

TEST_F(PresetDialogs, ASonarThatDoesNotAnswerIsTold)
{
    auto& dialog = OpenFile(Write("Shallow", range50));
    ASSERT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different"}));
    ASSERT_TRUE(stage.sonars[0].Tell("misbehave silent"));
    Press(dialog, "loadTicked");
    EXPECT_EQ(Line(dialog), "Asked for 1 settings; the sonar has not answered yet.");
    EXPECT_FALSE(Find<QPushButton>(dialog, "loadTicked").isEnabled());
    ASSERT_TRUE(Says(dialog, "Not loaded as a whole: the sonar did not answer within 1 s. The sonar has 0 of 1"));
    EXPECT_THAT(Rows(dialog), ::testing::ElementsAre("[x] x5Range|m|100|50|different|100, not as asked"));
}

TEST_F(PresetDialogs, WhatTheTransmitLockRefusesIsToldAndNothingOfItIsSent)
{
    stage.session.SetTransmitLock(true);
    auto& dialog =
        OpenFile(Write("Loud", range50 + R"(,{"key": "x5Power", "kind": "double", "value": 220.0, "unit": "dB"})"));
    ASSERT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different", "[x] x5Power|dB|190|220|different"}));
    Press(dialog, "loadTicked");
    ASSERT_TRUE(Says(dialog, "Nothing was sent: the transmit lock is on: x5Power=220 dB is full power."));
    EXPECT_THAT(Range(), IsEmpty());
    EXPECT_THAT(stage.sonars[0].Payloads(1005), IsEmpty());
    Find<cli::RowTable>(dialog, "presetTable").selectRow(1);
    Press(dialog, "tickSelected");
    Press(dialog, "loadTicked");
    ASSERT_TRUE(Says(dialog, "Loaded: the sonar has 1 of 1"));
    EXPECT_EQ(Range(), rangeOf50);
}

TEST_F(PresetDialogs, ASonarThatIsGoneIsTold)
{
    // The window lists one more sonar than the session has.
    CDataId const gone(1, 78, 9, 1);
    vordal::DevicePanel const panel({{.number = 1, .name = "Ship", .devices = {{gone, "Stern", "", false}}}});
    cli::PresetWork work(stage.session, panel);
    cli::LoadPresetDialog dialog(work, gone, nullptr);
    dialog.setAttribute(Qt::WA_DeleteOnClose, false);
    dialog.show();
    Press(dialog, "loadPresetFile");
    Choose(dialog, Write("Shallow", range50));
    ASSERT_TRUE(Says(dialog, "The sonar is not there any more."));
    EXPECT_FALSE(Find<QPushButton>(dialog, "loadTicked").isEnabled());
    EXPECT_THAT(Rows(dialog), IsEmpty());
}

TEST_F(PresetDialogs, BadPresetsAreOneLineEach)
{
    auto& dialog = OpenFile(Write("Foreign", range50, "SingleBeamSounder"));
    ASSERT_TRUE(Says(dialog, "the preset is of a sonar of the class \"SingleBeamSounder\", this one is of the class"));
    EXPECT_THAT(Rows(dialog), IsEmpty());
    EXPECT_FALSE(Find<QPushButton>(dialog, "loadTicked").isEnabled());
    auto const refused = [&](std::filesystem::path const& file, QString const& why) {
        Press(dialog, "loadPresetFile");
        Choose(dialog, file);
        EXPECT_TRUE(Says(dialog, why));
        EXPECT_FALSE(Line(dialog).contains('\n'));
        EXPECT_THAT(Rows(dialog), IsEmpty());
        EXPECT_FALSE(Find<QPushButton>(dialog, "loadTicked").isEnabled());
    };
    auto const damaged = Write("Damaged", range50);
    std::ofstream(damaged) << Content(damaged).substr(0, 60);
    refused(damaged, "not JSON");
    refused(Write("Twice", range50 + "," + range50), "\"x5Range\" stands here twice (line 1, column ");
    refused(Write("Kind", R"({"key": "x5Range", "kind": "string", "value": "50"})"),
            "x5Range is of the kind double, not string");
    // A good one after them is loaded as ever.
    Press(dialog, "loadPresetFile");
    Choose(dialog, Write("Shallow", range50));
    EXPECT_TRUE(HasRows(dialog, {"[x] x5Range|m|100|50|different"}));
    EXPECT_THAT(Range(), IsEmpty());
}

TEST_F(PresetDialogs, TenThousandKeysLeaveTheTableAtWork)
{
    std::string settings = range50;
    for (int i = 0; i < 10'000; ++i) {
        settings += ",{\"key\": \"later" + std::to_string(i) + R"(", "kind": "double", "value": 1.5})";
    }
    auto& dialog = OpenFile(Write("Many", settings));
    ASSERT_TRUE(RunUntil([&] { return ModelOf(dialog).rowCount() == 10'001; }));
    EXPECT_LT(dialog.findChildren<QWidget*>().size(), 100);
    EXPECT_EQ(Find<QCheckBox>(dialog, "show unknown").text(), "Unknown (10000)");
    // No pass of the event loop works longer than an operator bears, also while the sonar changes.
    auto& table = Find<cli::RowTable>(dialog, "presetTable");
    double longest = 0.0;
    for (int range = 60; range < 70; ++range) {
        ASSERT_TRUE(stage.sonars[0].Tell("set x5Range=" + std::to_string(range)));
        table.setFocus();
        QTest::keyClick(&table, Qt::Key_PageDown);
        auto const& model = ModelOf(dialog);
        EXPECT_TRUE(RunUntil([&] {
            double const begun = SecondsOfThisThread();
            QCoreApplication::processEvents();
            longest = std::max(longest, SecondsOfThisThread() - begun);
            return model.index(0, PresetTableModel::Now).data().toString() == QString::number(range);
        }));
    }
    RecordProperty("longest_ms", static_cast<int>(longest * 1000.0));
    EXPECT_LT(longest, 0.5);
    QTest::mouseClick(&Find<QCheckBox>(dialog, "show unknown"), Qt::LeftButton);
    EXPECT_EQ(ModelOf(dialog).rowCount(), 1);
    Press(dialog, "loadTicked");
    EXPECT_TRUE(Says(dialog, "Loaded: the sonar has 1 of 1"));
}

TEST_F(PresetDialogs, ListRenameRemoveExportAndImport)
{
    auto& dialog = Open<cli::ManagePresetsDialog>("managePresetsAction");
    ASSERT_TRUE(Says(dialog, "The project has no presets."));
    EXPECT_FALSE(Find<QPushButton>(dialog, "removePreset").isEnabled());
    auto& list = Find<cli::RowTable>(dialog, "presetList");
    auto const rows = [&] {
        std::vector<std::string> texts;
        for (int row = 0; row < list.model()->rowCount(); ++row) {
            QString text;
            for (int column = 0; column < list.model()->columnCount(); ++column) {
                text += list.model()->index(row, column).data().toString() + "|";
            }
            texts.push_back(text.toStdString());
        }
        return texts;
    };
    auto const shallow = Write("Shallow", range50 + "," + gain30);
    Press(dialog, "importPreset");
    Choose(dialog, shallow);
    ASSERT_TRUE(Says(dialog, "Shallow: 2 settings are taken into the project."));
    ASSERT_TRUE(RunUntil([&] { return rows().size() == 1; }));
    EXPECT_EQ(rows()[0], "Shallow|Bow|2026-11-22T14:30:05Z|2||");

    // Once more under the same name.
    Write("Shallow", range50);
    Press(dialog, "importPreset");
    Choose(dialog, shallow);
    ASSERT_TRUE(Says(dialog, "the project has a preset \"Shallow\" already"));
    Answer(dialog, QMessageBox::RejectRole);
    Press(dialog, "importPreset");
    Choose(dialog, shallow);
    Answer(dialog, QMessageBox::AcceptRole);
    EXPECT_TRUE(RunUntil([&] { return rows() == std::vector<std::string>{"Shallow|Bow|2026-11-22T14:30:05Z|1||"}; }));

    auto& name = Find<QLineEdit>(dialog, "presetNewName");
    EXPECT_EQ(name.text(), "Shallow");
    name.selectAll();
    QTest::keyClicks(&name, "100% & %2");
    Press(dialog, "renamePreset");
    ASSERT_TRUE(Says(dialog, "Shallow is now called 100% & %2."));
    ASSERT_TRUE(RunUntil([&] { return rows() == std::vector<std::string>{"100% & %2|Bow|2026-11-22T14:30:05Z|1||"}; }));
    Press(dialog, "importPreset");
    Choose(dialog, shallow);
    ASSERT_TRUE(RunUntil([&] { return rows().size() == 2; }));
    list.selectRow(1);
    name.selectAll();
    QTest::keyClicks(&name, "100% & %2");
    Press(dialog, "renamePreset");
    EXPECT_TRUE(Says(dialog, "the project has a preset \"100% & %2\" already"));
    EXPECT_EQ(rows().size(), 2U);

    list.selectRow(0);
    auto const written = folder / "written.json";
    Press(dialog, "exportPreset");
    Choose(dialog, written);
    ASSERT_TRUE(Says(dialog, "100% & %2 is written to " + QString::fromStdString(written.string())));
    EXPECT_THAT(Content(written), HasSubstr("\"name\": \"100% & %2\""));
    EXPECT_THAT(Content(written), HasSubstr(range50));
    EXPECT_EQ(Content(written).find(folder.string()), std::string::npos) << "no machine's paths";

    Press(dialog, "showPreset");
    ASSERT_TRUE(RunUntil([&] { return dialog.findChild<QDialog*>("showPresetDialog") != nullptr; }));
    auto& shown = Find<QDialog>(dialog, "showPresetDialog");
    EXPECT_EQ(Line(shown), "1 settings of Bow (QX5SonarConfigurationControlDevice), taken 2026-11-22T14:30:05Z");
    auto& settings = Find<cli::RowTable>(shown, "presetSettings");
    settings.selectAll();
    EXPECT_EQ(settings.SelectedText(), "x5Range\t50\tm\n");
    shown.close();

    Press(dialog, "removePreset");
    Answer(dialog, QMessageBox::RejectRole);
    EXPECT_EQ(rows().size(), 2U);
    Press(dialog, "removePreset");
    Answer(dialog, QMessageBox::AcceptRole);
    ASSERT_TRUE(Says(dialog, "100% & %2 is removed."));
    EXPECT_TRUE(RunUntil([&] { return rows() == std::vector<std::string>{"Shallow|Bow|2026-11-22T14:30:05Z|1||"}; }));
}

TEST_F(PresetDialogs, ADamagedPresetOfTheProjectIsListedAndCanBeRemoved)
{
    stage.session.WithProject([](vordal::ProjectStore& store) { store.SavePreset(L"Broken", "{"); });
    auto& load = Open<cli::LoadPresetDialog>("loadPresetAction");
    auto& list = Find<QComboBox>(load, "loadPreset");
    ASSERT_TRUE(RunUntil([&] { return list.count() == 1; }));
    EXPECT_EQ(list.itemText(0), "Broken (damaged)");
    list.setCurrentIndex(0);
    EXPECT_TRUE(Says(load, "the preset \"Broken\" of the project: "));
    auto& dialog = Open<cli::ManagePresetsDialog>("managePresetsAction");
    auto& rows = *Find<cli::RowTable>(dialog, "presetList").model();
    ASSERT_TRUE(RunUntil([&] { return rows.rowCount() == 1; }));
    EXPECT_THAT(rows.index(0, 4).data().toString().toStdString(), StartsWith("the preset \"Broken\" of the project: "));
    Press(dialog, "exportPreset");
    EXPECT_TRUE(Says(dialog, "the preset \"Broken\" of the project: "));
    Press(dialog, "removePreset");
    Answer(dialog, QMessageBox::AcceptRole);
    EXPECT_TRUE(RunUntil([&] { return rows.rowCount() == 0 && list.count() == 0; })) << "in every dialog";
}

TEST_F(PresetDialogs, CompareSonarsPresetsAndFiles)
{
    ASSERT_TRUE(stage.sonars[1].Tell("set x5Range=75"));
    auto& dialog = Open<cli::ComparePresetsDialog>("comparePresetsAction");
    auto& first = Find<QComboBox>(dialog, "compare1");
    auto& second = Find<QComboBox>(dialog, "compare2");
    EXPECT_EQ(first.currentText(), "Sonar Hull sonar");
    second.setCurrentIndex(second.findText("Sonar Pole sonar"));
    ASSERT_TRUE(RunUntil([&] {
        CAttributeMap tree;
        DataManager::GetDataManager().GetAttributeMap(pole, tree);
        double range = 0.0;
        return tree.FindValue(AttributeKey(L"x5Range")).Get(range) && range == 75.0;
    }));
    Press(dialog, "compareAgain");
    ASSERT_TRUE(HasRows(dialog, {"x5Range|m|100|75|different"}));
    EXPECT_THAT(Line(dialog).toStdString(), StartsWith("They differ: "));
    EXPECT_THAT(Line(dialog).toStdString(), HasSubstr(" equal, 1 different, 0 beyond, 0 unknown, 0 missing."));
    EXPECT_EQ(ModelOf(dialog).headerData(PresetTableModel::Now, Qt::Horizontal, Qt::DisplayRole), "Sonar Hull sonar");
    EXPECT_EQ(ModelOf(dialog).headerData(PresetTableModel::Then, Qt::Horizontal, Qt::DisplayRole), "Sonar Pole sonar");

    second.setCurrentIndex(second.findText("Sonar ROV sonar"));
    EXPECT_TRUE(Says(dialog, "They are the same: "));
    // A preset beside a sonar: what it has not is missing there.
    Press(dialog, "compareFile2");
    Choose(dialog, Write("Loud", R"({"key": "x5Power", "kind": "double", "value": 500.0, "unit": "dB"})"));
    ASSERT_TRUE(Says(dialog, "They differ: 0 equal, 0 different, 1 beyond, 0 unknown, "));
    EXPECT_EQ(Rows(dialog)[0], "x5Power|dB|190|500|beyond");
    // Two presets.
    Press(dialog, "compareFile1");
    Choose(dialog, Write("Quiet", power190));
    EXPECT_TRUE(HasRows(dialog, {"x5Power|dB|190|500|different"}));
    EXPECT_EQ(ModelOf(dialog).headerData(PresetTableModel::Now, Qt::Horizontal, Qt::DisplayRole), "File Quiet.json");
    Press(dialog, "compareFile1");
    Choose(dialog, Write("Nothing", "1"));
    EXPECT_TRUE(Says(dialog, "Nothing.json"));
    EXPECT_THAT(Rows(dialog), IsEmpty());
}

TEST_F(PresetDialogs, WorkByKeyAndHaveNoNamelessElementAndFitTheScreen)
{
    auto& load = OpenFile(Write("Both", range50 + "," + gain30));
    ASSERT_TRUE(HasRows(load, {"[x] x5Range|m|100|50|different", "[x] x5Gain|dB|20|30|different"}));
    auto& table = Find<cli::RowTable>(load, "presetTable");
    table.setFocus();
    QTest::keyClick(&table, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "x5Range\tm\t100\t50\tdifferent\nx5Gain\tdB\t20\t30\tdifferent\n");
    QTest::keyClick(&table, Qt::Key_Space);
    EXPECT_EQ(Rows(load)[1], "[ ] x5Gain|dB|20|30|different");
    auto* const cell = QAccessible::queryAccessibleInterface(&table)->tableInterface()->cellAt(0, 0);
    ASSERT_NE(cell, nullptr);
    EXPECT_EQ(cell->text(QAccessible::Name), "x5Range");
    EXPECT_TRUE(cell->state().checkable);
    EXPECT_FALSE(cell->state().checked);

    std::vector<QDialog*> const dialogs{&Open<cli::SavePresetDialog>("savePresetAction"), &load,
                                        &Open<cli::ComparePresetsDialog>("comparePresetsAction"),
                                        &Open<cli::ManagePresetsDialog>("managePresetsAction")};
    for (auto* const dialog : dialogs) {
        EXPECT_FALSE(dialog->isModal()) << dialog->objectName().toStdString();
        EXPECT_LE(dialog->width(), 1280) << dialog->objectName().toStdString();
        EXPECT_LE(dialog->height(), 750) << dialog->objectName().toStdString();
        std::set<QKeySequence> keys;
        for (auto const* const label : dialog->findChildren<QLabel*>()) {
            if (auto const key = QKeySequence::mnemonic(label->buddy() != nullptr ? label->text() : "");
                !key.isEmpty()) {
                EXPECT_TRUE(keys.insert(key).second) << label->text().toStdString();
            }
        }
        for (auto const* const button : dialog->findChildren<QAbstractButton*>()) {
            auto const key = QKeySequence::mnemonic(button->text());
            EXPECT_TRUE(key.isEmpty() || keys.insert(key).second) << button->text().toStdString();
        }
        dialog->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(dialog));
        auto* const begin = QApplication::focusWidget();
        ASSERT_NE(begin, nullptr) << dialog->objectName().toStdString();
        int stops = 0;
        do {
            auto* const stop = QApplication::focusWidget();
            auto* const element = QAccessible::queryAccessibleInterface(stop);
            EXPECT_FALSE(element->text(QAccessible::Name).isEmpty())
                << dialog->objectName().toStdString() << ": " << stop->metaObject()->className() << " "
                << stop->objectName().toStdString();
            QTest::keyClick(stop, Qt::Key_Tab);
            ++stops;
        } while (QApplication::focusWidget() != begin && stops < 40);
        EXPECT_LT(stops, 40) << "the way round is closed";
        EXPECT_GE(stops, 3);
    }
    // By Escape they go, and leave the window at work.
    QTest::keyClick(&load, Qt::Key_Escape);
    EXPECT_FALSE(load.isVisible());
}

class PresetsWithoutAProject : public PresetDialogs
{
protected:
    PresetsWithoutAProject() : PresetDialogs(false) {}
};

TEST_F(PresetsWithoutAProject, AreKeptInFiles)
{
    QString const line = "No project is open: presets are kept in a project (qx5 run --project FILE) or in a file.";
    auto& save = Open<cli::SavePresetDialog>("savePresetAction");
    EXPECT_EQ(Line(save), line);
    QTest::keyClicks(&Find<QLineEdit>(save, "presetName"), "Deep");
    Press(save, "savePreset");
    EXPECT_TRUE(Says(save, line));
    Press(save, "savePresetToFile");
    auto const file = folder / "deep.json";
    Choose(save, file);
    ASSERT_TRUE(RunUntil([&] { return Status().startsWith("Preset Deep: "); })) << Line(save).toStdString();
    EXPECT_THAT(Content(file), HasSubstr(R"({"key": "x5Range", "kind": "double", "value": 100.0, "unit": "m"})"));

    auto& manage = Open<cli::ManagePresetsDialog>("managePresetsAction");
    EXPECT_EQ(Line(manage), line);
    Press(manage, "importPreset");
    Choose(manage, file);
    EXPECT_TRUE(Says(manage, line));

    ASSERT_TRUE(stage.sonars[0].Tell("set x5Range=75"));
    auto& load = Open<cli::LoadPresetDialog>("loadPresetAction");
    EXPECT_EQ(Line(load), line);
    Press(load, "loadPresetFile");
    Choose(load, file);
    EXPECT_TRUE(HasRows(load, {"[x] x5Range|m|75|100|different"}));
    Press(load, "loadTicked");
    EXPECT_TRUE(Says(load, "Loaded: the sonar has 1 of 1 as the preset says."));
}

} // namespace
} // namespace qx5::test
