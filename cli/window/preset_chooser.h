// Chooses a preset of the project, a preset in a file or, where wanted, a sonar.
#pragma once

#include "operation/preset_table.h"
#include "preset_work.h"

#include <QString>
#include <QWidget>

#include <functional>
#include <vector>

class QComboBox;

namespace qx5::cli {

/// A list; what is chosen stays chosen when the list is brought up to date. Window thread; the work outlives it.
class PresetChooser final : public QWidget
{
public:
    enum class Offers
    {
        Presets,
        PresetsAndSonars,
    };

    /// `name` is that of the list in the accessible interface; object names are made of `objectName`.
    PresetChooser(PresetWork& work, Offers offers, QString const& name, QString const& objectName, QWidget* parent);

    /// Called when something else was chosen, by whomever.
    void SetChosen(std::function<void()> chosen) { m_chosen = std::move(chosen); }
    /// A line that is told when the list cannot be had.
    void SetTeller(PresetWork::Refused tell) { m_tell = std::move(tell); }

    /// Brings the list up to date.
    void Refresh();
    /// Chooses that preset once it is listed, that file, that sonar.
    void ChoosePreset(QString const& name);
    void ChooseFile(QString const& file);
    void ChooseSonar(CDataId const& sonar);

    /// As the list says it; empty when nothing is chosen.
    QString Title() const;
    /// Reads what is chosen, if anything.
    void Read(QObject& asker, std::function<void(operation::PresetSide const&)> answer, PresetWork::Refused refused);

    QComboBox& List() { return *m_list; }

private:
    struct Source
    {
        enum class Kind
        {
            Sonar,
            Preset,
            File,
        };
        Kind kind;
        QString name; ///< of a file its path
        CDataId sonar = {};
        bool isDamaged = false;

        bool IsSame(Source const& other) const
        {
            return kind == other.kind && name == other.name && sonar == other.sonar;
        }
    };

    static QString TextOf(Source const& source);
    Source const* Chosen() const;
    void Choose(Source const& source);
    void Fill(std::vector<operation::ListedPreset> const& presets);

    PresetWork& m_work;
    Offers const m_offers;
    QComboBox* m_list;
    std::vector<Source> m_sources;
    std::vector<Source> m_files;
    std::function<void()> m_chosen;
    PresetWork::Refused m_tell;
};

} // namespace qx5::cli
