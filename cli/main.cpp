// The command qx5: reads the command line and hands over to one command.
#include "commands.h"
#include "commit.h"
#include "completion/complete.h"
#include "completion/scripts.h"
#include "demos/demos.h"
#include "describe_command.h"
#include "documents/write_man_pages.h"
#include "operation/transmit_lock.h"
#include "output.h"
#include "platform/memory_reserve.h"
#include "platform/standard_streams.h"

#include "reference_host/common/library_version.h"
#include "reference_host/common/log_settings.h"
#include "reference_host/common/path_text.h"

#include <algorithm>
#include <array>
#include <functional>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace qx5::cli {

namespace {

/// The log of the host that a command runs, as its options tell.
struct LogOptions
{
    std::string level = "info";
    std::string file;
};

/// In the order of vordal::LogLevel.
constexpr std::array<char const*, 4> LogLevels{"debug", "info", "warning", "error"};

void AddLogOptions(CLI::App& command, LogOptions& log)
{
    OneOf(command.add_option("--log-level", log.level,
                             "The least that the host's log tells: debug, info, warning or error"),
          {LogLevels.begin(), LogLevels.end()})
        ->capture_default_str()
        ->type_name("LEVEL");
    command.add_option("--log-file", log.file, "File that takes the host's log in place of standard error")
        ->type_name("FILE");
}

void BeginLog(LogOptions const& log)
{
    auto const level = std::find(LogLevels.begin(), LogLevels.end(), log.level) - LogLevels.begin();
    vordal::BeginLog({.least = static_cast<vordal::LogLevel>(level), .file = vordal::PathOf(log.file)});
}

using Runs = std::function<void(CLI::App*, std::function<void()>)>;

/// `qx5 serve`.
void AddServeCommand(CLI::App& app, ServeOptions& serve, int& code, Runs const& runsHost)
{
    CLI::App* command = app.add_subcommand(
        "serve", "Serve the sonars of a project to those ashore by a broker, without a display, until it is ended");
    runsHost(command, [&code, &serve] { code = Serve(serve); });
    command->add_option("project", serve.project, "The project file")->required()->type_name("PROJECT");
    command->add_option("--broker", serve.broker, "mqtts://HOST:PORT; mqtt:// to this machine alone")->type_name("URL");
    command->add_option("--ca", serve.authority, "Whom the broker's certificate must be from (default: the system's)")
        ->type_name("FILE");
    command->add_option("--cert", serve.certificate, "The vessel's certificate")->type_name("FILE");
    command->add_option("--key", serve.key, "The key of that")->type_name("FILE");
    command->add_option("--group", serve.group, "What the vessels together are called")->type_name("NAME");
    command->add_option("--vessel", serve.vessel, "What this one is called, as its certificate says")
        ->type_name("NAME");
    command
        ->add_option("--primary-host", serve.primaryHost,
                     "Tell nothing before this program ashore says that it is there")
        ->type_name("NAME");
    command
        ->add_option("--person", serve.roles,
                     "A person, by the certificate's name: watch, operate or administrate; may be repeated. Then "
                     "nobody else asks for anything")
        ->allow_extra_args(false)
        ->type_name("NAME=ROLE");
    std::vector<std::string> actions;
    for (std::size_t i = 0; i < operation::LockedActionCount; ++i) {
        actions.emplace_back(operation::ToText(static_cast<operation::LockedAction>(i)));
    }
    OneOf(command
              ->add_option("--allow", serve.allowed,
                           fmt::format("What can do harm and is done for those ashore all the same: {}; may be "
                                       "repeated",
                                       fmt::join(actions, ", ")))
              ->allow_extra_args(false),
          actions)
        ->type_name("ACTION");
    OneOf(command->add_option("--silence", serve.silence,
                              "What it means when who has a lease does not answer for 30 s: refuse or grant"),
          {"refuse", "grant"})
        ->type_name("ANSWER");
    command
        ->add_option("--history", serve.history,
                     "A key each of whose values is kept until it is ashore; may be repeated")
        ->allow_extra_args(false)
        ->type_name("KEY");
    command
        ->add_option("--outbox-megabytes", serve.outboxMegabytes,
                     "What waits for the shore on the disk at most, 1 to 1000000")
        ->check(CLI::Range(1, 1000000).description(""))
        ->type_name("NUMBER");
    command->add_option("--outbox-days", serve.outboxDays, "For how long at most, 0.01 to 3650")
        ->check(CLI::Range(0.01, 3650.0).description(""))
        ->type_name("NUMBER");
    command->add_option("--outbox", serve.outbox, "Where it waits (default: PROJECT.outbox)")->type_name("FILE");
    command->add_flag("--keep", serve.keep, "The project says so from now on: the next time it alone is enough");
    command
        ->add_option("--pings", serve.pingRate,
                     "Simulated sonars of the project ping from the start, so often a second")
        ->check(CLI::Range(0.01, 50.0).description(""))
        ->type_name("RATE");
    command->add_option("--plugin", serve.plugins, "A plug-in module beside those beside this program; may be repeated")
        ->allow_extra_args(false)
        ->type_name("FILE");
}

/// `qx5 preset` and what it does. `runsHost` adds the options of the log to those that run a host.
void AddPresetCommands(CLI::App& app, PresetOptions& preset, int& code, Runs const& runsHost)
{
    CLI::App* commands =
        app.add_subcommand("preset", "Keep settings of sonars under a name, compare them, load them into a sonar");
    commands->require_subcommand(1);
    auto const add = [&](char const* name, char const* text, int (*run)(PresetOptions const&)) {
        CLI::App* command = commands->add_subcommand(name, text);
        command->callback([&code, &preset, run] { code = run(preset); });
        return command;
    };
    auto const addWithHost = [&](char const* name, char const* text, int (*run)(PresetOptions const&)) {
        CLI::App* command = commands->add_subcommand(name, text);
        runsHost(command, [&code, &preset, run] { code = run(preset); });
        command->add_option("--plugin", preset.plugin, "The plug-in module (default: the one beside this program)")
            ->type_name("FILE");
        command
            ->add_option("--timeout", preset.timeoutMilliseconds,
                         "Milliseconds to wait for a connection, and for what the sonar tells of itself, 1 to 600000")
            ->capture_default_str()
            ->check(CLI::Range(1, 600000).description(""));
        return command;
    };
    auto const addProject = [&](CLI::App* command) {
        return command->add_option("--project", preset.project, "The project file that keeps the presets")
            ->type_name("FILE");
    };
    auto const addName = [&](CLI::App* command, char const* text) {
        command->add_option("name", preset.preset, text)->required()->type_name("NAME");
    };
    auto const addEither = [&](CLI::App* command, char const* name, std::string& value, char const* text) {
        command->add_option(name, value, text)->required()->type_name("PRESET");
    };
    auto const addReplace = [&](CLI::App* command) {
        command->add_flag("--replace", preset.replace, "Put it in the place of what is there under that name");
    };
    auto const addJson = [&](CLI::App* command) {
        command->add_flag("--json", preset.json, "One JSON object on a line for each row");
    };
    auto const addAll = [&](CLI::App* command) { command->add_flag("--all", preset.all, "Print what is equal, too"); };

    CLI::App* save = addWithHost("save", "Take the settings of a sonar", PresetSave);
    CLI::Option* saveProject = addProject(save);
    CLI::Option* saveSonar =
        save->add_option("--sonar", preset.sonar, "A sonar that runs, in place of one that the project holds")
            ->type_name("HOST:PORT");
    save->add_option("--device", preset.device, "Which sonar of the project, by its name or id")
        ->excludes(saveSonar)
        ->type_name("NAME");
    save->add_option("--file", preset.file, "A file to keep it in, in place of the project")
        ->excludes(saveProject)
        ->type_name("FILE");
    addReplace(save);
    addName(save, "The preset's name");

    CLI::App* list = add("list", "List the presets of a project", PresetList);
    addProject(list)->required();
    addJson(list);

    CLI::App* show = add("show", "Print a preset", PresetShow);
    addProject(show);
    addJson(show);
    addEither(show, "preset", preset.preset, "A preset of the project, or a file");

    CLI::App* compare =
        addWithHost("compare", "Compare two presets, or sonars that run; exit 1 if they differ", PresetCompare);
    addProject(compare);
    addAll(compare);
    addJson(compare);
    addEither(compare, "now", preset.preset, "A preset of the project, a file, or HOST:PORT of a sonar");
    addEither(compare, "then", preset.other, "The same, of what it is compared with");

    CLI::App* load = addWithHost("load",
                                 "Ask a sonar for what a preset has and it has not, and print what it then has; exit 1 "
                                 "if that is something else",
                                 PresetLoad);
    addProject(load);
    load->add_option("--sonar", preset.sonar, "The sonar")->required()->type_name("HOST:PORT");
    load->add_option("--only", preset.only, "These keys alone, separated by commas; also beyond the sonar's limits")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("KEY");
    load->add_option("--wait", preset.waitSeconds, "Seconds to wait for the sonar's answer, 0 to 600")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 600.0).description(""))
        ->type_name("SECONDS");
    load->add_flag("--dry-run", preset.dryRun, "Print the table, and ask for nothing");
    addAll(load);
    addJson(load);
    addEither(load, "preset", preset.preset, "A preset of the project, or a file");

    CLI::App* write = add("export", "Write a preset of a project to a file", PresetExport);
    addProject(write)->required();
    addReplace(write);
    addName(write, "The preset's name");
    write->add_option("file", preset.file, "The file")->required()->type_name("FILE");

    CLI::App* read = add("import", "Take a preset from a file into a project", PresetImport);
    addProject(read)->required();
    addReplace(read);
    read->add_option("--name", preset.name, "Its name there (default: the one that it has)")->type_name("NAME");
    read->add_option("file", preset.file, "The file")->required()->type_name("FILE");

    CLI::App* remove = add("remove", "Remove a preset from a project", PresetRemove);
    addProject(remove)->required();
    addName(remove, "The preset's name");
}

