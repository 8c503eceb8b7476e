// Tests of the Help menu: the manual with its search, the list of shortcuts held against what works, what About tells.
#include "live_stage.h"
#include "tests/support/temporary_folder.h"

#include <cli/window/about_window.h>
#include <cli/window/help_menu.h>
#include <cli/window/manual_window.h>
#include <cli/window/shortcut_list.h>

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QImage>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QScreen>
#include <QShortcut>
#include <QTableView>
#include <QTest>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTreeWidget>
#include <QUrl>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using cli::Fact;
using cli::ShortcutRow;
using ::testing::HasSubstr;

std::filesystem::path const documents = std::filesystem::path(QX5_SOURCE_DIR) / "docs";

class Help : public ::testing::Test
{
protected:
    Help()
    {
        window.menuBar()->addMenu("&File")->addAction("&Quit");
        cli::AddHelpMenu(window, {.program = {{"qx5", "1.2.3"}, {"commit", "0123456789ab"}}, .plugIns = [] {
                                      return std::vector<Fact>{{"some.so", "for host contract 5.5.1.0"}};
                                  }});
        window.show();
        window.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&window));
    }

    void Trigger(char const* action) { window.findChild<QAction*>(action)->trigger(); }
    template <typename Dialog>
    Dialog& Opened(char const* action)
    {
        Trigger(action);
        for (auto* const each : window.findChildren<QDialog*>()) {
            if (auto* const dialog = dynamic_cast<Dialog*>(each)) {
                EXPECT_TRUE(dialog->isVisible());
                // A window counts as active with one that belongs to it, too.
                EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == dialog; }));
                return *dialog;
            }
        }
        throw std::runtime_error("it does not open");
    }
    /// The dialog stops nobody, fits on its screen under a title bar, and on one of 1280 times 800, names each stop of
    /// the Tab key, and goes at Esc.
    static void ExpectAWellBehavedDialog(QDialog& dialog)
    {
        EXPECT_FALSE(dialog.isModal());
        auto const room = dialog.screen()->availableSize().boundedTo({1280, 800});
        EXPECT_LE(dialog.width(), room.width());
        EXPECT_LE(dialog.height(), room.height() - 20);
        EXPECT_FALSE(dialog.windowTitle().isEmpty());
        std::set<QWidget*> stops;
        while (stops.insert(QApplication::focusWidget()).second) {
            auto* const stop = QApplication::focusWidget();
            ASSERT_NE(stop, nullptr);
            EXPECT_FALSE(QAccessible::queryAccessibleInterface(stop)->text(QAccessible::Name).isEmpty())
                << stop->metaObject()->className() << ' ' << stop->objectName().toStdString();
            QTest::keyClick(stop, Qt::Key_Tab);
        }
        EXPECT_GE(stops.size(), 2U);
        for (auto* const button : dialog.findChildren<QAbstractButton*>()) {
            if (!button->inherits("QTableCornerButton")) {
                EXPECT_FALSE(QAccessible::queryAccessibleInterface(button)->text(QAccessible::Name).isEmpty());
            }
        }
        QTest::keyClick(&dialog, Qt::Key_Escape);
        EXPECT_FALSE(dialog.isVisible());
    }

    QMainWindow window;
};

TEST_F(Help, StandsLastInTheMenuBar)
{
    auto const menus = window.menuBar()->actions();
    EXPECT_EQ(menus.back()->text(), "&Help");
    QStringList lines;
    for (auto const* const action : menus.back()->menu()->actions()) {
        lines += action->text();
    }
    EXPECT_EQ(lines, (QStringList{"&Manual", "&Shortcuts", "", "&About"}));
}

TEST_F(Help, TheManualOpensAtItsKeyAndOnce)
{
    QTest::keyClick(&window, Qt::Key_F1);
    auto* const manual = window.findChild<QDialog*>("manualWindow");
    ASSERT_NE(manual, nullptr);
    EXPECT_TRUE(manual->isVisible());
    manual->close();
    QTest::keyClick(&window, Qt::Key_F1);
    EXPECT_TRUE(manual->isVisible());
    EXPECT_EQ(window.findChildren<QDialog*>().size(), 1);
}

TEST_F(Help, ItsWindowsAreWellBehaved)
{
    ExpectAWellBehavedDialog(Opened<cli::ManualWindow>("manualAction"));
    ExpectAWellBehavedDialog(Opened<cli::ShortcutList>("shortcutsAction"));
    ExpectAWellBehavedDialog(Opened<cli::AboutWindow>("aboutAction"));
}

