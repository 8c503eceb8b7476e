// The page "Sonar Settings": how its sliders, lists and buttons stand for values of the sonar.
#include "QX5SonarSettingsPage.h"

#include "page_controls.h"
#include "page_device.h"
#include "sonar_settings.h"
#include "ui_QX5SonarSettingsPage.h"
#include "value_text.h"
#include <commands/default_ranges.h>

#include <VordalAttributesR/CVordalType.h>

#include <protocol/records/all.h>
#include <protocol/settings_keys.h>

#include <QSignalBlocker>

#include <algorithm>
#include <cmath>

namespace keys = qx5::protocol::keys;

using qx5::FixedText;
using qx5::FloorToInt;
using qx5::PositionAfter;
using qx5::ReadValue;
using qx5::ScrollKind;
using qx5::ScrollSlider;
using qx5::protocol::NarrowToFloat;
using qx5::protocol::TruncateToInt32;

namespace {

constexpr int quarterDegreesPerPage = 8;

/// Values of "x5GainMode" that the page offers.
constexpr int gainModeTimeVaried = 0;
constexpr int gainModeFixed = 2;

/// How many of the first `count` entries are not greater than `value`, before the first that is, less one: the position
/// that stands for the value.
template <typename List>
int PositionInList(List const& list, std::size_t count, double value)
{
    auto const end = list.begin() + static_cast<std::ptrdiff_t>(count);
    auto const greater = std::find_if(list.begin(), end, [value](double entry) { return entry > value; });
    return static_cast<int>(greater - list.begin()) - 1;
}

QString Degrees(double value, int decimals)
{
    return FixedText(value, decimals) + QStringLiteral("\u00B0");
}

} // namespace

QX5SonarSettingsPage::QX5SonarSettingsPage(qx5::PageDevice& device, QWidget* parent)
    : QWidget(parent), m_device(device), m_ui(std::make_unique<Ui::QX5SonarSettingsPage>())
{
    m_ui->setupUi(this);
    beamWidthX = limits.beamWidthXMin;
    beamWidthZ = limits.beamWidthZMin;
    limits.rangeSet.assign(std::begin(qx5::DefaultRanges), std::end(qx5::DefaultRanges));
    limits.rangeMin = limits.rangeSet.front();
    limits.rangeMax = limits.rangeSet.back();
    qx5::FillList(*m_ui->pulseTypeList, QStringLiteral("CW,FM"));
    qx5::ReserveWidth(*m_ui->rangeValue, QStringLiteral("15000.0 m"));
    qx5::LeaveWheelToPage(*m_ui->operationModeList);
    qx5::LeaveWheelToPage(*m_ui->pulseTypeList);
    ConnectControls();
    SetScales();
    RefreshControls();
}

QX5SonarSettingsPage::~QX5SonarSettingsPage() = default;

void QX5SonarSettingsPage::ConnectControls()
{
    connect(m_ui->rangeSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnRangeScrolled);
    connect(m_ui->powerSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnPowerScrolled);
    connect(m_ui->pingRateSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnPingRateScrolled);
    connect(m_ui->gainSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnGainScrolled);
    connect(m_ui->beamWidthSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnBeamWidthScrolled);
    connect(m_ui->verticalSteeringSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnSteeringScrolled);
    connect(m_ui->pulseLengthSlider, &ScrollSlider::Scrolled, this, &QX5SonarSettingsPage::OnPulseLengthScrolled);
    connect(m_ui->operationModeList, &QComboBox::activated, this, [this](int index) {
        if (index >= 0) {
            m_device.SendRequestValue(keys::DeviceEnum.text,
                                      CVordalInt(m_ui->operationModeList->itemData(index).toInt()));
        }
    });
    connect(m_ui->pulseTypeList, &QComboBox::activated, this, [this](int index) {
        if (index >= 0) {
            m_pulseType = index;
            m_device.SendRequestValue(keys::x5PulseType.text, CVordalInt(index));
        }
    });
    connect(m_ui->timeVariedGainButton, &QRadioButton::clicked, this,
            [this] { OnGainModeClicked(gainModeTimeVaried); });
    connect(m_ui->fixedGainButton, &QRadioButton::clicked, this, [this] { OnGainModeClicked(gainModeFixed); });
    auto const onFilterGate = [this] {
        m_ui->adaptiveGateButton->setChecked(false);
        OnGatesClicked();
    };
    connect(m_ui->depthGateButton, &QPushButton::clicked, this, onFilterGate);
    connect(m_ui->rangeGateButton, &QPushButton::clicked, this, onFilterGate);
    connect(m_ui->adaptiveGateButton, &QPushButton::clicked, this, [this] {
        m_ui->depthGateButton->setChecked(false);
        m_ui->rangeGateButton->setChecked(false);
        OnGatesClicked();
    });
    connect(m_ui->pingOnlyWhenScanningBox, &QCheckBox::clicked, this, [this](bool checked) {
        CAttributeMap request;
        request.Append(new CAttributeMap(qx5::At<keys::PingOnlyDuringScan>, VordalTypeCreator::MakeValue(checked)));
        m_device.SendRequest(request);
    });
}

