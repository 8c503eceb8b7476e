// The dialog that loads a preset into a sonar: a table first, what is ticked in one request, what the sonar then has.
#include "load_preset_dialog.h"

#include "preset_chooser.h"
#include "preset_table_view.h"
#include "preset_work.h"
#include "row_table.h"

#include "operation/same_value.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QPushButton>
#include <QVBoxLayout>

#include <algorithm>
#include <chrono>
#include <utility>

namespace qx5::cli {

namespace {

using operation::Preset;
using operation::PresetLoadOutcome;
using operation::PresetSetting;
using operation::PresetSide;
using operation::PresetTable;
using operation::Result;

/// From one look at the sonar to the next.
constexpr std::chrono::milliseconds followInterval{250};

bool IsSame(Preset const& a, Preset const& b)
{
    return std::equal(a.settings.begin(), a.settings.end(), b.settings.begin(), b.settings.end(),
                      [](PresetSetting const& one, PresetSetting const& other) {
                          return one.key == other.key && operation::IsSameValue(one.value, other.value);
                      });
}

} // namespace

LoadPresetDialog::LoadPresetDialog(PresetWork& work, CDataId const& sonar, QWidget* parent)
    : PresetDialog(work, tr("Load a preset"), QStringLiteral("loadPresetDialog"), parent),
      m_sonar(new SonarList(work, sonar, QStringLiteral("loadSonar"), this)),
      m_presets(
          new PresetChooser(work, PresetChooser::Offers::Presets, tr("Preset"), QStringLiteral("loadPreset"), this)),
      m_table(new PresetTableView(PresetTableModel::Ticks::EachRow, tr("What the preset would change"), this))
{
    auto* const sources = new QHBoxLayout;
    AddNamed(*sources, tr("&Preset:"), m_presets, 2);
    AddButton(*sources, tr("From a &file\u2026"), QStringLiteral("loadPresetFile"), tr("Takes a preset from a file"),
              [this] { AskForFile(false, {}, [this](QString const& file) { m_presets->ChooseFile(file); }); });
    AddNamed(*sources, tr("&Into:"), m_sonar, 1);
    Column().addLayout(sources);
    Column().addWidget(m_table, 1);
    m_table->Table().setToolTip(tr(
        "What is ticked is asked for; Space ticks and unticks the selected rows, Ctrl+A selects all, Ctrl+C copies"));

    AddEnd([this](QHBoxLayout& buttons) {
        m_tickers.push_back(AddButton(buttons, tr("Tick &all"), QStringLiteral("tickAll"),
                                      tr("Ticks all that differs and can be loaded"),
                                      [this] { m_table->Model().TickAll(true); }));
        m_tickers.push_back(AddButton(buttons, tr("&Untick all"), QStringLiteral("untickAll"), tr("Unticks all rows"),
                                      [this] { m_table->Model().TickAll(false); }));
        m_tickers.push_back(AddButton(buttons, tr("&Tick or untick selected"), QStringLiteral("tickSelected"),
                                      tr("Ticks the selected rows; unticks them when they are ticked"),
                                      [this] { m_table->ToggleSelected(); }));
        buttons.addStretch(1);
        m_again = AddButton(buttons, tr("Look a&gain"), QStringLiteral("lookAgain"),
                            tr("Shows what the preset would change now"), [this] { LookAgain(); });
        m_load = AddButton(buttons, tr("&Load"), QStringLiteral("loadTicked"),
                           tr("Asks the sonar for what is ticked, in one request"), [this] { Load(); });
        m_load->setDefault(true);
    });
    m_table->SetTeller([this](QString const& line) {
        m_news = line;
        ShowPhase();
    });
    m_presets->SetTeller([this](QString const& line) { Say(line); });
    m_presets->SetChosen([this] { Begin(); });
    connect(m_sonar, &QComboBox::currentIndexChanged, this, [this] { LookAgain(); });
    connect(&m_table->Model(), &QAbstractItemModel::dataChanged, this,
            [this](QModelIndex const&, QModelIndex const&, QList<int> const& roles) {
                if (roles.contains(Qt::CheckStateRole)) {
                    m_news.clear();
                    ShowPhase();
                }
            });
    connect(&m_following, &QTimer::timeout, this, [this] { Look(); });
    m_following.start(followInterval);
    m_presets->Refresh();
    resize(fontMetrics().averageCharWidth() * 145, fontMetrics().lineSpacing() * 32);
    ShowPhase();
    m_presets->setFocus();
}

void LoadPresetDialog::PresetsChanged()
{
    m_presets->Refresh();
}

void LoadPresetDialog::Begin()
{
    ++m_round;
    m_preset.reset();
    LookAgain();
    auto const refused = [this, round = m_round](QString const& line) {
        if (round == m_round) {
            m_refusal = line;
            ShowPhase();
        }
    };
    m_presets->Read(
        *this,
        [this, round = m_round](PresetSide const& side) {
            if (round == m_round) {
                m_preset = side.preset;
                LookAgain();
            }
        },
        refused);
}

void LoadPresetDialog::LookAgain()
{
    ++m_round;
    m_isFresh = true;
    m_isLooking = false;
    m_phase = Phase::Looking;
    m_refusal.clear();
    m_news.clear();
    m_table->Model().Show({});
    ShowPhase();
    Look();
}

void LoadPresetDialog::Look()
{
    if (!m_preset || m_phase != Phase::Looking || m_isLooking) {
        return;
    }
    m_isLooking = true;
    Work().Look(*this, m_sonar->Chosen(), [this, round = m_round](SonarNow const& now) {
        if (round == m_round) {
            m_isLooking = false;
            Take(now);
        }
    });
}

void LoadPresetDialog::Take(SonarNow const& now)
{
    auto& model = m_table->Model();
    auto const wrongClass = operation::RefuseSonarClass(*m_preset, Work().ClassOf(m_sonar->Chosen()));
    m_refusal = now.isThere && !wrongClass.empty() ? QString::fromStdString(wrongClass) : WhyNotNow(now);
    if (!now.isThere || !wrongClass.empty()) {
        m_isFresh = true;
        model.Show({});
        ShowPhase();
        return;
    }
    auto settings = operation::TakePreset(now.tree, {.name = "now"});
    if (settings.settings.empty() && m_refusal.isEmpty()) {
        m_refusal = tr("The sonar has told nothing of its settings yet.");
    }
    if (m_isFresh || !IsSame(settings, m_now)) {
        auto table = PresetTable::ForSonar(now.tree, *m_preset);
        m_isFresh ? model.Show(std::move(table)) : model.Update(std::move(table));
        m_isFresh = settings.settings.empty();
        m_now = std::move(settings);
    }
    ShowPhase();
}

bool LoadPresetDialog::CanLoad() const
{
    return m_preset && m_phase == Phase::Looking && m_refusal.isEmpty() && !m_isFresh &&
           !m_table->Model().Ticked().empty();
}

void LoadPresetDialog::Load()
{
    if (!CanLoad()) {
        return;
    }
    m_asked = m_table->Model().Ticked();
    ++m_round;
    m_isLooking = false;
    m_phase = Phase::Waiting;
    m_news.clear();
    m_table->Table().setFocus();
    ShowPhase();
    Work().Load(*this, m_sonar->Chosen(), *m_preset, m_asked,
                [this, round = m_round](PresetLoadOutcome const& outcome) {
                    if (round == m_round) {
                        TakeOutcome(outcome);
                    }
                });
}

void LoadPresetDialog::TakeOutcome(PresetLoadOutcome const& outcome)
{
    auto const reason = QString::fromStdString(outcome.reason);
    if (outcome.result == Result::Refused || outcome.has.settings.empty()) {
        // The table goes on as it was, for another try.
        m_phase = Phase::Looking;
        m_news = tr("Nothing was sent: %1.").arg(reason);
        ShowPhase();
        return;
    }
    m_phase = Phase::Loaded;
    auto& model = m_table->Model();
    model.ShowAfter(outcome.has, m_asked);
    auto const different = model.DifferentAfter();
    auto const all = m_asked.size();
    if (outcome.result == Result::Agrees || outcome.result == Result::Differs || outcome.result == Result::Replaced) {
        m_news = different == 0 ? tr("Loaded: the sonar has %1 of %2 as the preset says.").arg(all).arg(all)
                                : tr("Loaded: the sonar has %1 of %2 as the preset says, %3 otherwise.")
                                      .arg(all - different)
                                      .arg(all)
                                      .arg(different);
    } else {
        m_news = tr("Not loaded as a whole: %1. The sonar has %2 of %3 as the preset says.")
                     .arg(reason, QString::number(all - different), QString::number(all));
    }
    ShowPhase();
}

QString LoadPresetDialog::Counted() const
{
    auto const& model = m_table->Model();
    return tr("%1: %2 settings of %3, taken %4; %5 ticked")
        .arg(QString::fromStdString(m_preset->name), QString::number(m_preset->settings.size()),
             QString::fromStdString(m_preset->sonar), QString::fromStdString(m_preset->time),
             QString::number(model.Ticked().size()));
}

void LoadPresetDialog::ShowPhase()
{
    m_load->setEnabled(CanLoad());
    for (auto* const ticker : m_tickers) {
        ticker->setEnabled(m_preset && m_phase == Phase::Looking);
    }
    m_again->setEnabled(m_preset && m_phase != Phase::Waiting);
    m_sonar->setEnabled(m_phase != Phase::Waiting);
    m_presets->setEnabled(m_phase != Phase::Waiting);
    if (m_phase == Phase::Waiting) {
        Say(tr("Asked for %1 settings; the sonar has not answered yet.").arg(m_asked.size()));
    } else if (m_phase == Phase::Looking && !m_refusal.isEmpty()) {
        Say(m_refusal);
    } else if (!m_news.isEmpty()) {
        Say(m_news);
    } else if (m_preset && !m_isFresh) {
        Say(Counted());
    } else if (m_presets->Title().isEmpty()) {
        Say(Work().HasProject() ? tr("Choose a preset.") : PresetWork::NoProject());
    }
}

} // namespace qx5::cli
