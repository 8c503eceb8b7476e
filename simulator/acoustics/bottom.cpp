// Scattering of the bottom at an angle.
#include "bottom.h"

#include "decibel.h"

#include <cmath>

namespace qx5::acoustics {

double BottomStrength(Bottom bottom, double grazing)
{
    BottomScattering const& scattering = Bottoms.at(static_cast<std::size_t>(bottom));
    double const sine = std::sin(Radians(grazing));
    double const widths = (90.0 - grazing) / scattering.specularWidth;
    return Decibels(FromDecibels(scattering.lambert) * sine * sine +
                    FromDecibels(scattering.specular) * std::exp(-0.5 * widths * widths));
}

} // namespace qx5::acoustics
