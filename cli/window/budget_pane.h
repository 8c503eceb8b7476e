// The budget of an echo for the settings of the shown sonar, in a dock of the window.
#pragma once

#include "cli/budget_terms.h"

#include <VordalAttributesR/CAttributeMap.h>

#include <QWidget>

#include <array>
#include <optional>

class QComboBox;
class QDoubleSpinBox;
class QLabel;

namespace qx5::cli {

/// What of a sonar's settings counts for the budget.
struct BudgetSettings
{
    double power = 0.0;       ///< dB re 1 uPa at 1 m
    double range = 0.0;       ///< m
    double frequency = 0.0;   ///< Hz
    double pulseLength = 0.0; ///< s
    double widthAlong = 0.0;  ///< degrees

    bool operator==(BudgetSettings const&) const = default;
};
/// Nothing while the sonar has not told all of them.
std::optional<BudgetSettings> BudgetSettingsOf(CAttributeMap const& tree);

/// The terms at the range that is set, and the greatest range at which the bottom is still heard. Water, bottom and
/// what a sonar does not tell are the operator's to enter. Nothing of it is asked of the sonar. Window thread.
class BudgetPane final : public QWidget
{
public:
    explicit BudgetPane(QWidget* parent = nullptr);

    /// The shown sonar's attributes as they stand; what is the same as before costs next to nothing.
    void Show(CAttributeMap const& tree);

private:
    QDoubleSpinBox* AddNumber(QString const& label, char const* name, double least, double greatest, double value,
                              QString const& unit, int decimals);
    void Compute();

    std::optional<BudgetSettings> m_settings;
    QComboBox* m_bottom;
    QDoubleSpinBox* m_grazing;
    QDoubleSpinBox* m_widthAcross;
    QDoubleSpinBox* m_temperature;
    QDoubleSpinBox* m_salinity;
    QDoubleSpinBox* m_ph;
    QLabel* m_greatest;
    QLabel* m_problem;
    std::array<QLabel*, BudgetTerms.size()> m_terms{};
};

} // namespace qx5::cli
