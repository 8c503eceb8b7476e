// Chooses a preset of the project, a preset in a file or, where wanted, a sonar.
#include "preset_chooser.h"

#include <QComboBox>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QSignalBlocker>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

namespace qx5::cli {

using operation::ListedPreset;
using operation::PresetShelf;
using operation::PresetSide;

PresetChooser::PresetChooser(PresetWork& work, Offers offers, QString const& name, QString const& objectName,
                             QWidget* parent)
    : QWidget(parent), m_work(work), m_offers(offers), m_list(new QComboBox(this))
{
    m_list->setObjectName(objectName);
    m_list->setAccessibleName(name);
    m_list->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_list->setMinimumContentsLength(20);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_list, 1);
    setFocusProxy(m_list);
    connect(m_list, &QComboBox::currentIndexChanged, this, [this] {
        if (m_chosen) {
            m_chosen();
        }
    });
    Fill({});
}

QString PresetChooser::TextOf(Source const& source)
{
    switch (source.kind) {
    case Source::Kind::Sonar:
        return tr("Sonar %1").arg(source.name);
    case Source::Kind::File:
        return tr("File %1").arg(QFileInfo(source.name).fileName());
    case Source::Kind::Preset:
        break;
    }
    return source.isDamaged ? tr("%1 (damaged)").arg(source.name) : source.name;
}

PresetChooser::Source const* PresetChooser::Chosen() const
{
    auto const index = m_list->currentIndex();
    return index >= 0 ? &m_sources[static_cast<std::size_t>(index)] : nullptr;
}

QString PresetChooser::Title() const
{
    return m_list->currentIndex() >= 0 ? m_list->currentText() : QString();
}

void PresetChooser::Refresh()
{
    if (!m_work.HasProject()) {
        Fill({});
        return;
    }
    m_work.OnShelf(
        *this,
        [this](PresetShelf& shelf) -> PresetWork::Answer { return [this, presets = shelf.List()] { Fill(presets); }; },
        [this](QString const& line) {
            if (m_tell) {
                m_tell(line);
            }
        });
}

void PresetChooser::Fill(std::vector<ListedPreset> const& presets)
{
    std::optional<Source> const chosen = Chosen() != nullptr ? std::optional(*Chosen()) : std::nullopt;
    std::vector<Source> sources;
    if (m_offers == Offers::PresetsAndSonars) {
        for (auto const& sonar : m_work.Sonars()) {
            sources.push_back({Source::Kind::Sonar, sonar.name, sonar.id});
        }
    }
    for (ListedPreset const& preset : presets) {
        sources.push_back({Source::Kind::Preset, QString::fromStdString(preset.name), {}, !preset.damage.empty()});
    }
    sources.insert(sources.end(), m_files.begin(), m_files.end());
    // One that is gone meanwhile is not silently another.
    int now = -1;
    {
        QSignalBlocker const silently(m_list);
        m_sources = std::move(sources);
        m_list->clear();
        for (std::size_t i = 0; i < m_sources.size(); ++i) {
            m_list->addItem(TextOf(m_sources[i]));
            if (chosen && m_sources[i].IsSame(*chosen)) {
                now = static_cast<int>(i);
            }
        }
        m_list->setCurrentIndex(now);
    }
    if (chosen && now < 0 && m_chosen) {
        m_chosen();
    }
}

void PresetChooser::Choose(Source const& source)
{
    auto found =
        std::find_if(m_sources.begin(), m_sources.end(), [&](Source const& each) { return each.IsSame(source); });
    if (found == m_sources.end()) {
        // Of a preset the list may not have come yet.
        QSignalBlocker const silently(m_list);
        found = m_sources.insert(m_sources.end(), source);
        auto const before = m_list->currentIndex();
        m_list->addItem(TextOf(source));
        m_list->setCurrentIndex(before); // the first of a list is chosen by itself
    }
    m_list->setCurrentIndex(static_cast<int>(found - m_sources.begin()));
}

void PresetChooser::ChoosePreset(QString const& name)
{
    Choose({Source::Kind::Preset, name});
}

void PresetChooser::ChooseFile(QString const& file)
{
    Source const source{Source::Kind::File, file};
    if (std::none_of(m_files.begin(), m_files.end(), [&](Source const& each) { return each.IsSame(source); })) {
        m_files.push_back(source);
    }
    bool const isAgain = Chosen() != nullptr && Chosen()->IsSame(source);
    Choose(source);
    if (isAgain && m_chosen) {
        m_chosen(); // what is in it may be another
    }
}

void PresetChooser::ChooseSonar(CDataId const& sonar)
{
    for (auto const& each : m_work.Sonars()) {
        if (each.id == sonar) {
            Choose({Source::Kind::Sonar, each.name, each.id});
        }
    }
}

void PresetChooser::Read(QObject& asker, std::function<void(PresetSide const&)> answer, PresetWork::Refused refused)
{
    auto const* const source = Chosen();
    if (source == nullptr) {
        return;
    }
    switch (source->kind) {
    case Source::Kind::Sonar:
        m_work.Look(asker, source->sonar,
                    [this, name = source->name, sonar = source->sonar, answer, refused](SonarNow const& now) {
                        if (!now.isThere) {
                            refused(tr("%1 is not there any more").arg(name));
                            return;
                        }
                        answer({m_work.Take(sonar, now.tree, name.toStdString()), now.tree});
                    });
        return;
    case Source::Kind::Preset:
        m_work.OnShelf(
            asker,
            [name = source->name.toStdString(), answer](PresetShelf& shelf) -> PresetWork::Answer {
                auto preset = shelf.Find(name);
                if (!preset) {
                    throw operation::PresetError(operation::NoSuchPreset(name));
                }
                return [answer, side = PresetSide{std::move(*preset)}] { answer(side); };
            },
            refused);
        return;
    case Source::Kind::File:
        m_work.OnDisk(
            asker,
            [file = source->name, answer]() -> PresetWork::Answer {
                return [answer, side = PresetSide{operation::ReadPresetFile(file.toStdU16String())}] { answer(side); };
            },
            refused);
        return;
    }
}

} // namespace qx5::cli
