// Tests of the controls that the host offers to pages: fields, exchange, lists, forms; and of the texts of numbers.
#include "reference_host/controls/field_text.h"
#include "reference_host/controls/view_size.h"
#include "reference_host/controls/window_thread.h"
#include "reference_host/core/host.h"
#include "reference_host/displays/display.h"
#include "reference_host/loader/plugin_loader.h"

#include <VordalBaseR/Formatting.h>
#include <VordalConfigureR/CViewList.h>
#include <VordalConfigureR/DataDefinition.h>
#include <VordalConfigureR/FileTypeCombo.h>
#include <VordalMfc0R/CColorEdit.h>
#include <VordalMfc0R/CFormView.h>
#include <VordalMfc0R/DialogExchange.h>
#include <VordalSubscriberR/GeneralSubKeys.h>
#include <VordalSubscriberR/Subscriber.h>
#include <VordalSubscriberR/Subscription.h>

#include <QAccessible>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QLabel>
#include <QLineEdit>
#include <QPalette>
#include <QScrollArea>
#include <QScrollBar>
#include <QTest>
#include <QVariant>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

/// The toolkit for all tests of this program, without a screen.
class Toolkit : public ::testing::Environment
{
public:
    void SetUp() override
    {
        static int count = 3;
        static char name[] = "test";
        static char option[] = "-platform";
        static char platform[] = "offscreen";
        static char* arguments[] = {name, option, platform, nullptr};
        m_application = std::make_unique<QApplication>(count, arguments);
    }
    void TearDown() override { m_application.reset(); }

private:
    std::unique_ptr<QApplication> m_application;
};

[[maybe_unused]] auto* const toolkit = ::testing::AddGlobalTestEnvironment(new Toolkit);

std::wstring Text(QString const& text)
{
    return text.toStdWString();
}

TEST(Formatting, PlainNumbersHaveOneDecimalWithTiesToEven)
{
    EXPECT_EQ(FormatDouble(12.5, 0, 0), L"12.5");
    EXPECT_EQ(FormatDouble(0.25, 0, 0), L"0.2");
    EXPECT_EQ(FormatDouble(0.75, 0, 0), L"0.8");
    EXPECT_EQ(FormatDouble(0.35, 0, 0), L"0.3"); // the double lies below 0.35
    EXPECT_EQ(FormatDouble(-0.04, 0, 0), L"-0.0");
    EXPECT_EQ(FormatDouble(1e21, 0, 0), L"1000000000000000000000.0");
    EXPECT_EQ(FormatDouble(std::numeric_limits<double>::infinity(), 0, 0), L"inf");
    EXPECT_EQ(FormatDouble(std::numeric_limits<double>::max(), 0, 0).GetLength(), 311);
}

TEST(Formatting, SizesAreInStepsOf1024)
{
    EXPECT_EQ(FormatByteSize(0), L"0 B");
    EXPECT_EQ(FormatByteSize(-5000), L"-5000 B");
    EXPECT_EQ(FormatByteSize(1023), L"1023 B");
    EXPECT_EQ(FormatByteSize(1024), L"1.0 kB");
    EXPECT_EQ(FormatByteSize(1536), L"1.5 kB");
    EXPECT_EQ(FormatByteSize(1048575), L"1024.0 kB");
    EXPECT_EQ(FormatByteSize(1048576), L"1.0 MB");
    EXPECT_EQ(FormatByteSize(5LL << 30), L"5.0 GB");
    EXPECT_EQ(FormatByteSize(1LL << 40), L"1.0 TB");
    EXPECT_EQ(FormatByteSize(3LL << 50), L"3072.0 TB");
    EXPECT_EQ(FormatByteSize(std::numeric_limits<std::int64_t>::max()), L"8388608.0 TB");
}

std::wstring Written(double value)
{
    QLineEdit field;
    DDX_FmtDouble(CDataExchange(CDataExchange::Direction::ToControls), &field, value, FORMAT_DISTANCE, 0);
    return Text(field.text());
}

double Read(wchar_t const* text)
{
    QLineEdit field;
    field.setText(QString::fromWCharArray(text));
    double value = 77.0;
    DDX_FmtDouble(CDataExchange(CDataExchange::Direction::FromControls), &field, value, FORMAT_ANGLE, 0);
    return value;
}

