// The budget of an echo for the settings of the shown sonar.
#include "budget_pane.h"

#include <protocol/records/all.h>

#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFormLayout>
#include <QLabel>
#include <QVBoxLayout>

#include <utility>

namespace qx5::cli {

namespace {

namespace keys = protocol::keys;

/// How often the words of a value are read out by a screen reader is the toolkit's matter: labels tell nothing of
/// themselves.
QLabel* NewValue(char const* name, QWidget* parent)
{
    auto* const value = new QLabel(QObject::tr("not known"), parent);
    value->setObjectName(QString::fromLatin1(name));
    value->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return value;
}

QString Latin(std::string_view text)
{
    return QString::fromLatin1(text.data(), static_cast<qsizetype>(text.size()));
}

} // namespace

std::optional<BudgetSettings> BudgetSettingsOf(CAttributeMap const& tree)
{
    BudgetSettings settings;
    constexpr std::array read{std::pair{&keys::x5Power, &BudgetSettings::power},
                              std::pair{&keys::x5Range, &BudgetSettings::range},
                              std::pair{&keys::x5CenterFrequency, &BudgetSettings::frequency},
                              std::pair{&keys::x5PulseLength, &BudgetSettings::pulseLength},
                              std::pair{&keys::x5BeamWidthX, &BudgetSettings::widthAlong}};
    for (auto const& [key, value] : read) {
        unsigned flags = 0;
        if (!tree.GetAttribValue(AttributeKey(key->text), settings.*value, flags)) {
            return {};
        }
    }
    return settings;
}

BudgetPane::BudgetPane(QWidget* parent) : QWidget(parent), m_bottom(new QComboBox(this))
{
    auto* const form = new QFormLayout;
    for (acoustics::BottomScattering const& scattering : acoustics::Bottoms) {
        m_bottom->addItem(Latin(scattering.name));
    }
    m_bottom->setCurrentIndex(1);
    m_bottom->setObjectName(QStringLiteral("budgetBottom"));
    m_bottom->setAccessibleName(tr("Bottom"));
    auto* const layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addStretch();
    // What the form's rows are made in is what Tab goes through.
    form->addRow(tr("Bottom"), m_bottom);
    auto const add = [&](QString const& label, char const* name, double least, double greatest, double value,
                         QString const& unit, int decimals) {
        auto* const box = AddNumber(label, name, least, greatest, value, unit, decimals);
        form->addRow(label, box);
        return box;
    };
    m_grazing = add(tr("Grazing angle"), "budgetGrazing", 1.0, 90.0, 45.0, tr(" degrees"), 0);
    m_widthAcross = add(tr("Receive beam"), "budgetWidthAcross", 0.1, 30.0, 1.0, tr(" degrees"), 1);
    m_temperature = add(tr("Temperature"), "budgetTemperature", -2.0, 30.0, 10.0, tr(" C"), 1);
    m_salinity = add(tr("Salinity"), "budgetSalinity", 0.0, 40.0, 35.0, tr(" PSU"), 1);
    m_ph = add(tr("pH"), "budgetPh", 6.0, 9.0, 8.0, {}, 1);
    for (std::size_t i = 0; i < BudgetTerms.size(); ++i) {
        QString name = tr(BudgetTerms[i].name);
        name[0] = name[0].toUpper();
        m_terms[i] = NewValue(BudgetTerms[i].key, this);
        form->addRow(name, m_terms[i]);
    }
    m_greatest = NewValue("budgetGreatestRange", this);
    form->addRow(tr("Bottom is heard up to"), m_greatest);
    m_problem = new QLabel(this);
    m_problem->setObjectName(QStringLiteral("budgetProblem"));
    m_problem->setWordWrap(true);
    form->addRow(m_problem);
    connect(m_bottom, &QComboBox::currentIndexChanged, this, [this] { Compute(); });
    Compute();
}

QDoubleSpinBox* BudgetPane::AddNumber(QString const& label, char const* name, double least, double greatest,
                                      double value, QString const& unit, int decimals)
{
    auto* const box = new QDoubleSpinBox(this);
    box->setObjectName(QString::fromLatin1(name));
    box->setAccessibleName(label);
    box->setDecimals(decimals);
    box->setRange(least, greatest);
    box->setValue(value);
    box->setSuffix(unit);
    // A wheel that passes by changes nothing.
    box->setFocusPolicy(Qt::StrongFocus);
    connect(box, &QDoubleSpinBox::valueChanged, this, [this] { Compute(); });
    return box;
}

void BudgetPane::Show(CAttributeMap const& tree)
{
    auto const settings = BudgetSettingsOf(tree);
    if (settings != m_settings) {
        m_settings = settings;
        Compute();
    }
}

void BudgetPane::Compute()
{
    for (QLabel* const term : m_terms) {
        term->setText(tr("not known"));
    }
    m_greatest->setText(tr("not known"));
    if (!m_settings) {
        m_problem->setText(tr("The sonar has not told its settings."));
        return;
    }
    auto const medium = acoustics::MediumOf(
        m_settings->frequency,
        {.temperature = m_temperature->value(), .salinity = m_salinity->value(), .depth = 0.0, .ph = m_ph->value()});
    if (!medium) {
        m_problem->setText(QString::fromStdString(medium.WhyNot().line));
        return;
    }
    acoustics::BottomBeam const beam{.range = m_settings->range,
                                     .grazing = m_grazing->value(),
                                     .widthAlong = m_settings->widthAlong,
                                     .widthAcross = m_widthAcross->value(),
                                     .pulseLength = m_settings->pulseLength};
    auto const bottom = acoustics::Bottoms[static_cast<std::size_t>(m_bottom->currentIndex())].bottom;
    auto const budget = acoustics::BudgetOf(m_settings->power, beam, bottom, *medium);
    if (!budget) {
        m_problem->setText(QString::fromStdString(budget.WhyNot().line));
        return;
    }
    m_problem->clear();
    auto const isArea = [](BudgetTerm const& term) { return term.value == &acoustics::EchoBudget::area; };
    for (std::size_t i = 0; i < BudgetTerms.size(); ++i) {
        m_terms[i]->setText(tr("%1 %2")
                                .arg((*budget).*BudgetTerms[i].value, 0, 'f', isArea(BudgetTerms[i]) ? 2 : 1)
                                .arg(tr(BudgetTerms[i].unit)));
    }
    if (auto const greatest = acoustics::GreatestRangeHeard(m_settings->power, beam, bottom, *medium)) {
        m_greatest->setText(tr("%1 m").arg(*greatest, 0, 'f', 0));
    }
}

} // namespace qx5::cli
