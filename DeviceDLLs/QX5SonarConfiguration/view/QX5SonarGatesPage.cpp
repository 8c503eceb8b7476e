// The page "Sonar Gates": limits that are forced into what the sonar can do, sliders and options that act at once.
#include "QX5SonarGatesPage.h"

#include "page_controls.h"
#include "page_device.h"
#include "sonar_settings.h"
#include "ui_QX5SonarGatesPage.h"
#include "value_text.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalMfc0R/DialogExchange.h>

#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <algorithm>

namespace keys = qx5::protocol::keys;

using qx5::At;
using qx5::FixedText;
using qx5::FloorToInt;
using qx5::PositionAfter;
using qx5::ReadValue;
using qx5::ScrollKind;
using qx5::ScrollSlider;

namespace {

constexpr int tiltLeast = -30; // degrees
constexpr int tiltGreatest = 30;
constexpr int windowSizeLeast = 5; // percent
constexpr int windowSizeGreatest = 100;

QString TiltText(double degrees)
{
    return FixedText(degrees, 0, 2) + QStringLiteral("\u00B0");
}

QString WindowSizeText(double percent)
{
    return FixedText(percent, 0, 2) + QStringLiteral("%");
}

double ReadNumber(QLineEdit* field)
{
    double number = 0.0;
    DDX_FmtDouble(CDataExchange(CDataExchange::Direction::FromControls), field, number, FORMAT_PLAIN, 0);
    return number;
}

} // namespace

QX5SonarGatesPage::QX5SonarGatesPage(qx5::PageDevice& device, QWidget* parent)
    : QWidget(parent), m_device(device), m_ui(std::make_unique<Ui::QX5SonarGatesPage>())
{
    m_ui->setupUi(this);
    qx5::ReserveWidth(*m_ui->tiltValue, QStringLiteral("-30\u00B0"));
    qx5::ReserveWidth(*m_ui->windowSizeValue, QStringLiteral("100%"));
    ConnectGate(m_depthGate, m_ui->minDepthField, m_ui->maxDepthField);
    ConnectGate(m_rangeGate, m_ui->minRangeField, m_ui->maxRangeField);
    ConnectGate(m_adaptiveGate, m_ui->minSearchDepthField, m_ui->maxSearchDepthField);
    ConnectControls();
    ResetEditState();
}

QX5SonarGatesPage::~QX5SonarGatesPage() = default;

void QX5SonarGatesPage::ConnectGate(Gate& gate, QLineEdit* minField, QLineEdit* maxField)
{
    gate.minField = minField;
    gate.maxField = maxField;
    gate.minEdit.Attach(minField);
    gate.maxEdit.Attach(maxField);
    gate.minEdit.SetEditHandler([this, &gate] { OnEdited(gate, gate.minEdit, true); });
    gate.maxEdit.SetEditHandler([this, &gate] { OnEdited(gate, gate.maxEdit, false); });
    gate.minEdit.SetApplyHandler([this] { Apply(); });
    gate.maxEdit.SetApplyHandler([this] { Apply(); });
}

void QX5SonarGatesPage::ConnectControls()
{
    auto const onFilterGate = [this] {
        m_ui->useAdaptiveGateBox->setChecked(false);
        OnGatesClicked();
    };
    connect(m_ui->useDepthGateBox, &QCheckBox::clicked, this, onFilterGate);
    connect(m_ui->useRangeGateBox, &QCheckBox::clicked, this, onFilterGate);
    connect(m_ui->useAdaptiveGateBox, &QCheckBox::clicked, this, [this] {
        m_ui->useDepthGateBox->setChecked(false);
        m_ui->useRangeGateBox->setChecked(false);
        OnGatesClicked();
    });
    // The key tells the opposite of what the box says.
    connect(m_ui->followSeafloorBox, &QCheckBox::clicked, this, [this](bool checked) {
        m_device.SendRequestValue(keys::x5AGDepthFilterFixed.text, CVordalBool(!checked));
    });
    m_ui->tiltSlider->SetScale({}, {}, *m_ui->tiltValue);
    m_ui->windowSizeSlider->SetScale({}, {}, *m_ui->windowSizeValue);
    connect(m_ui->tiltSlider, &ScrollSlider::Scrolled, this, [this](ScrollKind kind, int position) {
        OnSliderScrolled(*m_ui->tiltSlider, *m_ui->tiltValue, TiltText, keys::x5DepthGateTilt.text, kind, position);
    });
    connect(m_ui->windowSizeSlider, &ScrollSlider::Scrolled, this, [this](ScrollKind kind, int position) {
        OnSliderScrolled(*m_ui->windowSizeSlider, *m_ui->windowSizeValue, WindowSizeText, keys::x5AGWindowSize.text,
                         kind, position);
    });
    connect(m_ui->applyButton, &QPushButton::clicked, this, [this] { Apply(); });
}

