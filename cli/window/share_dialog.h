// The dialog by which an operator shares the project with those ashore.
#pragma once

#include "cli/window/project_share.h"

#include <QDialog>
#include <QString>
#include <QTimer>

#include <string>
#include <vector>

class QFormLayout;
class QLabel;
class QLineEdit;
class QPushButton;

namespace qx5::cli {

/// Stays open beside the window, with what the project says of it when it is shown, and follows how the line is.
/// Window thread; `share` outlives it.
class ShareDialog final : public QDialog
{
public:
    ShareDialog(ProjectShare& share, QWidget* parent);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QLineEdit* AddField(QFormLayout& form, QString const& label, char const* name, QString const& example);
    QLineEdit* AddFile(QFormLayout& form, QString const& label, char const* name);
    void Share();
    void Stop();
    void ShowSetup();
    void Look();

    ProjectShare& m_share;
    QLineEdit* m_broker;
    QLineEdit* m_authority;
    QLineEdit* m_certificate;
    QLineEdit* m_key;
    QLineEdit* m_group;
    QLineEdit* m_vessel;
    std::vector<QWidget*> m_choosers;
    QLabel* m_state;
    QPushButton* m_begin;
    QPushButton* m_end;
    std::string m_missing; ///< why it was not even tried
    QTimer m_timer;
};

} // namespace qx5::cli
