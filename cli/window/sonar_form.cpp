// The form in which an operator enters or changes a sonar.
#include "sonar_form.h"

#include "reference_host/window/appearance.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>

#include <initializer_list>
#include <utility>

namespace qx5::cli {

namespace {

QString ToQt(std::string const& text)
{
    return QString::fromStdString(text);
}

QLabel* NewProblem()
{
    auto* const label = new QLabel;
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    label->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    label->hide();
    return label;
}

} // namespace

SonarForm::SonarForm(Setup setup, QWidget* parent)
    : QDialog(parent), m_setup(std::move(setup)), m_name(new QLineEdit), m_class(new QComboBox),
      m_simulated(new QCheckBox(tr("Si&mulated by this program"))), m_address(new QLineEdit), m_vessel(new QComboBox),
      m_group(new QLineEdit), m_problem(NewProblem())
{
    setObjectName(QStringLiteral("sonarForm"));
    setWindowTitle(m_setup.title);
    setAttribute(Qt::WA_DeleteOnClose);
    auto const& entry = m_setup.entry;

    m_name->setText(ToQt(entry.name));
    m_name->setMaxLength(static_cast<int>(GreatestName));
    auto const around = m_setup.around();
    for (std::string const& each : around.classes) {
        m_class->addItem(ToQt(each));
    }
    m_class->setCurrentText(ToQt(entry.deviceClass));
    m_simulated->setObjectName(QStringLiteral("sonarSimulated"));
    m_simulated->setToolTip(tr("A sonar of this program, which comes and goes with it"));
    m_simulated->setChecked(entry.simulated);
    m_address->setText(ToQt(entry.address));
    m_address->setPlaceholderText(QStringLiteral("192.168.1.10:7000"));
    m_address->setEnabled(!entry.simulated);
    connect(m_simulated, &QCheckBox::toggled, m_address, &QWidget::setDisabled);
    m_vessel->setEditable(true);
    for (std::string const& each : m_setup.vessels) {
        m_vessel->addItem(ToQt(each));
    }
    m_vessel->setCurrentText(ToQt(entry.vessel));
    m_vessel->setToolTip(tr("A vessel of another name is made"));
    m_group->setText(ToQt(entry.group));
    m_group->setPlaceholderText(tr("none, it pings by itself"));
    m_group->setToolTip(tr("Sonars of one group never ping at the same time"));

    auto* const rows = new QFormLayout;
    rows->setFieldGrowthPolicy(QFormLayout::ExpandingFieldsGrow);
    m_nameProblem = AddRow(*rows, tr("&Name"), m_name, "sonarName");
    m_classProblem = AddRow(*rows, tr("&Class"), m_class, "sonarClass");
    bool const hasChoice = around.classes.size() > 1;
    rows->setRowVisible(m_class, hasChoice);
    rows->addRow(QString(), m_simulated);
    m_addressProblem = AddRow(*rows, tr("&Address"), m_address, "sonarAddress");
    m_vesselProblem = AddRow(*rows, tr("&Vessel"), m_vessel, "sonarVessel");
    m_groupProblem = AddRow(*rows, tr("&Ping group"), m_group, "sonarGroup");

    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    auto* const take = buttons->addButton(m_setup.accept, QDialogButtonBox::AcceptRole);
    take->setObjectName(QStringLiteral("sonarAccept"));
    take->setDefault(true);
    connect(buttons, &QDialogButtonBox::accepted, this, &SonarForm::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    m_problem->setObjectName(QStringLiteral("sonarFormProblem"));
    auto* const column = new QVBoxLayout(this);
    column->addLayout(rows);
    column->addWidget(m_problem);
    column->addStretch(1);
    column->addWidget(buttons);
    setMinimumWidth(fontMetrics().averageCharWidth() * 60);
    QWidget const* last = m_name;
    for (QWidget* const next : std::initializer_list<QWidget*>{m_class, m_simulated, m_address, m_vessel, m_group, take,
                                                               buttons->button(QDialogButtonBox::Cancel)}) {
        setTabOrder(const_cast<QWidget*>(last), next);
        last = next;
    }
    m_name->setFocus();
    m_name->selectAll();
}

QLabel* SonarForm::AddRow(QFormLayout& rows, QString const& text, QWidget* field, char const* name)
{
    field->setObjectName(QString::fromLatin1(name));
    field->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    QString plain = text;
    field->setAccessibleName(plain.remove(QLatin1Char('&')));
    rows.addRow(text, field);
    auto* const problem = NewProblem();
    problem->setObjectName(QString::fromLatin1(name) + QStringLiteral("Problem"));
    rows.addRow(QString(), problem);
    return problem;
}

void SonarForm::Show(QLabel& label, QWidget& field, std::string const& problem)
{
    auto const text = ToQt(problem);
    auto palette = label.palette();
    palette.setColor(QPalette::WindowText, vordal::SignalColour(palette, vordal::Signal::Bad));
    label.setPalette(palette);
    label.setText(text.isEmpty() ? text : QStringLiteral("\u26A0 ") + text);
    label.setVisible(!text.isEmpty());
    // Whoever hears the field's name hears what is wrong with it.
    field.setAccessibleDescription(text.isEmpty() ? field.toolTip() : text);
}

SonarEntry SonarForm::Entry() const
{
    return {.name = m_name->text().toStdString(),
            .deviceClass = m_class->currentText().toStdString(),
            .simulated = m_simulated->isChecked(),
            .address = m_address->text().toStdString(),
            .vessel = m_vessel->currentText().toStdString(),
            .group = m_group->text().toStdString()};
}

void SonarForm::accept()
{
    SonarSetup setup;
    auto const problems = CheckSonar(Entry(), m_setup.around(), setup);
    struct Field
    {
        QLabel* label;
        QWidget* field;
        std::string const& problem;
    };
    QWidget* first = nullptr;
    for (Field const& each :
         {Field{m_nameProblem, m_name, problems.name}, Field{m_classProblem, m_class, problems.deviceClass},
          Field{m_addressProblem, m_address, problems.address}, Field{m_vesselProblem, m_vessel, problems.vessel},
          Field{m_groupProblem, m_group, problems.group}}) {
        Show(*each.label, *each.field, each.problem);
        first = first == nullptr && !each.problem.empty() ? each.field : first;
    }
    if (first != nullptr) {
        first->setFocus();
        GiveRoom();
        return;
    }
    auto const refusal = m_setup.take(setup);
    Show(*m_problem, *this, refusal);
    if (refusal.empty()) {
        QDialog::accept();
    } else {
        GiveRoom();
    }
}

void SonarForm::GiveRoom()
{
    // A text that takes two lines does not make the form higher by itself.
    layout()->activate();
    resize(width(), std::max(height(), layout()->totalHeightForWidth(width())));
}

} // namespace qx5::cli
