// What the dialogs of presets have in common.
#include "preset_dialog.h"

#include "preset_work.h"

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace qx5::cli {

PresetDialog::PresetDialog(PresetWork& work, QString const& title, QString const& name, QWidget* parent)
    : QDialog(parent), m_work(work), m_column(new QVBoxLayout(this)), m_line(new QLabel(this))
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    setObjectName(name);
    setAccessibleName(title);
    setSizeGripEnabled(true);
    m_line->setObjectName(QStringLiteral("presetLine"));
    m_line->setAccessibleDescription(tr("Last message of this dialog"));
    m_line->setTextFormat(Qt::PlainText);
    m_line->setWordWrap(true);
    m_line->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
}

QString PresetDialog::Line() const
{
    return m_line->text();
}

void PresetDialog::Say(QString const& line)
{
    if (m_line->text() != line) {
        m_line->setText(line);
    }
}

void PresetDialog::NoteChange()
{
    if (m_changed) {
        m_changed();
    }
}

void PresetDialog::AddNamed(QHBoxLayout& row, QString const& label, QWidget* widget, int stretch)
{
    auto* const named = new QLabel(label, this);
    named->setBuddy(widget);
    widget->setAccessibleName(QString(label).remove(QLatin1Char('&')).remove(QLatin1Char(':')));
    row.addWidget(named);
    row.addWidget(widget, stretch);
}

QPushButton* PresetDialog::AddButton(QHBoxLayout& row, QString const& text, QString const& name, QString const& tip,
                                     std::function<void()> pressed)
{
    auto* const button = new QPushButton(text, this);
    button->setObjectName(name);
    button->setToolTip(tip);
    button->setAccessibleDescription(tip);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, std::move(pressed));
    row.addWidget(button);
    return button;
}

void PresetDialog::AddEnd(std::function<void(QHBoxLayout& buttons)> const& add)
{
    m_column->addWidget(m_line);
    auto* const row = new QHBoxLayout;
    add(*row);
    AddButton(*row, tr("Close"), QStringLiteral("closePreset"), tr("Closes this dialog"), [this] { close(); });
    m_column->addLayout(row);
}

void PresetDialog::Ask(QString const& question, QString const& yes, std::function<void()> then)
{
    auto* const box = new QMessageBox(QMessageBox::Question, windowTitle(), question, QMessageBox::Cancel, this);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setObjectName(QStringLiteral("presetQuestion"));
    box->setTextFormat(Qt::PlainText);
    auto const* const button = box->addButton(yes, QMessageBox::AcceptRole);
    box->setDefaultButton(QMessageBox::Cancel);
    connect(button, &QAbstractButton::clicked, this, std::move(then));
    box->setModal(false);
    box->show();
}

void PresetDialog::AskForFile(bool isToWrite, QString const& proposed, std::function<void(QString const& file)> then)
{
    auto* const dialog = new QFileDialog(this, isToWrite ? tr("Save the preset to a file") : tr("Preset from a file"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setObjectName(QStringLiteral("presetFile"));
    dialog->setAcceptMode(isToWrite ? QFileDialog::AcceptSave : QFileDialog::AcceptOpen);
    dialog->setFileMode(isToWrite ? QFileDialog::AnyFile : QFileDialog::ExistingFile);
    dialog->setNameFilters({tr("Presets (*.json)"), tr("All files (*)")});
    dialog->setDefaultSuffix(QStringLiteral("json"));
    dialog->selectFile(proposed);
    connect(dialog, &QFileDialog::fileSelected, this, std::move(then));
    dialog->setModal(false);
    dialog->show();
}

void PresetDialog::Keep(operation::Preset const& preset, std::function<void()> kept)
{
    Put(preset, false, std::move(kept));
}

void PresetDialog::Put(operation::Preset const& preset, bool replace, std::function<void()> kept)
{
    m_work.OnShelf(
        *this,
        [this, preset, replace, kept](operation::PresetShelf& shelf) -> PresetWork::Answer {
            if (shelf.Put(preset, replace)) {
                return [this, kept] {
                    kept();
                    NoteChange();
                };
            }
            return [this, preset, kept] {
                auto const line = QString::fromStdString(operation::PresetIsThere(preset.name));
                Say(line);
                Ask(tr("%1. Replace it?").arg(line), tr("&Replace"), [this, preset, kept] { Put(preset, true, kept); });
            };
        },
        [this](QString const& line) { Say(line); });
}

void PresetDialog::Export(operation::Preset const& preset, std::function<void(QString const& file)> written)
{
    AskForFile(true, QString::fromStdString(preset.name), [this, preset, written](QString const& file) {
        m_work.OnDisk(
            *this,
            [preset, file, written]() -> PresetWork::Answer {
                operation::WritePresetFile(file.toStdU16String(), preset);
                return [file, written] { written(file); };
            },
            [this](QString const& line) { Say(line); });
    });
}

} // namespace qx5::cli
