// The simulated sonar's ear: what each beam hears after a ping, sample by sample, and where it takes the bottom to be.
//
// What is in an echo: the sonar equation (echo_level.h) for each piece of the bottom that the transmitted fan meets,
// with its grazing angle and kind, spread over time by the pulse and over beams by the pattern of the receiving array
// with its side lobes; what floats in the water, with the pattern of the transmitting array along track; shadows behind
// what stands up; speckle; noise; the receiver's gain and its converter. On the axis of a beam the level is that of the
// equation with its area; off the axis the patterns tell.
//
// What is left out: bends of sound in layered water, echoes by way of the surface, side lobes of the fan ahead and
// astern on the bottom, motion between ping and echo, likeness of speckle in beams side by side.
#pragma once

#include "detection.h"
#include "echo_level.h"
#include "line_array.h"
#include "ping_echoes.h"
#include "ping_settings.h"
#include "scene.h"
#include "ship.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace qx5::acoustics {

/// The water that the sonar lies in.
struct Sea
{
    Water water{.temperature = 12.9};
    /// m/s: what it is, whatever the sonar is told. As the sonar reckons with from the start, so that depths are true.
    double soundSpeed = 1500.0;
    NoiseSources noise{};
};

/// Where the axis of a beam meets the bottom.
struct BeamAxis
{
    double range = 0.0; ///< m along it
    double depth = 0.0; ///< m, in the scene
    double east = 0.0;  ///< m
    double north = 0.0; ///< m
};

/// Hears one ping after the other. Holds all memory that it needs from the first ping on while settings keep numbers of
/// beams and samples. For one thread at a time.
class Sounder
{
public:
    Sounder(Scene const& scene, Ship const& ship, Sea const& sea, std::uint64_t seed);

    /// A ping that is transmitted `seconds` after the ship's start, into `out`, whose memory is used again; utcSeconds
    /// becomes `seconds`. The same for the same seed, number, time and settings after the same pings before (gates that
    /// follow remember the bottom). Where settings are not good: what is wrong, and `out` is a ping that has heard
    /// nothing.
    std::optional<Failure> Hear(PingSettings const& settings, double seconds, std::int32_t number, PingEchoes& out);

    /// Without it each level is its mean. On from the start.
    void SetSpeckle(bool on) { m_hasSpeckle = on; }

    // Of the last ping:

    /// Nothing where the axis meets no bottom within twice the range.
    std::optional<BeamAxis> AxisOf(std::size_t beam) const;
    Gate const& GateOfPing() const { return m_gate; }
    /// m below the sonar: the middle one of all detections; 0 when there was none.
    double Bottom() const { return m_bottom; }

    Scene const& TheScene() const { return m_scene; }
    Ship const& TheShip() const { return m_ship; }

private:
    /// A beam's direction as it really is, and where that meets the bottom.
    struct TrueBeam
    {
        double sine = 0.0;      // of the angle across track off the array's broadside
        double earthSine = 0.0; // across track, off the vertical
        double width = 0.0;     // degrees, as it is steered
        float correction = 1.0F;
    };
    /// What a piece of the bottom sends back, by the fan's side, outward.
    struct Piece
    {
        double earthSine;
        double range;
        double strength; // intensity for 1 m^2, with the fan's pattern
        double sineOfGrazing;
    };

    std::optional<Failure> Prepare(PingSettings const& settings);
    void Point(PingEchoes& out);
    void GatherBottom(int side);
    void GatherTargets(double seconds);
    void AddEcho(double range, double intensity, double sine, std::uint32_t place);
    void SortPatches();
    void CorrectBeam(TrueBeam& beam) const;
    void HearBeam(std::size_t beam, PingEchoes& out);
    double FanIntensity(double bodySine) const;
    double BodySine(double earthSine) const;
    BottomPlace BottomAt(double along, double across, double& slopeAlong) const;

    Scene m_scene;
    Ship m_ship;
    Sea m_sea;
    std::uint64_t m_seed;
    bool m_hasSpeckle = true;

    // Of the settings.
    bool m_isPrepared = false;
    PingSettings m_settings;
    Sampling m_sampling;
    Medium m_medium;
    double m_sampleDistance = 0.0; // m of true range
    double m_pulse = 0.0;          // m of true range: c x s / 2
    std::size_t m_together = 1;
    double m_sineWidth = 0.0; // of a receive beam, not steered
    double m_patternScale = 0.0;
    std::vector<float> m_pattern;   // intensity by difference of sines
    std::vector<float> m_strengths; // intensity of 1 m^2 by kind of bottom and tenths of a degree of grazing
    std::vector<float> m_lost;      // intensity that is left of 1 at 1 m, gain and power included, a sample
    std::vector<float> m_noise;     // intensity, gain included, a sample
    float m_fullScale = 0.0F;
    float m_least = 0.0F;

    // Of the ping.
    Pose m_pose;
    double m_tilt = 0.0;      // degrees, as the fan really lies
    double m_arrayTilt = 0.0; // the same off the array's broadside
    std::optional<LineArray> m_transmit;
    std::vector<TrueBeam> m_beams;
    std::vector<Piece> m_pieces[2]; // to port, to starboard
    struct Patches
    {
        std::vector<std::uint32_t> sample;
        std::vector<float> sine; // sums while they are gathered
        std::vector<float> energy;
        std::vector<float> start;
        std::vector<std::uint32_t> place;
        std::size_t count = 0;
        void Resize(std::size_t size);
    };
    Patches m_gathered;
    Patches m_patches; // by sample
    std::vector<std::int32_t> m_open;
    std::vector<std::uint32_t> m_firstPatch; // by sample, and one beyond
    std::vector<WaterTarget> m_targets;
    std::vector<float> m_weights;
    std::vector<float> m_row;
    std::vector<float> m_speckle;
    std::vector<float> m_scratch;
    Detector m_detector;
    Gate m_gate;
    double m_bottom = 0.0;
    std::vector<float> m_depths;
};

} // namespace qx5::acoustics
