// The dialog that lists a project's presets: shown, renamed, removed, written to files and read from them.
#include "manage_presets_dialog.h"

#include "preset_work.h"
#include "row_table.h"

#include "operation/preset_table.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStandardItemModel>
#include <QVBoxLayout>

#include <utility>

namespace qx5::cli {

namespace {

using operation::ListedPreset;
using operation::Preset;
using operation::PresetSetting;
using operation::PresetShelf;

QStandardItem* Cell(QString const& text)
{
    auto* const cell = new QStandardItem(text);
    cell->setEditable(false);
    return cell;
}

QStandardItem* Cell(std::string const& text)
{
    return Cell(QString::fromStdString(text));
}

} // namespace

ManagePresetsDialog::ManagePresetsDialog(PresetWork& work, QWidget* parent)
    : PresetDialog(work, tr("Presets of the project"), QStringLiteral("managePresetsDialog"), parent),
      m_model(new QStandardItemModel(0, 5, this)), m_list(new RowTable(this)), m_newName(new QLineEdit(this))
{
    m_model->setHorizontalHeaderLabels(
        {tr("Name"), tr("Settings of"), tr("Taken (UTC)"), tr("Settings"), tr("Remark")});
    m_list->setModel(m_model);
    m_list->setObjectName(QStringLiteral("presetList"));
    m_list->setAccessibleName(tr("Presets"));
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setToolTip(tr("The presets that the project keeps; Ctrl+C copies"));
    m_list->FitColumn(0, QStringLiteral("A name of some length"));
    m_list->FitColumn(1, QStringLiteral("Hull sonar and more"));
    m_list->FitColumn(2, QStringLiteral("2026-11-22T14:30:05Z"));
    m_list->FitColumn(3, tr("Settings"));
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] { ShowButtons(); });
    connect(m_list, &QAbstractItemView::activated, this, [this] { ShowSelected(); });
    Column().addWidget(m_list, 1);

    m_newName->setObjectName(QStringLiteral("presetNewName"));
    auto* const naming = new QHBoxLayout;
    AddNamed(*naming, tr("New na&me:"), m_newName, 1);
    m_ofSelected.push_back(AddButton(*naming, tr("Re&name"), QStringLiteral("renamePreset"),
                                     tr("Gives the selected preset the new name"), [this] { Rename(); }));
    Column().addLayout(naming);
    AddEnd([this](QHBoxLayout& buttons) {
        auto const add = [&](QString const& text, char const* name, QString const& tip, auto pressed) {
            m_ofSelected.push_back(AddButton(buttons, text, QString::fromLatin1(name), tip, std::move(pressed)));
        };
        add(tr("&Show\u2026"), "showPreset", tr("Lists what is in the selected preset"), [this] { ShowSelected(); });
        add(tr("&Remove"), "removePreset", tr("Takes the selected preset out of the project"), [this] { Remove(); });
        add(tr("&Export\u2026"), "exportPreset", tr("Writes the selected preset to a file"),
            [this] { ExportSelected(); });
        AddButton(buttons, tr("&Import\u2026"), QStringLiteral("importPreset"), tr("Takes a preset from a file"),
                  [this] { Import(); });
        buttons.addStretch(1);
    });
    connect(m_newName, &QLineEdit::returnPressed, this, [this] { Rename(); });
    ShowButtons();
    PresetsChanged();
    resize(fontMetrics().averageCharWidth() * 110, fontMetrics().lineSpacing() * 24);
    m_list->setFocus();
}

void ManagePresetsDialog::PresetsChanged()
{
    Work().OnShelf(
        *this,
        [this](PresetShelf& shelf) -> PresetWork::Answer { return [this, presets = shelf.List()] { Fill(presets); }; },
        [this](QString const& line) { Say(line); });
}

void ManagePresetsDialog::Fill(std::vector<ListedPreset> const& presets)
{
    auto const selected = Selected();
    m_presets = presets;
    m_model->setRowCount(0);
    for (ListedPreset const& preset : presets) {
        m_model->appendRow({Cell(preset.name), Cell(preset.sonar), Cell(preset.time),
                            Cell(preset.damage.empty() ? QString::number(preset.settings) : QString()),
                            Cell(preset.damage)});
        if (QString::fromStdString(preset.name) == selected) {
            m_list->selectRow(m_model->rowCount() - 1);
        }
    }
    if (Selected().isEmpty() && !presets.empty()) {
        m_list->selectRow(0);
    }
    if (presets.empty()) {
        Say(tr("The project has no presets."));
    }
    ShowButtons();
}