/// Of AddSceneOptions.
struct SceneChoice
{
    CLI::Option* name;
    CLI::Option* depth;
};

/// What a simulated sonar hears.
SceneChoice AddSceneOptions(CLI::App& command, SceneOptions& scene)
{
    CLI::Option* name =
        command.add_option("--scene", scene.name, fmt::format("{}", fmt::join(SceneTexts(), ", ")))->type_name("SCENE");
    CLI::Option* depth =
        command.add_option("--depth", scene.depth, "The scene's mean depth")->capture_default_str()->type_name("M");
    command.add_option("--seed", scene.seed, "The same seed gives the same soundings")
        ->capture_default_str()
        ->type_name("N");
    command.add_flag("--calm", scene.calm, "The ship does not roll, pitch, heave or yaw");
    if (!scene.name.empty()) {
        name->capture_default_str();
    }
    return {name, depth};
}

/// `qx5 soundings`. Which scenes, depths and settings are good is told by the simulated sonar.
void AddSoundingsCommand(CLI::App& app, SoundingsOptions& soundings, int& code, Runs const& runsHost)
{
    CLI::App* command = app.add_subcommand("soundings", "Print what a sonar sounds, or the simulated one over a scene");
    runsHost(command, [&code, &soundings] { code = Soundings(soundings); });
    SceneChoice const scene = AddSceneOptions(*command, soundings.scene);
    CLI::Option* file =
        command->add_option("--scene-file", soundings.sceneFile, "A scene of one's own, in place of those")
            ->excludes(scene.name)
            ->excludes(scene.depth)
            ->type_name("FILE");
    CLI::Option* sonar = command->add_option("--sonar", soundings.sonar, "One on the network")
                             ->excludes(scene.name)
                             ->excludes(scene.depth)
                             ->excludes(file)
                             ->type_name("HOST:PORT");
    command->add_option("--pings", soundings.pings, "How many, 1 to 1000000")
        ->capture_default_str()
        ->check(CLI::Range(1, 1'000'000).description(""))
        ->type_name("N");
    command->add_flag("--truth", soundings.truth, "The depth at which each beam's axis really meets the bottom, too")
        ->excludes(sonar);
    CLI::Option* json = command->add_flag("--json", soundings.json, "One JSON object on a line for each detection");
    CLI::Option* csv = command->add_flag("--csv", soundings.csv, "Comma-separated, with a line of names");
    CLI::Option* xyz = command->add_flag("--xyz", soundings.xyz, "East, north and depth of each detection");
    json->excludes(csv)->excludes(xyz);
    csv->excludes(xyz);
    command
        ->add_option("settings", soundings.keyValues,
                     "What the sonar is set to first, over a scene as `set` of `qx5 sim` sets it")
        ->type_name("KEY=VALUE");
}

