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

#include <random>

#include <limits>

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
