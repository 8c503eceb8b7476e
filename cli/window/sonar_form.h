// The form in which an operator enters or changes a sonar.
#pragma once

#include "cli/window/sonar_entry.h"

#include <QDialog>

#include <functional>
#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QFormLayout;
class QLabel;
class QLineEdit;

namespace qx5::cli {

/// Says beside each field what is wrong with it, and takes nothing then. Window thread.
class SonarForm final : public QDialog
{
public:
    struct Setup
    {
        QString title;
        QString accept;                   ///< of the button that takes it
        SonarEntry entry;                 ///< to begin with
        std::vector<std::string> vessels; ///< to choose from, by their names
        /// Asked when the operator takes the entry.
        std::function<SonarSurroundings()> around;
        /// Takes it; otherwise why not, in one line, and the form stays.
        std::function<std::string(SonarSetup const&)> take;
    };
    SonarForm(Setup setup, QWidget* parent);

    SonarEntry Entry() const;

    void accept() override;

private:
    QLabel* AddRow(QFormLayout& rows, QString const& text, QWidget* field, char const* name);
    static void Show(QLabel& label, QWidget& field, std::string const& problem);
    /// For what is told below the fields.
    void GiveRoom();

    Setup m_setup;
    QLineEdit* m_name;
    QComboBox* m_class;
    QCheckBox* m_simulated;
    QLineEdit* m_address;
    QComboBox* m_vessel;
    QLineEdit* m_group;
    QLabel* m_nameProblem;
    QLabel* m_classProblem;
    QLabel* m_addressProblem;
    QLabel* m_vesselProblem;
    QLabel* m_groupProblem;
    QLabel* m_problem;
};

} // namespace qx5::cli
