// Where in a fleet something is: a vessel, or a sonar aboard.
#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

namespace qx5::fleet {

struct Place
{
    std::string vessel;
    std::string sonar; ///< empty for the vessel itself

    friend auto operator<=>(Place const&, Place const&) = default;
};

/// "Vega/Bow", "Vega".
std::string TextOf(Place const& place);
/// Takes what TextOf gives. Nothing, and one line in `error`, when a name of it cannot be one.
std::optional<Place> ReadPlace(std::string_view text, std::string& error);

} // namespace qx5::fleet
