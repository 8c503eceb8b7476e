// Tests of the attribute tree: rows follow the tree and stay the rows they are.
#include "frames.h"

#include <reference_host/attributes/tree_merge.h>
#include <reference_host/window/attribute_browser.h>
#include <reference_host/window/attribute_tree_model.h>

#include <QAbstractItemModelTester>
#include <QItemSelectionModel>
#include <QLineEdit>
#include <QSignalSpy>
#include <QTreeView>

#include <algorithm>
#include <cctype>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace qx5::test {
namespace {

using vordal::AttributeBrowser;
using vordal::AttributeTreeModel;

std::string Text(QAbstractItemModel const& model, QModelIndex const& parent = {}, std::string const& indent = {})
{
    std::string text;
    for (int row = 0; row < model.rowCount(parent); ++row) {
        auto const cell = [&](int column) {
            return model.data(model.index(row, column, parent), Qt::DisplayRole).toString().toStdString();
        };
        auto const value = cell(AttributeTreeModel::Value);
        text += indent + cell(AttributeTreeModel::Key) + (value.empty() ? "" : " = " + value) + "\n";
        text += Text(model, model.index(row, 0, parent), indent + "  ");
    }
    return text;
}

CAttributeMap Example()
{
    CAttributeMap tree;
    tree.Add(L"x5Range", CVordalDouble(50.5));
    auto* const settings = tree.Add(L"x5SonarSettings");
    settings->Add(L"SystemText", CVordalText(L"Head A"));
    settings->Add(L"DeviceEnum", CVordalInt(0));
    tree.Add(L"x5SonarSettings")->Add(L"SystemText", CVordalText(L"Head B"));
    tree.Add(L"on", CVordalBool(true));
    return tree;
}

TEST(AttributeTreeModel, ShowsKeysKindsAndValues)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.Reset(Example());
    EXPECT_EQ(Text(model), "x5Range = 50.5\n"
                           "x5SonarSettings\n"
                           "  SystemText = \"Head A\"\n"
                           "  DeviceEnum = 0\n"
                           "x5SonarSettings\n"
                           "  SystemText = \"Head B\"\n"
                           "on = true\n");
    auto const kind = [&](int row) { return model.index(row, AttributeTreeModel::Kind).data().toString(); };
    EXPECT_EQ(kind(0), "double");
    EXPECT_EQ(kind(1), "");
    EXPECT_EQ(kind(3), "bool");
    EXPECT_EQ(model.NodeCount(), 7U);
}

TEST(AttributeTreeModel, NumbersHaveASensibleLengthAndAreWholeInTheirTip)
{
    AttributeTreeModel model;
    CAttributeMap tree;
    // 9.9 as it came through a 32-bit float.
    tree.Add(L"wire", CVordalDouble(9.899999618530273));
    tree.Add(L"pair", CVordalDouble2D(9.899999618530273, -0.5));
    tree.Add(L"list", CVordalDoubleList({9.899999618530273, 1.0}));
    tree.Add(L"third", CVordalDouble(1.0 / 3.0));
    tree.Add(L"time", CVordalDouble(1795361261.25));
    tree.Add(L"great", CVordalDouble(1e300));
    tree.Add(L"endless", CVordalDouble(std::numeric_limits<double>::infinity()));
    model.Reset(tree);
    EXPECT_EQ(Text(model), "wire = 9.9\n"
                           "pair = 9.9, -0.5\n"
                           "list = [9.9, 1]\n"
                           "third = 0.333333333333\n"
                           "time = 1795361261.25\n"
                           "great = 1e+300\n"
                           "endless = inf\n");
    auto const tip = model.data(model.index(0, AttributeTreeModel::Value), Qt::ToolTipRole).toString();
    EXPECT_TRUE(tip.contains("9.899999618530273")) << tip.toStdString();
}

TEST(AttributeTreeModel, AChangedValueIsOneRepaintedRow)
{
    AttributeTreeModel model;
    auto tree = Example();
    model.Reset(tree);
    Text(model); // what nobody has looked at is not told
    QSignalSpy const changed(&model, &QAbstractItemModel::dataChanged);
    QSignalSpy const inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy const removed(&model, &QAbstractItemModel::rowsRemoved);
    QSignalSpy const reset(&model, &QAbstractItemModel::modelReset);
    model.Update(tree);
    EXPECT_EQ(changed.size(), 0);

    tree.FindCreate(L"x5SonarSettings", 1).FindCreate(L"SystemText").SetValue(CVordalText(L"Head C"));
    model.Update(tree);
    ASSERT_EQ(changed.size(), 1);
    auto const first = changed[0][0].toModelIndex();
    EXPECT_EQ(first.data().toString(), "SystemText");
    EXPECT_EQ(first.parent().row(), 2);
    EXPECT_EQ(inserted.size() + removed.size() + reset.size(), 0);
    EXPECT_NE(Text(model).find("Head C"), std::string::npos);
}

