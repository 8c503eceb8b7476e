// The dialog that keeps a sonar's present settings under a name.
#pragma once

#include "preset_dialog.h"

#include "operation/preset.h"

#include <VordalBaseR/CDataId.h>

#include <functional>

class QLineEdit;

namespace qx5::cli {

class SonarList;

/// Into the project or a file. Once they are kept, `kept` is given a line that says so, and the dialog closes.
class SavePresetDialog final : public PresetDialog
{
public:
    SavePresetDialog(PresetWork& work, CDataId const& sonar, std::function<void(QString const& line)> kept,
                     QWidget* parent);

private:
    /// Calls `with` with the settings as they stand, if they can be had and the name is good.
    void Take(std::function<void(operation::Preset const& preset)> with);
    void Save();
    void SaveToFile();
    void Finish(QString const& where, operation::Preset const& preset);

    std::function<void(QString const& line)> m_kept;
    SonarList* m_sonar;
    QLineEdit* m_name;
};

} // namespace qx5::cli
