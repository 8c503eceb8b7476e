// The page "Ocean Menu": how its controls stand for absorption, spreading loss and sound velocity.
#include "QX5OceanMenuPage.h"

#include "page_controls.h"
#include "page_device.h"
#include "ui_QX5OceanMenuPage.h"
#include "value_text.h"

#include <VordalAttributesR/CVordalType.h>
#include <VordalBaseR/Formatting.h>

#include <protocol/records/all.h>

namespace keys = qx5::protocol::keys;

using qx5::FixedText;
using qx5::FloorToInt;
using qx5::PositionAfter;
using qx5::ScrollKind;
using qx5::ScrollSlider;
using qx5::protocol::TruncateToInt32;

namespace {

QString AbsorptionText(float value)
{
    return FixedText(value, 1) + QStringLiteral(" dB/km");
}

QString SpreadingText(float value)
{
    return FixedText(value, 1) + QStringLiteral(" dB");
}

QString SoundVelocityText(float value)
{
    return FixedText(value, 1) + QStringLiteral(" m/s");
}

QString LimitText(double value)
{
    return qx5::ToQString(FormatDouble(value, 0, 0));
}

} // namespace

QX5OceanMenuPage::QX5OceanMenuPage(qx5::PageDevice& device, QWidget* parent)
    : QWidget(parent), m_device(device), m_ui(std::make_unique<Ui::QX5OceanMenuPage>())
{
    m_ui->setupUi(this);
    qx5::FillList(*m_ui->soundVelocityFilterList, QStringLiteral("None,Light,Normal,Wizard"));
    qx5::LeaveWheelToPage(*m_ui->soundVelocityFilterList);
    qx5::ReserveWidth(*m_ui->absorptionValue, AbsorptionText(120.0F));
    m_ui->soundVelocityFilterCaption->setVisible(false);
    m_ui->soundVelocityFilterList->setVisible(false);
    m_ui->absorptionSlider->setRange(0, 120);
    m_ui->absorptionSlider->setValue(70);
    m_ui->spreadingSlider->setRange(0, 60);
    m_ui->spreadingSlider->setValue(30);
    m_ui->soundVelocitySlider->setRange(1400, 1600);
    m_ui->soundVelocitySlider->setValue(1500);
    m_ui->soundVelocitySlider->setEnabled(false);
    // Until it is initialised the page stores values and leaves its controls alone.
    m_forceUpdate = true;
    UpdateAbsorption(m_absorption);
    UpdateSpreading(m_spreading);
    UpdateSoundVelocity(m_soundVelocity);
    SetOverride(m_soundVelocityOverride);
    m_initialised = true;
    m_forceUpdate = false;

    m_ui->absorptionSlider->SetScale(
        {}, [this] { return double{m_absorption}; }, *m_ui->absorptionValue);
    m_ui->spreadingSlider->SetScale(
        {}, [this] { return double{m_spreading}; }, *m_ui->spreadingValue);
    m_ui->soundVelocitySlider->SetScale(
        {}, [this] { return double{m_soundVelocity}; }, *m_ui->soundVelocityValue);
    connect(m_ui->absorptionSlider, &ScrollSlider::Scrolled, this, &QX5OceanMenuPage::OnAbsorptionScrolled);
    connect(m_ui->spreadingSlider, &ScrollSlider::Scrolled, this, &QX5OceanMenuPage::OnSpreadingScrolled);
    connect(m_ui->soundVelocitySlider, &ScrollSlider::Scrolled, this, &QX5OceanMenuPage::OnSoundVelocityScrolled);
    connect(m_ui->overrideSoundVelocityBox, &QCheckBox::clicked, this, &QX5OceanMenuPage::OnOverrideClicked);
    connect(m_ui->soundVelocityFilterList, &QComboBox::activated, this, &QX5OceanMenuPage::OnFilterChosen);
}

QX5OceanMenuPage::~QX5OceanMenuPage() = default;

void QX5OceanMenuPage::UpdateAbsorption(float decibelPerKilometre)
{
    if (!m_forceUpdate && decibelPerKilometre == m_absorption) {
        return;
    }
    m_absorption = decibelPerKilometre;
    if (m_initialised) {
        m_ui->absorptionValue->setText(AbsorptionText(m_absorption));
        m_ui->absorptionSlider->setValue(FloorToInt(m_absorption));
    }
}

void QX5OceanMenuPage::UpdateSpreading(float decibel)
{
    if (!m_forceUpdate && decibel == m_spreading) {
        return;
    }
    m_spreading = decibel;
    if (m_initialised) {
        m_ui->spreadingValue->setText(SpreadingText(m_spreading));
        m_ui->spreadingSlider->setValue(FloorToInt(m_spreading));
    }
}

void QX5OceanMenuPage::UpdateSoundVelocity(float metresPerSecond)
{
    if (!m_forceUpdate && metresPerSecond == m_soundVelocity) {
        return;
    }
    m_soundVelocity = metresPerSecond;
    if (m_initialised) {
        m_ui->soundVelocityValue->setText(SoundVelocityText(m_soundVelocity));
        // Without override the label follows the sensor and the slider stays.
        if (m_ui->soundVelocitySlider->isEnabledTo(this)) {
            m_ui->soundVelocitySlider->setValue(FloorToInt(m_soundVelocity));
        }
    }
}