TEST(NumberFields, ShowTheShortestTextThatReadsBack)
{
    EXPECT_EQ(Written(10.0), L"10");
    EXPECT_EQ(Written(2.5), L"2.5");
    EXPECT_EQ(Written(0.0), L"0");
    EXPECT_EQ(Written(-0.0), L"-0");
    EXPECT_EQ(Written(0.1), L"0.1");
    EXPECT_EQ(Written(1234567.0), L"1234567"); // six digits would give 1.23457e+06
    EXPECT_EQ(Written(1e6), L"1e+06");
    EXPECT_EQ(Written(1e-5), L"1e-05");
    EXPECT_EQ(Written(0.10000000149011612), L"0.10000000149011612"); // single-precision 0.1
    EXPECT_EQ(Written(1.0 / 3.0), L"0.3333333333333333");
    EXPECT_EQ(Written(0.1 + 0.2), L"0.30000000000000004");
    EXPECT_EQ(Written(5e-324), L"4.94066e-324");
}

TEST(NumberFields, ReadTheNumberThatTheTextBeginsWith)
{
    EXPECT_EQ(Read(L"12.5"), 12.5);
    EXPECT_EQ(Read(L" \t\n+7abc"), 7.0);
    EXPECT_EQ(Read(L"-.5m"), -0.5);
    EXPECT_EQ(Read(L"5."), 5.0);
    EXPECT_EQ(Read(L"1e3"), 1000.0);
    EXPECT_EQ(Read(L"1e"), 1.0);
    EXPECT_EQ(Read(L"1e+"), 1.0);
    EXPECT_EQ(Read(L"1E-2x"), 0.01);
    EXPECT_EQ(Read(L"1,5"), 1.0);
    EXPECT_EQ(Read(L"1 2"), 1.0);
    EXPECT_EQ(Read(L"- 1"), 0.0);
    EXPECT_EQ(Read(L"--1"), 0.0);
    EXPECT_EQ(Read(L""), 0.0);
    EXPECT_EQ(Read(L"."), 0.0);
    EXPECT_EQ(Read(L"e5"), 0.0);
    EXPECT_EQ(Read(L"abc"), 0.0);
    EXPECT_EQ(Read(L"0x1F"), 0.0);
    EXPECT_EQ(Read(L"inf"), 0.0);
    EXPECT_EQ(Read(L"nan"), 0.0);
    EXPECT_EQ(Read(L"\u0663"), 0.0); // an Arabic digit
    EXPECT_EQ(Read(L"1e400"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Read(L"-1e99999999999999999999"), -std::numeric_limits<double>::infinity());
    EXPECT_EQ(Read(L"1e-99999999999999999999"), 0.0);
    EXPECT_EQ(Read(L"0e99999999999999999999"), 0.0);
    EXPECT_EQ(Read(L"5e-324"), 5e-324);
    EXPECT_TRUE(std::signbit(Read(L"-0")));
    EXPECT_EQ(Read(std::wstring(400, L'9').c_str()), std::numeric_limits<double>::infinity());
    EXPECT_EQ(Read((L"0." + std::wstring(400, L'0') + L"1e401").c_str()), 1.0);
}

TEST(NumberFields, NeedAField)
{
    double value = 5.0;
    bool isOn = true;
    DDX_FmtDouble(CDataExchange(CDataExchange::Direction::FromControls), nullptr, value, 0, 0);
    DDX_bCheck(CDataExchange(CDataExchange::Direction::FromControls), nullptr, isOn);
    SetDialogUnits(nullptr);
    EXPECT_EQ(value, 5.0);
    EXPECT_TRUE(isOn);
}

TEST(CheckBoxes, AreExchangedWithoutAClick)
{
    QCheckBox box;
    int clicks = 0;
    QObject::connect(&box, &QCheckBox::clicked, &box, [&] { ++clicks; });
    bool isOn = true;
    DDX_bCheck(CDataExchange(CDataExchange::Direction::ToControls), &box, isOn);
    EXPECT_TRUE(box.isChecked());
    EXPECT_EQ(clicks, 0);
    box.setChecked(false);
    DDX_bCheck(CDataExchange(CDataExchange::Direction::FromControls), &box, isOn);
    EXPECT_FALSE(isOn);
}

TEST(DialogUnits, StandInPlaceOfTheirMarks)
{
    QWidget dialog;
    QWidget group(&dialog);
    QLabel distance(QStringLiteral("%D"), &group);
    QLabel angle(QStringLiteral("in %A, %A"), &dialog);
    QLabel other(QStringLiteral("100 %"), &dialog);
    SetDialogUnits(&dialog);
    EXPECT_EQ(Text(distance.text()), L"m");
    EXPECT_EQ(Text(angle.text()), L"in \u00B0, \u00B0");
    EXPECT_EQ(Text(other.text()), L"100 %");
}

TEST(ColourFields, CountEveryWritingButTheExchangeAsAnEdit)
{
    QLineEdit field;
    CColorEdit edit(&field);
    int edits = 0;
    int applies = 0;
    edit.SetEditHandler([&] { ++edits; });
    edit.SetApplyHandler([&] { ++applies; });
    edit.SetText(L"5");
    edit.SetText(L"5");
    EXPECT_EQ(edits, 2);
    EXPECT_EQ(edit.GetText(), L"5");
    double value = 7.0;
    DDX_FmtDouble(CDataExchange(CDataExchange::Direction::ToControls), &field, value, FORMAT_DISTANCE, 0);
    EXPECT_EQ(edits, 2);
    EXPECT_EQ(edit.GetText(), L"7");
    Q_EMIT field.textEdited(field.text());
    EXPECT_EQ(edits, 3);
    EXPECT_EQ(applies, 0);
    Q_EMIT field.returnPressed();
    EXPECT_EQ(applies, 1);
    EXPECT_EQ(edits, 3);
}

TEST(ColourFields, TakeWhatAScreenReaderWritesForAnEdit)
{
    QLineEdit field;
    CColorEdit edit(&field);
    int edits = 0;
    edit.SetEditHandler([&] { ++edits; });
    auto* const text = QAccessible::queryAccessibleInterface(&field)->editableTextInterface();
    text->replaceText(0, 0, QStringLiteral("12"));
    EXPECT_EQ(edits, 1);
    EXPECT_EQ(field.text(), QStringLiteral("12"));
    // By hand it is one edit for each key, as ever.
    QTest::keyClicks(&field, QStringLiteral(".5"));
    EXPECT_EQ(edits, 3);
    EXPECT_EQ(field.text(), QStringLiteral("12.5"));
}

/// Hears of fields for as long as it lives.
class Notices
{
public:
    Notices()
    {
        vordal::SetFieldListener([this](vordal::FieldNotice const& notice) {
            told.push_back((notice.kind == vordal::FieldNotice::Kind::NoNumber ? "no number: " : "overwritten: ") +
                           notice.field.toStdString() + ", " + notice.typed.toStdString() + ", " +
                           notice.now.toStdString());
        });
    }
    ~Notices() { vordal::SetFieldListener({}); }

    std::vector<std::string> told;
};

TEST(ColourFields, AreSelectedAsAWholeWhenTheyAreRewrittenUnderTheOperatorsHands)
{
    Notices notices;
    QLineEdit field;
    field.setAccessibleName(QStringLiteral("Minimum depth"));
    field.show();
    field.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&field));
    field.setFocus();
    CColorEdit edit(&field);
    edit.SetEditHandler([&] { edit.SetBackColor(255, 255, 0); });
    QTest::keyClicks(&field, QStringLiteral("1"));
    edit.SetText(L"10.0");
    EXPECT_THAT(notices.told, testing::ElementsAre("overwritten: Minimum depth, 1, 10.0"));
    QTest::keyClicks(&field, QStringLiteral("2.5"));
    EXPECT_EQ(field.text(), QStringLiteral("2.5"));
    // The same number in other words is no loss.
    edit.SetText(L"2.50");
    EXPECT_EQ(notices.told.size(), 1U);
    // What was not edited is nobody's.
    edit.SetSystemBackColor(SYSTEM_COLOR_CLEAN_FIELD);
    edit.SetEditHandler({});
    edit.SetText(L"7");
    EXPECT_EQ(notices.told.size(), 1U);
}

