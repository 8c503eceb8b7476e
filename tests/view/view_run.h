// Runs the operator's view on a device's tree, step by step, and tells what it did and how its controls stand.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace qx5::test {

using Json = nlohmann::json;

/// The limits of one operation mode that the tests agree on: ranges 50, 100, 200 m; power 170 to 220 dB; beam widths
/// 0.5, 1 and 2 degrees; steering -10 to 10 and -5 to 5 degrees; up to 20 pings per second in steps of a tenth; gain 0
/// to 83 dB, fixed 5 to 50 dB; chirp; sound velocity 1400 to 1600 m/s; absorption up to 120 dB/km, spreading to 60 dB.
Json ModeSettings();
/// A branch with the child of that key replaced, or appended where it is missing.
Json With(Json tree, Json const& node);
/// The same without the child.
Json Without(Json tree, std::string const& key);
/// A device's tree: enumerator 0, pulse lengths 25 to 500 microseconds, one mode with these settings.
Json SonarTree(Json const& settings = ModeSettings());

/// What came of a run, step by step.
class ViewRun
{
public:
    /// Opens the view on the device 1.78.1.1 with that tree and runs the steps. `rest` adds to the scenario.
    explicit ViewRun(Json const& tree, std::vector<Json> steps, Json const& rest = Json::object());

    /// The events of the step at that index of those given.
    Json const& Events(std::size_t step) const { return m_steps.at(step + 1); }
    /// What opening the view did.
    Json const& OpeningEvents() const { return m_steps.front(); }
    /// The controls as a "look" step at that index found them.
    Json const& Controls(std::size_t step) const;
    Json const& Control(std::size_t step, std::string const& page, int id) const;
    /// The values of the requests that the view made in that step, key by key, in order.
    Json Requests(std::size_t step) const;

private:
    std::vector<Json> m_steps;
};

// Steps.
Json Look();
Json Slide(std::string const& page, int id, int kind);
Json SlideTo(std::string const& page, int id, int kind, int position);
Json Click(std::string const& page, int id);
Json Choose(std::string const& page, int id, int index);
Json Type(std::string const& page, int id, std::string const& text);
Json Attributes(Json const& tree);

} // namespace qx5::test