void QX5OceanMenuPage::SetOverride(bool on)
{
    if (!m_forceUpdate && on == m_soundVelocityOverride) {
        return;
    }
    m_soundVelocityOverride = on;
    ShowOverride();
}

void QX5OceanMenuPage::RefreshOverride(bool on)
{
    m_soundVelocityOverride = on;
    ShowOverride();
}

void QX5OceanMenuPage::ShowOverride()
{
    if (!m_initialised) {
        return;
    }
    m_ui->overrideSoundVelocityBox->setChecked(m_soundVelocityOverride);
    m_ui->soundVelocitySlider->setEnabled(m_soundVelocityOverride);
    if (m_soundVelocityOverride) {
        m_ui->soundVelocitySlider->setValue(FloorToInt(m_soundVelocity));
    }
}

void QX5OceanMenuPage::ShowSoundVelocityFilter(int filter)
{
    bool const offered = filter > 0;
    m_ui->soundVelocityFilterCaption->setVisible(offered);
    m_ui->soundVelocityFilterList->setVisible(offered);
    if (offered) {
        m_ui->soundVelocityFilterList->setCurrentIndex(filter - 1);
    }
}

void QX5OceanMenuPage::SetSoundVelocityLimits(double least, double greatest)
{
    m_ui->soundVelocitySlider->setRange(TruncateToInt32(least), TruncateToInt32(greatest));
    m_ui->soundVelocitySlider->setValue(FloorToInt(m_soundVelocity));
    m_ui->soundVelocityLeast->setText(LimitText(least));
    m_ui->soundVelocityGreatest->setText(LimitText(greatest));
}

void QX5OceanMenuPage::SetMaxAbsorption(double decibelPerKilometre)
{
    m_ui->absorptionSlider->setRange(0, TruncateToInt32(decibelPerKilometre));
    m_ui->absorptionSlider->setValue(FloorToInt(m_absorption));
    m_ui->absorptionGreatest->setText(LimitText(decibelPerKilometre));
}

void QX5OceanMenuPage::SetMaxSpreading(double decibel)
{
    m_ui->spreadingSlider->setRange(0, TruncateToInt32(decibel));
    m_ui->spreadingSlider->setValue(FloorToInt(m_spreading));
    m_ui->spreadingGreatest->setText(LimitText(decibel));
}

void QX5OceanMenuPage::LockLosses(bool locked)
{
    qx5::LockByTracker(*m_ui->absorptionSlider, locked);
    qx5::LockByTracker(*m_ui->spreadingSlider, locked);
}

// What the operator does. Unlike on other pages the release of the thumb is a move.

namespace {

int OceanPosition(ScrollSlider const& slider, ScrollKind kind, int position)
{
    return PositionAfter(slider, kind == ScrollKind::ThumbReleased ? ScrollKind::ThumbMoving : kind, position);
}

} // namespace

void QX5OceanMenuPage::OnAbsorptionScrolled(ScrollKind kind, int position)
{
    int const p = OceanPosition(*m_ui->absorptionSlider, kind, position);
    m_absorption = static_cast<float>(p);
    m_ui->absorptionValue->setText(AbsorptionText(m_absorption));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5Absorption.text, CVordalDouble(m_absorption));
    }
    m_ui->absorptionSlider->setValue(p);
}

void QX5OceanMenuPage::OnSpreadingScrolled(ScrollKind kind, int position)
{
    int const p = OceanPosition(*m_ui->spreadingSlider, kind, position);
    m_spreading = static_cast<float>(p);
    m_ui->spreadingValue->setText(SpreadingText(m_spreading));
    if (kind == ScrollKind::EndOfScrolling) {
        m_device.SendRequestValue(keys::x5SpreadingLoss.text, CVordalDouble(m_spreading));
    }
    m_ui->spreadingSlider->setValue(p);
}

void QX5OceanMenuPage::OnSoundVelocityScrolled(ScrollKind kind, int position)
{
    int const p = OceanPosition(*m_ui->soundVelocitySlider, kind, position);
    m_soundVelocity = static_cast<float>(p);
    m_ui->soundVelocityValue->setText(SoundVelocityText(m_soundVelocity));
    if (kind == ScrollKind::EndOfScrolling) {
        SendSoundVelocity();
    }
    m_ui->soundVelocitySlider->setValue(p);
}

void QX5OceanMenuPage::OnOverrideClicked()
{
    SetOverride(m_ui->overrideSoundVelocityBox->isChecked());
    SendSoundVelocity();
}

void QX5OceanMenuPage::OnFilterChosen(int index)
{
    if (index >= 0) {
        m_device.SendRequestValue(keys::x5SoundVelocityFilter.text, CVordalInt(index + 1));
    }
}

void QX5OceanMenuPage::SendSoundVelocity()
{
    m_device.RequestSoundVelocity(m_soundVelocity, m_soundVelocityOverride);
}