void QX5SonarGatesPage::AddSubscribedKeys(std::vector<CString>& keys)
{
    for (auto const* key : {&keys::x5MinDepthGate, &keys::x5MaxDepthGate, &keys::x5MinRangeGate, &keys::x5MaxRangeGate,
                            &keys::x5AGSearchMin, &keys::x5AGSearchMax, &keys::x5DepthGateTilt, &keys::x5AGWindowSize,
                            &keys::x5AGDepthFilterFixed}) {
        keys.emplace_back(key->text);
    }
}

// What the sonar says

void QX5SonarGatesPage::ApplyLimits(CAttributeMap const& tree, int deviceEnum)
{
    m_deviceEnum = deviceEnum;
    auto const& settings = qx5::ActiveSettings(tree, deviceEnum);
    auto const take = [](Gate& gate, CAttributeMap const& limits) {
        gate.minValue = ReadValue<keys::x5MinValue>(limits, 0.0);
        gate.minWindow = ReadValue<keys::x5MinWindow>(limits, 0.0);
    };
    take(m_rangeGate, settings.Find(At<keys::x5RangeGate>));
    take(m_depthGate, settings.Find(At<keys::x5DepthGate>));
    take(m_adaptiveGate, settings.Find(At<keys::x5NadirGate>));
}

void QX5SonarGatesPage::RefreshControls(CAttributeMap const& tree)
{
    m_refreshing = true;
    ShowLimits(m_depthGate, ReadValue<keys::x5MinDepthGate>(tree, 0.0), ReadValue<keys::x5MaxDepthGate>(tree, 0.0));
    ShowLimits(m_rangeGate, ReadValue<keys::x5MinRangeGate>(tree, 0.0), ReadValue<keys::x5MaxRangeGate>(tree, 0.0));
    ShowLimits(m_adaptiveGate, ReadValue<keys::x5AGSearchMin>(tree, 0.0), ReadValue<keys::x5AGSearchMax>(tree, 0.0));
    m_refreshing = false;

    ShowValue(*m_ui->tiltSlider, *m_ui->tiltValue, TiltText, tiltLeast, tiltGreatest,
              ReadValue<keys::x5DepthGateTilt>(tree, 0.0));
    ShowValue(*m_ui->windowSizeSlider, *m_ui->windowSizeValue, WindowSizeText, windowSizeLeast, windowSizeGreatest,
              ReadValue<keys::x5AGWindowSize>(tree, 0.0));

    auto const& rateSet = qx5::SelectedSampleRateSet(tree, qx5::ActiveSettings(tree, m_deviceEnum));
    m_maxRange = ReadValue<keys::x5Max>(rateSet.Find(At<keys::x5Range>), 0.0);

    ResetEditState();

    m_ui->useDepthGateBox->setChecked(ReadValue<keys::x5DepthFilterEnabled>(tree, false));
    m_ui->useRangeGateBox->setChecked(ReadValue<keys::x5RangeFilterEnabled>(tree, false));
    m_ui->useAdaptiveGateBox->setChecked(ReadValue<keys::x5AdaptiveGateEnabled>(tree, false));
    m_ui->followSeafloorBox->setChecked(!ReadValue<keys::x5AGDepthFilterFixed>(tree, false));
}