void QX5SonarSettingsPage::SetScales()
{
    m_ui->rangeSlider->SetScale(
        [this](int p) {
            auto const index = static_cast<std::size_t>(std::max(p, 0));
            return index < limits.rangeSet.size() ? limits.rangeSet[index] : double{m_range};
        },
        [this] { return double{m_range}; }, *m_ui->rangeValue);
    m_ui->powerSlider->SetScale([this](int p) { return p == 0 ? 0.0 : limits.powerMin + p - 1.0; },
                                [this] { return double{m_power}; }, *m_ui->powerValue);
    m_ui->pingRateSlider->SetScale(
        [this](int p) { return p == 0 ? 0.0 : double{static_cast<float>(p) / limits.pingRateRatio}; },
        [this] { return m_pingOnOffState == 0 ? 0.0 : double{m_maxPingRate}; }, *m_ui->pingRateValue);
    m_ui->gainSlider->SetScale([](int p) { return double{static_cast<float>(p)}; }, [this] { return double{m_gain}; },
                               *m_ui->gainValue);
    m_ui->beamWidthSlider->SetScale(
        [this](int p) { return limits.beamWidthXList[static_cast<std::size_t>(std::clamp(p, 0, MaxBeamWidths - 1))]; },
        [this] { return beamWidthX; }, *m_ui->beamWidthValue);
    m_ui->verticalSteeringSlider->SetScale([](int p) { return p * 0.25; }, [this] { return double{m_steerVertical}; },
                                           *m_ui->verticalSteeringValue);
    // In microseconds, as the label tells it.
    m_ui->pulseLengthSlider->SetScale([this](int p) { return m_pulseLength.MicrosecondsAt(p); },
                                      [this] { return m_pulseLength.Microseconds(); }, *m_ui->pulseLengthValue);
}

// Limits

void QX5SonarSettingsPage::RefreshControls()
{
    ApplyLimits();
    SelectOperationMode(deviceEnum);
    m_forceUpdate = true;
    UpdateRange(m_range);
    UpdatePower(m_power);
    UpdatePingRate(m_maxPingRate, m_pingOnOffState);
    UpdateGainMode(m_gainMode);
    UpdateGain(m_gain);
    UpdateBeamWidth(NarrowToFloat(beamWidthX), NarrowToFloat(beamWidthZ));
    UpdatePulseLength(m_pulseLength.Seconds());
    UpdateBeamSteering(m_steerVertical, m_steerHorizontal);
    m_forceUpdate = false;
}

