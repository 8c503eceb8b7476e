// The page "Sonar Settings": the controls that an operator touches during a survey.
#pragma once

#include "ScrollSlider.h"
#include "pulse_length_scale.h"

#include <QWidget>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class CAttributeMap;

namespace qx5 {
class PageDevice;
}
namespace Ui {
class QX5SonarSettingsPage;
}

/// Turns slider positions into engineering values and back, and sends requests through the view. Each update moves the
/// controls only when the value has changed. Window thread.
class QX5SonarSettingsPage : public QWidget
{
public:
    /// No list of beam widths is longer.
    static constexpr int MaxBeamWidths = 10;

    /// What the sonar can do, as the view last read it; it reaches the controls by RefreshControls.
    struct Limits
    {
        double rangeMin = 0.0; ///< m
        double rangeMax = 0.0; ///< m
        /// The steps of the range slider in metres, ascending.
        std::vector<double> rangeSet;
        double powerMin = 0.0;    ///< dB
        double powerMax = 0.0;    ///< dB
        float pingRateMin = 0.0F; ///< pings per second
        float pingRateMax = 0.0F; ///< pings per second
        /// Steps of the slider for one ping per second.
        float pingRateRatio = 1.0F;
        /// The sonar pings as fast as it can and takes no rate.
        bool freeRun = false;
        double gainMin = 0.0; ///< dB, time-varied gain
        double gainMax = 0.0;
        bool fixedGainAvailable = false;
        double fixedGainMin = 0.0; ///< dB
        double fixedGainMax = 0.0;
        bool beamWidthVariable = false;
        bool beamWidthZVariable = false;
        std::array<double, MaxBeamWidths> beamWidthXList{}; ///< degrees
        std::array<double, MaxBeamWidths> beamWidthZList{};
        int beamWidthXCount = 1; ///< used entries, 1 to MaxBeamWidths
        int beamWidthZCount = 1;
        double beamWidthXMin = 0.0; ///< degrees
        double beamWidthXMax = 0.0;
        double beamWidthZMin = 0.0;
        double beamWidthZMax = 0.0;
        double pulseLengthMin = 0.0; ///< s
        double pulseLengthMax = 0.0;
        double frequencyMin = 0.0; ///< Hz; kept, not shown
        double frequencyMax = 0.0;
        double frequencyCenter = 0.0;
        /// Not 0: the pulse type may be chosen.
        int chirp = 0;
        float steerMinX = 0.0F; ///< degrees, vertical
        float steerMaxX = 0.0F;
        float steerMinZ = 0.0F; ///< degrees, horizontal
        float steerMaxZ = 0.0F;
        bool steerable = false;
    };

    QX5SonarSettingsPage(qx5::PageDevice& device, QWidget* parent);
    ~QX5SonarSettingsPage() override;

    Limits limits;
    /// Name and enumerator of each operation mode.
    std::vector<std::pair<QString, int>> operationModes;
    /// The enumerator to show.
    int deviceEnum = 0;
    /// Degrees; -1.0 while nothing was chosen. The second axis is kept, not shown.
    double beamWidthX = -1.0;
    double beamWidthZ = -1.0;

    /// Brings limits and stored values into the controls.
    void RefreshControls();
    /// Selects the first mode of that enumerator; without one the selection stays.
    void SelectOperationMode(int enumerator);
    void EnableOperationModes(bool enabled);
    void UpdateRange(float metres);
    void UpdatePower(float decibel);
    /// `state` 0: the sonar does not ping.
    void UpdatePingRate(float pingsPerSecond, unsigned state);
    /// 0 time-varied, 2 fixed; others neither.
    void UpdateGainMode(int mode);
    void UpdateGain(float decibel);
    /// Degrees.
    void UpdateBeamWidth(float x, float z);
    void UpdatePulseLength(float seconds);
    void SelectPulseType(int type);
    /// Degrees.
    void UpdateBeamSteering(float vertical, float horizontal);
    void ShowGates(bool depth, bool range, bool adaptive);
    /// `mounted`: greater than 0 when the sonar sits on a pan-and-tilt unit.
    void ShowScanOption(int mounted, bool pingOnlyDuringScan);
    /// Disables the sliders of what the tracker governs.
    void UpdateTrackerLocks(CAttributeMap const& tree);

private:
    using ScrollKind = qx5::ScrollKind;

    void ConnectControls();
    /// Tells the sliders what their positions stand for.
    void SetScales();
    void ApplyLimits();
    void ApplyPingRateLimits();
    void ApplyPulseLengthLimits();
    void ApplyBeamLimits();
    void FillOperationModes();

    void OnRangeScrolled(ScrollKind kind, int position);
    void OnPowerScrolled(ScrollKind kind, int position);
    void OnPingRateScrolled(ScrollKind kind, int position);
    void OnGainScrolled(ScrollKind kind, int position);
    void OnBeamWidthScrolled(ScrollKind kind, int position);
    void OnSteeringScrolled(ScrollKind kind, int position);
    void OnPulseLengthScrolled(ScrollKind kind, int position);
    void OnGainModeClicked(int mode);
    void OnGatesClicked();

    void ShowPower(bool off, double decibel);
    void ShowPulseLength();

    qx5::PageDevice& m_device;
    std::unique_ptr<Ui::QX5SonarSettingsPage> m_ui;
    bool m_forceUpdate = false;
    unsigned m_pingOnOffState = 0;
    /// Values of the sonar that are dropped because the operator has just moved the slider.
    int m_pulseUpdatesToIgnore = 0;
    float m_range = 0.0F;       ///< m
    float m_power = 0.0F;       ///< dB, 0 is off
    float m_maxPingRate = 0.0F; ///< pings per second
    int m_gainMode = -1;
    float m_gain = 0.0F; ///< dB
    qx5::PulseLengthScale m_pulseLength;
    int m_pulseType = 0;
    float m_steerVertical = -1.0F;   ///< degrees; -1.0 means no value yet
    float m_steerHorizontal = -1.0F; ///< degrees; -1.0 means no value yet
    int m_mountedOnPanAndTilt = 0;
};
