// The pattern of a line array: how much of a plane wave from any direction it hears, or sends there.
#pragma once

#include "result.h"

namespace qx5::acoustics {

/// How the elements of an array are weighted from one end to the other.
enum class Taper
{
    Uniform, ///< narrowest; first side lobe 13.26 dB below the axis
    Hann,    ///< raised cosine: 1.63 times as wide, first side lobe 31.47 dB below the axis
};

/// A straight array of many elements, close enough for no second main lobe, steered by delays: pattern in the one plane
/// that its beam is narrow in. A value type; all is computed from the numbers below, on any thread.
///
/// Directions are given by the sine of their angle off broadside (the plane that stands square on the array), -1 to 1:
/// for an array along x, the x of the unit vector into the direction.
class LineArray
{
public:
    /// The array whose beam, not steered, is `width` degrees wide between its half-power points (one way; 0.01 to 180),
    /// steered by `steering` degrees off broadside (-90 to 90).
    static Result<LineArray> OfWidth(double width, Taper taper, double steering = 0.0);

    /// The array of so many wavelengths from end to end (0.5 to 100,000), not steered.
    static Result<LineArray> OfLength(double wavelengths, Taper taper);

    /// Relative amplitude, 1 on the axis; negative in every second side lobe.
    double Amplitude(double sine) const;
    /// The same in dB, 0 on the axis; -infinity in a null.
    double Level(double sine) const;
    /// In wavelengths.
    double Length() const { return m_length; }
    /// Between the half-power points as it is steered, in degrees: the further off broadside the wider. Beyond end-fire
    /// there is no half-power point; the width then ends there.
    double Width() const;
    /// How much less noise from all around it hears than one element does, in dB; 0 or more. Within 0.2 dB for
    /// arrays of two wavelengths and more.
    double DirectivityIndex() const;

private:
    LineArray(double length, Taper taper, double sineOfSteering)
        : m_length(length), m_taper(taper), m_sineOfSteering(sineOfSteering)
    {
    }

    double m_length;
    Taper m_taper;
    double m_sineOfSteering;
};

/// A direction by its sines off broadside of the array along track and of the one across.
struct Direction
{
    double along = 0.0;
    double across = 0.0;
};

/// What transmits and what receives: a fan that is narrow along track, and beams that are narrow across. Level of the
/// two-way pattern in dB, 0 where both axes meet.
struct CrossedArrays
{
    LineArray transmit; ///< along track
    LineArray receive;  ///< across track

    double Level(Direction const& direction) const
    {
        return transmit.Level(direction.along) + receive.Level(direction.across);
    }
};

} // namespace qx5::acoustics