void QX5SonarSettingsPage::ApplyLimits()
{
    m_ui->pingOnlyWhenScanningBox->setVisible(m_mountedOnPanAndTilt > 0);

    auto const steps = static_cast<int>(std::min<std::size_t>(limits.rangeSet.size(), 1U << 30));
    m_ui->rangeSlider->setRange(0, std::max(steps - 1, 0));
    m_ui->rangeSlider->setValue(0);
    m_ui->powerSlider->setRange(
        0, TruncateToInt32(std::floor(limits.powerMax + 0.001) - std::floor(limits.powerMin + 0.001) + 1.0));
    m_ui->powerSlider->setValue(10);
    m_ui->pulseLengthSlider->setRange(0, qx5::PulseLengthScale::Steps);
    if (!m_pulseLength.IsKnown()) {
        m_ui->pulseLengthSlider->setValue(1000);
    }
    m_ui->pulseTypeList->setCurrentIndex(m_pulseType);
    m_ui->pulseTypeList->setEnabled(limits.chirp != 0);
    ApplyBeamLimits();
    ApplyPingRateLimits();
    m_ui->timeVariedGainButton->setEnabled(limits.fixedGainAvailable);
    m_ui->fixedGainButton->setEnabled(limits.fixedGainAvailable);
    UpdateGainMode(m_gainMode);
    m_ui->rangeLeast->setText(FixedText(limits.rangeMin, 1));
    m_ui->rangeGreatest->setText(FixedText(limits.rangeMax, 1));
    m_ui->rangeValue->setText(FixedText(m_range, 1) + QStringLiteral(" m"));
    m_ui->powerGreatest->setText(FixedText(limits.powerMax, 0));
    // The value at position 10.
    m_ui->powerValue->setText(FixedText(limits.powerMin + 9.0, 0) + QStringLiteral(" dB"));
    ApplyPulseLengthLimits();
    FillOperationModes();
}

void QX5SonarSettingsPage::ApplyBeamLimits()
{
    m_ui->beamWidthSlider->setRange(0, limits.beamWidthXCount - 1);
    m_ui->beamWidthSlider->setValue(0);
    if (limits.steerMaxX > 0.0F) {
        m_ui->verticalSteeringSlider->setRange(TruncateToInt32(4.0 * std::floor(limits.steerMinX + 0.01)),
                                               TruncateToInt32(4.0 * std::floor(limits.steerMaxX + 0.01)));
        m_ui->verticalSteeringSlider->setValue(0);
    }
    for (QWidget* control :
         {static_cast<QWidget*>(m_ui->beamWidthSlider), static_cast<QWidget*>(m_ui->beamWidthValue),
          static_cast<QWidget*>(m_ui->beamWidthLeast), static_cast<QWidget*>(m_ui->beamWidthGreatest),
          static_cast<QWidget*>(m_ui->beamWidthCaption)}) {
        control->setVisible(limits.beamWidthVariable);
    }
    if (limits.beamWidthVariable) {
        m_ui->beamWidthValue->setText(Degrees(beamWidthX, 1));
    }
    m_ui->beamWidthLeast->setText(Degrees(limits.beamWidthXMin, 1));
    m_ui->beamWidthGreatest->setText(Degrees(limits.beamWidthXMax, 1));
    for (QWidget* control :
         {static_cast<QWidget*>(m_ui->verticalSteeringSlider), static_cast<QWidget*>(m_ui->verticalSteeringLeast),
          static_cast<QWidget*>(m_ui->verticalSteeringGreatest), static_cast<QWidget*>(m_ui->verticalSteeringValue),
          static_cast<QWidget*>(m_ui->verticalSteeringCaption)}) {
        control->setVisible(limits.steerable);
    }
    m_ui->verticalSteeringLeast->setText(Degrees(limits.steerMinX, 0));
    m_ui->verticalSteeringGreatest->setText(Degrees(limits.steerMaxX, 0));
}

void QX5SonarSettingsPage::ApplyPingRateLimits()
{
    // Whatever the sonar says: the operator must be able to stop it.
    limits.pingRateMin = 0.0F;
    if (limits.freeRun) {
        m_ui->pingRateSlider->setRange(0, 1);
        m_ui->pingRateSlider->setValue(1);
        m_ui->pingRateGreatest->setText(QStringLiteral("MAX"));
        m_ui->pingRateLeast->setText(QStringLiteral("OFF"));
    } else {
        float const steps = limits.pingRateRatio * limits.pingRateMax;
        m_ui->pingRateSlider->setRange(0, FloorToInt(steps));
        m_ui->pingRateSlider->setValue(50);
        m_ui->pingRateGreatest->setText(FixedText(limits.pingRateMax, 0));
        m_ui->pingRateLeast->setText(FixedText(limits.pingRateMin, 0));
    }
}

