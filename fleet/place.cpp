// Places of a fleet as texts.
#include "fleet/place.h"

#include "sparkplug/topic.h"

namespace qx5::fleet {

std::string TextOf(Place const& place)
{
    return place.sonar.empty() ? place.vessel : place.vessel + "/" + place.sonar;
}

std::optional<Place> ReadPlace(std::string_view text, std::string& error)
{
    auto const slash = text.find('/');
    Place place{std::string(text.substr(0, slash)), {}};
    error = sparkplug::WhyNoName("vessel", place.vessel);
    if (error.empty() && slash != std::string_view::npos) {
        place.sonar = text.substr(slash + 1);
        error = sparkplug::WhyNoName("sonar", place.sonar);
    }
    return error.empty() ? std::optional(place) : std::nullopt;
}

} // namespace qx5::fleet