TEST(ColourFields, TellOfTextsThatAreNoNumbers)
{
    Notices notices;
    QLineEdit field;
    field.setAccessibleName(QStringLiteral("Swath width"));
    struct Case
    {
        char const* typed;
        double number;
        bool told;
    };
    for (auto const& [typed, number, told] :
         {Case{"abc", 0.0, true}, Case{"12x", 12.0, true}, Case{"", 0.0, true}, Case{" 12.5 ", 12.5, false},
          Case{"-1e2", -100.0, false}, Case{"1,5", 1.0, true}, Case{".", 0.0, true}}) {
        notices.told.clear();
        field.setText(QString::fromLatin1(typed));
        double value = -1.0;
        DDX_FmtDouble(CDataExchange(CDataExchange::Direction::FromControls), &field, value, FORMAT_PLAIN, 0);
        EXPECT_EQ(value, number) << typed;
        EXPECT_EQ(notices.told.size(), told ? 1U : 0U) << typed;
    }
    field.setText(QStringLiteral("12x"));
    double value = 0.0;
    DDX_FmtDouble(CDataExchange(CDataExchange::Direction::FromControls), &field, value, FORMAT_PLAIN, 0);
    EXPECT_EQ(notices.told.back(), "no number: Swath width, 12x, 12");
}