void QX5SonarSettingsPage::ApplyPulseLengthLimits()
{
    if (limits.pulseLengthMax < 0.001) {
        m_ui->pulseLengthLeast->setText(FixedText(limits.pulseLengthMin * 1e6, 0) + QStringLiteral(" \u00B5s"));
        m_ui->pulseLengthGreatest->setText(FixedText(limits.pulseLengthMax * 1e6, 0) + QStringLiteral(" \u00B5s"));
    } else {
        m_ui->pulseLengthLeast->setText(FixedText(limits.pulseLengthMin * 1000.0, 2) + QStringLiteral(" ms"));
        m_ui->pulseLengthGreatest->setText(FixedText(limits.pulseLengthMax * 1000.0, 1) + QStringLiteral(" ms"));
    }
}

void QX5SonarSettingsPage::FillOperationModes()
{
    QSignalBlocker const quiet(m_ui->operationModeList);
    m_ui->operationModeList->clear();
    for (auto const& [name, enumerator] : operationModes) {
        m_ui->operationModeList->addItem(name, enumerator);
    }
    m_ui->operationModeList->setCurrentIndex(-1);
}

// Values

void QX5SonarSettingsPage::SelectOperationMode(int enumerator)
{
    for (int i = 0; i < m_ui->operationModeList->count(); ++i) {
        if (m_ui->operationModeList->itemData(i).toInt() == enumerator) {
            m_ui->operationModeList->setCurrentIndex(i);
            return;
        }
    }
}

void QX5SonarSettingsPage::EnableOperationModes(bool enabled)
{
    m_ui->operationModeList->setEnabled(enabled);
}

void QX5SonarSettingsPage::UpdateRange(float metres)
{
    if (!m_forceUpdate && metres == m_range) {
        return;
    }
    m_range = metres;
    m_ui->rangeSlider->setValue(PositionInList(limits.rangeSet, limits.rangeSet.size(), metres));
    m_ui->rangeValue->setText(FixedText(metres, 1) + QStringLiteral(" m"));
}

void QX5SonarSettingsPage::ShowPower(bool off, double decibel)
{
    m_ui->powerValue->setText(off ? QStringLiteral("OFF") : FixedText(decibel, 0) + QStringLiteral(" dB"));
}

void QX5SonarSettingsPage::UpdatePower(float decibel)
{
    if (!m_forceUpdate && decibel == m_power) {
        return;
    }
    m_power = decibel;
    bool const off = decibel < 0.1;
    m_ui->powerSlider->setValue(off ? 0 : TruncateToInt32(std::floor(decibel) - limits.powerMin + 1.0));
    ShowPower(off, decibel);
}

void QX5SonarSettingsPage::UpdatePingRate(float pingsPerSecond, unsigned state)
{
    if (!m_forceUpdate && pingsPerSecond == m_maxPingRate && state == m_pingOnOffState) {
        return;
    }
    m_pingOnOffState = state;
    m_maxPingRate = pingsPerSecond < 0.0F ? 0.0F : pingsPerSecond;
    float const steps = limits.pingRateRatio * pingsPerSecond;
    if (state == 0 || steps < 1.0F) {
        m_ui->pingRateSlider->setValue(0);
        m_ui->pingRateValue->setText(QStringLiteral("OFF"));
        return;
    }
    float const position = limits.pingRateRatio * m_maxPingRate;
    m_ui->pingRateSlider->setValue(FloorToInt(position));
    m_ui->pingRateValue->setText(limits.freeRun ? QStringLiteral("MAX")
                                                : FixedText(m_maxPingRate, 1) + QStringLiteral(" p/s"));
}

void QX5SonarSettingsPage::UpdateGainMode(int mode)
{
    if (!m_forceUpdate && mode == m_gainMode) {
        return;
    }
    m_gainMode = mode;
    qx5::SetChecked(*m_ui->timeVariedGainButton, mode == gainModeTimeVaried);
    qx5::SetChecked(*m_ui->fixedGainButton, mode == gainModeFixed);
    double const least = mode == gainModeFixed ? limits.fixedGainMin : limits.gainMin;
    double const greatest = mode == gainModeFixed ? limits.fixedGainMax : limits.gainMax;
    m_ui->gainSlider->setRange(FloorToInt(least + 0.001), FloorToInt(greatest + 0.001));
    m_ui->gainSlider->setValue(FloorToInt(m_gain));
    m_ui->gainLeast->setText(FixedText(least, 1));
    m_ui->gainGreatest->setText(FixedText(greatest, 1));
}