/// `qx5 acoustics` and what it works out. Which values are good is told by the acoustics.
void AddAcousticsCommands(CLI::App& app, AcousticsOptions& acoustics, int& code)
{
    CLI::App* commands = app.add_subcommand(
        "acoustics",
        "Work out absorption, sound speed and the budget of an echo from the bottom, by the sonar equation");
    commands->require_subcommand(1);
    auto const add = [&](char const* name, char const* text, int (*run)(AcousticsOptions const&)) {
        CLI::App* command = commands->add_subcommand(name, text);
        command->callback([&code, &acoustics, run] { code = run(acoustics); });
        command->add_flag("--json", acoustics.json, "One JSON object on a line");
        return command;
    };
    auto const addWater = [&](CLI::App* command) {
        return std::array{command->add_option("--temperature", acoustics.temperature, "Of the water")->type_name("C"),
                          command->add_option("--salinity", acoustics.salinity, "Of the water")->type_name("PSU")};
    };
    auto const addDepth = [&](CLI::App* command) {
        return command->add_option("--depth", acoustics.depth, "Of the water, below the surface")->type_name("M");
    };
    auto const addPh = [&](CLI::App* command) {
        return command->add_option("--ph", acoustics.ph, "Acidity of the water")->type_name("PH");
    };
    auto const addFrequency = [&](CLI::App* command) {
        command->add_option("--frequency", acoustics.frequency, "Of the sound")->required()->type_name("HZ");
    };
    auto const addModel = [&](CLI::App* command, std::vector<std::string> const& names, std::string const& text) {
        OneOf(command->add_option("--model", acoustics.model, text), names)->type_name("NAME");
    };
    auto const addAbsorptionModel = [&](CLI::App* command) {
        std::vector<std::string> const names = AbsorptionModelNames();
        addModel(command, names,
                 fmt::format("Of absorption: {} (the first where none is told)", fmt::join(names, ", ")));
    };

    CLI::App* absorption = add("absorption", "Absorption of sound in water, in dB/km", AcousticsAbsorption);
    addFrequency(absorption);
    for (CLI::Option* option : addWater(absorption)) {
        option->required();
    }
    addDepth(absorption)->required();
    addPh(absorption)->required();
    addAbsorptionModel(absorption);

    CLI::App* speed = add("sound-speed", "Speed of sound in water, in m/s", AcousticsSoundSpeed);
    for (CLI::Option* option : addWater(speed)) {
        option->required();
    }
    CLI::Option* depth = addDepth(speed);
    speed->add_option("--pressure", acoustics.pressure, "Above that of the air, in place of the depth")
        ->excludes(depth)
        ->type_name("DBAR");
    addModel(speed, SoundSpeedModelNames(),
             fmt::format("{} (the first where none is told and a depth is, the second where a pressure is)",
                         fmt::join(SoundSpeedModelNames(), ", ")));

    CLI::App* budget =
        add("budget", "What is sent, lost and heard of an echo from the bottom, and the noise", AcousticsBudget);
    addFrequency(budget);
    auto const addNumber = [&](char const* name, double& value, char const* text, char const* unit) {
        budget->add_option(name, value, text)->required()->type_name(unit);
    };
    addNumber("--range", acoustics.range, "To the bottom along the beam", "M");
    addNumber("--grazing", acoustics.grazing, "Angle between beam and bottom, 90 straight down", "DEG");
    addNumber("--power", acoustics.power, "Source level, re 1 uPa at 1 m", "DB");
    addNumber("--pulse-length", acoustics.pulseLength, "Of the pulse", "S");
    addNumber("--beam-width-along", acoustics.beamWidthAlong, "Along track", "DEG");
    addNumber("--beam-width-across", acoustics.beamWidthAcross, "Across track", "DEG");
    OneOf(budget->add_option("--bottom", acoustics.bottom, fmt::format("{}", fmt::join(BottomNames(), ", "))),
          BottomNames())
        ->required()
        ->type_name("NAME");
    for (CLI::Option* option : addWater(budget)) {
        option->capture_default_str();
    }
    addDepth(budget)->default_str("0");
    addPh(budget)->capture_default_str();
    addAbsorptionModel(budget);
}