void QX5SonarGatesPage::ShowLimits(Gate& gate, double least, double greatest)
{
    auto const write = [](QLineEdit const& field, CColorEdit& edit, double value) {
        QString const text = FixedText(value, 1);
        // Where nothing changes, the operator's cursor stays where it is.
        if (field.text() != text) {
            edit.SetText(qx5::ToCString(text));
        }
    };
    write(*gate.minField, gate.minEdit, least);
    write(*gate.maxField, gate.maxEdit, greatest);
    // Every write counts as an edit, and the maximum is written last.
    gate.minEdited = false;
}

void QX5SonarGatesPage::ShowValue(ScrollSlider& slider, QLabel& label, TextOf text, int least, int greatest,
                                  double value)
{
    slider.setRange(least, greatest);
    slider.setValue(FloorToInt(value + 0.5));
    label.setText(text(value));
}

// What the operator does

void QX5SonarGatesPage::OnEdited(Gate& gate, CColorEdit& edit, bool minimum)
{
    gate.minEdited = minimum;
    if (!m_refreshing) {
        edit.SetBackColor(255, 255, 0);
        m_ui->applyButton->setEnabled(true);
    }
}

void QX5SonarGatesPage::ResetEditState()
{
    for (auto* gate : {&m_depthGate, &m_rangeGate, &m_adaptiveGate}) {
        for (auto* edit : {&gate->minEdit, &gate->maxEdit}) {
            if (edit->HasOwnBackColor()) {
                edit->SetSystemBackColor(SYSTEM_COLOR_CLEAN_FIELD);
            }
        }
    }
    m_ui->applyButton->setEnabled(false);
}

QX5SonarGatesPage::Interval QX5SonarGatesPage::LimitedInterval(Gate const& gate, bool keepMinimum) const
{
    double least = ReadNumber(gate.minField);
    double greatest = ReadNumber(gate.maxField);
    if (keepMinimum) {
        least = std::max(least, gate.minValue);
        least = std::min(least, m_maxRange - gate.minWindow);
        greatest = std::max(greatest, least + gate.minWindow);
    } else {
        greatest = std::min(greatest, m_maxRange);
        greatest = std::max(greatest, gate.minValue + gate.minWindow);
        least = std::min(least, greatest - gate.minWindow);
    }
    return {least, greatest};
}

void QX5SonarGatesPage::Apply()
{
    auto const depth = LimitedInterval(m_depthGate, m_depthGate.minEdited);
    auto const range = LimitedInterval(m_rangeGate, m_rangeGate.minEdited);
    // Which side of the search interval holds follows the range gate, on purpose.
    auto const search = LimitedInterval(m_adaptiveGate, m_rangeGate.minEdited);
    CAttributeMap values;
    values.Add(At<keys::x5MinDepthGate>, CVordalDouble(depth.least));
    values.Add(At<keys::x5MaxDepthGate>, CVordalDouble(depth.greatest));
    values.Add(At<keys::x5MinRangeGate>, CVordalDouble(range.least));
    values.Add(At<keys::x5MaxRangeGate>, CVordalDouble(range.greatest));
    values.Add(At<keys::x5AGSearchMin>, CVordalDouble(search.least));
    values.Add(At<keys::x5AGSearchMax>, CVordalDouble(search.greatest));
    m_device.SendRequest(values);
    ResetEditState();
}

void QX5SonarGatesPage::OnGatesClicked()
{
    m_device.RequestGateEnables(m_ui->useDepthGateBox->isChecked(), m_ui->useRangeGateBox->isChecked(),
                                m_ui->useAdaptiveGateBox->isChecked());
}

void QX5SonarGatesPage::OnSliderScrolled(ScrollSlider& slider, QLabel& label, TextOf text, CString const& key,
                                         ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const reached = PositionAfter(slider, kind, position);
    label.setText(text(reached));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(key, CVordalDouble(reached));
    }
    slider.setValue(reached);
}