TEST(AttributeTreeModel, RowsComeAndGoWhereTheyDiffer)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    auto tree = Example();
    model.Reset(tree);
    QPersistentModelIndex const on = model.index(3, 0);
    QPersistentModelIndex const headB = model.index(0, 0, model.index(2, 0));
    QSignalSpy const inserted(&model, &QAbstractItemModel::rowsInserted);
    QSignalSpy const removed(&model, &QAbstractItemModel::rowsRemoved);

    tree.Add(L"new")->Add(L"leaf", CVordalInt(1));
    model.Update(tree);
    EXPECT_EQ(inserted.size(), 1);
    EXPECT_EQ(model.NodeCount(), 9U);

    tree.Remove(L"x5Range");
    model.Update(tree);
    EXPECT_EQ(removed.size(), 1);
    EXPECT_EQ(on.row(), 2);
    EXPECT_EQ(on.data().toString(), "on");
    EXPECT_EQ(headB.data(Qt::DisplayRole).toString(), "SystemText");
    EXPECT_EQ(headB.parent().row(), 1);
    EXPECT_EQ(model.NodeCount(), 8U);

    model.Update({});
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.NodeCount(), 0U);
    EXPECT_FALSE(on.isValid());
}

TEST(AttributeTreeModel, AnotherOrderIsFollowed)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    auto const row = [](std::initializer_list<wchar_t const*> keys) {
        CAttributeMap tree;
        int value = 0;
        for (auto const* const key : keys) {
            tree.Add(AttributeKey(key), CVordalInt(value++));
        }
        return tree;
    };
    for (auto const& tree :
         {row({L"a", L"b", L"c", L"d"}), row({L"a", L"d", L"b"}), row({L"x", L"a", L"y", L"d", L"z"}),
          row({L"a", L"a", L"d"}), row({L"a", L"d", L"a"}), row({})}) {
        model.Update(tree);
        EXPECT_EQ(Text(model), vordal::TreeText(tree));
        EXPECT_EQ(model.NodeCount(), static_cast<std::size_t>(tree.Count()));
    }
}

TEST(AttributeTreeModel, FollowsAnySequenceOfChanges)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    std::mt19937 random(7);
    auto const below = [&](unsigned bound) { return random() % bound; };
    wchar_t const* const keys[]{L"a", L"b", L"c", L"d", L"e"};
    CAttributeMap tree;
    for (int round = 0; round < 400; ++round) {
        auto* node = &tree;
        for (auto depth = below(4); depth > 0 && node->Count() > 0; --depth) {
            auto const key = AttributeKey(keys[below(5)]);
            auto* const child = node->GetAttrMap(key, static_cast<int>(below(2)));
            node = child != nullptr ? child : node;
        }
        auto const key = AttributeKey(keys[below(5)]);
        switch (below(4)) {
        case 0:
            node->Add(key, CVordalInt(round));
            break;
        case 1:
            node->Remove(key, static_cast<int>(below(2)));
            break;
        case 2:
            node->FindCreate(key).SetValue(CVordalDouble(round));
            break;
        default:
            node->Add(key);
            break;
        }
        if (below(3) == 0) {
            model.Update(tree);
            ASSERT_EQ(Text(model), vordal::TreeText(tree)) << "round " << round;
        }
    }
}

TEST(AttributeTreeModel, FollowsAnySequenceOfChangesOfAWideBranch)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    std::mt19937 random(13);
    auto const below = [&](unsigned bound) { return random() % bound; };
    std::vector<std::wstring> keys;
    for (int i = 0; i < 300; ++i) {
        keys.push_back(L"key " + std::to_wstring(i));
    }
    auto const anyKey = [&] { return AttributeKey(keys[below(300)]); };
    CAttributeMap tree;
    for (int i = 0; i < 200; ++i) {
        tree.Add(anyKey(), CVordalInt(i));
    }
    for (int round = 0; round < 300; ++round) {
        for (auto changes = below(4); changes > 0; --changes) {
            switch (below(8)) {
            case 0:
                tree.Add(anyKey(), CVordalInt(round));
                break;
            case 1:
                tree.Remove(anyKey());
                break;
            case 2: // as many as before, others
                tree.Remove(tree.GetChild(static_cast<int>(below(100))).GetKey().GetString());
                tree.Add(anyKey());
                break;
            default:
                if (auto* const child = tree.GetAttrMap(anyKey())) {
                    child->SetValue(CVordalDouble(round));
                }
                break;
            }
        }
        model.Update(tree);
        ASSERT_EQ(Text(model), vordal::TreeText(tree)) << "round " << round;
    }
}

std::string Small(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::tolower(c); });
    return text;
}