TEST(ColourFields, ShowTheirColour)
{
    QLineEdit field;
    auto const plain = field.palette().color(QPalette::Base);
    CColorEdit edit(&field);
    EXPECT_FALSE(edit.HasOwnBackColor());
    edit.SetBackColor(255, 255, 0);
    EXPECT_TRUE(edit.HasOwnBackColor());
    EXPECT_TRUE(field.property("edited").toBool());
    EXPECT_EQ(field.palette().color(QPalette::Base), QColor(255, 255, 0));
    EXPECT_EQ(field.palette().color(QPalette::Text), QColor(Qt::black));
    edit.SetSystemBackColor(SYSTEM_COLOR_CLEAN_FIELD);
    EXPECT_FALSE(edit.HasOwnBackColor());
    EXPECT_FALSE(field.property("edited").toBool());
    EXPECT_EQ(field.palette().color(QPalette::Base), plain);
}

TEST(ColourFields, AndTheirWidgetsGoInEitherOrder)
{
    int edits = 0;
    auto field = std::make_unique<QLineEdit>();
    auto edit = std::make_unique<CColorEdit>(field.get());
    edit->SetEditHandler([&] { ++edits; });
    field.reset();
    edit->SetText(L"x");
    edit->SetBackColor(1, 2, 3);
    EXPECT_EQ(edit->GetText(), L"");
    EXPECT_FALSE(edit->HasOwnBackColor());
    EXPECT_EQ(edits, 0);
    QLineEdit other;
    QLineEdit third;
    edit->Attach(&other);
    edit->Attach(&third);
    Q_EMIT other.textEdited(QString());
    EXPECT_EQ(edits, 0);
    Q_EMIT third.textEdited(QString());
    EXPECT_EQ(edits, 1);
    edit.reset();
    Q_EMIT third.textEdited(QString());
    EXPECT_EQ(edits, 1);
    // A handler may end its own field.
    auto ending = std::make_unique<CColorEdit>(&third);
    ending->SetApplyHandler([&] { ending.reset(); });
    Q_EMIT third.returnPressed();
    EXPECT_EQ(ending, nullptr);
}

TEST(RouteLists, HoldTheProjectsRoutesWithNothingSelected)
{
    vordal::Host host;
    host.SetRoutes({L"north", L"s\u00FCd", L"north"});
    QComboBox list;
    int chosen = 0;
    QObject::connect(&list, &QComboBox::activated, &list, [&] { ++chosen; });
    FileTypeCombo routes(COMBO_ROUTE_FILES, true);
    EXPECT_FALSE(routes.SetSelected(L"north"));
    EXPECT_EQ(routes.GetSelected(), L"");
    routes.Attach(&list);
    ASSERT_EQ(list.count(), 3);
    EXPECT_EQ(list.currentIndex(), -1);
    EXPECT_EQ(routes.GetSelected(), L"");
    EXPECT_TRUE(routes.SetSelected(L"s\u00FCd"));
    EXPECT_EQ(routes.GetSelected(), L"s\u00FCd");
    EXPECT_FALSE(routes.SetSelected(L"S\u00DCD"));
    EXPECT_FALSE(routes.SetSelected(L""));
    EXPECT_EQ(list.currentIndex(), 1);
    EXPECT_TRUE(routes.SetSelected(L"north"));
    EXPECT_EQ(list.currentIndex(), 0);
    EXPECT_EQ(chosen, 0);
    host.SetRoutes({L"west"});
    routes.Refresh();
    EXPECT_EQ(list.count(), 1);
    EXPECT_EQ(list.currentIndex(), -1);
    FileTypeCombo others(COMBO_ROUTE_FILES + 1, true);
    others.Attach(&list);
    EXPECT_EQ(list.count(), 0);
    FileTypeCombo later(COMBO_ROUTE_FILES, false);
    later.Attach(&list);
    EXPECT_EQ(list.count(), 0);
}

