// The page "Ocean Menu": how its controls stand for absorption, spreading loss and sound velocity.
#include "QX5OceanMenuPage.h"

#include "QX5SonarConfigurationView.h"
#include "page_controls.h"
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

QX5OceanMenuPage::QX5OceanMenuPage(QX5SonarConfigurationView& view, QWidget* parent)
    : QWidget(parent), m_view(view), m_ui(std::make_unique<Ui::QX5OceanMenuPage>())
{
    m_ui->setupUi(this);
    qx5::FillList(*m_ui->id28105, QStringLiteral("None,Light,Normal,Wizard"));
    qx5::LeaveWheelToPage(*m_ui->id28105);
    qx5::ReserveWidth(*m_ui->id16924, AbsorptionText(120.0F));
    m_ui->id28106->setVisible(false);
    m_ui->id28105->setVisible(false);
    m_ui->id16920->setRange(0, 120);
    m_ui->id16920->setValue(70);
    m_ui->id16922->setRange(0, 60);
    m_ui->id16922->setValue(30);
    m_ui->id16921->setRange(1400, 1600);
    m_ui->id16921->setValue(1500);
    m_ui->id16921->setEnabled(false);
    // The controls stand where the form has them until the sonar tells.

    connect(m_ui->id16920, &ScrollSlider::Scrolled, this, &QX5OceanMenuPage::OnAbsorptionScrolled);
    connect(m_ui->id16922, &ScrollSlider::Scrolled, this, &QX5OceanMenuPage::OnSpreadingScrolled);
    connect(m_ui->id16921, &ScrollSlider::Scrolled, this, &QX5OceanMenuPage::OnSoundVelocityScrolled);
    connect(m_ui->id28092, &QCheckBox::clicked, this, &QX5OceanMenuPage::OnOverrideClicked);
    connect(m_ui->id28105, &QComboBox::activated, this, &QX5OceanMenuPage::OnFilterChosen);
}

QX5OceanMenuPage::~QX5OceanMenuPage() = default;

void QX5OceanMenuPage::UpdateAbsorption(float decibelPerKilometre)
{
    if (decibelPerKilometre == m_absorption) {
        return;
    }
    m_absorption = decibelPerKilometre;
    m_ui->id16924->setText(AbsorptionText(m_absorption));
    m_ui->id16920->setValue(FloorToInt(m_absorption));
}

void QX5OceanMenuPage::UpdateSpreading(float decibel)
{
    if (decibel == m_spreading) {
        return;
    }
    m_spreading = decibel;
    m_ui->id16925->setText(SpreadingText(m_spreading));
    m_ui->id16922->setValue(FloorToInt(m_spreading));
}

void QX5OceanMenuPage::UpdateSoundVelocity(float metresPerSecond)
{
    if (metresPerSecond == m_soundVelocity) {
        return;
    }
    m_soundVelocity = metresPerSecond;
    m_ui->id16923->setText(SoundVelocityText(m_soundVelocity));
    // Without override the label follows the sensor and the slider stays.
    if (m_ui->id16921->isEnabledTo(this)) {
        m_ui->id16921->setValue(FloorToInt(m_soundVelocity));
    }
}

void QX5OceanMenuPage::SetOverride(bool on)
{
    m_soundVelocityOverride = on;
    m_ui->id28092->setChecked(m_soundVelocityOverride);
    m_ui->id16921->setEnabled(m_soundVelocityOverride);
    if (m_soundVelocityOverride) {
        m_ui->id16921->setValue(FloorToInt(m_soundVelocity));
    }
}

void QX5OceanMenuPage::ShowSoundVelocityFilter(int filter)
{
    bool const offered = filter > 0;
    m_ui->id28106->setVisible(offered);
    m_ui->id28105->setVisible(offered);
    if (offered) {
        m_ui->id28105->setCurrentIndex(filter - 1);
    }
}

void QX5OceanMenuPage::SetSoundVelocityLimits(double least, double greatest)
{
    m_ui->id16921->setRange(TruncateToInt32(least), TruncateToInt32(greatest));
    m_ui->id16921->setValue(FloorToInt(m_soundVelocity));
    m_ui->id28129->setText(LimitText(least));
    m_ui->id28130->setText(LimitText(greatest));
}

void QX5OceanMenuPage::SetMaxAbsorption(double decibelPerKilometre)
{
    m_ui->id16920->setRange(0, TruncateToInt32(decibelPerKilometre));
    m_ui->id16920->setValue(FloorToInt(m_absorption));
    m_ui->id28131->setText(LimitText(decibelPerKilometre));
}

void QX5OceanMenuPage::SetMaxSpreading(double decibel)
{
    m_ui->id16922->setRange(0, TruncateToInt32(decibel));
    m_ui->id16922->setValue(FloorToInt(m_spreading));
    m_ui->id28132->setText(LimitText(decibel));
}

void QX5OceanMenuPage::LockLosses(bool locked)
{
    m_ui->id16920->setEnabled(!locked);
    m_ui->id16922->setEnabled(!locked);
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
    int const p = OceanPosition(*m_ui->id16920, kind, position);
    m_absorption = static_cast<float>(p);
    m_ui->id16924->setText(AbsorptionText(m_absorption));
    if (kind == ScrollKind::EndOfScrolling) {
        m_view.SendRequestValue(keys::x5Absorption.text, CVordalDouble(m_absorption));
    }
    m_ui->id16920->setValue(p);
}

void QX5OceanMenuPage::OnSpreadingScrolled(ScrollKind kind, int position)
{
    int const p = OceanPosition(*m_ui->id16922, kind, position);
    m_spreading = static_cast<float>(p);
    m_ui->id16925->setText(SpreadingText(m_spreading));
    if (kind == ScrollKind::EndOfScrolling) {
        m_view.SendRequestValue(keys::x5SpreadingLoss.text, CVordalDouble(m_spreading));
    }
    m_ui->id16922->setValue(p);
}

void QX5OceanMenuPage::OnSoundVelocityScrolled(ScrollKind kind, int position)
{
    int const p = OceanPosition(*m_ui->id16921, kind, position);
    m_soundVelocity = static_cast<float>(p);
    m_ui->id16923->setText(SoundVelocityText(m_soundVelocity));
    if (kind == ScrollKind::EndOfScrolling) {
        SendSoundVelocity();
    }
    m_ui->id16921->setValue(p);
}

void QX5OceanMenuPage::OnOverrideClicked()
{
    SetOverride(m_ui->id28092->isChecked());
    SendSoundVelocity();
}

void QX5OceanMenuPage::OnFilterChosen(int index)
{
    if (index >= 0) {
        m_view.SendRequestValue(keys::x5SoundVelocityFilter.text, CVordalInt(index + 1));
    }
}

void QX5OceanMenuPage::SendSoundVelocity()
{
    m_view.RequestSoundVelocity(m_soundVelocity, m_soundVelocityOverride);
}