void QX5SonarSettingsPage::UpdateGain(float decibel)
{
    if (!m_forceUpdate && decibel == m_gain) {
        return;
    }
    m_gain = decibel;
    m_ui->gainSlider->setValue(FloorToInt(decibel));
    m_ui->gainValue->setText(FixedText(decibel, 1) + QStringLiteral(" dB"));
}

void QX5SonarSettingsPage::UpdateBeamWidth(float x, float z)
{
    if (!m_forceUpdate && x == beamWidthX && z == beamWidthZ) {
        return;
    }
    beamWidthX = x;
    beamWidthZ = z;
    m_ui->beamWidthSlider->setValue(
        PositionInList(limits.beamWidthXList, static_cast<std::size_t>(limits.beamWidthXCount), x + 0.001));
    m_ui->beamWidthValue->setText(Degrees(x, 1));
}

void QX5SonarSettingsPage::UpdateBeamSteering(float vertical, float horizontal)
{
    if (!m_forceUpdate && vertical == m_steerVertical && horizontal == m_steerHorizontal) {
        return;
    }
    // The minima are offered when limits arrive; they must not replace a value that the sonar has told.
    bool const areMinima = vertical == limits.steerMinX && horizontal == limits.steerMinZ;
    if (areMinima && m_steerVertical != -1.0F && m_steerHorizontal != -1.0F) {
        return;
    }
    m_steerVertical = vertical;
    m_steerHorizontal = horizontal;
    m_ui->verticalSteeringSlider->setValue(TruncateToInt32(4.0F * vertical));
    m_ui->verticalSteeringValue->setText(Degrees(vertical, 2));
}

void QX5SonarSettingsPage::SelectPulseType(int type)
{
    m_pulseType = type;
    m_ui->pulseTypeList->setCurrentIndex(type);
}

void QX5SonarSettingsPage::UpdatePulseLength(float seconds)
{
    if (m_pulseUpdatesToIgnore >= 1) {
        --m_pulseUpdatesToIgnore;
        return;
    }
    if (!m_forceUpdate && seconds == m_pulseLength.Seconds()) {
        return;
    }
    if (TruncateToInt32(seconds) == -1) {
        return;
    }
    m_pulseLength.Set(seconds, limits.pulseLengthMin, limits.pulseLengthMax);
    ShowPulseLength();
    m_ui->pulseLengthSlider->setValue(m_pulseLength.Position());
}

void QX5SonarSettingsPage::ShowPulseLength()
{
    m_ui->pulseLengthValue->setText(m_pulseLength.Text());
}

void QX5SonarSettingsPage::ShowGates(bool depth, bool range, bool adaptive)
{
    m_ui->depthGateButton->setChecked(depth);
    m_ui->rangeGateButton->setChecked(range);
    m_ui->adaptiveGateButton->setChecked(adaptive);
}

void QX5SonarSettingsPage::ShowScanOption(int mounted, bool pingOnlyDuringScan)
{
    m_mountedOnPanAndTilt = mounted;
    m_ui->pingOnlyWhenScanningBox->setVisible(mounted > 0);
    m_ui->pingOnlyWhenScanningBox->setChecked(pingOnlyDuringScan);
}

void QX5SonarSettingsPage::UpdateTrackerLocks(CAttributeMap const& tree)
{
    bool const tracks = qx5::IsTracking(tree);
    bool const powerGain = tracks && ReadValue<keys::x5TrackerPowerGainEnabled>(tree, false);
    qx5::LockByTracker(*m_ui->gainSlider, powerGain);
    qx5::LockByTracker(*m_ui->powerSlider, powerGain);
    qx5::LockByTracker(*m_ui->rangeSlider, tracks && ReadValue<keys::x5TrackerRangeEnabled>(tree, false));
    qx5::LockByTracker(*m_ui->pulseLengthSlider, tracks && ReadValue<keys::x5TrackerPulseLengthEnabled>(tree, false));
}

// What the operator does. In a slider event the value is stored and shown, then requested, and the slider follows last:
// the echo reaches this page within the request.

void QX5SonarSettingsPage::OnRangeScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const p = PositionAfter(*m_ui->rangeSlider, kind, position);
    if (p >= 0 && static_cast<std::size_t>(p) < limits.rangeSet.size()) {
        m_range = NarrowToFloat(limits.rangeSet[static_cast<std::size_t>(p)]);
    }
    m_ui->rangeValue->setText(FixedText(m_range, 1) + QStringLiteral(" m"));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5Range.text, CVordalDouble(m_range));
    }
    m_ui->rangeSlider->setValue(p);
}

