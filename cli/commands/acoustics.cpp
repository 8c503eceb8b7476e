// `qx5 acoustics`: absorption, sound speed and the budget of an echo, as the simulated sonar works them out.
#include "cli/budget_terms.h"
#include "cli/commands.h"

#include "json/json_value.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

constexpr char const* francoisGarrison = "francois-garrison";
constexpr char const* ainslieMcColm = "ainslie-mccolm";
constexpr char const* mackenzie = "mackenzie";
constexpr char const* chenMillero = "chen-millero";

acoustics::Water WaterOf(AcousticsOptions const& options)
{
    return {.temperature = options.temperature,
            .salinity = options.salinity,
            .depth = options.depth.value_or(0.0),
            .ph = options.ph};
}

acoustics::AbsorptionModel AbsorptionModelOf(AcousticsOptions const& options)
{
    return options.model == ainslieMcColm ? acoustics::AbsorptionModel::AinslieMcColm
                                          : acoustics::AbsorptionModel::FrancoisGarrison;
}

/// One number and by whose formula; the number's name is `key` in JSON, `name` for people.
int PrintByModel(acoustics::Result<double> const& value, AcousticsOptions const& options, std::string const& key,
                 char const* name, char const* unit, std::string const& model)
{
    if (!value) {
        return Complain(ExitWrong, value.WhyNot().line);
    }
    if (options.json) {
        fmt::print("{}\n",
                   WriteJson(JsonValue::Object({{key, JsonValue::Double(*value)}, {"model", JsonValue::Text(model)}})));
    } else {
        fmt::print("{} {:.3f} {} by {}\n", name, *value, unit, model);
    }
    return ExitGood;
}

acoustics::Result<double> SoundSpeedBy(std::string const& model, AcousticsOptions const& options)
{
    if (model == mackenzie) {
        auto const depth =
            options.pressure ? acoustics::DepthOfPressure(*options.pressure) : acoustics::Result(*options.depth);
        return depth ? acoustics::SoundSpeedMackenzie(options.temperature, options.salinity, *depth) : depth;
    }
    auto const pressure =
        options.pressure ? acoustics::Result(*options.pressure) : acoustics::PressureOfDepth(*options.depth);
    return pressure ? acoustics::SoundSpeedChenMillero(options.temperature, options.salinity, *pressure) : pressure;
}

} // namespace

std::vector<std::string> AbsorptionModelNames()
{
    return {francoisGarrison, ainslieMcColm};
}

std::vector<std::string> SoundSpeedModelNames()
{
    return {mackenzie, chenMillero};
}

std::vector<std::string> BottomNames()
{
    std::vector<std::string> names;
    for (acoustics::BottomScattering const& scattering : acoustics::Bottoms) {
        names.emplace_back(scattering.name);
    }
    return names;
}

int AcousticsAbsorption(AcousticsOptions const& options)
{
    return PrintByModel(acoustics::Absorption(AbsorptionModelOf(options), options.frequency, WaterOf(options)), options,
                        "absorption", "absorption", "dB/km", options.model.empty() ? francoisGarrison : options.model);
}

int AcousticsSoundSpeed(AcousticsOptions const& options)
{
    if (!options.depth && !options.pressure) {
        return Complain(ExitWrong,
                        "acoustics sound-speed: --depth or --pressure is required; `qx5 acoustics sound-speed --help` "
                        "tells how it is called");
    }
    // Unless one is asked for, the model that goes by what was given: nothing is then converted.
    std::string const model = !options.model.empty() ? options.model : (options.pressure ? chenMillero : mackenzie);
    return PrintByModel(SoundSpeedBy(model, options), options, "sound_speed", "sound speed", "m/s", model);
}

int AcousticsBudget(AcousticsOptions const& options)
{
    auto const medium = acoustics::MediumOf(options.frequency, WaterOf(options), AbsorptionModelOf(options));
    if (!medium) {
        return Complain(ExitWrong, medium.WhyNot().line);
    }
    auto const bottom =
        std::find_if(acoustics::Bottoms.begin(), acoustics::Bottoms.end(),
                     [&](acoustics::BottomScattering const& scattering) { return scattering.name == options.bottom; });
    if (bottom == acoustics::Bottoms.end()) {
        return Complain(ExitWrong, fmt::format("there is no bottom '{}'", options.bottom));
    }
    auto const budget = acoustics::BudgetOf(options.power,
                                            {.range = options.range,
                                             .grazing = options.grazing,
                                             .widthAlong = options.beamWidthAlong,
                                             .widthAcross = options.beamWidthAcross,
                                             .pulseLength = options.pulseLength},
                                            bottom->bottom, *medium);
    if (!budget) {
        return Complain(ExitWrong, budget.WhyNot().line);
    }
    if (options.json) {
        std::vector<JsonValue::Member> members;
        for (BudgetTerm const& term : BudgetTerms) {
            members.emplace_back(term.key, JsonValue::Double((*budget).*term.value));
        }
        fmt::print("{}\n", WriteJson(JsonValue::Object(std::move(members))));
        return ExitGood;
    }
    for (BudgetTerm const& term : BudgetTerms) {
        fmt::print("{:<28}  {:9.3f}  {}\n", term.name, (*budget).*term.value, term.unit);
    }
    return ExitGood;
}

} // namespace qx5::cli