TEST(ItemTexts, CountUpUntilTheyFail)
{
    CString text = L"before";
    EXPECT_FALSE(DataDefinition::GetDataDefinition().GetGroupItemMapTxt(78, 2701, 0, text));
    vordal::Host host;
    host.SetItemTexts(78, 2701, {L"Idle", L"Recording"});
    EXPECT_TRUE(DataDefinition::GetDataDefinition().GetGroupItemMapTxt(78, 2701, 1, text));
    EXPECT_EQ(text, L"Recording");
    for (int const index : {-1, 2}) {
        EXPECT_FALSE(DataDefinition::GetDataDefinition().GetGroupItemMapTxt(78, 2701, index, text));
    }
    EXPECT_FALSE(DataDefinition::GetDataDefinition().GetGroupItemMapTxt(78, 2702, 0, text));
    EXPECT_FALSE(DataDefinition::GetDataDefinition().GetGroupItemMapTxt(79, 2701, 0, text));
    EXPECT_EQ(text, L"Recording");
}

/// Lays its form out for 340 by 440 at least.
class SmallForm : public CFormView
{
public:
    void OnSize(unsigned, int width, int height) override
    {
        SetScrollSizes(std::max(width, 340), std::max(height, 440));
    }
};

CRuntimeClass smallFormClass = MakeRuntimeClass<SmallForm>("SmallForm");

TEST(FormViews, ScrollInAPaneThatIsTooSmall)
{
    SmallForm view;
    EXPECT_EQ(view.GetScrollWidth(), 0);
    EXPECT_EQ(view.GetScrollHeight(), 0);
    ASSERT_NE(view.GetForm(), nullptr);
    auto* const area = dynamic_cast<QScrollArea*>(view.GetWidget());
    ASSERT_NE(area, nullptr);
    EXPECT_EQ(area->widget(), view.GetForm());
    view.OnSize(0, 200, 500);
    EXPECT_EQ(view.GetScrollWidth(), 340);
    EXPECT_EQ(view.GetScrollHeight(), 500);
    EXPECT_EQ(view.GetForm()->size(), QSize(340, 500));
    view.SetScrollSizes(-1, std::numeric_limits<int>::max());
    EXPECT_EQ(view.GetScrollWidth(), 0);
}