void QX5SonarSettingsPage::OnPowerScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const p = PositionAfter(*m_ui->powerSlider, kind, position);
    m_power = p == 0 ? 0.0F : NarrowToFloat(limits.powerMin + p - 1.0);
    ShowPower(p == 0, m_power);
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5Power.text, CVordalDouble(m_power));
    }
    m_ui->powerSlider->setValue(p);
}

void QX5SonarSettingsPage::OnGainScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const p = PositionAfter(*m_ui->gainSlider, kind, position);
    m_gain = static_cast<float>(p);
    m_ui->gainValue->setText(FixedText(m_gain, 1) + QStringLiteral(" dB"));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5Gain.text, CVordalDouble(m_gain));
    }
    m_ui->gainSlider->setValue(p);
}

void QX5SonarSettingsPage::OnBeamWidthScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const p = PositionAfter(*m_ui->beamWidthSlider, kind, position);
    beamWidthX = limits.beamWidthXList[static_cast<std::size_t>(std::clamp(p, 0, MaxBeamWidths - 1))];
    m_ui->beamWidthValue->setText(Degrees(beamWidthX, 1));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5BeamWidthX.text, CVordalDouble(beamWidthX));
    }
    m_ui->beamWidthSlider->setValue(p);
}

void QX5SonarSettingsPage::OnSteeringScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const p = PositionAfter(*m_ui->verticalSteeringSlider, kind, position, quarterDegreesPerPage);
    m_steerVertical = NarrowToFloat(p * 0.25);
    m_ui->verticalSteeringValue->setText(Degrees(m_steerVertical, 2));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5BeamSteer.text, CVordalDouble2D(m_steerVertical, m_steerHorizontal));
    }
    m_ui->verticalSteeringSlider->setValue(p);
}

void QX5SonarSettingsPage::OnPingRateScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        return;
    }
    int const p = PositionAfter(*m_ui->pingRateSlider, kind, position);
    if (kind == ScrollKind::EndOfScrolling) {
        // The rate that the event before this one left.
        m_device.SendRequestValue(keys::x5MaxPingRate.text, CVordalDouble(m_maxPingRate));
        if (m_maxPingRate > 0.0F && p != 0 && m_pingOnOffState == 0) {
            m_pingOnOffState = 1;
            m_device.SendRequestValue(keys::x5PingOnOffState.text, CVordalInt(1));
        }
    }
    // A sonar without a ratio has a slider without a way to go.
    m_maxPingRate = p == 0 ? 0.0F : static_cast<float>(p) / limits.pingRateRatio;
    m_ui->pingRateValue->setText(m_maxPingRate == 0.0F ? QStringLiteral("OFF")
                                 : limits.freeRun      ? QStringLiteral("MAX")
                                                       : FixedText(m_maxPingRate, 1) + QStringLiteral(" p/s"));
    m_ui->pingRateSlider->setValue(p);
}

void QX5SonarSettingsPage::OnPulseLengthScrolled(ScrollKind kind, int position)
{
    if (kind == ScrollKind::ThumbReleased) {
        // The end of scrolling, which follows, writes it again.
        m_ui->pulseLengthValue->clear();
        return;
    }
    m_pulseLength.Move(kind, position, limits.pulseLengthMin, limits.pulseLengthMax);
    ShowPulseLength();
    m_pulseUpdatesToIgnore = 2;
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5PulseLength.text, CVordalDouble(m_pulseLength.Seconds()));
    }
    m_ui->pulseLengthSlider->setValue(m_pulseLength.Position());
}

void QX5SonarSettingsPage::OnGainModeClicked(int mode)
{
    UpdateGainMode(mode);
    m_device.SendRequestValue(keys::x5GainMode.text, CVordalInt(m_gainMode));
}

void QX5SonarSettingsPage::OnGatesClicked()
{
    m_device.RequestGateEnables(m_ui->depthGateButton->isChecked(), m_ui->rangeGateButton->isChecked(),
                                m_ui->adaptiveGateButton->isChecked());
}
