// Finds the bottom in what one beam has heard: within gates, by the centre of mass of the echo's amplitude.
//
// How exact a depth then is, on a flat bottom: the amplitude of an echo from many scatterers fluctuates as Rayleigh's,
// by sqrt(4/pi - 1) = 0.52 of its mean. The centre of mass of an echo of width W (m of range) of n pieces that
// fluctuate each for itself deviates by 0.52 W / sqrt(12 n): with pieces of length l,
//   range: 0.15 sqrt(W l),  depth: the same x cos(angle).
// That is the way in which Lurton and Augustin, "A Measurement Quality Factor for Swath Bathymetry Sounders", IEEE J.
// Oceanic Eng. 35 (2010), look at detection by amplitude. W is what the beam spreads on the bottom, what the pulse
// takes and what a sample takes, W^2 = (range x tan(angle) x width of the beam)^2 + (c x pulse / 2)^2 + (sample)^2, and
// l two thirds of the pulse's c x pulse / 2, or the distance of samples where that is more. It holds where an echo has
// more than one such piece: a long pulse straight below deviates less.
#pragma once

#include "ping_echoes.h"
#include "ping_settings.h"

#include <limits>
#include <span>
#include <vector>

namespace qx5::acoustics {

/// The gates that act on one ping, as ranges and depths in m below the sonar.
struct Gate
{
    static constexpr double Unlimited = std::numeric_limits<double>::infinity();
    Interval range{-Unlimited, Unlimited};
    Interval depth{-Unlimited, Unlimited};
    double tilt = 0.0; ///< degrees

    /// What of a beam lies within: ranges, for the sines of its direction across and along track. Empty (least above
    /// greatest) where nothing does.
    Interval RangesOf(double sineAcross, double sineAlong) const;
};

/// `bottom` is the depth at which the ping before found it, 0 where it did not: a gate that follows then opens to its
/// limits as set.
Gate GateInForce(GateSettings const& settings, double bottom);

/// The standard deviation of a depth in m by the model above: angles in degrees, m of range, pulse and distance of
/// samples in m of range (c x s / 2).
double DepthDeviation(double range, double angle, double beamWidth, double pulse, double sampleDistance);

/// One beam, as the sonar knows it.
struct DetectedBeam
{
    std::uint16_t number = 0;
    float angle = 0.0F; ///< degrees across track, off the vertical
    double width = 0.0; ///< degrees, as it is steered
    Interval samples;   ///< places of samples within the gates; the middle of the first sample is 0.5
};

/// Keeps its memory from ping to ping. For one thread at a time.
class Detector
{
public:
    /// For settings that are good: `pulse` in samples, `together` the samples that share their speckle, absorption in
    /// dB/km, and for each sample the mean intensity of noise, gain included.
    void Prepare(PingSettings const& settings, Sampling const& sampling, double pulse, std::size_t together,
                 double absorption, std::span<float const> noise);
    /// To be called before the beams of a ping, with the intensities that side lobes alone let any beam hear, one a
    /// sample: what is no louder is not taken for the bottom.
    void Begin(std::span<float const> sideLobes);
    /// Appends what it finds: with multi-detection off one detection or none. One intensity a sample, gain included.
    void Detect(DetectedBeam const& beam, std::span<float const> intensities, std::vector<Detection>& detections);
    /// To be called after them: where levels change from beam to beam, each has been drawn towards its louder
    /// neighbours, and is put back by as much.
    void Finish(std::vector<Detection>& detections) const;

private:
    struct Peak
    {
        std::size_t sample;
        float excess; ///< of the mean amplitude over the threshold
        float threshold;
    };
    /// The bottom, as one beam has found it.
    struct Found
    {
        double angle;
        double width;
        Interval samples;
        std::size_t detection;
        double logAmplitude; ///< made up for what is lost on the way
    };
    static double BySine(std::span<double const> table, float angle);
    std::size_t HalfWindow(std::size_t sample, float spread) const;
    bool FindPeak(std::size_t from, std::size_t to, float spread, std::span<float const> thresholds, Peak& peak) const;
    struct Mass
    {
        double centre; ///< in samples
        double reach;  ///< of the window that it was found in, to each side, in widths of the echo
        bool isInside; ///< of what is looked at; otherwise it is the edge of an echo from beyond
    };
    Mass CentreOfMass(Peak const& peak, double spread, std::size_t from, std::size_t to) const;
    bool Add(DetectedBeam const& beam, Peak const& peak, double spread, std::size_t from, std::size_t to,
             std::span<float const> intensities, std::vector<Detection>& detections) const;

    PingSettings m_settings;
    double m_interval = 0.0;
    double m_pulse = 1.0;
    std::vector<float> m_perNoise;   // 1 / mean intensity of noise, a sample
    std::vector<float> m_makeUp;     // for spreading and absorption: amplitudes of one bottom become alike
    std::vector<float> m_thresholds; // of a mean amplitude, by half window
    std::vector<float> m_forObjects; // the same, for what is detected beside the bottom
    std::vector<double> m_lean; // how far beyond the axis, in its range, the centre of mass lies; by sine of the angle
    std::vector<double> m_leanOfPulse; // the same for an echo that is all pulse and no beam
    std::vector<double> m_variance;    // of its mass, likewise
    double m_leanWidth = 0.0;          // the width, not steered, that m_lean is for
    std::vector<double> m_raisedSums;  // of what side lobes make of a threshold, a sample
    std::vector<float> m_amplitudes;
    std::vector<double> m_sums;
    std::vector<Found> m_found;
};

} // namespace qx5::acoustics
