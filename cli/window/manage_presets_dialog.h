// The dialog that lists a project's presets: shown, renamed, removed, written to files and read from them.
#pragma once

#include "preset_dialog.h"

#include "operation/preset.h"
#include "operation/preset_shelf.h"

#include <QString>

#include <functional>
#include <vector>

class QLineEdit;
class QPushButton;
class QStandardItemModel;

namespace qx5::cli {

class RowTable;

class ManagePresetsDialog final : public PresetDialog
{
public:
    ManagePresetsDialog(PresetWork& work, QWidget* parent);

    void PresetsChanged() override;

private:
    void Fill(std::vector<operation::ListedPreset> const& presets);
    /// The name of the one that is selected; empty for none.
    QString Selected() const;
    void ShowSelected();
    void Rename();
    void Remove();
    void ExportSelected();
    void Import();
    /// Does something with the selected preset once it is read.
    void WithSelected(std::function<void(operation::Preset const& preset)> then);
    void ShowButtons();

    QStandardItemModel* m_model;
    RowTable* m_list;
    QLineEdit* m_newName;
    std::vector<operation::ListedPreset> m_presets;
    std::vector<QPushButton*> m_ofSelected;
};

/// What is in one preset. Non-modal, gone once it is closed.
class ShowPresetDialog final : public PresetDialog
{
public:
    ShowPresetDialog(PresetWork& work, operation::Preset const& preset, QWidget* parent);
};

} // namespace qx5::cli
