// The host's three-axis offset of a device from the vessel's reference point.
#pragma once

/// Three lengths in metres, in the host's order of axes. A value; empty means three zeros.
class CCompOffset
{
public:
    CCompOffset() = default;
    /// Of these lengths, in metres.
    CCompOffset(double first, double second, double third) : m_axes{first, second, third} {}

    /// Writes all three, in metres.
    void GetOffset(double& first, double& second, double& third) const
    {
        first = m_axes[0];
        second = m_axes[1];
        third = m_axes[2];
    }

    /// All three are equal.
    friend bool operator==(CCompOffset const&, CCompOffset const&) = default;

private:
    double m_axes[3] = {0.0, 0.0, 0.0};
};
