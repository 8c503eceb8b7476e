// The dialog that compares two presets, a preset and a sonar, or two sonars.
#include "compare_presets_dialog.h"

#include "preset_chooser.h"
#include "preset_table_view.h"
#include "preset_work.h"
#include "row_table.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

namespace qx5::cli {

using operation::PresetSide;
using operation::PresetTable;

ComparePresetsDialog::ComparePresetsDialog(PresetWork& work, CDataId const& sonar, QWidget* parent)
    : PresetDialog(work, tr("Compare presets and sonars"), QStringLiteral("comparePresetsDialog"), parent),
      m_table(new PresetTableView(PresetTableModel::Ticks::None, tr("Both, side by side"), this))
{
    QString const labels[]{tr("&First:"), tr("&Second:")};
    QString const files[]{tr("F&ile\u2026"), tr("Fi&le\u2026")};
    QString const names[]{tr("First"), tr("Second")};
    QString const tips[]{tr("Takes the first from a file"), tr("Takes the second from a file")};
    for (std::size_t side = 0; side < m_choosers.size(); ++side) {
        auto const number = QString::number(side + 1);
        auto* const chooser = new PresetChooser(work, PresetChooser::Offers::PresetsAndSonars, names[side],
                                                QStringLiteral("compare%1").arg(number), this);
        m_choosers[side] = chooser;
        chooser->SetChosen([this, side] { Read(side); });
        chooser->SetTeller([this](QString const& line) { Say(line); });
        auto* const row = new QHBoxLayout;
        AddNamed(*row, labels[side], chooser, 1);
        auto* const button =
            AddButton(*row, files[side], QStringLiteral("compareFile%1").arg(number), tips[side], [this, chooser] {
                AskForFile(false, {}, [chooser](QString const& file) { chooser->ChooseFile(file); });
            });
        button->setAccessibleName(tips[side]);
        Column().addLayout(row);
    }
    Column().addWidget(m_table, 1);
    m_table->Table().setToolTip(tr("Ctrl+A selects all, Ctrl+C copies"));
    AddEnd([this](QHBoxLayout& buttons) {
        buttons.addStretch(1);
        AddButton(buttons, tr("Look a&gain"), QStringLiteral("compareAgain"), tr("Compares them as they stand now"),
                  [this] {
                      Read(0);
                      Read(1);
                  });
    });
    Say(tr("Choose what is to be compared."));
    m_choosers[0]->ChooseSonar(sonar);
    PresetsChanged();
    resize(fontMetrics().averageCharWidth() * 145, fontMetrics().lineSpacing() * 32);
    m_choosers[1]->setFocus();
}

void ComparePresetsDialog::PresetsChanged()
{
    for (auto* const chooser : m_choosers) {
        chooser->Refresh();
    }
}

void ComparePresetsDialog::Read(std::size_t side)
{
    int const round = ++m_rounds[side];
    m_sides[side].reset();
    m_refusals[side].clear();
    Compare();
    m_choosers[side]->Read(
        *this,
        [this, side, round](PresetSide const& read) {
            if (round == m_rounds[side]) {
                m_sides[side] = read;
                Compare();
            }
        },
        [this, side, round](QString const& line) {
            if (round == m_rounds[side]) {
                m_refusals[side] = line;
                Compare();
            }
        });
}

void ComparePresetsDialog::Compare()
{
    auto& model = m_table->Model();
    if (!m_sides[0] || !m_sides[1]) {
        model.Show({});
        auto const& refusal = !m_refusals[0].isEmpty() ? m_refusals[0] : m_refusals[1];
        Say(!refusal.isEmpty() ? refusal : tr("Choose what is to be compared."));
        return;
    }
    model.SetTitles(m_choosers[0]->Title(), m_choosers[1]->Title());
    model.Show(PresetTable::Between(*m_sides[0], *m_sides[1]));
    auto const& table = model.Table();
    auto const counts = QString::fromStdString(table.CountsText());
    Say(table.IsSameOnBothSides() ? tr("They are the same: %1.").arg(counts) : tr("They differ: %1.").arg(counts));
}

} // namespace qx5::cli
