// The page "Ocean Menu": what the sonar is told about the water.
#pragma once

#include "ScrollSlider.h"

#include <QWidget>

#include <memory>

class QLabel;

namespace qx5 {
class PageDevice;
}
namespace Ui {
class QX5OceanMenuPage;
}

/// Absorption, spreading loss and sound velocity. Each update moves the controls only when the value has changed.
/// Window thread.
class QX5OceanMenuPage : public QWidget
{
public:
    QX5OceanMenuPage(qx5::PageDevice& device, QWidget* parent);
    ~QX5OceanMenuPage() override;

    void UpdateSoundVelocity(float metresPerSecond);
    void UpdateAbsorption(float decibelPerKilometre);
    void UpdateSpreading(float decibel);
    /// Whether the operator's sound velocity holds rather than the sensor's.
    void SetOverride(bool on);
    /// The same, and the controls follow in any case.
    void RefreshOverride(bool on);
    /// 0 when the sonar has no such filter, otherwise 1 more than the index of the list.
    void ShowSoundVelocityFilter(int filter);
    /// Limits of the sound velocity slider in metres per second.
    void SetSoundVelocityLimits(double least, double greatest);
    void SetMaxAbsorption(double decibelPerKilometre);
    void SetMaxSpreading(double decibel);
    /// While the tracker governs absorption and spreading their sliders are disabled.
    void LockLosses(bool locked);

private:
    void OnAbsorptionScrolled(qx5::ScrollKind kind, int position);
    void OnSpreadingScrolled(qx5::ScrollKind kind, int position);
    void OnSoundVelocityScrolled(qx5::ScrollKind kind, int position);
    void OnOverrideClicked();
    void OnFilterChosen(int index);
    void SendSoundVelocity();
    void ShowOverride();

    qx5::PageDevice& m_device;
    std::unique_ptr<Ui::QX5OceanMenuPage> m_ui;
    bool m_initialised = false;
    bool m_forceUpdate = false;
    float m_soundVelocity = 1500.0F; ///< m/s
    bool m_soundVelocityOverride = false;
    float m_absorption = 0.0F; ///< dB/km
    float m_spreading = 0.0F;  ///< dB
};
