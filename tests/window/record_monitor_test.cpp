// Tests of the record monitor: its table, filter, pause and file.
#include "frames.h"
#include "program.h"
#include "tests/support/temporary_folder.h"

#include <reference_host/window/record_monitor.h>
#include <reference_host/window/record_monitor_model.h>

#include <QAbstractItemModelTester>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QTableView>

#include <filesystem>

#include <gmock/gmock.h>

namespace qx5::test {
namespace {

using ::testing::HasSubstr;
using vordal::RecordMonitor;
using vordal::RecordMonitorModel;
using vordal::RecordQueue;

RecordQueue::Content Batch(int count, double from = 0.0)
{
    RecordQueue::Content content;
    for (int i = 0; i < count; ++i) {
        // Ranges go out, pings on comes in.
        content.frames.push_back(Captured(i % 2 == 0 ? RangeFrame() : PingsOnFrame(), i % 2 == 0, from + i));
    }
    return content;
}

QString Cell(RecordMonitorModel const& model, int row, int column)
{
    return model.data(model.index(row, column), Qt::DisplayRole).toString();
}

TEST(RecordMonitorModel, ShowsTimeWayNumberNameAndFields)
{
    RecordMonitorModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.Append(Batch(2, 1700000000.0));
    ASSERT_EQ(model.rowCount(), 2);
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Time), "22:13:20.000");
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Direction), "out");
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Number), "1003");
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Name), "range");
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Fields), "x5Range = 50 m");
    EXPECT_EQ(Cell(model, 1, RecordMonitorModel::Direction), "in");
    EXPECT_EQ(Cell(model, 1, RecordMonitorModel::Name), "pings on");
    EXPECT_EQ(model.RecordAt(2), nullptr);
    EXPECT_EQ(model.RecordAt(-1), nullptr);
}

TEST(RecordMonitorModel, KeepsTheNewestTenThousand)
{
    RecordMonitorModel model;
    model.Append(Batch(6000));
    model.Append(Batch(6000, 6000));
    EXPECT_EQ(model.rowCount(), 10000);
    EXPECT_EQ(model.GoneCount(), 2000U);
    EXPECT_EQ(model.RecordAt(0)->Frame().time, 2000.0);
    EXPECT_EQ(model.RecordAt(9999)->Frame().time, 11999.0);
    auto burst = Batch(10000, 12000);
    burst.lost = 7;
    model.Append(std::move(burst));
    EXPECT_EQ(model.rowCount(), 10000);
    EXPECT_EQ(model.GoneCount(), 12007U);
    EXPECT_EQ(model.RecordAt(0)->Frame().time, 12000.0);
    model.Clear();
    EXPECT_EQ(model.rowCount(), 0);
    EXPECT_EQ(model.GoneCount(), 0U);
}

TEST(RecordMonitorModel, KeepsNoMoreBytesThanItsBound)
{
    RecordMonitorModel model;
    for (int i = 0; i < 17; ++i) {
        RecordQueue::Content content;
        content.frames.push_back(Captured(std::vector<unsigned char>(RecordQueue::GreatestFrame, 0)));
        model.Append(std::move(content));
    }
    EXPECT_EQ(model.rowCount(), 16); // of 4 MiB each
    EXPECT_EQ(model.GoneCount(), 1U);
}

TEST(RecordMonitorModel, FiltersByWordsAndWay)
{
    RecordMonitorModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.Append(Batch(10));
    using Way = RecordMonitorModel::Way;
    model.SetFilter("RANGE", Way::Both);
    EXPECT_EQ(model.rowCount(), 5);
    model.SetFilter("1100", Way::Both);
    EXPECT_EQ(model.rowCount(), 5);
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Number), "1100");
    model.SetFilter("range = 50 m", Way::Both);
    EXPECT_EQ(model.rowCount(), 5);
    model.SetFilter("range 51", Way::Both);
    EXPECT_EQ(model.rowCount(), 0);
    model.SetFilter("", Way::In);
    EXPECT_EQ(model.rowCount(), 5);
    model.SetFilter("range", Way::In);
    EXPECT_EQ(model.rowCount(), 0);
    model.SetFilter("", Way::Both);
    EXPECT_EQ(model.rowCount(), 10);
    EXPECT_EQ(model.KeptCount(), 10U);
    // Words that are to be left out.
    model.SetFilter("-range", Way::Both);
    EXPECT_EQ(model.rowCount(), 5);
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Number), "1100");
    model.SetFilter("-1100", Way::Both);
    EXPECT_EQ(model.rowCount(), 5);
    EXPECT_EQ(Cell(model, 0, RecordMonitorModel::Number), "1003");
    model.SetFilter("range -50", Way::Both);
    EXPECT_EQ(model.rowCount(), 0);
    model.SetFilter("-", Way::Both);
    EXPECT_EQ(model.rowCount(), 10);
    // What the line in the list does not say, the record in full does.
    model.SetFilter("ticket", Way::Both);
    EXPECT_EQ(model.rowCount(), 10);
    EXPECT_EQ(model.KeptSeconds(), 9.0);
}