/// `qx5 recording` and what it does.
void AddRecordingCommands(CLI::App& app, RecordingOptions& recording, int& code)
{
    CLI::App* commands =
        app.add_subcommand("recording", "Tell, list, cut, mark, check and export recordings of sessions");
    commands->require_subcommand(1);
    auto const add = [&](char const* name, char const* text, int (*run)(RecordingOptions const&)) {
        CLI::App* command = commands->add_subcommand(name, text);
        command->callback([&code, &recording, run] { code = run(recording); });
        command->add_option("file", recording.file, "The recording")->required()->type_name("FILE");
        return command;
    };
    auto const addRange = [&](CLI::App* command) {
        command->add_option("--sonar", recording.sonar, "Of this sonar alone, by its id or name")->type_name("ID");
        command
            ->add_option("--from", recording.from,
                         "From this time on: as 2026-11-21T01:26:24.5Z, or +SECONDS from the start")
            ->type_name("TIME");
        command->add_option("--to", recording.to, "Up to this time, included")->type_name("TIME");
    };

    CLI::App* info =
        add("info", "Tell from when to when it is, how much of what it holds, and of which sonars", RecordingInfo);
    info->add_flag("--json", recording.json, "One JSON object on a line");

    CLI::App* list = add("list", "Print a line for each message", RecordingList);
    // A word that is to be left out looks like an option of one letter, and any letter may be the first.
    list->set_help_flag("--help", "Print this help message and exit");
    list->allow_extras();
    list->add_option("filter", recording.words,
                     "Words that must all be there, as in the window's record monitor; -WORD leaves out what has it")
        ->type_name("WORD");
    addRange(list);
    OneOf(list->add_option("--way", recording.way, "Records that went this way alone: out to the sonar, or in"),
          {"out", "in"})
        ->type_name("WAY");
    list->add_flag("--json", recording.json, "One JSON object on a line for each");
    list->callback([&code, &recording, list] {
        for (std::string const& extra : list->remaining()) {
            if (extra.starts_with("--")) {
                throw CLI::ExtrasError({extra});
            }
            recording.words.push_back(extra);
        }
        code = RecordingList(recording);
    });

    CLI::App* cut = add("cut", "Write a part into a new recording, which begins with the settings as they then stood",
                        RecordingCut);
    cut->add_option("out", recording.out, "The new recording")->required()->type_name("OUT");
    addRange(cut);

    CLI::App* mark = add("mark", "Put a word for a moment into it", RecordingMark);
    mark->add_option("text", recording.text, "The word")->required()->type_name("TEXT");
    mark->add_option("--at", recording.at, "The moment: as 2026-11-21T01:26:24.5Z, or +SECONDS from the start")
        ->required()
        ->type_name("TIME");

    add("check", "Read all of it; exit 1 and tell what is damaged or lost if it is not whole", RecordingCheck);

    CLI::App* write = add("export", "Write it for other programs", RecordingExport);
    CLI::Option* pcapng =
        write->add_option("--pcapng", recording.pcapng, "The frames as captured traffic")->type_name("OUT");
    CLI::Option* csv =
        write->add_option("--csv", recording.csv, "Attributes over time as a table (RFC 4180)")->type_name("OUT");
    write
        ->add_option_function<std::string>(
            "--json", [&recording](std::string const& out) { recording.jsonOut = out; },
            "A line of JSON for each message; to standard output unless told where")
        ->expected(0, 1)
        ->excludes(pcapng)
        ->excludes(csv)
        ->type_name("[OUT]");
    csv->excludes(pcapng);
    write->add_option("--key", recording.keys, "Of the table these attributes alone; may be repeated")
        ->allow_extra_args(false)
        ->needs(csv)
        ->type_name("KEY");
    write
        ->add_option("--scenario", recording.scenario,
                     "A scenario file that asks for the same and expects what left and was echoed; FROM..TO (times as "
                     "of --from) in place of OUT gives that piece on standard output")
        ->excludes(pcapng)
        ->excludes(csv)
        ->excludes("--json")
        ->type_name("OUT");
    addRange(write);
}

/// `qx5 replay`.
void AddReplayCommand(CLI::App& app, ReplayOptions& replay, int& code, Runs const& runsHost)
{
    CLI::App* command = app.add_subcommand(
        "replay", "Play a recording again: in the window, through this program, as its sonar or as its host");
    runsHost(command, [&code, &replay] { code = Replay(replay); });
    command->add_option("file", replay.file, "The recording")->required()->type_name("FILE");
    CLI::Option* check =
        command->add_flag("--check", replay.check,
                          "Run its requests through this program and compare all that leaves, times apart; exit 1 and "
                          "tell field by field what differs");
    CLI::Option* asSonar = command
                               ->add_flag("--as-sonar", replay.asSonar,
                                          "Tell hosts what the sonar told, at its times, on a port of 127.0.0.1")
                               ->excludes(check);
    CLI::Option* asHost = command
                              ->add_flag("--as-host", replay.asHost,
                                         "Ask a sonar for the same at the same times; exit 1 if it answers otherwise")
                              ->excludes(check)
                              ->excludes(asSonar);
    CLI::Option* window = command
                              ->add_flag("--window", replay.window,
                                         "In the window, as it looked at each moment; so without any other of these")
                              ->excludes(check)
                              ->excludes(asSonar)
                              ->excludes(asHost);
    command
        ->add_option("--sonar", replay.sonar,
                     "Of the recording this sonar alone, by its id or name; with --as-host the sonar to ask, HOST:PORT")
        ->type_name("ID");
    command->add_option("--of", replay.of, "With --as-host: this sonar of the recording, by its id or name")
        ->needs(asHost)
        ->type_name("ID");
    command
        ->add_option("--from", replay.from, "From this time on: as 2026-11-21T01:26:24.5Z, or +SECONDS from the start")
        ->type_name("TIME");
    command->add_option("--to", replay.to, "Up to this time, included")->excludes(window)->type_name("TIME");
    CLI::Option* speed = command->add_option("--speed", replay.speed, "How much faster than it was, 0.1 to 100")
                             ->capture_default_str()
                             ->check(CLI::Range(0.1, 100.0).description(""))
                             ->excludes(check)
                             ->type_name("X");
    command->add_flag("--step", replay.step, "With --as-sonar: a record for each line of standard input")
        ->needs(asSonar)
        ->excludes(speed);
    command->add_flag("--loop", replay.loop, "With --as-sonar: from the beginning again at the end")->needs(asSonar);
    command->add_option("--port", replay.port, "With --as-sonar: where it listens, 0 to 65535; 0 takes a free one")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535).description(""))
        ->needs(asSonar);
    command->add_option("--plugin", replay.plugin, "The plug-in module (default: the one beside this program)")
        ->type_name("FILE");
    command
        ->add_option("--screenshot", replay.screenshot,
                     "Render the window at --from as PNG into this file, without a display, and end")
        ->excludes(check)
        ->excludes(asSonar)
        ->excludes(asHost)
        ->type_name("FILE");
    command->add_flag("--dark", replay.dark, "The window with dark colours")
        ->excludes(check)
        ->excludes(asSonar)
        ->excludes(asHost);
}