/// The lines of a tree that a search leaves, by the plainest way there is: its text, as TreeText writes it.
std::vector<std::string> Left(CAttributeMap const& tree, std::string const& search, bool isAbove,
                              std::string const& indent = {})
{
    std::vector<std::string> lines;
    for (CAttributeMap const& child : tree) {
        CAttributeMap one;
        one.Append(child);
        one.FindCreate(AttributeKey(child.KeyText())).RemoveChildren();
        auto line = vordal::TreeText(one);
        line.pop_back();
        auto const kind = child.HasValue() ? (line.find('"') != std::string::npos ? "string" : "int") : "";
        bool const isFound = isAbove || Small(line).find(search) != std::string::npos ||
                             std::string_view(kind).find(search) != std::string_view::npos;
        auto const below = Left(child, search, isFound, indent + "  ");
        if (isFound || !below.empty()) {
            lines.push_back(indent + line);
            lines.insert(lines.end(), below.begin(), below.end());
        }
    }
    return lines;
}

std::string Lines(std::vector<std::string> const& lines)
{
    std::string text;
    for (auto const& line : lines) {
        text += line + "\n";
    }
    return text;
}

TEST(AttributeTreeModel, LeavesWhatAPlainSearchLeavesWhateverChanges)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    std::mt19937 random(11);
    auto const below = [&](unsigned bound) { return random() % bound; };
    wchar_t const* const keys[]{L"Alpha", L"beta", L"gamma", L"Delta7"};
    wchar_t const* const texts[]{L"north", L"Alps", L"seven 7"};
    char const* const searches[]{"", "a", "alp", "7", "ELT", "north", "int", "nothing at all", "1"};
    CAttributeMap tree;
    std::string search;
    for (int round = 0; round < 600; ++round) {
        auto* node = &tree;
        for (auto depth = below(3); depth > 0 && node->Count() > 0; --depth) {
            auto* const child = node->GetAttrMap(AttributeKey(keys[below(4)]), static_cast<int>(below(2)));
            node = child != nullptr ? child : node;
        }
        auto const key = AttributeKey(keys[below(4)]);
        switch (below(5)) {
        case 0:
            node->Add(key, CVordalInt(static_cast<int>(below(300))));
            break;
        case 1:
            node->Remove(key, static_cast<int>(below(2)));
            break;
        case 2:
            node->Add(key, CVordalText(texts[below(3)]));
            break;
        case 3:
            node->Add(key);
            break;
        default:
            search = searches[below(9)];
            model.Search(QString::fromStdString(search));
            break;
        }
        model.Update(tree);
        auto const expected = Lines(Left(tree, Small(search), search.empty()));
        ASSERT_TRUE(RunUntil([&] { return Text(model) == expected; }))
            << "round " << round << ", search " << search << "\n"
            << Text(model) << "instead of\n"
            << expected;
    }
}

TEST(AttributeTreeModel, AWideTreeIsSearchedWhileEventsGoOn)
{
    constexpr int wide = 60000;
    AttributeTreeModel model;
    CAttributeMap tree;
    for (int i = 0; i < wide; ++i) {
        tree.Add(AttributeKey(L"key " + std::to_wstring(i)), CVordalInt(7));
    }
    model.Reset(tree);
    ASSERT_TRUE(RunUntil([&] { return model.NodeCount() == wide; }));
    EXPECT_EQ(model.rowCount(), wide);
    QPersistentModelIndex const kept = model.index(123, 0);
    model.Search(QStringLiteral("Key 123"));
    // Itself, 1230 to 1239, 12300 to 12399.
    ASSERT_TRUE(RunUntil([&] { return model.rowCount() == 111; }));
    EXPECT_EQ(kept.row(), 0);
    EXPECT_EQ(kept.data().toString(), "key 123");
    // What changes so that it is found comes in.
    tree.FindCreate(L"key 5").SetValue(CVordalText(L"key 123 it is"));
    model.Update(tree);
    ASSERT_TRUE(RunUntil([&] { return model.rowCount() == 112; }));
    EXPECT_EQ(model.index(0, 0).data().toString(), "key 5");
    EXPECT_EQ(kept.row(), 1);
    model.Search({});
    ASSERT_TRUE(RunUntil([&] { return model.rowCount() == wide; }));
    EXPECT_EQ(kept.row(), 123);
}

