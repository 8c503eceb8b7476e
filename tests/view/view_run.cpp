// Runs the operator's view on a device's tree, step by step, and tells what it did and how its controls stand.
#include "view_run.h"

#include "cli/scenario/scenario_command.h"

#include <sstream>
#include <stdexcept>

namespace qx5::test {

Json ModeSettings()
{
    return Json::parse(R"json([
        ["SystemText", "string", "Head A (200 kHz)"],
        ["DeviceEnum", "int", 0],
        ["x5SampleRateSet", [["x5RangeSet", "doubles", [50, 100, 200]],
                             ["x5Range", [["x5Min", "double", 50], ["x5Max", "double", 200]]]]],
        ["x5Power", [["x5Min", "double", 170], ["x5Max", "double", 220]]],
        ["x5BeamWidthSetX", [["x5Variable", "bool", true], ["x5BeamWidthList", "doubles", [0.5, 1, 2]]]],
        ["x5BeamSteer", [["x5MinX", "double", -10], ["x5MaxX", "double", 10], ["x5MinZ", "double", -5],
                         ["x5MaxZ", "double", 5], ["x5Steerable", "bool", true]]],
        ["x5PingRate", [["x5Min", "double", 1], ["x5Max", "double", 20], ["x5Ratio", "double", 10],
                        ["x5FreeRun", "bool", false]]],
        ["x5Gain", [["x5Min", "double", 0], ["x5Max", "double", 83],
                    ["x5Fixed", [["x5Available", "bool", true], ["x5Min", "double", 5], ["x5Max", "double", 50]]]]],
        ["x5Frequency", [["x5Chirp", "int", 1]]],
        ["x5SoundVelocity", [["x5Min", "double", 1400], ["x5Max", "double", 1600]]],
        ["MaxAbsorption", "double", 120],
        ["MaxSpreading", "double", 60]])json");
}

Json With(Json tree, Json const& node)
{
    for (auto& each : tree) {
        if (each[0] == node[0]) {
            each = node;
            return tree;
        }
    }
    tree.push_back(node);
    return tree;
}

Json Without(Json tree, std::string const& key)
{
    Json rest = Json::array();
    for (auto& each : tree) {
        if (each[0] != key) {
            rest.push_back(std::move(each));
        }
    }
    return rest;
}

Json SonarTree(Json const& settings)
{
    Json tree = Json::parse(R"([["DeviceEnum", "int", 0], ["x5PulseLengthValues", "doubles", [0.000025, 0.0005]]])");
    tree.push_back({"x5SonarSettings", settings});
    return tree;
}

ViewRun::ViewRun(Json const& tree, std::vector<Json> steps, Json const& rest)
{
    steps.insert(steps.begin(), Json{{"view", "open"}, {"stored", {1, 78, 1, 1}}});
    Json scenario = rest;
    if (!scenario.contains("devices")) {
        scenario["devices"] = Json::array({{{"id", {1, 78, 1, 1}}, {"name", "Sonar"}, {"attributes", tree}}});
    }
    scenario["steps"] = steps;
    std::istringstream in(scenario.dump());
    std::ostringstream out;
    std::ostringstream err;
    cli::ScenarioOptions options;
    options.files = {"-"};
    options.plugin = QX5_PLUGIN_FILE;
    if (cli::RunScenarios(options, in, out, err) != 0) {
        throw std::runtime_error(err.str());
    }
    auto const result = Json::parse(out.str());
    for (auto const& events : result.at("steps")) {
        m_steps.push_back(events);
    }
}

Json const& ViewRun::Controls(std::size_t step) const
{
    for (auto const& event : Events(step)) {
        if (event.contains("controls")) {
            return event.at("controls");
        }
    }
    throw std::runtime_error("the step does not look");
}

Json const& ViewRun::Control(std::size_t step, std::string const& page, int id) const
{
    return Controls(step).at(page).at(std::to_string(id));
}

Json ViewRun::Requests(std::size_t step) const
{
    Json requests = Json::array();
    for (auto const& event : Events(step)) {
        if (event.contains("host-set")) {
            requests.push_back(event.at("host-set").at(0).at(1));
        }
    }
    return requests;
}

namespace {

Json ControlName(std::string const& page, int id)
{
    return {{"page", page}, {"id", id}};
}

} // namespace

Json Look()
{
    return {{"look", true}};
}
Json Slide(std::string const& page, int id, int kind)
{
    return {{"slider", ControlName(page, id)}, {"kind", kind}};
}
Json SlideTo(std::string const& page, int id, int kind, int position)
{
    return {{"slider", ControlName(page, id)}, {"kind", kind}, {"position", position}};
}
Json Click(std::string const& page, int id)
{
    return {{"click", ControlName(page, id)}};
}
Json Choose(std::string const& page, int id, int index)
{
    return {{"choose", ControlName(page, id)}, {"index", index}};
}
Json Type(std::string const& page, int id, std::string const& text)
{
    return {{"type", ControlName(page, id)}, {"text", text}};
}
Json Attributes(Json const& tree)
{
    return {{"attributes", tree}};
}

} // namespace qx5::test
