// `qx5 soundings`: what the simulated sonar sounds over a scene, ping by ping; of a sonar on the network elsewhere.
#include "cli/commands.h"

#include "cli/output.h"
#include "cli/scene_file.h"
#include "cli/sounding_lines.h"
#include "cli/soundings_of_sonar.h"
#include "simulator/acoustics/sounder.h"
#include "simulator/ping_settings_of.h"

#include <algorithm>
#include <string>
#include <vector>

#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// The sonar as an operator's requests leave it.
bool Request(std::vector<std::string> const& keyValues, simulator::SonarState& sonar, std::string& error)
{
    return std::all_of(keyValues.begin(), keyValues.end(),
                       [&](std::string const& text) { return sonar.Set(text, error); });
}

int OverScene(SoundingsOptions const& options, SoundingForm form)
{
    auto const scene = !options.sceneFile.empty()
                           ? ReadSceneFile(options.sceneFile)
                           : acoustics::Scene::OfName(options.scene.name, options.scene.depth, options.scene.seed);
    if (!scene) {
        return Complain(ExitWrong, scene.WhyNot().line);
    }
    std::string error;
    simulator::SonarState sonar;
    if (!Request(options.keyValues, sonar, error)) {
        return Complain(ExitWrong, error);
    }
    acoustics::PingSettings const settings = simulator::PingSettingsOf(sonar);
    if (auto const failure = acoustics::WhatIsWrong(settings)) {
        return Complain(ExitWrong, failure->line);
    }
    double const fastest = acoustics::GreatestPingRate(settings.range, settings.soundSpeed);
    double const rate = sonar.PingRate() > 0.0 ? std::min(sonar.PingRate(), fastest) : fastest;
    acoustics::ShipSettings ship;
    ship.calm = options.scene.calm;
    acoustics::Sounder sounder(*scene, acoustics::Ship(ship, options.scene.seed), {}, options.scene.seed);
    TrueDepth const truth = !options.truth ? TrueDepth() : [&](std::size_t beam) -> std::optional<double> {
        auto const axis = sounder.AxisOf(beam);
        return axis ? std::optional(axis->depth) : std::nullopt;
    };
    fmt::print("{}", SoundingHead(form, options.truth));
    acoustics::PingEchoes echoes;
    for (int ping = 0; ping < options.pings; ++ping) {
        if (auto const failure = sounder.Hear(settings, ping / rate, ping + 1, echoes)) {
            return Complain(ExitWrong, failure->line);
        }
        fmt::print("{}", SoundingLines(form, echoes, truth));
        FlushOutput();
    }
    return ExitGood;
}

} // namespace

std::vector<std::string> SceneTexts()
{
    std::vector<std::string> texts;
    texts.reserve(acoustics::SceneNames.size());
    for (acoustics::SceneName const& scene : acoustics::SceneNames) {
        texts.push_back(fmt::format("{} ({})", scene.name, scene.text));
    }
    return texts;
}

int Soundings(SoundingsOptions const& options)
{
    int const told =
        (options.sonar.empty() ? 0 : 1) + (options.scene.name.empty() ? 0 : 1) + (options.sceneFile.empty() ? 0 : 1);
    if (told != 1) {
        return Complain(
            ExitWrong,
            "soundings: --scene, --scene-file or --sonar is required; `qx5 soundings --help` tells how it is called");
    }
    SoundingForm const form = options.json  ? SoundingForm::Json
                              : options.csv ? SoundingForm::Csv
                              : options.xyz ? SoundingForm::Xyz
                                            : SoundingForm::Text;
    return options.sonar.empty() ? OverScene(options, form) : SoundingsOfSonar(options, form);
}

} // namespace qx5::cli