TEST(AttributeTreeModel, OfManyChangesThoseInSightAreTold)
{
    AttributeTreeModel model;
    CAttributeMap tree;
    auto const change = [&](int value) {
        for (int i = 0; i < 1000; ++i) {
            tree.FindCreate(AttributeKey(L"key " + std::to_wstring(i))).SetValue(CVordalInt(value));
        }
    };
    change(0);
    model.Reset(tree);
    // What a view asks of the rows that it paints.
    for (int const row : {500, 501, 502, 700}) {
        model.index(row, AttributeTreeModel::Value).data(Qt::BackgroundRole);
    }
    QSignalSpy const changed(&model, &QAbstractItemModel::dataChanged);
    change(1);
    model.Update(tree);
    ASSERT_EQ(changed.size(), 2);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 500);
    EXPECT_EQ(changed[0][1].toModelIndex().row(), 502);
    EXPECT_EQ(changed[1][0].toModelIndex().row(), 700);
    EXPECT_EQ(changed[1][1].toModelIndex().row(), 700);
}

TEST(AttributeTreeModel, ARowThatGetsItsFirstChildCanBeOpened)
{
    AttributeTreeModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    auto tree = Example();
    model.Reset(tree);
    EXPECT_FALSE(model.hasChildren(model.index(3, 0)));
    QSignalSpy const laidOut(&model, &QAbstractItemModel::layoutChanged);
    tree.FindCreate(L"on").Add(L"since", CVordalInt(1));
    model.Update(tree);
    EXPECT_TRUE(RunUntil([&] { return model.hasChildren(model.index(3, 0)); }));
    EXPECT_EQ(laidOut.size(), 1);
    EXPECT_EQ(model.rowCount(model.index(3, 0)), 1);
}

TEST(AttributeTreeModel, DeepTreesEndSomewhere)
{
    CAttributeMap tree;
    auto* node = &tree;
    for (int i = 0; i < 3000; ++i) {
        node = node->Add(L"k");
    }
    AttributeTreeModel model;
    model.Update(tree);
    EXPECT_EQ(model.NodeCount(), static_cast<std::size_t>(AttributeTreeModel::GreatestDepth));
    node->SetValue(CVordalInt(1));
    model.Update(tree);
    EXPECT_EQ(model.NodeCount(), static_cast<std::size_t>(AttributeTreeModel::GreatestDepth));
}

TEST(AttributeTreeModel, AChangeIsMarkedForAWhile)
{
    AttributeTreeModel model;
    auto tree = Example();
    model.Reset(tree);
    auto const ground = [&] { return model.index(0, AttributeTreeModel::Value).data(Qt::BackgroundRole).isValid(); };
    EXPECT_FALSE(ground());
    tree.FindCreate(L"x5Range").SetValue(CVordalDouble(60.0));
    model.Update(tree);
    EXPECT_TRUE(ground());
    EXPECT_TRUE(RunUntil([&] {
        model.ForgetOldChanges();
        return !ground();
    }));
}

TEST(AttributeBrowser, KeepsSelectionAndExpansionWhileTheTreeChanges)
{
    AttributeBrowser browser;
    auto tree = Example();
    browser.Update(tree);
    auto& view = browser.View();
    auto const& shown = *view.model();
    view.setExpanded(shown.index(2, 0), true);
    view.setCurrentIndex(shown.index(0, 0, shown.index(2, 0)));
    tree.Remove(L"x5Range");
    tree.FindCreate(L"x5SonarSettings", 1).FindCreate(L"SystemText").SetValue(CVordalText(L"Head C"));
    tree.Add(L"more", CVordalInt(1));
    browser.Update(tree);
    EXPECT_TRUE(view.isExpanded(shown.index(1, 0)));
    EXPECT_FALSE(view.isExpanded(shown.index(0, 0)));
    EXPECT_EQ(view.currentIndex().parent().row(), 1);
    EXPECT_EQ(view.currentIndex().siblingAtColumn(AttributeTreeModel::Value).data().toString(), "\"Head C\"");
}

TEST(AttributeBrowser, TheSearchOpensWhatItFindsAndLeavesTheTreeAsItWas)
{
    AttributeBrowser browser;
    auto tree = Example();
    browser.Update(tree);
    auto& view = browser.View();
    auto const& shown = *view.model();
    view.setExpanded(shown.index(1, 0), true);
    auto& search = *browser.findChild<QLineEdit*>("attributeSearch");
    search.setText("head b");
    EXPECT_EQ(Text(shown), "x5SonarSettings\n  SystemText = \"Head B\"\n");
    EXPECT_TRUE(view.isExpanded(shown.index(0, 0)));
    // What changes while searching is followed.
    tree.FindCreate(L"x5SonarSettings", 0).FindCreate(L"SystemText").SetValue(CVordalText(L"Head BB"));
    browser.Update(tree);
    EXPECT_EQ(shown.rowCount(), 2);
    search.setText("no such thing");
    EXPECT_EQ(shown.rowCount(), 0);
    search.clear();
    EXPECT_EQ(Text(shown), vordal::TreeText(tree));
    EXPECT_TRUE(view.isExpanded(shown.index(1, 0)));
    EXPECT_FALSE(view.isExpanded(shown.index(2, 0)));
}

} // namespace
} // namespace qx5::test