TEST_F(Help, ItsWindowsFitOnTheScreenWithLargeTextsToo)
{
    auto const usual = QApplication::font();
    auto large = usual;
    large.setPointSize(2 * usual.pointSize());
    QApplication::setFont(large);
    ExpectAWellBehavedDialog(Opened<cli::ManualWindow>("manualAction"));
    ExpectAWellBehavedDialog(Opened<cli::ShortcutList>("shortcutsAction"));
    ExpectAWellBehavedDialog(Opened<cli::AboutWindow>("aboutAction"));
    QApplication::setFont(usual);
}

TEST_F(Help, AboutTellsAllAndIsCopied)
{
    auto& about = Opened<cli::AboutWindow>("aboutAction");
    auto const& text = *about.findChild<QPlainTextEdit*>("aboutText");
    EXPECT_EQ(text.toPlainText(), "qx5 1.2.3\ncommit 0123456789ab\n\nPlug-ins\nsome.so for host contract 5.5.1.0");
    EXPECT_TRUE(text.isReadOnly());
    EXPECT_TRUE(text.hasFocus());
    QApplication::clipboard()->clear();
    QTest::mouseClick(about.findChild<QAbstractButton*>("aboutCopy"), Qt::LeftButton);
    EXPECT_EQ(QApplication::clipboard()->text(), text.toPlainText());
}

