// The dialog that loads a preset into a sonar: a table first, what is ticked in one request, what the sonar then has.
#pragma once

#include "preset_dialog.h"

#include "operation/preset.h"
#include "operation/preset_load.h"

#include <VordalAttributesR/CAttributeMap.h>
#include <VordalBaseR/CDataId.h>

#include <QTimer>

#include <optional>
#include <vector>

class QPushButton;

namespace qx5::cli {

class PresetChooser;
class PresetTableView;
class SonarList;
struct SonarNow;

/// Until something was loaded the table follows the sonar as it changes.
class LoadPresetDialog final : public PresetDialog
{
public:
    LoadPresetDialog(PresetWork& work, CDataId const& sonar, QWidget* parent);

    PresetChooser& Presets() { return *m_presets; }
    /// Asks for what is ticked, as the button does.
    void Load();
    bool CanLoad() const;
    bool HasLoaded() const { return m_phase == Phase::Loaded; }
    void PresetsChanged() override;

private:
    enum class Phase
    {
        Looking, ///< the table shows what could be loaded
        Waiting, ///< for what the sonar answers
        Loaded,  ///< the table shows what it then has
    };

    /// Reads the preset chosen, and begins with it.
    void Begin();
    void LookAgain();
    void Look();
    /// How the sonar stands now has come.
    void Take(SonarNow const& now);
    void TakeOutcome(operation::PresetLoadOutcome const& outcome);
    /// Who may be pressed, and what the line says meanwhile.
    void ShowPhase();
    QString Counted() const;

    SonarList* m_sonar;
    PresetChooser* m_presets;
    PresetTableView* m_table;
    std::vector<QPushButton*> m_tickers;
    QPushButton* m_load = nullptr;
    QPushButton* m_again = nullptr;
    QTimer m_following;
    std::optional<operation::Preset> m_preset;
    operation::Preset m_now; ///< what the table was made of
    bool m_isFresh = true;   ///< nothing is shown yet of this preset and this sonar
    bool m_isLooking = false;
    QString m_refusal; ///< why nothing can be loaded now
    QString m_news;    ///< what came of what the operator did last; it stays until he does something else
    Phase m_phase = Phase::Looking;
    int m_round = 0; ///< what was asked for in an earlier one is answered too late
    operation::PresetLoads::Keys m_asked;
};

} // namespace qx5::cli
