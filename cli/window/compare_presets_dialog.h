// The dialog that compares two presets, a preset and a sonar, or two sonars.
#pragma once

#include "preset_dialog.h"

#include "operation/preset_table.h"

#include <VordalBaseR/CDataId.h>

#include <array>
#include <optional>

namespace qx5::cli {

class PresetChooser;
class PresetTableView;

/// Two sources, and the table of both. It shows how things stood when they were chosen, or looked at again.
class ComparePresetsDialog final : public PresetDialog
{
public:
    /// The first source is that sonar at first.
    ComparePresetsDialog(PresetWork& work, CDataId const& sonar, QWidget* parent);

    PresetChooser& Chooser(std::size_t side) { return *m_choosers[side]; }
    void PresetsChanged() override;

private:
    void Read(std::size_t side);
    void Compare();

    std::array<PresetChooser*, 2> m_choosers{};
    std::array<std::optional<operation::PresetSide>, 2> m_sides;
    std::array<QString, 2> m_refusals;
    std::array<int, 2> m_rounds{};
    PresetTableView* m_table;
};

} // namespace qx5::cli
