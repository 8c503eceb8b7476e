// The dialog that keeps a sonar's present settings under a name.
#include "save_preset_dialog.h"

#include "preset_work.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include <utility>

namespace qx5::cli {

using operation::Preset;

SavePresetDialog::SavePresetDialog(PresetWork& work, CDataId const& sonar,
                                   std::function<void(QString const& line)> kept, QWidget* parent)
    : PresetDialog(work, tr("Save settings"), QStringLiteral("savePresetDialog"), parent), m_kept(std::move(kept)),
      m_sonar(new SonarList(work, sonar, QStringLiteral("presetSonar"), this)), m_name(new QLineEdit(this))
{
    m_name->setObjectName(QStringLiteral("presetName"));
    m_name->setPlaceholderText(tr("A name, such as Shallow water"));
    m_name->setMinimumWidth(fontMetrics().averageCharWidth() * 40);
    auto* const fields = new QHBoxLayout;
    AddNamed(*fields, tr("Settings &of:"), m_sonar, 1);
    AddNamed(*fields, tr("&Name:"), m_name, 2);
    Column().addLayout(fields);
    AddEnd([this](QHBoxLayout& buttons) {
        buttons.addStretch(1);
        auto* const save = AddButton(buttons, tr("&Save"), QStringLiteral("savePreset"),
                                     tr("Keeps the settings in the project"), [this] { Save(); });
        save->setDefault(true);
        AddButton(buttons, tr("Save to a &file\u2026"), QStringLiteral("savePresetToFile"),
                  tr("Keeps the settings in a file of their own"), [this] { SaveToFile(); });
    });
    if (!work.HasProject()) {
        Say(PresetWork::NoProject());
    }
    m_name->setFocus();
}

void SavePresetDialog::Take(std::function<void(Preset const& preset)> with)
{
    auto const name = m_name->text().trimmed().toStdString();
    if (auto const reason = operation::RefusePresetName(name); !reason.empty()) {
        Say(QString::fromStdString(reason));
        m_name->setFocus();
        return;
    }
    auto const sonar = m_sonar->Chosen();
    Work().Look(*this, sonar, [this, name, sonar, with = std::move(with)](SonarNow const& now) {
        if (auto const reason = WhyNotNow(now); !reason.isEmpty()) {
            Say(reason);
            return;
        }
        auto const preset = Work().Take(sonar, now.tree, name);
        if (preset.settings.empty()) {
            Say(tr("The sonar tells no settings: there is nothing to keep."));
            return;
        }
        with(preset);
    });
}

void SavePresetDialog::Save()
{
    Take([this](Preset const& preset) { Keep(preset, [this, preset] { Finish(tr("the project"), preset); }); });
}

void SavePresetDialog::SaveToFile()
{
    Take([this](Preset const& preset) {
        Export(preset, [this, preset](QString const& file) { Finish(file, preset); });
    });
}

void SavePresetDialog::Finish(QString const& where, Preset const& preset)
{
    m_kept(tr("Preset %1: %2 settings of %3 are kept in %4")
               .arg(QString::fromStdString(preset.name), QString::number(preset.settings.size()),
                    QString::fromStdString(preset.sonar), where));
    close();
}

} // namespace qx5::cli