TEST(FormViews, FollowTheSizeOfTheirWidget)
{
    vordal::Host host;
    host.SetWindowThread({});
    ASSERT_TRUE(CViewList::GetViewList().RegisterView(L"SmallForm", &smallFormClass));
    std::string reason;
    QWidget window;
    auto display = vordal::Display::Open({L"SmallForm", {}, {}}, nullptr, reason);
    ASSERT_NE(display, nullptr) << reason;
    auto const& form = dynamic_cast<CFormView const&>(*display->View());
    display->Widget()->setParent(&window);
    display->InitialUpdate();
    display->Widget()->resize(500, 600);
    EXPECT_EQ(form.GetScrollWidth(), 0);
    vordal::FollowWidgetSize(*display);
    EXPECT_EQ(form.GetScrollWidth(), 500);
    window.show();
    display->Widget()->show();
    auto const* const area = dynamic_cast<QScrollArea*>(display->Widget());
    auto const settle = [] {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    };
    settle();
    EXPECT_FALSE(area->verticalScrollBar()->isVisible());
    EXPECT_FALSE(area->horizontalScrollBar()->isVisible());
    display->Widget()->resize(400, 300);
    settle();
    EXPECT_TRUE(area->verticalScrollBar()->isVisible());
    EXPECT_FALSE(area->horizontalScrollBar()->isVisible());
    EXPECT_EQ(form.GetScrollWidth(), area->viewport()->width());
    EXPECT_LT(form.GetScrollWidth(), 400);
    EXPECT_EQ(form.GetScrollHeight(), 440);
    // Something else takes from its height alone.
    display->Widget()->resize(500, 600);
    settle();
    EXPECT_FALSE(area->verticalScrollBar()->isVisible());
    display->Widget()->resize(500, 300);
    settle();
    EXPECT_TRUE(area->verticalScrollBar()->isVisible());
    EXPECT_FALSE(area->horizontalScrollBar()->isVisible());
    EXPECT_EQ(const_cast<CFormView&>(form).GetForm()->width(), area->viewport()->width());
    display->Widget()->resize(200, 200);
    settle();
    EXPECT_TRUE(area->horizontalScrollBar()->isVisible());
    EXPECT_EQ(form.GetScrollWidth(), 340);
    EXPECT_EQ(form.GetScrollHeight(), 440);
    display->Widget()->resize(700, 800);
    settle();
    EXPECT_FALSE(area->verticalScrollBar()->isVisible());
    EXPECT_FALSE(area->horizontalScrollBar()->isVisible());
    EXPECT_EQ(form.GetScrollWidth(), 700);
    EXPECT_EQ(form.GetScrollHeight(), 800);
    // The window may go before the display.
    auto other = vordal::Display::Open({L"SmallForm", {}, {}}, nullptr, reason);
    auto owner = std::make_unique<QWidget>();
    other->Widget()->setParent(owner.get());
    other->InitialUpdate();
    vordal::FollowWidgetSize(*other);
    owner.reset();
    EXPECT_EQ(other->Widget(), nullptr);
    other.reset();
    display.reset();
    host.EndWindowThread();
}

TEST(PlugInWithAView, ClosesItsDisplaysBeforeItGoes)
{
    vordal::Host host;
    host.SetWindowThread({});
    std::string reason;
    auto plugIn = vordal::PlugIn::Load(VIEW_PLUGIN, reason);
    ASSERT_NE(plugIn, nullptr) << reason;
    plugIn->RegisterViews();
    auto display = vordal::Display::Open({L"QX5SonarConfigurationView", {}, {}}, nullptr, reason);
    ASSERT_NE(display, nullptr) << reason;
    display->InitialUpdate();
    display->DeliverSize(0, 500, 500);
    EXPECT_NE(display->Widget(), nullptr);
    plugIn.reset();
    EXPECT_EQ(display->View(), nullptr);
    EXPECT_EQ(display->Widget(), nullptr);
    display->DeliverSize(0, 400, 400);
    display.reset();
    host.EndWindowThread();
}

class Sink : public Subscriber
{
public:
    explicit Sink(std::function<void()> action) : m_action(std::move(action)) {}
    void Notify(NotificationInfo const*) override { m_action(); }

private:
    std::function<void()> m_action;
};

TEST(WindowThread, DeliversFromItsEventLoop)
{
    vordal::Host host(vordal::Threading::Threaded);
    auto* const device = host.AddDevice(std::make_unique<Device>(), CDataId(1, 78, 1, 1));
    constexpr int last = 10000;
    int seen = 0;
    int told = 0;
    {
        vordal::WindowThread const window(host);
        Subscription subscription;
        subscription.SetSubscriber(new Sink([&] {
                                       ++told;
                                       CAttributeMap tree;
                                       device->GetAttributeMap(tree);
                                       tree.FindValue(L"depth").Get(seen);
                                   }),
                                   true);
        subscription.SetMap(device->GetAttributeSubscriptionMap());
        subscription.Subscribe(L"depth");
        host.Post([&] {
            for (int i = 1; i <= last; ++i) {
                CAttributeMap tree;
                tree.Add(L"depth", CVordalInt(i));
                host.MergeDecoded(*device, tree);
            }
        });
        QElapsedTimer time;
        time.start();
        while (seen != last && time.elapsed() < 60000) {
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        EXPECT_EQ(seen, last);
        EXPECT_GE(told, 1);
        EXPECT_LE(told, last);
    }
    host.RunAndWait([&] {
        CAttributeMap tree;
        tree.Add(L"depth", CVordalInt(-1));
        host.MergeDecoded(*device, tree);
    });
    QCoreApplication::processEvents();
    EXPECT_EQ(seen, last);
}

} // namespace