/// When a command that watches ends.
void AddWatchEnds(CLI::App& watch, std::optional<int>& count, std::vector<std::string>& until)
{
    CLI::Option* counted = watch.add_option("--count", count, "End after so many lines")
                               ->check(CLI::Range(1, 1'000'000'000).description(""))
                               ->type_name("N");
    watch.add_option("--until", until, "End as soon as the key has that value; may be repeated for all of them")
        ->allow_extra_args(false)
        ->excludes(counted)
        ->type_name("KEY=VALUE");
}

/// `qx5 get` and `qx5 watch`.
void AddValuesCommands(CLI::App& app, ValuesOptions& values, int& code, Runs const& runsHost)
{
    auto const add = [&](char const* name, char const* text, int (*run)(ValuesOptions const&)) {
        CLI::App* command = app.add_subcommand(name, text);
        runsHost(command, [&code, &values, run] { code = run(values); });
        CLI::Option* sonar =
            command
                ->add_option("--sonar", values.target.sonar,
                             "A sonar, on a connection of its own that only reads (default: a `qx5 run`)")
                ->type_name("HOST:PORT");
        command->add_option("--run", values.target.process, "The `qx5 run` of that process number")
            ->excludes(sonar)
            ->type_name("PID");
        command->add_option("--device", values.target.device, "Its sonar, by name or id")
            ->excludes(sonar)
            ->type_name("SONAR");
        command
            ->add_option("--plugin", values.target.plugin, "The plug-in module (default: the one beside this program)")
            ->needs(sonar)
            ->type_name("FILE");
        command->add_flag("--json", values.json,
                          "One JSON object on a line for each value: time, sonar, key, value, unit, kind");
        command
            ->add_option("key", values.keys, "Keys, or paths of keys with / between them (default: all that there are)")
            ->type_name("KEY");
        return command;
    };
    auto const addTimeout = [&](CLI::App* command, char const* text) {
        command->add_option("--timeout", values.timeoutMilliseconds, text)
            ->check(CLI::Range(1, 86'400'000).description(""))
            ->type_name("MS");
    };
    CLI::App* get = add("get", "Print values that a sonar has", Get);
    addTimeout(get, "Milliseconds to wait for the connection and the values; 3000 unless told");

    CLI::App* watch = add("watch", "Print values that a sonar has, and again each that changes", Watch);
    addTimeout(watch, "Milliseconds to wait for what --until or --count tells; exit 1 when they are over");
    AddWatchEnds(*watch, values.count, values.until);
}

/// How a command reaches a fleet. Gives the option of the broker.
CLI::Option* AddFleetLine(CLI::App& command, FleetLine& line, bool isRequired)
{
    CLI::Option* broker =
        command.add_option("--broker", line.broker, "The fleet's broker")->type_name("mqtts://HOST:PORT");
    CLI::Option* group =
        command.add_option("--group", line.group, "What the vessels together are called")->type_name("NAME");
    command.add_option("--ca", line.authority, "Certificate of whom the broker's must be from (default: the system's)")
        ->needs(broker)
        ->type_name("FILE");
    CLI::Option* certificate =
        command.add_option("--cert", line.certificate, "Our certificate; its name is who we are")->type_name("FILE");
    CLI::Option* key = command.add_option("--key", line.key, "The key of that")->needs(certificate)->type_name("FILE");
    certificate->needs(broker)->needs(key);
    command.add_option("--person", line.person, "Who we are at a broker of this machine that asks for no certificate")
        ->needs(broker)
        ->excludes(certificate)
        ->type_name("NAME");
    broker->needs(group);
    if (isRequired) {
        broker->required();
        group->required();
    }
    return broker;
}

/// `qx5 fleet` and what it does. Which names and files are good is told by the fleet.
void AddFleetCommands(CLI::App& app, FleetCommandOptions& fleet, int& code)
{
    CLI::App* commands = app.add_subcommand("fleet", "See, ask and command the sonars of a fleet, by its broker");
    commands->require_subcommand(1);
    auto const add = [&](char const* name, char const* text, int (*run)(FleetCommandOptions const&),
                         bool needsBroker = true) {
        CLI::App* command = commands->add_subcommand(name, text);
        command->callback([&code, &fleet, run] { code = run(fleet); });
        AddFleetLine(*command, fleet.line, needsBroker);
        command->add_flag("--json", fleet.json, "One JSON object on a line for each row");
        return command;
    };
    auto const addPlace = [&](CLI::App* command, char const* text) {
        return command->add_option("place", fleet.place, text)->type_name("VESSEL/SONAR");
    };
    auto const addSonar = [&](CLI::App* command) {
        addPlace(command, "The sonar, or a vessel that has one sonar")->required();
    };
    auto const addTimeout = [&](CLI::App* command, char const* text) {
        command->add_option("--timeout", fleet.timeoutMilliseconds, text)
            ->check(CLI::Range(1, 86'400'000).description(""))
            ->type_name("MS");
    };
    char const* const usualTimeout = "Milliseconds to wait for the connection and the answer; 10000 unless told";

    CLI::App* list = add("list", "List vessels and sonars: state, age, who commands", FleetList);
    addTimeout(list, "Milliseconds to wait for the connection and the vessels; 10000 unless told");
    addPlace(list, "This vessel or sonar alone");

    CLI::App* get = add("get", "Print values that a sonar has", FleetGet);
    addTimeout(get, usualTimeout);
    addSonar(get);
    get->add_option("key", fleet.words, "Keys, or paths of keys with / between them (default: all that there are)")
        ->type_name("KEY");

    CLI::App* watch = add("watch", "Print values that a sonar has, and again each that changes", FleetWatch);
    addTimeout(watch, "Milliseconds to wait for what --until or --count tells; exit 1 when they are over");
    AddWatchEnds(*watch, fleet.count, fleet.until);
    addSonar(watch);
    watch->add_option("key", fleet.words, "Keys, or paths of keys with / between them (default: all that there are)")
        ->type_name("KEY");

    CLI::App* set =
        add("set",
            "Ask a sonar for values and print what it then has; exit 1 if that is something else. Takes its "
            "lease for that where nobody has it",
            FleetSet);
    addTimeout(set, "Milliseconds after which it is not to be done any more; 10000 unless told");
    addSonar(set);
    set->add_option("request", fleet.words, "key=value, or key:kind=value to force a kind")
        ->required()
        ->type_name("KEY=VALUE");

    CLI::App* lease =
        add("lease", "Print who commands a sonar, ask for its lease, give it back, grant or refuse it", FleetLease);
    addTimeout(lease, usualTimeout);
    lease->add_option("--seconds", fleet.seconds, "With take: for how long, unless asked for again")
        ->capture_default_str()
        ->check(CLI::Range(1.0, 86400.0).description(""))
        ->type_name("SECONDS");
    lease->add_option("--asker", fleet.asker, "With grant and refuse: whom (default: who asks)")->type_name("PERSON");
    addSonar(lease);
    OneOf(lease->add_option("verb", fleet.verb, "take, give-back, grant or refuse (default: print it)"),
          {"take", "give-back", "grant", "refuse"})
        ->type_name("VERB");

    CLI::App* log =
        add("log", "Print the history of vessels as it arrives: actions, events, results, values", FleetLog, false);
    log->add_option("--archive", fleet.archive,
                    "File that keeps it, so that vessels may forget it; without --broker what it holds is printed")
        ->type_name("FILE");
    log->add_option("--count", fleet.count, "End after so many entries")
        ->check(CLI::Range(1, 1'000'000'000).description(""))
        ->type_name("N");
    addTimeout(log, "End after so many milliseconds");
    addPlace(log, "Of this vessel or sonar alone");

    CLI::App* presence =
        add("presence", "Print which sonars answer and how fast, and who ashore is there", FleetPresence);
    addTimeout(presence, usualTimeout);
    addPlace(presence, "This vessel or sonar alone");
}

/// Does what the command line asks for and gives the exit code.
int RunCommandLine(int argc, char** argv)
{
    CLI::App app{"qx5 operates x5 sonars: it runs a host with the plug-in, a simulated sonar, and tools for records."};
    app.name("qx5");
    // What begins with a slash is a file's name on every platform.
    app.allow_windows_style_options(false);
    app.require_subcommand(1);
    if (std::string const unfit = vordal::UnfitLibrary(QX5_VERSION); !unfit.empty()) {
        return Complain(ExitFailed, unfit);
    }
    auto const facts = ProgramFacts(QX5_VERSION, programCommit);
    app.set_version_flag("--version", FactLines(facts));
    app.failure_message([](CLI::App const* root, CLI::Error const& error) {
        std::string name = "qx5";
        for (CLI::App const* command = root; !command->get_subcommands().empty();) {
            command = command->get_subcommands().front();
            name += " " + command->get_name();
        }
        std::string text = error.what();
        // What a command line held may hold anything; the report stays one line.
        std::replace_if(
            text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, ' ');
        return fmt::format("{}: {}; `{} --help` tells how it is called\n", name, text, name);
    });
    int code = ExitGood;
    LogOptions log;
    auto const runsHost = [&](CLI::App* command, std::function<void()> run) {
        AddLogOptions(*command, log);
        command->callback([&log, run = std::move(run)] {
            BeginLog(log);
            run();
        });
    };

    RunOptions run;
    run.facts = facts;
    CLI::App* runCommand = app.add_subcommand(
        "run", "Start simulated sonars and a host with the plug-in and open the operator's window; without a display a "
               "guided session and key=value lines");
    runCommand->add_flag("--guided", run.guided, "The guided session and key=value lines in place of the window");
    runCommand->add_flag("--once", run.once, "The guided session alone");
    runCommand
        ->add_flag("--terminal", run.terminal,
                   "Take the keyboard as the sonar's operator terminal, in place of the session; `?` lists the keys")
        ->excludes("--once");
    CLI::Option* sonarOption =
        runCommand->add_option("--sonar", run.sonar, "A sonar that runs already, in place of a simulated one")
            ->type_name("HOST:PORT");
    runCommand
        ->add_option("--plugin", run.plugins,
                     "A plug-in module to load beside those in lib/qx5; may be repeated; the session without a window "
                     "takes the first alone")
        ->allow_extra_args(false)
        ->type_name("FILE");
    runCommand
        ->add_option("--project", run.project,
                     "Project file that keeps the sonars and their settings; made when missing")
        ->type_name("FILE");
    CLI::Option* recordOption =
        runCommand->add_option("--record", run.record, "Record the session into this file, which must not be there")
            ->type_name("FILE");
    runCommand
        ->add_option("--black-box", run.blackBox,
                     "How much of the newest is kept in a folder beside the project, always: as 256M, the least 1M; 0 "
                     "keeps nothing")
        ->transform(CLI::AsSizeValue(false).description(""))
        ->type_name("BYTES");
    std::vector<std::string> demoNames;
    for (Demo const& demo : demos) {
        demoNames.emplace_back(demo.name);
    }
    OneOf(runCommand->add_option(
              "--demo", run.demo,
              fmt::format("Show this and end, in place of the guided session: {}", fmt::join(demoNames, ", "))),
          demoNames)
        ->type_name("NAME")
        ->excludes(recordOption);
    runCommand
        ->add_option("--sonars", run.sonars,
                     "How many simulated sonars there are, 1 to 256 in the window, 1 to 26 in the demonstration of "
                     "sequencing; 3 unless told")
        ->check(CLI::Range(1, 256).description(""))
        ->excludes(sonarOption)
        ->excludes("--guided")
        ->excludes("--once")
        ->excludes("--terminal");
    runCommand
        ->add_option("--pings", run.pingRate,
                     "How often a second the window's simulated sonars ping from the start; 5 where neither a project "
                     "nor sonars are told, else they do not")
        ->check(CLI::Range(0.01, 50.0).description(""))
        ->type_name("RATE")
        ->excludes(sonarOption)
        ->excludes("--demo")
        ->excludes("--guided")
        ->excludes("--once")
        ->excludes("--terminal");
    runCommand->add_option("--groups", run.groups, "How many groups they form, 1 to 26")
        ->capture_default_str()
        ->check(CLI::Range(1, 26).description(""));
    runCommand
        ->add_option("--device", run.devices,
                     "A device of this class in the window in place of the sonars, connected to HOST:PORT where that "
                     "is told; may be repeated")
        ->allow_extra_args(false)
        ->excludes(sonarOption)
        ->excludes("--demo")
        ->excludes("--guided")
        ->excludes("--once")
        ->excludes("--terminal")
        ->type_name("CLASS[=HOST:PORT]");
    CLI::Option* screenshot = runCommand
                                  ->add_option("--screenshot", run.screenshot,
                                               "Render the view as PNG into this file, without a display, and end")
                                  ->type_name("FILE")
                                  ->excludes("--guided")
                                  ->excludes("--once")
                                  ->excludes("--terminal")
                                  ->excludes("--demo")
                                  ->excludes(recordOption);
    CLI::Option* tab = runCommand->add_option("--tab", run.tab, "The tab to render, from 0")
                           ->capture_default_str()
                           ->check(CLI::NonNegativeNumber.description(""))
                           ->needs(screenshot);
    CLI::Option* allTabs =
        runCommand
            ->add_flag("--all-tabs", run.allTabs,
                       "Render every tab into a file of its own: a % in the file's name stands for the tab's caption")
            ->needs(screenshot)
            ->excludes(tab);
    CLI::Option* display =
        runCommand
            ->add_option("--display", run.display,
                         "The display to render in place of the sonar's view, by its name; a wrong one lists them")
            ->type_name("NAME")
            ->needs(screenshot)
            ->excludes(tab)
            ->excludes(allTabs);
    OneOf(runCommand->add_option("--scale", run.scale, "Size of what is rendered in per cent: 100, 150 or 200"),
          {"100", "150", "200"})
        ->capture_default_str()
        ->needs(screenshot);
    runCommand->add_flag("--whole-window", run.wholeWindow, "Render the whole window")
        ->needs(screenshot)
        ->excludes(allTabs)
        ->excludes(display);
    runCommand->add_flag("--dark", run.dark, "Begin with a dark palette");
    CLI::Option* fleetBroker = AddFleetLine(*runCommand, run.fleet, false);
    for (char const* const other : {"--guided", "--once", "--terminal", "--demo", "--sonar", "--sonars", "--pings",
                                    "--device", "--project", "--record", "--display", "--tab", "--all-tabs"}) {
        fleetBroker->excludes(other);
    }
    runsHost(runCommand, [&] { code = Run(run); });

    SimOptions sim;
    CLI::App* simCommand =
        app.add_subcommand("sim", "Run a simulated sonar; standard input takes its commands (`help` lists them)");
    simCommand->add_option("--port", sim.port, "TCP port, 0 to 65535; 0 takes a free one")
        ->capture_default_str()
        ->check(CLI::Range(0, 65535).description(""));
    simCommand->add_option("--address", sim.address, "Address to listen on")->capture_default_str();
    simCommand->add_option("--heads", sim.heads, "How many heads the sonar has, 1 to 8")
        ->capture_default_str()
        ->check(CLI::Range(1, 8).description(""));
    simCommand->add_flag("--verbose", sim.verbose, "Print every record field by field");
    simCommand->add_flag("--state", sim.state, "Print the state when the simulator ends");
    simCommand->add_flag("--pings", sim.pings, "Report every ping to the hosts");
    AddSceneOptions(*simCommand, sim.scene);
    simCommand->callback([&] { code = Sim(sim); });

    SendOptions send;
    CLI::App* sendCommand = app.add_subcommand(
        "send", "Send one request to a sonar and print what was sent, what was echoed and what the sonar then has");
    CLI::Option* sendTo =
        sendCommand->add_option("--sonar", send.sonar, "The sonar")->type_name("HOST:PORT")->capture_default_str();
    CLI::Option* sendPlugin =
        sendCommand->add_option("--plugin", send.plugin, "The plug-in module (default: the one beside this program)")
            ->type_name("FILE");
    CLI::Option* sendStored =
        sendCommand
            ->add_option("--stored", send.stored, "key=value that the device's tree holds already; may be repeated")
            ->allow_extra_args(false)
            ->type_name("KEY=VALUE");
    CLI::Option* throughRun =
        sendCommand->add_flag("--run", send.isThroughRun, "By way of a `qx5 run`, in place of a connection of its own")
            ->excludes(sendTo)
            ->excludes(sendPlugin)
            ->excludes(sendStored);
    sendCommand->add_option("--process", send.process, "The `qx5 run` of that process number")
        ->needs(throughRun)
        ->type_name("PID");
    sendCommand->add_option("--device", send.device, "Its sonar, by name or id")->needs(throughRun)->type_name("SONAR");
    sendCommand
        ->add_option("--timeout", send.timeoutMilliseconds, "Milliseconds to wait for the connection, 1 to 600000")
        ->capture_default_str()
        ->check(CLI::Range(1, 600000).description(""));
    sendCommand
        ->add_option("--wait", send.waitSeconds,
                     "Seconds to wait for the sonar's answer, 0 to 600; with 0 it is not looked at")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 600.0).description(""))
        ->type_name("SECONDS");
    sendCommand->add_flag("--bytes", send.bytes, "Print the bytes of each record, too")->excludes(throughRun);
    sendCommand->add_flag("--json", send.json, "One JSON object in place of the text");
    sendCommand->add_option("request", send.keyValues, "key=value, or key:kind=value to force a kind")
        ->required()
        ->type_name("KEY=VALUE");
    runsHost(sendCommand, [&] { code = Send(send); });

    ValuesOptions values;
    AddValuesCommands(app, values, code, runsHost);

    PresetOptions preset;
    AddPresetCommands(app, preset, code, runsHost);

    ScenarioCommandOptions scenario;
    CLI::App* scenarioCommand =
        app.add_subcommand("scenario", "Run scenario files with a fixed clock and without sockets; print the results");
    CLI::Option* check = scenarioCommand->add_flag("--check", scenario.check,
                                                   "Compare with what the files expect; exit 1 if anything differs");
    scenarioCommand->add_flag("--json", scenario.json, "A line of JSON for each scenario that is checked")
        ->needs(check);
    scenarioCommand->add_option("--junit", scenario.junit, "File to write what came of the check to, as JUnit XML")
        ->needs(check)
        ->type_name("FILE");
    scenarioCommand
        ->add_option("--plugin", scenario.plugin, "The plug-in module (default: the one beside this program)")
        ->type_name("FILE");
    scenarioCommand->add_option("file", scenario.files, "Scenario files; - is standard input")
        ->required()
        ->type_name("FILE");
    runsHost(scenarioCommand, [&] { code = Scenario(scenario); });

    DecodeOptions decode;
    CLI::App* decodeCommand = app.add_subcommand(
        "decode", "Print the records of captured traffic, a raw stream or hexadecimal text field by field");
    CLI::Option* hex = decodeCommand->add_flag("--hex", decode.hex, "The input is hexadecimal text");
    decodeCommand->add_flag("--raw", decode.raw, "The input is raw bytes")->excludes(hex);
    decodeCommand->add_flag("--json", decode.json, "A line of JSON for each record");
    decodeCommand->add_option("--port", decode.port, "Of captured traffic, connections with this port at one end alone")
        ->check(CLI::Range(1, 65535).description(""))
        ->type_name("PORT");
    decodeCommand->add_option("file", decode.files, "Files; - or none is standard input")->type_name("FILE");
    decodeCommand->callback([&] { code = Decode(decode); });

    BrokerSetupOptions broker;
    CLI::App* brokerCommand = app.add_subcommand(
        "broker-setup", "Write what a mosquitto broker of a fleet goes by: who may say and hear what");
    brokerCommand->add_option("folder", broker.folder, "Where its files lie")->required()->type_name("FOLDER");
    brokerCommand->add_option("--group", broker.group, "What the vessels together are called")
        ->required()
        ->type_name("NAME");
    brokerCommand->add_option("--vessel", broker.vessels, "A vessel, by its certificate's name; may be repeated")
        ->allow_extra_args(false)
        ->required()
        ->type_name("NAME");
    brokerCommand
        ->add_option("--person", broker.persons,
                     "A person, by the certificate's name: watch, operate or administrate; may be repeated")
        ->allow_extra_args(false)
        ->type_name("NAME=ROLE");
    brokerCommand->add_option("--address", broker.address, "Address that the broker listens on (default: all)")
        ->type_name("ADDRESS");
    brokerCommand->add_option("--port", broker.port, "TCP port that the broker listens on")
        ->capture_default_str()
        ->check(CLI::Range(1, 65535).description(""));
    brokerCommand->callback([&] { code = BrokerSetup(broker); });

    ServeOptions serve;
    serve.facts = facts;
    AddServeCommand(app, serve, code, runsHost);
    FleetCommandOptions fleet;
    AddFleetCommands(app, fleet, code);

    ShowLogOptions actions;
    CLI::App* actionsCommand =
        app.add_subcommand("log", "Print a project's log of actions: who asked which sonar for what, what came of it");
    CLI::Option* json = actionsCommand->add_flag("--json", actions.json, "A line of JSON for each row");
    actionsCommand->add_flag("--csv", actions.csv, "A table as RFC 4180 has it")->excludes(json);
    actionsCommand->add_option("--sonar", actions.sonar, "Rows of this sonar alone")->type_name("NAME");
    actionsCommand->add_option("--key", actions.key, "Rows whose key has this in it")->type_name("TEXT");
    actionsCommand->add_option("project", actions.project, "The project file")->required()->type_name("PROJECT");
    actionsCommand->callback([&] { code = ShowLog(actions); });

    RecordingOptions recording;
    AddRecordingCommands(app, recording, code);

    ReplayOptions replay;
    replay.facts = facts;
    AddReplayCommand(app, replay, code, runsHost);

    KeysOptions keys;
    CLI::App* keysCommand = app.add_subcommand("keys", "List the request keys: kind, unit, record, offset, handler");
    CLI::Option* markdown = keysCommand->add_flag("--markdown", keys.markdown, "As a table for a document");
    keysCommand->add_flag("--json", keys.json, "A line of JSON for each row")->excludes(markdown);
    keysCommand->add_option("filter", keys.filter, "Part of a key or a handler, or a record id");
    keysCommand->callback([&] { code = Keys(keys); });

    ExplainOptions explain;
    CLI::App* explainCommand = app.add_subcommand(
        "explain", "Tell what becomes of a key: how it is read and completed, what is sent where, what is echoed");
    explainCommand->add_flag("--json", explain.json, "A line of JSON for each name");
    explainCommand->add_option("name", explain.names, "Keys, handlers or numbers of records")
        ->required()
        ->type_name("KEY|HANDLER|RECORD");
    explainCommand->callback([&] { code = Explain(explain); });

    AcousticsOptions acoustics;
    AddAcousticsCommands(app, acoustics, code);

    SoundingsOptions soundings;
    AddSoundingsCommand(app, soundings, code, runsHost);

    PluginOptions plugin;
    CLI::App* pluginCommand =
        app.add_subcommand("plugin", "Load a plug-in as a host does, tell what it registers, and unload it");
    pluginCommand->add_flag("--json", plugin.json, "One JSON object in place of the text");
    pluginCommand->add_option("file", plugin.file, "The plug-in module")->required()->type_name("FILE");
    runsHost(pluginCommand, [&] { code = Plugin(plugin); });

    DocsOptions docs;
    CLI::App* docsCommand = app.add_subcommand("docs", "Write the tables of the manual anew, from real sends");
    docsCommand->add_option("--plugin", docs.plugin, "The plug-in module (default: the one beside this program)")
        ->type_name("FILE");
    docsCommand->add_option("folder", docs.folder, "Where the documents lie")->capture_default_str();
    bool writesPages = false;
    docsCommand->add_flag("--man", writesPages, "Write the manual pages in place of the tables, without any sends");
    runsHost(docsCommand, [&] {
        code = writesPages ? WriteManPages(vordal::PathOf(docs.folder), DescribeCommand(app), VersionOf(facts))
                           : Docs(docs);
    });

    std::string shellName;
    CLI::App* completionCommand =
        app.add_subcommand("completion", "Print what makes a shell complete commands, options, keys and values");
    OneOf(completionCommand->add_option("shell", shellName, fmt::format("{}", fmt::join(CompletionShells(), ", "))),
          CompletionShells())
        ->required()
        ->type_name("SHELL");
    completionCommand->callback([&] { code = PrintCompletion(shellName); });

    if (argc > 1 && argv[1] == completeCommand) {
        return Complete(app, {argv + 2, argv + argc});
    }

    auto const commands =
        app.get_subcommands([&](CLI::App const* command) { return command->check_name(argc > 1 ? argv[1] : ""); });
    if (argc > 1 && argv[1][0] != '-' && commands.empty()) {
        return Complain(ExitWrong, fmt::format("there is no command '{}'; `qx5 --help` lists them", argv[1]));
    }
    try {
        app.parse(argc, argv);
    } catch (CLI::RequiredError const& error) {
        if (!app.get_subcommands().empty()) {
            app.exit(error);
            return ExitWrong;
        }
        return argc > 1 ? Complain(ExitWrong, fmt::format("there is no option '{}'; `qx5 --help` lists them", argv[1]))
                        : Complain(ExitWrong, "a command is missing; `qx5 --help` lists them");
    } catch (CLI::ParseError const& error) {
        int const parsed = app.exit(error);
        return parsed == 0 ? ExitGood : ExitWrong;
    } catch (std::exception const& failure) {
        return EndedBy(failure);
    }
    return code;
}

} // namespace

} // namespace qx5::cli

int main(int argc, char** argv)
{
    qx5::cli::MemoryReserve const reserve;
    qx5::cli::BeginOutput();
    qx5::cli::ProgramArguments arguments(argc, argv);
    return qx5::cli::EndOutput(qx5::cli::RunCommandLine(arguments.Count(), arguments.Words()));
}