TEST(RecordMonitorModel, AFilterHoldsForWhatComesAndGoes)
{
    RecordMonitorModel model;
    QAbstractItemModelTester const tester(&model, QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.SetFilter("", RecordMonitorModel::Way::Out);
    model.Append(Batch(9000));
    EXPECT_EQ(model.rowCount(), 4500);
    auto const id = model.IdAt(4499);
    model.Append(Batch(3000, 9000));
    EXPECT_EQ(model.KeptCount(), 10000U);
    EXPECT_EQ(model.rowCount(), 5000);
    EXPECT_EQ(model.RowOf(id), 3499);
    EXPECT_EQ(model.RecordAt(3499)->Frame().time, 8998.0);
    EXPECT_EQ(model.RowOf(1), -1);
}

class MonitorTest : public ::testing::Test
{
protected:
    template <typename T>
    T& Child(char const* name)
    {
        auto* const child = monitor.findChild<T*>(QString::fromLatin1(name));
        EXPECT_NE(child, nullptr) << name;
        return *child;
    }
    void Put(RecordQueue::Content content)
    {
        for (auto& frame : content.frames) {
            queue->Put(std::move(frame));
        }
    }

    std::shared_ptr<RecordQueue> queue = std::make_shared<RecordQueue>();
    RecordMonitor monitor{queue};
};

TEST_F(MonitorTest, WhilePausedItHoldsStillAndLosesNothing)
{
    Put(Batch(3));
    monitor.Look();
    EXPECT_EQ(monitor.Model().rowCount(), 3);
    monitor.SetPaused(true);
    Put(Batch(4));
    monitor.Look();
    EXPECT_EQ(monitor.Model().rowCount(), 3);
    monitor.SetPaused(false);
    EXPECT_EQ(monitor.Model().rowCount(), 7);
}

TEST_F(MonitorTest, ShowsTheChosenRecordInFullAndKeepsIt)
{
    Put(Batch(3));
    monitor.Look();
    auto& table = Child<QTableView>("records");
    table.selectRow(2);
    auto& details = Child<QPlainTextEdit>("recordDetails");
    EXPECT_THAT(details.toPlainText().toStdString(), HasSubstr("command 1003 range"));
    // More records, a filter that keeps it, and one that does not.
    Put(Batch(5));
    monitor.Look();
    EXPECT_EQ(table.currentIndex().row(), 2);
    Child<QLineEdit>("recordFilter").setText("range");
    EXPECT_EQ(table.currentIndex().row(), 1);
    EXPECT_THAT(details.toPlainText().toStdString(), HasSubstr("command 1003 range"));
    Child<QLineEdit>("recordFilter").setText("1100");
    EXPECT_FALSE(table.currentIndex().isValid());
}

TEST_F(MonitorTest, RemembersItsFilter)
{
    Child<QLineEdit>("recordFilter").setText("gate");
    monitor.findChild<QComboBox*>()->setCurrentIndex(1);
    auto const state = monitor.SaveState();
    RecordMonitor other(queue);
    other.RestoreState(state);
    EXPECT_EQ(other.findChild<QLineEdit*>("recordFilter")->text(), "gate");
    EXPECT_EQ(other.findChild<QComboBox*>()->currentIndex(), 1);
    other.RestoreState("nonsense");
    EXPECT_EQ(other.findChild<QLineEdit*>("recordFilter")->text(), "gate");
}

TEST_F(MonitorTest, WhatItSavesCanBeDecoded)
{
    RecordQueue::Content content;
    content.frames.push_back(Captured(RangeFrame()));
    content.frames.push_back(Captured(PingsOnFrame(), false));
    content.frames.push_back(Captured(OtherRangeFrame()));
    auto cut = Captured(RangeFrame());
    cut.totalBytes = 5000000;
    content.frames.push_back(cut);
    monitor.Model().Append(std::move(content));
    TemporaryFolder const folder;
    auto const file = folder / "saved s\u00f6\u00f1ar \u6c34.txt";
    QString error;
    ASSERT_TRUE(monitor.Model().SaveTo(QString::fromStdString(file.string()), error)) << error.toStdString();
    auto const decoded = Qx5({"decode", file.string()});
    EXPECT_EQ(decoded.code, 0) << decoded.err;
    EXPECT_THAT(decoded.out, HasSubstr("x5Range = 50 m"));
    EXPECT_THAT(decoded.out, HasSubstr("command 1100 pings on"));
    EXPECT_THAT(decoded.out, HasSubstr("x5Range = 60 m"));

    // What the filter keeps back is not saved.
    monitor.Model().SetFilter("60", RecordMonitorModel::Way::Both);
    ASSERT_TRUE(monitor.Model().SaveTo(QString::fromStdString(file.string()), error));
    EXPECT_THAT(Qx5({"decode", file.string()}).out, Not(HasSubstr("x5Range = 50 m")));

    EXPECT_FALSE(monitor.Model().SaveTo("/nowhere/records.txt", error));
    EXPECT_THAT(error.toStdString(), HasSubstr("/nowhere/records.txt cannot be written"));
}

} // namespace
} // namespace qx5::test