QString ManagePresetsDialog::Selected() const
{
    auto const rows = m_list->selectionModel()->selectedRows();
    return rows.isEmpty() ? QString() : rows.front().data().toString();
}

void ManagePresetsDialog::ShowButtons()
{
    auto const selected = Selected();
    for (auto* const button : m_ofSelected) {
        button->setEnabled(!selected.isEmpty());
    }
    m_newName->setEnabled(!selected.isEmpty());
    m_newName->setText(selected);
}

void ManagePresetsDialog::WithSelected(std::function<void(Preset const& preset)> then)
{
    auto const name = Selected().toStdString();
    Work().OnShelf(
        *this,
        [name, then = std::move(then)](PresetShelf& shelf) -> PresetWork::Answer {
            auto preset = shelf.Find(name);
            if (!preset) {
                throw operation::PresetError(operation::NoSuchPreset(name));
            }
            return [then, preset = std::move(*preset)] { then(preset); };
        },
        [this](QString const& line) { Say(line); });
}

void ManagePresetsDialog::ShowSelected()
{
    WithSelected([this](Preset const& preset) { (new ShowPresetDialog(Work(), preset, this))->show(); });
}

void ManagePresetsDialog::Rename()
{
    auto const name = Selected().toStdString();
    auto const to = m_newName->text().trimmed().toStdString();
    Work().OnShelf(
        *this,
        [this, name, to](PresetShelf& shelf) -> PresetWork::Answer {
            shelf.Rename(name, to);
            return [this, name, to] {
                Say(tr("%1 is now called %2.").arg(QString::fromStdString(name), QString::fromStdString(to)));
                NoteChange();
            };
        },
        [this](QString const& line) { Say(line); });
}

void ManagePresetsDialog::Remove()
{
    auto const name = Selected();
    Ask(tr("Remove the preset %1 from the project?").arg(name), tr("&Remove"), [this, name] {
        Work().OnShelf(
            *this,
            [this, name](PresetShelf& shelf) -> PresetWork::Answer {
                if (!shelf.Remove(name.toStdString())) {
                    throw operation::PresetError(operation::NoSuchPreset(name.toStdString()));
                }
                return [this, name] {
                    Say(tr("%1 is removed.").arg(name));
                    NoteChange();
                };
            },
            [this](QString const& line) { Say(line); });
    });
}

void ManagePresetsDialog::ExportSelected()
{
    WithSelected([this](Preset const& preset) {
        Export(preset, [this, preset](QString const& file) {
            Say(tr("%1 is written to %2.").arg(QString::fromStdString(preset.name), file));
        });
    });
}

void ManagePresetsDialog::Import()
{
    AskForFile(false, {}, [this](QString const& file) {
        Work().OnDisk(
            *this,
            [this, file]() -> PresetWork::Answer {
                return [this, preset = operation::ReadPresetFile(file.toStdU16String())] {
                    Keep(preset, [this, preset] {
                        Say(tr("%1: %2 settings are taken into the project.")
                                .arg(QString::fromStdString(preset.name), QString::number(preset.settings.size())));
                    });
                };
            },
            [this](QString const& line) { Say(line); });
    });
}

ShowPresetDialog::ShowPresetDialog(PresetWork& work, Preset const& preset, QWidget* parent)
    : PresetDialog(work, tr("Preset %1").arg(QString::fromStdString(preset.name)), QStringLiteral("showPresetDialog"),
                   parent)
{
    auto* const model = new QStandardItemModel(0, 3, this);
    model->setHorizontalHeaderLabels({tr("Key"), tr("Value"), tr("Unit")});
    for (PresetSetting const& setting : preset.settings) {
        model->appendRow({Cell(QString::fromStdWString(setting.key)), Cell(operation::ShownValue(setting.value)),
                          Cell(setting.unit)});
    }
    auto* const table = new RowTable(this);
    table->setModel(model);
    table->setObjectName(QStringLiteral("presetSettings"));
    table->setAccessibleName(tr("Settings"));
    table->setToolTip(tr("Ctrl+A selects all, Ctrl+C copies"));
    table->FitColumn(0, QStringLiteral("x5RouteSteeringOverlap"));
    table->FitColumn(1, QStringLiteral("1234.5678901234"));
    Column().addWidget(table, 1);
    AddEnd([](QHBoxLayout& buttons) { buttons.addStretch(1); });
    Say(tr("%1 settings of %2 (%3), taken %4")
            .arg(preset.settings.size())
            .arg(QString::fromStdString(preset.sonar), QString::fromStdString(preset.sonarClass),
                 QString::fromStdString(preset.time)));
    resize(fontMetrics().averageCharWidth() * 70, fontMetrics().lineSpacing() * 28);
}

} // namespace qx5::cli