std::string ContentOf(std::filesystem::path const& name)
{
    std::ifstream file(name);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The manual's pages in the order in which the index names them: "manual/day.md".
std::vector<std::string> PagesOfTheIndex()
{
    auto const index = ContentOf(documents / "index.md");
    std::vector<std::string> pages;
    std::string_view const begin = "](manual/";
    for (auto at = index.find(begin); at != std::string::npos; at = index.find(begin, at + 1)) {
        pages.push_back(index.substr(at + 2, index.find(')', at) - at - 2));
    }
    EXPECT_GE(pages.size(), 10U);
    return pages;
}

std::vector<QString> HeadingsOfThePages()
{
    std::vector<QString> headings;
    for (auto const& page : PagesOfTheIndex()) {
        std::istringstream file(ContentOf(documents / page));
        bool isCode = false;
        for (std::string line; std::getline(file, line);) {
            isCode = isCode != line.starts_with("```");
            for (std::string_view const mark : {"# ", "## ", "### "}) {
                if (!isCode && line.starts_with(mark)) {
                    headings.push_back(QString::fromStdString(line.substr(mark.size())));
                }
            }
        }
    }
    return headings;
}

TEST_F(Help, TheManualHasAllHeadingsOfItsPagesAndGoesToThem)
{
    auto& manual = Opened<cli::ManualWindow>("manualAction");
    auto& contents = *manual.findChild<QTreeWidget*>("manualContents");
    auto& text = *manual.findChild<QTextBrowser*>("manualText");
    std::vector<QString> listed;
    QTreeWidgetItem* last = nullptr;
    for (QTreeWidgetItemIterator item(&contents); *item != nullptr; ++item) {
        listed.push_back((*item)->text(0));
        last = *item;
    }
    EXPECT_EQ(listed, HeadingsOfThePages());
    EXPECT_EQ(static_cast<std::size_t>(contents.topLevelItemCount()), PagesOfTheIndex().size());
    EXPECT_EQ(contents.topLevelItem(0)->text(0), "A day at the sonar");
    ASSERT_NE(last, nullptr);
    contents.setCurrentItem(last);
    EXPECT_EQ(text.textCursor().block().text(), last->text(0));
    EXPECT_TRUE(text.viewport()->rect().contains(text.cursorRect().center()));
}

/// The text that links to the target; the link is what a click there would follow.
void ExpectALink(QTextDocument const& document, QString const& words, QString const& target)
{
    for (auto found = document.find(words); !found.isNull(); found = document.find(words, found)) {
        if (found.charFormat().anchorHref() == target) {
            return;
        }
    }
    ADD_FAILURE() << words.toStdString() << " does not lead to " << target.toStdString();
}

TEST_F(Help, LinksOfTheManualLeadToTheirPlacesAndBack)
{
    auto& manual = Opened<cli::ManualWindow>("manualAction");
    auto& text = *manual.findChild<QTextBrowser*>("manualText");
    auto const& found = *manual.findChild<QLabel*>("manualFound");
    auto const shown = [&] { return text.cursorForPosition({0, 0}).block().text(); };
    // Of another page, of the same one, of a page as a whole, of a file beside the pages.
    ExpectALink(*text.document(), "Serving a vessel", "manual/ashore.md#serving-a-vessel");
    ExpectALink(*text.document(), "Captured traffic", "manual/captures.md#captured-traffic");
    ExpectALink(*text.document(), "Presets", "manual/presets.md");
    ExpectALink(*text.document(), "records.md", "records.md");
    auto const before = shown();
    text.anchorClicked(QUrl("manual/ashore.md#serving-a-vessel"));
    EXPECT_EQ(text.textCursor().block().text(), "Serving a vessel");
    EXPECT_EQ(shown(), "Serving a vessel");
    text.anchorClicked(QUrl("manual/presets.md"));
    EXPECT_EQ(shown(), "Presets");
    QTest::keyClick(&manual, Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(shown(), "Serving a vessel");
    QTest::keyClick(&manual, Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(shown(), before);
    QTest::keyClick(&manual, Qt::Key_Left, Qt::AltModifier);
    EXPECT_EQ(shown(), before);

    std::vector<std::string> opened;
    manual.openFile = [&](QUrl const& file) { opened.push_back(file.toLocalFile().toStdString()); };
    text.anchorClicked(QUrl("records.md"));
    ASSERT_EQ(opened.size(), 1U);
    EXPECT_TRUE(std::filesystem::equivalent(opened[0], documents / "records.md"));
    text.anchorClicked(QUrl("no-such-file.md"));
    EXPECT_EQ(opened.size(), 1U);
    EXPECT_EQ(found.text(), "no-such-file.md is not installed");
}

TEST_F(Help, EveryLinkOfTheManualHasAnEnd)
{
    cli::ManualWindow manual(documents);
    manual.show();
    auto& text = *manual.findChild<QTextBrowser*>("manualText");
    auto const& found = *manual.findChild<QLabel*>("manualFound");
    manual.openFile = [](QUrl const&) {};
    int links = 0;
    for (auto block = text.document()->begin(); block.isValid(); block = block.next()) {
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            if (auto const target = at.fragment().charFormat().anchorHref(); !target.isEmpty()) {
                ++links;
                text.anchorClicked(QUrl(target));
                EXPECT_EQ(found.text(), "") << target.toStdString();
            }
        }
    }
    EXPECT_GT(links, 30);
}

TEST_F(Help, TheManualIsSearchedInACircle)
{
    auto& manual = Opened<cli::ManualWindow>("manualAction");
    auto& search = *manual.findChild<QLineEdit*>("manualSearch");
    auto& text = *manual.findChild<QTextBrowser*>("manualText");
    auto const& found = *manual.findChild<QLabel*>("manualFound");
    text.setFocus();
    QTest::keyClick(&manual, Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(search.hasFocus());
    QString const words = "transmit LOCK";
    auto const count = text.toPlainText().count(words, Qt::CaseInsensitive);
    ASSERT_GE(count, 2);
    QTest::keyClicks(&search, words);
    EXPECT_EQ(found.text(), QStringLiteral("%1 places").arg(count));
    for (qsizetype i = 1; i <= count + 1; ++i) {
        QTest::keyClick(&manual, Qt::Key_F3);
        EXPECT_EQ(found.text(), QStringLiteral("%1 of %2").arg(i <= count ? i : 1).arg(count));
        EXPECT_EQ(text.textCursor().selectedText().compare(words, Qt::CaseInsensitive), 0);
    }
    QTest::keyClick(&manual, Qt::Key_F3, Qt::ShiftModifier);
    EXPECT_EQ(found.text(), QStringLiteral("%1 of %1").arg(count));
    QTest::keyClick(&search, Qt::Key_Return);
    EXPECT_EQ(found.text(), QStringLiteral("1 of %1").arg(count));
    EXPECT_TRUE(manual.isVisible()) << "Enter in the field searches, and closes nothing";
    search.setText("no such words stand there");
    QTest::keyClick(&manual, Qt::Key_F3);
    EXPECT_EQ(found.text(), "not found");
    search.clear();
    EXPECT_EQ(found.text(), "");
}

int PicturesIn(QTextDocument const& document)
{
    int pictures = 0;
    for (auto block = document.begin(); block.isValid(); block = block.next()) {
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            auto const format = at.fragment().charFormat();
            if (format.isImageFormat()) {
                ++pictures;
                EXPECT_TRUE(std::filesystem::exists(documents / format.toImageFormat().name().toStdString()));
                EXPECT_GT(format.toImageFormat().width(), 100);
                EXPECT_LE(format.toImageFormat().width(), 640);
            }
        }
    }
    return pictures;
}

TEST_F(Help, TheManualShowsItsPicturesOrTheirWords)
{
    cli::ManualWindow with(documents);
    with.show();
    auto const& text = *with.findChild<QTextBrowser*>("manualText");
    int count = 0;
    for (auto const& page : PagesOfTheIndex()) {
        count += static_cast<int>(QString::fromStdString(ContentOf(documents / page)).count("](../images/"));
    }
    ASSERT_GE(count, 10);
    EXPECT_EQ(PicturesIn(*text.document()), count);
    EXPECT_FALSE(text.toPlainText().contains("[picture: "));
    auto const picture = text.document()->resource(QTextDocument::ImageResource, QUrl("images/window-dark.png"));
    EXPECT_EQ(picture.value<QImage>().width(), 640);

    TemporaryFolder const empty;
    cli::ManualWindow without(empty);
    without.show();
    auto const& words = *without.findChild<QTextBrowser*>("manualText");
    EXPECT_EQ(PicturesIn(*words.document()), 0);
    EXPECT_EQ(words.toPlainText().count("[picture: "), count);
    EXPECT_TRUE(words.toPlainText().contains("[picture: The window, dark]"));
    EXPECT_FALSE(words.toPlainText().contains(QChar::ObjectReplacementCharacter));
}

TEST_F(Help, TheProgramFindsTheManualsPictures)
{
    EXPECT_TRUE(std::filesystem::exists(cli::DocumentsFolder() / "images" / "window-dark.png"))
        << cli::DocumentsFolder();
}

QString Keys(QList<QKeySequence> const& all)
{
    QStringList texts;
    for (auto const& keys : all) {
        texts += keys.toString(QKeySequence::NativeText);
    }
    return texts.join(", ");
}

TEST(Shortcuts, AreThoseThatTheWindowHas)
{
    Stage stage;
    cli::AddHelpMenu(*stage.window, {});
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    auto const rows = cli::ShortcutsOf(*stage.window);
    std::multiset<QString> listed;
    for (auto const& row : rows) {
        EXPECT_FALSE(row.keys.isEmpty()) << row.what.toStdString();
        EXPECT_FALSE(row.what.isEmpty()) << row.keys.toStdString();
        EXPECT_FALSE(row.where.isEmpty()) << row.keys.toStdString() << ' ' << row.what.toStdString();
        EXPECT_FALSE(row.what.contains('&')) << row.what.toStdString();
        listed.insert(row.keys);
    }
    // Each that is there is listed.
    std::size_t there = 0;
    for (auto const* const action : stage.window->findChildren<QAction*>()) {
        if (!action->shortcuts().isEmpty()) {
            ++there;
            EXPECT_EQ(listed.count(Keys(action->shortcuts())), 1U) << action->text().toStdString();
        }
    }
    EXPECT_GE(there, 11U);
    for (auto const* const shortcut : stage.window->findChildren<QShortcut*>()) {
        ++there;
        EXPECT_EQ(listed.count(Keys(shortcut->keys())), 1U);
    }
    // And nothing else, but for what is no action.
    EXPECT_EQ(rows.size(), there + cli::KeysOfControls().size() + cli::ManualKeys().size());
    auto const has = [&](ShortcutRow const& row) { return std::find(rows.begin(), rows.end(), row) != rows.end(); };
    EXPECT_TRUE(has({"F1", "Manual", "Help"}));
    EXPECT_TRUE(has({"Ctrl+Q", "Quit", "File"}));
    EXPECT_TRUE(has({"Ctrl+Shift+L", "Transmit lock", "Sonar"}));
    EXPECT_TRUE(has({"Ctrl+Shift+E", "Events", "View"}));
    // The manual's own actions, once it is there, stand in the list as before.
    stage.window->findChild<QAction*>("manualAction")->trigger();
    EXPECT_EQ(cli::ShortcutsOf(*stage.window), rows);
    // One that is added later is listed from then on.
    auto* const added = stage.window->menuBar()->actions().front()->menu()->addAction("A && &B\u2026");
    added->setShortcut(QKeySequence("Ctrl+Shift+F9"));
    auto const later = cli::ShortcutsOf(*stage.window);
    EXPECT_NE(std::find(later.begin(), later.end(), ShortcutRow{"Ctrl+Shift+F9", "A & B", "File"}), later.end());
}

/// That the list tells those keys of such a control; what they do a test shows beside it.
bool Tells(QString const& where, QString const& keys)
{
    auto const rows = cli::KeysOfControls();
    return std::any_of(rows.begin(), rows.end(), [&](cli::ControlKeys const& row) {
        return where == QLatin1String(row.where) && keys == QLatin1String(row.keys);
    });
}

TEST(Shortcuts, OfControlsDoWhatTheListSays)
{
    Stage stage;
    ASSERT_TRUE(RunUntil([&] { return stage.IsReady(); }));
    stage.window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(stage.window.get()));
    std::size_t shown = 0;
    auto const expectTold = [&](char const* where, char const* keys) {
        ++shown;
        EXPECT_TRUE(Tells(where, keys)) << where << ": " << keys;
    };

    auto& slider = stage.Control<QSlider>("gainSlider");
    expectTold("Sliders", "Home, End");
    QTest::keyClick(&slider, Qt::Key_Home);
    EXPECT_EQ(slider.value(), slider.minimum());
    QTest::keyClick(&slider, Qt::Key_End);
    EXPECT_EQ(slider.value(), slider.maximum());
    expectTold("Sliders", "Left, Right");
    QTest::keyClick(&slider, Qt::Key_Left);
    EXPECT_EQ(slider.value(), slider.maximum() - 1);
    QTest::keyClick(&slider, Qt::Key_Right);
    EXPECT_EQ(slider.value(), slider.maximum());
    expectTold("Sliders", "PgUp, PgDown");
    QTest::keyClick(&slider, Qt::Key_PageDown);
    int const below = slider.value();
    EXPECT_LT(below, slider.maximum());
    QTest::keyClick(&slider, Qt::Key_PageUp);
    EXPECT_GT(slider.value(), below);

    expectTold("Everywhere", "Tab, Shift+Tab");
    slider.setFocus();
    QTest::keyClick(&slider, Qt::Key_Tab);
    auto* const next = QApplication::focusWidget();
    ASSERT_NE(next, &slider);
    QTest::keyClick(next, Qt::Key_Tab, Qt::ShiftModifier);
    EXPECT_EQ(QApplication::focusWidget(), &slider);

    expectTold("Buttons and boxes", "Space");
    auto& pause = *stage.window->findChild<QAbstractButton*>("recordPause");
    pause.setFocus();
    QTest::keyClick(&pause, Qt::Key_Space);
    EXPECT_TRUE(pause.isChecked());

    expectTold("Devices", "Up, Down");
    expectTold("Devices", "Home, End");
    auto& devices = *stage.window->findChild<QTreeWidget*>("devices");
    for (auto const& [key, device] : {std::pair{Qt::Key_Down, pole}, std::pair{Qt::Key_Up, hull},
                                      std::pair{Qt::Key_End, rov}, std::pair{Qt::Key_Home, hull}}) {
        QTest::keyClick(&devices, key);
        EXPECT_TRUE(RunUntil([&, &wanted = device] { return stage.window->ShownDevice() == wanted; }));
    }

    expectTold("Lists and fields", "Ctrl+A");
    expectTold("Lists and fields", "Ctrl+C");
    auto& records = *stage.window->findChild<QTableView*>("records");
    ASSERT_TRUE(RunUntil([&] { return records.model()->rowCount() > 0; }));
    auto& field = *stage.window->findChild<QLineEdit*>("recordFilter");
    QTest::keyClicks(&field, "-none");
    QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(field.selectedText(), "-none");
    QApplication::clipboard()->clear();
    QTest::keyClick(&field, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QApplication::clipboard()->text(), "-none");
    auto& events = *stage.window->findChild<QTableView*>("events");
    stage.panes->Note({.kind = vordal::FieldNotice::Kind::NoNumber, .field = "Depth", .typed = "deep", .now = "0"});
    ASSERT_TRUE(RunUntil([&] { return events.model()->rowCount() > 0; }));
    QTest::keyClick(&events, Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(events.selectionModel()->selectedRows().size(), events.model()->rowCount());
    QTest::keyClick(&events, Qt::Key_C, Qt::ControlModifier);
    EXPECT_NE(QApplication::clipboard()->text(), "-none");

    expectTold("Fields", "Ctrl+Z, Ctrl+Shift+Z");
    QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(field.text(), "");
    QTest::keyClick(&field, Qt::Key_Z, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(field.text(), "-none");

    EXPECT_EQ(shown, cli::KeysOfControls().size()) << "a row of the list that nothing above shows";
}

TEST(PlugIns, AreToldWithTheContractThatTheyWereBuiltFor)
{
    Stage stage;
    auto const facts = stage.session.PlugIns();
    ASSERT_EQ(facts.size(), 1U);
    EXPECT_EQ(facts[0].name, "QX5SonarConfiguration.so");
    EXPECT_THAT(facts[0].value, ::testing::MatchesRegex("for host contract 5\\.5\\.1\\.0, built ... [ 0-9][0-9] 20.*"));
}

} // namespace
} // namespace qx5::test
