// The terms of an echo's budget, as they are called in JSON and for people.
#pragma once

#include <array>

#include <simulator/acoustics/echo_level.h>

namespace qx5::cli {

struct BudgetTerm
{
    char const* key;
    char const* name;
    char const* unit;
    double acoustics::EchoBudget::*value;
};

/// In the order of the equation.
inline constexpr std::array<BudgetTerm, 8> BudgetTerms{{
    {"source_level", "source level", "dB re 1 uPa at 1 m", &acoustics::EchoBudget::sourceLevel},
    {"spreading_loss", "spreading there and back", "dB", &acoustics::EchoBudget::spreadingLoss},
    {"absorption_loss", "absorption there and back", "dB", &acoustics::EchoBudget::absorptionLoss},
    {"area", "area that echoes at one time", "m^2", &acoustics::EchoBudget::area},
    {"bottom_strength", "strength of the bottom", "dB for 1 m^2", &acoustics::EchoBudget::bottomStrength},
    {"echo_level", "echo", "dB re 1 uPa", &acoustics::EchoBudget::echoLevel},
    {"noise_level", "noise", "dB re 1 uPa", &acoustics::EchoBudget::noiseLevel},
    {"snr", "echo above noise", "dB", &acoustics::EchoBudget::snr},
}};

} // namespace qx5::cli
