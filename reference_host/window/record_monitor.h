// The record monitor: a list of what passes between host and sonars, with one record in full below it.
#pragma once

#include "record_monitor_model.h"

#include <QWidget>

#include <memory>

class QComboBox;
class QLabel;
class QLineEdit;
class QPlainTextEdit;
class QSplitter;
class QTableView;
class QToolButton;

namespace vordal {

/// Shows what it finds in the queue whenever it is told to look. While it is paused the queue keeps, within its bounds,
/// what comes. Window thread.
class RecordMonitor final : public QWidget
{
    Q_OBJECT

public:
    explicit RecordMonitor(std::shared_ptr<RecordQueue> queue, QWidget* parent = nullptr);

    /// Takes over what waits in the queue.
    void Look();

    RecordMonitorModel& Model() { return *m_model; }
    bool IsPaused() const;
    void SetPaused(bool paused);
    /// Chooses the newest record of that number that is shown, if there is one.
    void ChooseNewest(std::uint32_t number);
    /// Saves what the filter lets through; asks for the file's name first.
    void SaveAs();

    /// How its parts are divided, and what it is filtered by.
    QByteArray SaveState() const;
    void RestoreState(QByteArray const& state);

Q_SIGNALS:
    /// Something to tell the operator in one line.
    void Told(QString const& line);

private:
    void Filter();
    void ShowDetails();
    void CountAgain();

    std::shared_ptr<RecordQueue> const m_queue;
    RecordMonitorModel* m_model;
    QTableView* m_table;
    QPlainTextEdit* m_details;
    QSplitter* m_splitter;
    QLineEdit* m_filter;
    QComboBox* m_way;
    QToolButton* m_pause;
    QLabel* m_count;
    /// The record whose details are shown; 0 for none.
    bool m_appending = false;
    RecordMonitorModel::Id m_detailed = 0;
};

} // namespace vordal
